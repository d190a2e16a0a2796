// A table of records, read one after the other: delimited text or any vector format that GDAL reads.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ogrsf_frmts.h>

#include "line_scan.hpp"
#include "number_text.hpp"
#include "progress.hpp"

namespace qmx_ic_app {

struct source_column {
    std::string name;
    OGRFieldType type;
    bool is_text() const { return type == OFTString; }
    bool is_numeric() const {
        return type == OFTInteger || type == OFTInteger64 || type == OFTReal;
    }
};

class table_source {
public:
    // Opens a file. A name that ends in .gz is unpacked on the way; .csv, .tsv, .txt, .dat, .asc and
    // .psv are delimited text, whatever else goes by its contents. Throws usage_error.
    table_source(const std::string& file, const std::string& layer, progress& shown);

    std::string file;   // as the user named it
    std::string format; // "CSV", "GPKG", ...
    std::vector<source_column> columns;
    bool is_delimited = false;
    line_scan lines;        // of delimited text
    std::int64_t rows = -1; // -1 where the format does not know in advance

    // The coordinate system of the geometries: null where there is none.
    const OGRSpatialReference* reference() const;
    bool has_geometry() const;

    void rewind();
    bool next();                                   // false after the last record
    std::int64_t record() const { return number; } // from 1
    bool is_missing(int column) const;
    std::string_view
    text(int column) const; // valid until the next call for a column that is no text
    text_value value(int column, const number_style& style) const;
    const OGRGeometry* geometry() const; // of this record, may be null

    // Where a record stands, for messages: "line 52" of a text, "record 51" of anything else.
    std::int64_t line_of(std::int64_t record) const;
    std::string place(std::int64_t record) const;

    int
    column_named(std::string_view name) const; // case counts first, then not; -1 if there is none
    std::string column_list() const;           // for messages

private:
    GDALDatasetUniquePtr dataset;
    OGRLayer* layer = nullptr;
    OGRFeatureUniquePtr feature;
    std::int64_t number = 0;

    void open(const std::string& path);
    void choose_layer(const std::string& wanted);
    void refuse_missing_head() const;
};

} // namespace qmx_ic_app

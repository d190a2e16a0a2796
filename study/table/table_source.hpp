// A table of records, read one after the other: delimited text or any vector format that GDAL reads.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ogrsf_frmts.h>

#include "study/base/number_text.hpp"
#include "study/base/progress.hpp"
#include "study/table/line_scan.hpp"
#include "study/table/text_records.hpp"

namespace qmx_study {

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
    // The same for a run through all records in which only these columns will be asked for, and the
    // geometry where it is said: what else there is need not be read then.
    void rewind_for(const std::vector<int>& wanted, bool with_geometry);
    bool next();                                   // false after the last record
    std::int64_t record() const { return number; } // from 1
    // Valid until next(), and until the next call for a column that is no text.
    std::string_view text(int column) const;
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
    OGRLayer* layer = nullptr; // null for text with bars between its fields
    OGRFeatureUniquePtr feature;
    std::int64_t number = 0;
    // Of delimited text without geometries the records are taken apart here; null otherwise.
    std::unique_ptr<text_records> records;
    std::vector<std::string_view> fields;
    std::string unquoted;

    bool fetch();
    void start();
    void leave_out(const std::vector<int>& wanted, bool with_geometry);
    void take_text_apart(const std::string& path);
    void name_columns_by_head(const std::string& path);
    bool is_missing(int column) const;
    void open(const std::string& path);
    void choose_layer(const std::string& wanted);
    void refuse_missing_head() const;
};

} // namespace qmx_study

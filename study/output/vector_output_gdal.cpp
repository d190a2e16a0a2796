#include "study/output/vector_output.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>
#include <vector>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <fmt/format.h>
#include <ogrsf_frmts.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/table/ogr_reference.hpp"

namespace qmx_study {

namespace {

const char* driver_of(vector_format format) {
    switch (format) {
    case vector_format::gpkg: return "GPKG";
    case vector_format::geojson: return "GeoJSON";
    case vector_format::parquet: return "Parquet";
    }
    return "";
}

const char* ending_of(vector_format format) {
    switch (format) {
    case vector_format::gpkg: return ".gpkg";
    case vector_format::geojson: return ".geojson";
    case vector_format::parquet: return ".parquet";
    }
    return "";
}

// Some of GDAL's libraries leave out what they find no memory for, and say nothing of it: but the C
// library leaves a mark.
class memory_watch {
public:
    memory_watch() { errno = 0; }
    void check() const {
        if (errno == ENOMEM) throw std::bad_alloc();
    }
};

[[noreturn]] void refuse(const std::string& output) {
    throw usage_error(
        fmt::format("--output {}: it cannot be written: {}", output, CPLGetLastErrorMsg()),
        error_place{"--output", output, 0, {}});
}

std::string stem_of(const std::string& output) {
    std::string name = output.substr(output.find_last_of("/\\") + 1);
    name.resize(std::min(name.size(), name.rfind('.')));
    return name;
}

// A name that no column has.
std::string free_name(const table_layout& layout, std::string name) {
    for (std::size_t i = 0; i < layout.columns.size(); ++i)
        if (same_text(layout.columns[i].name, name)) {
            name += "_";
            i = static_cast<std::size_t>(-1); // from the start again
        }
    return name;
}

OGRFieldType type_of(table_type type) {
    if (type == table_type::text) return OFTString;
    return type == table_type::integer ? OFTInteger64 : OFTReal;
}

// Settings of GDAL in force as long as the object.
class gdal_setting {
public:
    gdal_setting(const char* setting, const char* value) : name(setting) {
        CPLSetThreadLocalConfigOption(name, value);
    }
    ~gdal_setting() { CPLSetThreadLocalConfigOption(name, nullptr); }
    gdal_setting(const gdal_setting&) = delete;
    gdal_setting& operator=(const gdal_setting&) = delete;

private:
    const char* name;
};

} // namespace

struct vector_output::state {
    table_layout layout;
    std::string output, file;
    bool is_on_disk = false; // otherwise the file is in memory
    std::vector<std::unique_ptr<gdal_setting>> settings;
    GDALDatasetUniquePtr dataset;
    OGRLayer* layer = nullptr;
    OGRFeatureUniquePtr feature;
    std::vector<int> fields; // of each column, -1 where it is only a position
    double x = std::numeric_limits<double>::quiet_NaN(), y = x;

    void make_layer(vector_format format) {
        OGRSpatialReference system;
        if (layout.system) {
            system = layout.system->known().system;
        } else {
            system.SetLocalCS("Undefined Cartesian SRS"); // a plane, in no known place
            if (layout.length_unit == "m") system.SetLinearUnits("metre", 1);
            if (layout.length_unit == "ft") system.SetLinearUnits("foot", 0.3048);
            if (layout.length_unit == "US survey ft")
                system.SetLinearUnits("US survey foot", 1200.0 / 3937);
        }
        CPLStringList options;
        if (format == vector_format::gpkg) {
            options.SetNameValue("FID", free_name(layout, "fid").c_str());
            options.SetNameValue("GEOMETRY_NAME", free_name(layout, "geom").c_str());
        }
        // Degrees of the globe are all that readers of GeoJSON know.
        if (format == vector_format::geojson && layout.in_degrees) {
            options.SetNameValue("RFC7946", "YES");
            options.SetNameValue("COORDINATE_PRECISION", "9");
        }
        layer = dataset->CreateLayer(stem_of(output).c_str(), layout.x >= 0 ? &system : nullptr,
                                     layout.x >= 0 ? wkbPoint : wkbNone, options.List());
        if (!layer) refuse(output);
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            const auto number = static_cast<int>(i);
            const bool is_position = number == layout.x || number == layout.y;
            fields.push_back(-1);
            if (is_position && !layout.keeps_positions) continue;
            OGRFieldDefn field(layout.columns[i].name.c_str(), type_of(layout.columns[i].type));
            if (layer->CreateField(&field) != OGRERR_NONE) refuse(output);
            fields.back() = layer->GetLayerDefn()->GetFieldCount() - 1;
        }
        feature.reset(new OGRFeature(layer->GetLayerDefn()));
    }

    // The table that programs for maps look for.
    void store_styles() {
        CPLStringList options;
        options.SetNameValue("FID", "id");
        OGRLayer* const table =
            dataset->CreateLayer("layer_styles", nullptr, wkbNone, options.List());
        if (!table) refuse(output);
        for (const char* const name :
             {"f_table_catalog", "f_table_schema", "f_table_name", "f_geometry_column", "styleName",
              "styleQML", "styleSLD", "description", "owner", "ui"}) {
            OGRFieldDefn field(name, OFTString);
            if (table->CreateField(&field) != OGRERR_NONE) refuse(output);
        }
        OGRFieldDefn is_default("useAsDefault", OFTInteger);
        is_default.SetSubType(OFSTBoolean);
        if (table->CreateField(&is_default) != OGRERR_NONE) refuse(output);
        for (const layer_style& style : layout.styles) {
            OGRFeature row(table->GetLayerDefn());
            row.SetField("f_table_catalog", "");
            row.SetField("f_table_schema", "");
            row.SetField("f_table_name", layer->GetName());
            row.SetField("f_geometry_column", layer->GetGeometryColumn());
            row.SetField("styleName", style.name.c_str());
            row.SetField("styleQML", style.qml.c_str());
            row.SetField("styleSLD", style.sld.c_str());
            row.SetField("description", style.what.c_str());
            row.SetField("owner", "");
            row.SetField("useAsDefault", style.is_default ? 1 : 0);
            if (table->CreateFeature(&row) != OGRERR_NONE) refuse(output);
        }
    }

    void copy_from_disk(const piece_taker& take) const {
        std::FILE* const built = std::fopen(file.c_str(), "rb");
        std::vector<char> piece(std::size_t{1} << 20);
        std::size_t length = 0;
        while (built && (length = std::fread(piece.data(), 1, piece.size(), built)) > 0)
            take({piece.data(), length});
        const bool is_whole = built && std::ferror(built) == 0;
        if (built) std::fclose(built);
        if (!is_whole)
            throw usage_error(fmt::format("--output {}: {} cannot be read again", output, file),
                              error_place{"--output", output, 0, {}});
    }
};

void check_can_write(vector_format format, const std::string& output) {
    prepare_formats();
    if (GetGDALDriverManager()->GetDriverByName(driver_of(format))) return;
    throw usage_error(fmt::format("--output {}: the installed GDAL cannot write {}; take another "
                                  "ending, such as .gpkg or .csv",
                                  output, driver_of(format)),
                      error_place{"--output", output, 0, {}});
}

vector_output::vector_output(vector_format format, const table_layout& layout,
                             const output_names& names)
    : now(std::make_unique<state>()) {
    now->layout = layout;
    const std::string& output = now->output = names.output;
    static int number = 0; // of the files in memory
    now->file = fmt::format("/vsimem/qmx-ic-{}/{}{}", ++number, stem_of(output), ending_of(format));
    if (!names.built_in.empty()) {
        now->is_on_disk = true;
        now->file = names.built_in;
        // Whatever is left of a broken run is thrown away: it needs no journal.
        now->settings.push_back(std::make_unique<gdal_setting>("OGR_SQLITE_JOURNAL", "OFF"));
        now->settings.push_back(std::make_unique<gdal_setting>("OGR_SQLITE_SYNCHRONOUS", "OFF"));
    }
    if (!layout.time_stamp.empty())
        now->settings.push_back(
            std::make_unique<gdal_setting>("OGR_CURRENT_DATE", layout.time_stamp.c_str()));
    CPLErrorReset();
    const memory_watch watch;
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(driver_of(format));
    now->dataset.reset(driver->Create(now->file.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    if (!now->dataset) refuse(output);
    now->make_layer(format);
    now->dataset->StartTransaction(); // where there is such a thing
    watch.check();
}

vector_output::~vector_output() {
    now->feature.reset();
    now->dataset.reset();
    if (!now->is_on_disk) VSIUnlink(now->file.c_str());
}

void vector_output::text(std::size_t column, std::string_view value) {
    const memory_watch watch;
    if (const int field = now->fields[column]; field >= 0)
        now->feature->SetField(field, std::string(value).c_str());
    watch.check();
}

void vector_output::integer(std::size_t column, std::int64_t value) {
    if (const int field = now->fields[column]; field >= 0)
        now->feature->SetField(field, static_cast<GIntBig>(value));
}

void vector_output::real(std::size_t column, double value) {
    if (static_cast<int>(column) == now->layout.x) now->x = value;
    if (static_cast<int>(column) == now->layout.y) now->y = value;
    if (const int field = now->fields[column]; field >= 0) now->feature->SetField(field, value);
}

void vector_output::end_row() {
    const memory_watch watch;
    if (!std::isnan(now->x) && !std::isnan(now->y)) {
        const OGRPoint point(now->x, now->y);
        now->feature->SetGeometry(&point);
    }
    if (now->layer->CreateFeature(now->feature.get()) != OGRERR_NONE) refuse(now->output);
    now->feature.reset(new OGRFeature(now->layer->GetLayerDefn()));
    watch.check();
    now->x = now->y = std::numeric_limits<double>::quiet_NaN();
}

void vector_output::write_to(const piece_taker& take) {
    CPLErrorReset();
    const memory_watch watch;
    now->dataset->CommitTransaction();
    now->feature.reset();
    const bool takes_styles = EQUAL(now->dataset->GetDriverName(), "GPKG");
    if (takes_styles && !now->layout.styles.empty()) now->store_styles();
    now->dataset.reset();
    watch.check();
    if (CPLGetLastErrorType() >= CE_Failure) refuse(now->output);
    if (now->is_on_disk) return now->copy_from_disk(take);
    vsi_l_offset size = 0;
    const GByte* const contents = VSIGetMemFileBuffer(now->file.c_str(), &size, FALSE);
    if (!contents) refuse(now->output);
    take({reinterpret_cast<const char*>(contents), static_cast<std::size_t>(size)});
}

} // namespace qmx_study

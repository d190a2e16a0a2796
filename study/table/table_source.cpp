#include "study/table/table_source.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

constexpr std::string_view text_extensions[] = {".csv", ".tsv", ".txt", ".dat", ".asc", ".psv"};

std::string path_for_gdal(const std::string& file) {
    const std::string lower = lower_case(file);
    if (lower.starts_with("/vsi")) return file;
    if (lower.ends_with(".gz")) return "/vsigzip/" + file;
    if (lower.ends_with(".zip")) return "/vsizip/" + file;
    return file;
}

bool is_delimited_name(const std::string& file) {
    std::string lower = lower_case(file);
    if (lower.ends_with(".gz")) lower.resize(lower.size() - 3);
    for (const std::string_view extension : text_extensions)
        if (lower.ends_with(extension)) return true;
    return false;
}

// The CSV reader takes no table with a single column: gives it a copy in memory that has an empty
// second one.
std::string copy_with_second_column(const std::string& path, char separator) {
    static int copies = 0;
    const std::string copy = fmt::format("/vsimem/qmx-ic/{}.csv", ++copies);
    VSILFILE* const from = VSIFOpenL(path.c_str(), "rb");
    VSILFILE* const to = VSIFOpenL(copy.c_str(), "wb");
    bool quoted = false;
    bool at_start = true;
    std::string block(std::size_t{1} << 16, '\0');
    std::string longer;
    while (const std::size_t got =
               from && to ? VSIFReadL(block.data(), 1, block.size(), from) : 0) {
        longer.clear();
        for (const char c : std::string_view(block.data(), got)) {
            quoted ^= c == '"';
            if (c == '\r') continue;
            if (c == '\n' && !quoted && !at_start) longer += separator;
            at_start = c == '\n' && !quoted;
            longer += c;
        }
        VSIFWriteL(longer.data(), 1, longer.size(), to);
    }
    if (to && !at_start) VSIFWriteL(&separator, 1, 1, to);
    if (from) VSIFCloseL(from);
    if (to) VSIFCloseL(to);
    return copy;
}

} // namespace

table_source::table_source(const std::string& name, const std::string& wanted, progress& shown)
    : file(name) {
    const std::string path = path_for_gdal(file);
    VSIStatBufL status;
    if (VSIStatL(path.c_str(), &status) != 0)
        throw usage_error(fmt::format("{}: there is no such file, or it may not be read", file));
    is_delimited = is_delimited_name(file);
    if (is_delimited) {
        lines = scan_lines(path, file, shown);
        rows = lines.records;
    }
    if (is_delimited && lines.separator == '|' && lines.is_plain) {
        name_columns_by_head(path);
        return;
    }
    const std::string opened =
        lines.head_fields == 1 ? copy_with_second_column(path, lines.separator) : path;
    open(opened);
    choose_layer(wanted);
    if (!is_delimited) rows = layer->GetFeatureCount(FALSE);

    const OGRFeatureDefn* const definition = layer->GetLayerDefn();
    const int count = definition->GetFieldCount();
    for (int i = 0; i < count; ++i)
        columns.push_back(
            {definition->GetFieldDefn(i)->GetNameRef(), definition->GetFieldDefn(i)->GetType()});
    if (is_delimited && count != lines.head_fields)
        throw usage_error(
            fmt::format("{}, line 1: the head line names {} columns but {} were read; "
                        "put names with quotes or separators in them right",
                        file, lines.head_fields, count));
    if (!is_delimited) return;
    refuse_missing_head();
    take_text_apart(opened);
}

// The CSV reader of GDAL knows no bars between fields.
void table_source::name_columns_by_head(const std::string& path) {
    format = "CSV";
    for (const std::string& name : lines.head) columns.push_back({name, OFTString});
    refuse_missing_head();
    records = std::make_unique<text_records>(path);
    if (!records->is_open()) throw usage_error(fmt::format("{}: the file cannot be opened", file));
    rewind();
}

// A second file that names types for the columns, or a column of geometries, leaves the rows to GDAL,
// and so does a first record that GDAL takes apart in another way.
void table_source::take_text_apart(const std::string& path) {
    const auto is_text = [](const source_column& column) { return column.is_text(); };
    if (!lines.is_plain || has_geometry() || !std::all_of(columns.begin(), columns.end(), is_text))
        return;
    rewind();
    const bool has_first = fetch();
    records = std::make_unique<text_records>(path);
    if (!records->is_open()) {
        records.reset();
        return rewind();
    }
    rewind();
    bool is_same = fetch() == has_first;
    for (std::size_t i = 0; is_same && has_first && i < columns.size(); ++i)
        is_same = fields[i] == feature->GetFieldAsString(static_cast<int>(i));
    if (!is_same) records.reset();
    rewind();
}

void table_source::refuse_missing_head() const {
    for (const source_column& column : columns) {
        const text_kind kind = read_text_value(column.name, {}).kind;
        if (kind != text_kind::number && kind != text_kind::missing) return;
    }
    throw usage_error(
        fmt::format("{}, line 1: numbers stand where the names of the columns belong; "
                    "add a head line such as x,y,value",
                    file));
}

void table_source::open(const std::string& path) {
    CPLErrorReset();
    if (is_delimited) {
        const std::array<const char*, 2> drivers{"CSV", nullptr};
        const std::array<const char*, 4> options{"AUTODETECT_TYPE=NO", "HEADERS=YES",
                                                 "MAX_LINE_SIZE=-1", nullptr};
        for (const std::string& name : {path, "CSV:" + path}) {
            dataset.reset(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR, drivers.data(),
                                            options.data(), nullptr));
            if (dataset) break;
        }
    } else {
        dataset.reset(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr));
    }
    if (!dataset) {
        const std::string reason = CPLGetLastErrorMsg();
        throw usage_error(fmt::format(
            "{}: no table of points was recognised{}{}; delimited text needs a name that ends in "
            ".csv, .tsv or .txt",
            file, reason.empty() ? "" : ": ", reason));
    }
    format = dataset->GetDriver()->GetDescription();
}

void table_source::choose_layer(const std::string& wanted) {
    std::string names;
    for (OGRLayer* const candidate : dataset->GetLayers()) {
        if (!names.empty()) names += ", ";
        names += candidate->GetName();
        if (!layer && (wanted.empty() || same_text(wanted, candidate->GetName())))
            layer = candidate;
    }
    if (!layer && wanted.empty()) throw usage_error(fmt::format("{}: it holds no layer", file));
    if (!layer)
        throw usage_error(
            fmt::format("{}: it has no layer \"{}\"; its layers are: {}", file, wanted, names));
    if (wanted.empty() && dataset->GetLayerCount() > 1)
        throw usage_error(
            fmt::format("{}: it holds several layers; name one with --layer: {}", file, names));
}

const OGRSpatialReference* table_source::reference() const {
    return layer ? layer->GetSpatialRef() : nullptr;
}

bool table_source::has_geometry() const {
    return layer && layer->GetGeomType() != wkbNone &&
           layer->GetLayerDefn()->GetGeomFieldCount() > 0;
}

void table_source::rewind() {
    if (!is_delimited) layer->SetIgnoredFields(nullptr);
    start();
}

void table_source::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    if (!is_delimited) leave_out(wanted, with_geometry);
    start();
}

void table_source::start() {
    number = 0;
    if (!records) return layer->ResetReading();
    records->rewind();
    records->next(); // the head
}

void table_source::leave_out(const std::vector<int>& wanted, bool with_geometry) {
    CPLStringList ignored;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (std::find(wanted.begin(), wanted.end(), static_cast<int>(i)) == wanted.end())
            ignored.AddString(columns[i].name.c_str());
    if (!with_geometry) ignored.AddString("OGR_GEOMETRY");
    ignored.AddString("OGR_STYLE");
    layer->SetIgnoredFields(const_cast<const char**>(ignored.List()));
}

bool table_source::fetch() {
    if (records) {
        if (!records->next()) return false;
        split_fields(records->text, lines.separator, records->has_quotes, unquoted, fields);
        if (fields.size() < columns.size()) fields.resize(columns.size());
        return true;
    }
    CPLErrorReset();
    feature.reset(layer->GetNextFeature());
    return feature != nullptr;
}

bool table_source::next() {
    if (fetch()) {
        ++number;
        return true;
    }
    std::string failure;
    if (records) {
        failure = records->failure;
    } else if (CPLGetLastErrorType() >= CE_Failure) {
        failure = CPLGetLastErrorMsg();
    }
    if (!failure.empty())
        throw usage_error(fmt::format("{}, after {}: reading stopped: {}", file,
                                      number > 0 ? place(number) : "the head", failure));
    if (is_delimited && number != lines.records)
        throw usage_error(
            fmt::format("{}, {}: {} records were read but the file has {}; look for a "
                        "quotation mark without its partner",
                        file, place(number), number, lines.records));
    return false;
}

bool table_source::is_missing(int column) const {
    return !feature->IsFieldSetAndNotNull(column);
}

std::string_view table_source::text(int column) const {
    if (records) return fields[static_cast<std::size_t>(column)];
    return is_missing(column) ? std::string_view() : feature->GetFieldAsString(column);
}

text_value table_source::value(int column, const number_style& style) const {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    if (records) return read_text_value(text(column), style);
    if (is_missing(column)) return {text_kind::missing, none, {}};
    const source_column& description = columns[static_cast<std::size_t>(column)];
    if (!description.is_numeric()) return read_text_value(text(column), style);
    const double number_read = feature->GetFieldAsDouble(column);
    if (std::isnan(number_read)) return {text_kind::missing, none, {}};
    if (std::isinf(number_read)) return {text_kind::not_a_number, none, {}};
    // A code such as -9999 may have been named as missing.
    for (const std::string& missing : style.missing)
        if (double code = none; read_plain_number(missing, code) && code == number_read)
            return {text_kind::missing, none, {}};
    return {text_kind::number, number_read, {}};
}

const OGRGeometry* table_source::geometry() const {
    return records ? nullptr : feature->GetGeometryRef();
}

std::int64_t table_source::line_of(std::int64_t record) const {
    return is_delimited ? lines.line_of(record) : record;
}

std::string table_source::place(std::int64_t record) const {
    return fmt::format("{} {}", is_delimited ? "line" : "record", line_of(record));
}

int table_source::column_named(std::string_view name) const {
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i].name == name) return static_cast<int>(i);
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (same_text(columns[i].name, name)) return static_cast<int>(i);
    return -1;
}

std::string table_source::column_list() const {
    std::string list;
    for (const source_column& column : columns) {
        if (!list.empty()) list += ", ";
        list += column.name;
    }
    return list;
}

} // namespace qmx_study

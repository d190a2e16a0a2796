#include "study/output/report_tables.hpp"
#include "study/base/open_file.hpp"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/output_file.hpp"

namespace qmx_study {

namespace {

enum class table_shape {
    rows,  // a list of records
    pairs, // a record: a row for each key; a record of units beside it makes a third column
    lists, // a record of lists: the longest, which belong together
};

struct table_place {
    const char* name;
    table_shape shape;
    const char* place; // in the document
    const char* units = "";
};
using enum table_shape;
constexpr table_place table_places[] = {
    {"inputs", rows, "/inputs"},
    {"filters", rows, "/settings/filters"},
    {"value_candidates", rows, "/columns/value_candidates"},
    {"machines", rows, "/data/machines"},
    {"lifts", rows, "/data/lifts"},
    {"directions", rows, "/data/directions"},
    {"vibration", rows, "/data/vibration"},
    {"ranges", rows, "/data/ranges"},
    {"thresholds", rows, "/settings/thresholds"},
    {"verdicts", rows, "/verdicts"},
    {"missing", rows, "/missing"},
    {"cautions", rows, "/cautions"},
    {"statistics", pairs, "/stats/statistics", "/stats/units"},
    {"quantiles", rows, "/stats/quantiles"},
    {"histogram", rows, "/stats/histogram"},
    {"pass_counts", rows, "/pass_counts"},
    {"coverage", rows, "/coverage/bins"},
    {"curve", rows, "/curve/passes"},
    {"curve_line", lists, "/curve/curve"},
    {"spots", rows, "/spots/tests"},
    {"spots_regression", pairs, "/spots/regression"},
    {"spots_band", rows, "/spots/band"},
    {"semivariogram", rows, "/semivariogram/lags"},
    {"semivariogram_line", lists, "/semivariogram/curve"},
    {"semivariogram_model", pairs, "/semivariogram/model"},
    {"models", rows, "/semivariogram/models/fits"},
    {"uniformity", pairs, "/uniformity"},
    {"stations", rows, "/road/stations"},
    {"weak_stretches", rows, "/road/weak"},
};
constexpr const char* rows_by_fate = "rows";

// A field as it stands alone: a list of numbers or texts is one text.
json plain(const json& value) {
    if (!value.is_array()) return value;
    std::string joined;
    for (const json& each : value) {
        if (!joined.empty()) joined += ' ';
        joined += each.is_string() ? each.get<std::string>() : each.dump();
    }
    return joined;
}

// The fields of a record under their keys; those of a record inside it under both keys.
void flatten(const json& record, const std::string& prefix,
             std::vector<std::pair<std::string, json>>& fields) {
    for (const auto& [key, value] : record.items()) {
        if (value.is_object()) {
            flatten(value, prefix + key + "_", fields);
        } else {
            fields.emplace_back(prefix + key, plain(value));
        }
    }
}

std::size_t column_of(named_table& table, const std::string& name) {
    const auto found = std::find(table.columns.begin(), table.columns.end(), name);
    const auto place = static_cast<std::size_t>(found - table.columns.begin());
    if (found == table.columns.end()) table.columns.push_back(name);
    return place;
}

named_table table_of_rows(const std::string& name, const json& records) {
    named_table table{name, {}, {}};
    for (const json& record : records) {
        std::vector<std::pair<std::string, json>> fields;
        flatten(record, "", fields);
        std::vector<json> row(table.columns.size());
        for (auto& [key, value] : fields) {
            const std::size_t column = column_of(table, key);
            row.resize(std::max(row.size(), column + 1));
            row[column] = std::move(value);
        }
        table.rows.push_back(std::move(row));
    }
    for (std::vector<json>& row : table.rows) row.resize(table.columns.size());
    return table;
}

named_table table_of_pairs(const std::string& name, const json& record, const json& units) {
    named_table table{name, {"quantity", "value"}, {}};
    if (units.is_object()) table.columns.emplace_back("unit");
    std::vector<std::pair<std::string, json>> fields;
    flatten(record, "", fields);
    for (const auto& [key, value] : fields) {
        table.rows.push_back({key, value});
        if (units.is_object()) table.rows.back().push_back(units.value(key, json(nullptr)));
    }
    return table;
}

named_table table_of_lists(const std::string& name, const json& record) {
    named_table table{name, {}, {}};
    std::size_t longest = 0;
    for (const auto& [key, list] : record.items())
        if (list.is_array()) longest = std::max(longest, list.size());
    for (const auto& [key, list] : record.items()) {
        if (!list.is_array() || list.size() < longest) continue;
        const std::size_t column = table.columns.size();
        table.columns.push_back(key);
        table.rows.resize(longest);
        for (std::size_t i = 0; i < list.size(); ++i) {
            table.rows[i].resize(column + 1);
            table.rows[i][column] = list[i];
        }
    }
    return table;
}

const json& at(const json& document, const char* place) {
    static const json nothing;
    const json::json_pointer pointer(place);
    return document.contains(pointer) ? document.at(pointer) : nothing;
}

// What became of the rows that were read: the counts add up to the first.
named_table fate_of_rows(const json& document) {
    named_table table{
        rows_by_fate, {"fate", "reason", "rows", "first_line", "column", "value"}, {}};
    const json& input = at(document, "/input");
    if (!input.is_object()) return table;
    const auto count = [&](const char* key) { return input.value(key, json(nullptr)); };
    const auto add = [&](const char* fate, const json& reason, const json& number) {
        table.rows.push_back({fate, reason, number, nullptr, nullptr, nullptr});
    };
    add("read", nullptr, count("rows_read"));
    add("used", nullptr, count("rows_used"));
    add("earlier_passes", nullptr, count("rows_of_earlier_passes"));
    add("without_position", nullptr, count("rows_left_without_position"));
    const json& filters = at(document, "/settings/filters");
    std::int64_t named = 0;
    for (const json& filter : filters)
        if (filter.value("rows", json(nullptr)).is_number_integer()) {
            const std::int64_t number = filter["rows"].get<std::int64_t>();
            named += number;
            add("filtered", filter.value("what", json(nullptr)), number);
        }
    const json all = count("rows_left_out_by_filter");
    if (all.is_number_integer() && all.get<std::int64_t>() != named)
        add("filtered", nullptr, all.get<std::int64_t>() - named);
    for (const json& reason : input.value("dropped", json::array())) {
        const auto field = [&](const char* key) { return reason.value(key, json(nullptr)); };
        table.rows.push_back({"dropped", field("reason"), field("count"), field("first_line"),
                              field("column"), field("value")});
    }
    return table;
}

std::string field_text(const json& value) {
    if (value.is_null()) return {};
    std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    // A blank first or last, or a text that is empty, is told from what is missing.
    const bool needs_marks =
        value.is_string() && (text.empty() || text.front() == ' ' || text.back() == ' ' ||
                              text.find_first_of(",\"\r\n") != std::string::npos);
    if (!needs_marks) return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

std::string csv_of(const named_table& table) {
    std::string text = fmt::format("{}\n", fmt::join(table.columns, ","));
    for (const std::vector<json>& row : table.rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            text += (i == 0 ? "" : ",") + field_text(row[i]);
        text += '\n';
    }
    return text;
}

[[noreturn]] void refuse_folder(const std::string& folder, const std::string& reason) {
    throw usage_error(fmt::format("--tables {}: {}", folder, reason), {"--tables", folder, 0, {}});
}

std::string file_of_table(const std::string& folder, const std::string& name) {
    return (path_of(folder) / (name + ".csv")).string();
}

} // namespace

std::vector<named_table> tables_of(const json& document) {
    std::vector<named_table> tables;
    if (named_table fate = fate_of_rows(document); !fate.rows.empty())
        tables.push_back(std::move(fate));
    for (const table_place& each : table_places) {
        const json& part = at(document, each.place);
        if (part.empty() || !part.is_structured()) continue;
        switch (each.shape) {
        case rows: tables.push_back(table_of_rows(each.name, part)); break;
        case pairs:
            tables.push_back(
                table_of_pairs(each.name, part, *each.units ? at(document, each.units) : json()));
            break;
        case lists: tables.push_back(table_of_lists(each.name, part)); break;
        }
    }
    return tables;
}

void add_report_tables(output_set& files, const std::string& folder, const json& document) {
    namespace fs = std::filesystem;
    std::error_code problem;
    fs::create_directories(path_of(folder), problem);
    if (problem) refuse_folder(folder, problem.message());
    for (const named_table& table : tables_of(document))
        files.add("--tables", file_of_table(folder, table.name), csv_of(table));
}

void remove_old_tables(const std::string& folder, const json& document) {
    const std::vector<named_table> tables = tables_of(document);
    const auto remove_if_old = [&](const std::string& name) {
        const auto has_name = [&](const named_table& table) { return table.name == name; };
        if (std::any_of(tables.begin(), tables.end(), has_name)) return;
        const std::string file = file_of_table(folder, name);
        std::error_code problem;
        std::filesystem::remove(path_of(file), problem);
        if (problem) refuse_folder(folder, file + ": " + problem.message());
    };
    remove_if_old(rows_by_fate);
    for (const table_place& each : table_places) remove_if_old(each.name);
}

void write_report_tables(const std::string& folder, const json& document) {
    output_set files;
    add_report_tables(files, folder, document);
    files.finish();
    remove_old_tables(folder, document);
}

} // namespace qmx_study

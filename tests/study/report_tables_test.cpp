// The tables of a report, read back from their files and compared with the document.
#include "study/output/report_tables.hpp"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/base/progress.hpp"
#include "study/table/table_source.hpp"

using namespace qmx_study;

namespace {

const char* const document_text = R"({
 "inputs": [{"role": "points", "file": "Straße, \"7\".csv", "bytes": 12, "sha256": "ab"}],
 "input": {"rows_read": 100, "rows_used": 60, "rows_of_earlier_passes": 20,
           "rows_left_without_position": 1, "rows_left_out_by_filter": 14,
           "dropped": [{"reason": "value_missing", "text": "LastCMV is missing", "count": 5,
                        "first_line": 7, "column": "LastCMV", "value": "?,"}]},
 "settings": {"filters": [{"what": "speed", "text": "2 to 4", "rows": 14}],
              "thresholds": [{"key": "coverage_percent", "value": 90.0, "rule": "general"}]},
 "verdicts": [{"key": "coverage", "threshold": {"key": "coverage_percent", "value": 90.0},
               "measured": 96.4, "outcome": "met", "reason": null, "basis": "line 1\nline 2"},
              {"key": "growth", "threshold": {"key": "growth_percent", "value": 5},
               "measured": null, "outcome": "not_given", "reason": "no passes", "further": true}],
 "cautions": [{"part": "stats", "text": " blank", "numbers": [12.6, 3]}],
 "stats": {"statistics": {"count": 7752, "mean": 49.556667, "skewness": null},
           "units": {"mean": "MN/m", "skewness": null},
           "histogram": [{"upper_limit": 24.39, "percent": 0.012899897},
                         {"upper_limit": 1e-7, "percent": 99.99}]},
 "curve": {"passes": [{"pass": 1, "mean": 30.05543327331543, "in_curve": true}],
           "curve": {"degree": 2, "coefficients": [29.5], "pass": [1.0, 2.5], "value": [33.983848335978756, null]}},
 "coverage": null, "road": {"stations": [{"from": 0, "mean": 50.20383647798742}], "weak": []}
})";

std::filesystem::path new_folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qmx-study-XXXXXX").string();
    return mkdtemp(pattern.data());
}

using fields = std::vector<std::vector<std::string>>;

// By the reader of the lots' own files, head first.
fields read_back(const std::filesystem::path& file) {
    progress quiet;
    text_layout layout;
    layout.header_line = 1;
    table_source source(file.string(), "", quiet, layout);
    fields rows(1);
    for (const source_column& column : source.columns) rows[0].push_back(column.name);
    while (source.next()) {
        rows.emplace_back();
        for (int i = 0; i < static_cast<int>(source.columns.size()); ++i)
            rows.back().emplace_back(source.text(i));
    }
    return rows;
}

} // namespace

TEST(ReportTables, ReadBackAsTheDocumentHasThem) {
    const json document = json::parse(document_text);
    const std::filesystem::path folder = new_folder();
    write_report_tables((folder / "a" / "b").string(), document);
    std::map<std::string, fields> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "a" / "b"))
        found[entry.path().filename().string()] = read_back(entry.path());
    std::filesystem::remove_all(folder);
    const std::map<std::string, fields> expected{
        {"inputs.csv",
         {{"role", "file", "bytes", "sha256"}, {"points", "Straße, \"7\".csv", "12", "ab"}}},
        {"rows.csv",
         {{"fate", "reason", "rows", "first_line", "column", "value"},
          {"read", "", "100", "", "", ""},
          {"used", "", "60", "", "", ""},
          {"earlier_passes", "", "20", "", "", ""},
          {"without_position", "", "1", "", "", ""},
          {"filtered", "speed", "14", "", "", ""},
          {"dropped", "value_missing", "5", "7", "LastCMV", "?,"}}},
        {"filters.csv", {{"what", "text", "rows"}, {"speed", "2 to 4", "14"}}},
        {"thresholds.csv", {{"key", "value", "rule"}, {"coverage_percent", "90.0", "general"}}},
        {"verdicts.csv",
         {{"key", "threshold_key", "threshold_value", "measured", "outcome", "reason", "basis",
           "further"},
          {"coverage", "coverage_percent", "90.0", "96.4", "met", "", "line 1\nline 2", ""},
          {"growth", "growth_percent", "5", "", "not_given", "no passes", "", "true"}}},
        {"cautions.csv", {{"part", "text", "numbers"}, {"stats", " blank", "12.6 3"}}},
        {"statistics.csv",
         {{"quantity", "value", "unit"},
          {"count", "7752", ""},
          {"mean", "49.556667", "MN/m"},
          {"skewness", "", ""}}},
        {"histogram.csv",
         {{"upper_limit", "percent"}, {"24.39", "0.012899897"}, {"1e-07", "99.99"}}},
        {"curve.csv", {{"pass", "mean", "in_curve"}, {"1", "30.05543327331543", "true"}}},
        {"curve_line.csv", {{"pass", "value"}, {"1.0", "33.983848335978756"}, {"2.5", ""}}},
        {"stations.csv", {{"from", "mean"}, {"0", "50.20383647798742"}}}};
    for (const auto& [name, rows] : expected) EXPECT_EQ(found[name], rows) << name;
    EXPECT_EQ(found.size(), expected.size());
}

TEST(ReportTables, LeaveNoTableOfAnEarlierReport) {
    json document = json::parse(document_text);
    const std::filesystem::path folder = new_folder();
    std::ofstream(folder / "my own.csv") << "kept";
    write_report_tables(folder.string(), document);
    document["curve"] = nullptr;
    document["stats"]["statistics"]["mean"] = 1.5;
    write_report_tables(folder.string(), document);
    EXPECT_FALSE(std::filesystem::exists(folder / "curve.csv"));
    EXPECT_TRUE(std::filesystem::exists(folder / "my own.csv"));
    EXPECT_EQ(read_back(folder / "statistics.csv")[2][1], "1.5");
    EXPECT_THROW(write_report_tables((folder / "my own.csv").string(), document), usage_error);
    std::filesystem::remove_all(folder);
}

#include "text/coverage_report.hpp"

#include <cmath>
#include <numeric>

#include <fmt/format.h>

#include "text/reading_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr int widest_bar = 40;
constexpr std::size_t most_counts_named = 6;

// Decimals that 32 bits hold beside the largest number of a column.
int decimals_of(double largest) {
    return largest < 1e5 ? 2 : largest < 1e6 ? 1 : 0;
}

std::string area_text(double area, int decimals) {
    const std::string text = fmt::format("{:.{}f}", area, decimals);
    const std::size_t point = text.find('.');
    const std::string fraction = point == std::string::npos ? "" : text.substr(point);
    return count_text(std::stoll(text.substr(0, point))) + fraction;
}

std::string with_unit(const std::string& number, const std::string& unit) {
    return unit.empty() ? number : number + " " + unit;
}

std::string describe(const polygon_set& set, const std::string& assumption) {
    const auto many = [](std::size_t count, const char* what) {
        return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
    };
    return fmt::format("{}{}{} from {}{}", many(set.polygons.size(), "polygon"),
                       set.holes > 0 ? " with " : "", set.holes > 0 ? many(set.holes, "hole") : "",
                       set.file, assumption);
}

std::string selection_text(const area_selection& selection) {
    std::string text = count_text(selection.inside()) + " inside the areas";
    if (selection.outside > 0)
        text += fmt::format("; left out: {} outside", count_text(selection.outside));
    if (selection.excluded > 0)
        text += fmt::format(
            "{}{} in an excluded area",
            selection.outside > 0 ? ", " : "; left out: ", count_text(selection.excluded));
    return text;
}

std::string cells_text(const coverage_report& report) {
    const std::string cells = count_text(report.cells.cells);
    if (report.cells.shared_cells == 0) return cells + ", one record in each";
    if (report.all_records)
        return fmt::format("{}, {} of them with several records, which all count", cells,
                           count_text(report.cells.shared_cells));
    return fmt::format("{}, the last pass of each; {} earlier records left out", cells,
                       count_text(report.earlier_passes));
}

std::string mesh_text(const coverage_report& report) {
    return with_unit(fmt::format("{} × {}", report.mesh.x, report.mesh.y), report.points.x.unit) +
           (report.mesh_is_derived ? "  the spacing of the positions" : "  named by --mesh");
}

// "13 with 0, 2 with 7 passes": pass counts that no bin holds.
std::string outside_text(const pass_tally& outside) {
    std::string text;
    std::size_t named = 0;
    for (const auto& [passes, points] : outside) {
        if (named == most_counts_named) return text + ", …";
        text += fmt::format("{}{} with {}", named == 0 ? "" : ", ", count_text(points), passes);
        ++named;
    }
    return text + " passes";
}

std::string bins_text(const coverage_report& report) {
    const int area_decimals = decimals_of(report.covered_area());
    const int percent_decimals = report.coverage() < 1 ? 4 : 2;
    text_table table("lrrrl");
    const auto row = [&](const std::string& name, std::int64_t points, double area, double percent,
                         const std::string& drawn) {
        table.add({name, count_text(points), area_text(area, area_decimals),
                   fmt::format("{:.{}f}", percent, percent_decimals), drawn});
    };
    table.add({"passes", "points", with_unit("area", report.area_unit()), "% of area", ""});
    table.add_rule();
    for (std::size_t i = 0; i < report.bins.size(); ++i) {
        const t_binresult& result = report.results[i];
        row(bin_name(report.bins[i]), report.counts.in_bin[i],
            static_cast<double>(result.x_compacted_area), static_cast<double>(result.x_coverage),
            bar(static_cast<double>(result.x_coverage) / 100, widest_bar));
    }
    table.add_rule();
    row("all bins", report.counts.total_in_bins(), report.covered_area(), report.coverage(), "");
    if (report.counts.total_outside() > 0)
        table.add({"no bin", count_text(report.counts.total_outside()), "", "",
                   outside_text(report.counts.outside)});
    return table.text();
}

std::string target_sentence(const coverage_report& report) {
    const coverage_target& target = report.target;
    return fmt::format("{} % of the area has {} or more passes; {} % are required: {}",
                       number_text(target.achieved), target.passes, number_text(target.required),
                       target.is_met() ? "MET" : "NOT MET");
}

json areas_json(const polygon_set& set) {
    if (set.polygons.empty()) return nullptr;
    return {{"file", set.file}, {"polygons", set.polygons.size()}, {"holes", set.holes}};
}

} // namespace

std::string coverage_report::area_unit() const {
    return squared_unit(points.x.unit);
}

double coverage_report::covered_area() const {
    return std::accumulate(results.begin(), results.end(), 0.0, [](double sum, const auto& result) {
        return sum + static_cast<double>(result.x_compacted_area);
    });
}

double coverage_report::coverage() const {
    return std::accumulate(results.begin(), results.end(), 0.0, [](double sum, const auto& result) {
        return sum + static_cast<double>(result.x_coverage);
    });
}

std::string coverage_text(const coverage_report& report) {
    std::string text = reading_text(report.source, report.points);
    text_table table("ll", 0);
    table.add({"Areas   ", describe(report.included, report.included_assumption)});
    if (!report.excluded.polygons.empty())
        table.add({"Excluded", describe(report.excluded, report.excluded_assumption)});
    table.add({"Points", selection_text(report.selection)});
    table.add({"Cells", cells_text(report)});
    table.add({"Mesh", mesh_text(report)});
    text += table.text();
    const double plan_area = static_cast<double>(report.plan_area());
    text +=
        fmt::format("\nCoverage of {}\n",
                    with_unit(area_text(plan_area, decimals_of(plan_area)), report.area_unit()));
    text += bins_text(report);
    if (report.target.passes > 0) text += "\nTarget\n  " + target_sentence(report) + "\n";
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json coverage_json(const coverage_report& report) {
    json document = new_document("coverage");
    add_reading(document, report.source, report.points);
    document["areas"] = {{"included", areas_json(report.included)},
                         {"excluded", areas_json(report.excluded)}};
    document["selection"] = {{"inside", report.selection.inside()},
                             {"outside", report.selection.outside},
                             {"in_excluded_areas", report.selection.excluded}};
    document["cells"] = {{"count", report.cells.cells},
                         {"with_several_records", report.cells.shared_cells},
                         {"most_records", report.cells.most_records},
                         {"last_pass_only", !report.all_records},
                         {"earlier_records_left_out", report.earlier_passes}};
    document["mesh"] = {{"x", report.mesh.x},
                        {"y", report.mesh.y},
                        {"how", report.mesh_is_derived ? "spacing_of_positions" : "option"}};
    document["units"] = {{"length", text_or_null(report.points.x.unit)},
                         {"area", text_or_null(report.area_unit())}};
    document["plan_area"] = number_or_null(report.plan_area());
    json bins = json::array();
    for (std::size_t i = 0; i < report.bins.size(); ++i) {
        const bool is_open = report.bins[i].i_pass_upper == open_end;
        bins.push_back({{"passes", bin_name(report.bins[i])},
                        {"lower", report.bins[i].i_pass_lower},
                        {"upper", is_open ? json(nullptr) : json(report.bins[i].i_pass_upper)},
                        {"points", report.counts.in_bin[i]},
                        {"area", number_or_null(report.results[i].x_compacted_area)},
                        {"coverage_percent", number_or_null(report.results[i].x_coverage)}});
    }
    document["bins"] = bins;
    document["all_bins"] = {
        {"points", report.counts.total_in_bins()},
        {"area", number_or_null(static_cast<float>(report.covered_area()))},
        {"coverage_percent", number_or_null(static_cast<float>(report.coverage()))}};
    document["points_in_no_bin"] = report.counts.total_outside();
    document["target"] = nullptr;
    if (report.target.passes > 0)
        document["target"] = {{"passes", report.target.passes},
                              {"required_percent", number_or_null(report.target.required)},
                              {"achieved_percent", number_or_null(report.target.achieved)},
                              {"met", report.target.is_met()}};
    document["notes"] = report.notes;
    return document;
}

} // namespace qmx_study

#include "text/coverage_text.hpp"

#include <cmath>

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr std::size_t most_counts_named = 6;

// Decimals that 32 bits hold beside the largest number of a column.
int decimals_of(double largest) {
    return largest < 1e5 ? 2 : largest < 1e6 ? 1 : 0;
}

std::string area_text(double area, int decimals) {
    if (!(std::fabs(area) < 1e15)) return number_text(area);
    const std::string text = fmt::format("{:.{}f}", std::fabs(area), decimals);
    const std::size_t point = text.find('.');
    const std::string fraction = point == std::string::npos ? "" : text.substr(point);
    return (area < 0 ? "-" : "") + count_text(std::stoll(text.substr(0, point))) + fraction;
}

std::string describe(const areas_account& areas) {
    const auto many = [](std::size_t count, const char* what) {
        return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
    };
    return fmt::format(
        "{}{}{} from {}{}", many(areas.polygons, "polygon"), areas.holes > 0 ? " with " : "",
        areas.holes > 0 ? many(areas.holes, "hole") : "", areas.file, areas.assumption);
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

std::string cells_text(const coverage_answer& answer) {
    const std::string cells = count_text(answer.cells.cells);
    if (answer.cells.shared_cells == 0) return cells + ", one record in each";
    if (answer.all_records)
        return fmt::format("{}, {} of them with several records, which all count", cells,
                           count_text(answer.cells.shared_cells));
    return fmt::format("{}, the last pass of each; {} earlier records left out", cells,
                       count_text(answer.earlier_passes));
}

std::string mesh_text(const coverage_answer& answer) {
    return with_unit(fmt::format("{} × {}", answer.mesh.x, answer.mesh.y), answer.reading.x.unit) +
           (!answer.mesh_is_derived ? "  named by --mesh"
            : answer.scatter        ? "  the spacing of the cells that the positions scatter about"
                                    : "  the spacing of the positions");
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

std::string bins_text(const coverage_answer& answer) {
    const int area_decimals = decimals_of(answer.covered_area);
    const int percent_decimals = answer.coverage < 1 ? 4 : 2;
    const bool is_converted = answer.square_metres > 0 && answer.square_metres != 1;
    text_table table("lrrrrl");
    const auto row = [&](const std::string& name, const std::string& points, double area,
                         double percent, const std::string& drawn) {
        const double metres = area * answer.square_metres;
        table.add({name, points, area_text(area, area_decimals),
                   is_converted ? area_text(metres, decimals_of(answer.covered_area)) : "",
                   std::fabs(percent) < 1e6 ? fmt::format("{:.{}f}", percent, percent_decimals)
                                            : number_text(percent),
                   drawn});
    };
    table.add({"passes", "points", with_unit("area", answer.area_unit),
               is_converted ? "area m²" : "", "% of area", ""});
    table.add_rule();
    for (std::size_t i = 0; i < answer.bins.size(); ++i) {
        const t_binresult& result = answer.results[i];
        row(bin_name(answer.bins[i]), count_text(answer.counts.in_bin[i]),
            static_cast<double>(result.x_compacted_area), static_cast<double>(result.x_coverage),
            bar(static_cast<double>(result.x_coverage) / 100, widest_bar));
    }
    table.add_rule();
    row("all bins", count_text(answer.counts.total_in_bins()), answer.covered_area, answer.coverage,
        "");
    row("not covered", "", answer.not_covered, 100 - answer.coverage, "");
    if (answer.counts.total_outside() > 0)
        table.add({"no bin", count_text(answer.counts.total_outside()), "", "", "",
                   outside_text(answer.counts.outside)});
    return table.text();
}

std::string target_sentence(const coverage_answer& answer) {
    const coverage_target& target = answer.target;
    return fmt::format("{} % of the area has {} or more passes; {} % are required: {}",
                       number_text(target.achieved), target.passes, number_text(target.required),
                       !answer.has_verdict() ? "NO VERDICT"
                       : target.is_met()     ? "MET"
                                             : "NOT MET");
}

} // namespace

std::string coverage_text(const coverage_answer& answer) {
    std::string text = reading_text(answer.reading);
    text_table table("ll", 0);
    table.add({"Areas   ", describe(answer.included)});
    if (answer.excluded.polygons > 0) table.add({"Excluded", describe(answer.excluded)});
    table.add({"Points", selection_text(answer.selection)});
    table.add({"Cells", cells_text(answer)});
    table.add({"Mesh", mesh_text(answer)});
    text += table.text();
    const double plan_area = static_cast<double>(answer.plan_area);
    text += fmt::format("\nCoverage of {}\n",
                        with_unit(area_text(plan_area, decimals_of(plan_area)), answer.area_unit));
    text += bins_text(answer);
    if (answer.target.passes > 0) text += "\nTarget\n  " + target_sentence(answer) + "\n";
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal

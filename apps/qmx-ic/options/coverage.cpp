// qmx-ic coverage FILE: how much of an area has been compacted, by bins of pass counts.

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/analyses/library_call.hpp"
#include "study/lot/lot_reader.hpp"
#include "study/analyses/area_selection.hpp"
#include "study/shapes/coverage_areas.hpp"
#include "text/coverage_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

struct coverage_options {
    reading_options reading;
    std::string mesh;
    std::string bins;
    std::string area, area_layer;
    std::string exclude, exclude_layer;
    bool all_records = false;
    bool exit_code = false;
    bool as_json = false;
    std::int32_t target_passes = 0;
    double target_coverage = 90;
    CLI::Option* passes_option = nullptr;
    CLI::Option* coverage_option = nullptr;
};

void check_target(const coverage_options& options) {
    if (options.passes_option->count() == 0) {
        if (options.coverage_option->count() > 0)
            throw usage_error("--target-coverage needs --target-passes");
        if (options.exit_code) throw usage_error("--exit-code needs --target-passes");
        return;
    }
    if (options.target_passes < 1 || options.target_passes > highest_pass_count)
        throw usage_error(fmt::format("--target-passes: {} is no number of passes from 1 to {}",
                                      options.target_passes, highest_pass_count));
    if (!(options.target_coverage >= 0 && options.target_coverage <= 100))
        throw usage_error(fmt::format("--target-coverage: {} is no percentage from 0 to 100",
                                      options.target_coverage));
}

void keep(lot& points, const std::vector<bool>& is_kept) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < is_kept.size(); ++i) {
        if (!is_kept[i]) continue;
        points.points[kept] = points.points[i];
        points.records[kept++] = points.records[i];
    }
    points.points.resize(kept);
    points.records.resize(kept);
}

// Keeps the points inside the included and outside the excluded areas.
void select_points(coverage_report& report, lot& points) {
    const std::size_t count = points.points.size();
    std::vector<double> x(count);
    std::vector<double> y(count);
    for (std::size_t i = 0; i < count; ++i) {
        x[i] = points.points[i].d_x;
        y[i] = points.points[i].d_y;
    }
    report.included_assumption = align(report.included, points);
    report.excluded_assumption = align(report.excluded, points);
    refuse_distant_areas(report.included, x, y);
    std::vector<bool> is_kept = points_inside(report.included, x, y);
    const std::vector<bool> is_excluded = points_inside(report.excluded, x, y);
    report.selection.read = static_cast<std::int64_t>(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (!is_kept[i]) {
            ++report.selection.outside;
        } else if (is_excluded[i]) {
            ++report.selection.excluded;
            is_kept[i] = false;
        }
    }
    keep(points, is_kept);
}

void settle_mesh(coverage_report& report, const coverage_options& options,
                 const std::optional<mesh_size>& lattice) {
    if (!options.mesh.empty()) {
        report.mesh = read_mesh(options.mesh);
        return;
    }
    if (!lattice)
        throw usage_error(fmt::format(
            "{}: the positions do not lie on a lattice along the axes (or on too few rows of one), "
            "so the area that each stands for cannot be told from them\n"
            "  name it with --mesh DX,DY in the unit of the positions; for records along lanes: "
            "the "
            "distance of the lanes and that of the records along a lane",
            report.source.file));
    report.mesh = *lattice;
    report.mesh_is_derived = true;
}

// The pass count is the value; where a cell has several records, the highest is its last pass.
void keep_last_passes(coverage_report& report, lot& points) {
    report.cells = summarise_cells(points);
    if (report.all_records || report.cells.shared_cells == 0) return;
    for (t_icdata& point : points.points) {
        const double passes = std::trunc(point.d_val);
        point.i_passno = std::fabs(passes) < 2147483648.0 ? static_cast<std::int32_t>(passes) : -1;
    }
    report.earlier_passes = keep_last_pass(points);
}

void calculate(coverage_report& report, const lot& points) {
    const std::vector<t_areaflt> areas = area_records(report.included, report.excluded);
    const float mesh[2] = {static_cast<float>(report.mesh.x), static_cast<float>(report.mesh.y)};
    try {
        report.results = run_coverage(mesh, report.bins, points.points, areas);
    } catch (const analysis_error& error) {
        if (std::string(error.what()).find("current area is negative") == std::string::npos) throw;
        throw analysis_error(fmt::format("{}\n  an outline is so thin that rounding alone decides "
                                         "its area; leave it out of the area files",
                                         error.what()));
    }
    if (!(report.plan_area() > 0))
        throw analysis_error(
            fmt::format("the alignment area is {}: the excluded areas are as large as the included "
                        "ones or larger, or an outline has no area\n  look at {}{}{}",
                        number_text(static_cast<double>(report.plan_area())), report.included.file,
                        report.excluded.polygons.empty() ? "" : " and ", report.excluded.file));
    if (report.target.passes == 0) return;
    const std::vector<t_passbin> from_target_on = {{report.target.passes, open_end}};
    report.target.achieved =
        run_coverage(mesh, from_target_on, points.points, areas).front().x_coverage;
}

void note_bins(coverage_report& report, const coverage_options& options) {
    if (options.bins.empty() && options.target_passes == 0)
        report.notes.push_back(
            "There is one bin for each pass count found; --bins 1-2,3-4,5- makes others.");
    if (have_overlap(report.bins))
        report.notes.push_back(
            "The bins overlap: a pass count belongs to the first bin that holds it.");
    const auto is_broken = [](const t_icdata& point) {
        return point.d_val != std::floor(point.d_val);
    };
    const auto broken =
        std::count_if(report.points.points.begin(), report.points.points.end(), is_broken);
    if (broken > 0)
        report.notes.push_back(fmt::format("{} of the pass counts are no whole numbers; their "
                                           "fractions are cut off.",
                                           count_text(broken)));
}

// What makes a point stand for more or less ground than it covers.
void note_mesh(coverage_report& report, const std::optional<mesh_size>& lattice) {
    const mesh_size& mesh = report.mesh;
    bool is_explained = false;
    if (report.all_records && report.cells.shared_cells > 0) {
        report.notes.push_back(fmt::format(
            "{} cells count several times, once for each of their records (--all-records).",
            count_text(report.cells.shared_cells)));
        is_explained = true;
    }
    if (lattice) {
        const double ratio = mesh.area() / lattice->area();
        if (std::fabs(ratio - 1) > 0.01) {
            report.notes.push_back(fmt::format(
                "The positions are {} × {} apart, the mesh is {} × {}: each point stands for {} "
                "times its own cell, and the percentages are that many times those of the cells.",
                lattice->x, lattice->y, mesh.x, mesh.y, number_text(ratio)));
            is_explained = true;
        }
    } else if (const double crowd = points_per_cell(report.points.points, mesh); crowd >= 2) {
        report.notes.push_back(fmt::format(
            "The positions lie on no lattice, and a piece of ground of the mesh's size holds "
            "{:.1f} "
            "points on average: either the mesh is too large, or several passes over the same "
            "ground count one by one. Grid the data, or select one pass with --where.",
            crowd));
        is_explained = true;
    }
    constexpr double noticeable = 100.005; // less comes of the 32 bits of mesh and percentage
    if (report.coverage() > noticeable && !is_explained)
        report.notes.push_back(
            "More than 100 % is covered: a point counts with its whole cell as soon as its centre "
            "lies inside, also where the outline cuts through the cell. If the excess is more than "
            "such a rim, the mesh is larger than the distance of the points.");
}

void run_command(const coverage_options& options) {
    check_target(options);
    if (!options.mesh.empty()) read_mesh(options.mesh); // refused before the file is read
    progress shown;
    polygon_set included = read_polygons(options.area, options.area_layer);
    polygon_set excluded;
    if (!options.exclude.empty()) excluded = read_polygons(options.exclude, options.exclude_layer);
    std::vector<t_passbin> bins;
    if (!options.bins.empty()) bins = read_pass_bins(options.bins);

    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.position = need::required;
    needs.value_is_pass = true;
    lot points = read_lot(source, survey, options.reading, needs, shown);
    refuse_degrees(source, points);
    refuse_mixed_units(points, "an area");

    coverage_report report(source, points);
    report.included = std::move(included);
    report.excluded = std::move(excluded);
    report.all_records = options.all_records;
    report.target.passes = options.target_passes;
    report.target.required = static_cast<float>(options.target_coverage);
    const std::optional<mesh_size> lattice = lattice_of(points.points);
    settle_mesh(report, options, lattice);
    select_points(report, points);
    keep_last_passes(report, points);
    const pass_tally tally = tally_passes(points.points);
    report.bins = bins.empty() ? default_pass_bins(tally, options.target_passes) : std::move(bins);
    report.counts = count_in_bins(tally, report.bins);
    calculate(report, points);

    note_bins(report, options);
    note_mesh(report, lattice);
    for (std::string& note : area_notes(report.included, report.excluded, report.area_unit()))
        report.notes.push_back(std::move(note));
    if (options.as_json) {
        print_document(coverage_json(report));
    } else {
        fmt::print("{}", coverage_text(report));
    }
    if (options.exit_code && !report.target.is_met()) throw target_not_met();
}

} // namespace

void add_coverage_command(CLI::App& program) {
    const auto options = std::make_shared<coverage_options>();
    CLI::App* const command = program.add_subcommand(
        "coverage", "Compacted share of an area, by bins of pass counts, with a target");
    add_reading_options(*command, options->reading);
    const char* const areas = "Areas";
    command
        ->add_option("--area", options->area,
                     "The alignment: polygons from a vector format, a CSV with a WKT column, or a "
                     "CSV with a vertex in each row (a column polygon, area or id parts several)")
        ->required()
        ->group(areas);
    command
        ->add_option("--exclude", options->exclude,
                     "Polygons to be left out of it, such as structures")
        ->group(areas);
    command->add_option("--area-layer", options->area_layer, "Layer of an area file with several")
        ->group(areas);
    command
        ->add_option("--exclude-layer", options->exclude_layer,
                     "Layer of an exclusion file with several")
        ->group(areas);
    const char* const analysis = "Analysis";
    command
        ->add_option("--mesh", options->mesh,
                     "Size of the cell that a point stands for, in the unit of the positions; "
                     "otherwise the spacing of positions that lie on a lattice")
        ->type_name("DX,DY")
        ->group(analysis);
    command
        ->add_option(
            "--bins", options->bins,
            "Bins of pass counts, such as 1-2,3-4,5- ; a count goes to the first bin that "
            "holds it. Otherwise one for each count, or those below and from the target on")
        ->type_name("LIST")
        ->group(analysis);
    options->passes_option =
        command
            ->add_option("--target-passes", options->target_passes,
                         "Passes that an area must have got to count as finished")
            ->group(analysis);
    options->coverage_option = command
                                   ->add_option("--target-coverage", options->target_coverage,
                                                "Percentage of the area that must have got them")
                                   ->capture_default_str()
                                   ->group(analysis);
    command
        ->add_flag("--all-records", options->all_records,
                   "Count every record of a cell; otherwise the last pass of each cell")
        ->group(analysis);
    command->add_flag("--exit-code", options->exit_code, "End with 3 when the target is missed")
        ->group("Output");
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_command(*options); });
}

} // namespace qmx_study

#include "study/analyses/coverage.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/area_selection.hpp"
#include "study/analyses/library_call.hpp"
#include "study/analyses/lot_notes.hpp"
#include "study/analyses/scattered_lattice.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/portable_math.hpp"
#include "study/base/value_text.hpp"
#include "study/shapes/coverage_areas.hpp"

namespace qmx_study {

namespace {

// The polygons in the system of the points.
struct aligned_areas {
    polygon_set included, excluded;
};

// Records of the file that each point stands for: of cells several, otherwise one.
using point_weights = std::vector<std::uint32_t>;

// Keeps the points inside the included and outside the excluded areas. weights: empty where each point
// stands for one record.
aligned_areas select_points(coverage_answer& answer, const coverage_question& question, lot& points,
                            point_weights& weights) {
    const auto [x, y] = positions_of(points);
    aligned_areas areas{question.included, question.excluded};
    answer.included = account_of(areas.included, align(areas.included, points));
    answer.excluded = account_of(areas.excluded, align(areas.excluded, points));
    refuse_distant_areas(areas.included, x, y);
    std::vector<bool> is_kept = points_inside(areas.included, x, y);
    const std::vector<bool> is_excluded = points_inside(areas.excluded, x, y);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const std::int64_t weight = weights.empty() ? 1 : weights[i];
        answer.selection.read += weight;
        if (!is_kept[i]) {
            answer.selection.outside += weight;
        } else if (is_excluded[i]) {
            answer.selection.excluded += weight;
            is_kept[i] = false;
        }
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < weights.size(); ++i)
        if (is_kept[i]) weights[kept++] = weights[i];
    weights.resize(kept);
    keep_marked(points, is_kept);
    return areas;
}

// The mesh, named or that of the positions. Positions that scatter about cells are moved to them, so
// that records of one cell meet. Returns the spacing of the positions where they lie on a lattice.
std::optional<mesh_size> settle_mesh(coverage_answer& answer, const coverage_question& question,
                                     lot& points, const std::string& file) {
    std::optional<mesh_size> lattice = lattice_of(points.points);
    if (!lattice && !question.mesh && question.lattice) {
        lattice = question.lattice->mesh;
        answer.angle = question.lattice->angle;
    }
    if (!lattice) {
        auto scattered = scattered_lattice_of(points.points, std::nullopt);
        if (!scattered && question.mesh)
            scattered = scattered_lattice_of(points.points, question.mesh);
        if (scattered) {
            snap(points.points, *scattered);
            lattice = scattered->mesh;
            answer.scatter = scattered->scatter;
        }
    }
    if (!question.mesh && !lattice)
        throw usage_error(
            fmt::format(
                "{}: the positions do not lie on a lattice along the axes (or on too few "
                "rows of one), so the area that each stands for cannot be told from them\n"
                "  put them on one with qmx-ic grid; or name that area with --mesh DX,DY in "
                "the unit of the positions, for records of a single pass along lanes: the "
                "distance of the lanes and that of the records along a lane",
                file),
            error_place{"--mesh", file, 0, {}});
    answer.mesh = question.mesh ? *question.mesh : *lattice;
    answer.mesh_is_derived = !question.mesh;
    return lattice;
}

// The pass count is the value; where a cell has several records, the highest is its last pass.
void keep_last_passes(coverage_answer& answer, loaded_lot& loaded) {
    lot& points = loaded.data;
    answer.cells = summarise_cells(points);
    if (answer.all_records || answer.cells.shared_cells == 0) return;
    take_values_as_passes(points);
    answer.earlier_passes = loaded.earlier_passes = keep_last_pass(points);
}

std::vector<t_binresult> coverage_of(const coverage_answer& answer,
                                     const std::vector<t_passbin>& bins, const lot& points,
                                     const std::vector<t_areaflt>& areas) {
    const float mesh[2] = {static_cast<float>(answer.mesh.x), static_cast<float>(answer.mesh.y)};
    std::vector<t_binresult> results;
    const auto failure = run_coverage(mesh, bins, points.points, areas, results);
    if (!failure) return results;
    if (failure->event != known_event::outline_area_is_negative) throw library_error(*failure);
    throw analysis_error(fmt::format("{}\n  an outline is so thin that rounding alone decides "
                                     "its area; leave it out of the area files",
                                     failure->text()));
}

template <class Field> double sum_over_bins(const coverage_answer& answer, Field field) {
    return std::accumulate(answer.results.begin(), answer.results.end(), 0.0,
                           [field](double sum, const t_binresult& result) {
                               return sum + static_cast<double>(result.*field);
                           });
}

void calculate(coverage_answer& answer, const aligned_areas& areas, const lot& points) {
    const std::vector<t_areaflt> records = area_records(areas.included, areas.excluded);
    answer.results = coverage_of(answer, answer.bins, points, records);
    if (!answer.results.empty()) answer.plan_area = answer.results.front().x_plan_area;
    answer.covered_area = sum_over_bins(answer, &t_binresult::x_compacted_area);
    answer.coverage = sum_over_bins(answer, &t_binresult::x_coverage);
    answer.not_covered = static_cast<double>(answer.plan_area) - answer.covered_area;
    if (!(answer.plan_area > 0))
        throw analysis_error(
            fmt::format("the alignment area is {}: the excluded areas are as large as the included "
                        "ones or larger, or an outline has no area\n  look at {}{}{}",
                        number_text(static_cast<double>(answer.plan_area)), answer.included.file,
                        answer.excluded.polygons == 0 ? "" : " and ", answer.excluded.file));
    if (answer.target.passes == 0) return;
    const std::vector<t_passbin> from_target_on = {{answer.target.passes, open_end}};
    answer.target.achieved =
        coverage_of(answer, from_target_on, points, records).front().x_coverage;
}

void note_bins(coverage_answer& answer, const coverage_question& question, const lot& points) {
    if (question.bins.empty() && !question.target_passes)
        answer.notes.push_back(
            "There is one bin for each pass count found; --bins 1-2,3-4,5- makes others.");
    if (have_overlap(answer.bins))
        answer.notes.push_back(
            "The bins overlap: a pass count belongs to the first bin that holds it.");
    const auto is_broken = [](const t_icdata& point) {
        return point.d_val != std::floor(point.d_val);
    };
    const auto broken = std::count_if(points.points.begin(), points.points.end(), is_broken);
    if (broken > 0)
        answer.notes.push_back(fmt::format("{} of the pass counts are no whole numbers; their "
                                           "fractions are cut off.",
                                           count_text(broken)));
}

double length_of(const outline& ring) {
    double length = 0;
    for (std::size_t i = 0; i < ring.x.size(); ++i) {
        const std::size_t next = (i + 1) % ring.x.size();
        length += portable::length_of(ring.x[next] - ring.x[i], ring.y[next] - ring.y[i]);
    }
    return length;
}

// Percent of the area that cells may have too much where outlines cut through them: a cell counts
// whole as soon as its centre lies inside, so half of it may stand over the outline.
double rim_percent(const coverage_answer& answer, const aligned_areas& areas) {
    double length = 0;
    for (const polygon_set* const set : {&areas.included, &areas.excluded})
        for (const polygon& area : set->polygons) {
            length += length_of(area.outer);
            for (const outline& hole : area.holes) length += length_of(hole);
        }
    return 100 * length * std::max(answer.mesh.x, answer.mesh.y) / 2 /
           static_cast<double>(answer.plan_area);
}

// What makes a point stand for more ground than it covers. Then there is no verdict.
std::string doubt_about_mesh(const coverage_answer& answer, const aligned_areas& areas,
                             const std::optional<mesh_size>& lattice, const lot& points) {
    if (answer.all_records && answer.cells.shared_cells > 0)
        return fmt::format("{} cells count several times, once for each of their records "
                           "(--all-records).",
                           count_text(answer.cells.shared_cells));
    const mesh_size& mesh = answer.mesh;
    if (lattice && mesh.area() > 1.01 * lattice->area())
        return fmt::format(
            "The positions are {} × {} apart, the mesh is {} × {}: each point stands for {} times "
            "its own cell, and the percentages are that many times those of the cells.",
            lattice->x, lattice->y, mesh.x, mesh.y, number_text(mesh.area() / lattice->area()));
    const double crowd = lattice ? 1 : points_per_cell(points.points, mesh);
    if (crowd >= 2)
        return fmt::format(
            "The positions lie on no lattice, and a grid cell of the mesh's size holds {:.1f} "
            "points on average: either the mesh is too large, or several passes over the same "
            "ground count one by one. Put the data on a lattice with qmx-ic grid, or select one "
            "pass with --where.",
            crowd);
    constexpr double noticeable = 0.005; // less comes of the 32 bits of mesh and percentage
    const double rim = rim_percent(answer, areas);
    if (answer.coverage <= 100 + noticeable + rim) return {};
    return "More than 100 % is covered, also without the cells that an outline cuts: ground counts "
           "several times.";
}

// Doubts take the verdict away; the numbers stand as they are.
void find_doubts(coverage_answer& answer, const aligned_areas& areas,
                 const std::optional<mesh_size>& lattice, const lot& points) {
    std::vector<std::string> doubts = area_notes(areas.included, areas.excluded, answer.area_unit);
    std::string of_mesh = doubt_about_mesh(answer, areas, lattice, points);
    if (!of_mesh.empty()) doubts.push_back(std::move(of_mesh));
    if (doubts.empty() && answer.coverage > 100.005)
        answer.notes.push_back(
            "More than 100 % is covered, by no more than the cells that the outline cuts: a point "
            "counts with its whole cell as soon as its centre lies inside.");
    if (doubts.empty()) return;
    answer.failure.explanation = "There is no verdict. ";
    for (const std::string& doubt : doubts) answer.failure.explanation += doubt + " ";
    answer.failure.explanation.pop_back();
}

void note_mesh(coverage_answer& answer, const std::optional<mesh_size>& lattice) {
    const mesh_size& mesh = answer.mesh;
    if (answer.angle != 0)
        answer.notes.push_back(fmt::format("The cells stand {} × {} apart in rows turned by "
                                           "{:.4g}° against the eastings: the mesh "
                                           "is that of these rows.",
                                           number_text(mesh.x), number_text(mesh.y), answer.angle));
    if (answer.scatter)
        answer.notes.push_back(fmt::format(
            "The positions scatter by {:.2g} about cells {} × {} apart. Each counts for the cell "
            "that it is nearest to.",
            *answer.scatter, lattice->x, lattice->y));
    if (lattice && mesh.area() < 0.99 * lattice->area())
        answer.notes.push_back(fmt::format(
            "The positions are {} × {} apart, the mesh is {} × {}: each point stands for {} of its "
            "own cell only.",
            lattice->x, lattice->y, mesh.x, mesh.y, number_text(mesh.area() / lattice->area())));
    if (!lattice)
        answer.notes.push_back("The positions lie on no lattice: the mesh is taken as it is named, "
                               "and every record as a piece of ground of its own. qmx-ic grid puts "
                               "tracks on a lattice.");
}

// Of one unit of area, 0 where the unit of length is not known.
double square_metres_of(const std::string& length_unit) {
    if (length_unit == "m") return 1;
    if (length_unit == "ft") return 0.3048 * 0.3048;
    if (length_unit == "US survey ft") return 1200.0 / 3937 * 1200 / 3937;
    return length_unit == "km" ? 1e6 : 0;
}

} // namespace

void check(const coverage_question& question) {
    if (!question.target_passes) {
        if (question.target_coverage)
            throw wrong_option("--target-coverage", " needs --target-passes");
        return;
    }
    if (*question.target_passes < 1 || *question.target_passes > highest_pass_count)
        throw wrong_option("--target-passes", ": {} is no number of passes from 1 to {}",
                           *question.target_passes, highest_pass_count);
    if (const double percent = question.target_coverage.value_or(90);
        !(percent >= 0 && percent <= 100))
        throw wrong_option("--target-coverage", ": {} is no percentage from 0 to 100", percent);
}

reading_needs needs_of(const coverage_question&) {
    reading_needs needs;
    needs.position = need::required;
    needs.value_is_pass = true;
    return needs;
}

namespace {

coverage_answer begun(const coverage_question& question, const loaded_lot& lot) {
    refuse_degrees(lot.source(), lot.data);
    refuse_mixed_units(lot.data, "an area");
    coverage_answer answer;
    answer.area_unit = squared_unit(lot.data.x.unit);
    answer.all_records = question.all_records;
    answer.target.passes = question.target_passes.value_or(0);
    answer.target.required = static_cast<float>(question.target_coverage.value_or(90));
    answer.square_metres = square_metres_of(lot.data.x.unit);
    return answer;
}

// points: those that count in the areas.
void finish(coverage_answer& answer, const coverage_question& question, const aligned_areas& areas,
            const std::optional<mesh_size>& lattice, const lot& points) {
    const pass_tally tally = tally_passes(points.points);
    answer.bins =
        question.bins.empty() ? default_pass_bins(tally, answer.target.passes) : question.bins;
    answer.counts = count_in_bins(tally, answer.bins);
    calculate(answer, areas, points);
    note_mesh(answer, lattice);
    note_bins(answer, question, points);
    find_doubts(answer, areas, lattice, points);
}

} // namespace

coverage_answer analyse(const coverage_question& question, loaded_lot& lot) {
    coverage_answer answer = begun(question, lot);
    const std::optional<mesh_size> lattice =
        settle_mesh(answer, question, lot.data, lot.source().file);
    point_weights each_one;
    const aligned_areas areas = select_points(answer, question, lot.data, each_one);
    keep_last_passes(answer, lot);
    answer.reading = account_of(lot);
    finish(answer, question, areas, lattice, lot.data);
    return answer;
}

coverage_answer analyse(const coverage_question& question, const loaded_lot& lot,
                        compacted_cells cells) {
    coverage_answer answer = begun(question, lot);
    answer.reading = account_of(lot);
    const std::optional<mesh_size> lattice =
        settle_mesh(answer, question, cells.cells, lot.source().file);
    if (answer.scatter) join_cells(cells.cells, cells.records);
    const aligned_areas areas = select_points(answer, question, cells.cells, cells.records);
    for (const std::uint32_t records : cells.records) {
        ++answer.cells.cells;
        answer.cells.shared_cells += records > 1;
        answer.cells.most_records = std::max<std::int64_t>(answer.cells.most_records, records);
        answer.earlier_passes += records - 1;
    }
    finish(answer, question, areas, lattice, cells.cells);
    return answer;
}

} // namespace qmx_study

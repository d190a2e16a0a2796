#include "study/analyses/report.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/report_cautions.hpp"
#include "study/analyses/report_tables.hpp"
#include "study/base/number_text.hpp"
#include "study/lot/value_range.hpp"

namespace qmx_study {

namespace {

// Pairs that the semivariogram takes: about a sixth of a second, and once more to count them.
constexpr double most_pairs = 4e7;

constexpr double scatter_of_rounding = 0.002; // of coordinates written to the thousandth

double metres_in(const std::string& unit) {
    if (unit == "m") return 1;
    if (unit == "ft") return 1 / 0.3048;
    if (unit == "US survey ft") return 3937.0 / 1200;
    return unit == "km" ? 0.001 : 0;
}

double value_in_force(const job_settings& settings, const char* key, double otherwise) {
    const threshold* const one = find_threshold(settings.thresholds, key);
    return one ? one->value : otherwise;
}

// Limits are compared with numbers as files write them: 70 % of 40.1 is 28.07, not its neighbour.
double as_written(double number) {
    double rounded = number;
    read_plain_number(fmt::format("{:.12g}", number), rounded);
    return rounded;
}

void miss(report_answer& answer, const char* part, const char* key, std::string text) {
    answer.missing.push_back({part, key, std::move(text)});
}

// Runs the work of a part. One that fails is missing, with the reason.
template <class Work> void attempt(report_answer& answer, const char* part, Work work) {
    try {
        work();
    } catch (const library_error& error) {
        if (error.event.event == known_event::no_memory) throw;
        miss(answer, part, "failed", error.what());
    } catch (const usage_error& error) {
        miss(answer, part, "failed", error.what());
    } catch (const analysis_error& error) {
        miss(answer, part, "failed", error.what());
    }
}

// Why the lot carries no analysis in a plane: a key and a text, both empty where it does.
std::pair<const char*, const char*> plane_lacking(const loaded_lot& lot) {
    if (!lot.data.has_positions())
        return {"no_positions", "no columns of positions were recognised"};
    if (lot.data.is_geographic)
        return {"degrees", "the positions are degrees; --project brings them to a plane"};
    return {"", ""};
}

bool lacks_plane(report_answer& answer, const char* part, const loaded_lot& lot) {
    const auto [key, text] = plane_lacking(lot);
    if (*key) miss(answer, part, key, text);
    return *key;
}

bool lacks_values(report_answer& answer, const char* part, const loaded_lot& lot) {
    if (!lot.data.value.found()) {
        miss(answer, part, "no_value", "no column of a measured value was recognised");
    } else if (lot.data.points.empty()) {
        miss(answer, part, "no_value", "no row has a value");
    } else {
        return false;
    }
    return true;
}

// The last passes of all cells, with a value or without, for the coverage.
compacted_cells compacted_cells_of(const lot& points, const cell_layers& layers) {
    compacted_cells made;
    lot& cells = made.cells;
    cells.x = points.x;
    cells.y = points.y;
    cells.pass = points.pass;
    cells.is_geographic = points.is_geographic;
    cells.system = points.system;
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        if (layers.records_of_last_pass[i] == 0) continue;
        cells.points.push_back(points.points[i]);
        cells.points.back().d_val = points.points[i].i_passno;
        cells.records.push_back(points.records[i]);
        made.records.push_back(layers.records_of_last_pass[i]);
    }
    return made;
}

// Leaves the rows with a value, and the marks of their last passes.
void keep_measured(lot& points, std::vector<bool>& is_last) {
    if (points.without_value == 0) return;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < is_last.size(); ++i)
        if (!std::isnan(points.points[i].d_val)) is_last[kept++] = is_last[i];
    is_last.resize(kept);
    leave_out_rows_without_value(points);
}

void add_curve(report_answer& answer, const loaded_lot& lot, const cell_summary& cells) {
    if (lacks_values(answer, "curve", lot)) return;
    if (!lot.data.pass.found())
        return miss(answer, "curve", "no_passes", "no column of pass numbers was recognised");
    attempt(answer, "curve", [&] {
        std::vector<t_icdata> points;
        points.reserve(lot.data.points.size());
        for (const t_icdata& point : lot.data.points)
            if (point.i_passno != no_pass) points.push_back(point);
        answer.rows_without_pass =
            static_cast<std::int64_t>(lot.data.points.size() - points.size());
        if (points.empty()) return miss(answer, "curve", "no_passes", "no row has a pass number");
        curve_question question;
        question.growth = value_in_force(answer.settings, "growth_percent", question.growth);
        check(question);
        answer.curve = analyse(question, lot, std::move(points), cells);
    });
}

void settle_target_passes(report_answer& answer) {
    if (answer.settings.target_passes) {
        answer.target_passes = answer.settings.target_passes;
        answer.target_passes_from = "named";
    } else if (answer.curve && answer.curve->grown_out > 0) {
        answer.target_passes = answer.curve->grown_out;
        answer.target_passes_from = "the compaction curve";
    }
}

void add_spots(report_answer& answer, const loaded_lot& lot, report_tables& tables) {
    if (answer.settings.tests.empty())
        return miss(answer, "spots", "no_tests", "no table of spot tests was given");
    if (lacks_plane(answer, "spots", lot) || lacks_values(answer, "spots", lot)) return;
    attempt(answer, "spots", [&] {
        constexpr double usual_radius = 0.5; // metres
        spots_question question;
        question.radius =
            answer.settings.radius.value_or(usual_radius * (answer.metre > 0 ? answer.metre : 1));
        question.any_pass = answer.settings.tests_any_pass;
        question.least_pairs =
            static_cast<int>(value_in_force(answer.settings, "correlation_tests", 10));
        question.least_correlation = value_in_force(answer.settings, "correlation_r", 0.7);
        check(question);
        answer.spots = analyse(question, lot, *tables.tests);
        answer.band = confidence_band(*answer.spots, 95);
    });
}

void add_coverage(report_answer& answer, const loaded_lot& lot, const report_tables& tables,
                  compacted_cells cells) {
    if (tables.included.polygons.empty())
        return miss(answer, "coverage", "no_area", "no area was given");
    if (lacks_plane(answer, "coverage", lot)) return;
    if (!lot.data.pass.found())
        return miss(answer, "coverage", "no_passes", "no column of pass numbers was recognised");
    if (cells.records.empty())
        return miss(answer, "coverage", "no_passes", "no row has a position and a pass number");
    attempt(answer, "coverage", [&] {
        coverage_question question;
        question.included = tables.included;
        question.excluded = tables.excluded;
        // Positions that scatter about nodes along the axes are moved to these there.
        if (answer.lattice && answer.lattice->is_lattice &&
            (answer.lattice->angle != 0 || answer.lattice->scatter < scatter_of_rounding))
            question.lattice = turned_lattice{{answer.lattice->along, answer.lattice->across},
                                              answer.lattice->angle};
        question.target_passes = answer.target_passes;
        if (answer.target_passes)
            question.target_coverage = value_in_force(answer.settings, "coverage_percent", 90);
        check(question);
        answer.coverage = analyse(question, lot, std::move(cells));
    });
}

limit_share share_of(const std::vector<t_icdata>& cells, const cell_limit& limit) {
    limit_share share{limit.value, {0, static_cast<std::int64_t>(cells.size())}};
    share.share.counted = std::count_if(
        cells.begin(), cells.end(), [&](const t_icdata& cell) { return limit.is_met(cell.d_val); });
    return share;
}

// The limits that values are held against, and what is told of the values one by one.
void count_values(report_answer& answer, const std::vector<t_icdata>& cells) {
    const job_settings& settings = answer.settings;
    const auto part = [&](double of, const char* key) {
        return as_written(of * value_in_force(settings, key, 100) / 100);
    };
    if (settings.target) {
        const double limit =
            settings.below ? *settings.target : part(*settings.target, "target_fraction_percent");
        answer.limit_of_cells = cell_limit{limit, settings.below};
        answer.limit_from = "target";
        answer.target_share = share_of(cells, *answer.limit_of_cells);
    }
    if (settings.minimum) {
        const cell_limit least{*settings.minimum, false};
        answer.minimum_share = share_of(cells, least);
        answer.floor_share =
            share_of(cells, {part(*settings.minimum, "floor_fraction_percent"), false});
        if (!settings.target) {
            answer.limit_of_cells = least;
            answer.limit_from = "minimum";
        }
    }
    const auto largest =
        std::max_element(cells.begin(), cells.end(),
                         [](const t_icdata& a, const t_icdata& b) { return a.d_val < b.d_val; });
    answer.greatest_value = largest->d_val;
    answer.at_greatest_value = std::count_if(cells.begin(), cells.end(), [&](const t_icdata& cell) {
        return cell.d_val == answer.greatest_value;
    });
}

void add_stats(report_answer& answer, const loaded_lot& lot, const finished_layer& layer) {
    if (lacks_values(answer, "stats", lot)) return;
    count_values(answer, lot.data.points);
    attempt(answer, "stats", [&] {
        refuse_values_too_large(lot.source(), lot.data);
        stats_question question;
        question.target = answer.settings.target;
        if (question.target)
            question.target_percent = value_in_force(answer.settings, "target_share_percent", 90);
        question.below = answer.settings.below && question.target;
        check(question);
        answer.stats = analyse(question, lot, layer);
    });
}

void add_pass_counts(report_answer& answer, const loaded_lot& lot) {
    if (!lot.data.pass.found())
        return miss(answer, "pass_counts", "no_passes", "no column of pass numbers was recognised");
    std::map<std::int32_t, std::int64_t> counts;
    for (const t_icdata& cell : lot.data.points) ++counts[cell.i_passno];
    for (const auto& [passes, cells] : counts) answer.pass_counts.push_back({passes, cells});
}

bool has_two_places(const std::vector<t_icdata>& cells) {
    return std::any_of(cells.begin(), cells.end(), [&](const t_icdata& cell) {
        return cell.d_x != cells.front().d_x || cell.d_y != cells.front().d_y;
    });
}

void add_semivariogram(report_answer& answer, const loaded_lot& lot, const finished_layer& layer,
                       progress& shown) {
    const char* const part = "semivariogram";
    if (lacks_plane(answer, part, lot) || lacks_values(answer, part, lot)) return;
    if (!has_two_places(lot.data.points))
        return miss(answer, part, "one_place", "all cells lie in one place");
    attempt(answer, part, [&] {
        semivariogram_question question;
        question.lag = answer.settings.lag;
        question.lags = answer.settings.lags;
        question.most_pairs = most_pairs;
        question.count_pairs = true;
        check(question);
        answer.semivariogram = analyse(question, lot, layer, shown, {});
    });
}

void add_road(report_answer& answer, const loaded_lot& lot) {
    if (lacks_plane(answer, "road", lot) || lacks_values(answer, "road", lot)) return;
    if (!answer.lattice || !has_two_places(lot.data.points))
        return miss(answer, "road", "one_place", "all cells lie in one place");
    attempt(answer, "road", [&] {
        road_question question;
        question.window = answer.settings.window;
        question.limit = answer.limit_of_cells;
        question.least_share = value_in_force(
            answer.settings,
            answer.limit_from == "minimum" ? "minimum_share_percent" : "target_share_percent", 90);
        question.has_passes = lot.data.pass.found();
        if (answer.metre > 0) question.metre = answer.metre;
        if (question.window && !(*question.window > 0 && std::isfinite(*question.window)))
            throw usage_error(fmt::format("the window along the road is {}; give a length above 0",
                                          *question.window));
        answer.road = analyse(question, lot.data.points, *answer.lattice);
    });
}

void keep_positioned(lot& points) {
    if (points.without_position == 0) return;
    std::vector<bool> is_kept(points.points.size());
    for (std::size_t i = 0; i < is_kept.size(); ++i) is_kept[i] = !std::isnan(points.points[i].d_x);
    keep_marked(points, is_kept);
    points.without_position = 0;
}

cell_table table_of(const report_answer& answer, const lot& points) {
    cell_table table;
    const std::size_t size = points.points.size();
    for (std::vector<double>* const column : {&table.x, &table.y, &table.value})
        column->reserve(size);
    table.pass.reserve(size);
    table.verdict.reserve(size);
    for (const t_icdata& cell : points.points) {
        table.x.push_back(cell.d_x);
        table.y.push_back(cell.d_y);
        table.value.push_back(cell.d_val);
        table.pass.push_back(cell.i_passno);
        table.verdict.push_back(!answer.limit_of_cells || std::isnan(cell.d_val)
                                    ? cell_without_verdict
                                : answer.limit_of_cells->is_met(cell.d_val) ? cell_met
                                                                            : cell_missed);
    }
    table.records.assign(points.records.begin(), points.records.end());
    return table;
}

void describe_cells(report_answer& answer, const lot& points) {
    if (points.points.empty()) return;
    extent found{HUGE_VAL, -HUGE_VAL, HUGE_VAL, -HUGE_VAL};
    for (const t_icdata& cell : points.points) {
        found.x_least = std::min(found.x_least, cell.d_x);
        found.x_most = std::max(found.x_most, cell.d_x);
        found.y_least = std::min(found.y_least, cell.d_y);
        found.y_most = std::max(found.y_most, cell.d_y);
    }
    answer.cells_extent = found;
    if (!points.is_geographic && !answer.lattice) answer.lattice = lattice_of_cells(points.points);
}

// Brings the lot to the last pass of each cell. Records that each lie on a node of their own are one
// layer, whatever their passes.
finished_layer finish(report_answer& answer, loaded_lot& lot, const cell_layers& layers) {
    for (t_icdata& point : lot.data.points)
        if (point.i_passno == no_pass) point.i_passno = 0;
    const bool may_be_one_layer = !layers.measured.is_all_passes() && lot.data.has_positions() &&
                                  !lot.data.is_geographic && lot.data.without_position == 0;
    cell_lattice found;
    if (may_be_one_layer) found = lattice_of_cells(lot.data.points);
    finished_layer layer = take_finished_layer(lot, answer.settings.all_records, layers.measured,
                                               layers.is_last_measured, found.is_lattice);
    if (may_be_one_layer && !layer.is_taken) answer.lattice = found;
    if (lot.data.points.size() < lot.data.points.capacity() / 2) {
        lot.data.points.shrink_to_fit();
        lot.data.records.shrink_to_fit();
    }
    return layer;
}

} // namespace

lot_report report_of(const job_settings& settings, progress& shown) {
    lot_report made;
    report_answer& answer = made.answer;
    answer.settings = settings;
    report_tables tables = read_report_tables(settings, answer, shown);
    loaded_lot& lot = tables.lot;
    answer.length_unit = lot.data.x.unit;
    answer.is_geographic = lot.data.is_geographic;
    answer.metre = lot.data.is_geographic ? 0 : metres_in(lot.data.x.unit);

    cell_layers layers = layers_of(lot.data);
    compacted_cells compacted;
    if (!tables.included.polygons.empty() && lot.data.pass.found())
        compacted = compacted_cells_of(lot.data, layers);
    layers.records_of_last_pass = {};
    if (lot.data.value.found()) keep_measured(lot.data, layers.is_last_measured);
    add_curve(answer, lot, layers.compacted);
    settle_target_passes(answer);
    add_spots(answer, lot, tables);
    const finished_layer layer = finish(answer, lot, layers);
    layers = {};
    answer.finished_layer = layer.is_taken;
    answer.cells = layer.cells;
    answer.reading = account_of(lot);
    add_stats(answer, lot, layer);
    if (lot.data.has_positions()) keep_positioned(lot.data);
    describe_cells(answer, lot.data);
    add_pass_counts(answer, lot);
    add_coverage(answer, lot, tables, std::move(compacted));
    add_semivariogram(answer, lot, layer, shown);
    add_road(answer, lot);
    made.cells = table_of(answer, lot.data);
    answer.verdicts = verdicts_of(answer);
    answer.cautions = cautions_of(answer);
    answer.notes = notes_of(answer);
    return made;
}

} // namespace qmx_study

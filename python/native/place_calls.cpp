// Points in circles and outlines, spot tests beside the data round them, and coverage.

#include "library_calls.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "arrays.hpp"
#include "call_lock.hpp"
#include "records.hpp"

namespace nb = nanobind;

namespace qmx_python {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr float unknown_32 = std::numeric_limits<float>::quiet_NaN();

template <class Items> std::int32_t count_of(const Items& items) {
    if (items.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw nb::value_error("more than 2147483647 points");
    return static_cast<std::int32_t>(items.size());
}

// ---- Selections ----------------------------------------------------------------------------------

struct held_places {
    double_column held_x, held_y;
    held_array held_indices;
    std::span<const double> x, y;
    std::span<std::int32_t> indices;
    held_places(nb::handle x_array, nb::handle y_array, nb::handle out)
        : held_x(x_array), held_y(y_array), held_indices(out, true), x(held_x.numbers()),
          y(held_y.numbers()), indices(held_indices.as<std::int32_t>()) {
        if (x.size() != y.size())
            throw nb::value_error(("column x has " + std::to_string(x.size()) +
                                   " rows and column y has " + std::to_string(y.size()))
                                      .c_str());
        if (indices.size() != x.size())
            throw nb::value_error("an output array has the wrong length");
    }
};

// Vertices one after another, each easting and northing.
std::span<const double> vertices_of(const held_array& outline) {
    const std::span<const double> vertices = outline.as<const double>();
    for (std::size_t k = 0; k < vertices.size(); ++k)
        if (!std::isfinite(vertices[k]))
            throw nb::value_error(
                ("vertex " + std::to_string(k / 2) + " (the first is 0) of a polygon is not finite")
                    .c_str());
    return vertices;
}

nb::tuple points_in_circle(nb::handle x, nb::handle y, nb::handle indices, double center_x,
                           double center_y, double radius) {
    const held_places places(x, y, indices);
    const double center[2] = {center_x, center_y};
    std::int32_t found = 0;
    t_event event{};
    const std::int32_t returned = run(places.x.size(), [&] {
        return find_points_in_circle(count_of(places.x), radius, center, places.x.data(),
                                     places.y.data(), &found, places.indices.data(), &event);
    });
    return nb::make_tuple(failure_of(returned, event), found);
}

nb::tuple points_in_polygon(nb::handle x, nb::handle y, nb::handle indices, nb::handle outline) {
    const held_places places(x, y, indices);
    const held_array held(outline);
    const std::span<const double> vertices = vertices_of(held);
    std::vector<double> vertex_x, vertex_y;
    for (std::size_t k = 0; k + 1 < vertices.size(); k += 2) {
        vertex_x.push_back(vertices[k]);
        vertex_y.push_back(vertices[k + 1]);
    }
    std::int32_t found = 0;
    t_event event{};
    const std::int32_t returned = run(places.x.size(), [&] {
        return find_points_in_polygon(count_of(vertex_x), count_of(places.x), vertex_x.data(),
                                      vertex_y.data(), places.x.data(), places.y.data(), &found,
                                      places.indices.data(), &event);
    });
    return nb::make_tuple(failure_of(returned, event), found);
}

// ---- Spot tests ----------------------------------------------------------------------------------

struct spot_line {
    float terms[3] = {unknown_32, unknown_32, unknown_32}; // intercept, slope, R-squared in percent
    nb::object failure = nb::none();
    bool stands() const { return failure.is_none(); }
};

// What the library leaves over from an earlier spot test, or an earlier call, is taken away: the 15
// statistics of a single value, and the histogram of constant values past its one class.
void clean(t_statsout& record) {
    record.i_flag_target = record.i_target_met = 0;
    record.x_target = record.x_target_pct = record.x_achieved_pct = 0;
    std::fill_n(record.x_pctlevel, 2, 0.0F);
    std::fill_n(record.x_pctvalue, 2, unknown_32);
    if (record.i_numdata == 0) {
        std::fill_n(record.x_stat, 14, unknown_32);
        record.x_stat[9] = 0;
        std::fill(std::begin(record.x_cumfreq), std::end(record.x_cumfreq), 0.0F);
        return;
    }
    const auto classes = std::clamp(record.i_numbins, 0, 200);
    for (float* const shares : {record.x_bin, record.x_freq, record.x_cumfreq})
        std::fill(shares + classes, shares + 200, 0.0F);
    if (record.i_numdata > 1) return;
    const float value = record.x_bin[0]; // the middle of a class that holds one value
    std::fill_n(record.x_stat, 14, unknown_32);
    record.x_stat[0] = record.x_stat[5] = record.x_stat[6] = value;
    record.x_stat[7] = 0;
    record.x_stat[9] = 1;
}

// The line through the means of the tests that are in it. The library is given each mean as two equal
// records at a place of its own, whose mean is that very number.
void fit_again(std::span<const t_icdata> tests, std::span<const t_statsout> stats,
               std::span<const std::uint8_t> in_line, std::span<double> predicted,
               spot_line& line) {
    std::vector<t_icdata> places, means;
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < tests.size(); ++i) {
        if (in_line[i] == 0) continue;
        const double x = static_cast<double>(positions.size());
        positions.push_back(i);
        places.push_back({x, 0.0, tests[i].d_val, -1, 0});
        means.insert(means.end(), 2, {x, 0.0, static_cast<double>(stats[i].x_stat[0]), 1, 0});
    }
    std::vector<t_statsout> unused(places.size());
    std::vector<std::int32_t> valid(places.size());
    std::vector<double> values(places.size());
    std::int32_t valid_tests = 0;
    t_event event{};
    const std::int32_t returned = run(means.size(), [&] {
        return IC_PointsData_stats(count_of(means), count_of(places), 0.25, means.data(),
                                   places.data(), unused.data(), line.terms, &valid_tests,
                                   valid.data(), values.data(), &event);
    });
    line.failure = failure_of(returned, event);
    for (std::size_t k = 0; k < positions.size(); ++k) predicted[positions[k]] = values[k];
}

// Tests lie somewhere, and have a finite value or none.
void check_tests(std::span<const t_icdata> tests) {
    for (std::size_t i = 0; i < tests.size(); ++i) {
        const bool is_placed = std::isfinite(tests[i].d_x) && std::isfinite(tests[i].d_y);
        if (is_placed && !std::isinf(tests[i].d_val)) continue;
        throw nb::value_error(("spot test " + std::to_string(i) + " (the first is 0): the " +
                               (is_placed ? "value is infinite" : "position is not finite"))
                                  .c_str());
    }
}

nb::tuple spot_tests(nb::handle data, nb::handle tests_array, double radius, std::int32_t min_ic) {
    const held_array held_tests(tests_array);
    wanted_points wanted;
    wanted.positions = true;
    // The middle of a class of one value is the sum of two of them, halved.
    wanted.largest_value = static_cast<double>(std::numeric_limits<float>::max()) / 2;
    const usable_points usable(data, wanted);
    const std::span<const t_icdata> tests = held_tests.as<const t_icdata>();
    check_tests(tests);
    const new_bytes<t_statsout> stats_bytes(tests.size());
    const new_bytes<std::uint8_t> line_bytes(tests.size());
    const new_bytes<double> predicted_bytes(tests.size());
    const std::span<t_statsout> stats = stats_bytes.records();
    const std::span<std::uint8_t> in_line = line_bytes.records();
    const std::span<double> predicted = predicted_bytes.records();

    spot_line line;
    std::vector<std::int32_t> valid(tests.size());
    std::int32_t valid_tests = 0;
    t_event event{};
    const std::int32_t returned = run(usable.points().size(), [&] {
        return IC_PointsData_stats(usable.count(), count_of(tests), radius, usable.points().data(),
                                   tests.data(), stats.data(), line.terms, &valid_tests,
                                   valid.data(), predicted.data(), &event);
    });
    line.failure = failure_of(returned, event);
    const auto answer = [&](float intercept, float slope, float r_squared, bool by_pass) {
        return nb::make_tuple(line.failure, usable.count(), usable.missing(), intercept, slope,
                              r_squared, by_pass, stats_bytes.object(), line_bytes.object(),
                              predicted_bytes.object());
    };
    constexpr std::string_view out_of_memory = "memory could not be allocated";
    if (!line.stands() &&
        std::string_view(event.c_description, out_of_memory.size()) == out_of_memory)
        return answer(unknown_32, unknown_32, unknown_32, false);

    std::int32_t thin = 0, single = 0;
    const bool by_pass = std::any_of(tests.begin(), tests.end(),
                                     [](const t_icdata& test) { return test.i_passno >= 0; });
    for (std::size_t i = 0; i < tests.size(); ++i) {
        clean(stats[i]);
        const bool is_in = stats[i].i_numdata >= min_ic && !std::isnan(tests[i].d_val);
        in_line[i] = is_in ? 1 : 0;
        thin += stats[i].i_numdata > 0 && !is_in ? 1 : 0;
        single += is_in && stats[i].i_numdata == 1 ? 1 : 0;
    }
    if (tests.size() >= 3 && valid_tests >= 3 && thin + single > 0)
        fit_again(tests, stats, in_line, predicted, line);
    for (std::size_t i = 0; i < tests.size(); ++i)
        if (in_line[i] == 0 || !line.stands()) predicted[i] = unknown;
    if (!line.stands()) std::fill(std::begin(line.terms), std::end(line.terms), unknown_32);
    return answer(line.terms[0], line.terms[1], line.terms[2], by_pass);
}

// ---- Coverage ------------------------------------------------------------------------------------

// Outlines as the library reads them, 160 kB each: kept from call to call, since only the vertices in
// use are written. Used under the call lock alone.
class outline_records {
public:
    t_areaflt* of(std::size_t count) {
        if (count > room_) {
            records_.reset(new t_areaflt[count]); // its pages are touched where vertices are
            room_ = count;
        }
        return records_.get();
    }
    void forget_many() {
        constexpr std::size_t kept = 16;
        if (room_ <= kept) return;
        records_.reset();
        room_ = 0;
    }

private:
    std::unique_ptr<t_areaflt[]> records_;
    std::size_t room_ = 0;
};

struct outline {
    std::unique_ptr<held_array> held;
    std::span<const double> vertices; // easting, northing, easting, ...
    bool is_excluded = false;
};

void write_outline(const outline& from, t_areaflt& to) {
    constexpr std::size_t room = std::size(decltype(to.d_vert_x){});
    const std::size_t count = from.vertices.size() / 2;
    to.i_flag_exclusion = from.is_excluded ? QMX_IC_YES : QMX_IC_NO;
    to.i_numvertices = static_cast<std::int32_t>(count); // too many are the library's to refuse
    for (std::size_t k = 0; k < std::min(count, room); ++k) {
        to.d_vert_x[k] = from.vertices[2 * k];
        to.d_vert_y[k] = from.vertices[2 * k + 1];
    }
}

std::vector<outline> outlines_of(const nb::tuple& areas) {
    std::vector<outline> outlines;
    for (const nb::handle area : areas) {
        outline one;
        one.held = std::make_unique<held_array>(area[0]);
        one.vertices = vertices_of(*one.held);
        one.is_excluded = nb::cast<bool>(area[1]);
        outlines.push_back(std::move(one));
    }
    return outlines;
}

// The plan area, the shares and areas of the bins, and the share of target_bin where that is a bin.
nb::tuple coverage(nb::handle data, const nb::tuple& bins, const nb::tuple& areas, double mesh_x,
                   double mesh_y, nb::handle target_bin) {
    static outline_records records;
    wanted_points wanted;
    wanted.whole_values = true;
    const usable_points usable(data, wanted);
    const auto bin_of = [](nb::handle pair) {
        return t_passbin{nb::cast<std::int32_t>(pair[0]), nb::cast<std::int32_t>(pair[1])};
    };
    std::vector<t_passbin> asked;
    for (const nb::handle pair : bins) asked.push_back(bin_of(pair));
    const std::vector<outline> outlines = outlines_of(areas);
    const float mesh[2] = {static_cast<float>(mesh_x), static_cast<float>(mesh_y)};
    std::vector<t_binresult> results(asked.size());
    const bool has_target = !target_bin.is_none();
    const t_passbin from_target_on = has_target ? bin_of(target_bin) : t_passbin{};
    t_binresult of_target{unknown_32, unknown_32, unknown_32};
    t_event event{};
    const std::int32_t returned = run(usable.points().size(), [&] {
        t_areaflt* const written = records.of(outlines.size());
        for (std::size_t k = 0; k < outlines.size(); ++k) write_outline(outlines[k], written[k]);
        const auto call = [&](std::int32_t count, const t_passbin* of, t_binresult* to) {
            return IC_coverage(mesh, usable.count(), count, count_of(outlines), of,
                               usable.points().data(), written, to, &event);
        };
        std::int32_t status = call(count_of(asked), asked.data(), results.data());
        if (status == QMX_IC_SUCCESS && has_target) status = call(1, &from_target_on, &of_target);
        records.forget_many();
        return status;
    });
    nb::list shares, sizes;
    for (const t_binresult& one : results) {
        shares.append(one.x_coverage);
        sizes.append(one.x_compacted_area);
    }
    return nb::make_tuple(failure_of(returned, event), usable.count(), usable.missing(),
                          results.empty() ? unknown_32 : results[0].x_plan_area, nb::tuple(shares),
                          nb::tuple(sizes), of_target.x_coverage);
}

} // namespace

void bind_place_calls(nb::module_& module) {
    module.def("points_in_circle", &points_in_circle);
    module.def("points_in_polygon", &points_in_polygon);
    module.def("spot_tests", &spot_tests);
    module.def("coverage", &coverage, nb::arg("data"), nb::arg("bins"), nb::arg("areas"),
               nb::arg("mesh_x"), nb::arg("mesh_y"), nb::arg("target_bin").none());
}

} // namespace qmx_python

// Generated calls of all eight exports, and a hash of all that each returned. The lots come from whole
// numbers and divisions by powers of 2 alone, so that they are the same everywhere.
#pragma once

#include "qmx_ic.h"
#include "support/made_lots.hpp"
#include "support/odd_numbers.hpp"

#include <cfenv>

namespace support {

class hash_of_outputs {
public:
    void add(std::int32_t value) { hash_.add(static_cast<std::uint32_t>(value), 4); }
    void add(float value) { hash_.add(fnv_hash::bits(value), 4); }
    void add(double value) { hash_.add(fnv_hash::bits(value), 8); }
    void add(const t_event& event) {
        for (const char each : event.c_description) hash_.add(static_cast<unsigned char>(each), 1);
        for (const char each : event.c_subfunc) hash_.add(static_cast<unsigned char>(each), 1);
        add(event.i_errcode, event.i_errclass);
    }
    void add(const t_statsout& out) {
        add(out.i_target_met, out.i_numdata, out.x_stat, out.i_numbins, out.x_bin, out.x_freq,
            out.x_cumfreq, out.x_achieved_pct, out.x_pctvalue);
    }
    void add(const t_binresult& out) { add(out.x_coverage, out.x_compacted_area, out.x_plan_area); }
    void add(const std::ranges::range auto& values) {
        for (const auto& value : values) add(value);
    }
    template <class... Values>
    requires(sizeof...(Values) > 1) void add(const Values&... values) { (add(values), ...); }
    std::uint64_t value() const { return hash_.value(); }

private:
    fnv_hash hash_;
};

// Whole numbers, and what is made of them exactly.
class lot_maker : public number_maker {
public:
    using number_maker::number_maker;
    // A multiple of a 256th.
    double parts(std::int32_t least, std::int32_t greatest) {
        return whole(256 * least, 256 * greatest) / 256.0;
    }
    float parts32(std::int32_t least, std::int32_t greatest) {
        return static_cast<float>(whole(256 * least, 256 * greatest)) / 256.0F;
    }
    // Values about a level that rises across the lot, in bell-shaped noise; in some lots with values
    // missing and points in one place. (No call here takes two arguments that are both made: compilers
    // differ in which they make first.)
    std::vector<t_icdata> points(std::int32_t count, std::int32_t side) {
        const bool are_odd = one_in(4);
        std::vector<t_icdata> made(static_cast<std::size_t>(count));
        for (t_icdata& point : made) {
            point.d_x = parts(0, side);
            point.d_y = parts(0, side);
            point.d_val = 40 + point.d_x / 8 + parts(-6, 6) + parts(-6, 6) + parts(-6, 6);
            point.i_passno = whole(1, 4);
            point.i_reserved = 0;
            if (are_odd && one_in(20)) point.d_val = std::numeric_limits<double>::quiet_NaN();
            if (are_odd && one_in(10)) point.d_x = made.front().d_x, point.d_y = made.front().d_y;
        }
        return made;
    }
};

inline t_statsout ready_statistics(lot_maker& make) {
    t_statsout out;
    std::memset(&out, 0, sizeof out);
    out.i_flag_target = make.whole(1, 2);
    out.x_target = make.parts32(30, 60);
    out.x_target_pct = make.parts32(1, 99);
    out.x_pctlevel[0] = make.parts32(1, 50);
    out.x_pctlevel[1] = make.parts32(50, 99);
    return out;
}

inline std::int32_t statistics_of(const std::vector<t_icdata>& lot, int flag_pass, int flag_below,
                                  t_statsout& out, t_event& event) {
    return ICdata_stats(flag_pass, flag_below, count_of(lot), lot.data(), &out, &event);
}

// ---- One call of each export --------------------------------------------------------------------

inline void call_statistics(lot_maker& make, hash_of_outputs& hash) {
    auto lot = make.points(make.whole(2, 400), 64);
    const bool are_passes = make.one_in(3);
    if (are_passes)
        for (t_icdata& point : lot) point.d_val = make.whole(1, 12);
    t_statsout out = ready_statistics(make);
    t_event event = blank_event();
    hash.add(statistics_of(lot, are_passes ? 1 : 2, make.whole(1, 2), out, event), out, event);
}

inline void call_compaction_curve(lot_maker& make, hash_of_outputs& hash) {
    const std::int32_t passes = make.whole(1, 9);
    std::vector<t_icdata> lot = make.points(passes * make.whole(90, 160), 64);
    for (t_icdata& point : lot) {
        point.i_passno = make.whole(1, passes);
        point.d_val += 12 - 12.0 / (1 << (point.i_passno - 1));
    }
    std::vector<double> means(static_cast<std::size_t>(passes) + 2, 7.0), x(100, 7.0), y(100, 7.0);
    t_fitout fit;
    std::memset(&fit, 0, sizeof fit);
    t_event event = blank_event();
    std::int32_t used = -1;
    hash.add(IC_compact_curve_b(passes + 2, 100, count_of(lot), lot.data(), &used, means.data(),
                                x.data(), y.data(), &fit, &event));
    hash.add(used, means, x, y, fit.i_degree, fit.x_coef, fit.x_rsq, event);
}

inline void call_polynomial(lot_maker& make, hash_of_outputs& hash) {
    std::vector<float> x(static_cast<std::size_t>(make.whole(20, 60))), y(x.size());
    // Abscissas far from 0 against their range: the sums of powers cancel, and every bit of them shows.
    const std::int32_t least = make.whole(0, 100);
    std::fenv_t host; // whose arithmetic may round otherwise: the ordinates are rounded
    std::feholdexcept(&host);
    std::fesetround(FE_TONEAREST);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = make.parts32(least, 110);
        y[i] = make.parts32(0, 40) + x[i] * (110 - x[i]) / 64;
    }
    std::fesetenv(&host);
    std::vector<float> curve_x(100, 7.0F), curve_y(100, 7.0F);
    hash.add(call_polycurvefit(count_of(x), make.whole(0, 9), x.data(), y.data(), curve_x.data(),
                               curve_y.data()));
    hash.add(curve_x, curve_y);
}

inline void call_semivariogram(lot_maker& make, hash_of_outputs& hash) {
    const std::int32_t side = make.whole(16, 256);
    const auto lot = make.points(make.whole(10, 500), side);
    t_gamvset_user set;
    set.i_nlag = make.one_in(8) ? 98 : make.whole(3, 24);
    set.x_xlag = make.parts32(1, 6);
    set.x_azm = make.parts32(0, 180);
    set.x_atol = make.one_in(2) ? 90.0F : make.parts32(5, 60);
    set.x_bandwh = make.one_in(2) ? 1000.0F : make.parts32(5, 60);
    set.i_standsills = make.whole(1, 2);
    const auto classes = static_cast<std::size_t>(set.i_nlag) + 2;
    std::vector<double> distance(classes, 7.0), gamma(classes, 7.0), model(2, 7.0), x(100, 7.0),
        y(100, 7.0);
    std::vector<float> summary(4, 7.0F);
    t_event event = blank_event();
    hash.add(IC_semivariogram(count_of(lot), lot.data(), &set, distance.data(), gamma.data(),
                              model.data(), x.data(), y.data(), summary.data(), &event));
    hash.add(distance, gamma, model, x, y, summary, event);
}

// Positions in two columns.
struct columns {
    std::vector<double> x, y;
    columns(lot_maker& make, std::int32_t count, std::int32_t side) {
        for (std::int32_t i = 0; i < count; ++i) {
            x.push_back(make.parts(-side, side));
            y.push_back(make.parts(-side, side));
        }
    }
};

inline void call_circle(lot_maker& make, hash_of_outputs& hash) {
    const std::int32_t count = make.whole(1, 2000), side = make.whole(2, 100);
    const columns points(make, count, side);
    const double center[2] = {make.parts(-side, side), make.parts(-side, side)};
    std::vector<std::int32_t> indices(points.x.size(), 7);
    t_event event = blank_event();
    std::int32_t found = -1;
    hash.add(find_points_in_circle(count, make.parts(-side, side), center, points.x.data(),
                                   points.y.data(), &found, indices.data(), &event));
    hash.add(found, indices);
}

inline void call_polygon(lot_maker& make, hash_of_outputs& hash) {
    const std::int32_t count = make.whole(1, 2000), side = make.whole(2, 100);
    const columns points(make, count, side),
        outline(make, make.whole(3, make.one_in(4) ? 300 : 12), side);
    std::vector<std::int32_t> indices(points.x.size(), 7);
    t_event event = blank_event();
    std::int32_t found = -1;
    hash.add(find_points_in_polygon(count_of(outline.x), count, outline.x.data(), outline.y.data(),
                                    points.x.data(), points.y.data(), &found, indices.data(),
                                    &event));
    hash.add(found, indices);
}

inline void call_spot_tests(lot_maker& make, hash_of_outputs& hash) {
    const auto lot = make.points(make.whole(200, 1500), 64);
    auto tests = make.points(make.whole(2, 20), 64);
    for (t_icdata& test : tests) test.i_passno = make.one_in(3) ? make.whole(1, 4) : -1;
    // A test with a single value is handed the statistics of the call before: always this one.
    t_statsout before = ready_statistics(make);
    t_event event = blank_event();
    statistics_of(lot, 2, 1, before, event);
    std::vector<t_statsout> out;
    for (std::size_t i = 0; i < tests.size(); ++i) out.push_back(ready_statistics(make));
    std::vector<float> line(3, 7.0F);
    std::vector<std::int32_t> valid(tests.size(), 7);
    std::vector<double> predicted(tests.size(), 7.0);
    std::int32_t used = -1;
    hash.add(IC_PointsData_stats(count_of(lot), count_of(tests), make.parts(1, 6), lot.data(),
                                 tests.data(), out.data(), line.data(), &used, valid.data(),
                                 predicted.data(), &event));
    hash.add(out, line, used, valid, predicted, event);
}

inline void call_coverage(lot_maker& make, hash_of_outputs& hash) {
    auto lot = make.points(make.whole(1, 3000), 64);
    for (t_icdata& point : lot)
        if (point.d_val == point.d_val) point.d_val = make.parts(-1, 14);
    std::vector<t_passbin> bins;
    for (std::int32_t i = make.whole(1, 5); i > 0; --i) {
        const std::int32_t lower = make.whole(0, 8);
        bins.push_back({lower, make.one_in(3) ? -1 : lower + make.whole(0, 4)});
    }
    std::vector<t_areaflt> areas(static_cast<std::size_t>(make.whole(0, 3)));
    for (t_areaflt& area : areas) {
        const columns outline(make, make.whole(3, 30), 64);
        area.i_flag_exclusion = make.one_in(4) ? 1 : 2;
        area.i_numvertices = count_of(outline.x);
        std::copy(outline.x.begin(), outline.x.end(), area.d_vert_x);
        std::copy(outline.y.begin(), outline.y.end(), area.d_vert_y);
    }
    const float mesh[2] = {make.parts32(1, 2), make.parts32(1, 2)};
    std::vector<t_binresult> results(bins.size(), {7.0F, 7.0F, 7.0F});
    t_event event = blank_event();
    hash.add(IC_coverage(mesh, count_of(lot), count_of(bins), count_of(areas), bins.data(),
                         lot.data(), areas.data(), results.data(), &event));
    hash.add(results, event);
}

class hashed_export {
public:
    const char* name;
    void (*call)(lot_maker&, hash_of_outputs&);
    int times; // calls that the stored hash is of
    std::uint64_t stored;

    std::uint64_t hash(std::uint64_t seed, int calls) const {
        if (call == call_spot_tests) run(seed, calls); // it keeps the record of the last spot test
        return run(seed, calls);
    }

private:
    std::uint64_t run(std::uint64_t seed, int calls) const {
        lot_maker make(seed);
        hash_of_outputs outputs;
        for (int i = 0; i < calls; ++i) call(make, outputs);
        return outputs.value();
    }
};
inline constexpr hashed_export hashed_exports[] = {
    {"ICdata_stats", call_statistics, 80, 0x3cda05a4788e0640},
    {"IC_compact_curve_b", call_compaction_curve, 60, 0x0df6fce5accb6b98},
    {"call_polycurvefit", call_polynomial, 400, 0x31c7924f86125fb7},
    {"IC_semivariogram", call_semivariogram, 60, 0x7ee7ce7a977dbcf6},
    {"find_points_in_circle", call_circle, 40, 0xcdc8c2e44c3f2206},
    {"find_points_in_polygon", call_polygon, 40, 0xe285a9f407b99a4a},
    {"IC_PointsData_stats", call_spot_tests, 50, 0x3aafd6187e00b4bc},
    {"IC_coverage", call_coverage, 40, 0x6ab22934ac761cb8}};

// Of so many calls of each export.
inline std::vector<std::uint64_t> hashes_of_all_exports(std::uint64_t seed, int calls) {
    std::vector<std::uint64_t> hashes;
    for (const hashed_export& row : hashed_exports) hashes.push_back(row.hash(seed, calls));
    return hashes;
}

} // namespace support

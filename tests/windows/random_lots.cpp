// Random lots through every export: one line a call with a hash of all bytes it returned, or all bytes of
// one call. Two platforms are compared by their lines.
//
//     random_lots COUNT         the first COUNT calls, a line each: number, export, kind of numbers, hash
//     random_lots --call N      each value that call N returned, in hexadecimal
//
// Lots are made of whole numbers, of 256ths, of reals with all their bits, of reals at coordinates of a
// map grid, and of reals of all magnitudes, by operations that are exact or rounded once: they are the
// same everywhere.
#include "support/made_lots.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

namespace {

using std::int32_t;
using std::uint64_t;

enum kind : int32_t { whole_numbers, parts_of_256, reals, map_grid, all_magnitudes, kinds };
constexpr const char* kind_names[] = {"whole", "256ths", "reals", "grid", "magnitudes"};

// Takes what a call returned: adds it to the hash, and prints it where asked to.
class record {
public:
    explicit record(bool shows) : shows_(shows) {}
    void add(const char* name, double value) { put(name, fnv_hash::bits(value), 8); }
    void add(const char* name, float value) { put(name, fnv_hash::bits(value), 4); }
    void add(const char* name, int32_t value) { put(name, static_cast<std::uint32_t>(value), 4); }
    void add(const char* name, char value) { put(name, static_cast<unsigned char>(value), 1); }
    template <class Value, std::size_t Size>
    void add(const char* name, const Value (&values)[Size]) {
        for (const Value& value : values) add(name, value);
    }
    template <class Value> void add(const char* name, const std::vector<Value>& values) {
        for (const Value& value : values) add(name, value);
    }
    void add(const t_event& event) {
        add("c_description", event.c_description);
        add("c_subfunc", event.c_subfunc);
        add("i_errcode", event.i_errcode);
        add("i_errclass", event.i_errclass);
    }
    void add(const t_statsout& out) {
        add("i_target_met", out.i_target_met);
        add("i_numdata", out.i_numdata);
        add("x_stat", out.x_stat);
        add("i_numbins", out.i_numbins);
        add("x_bin", out.x_bin);
        add("x_freq", out.x_freq);
        add("x_cumfreq", out.x_cumfreq);
        add("x_target", out.x_target);
        add("x_achieved_pct", out.x_achieved_pct);
        add("x_pctvalue", out.x_pctvalue);
    }
    uint64_t hash() const { return hash_.value(); }

private:
    void put(const char* name, uint64_t bits, int bytes) {
        if (shows_) std::printf("%d %s %0*" PRIx64 "\n", count_++, name, 2 * bytes, bits);
        hash_.add(bits, bytes);
    }
    bool shows_;
    int count_ = 0;
    fnv_hash hash_;
};

class maker : public number_maker {
public:
    explicit maker(uint64_t seed) : number_maker(seed * 0xd1342543de82ef95 + 1) {}
    double share() { return static_cast<double>(bits() >> 11) * 0x1p-53; } // 0 to 1
    // A number of the lot's kind from least to greatest, but for the kind that keeps to no range.
    double number(kind of, int32_t least, int32_t greatest) {
        if (of == whole_numbers) return whole(least, greatest);
        if (of == parts_of_256) return whole(256 * least, 256 * greatest) / 256.0;
        const double plain = least + (greatest - least) * share();
        return of == all_magnitudes ? std::ldexp(plain, whole(-30, 30)) : plain;
    }
    float number32(kind of, int32_t least, int32_t greatest) {
        return static_cast<float>(number(of == all_magnitudes ? reals : of, least, greatest));
    }
    double easting(kind of, int32_t side) {
        return (of == map_grid ? 512345.678 : 0) + number(of, 0, side);
    }
    double northing(kind of, int32_t side) {
        return (of == map_grid ? 4863210.123 : 0) + number(of, 0, side);
    }
    std::vector<t_icdata> points(kind of, int32_t count, int32_t side) {
        const bool are_odd = one_in(5);
        std::vector<t_icdata> made(static_cast<std::size_t>(count));
        for (t_icdata& point : made) {
            point.d_x = easting(of, side);
            point.d_y = northing(of, side);
            point.d_val = number(of, 30, 50);
            for (int k = 0; k < 3; ++k) point.d_val += number(of, -6, 6);
            point.i_passno = whole(1, 4);
            point.i_reserved = 0;
            if (are_odd && one_in(20)) point.d_val = std::numeric_limits<double>::quiet_NaN();
            if (are_odd && one_in(10)) point.d_x = made.front().d_x, point.d_y = made.front().d_y;
        }
        return made;
    }
};

t_statsout ready_statistics(maker& make, kind of) {
    t_statsout out;
    std::memset(&out, 0, sizeof out);
    out.i_flag_target = make.whole(1, 2);
    out.x_target = make.number32(of, 30, 60);
    out.x_target_pct = make.number32(of, 1, 99);
    out.x_pctlevel[0] = make.number32(of, 1, 50);
    out.x_pctlevel[1] = make.number32(of, 50, 99);
    return out;
}

// ---- One call of each export --------------------------------------------------------------------

void statistics(maker& make, kind of, record& out) {
    auto lot = make.points(of, make.whole(1, 500), 64);
    const int32_t are_passes = make.one_in(3) ? 1 : 2;
    if (are_passes == 1)
        for (t_icdata& point : lot) point.d_val = make.whole(1, 12);
    t_statsout statistics = ready_statistics(make, of);
    t_event event = blank_event();
    const int32_t flag_below = make.whole(1, 2);
    out.add("status",
            ICdata_stats(are_passes, flag_below, count_of(lot), lot.data(), &statistics, &event));
    out.add(statistics);
    out.add(event);
}

void compaction_curve(maker& make, kind of, record& out) {
    const int32_t passes = make.whole(1, 9);
    auto lot = make.points(of, passes * make.whole(90, 160), 64);
    for (t_icdata& point : lot) {
        point.i_passno = make.whole(1, passes);
        point.d_val += 12 - 12.0 / (1 << (point.i_passno - 1));
    }
    std::vector<double> means(static_cast<std::size_t>(passes) + 2, 7.0), x(100, 7.0), y(100, 7.0);
    t_fitout fit;
    std::memset(&fit, 0, sizeof fit);
    t_event event = blank_event();
    int32_t used = -1;
    out.add("status", IC_compact_curve_b(passes + 2, 100, count_of(lot), lot.data(), &used,
                                         means.data(), x.data(), y.data(), &fit, &event));
    out.add("used", used);
    out.add("means", means);
    out.add("x", x);
    out.add("y", y);
    out.add("i_degree", fit.i_degree);
    out.add("x_coef", fit.x_coef);
    out.add("x_rsq", fit.x_rsq);
    out.add(event);
}

void polynomial(maker& make, kind of, record& out) {
    std::vector<float> x(static_cast<std::size_t>(make.whole(1, 60))), y(x.size());
    const int32_t least = make.whole(0, 100);
    const double level = of == map_grid ? 486321.25 : 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = static_cast<float>(make.number(of, least, 110));
        y[i] = static_cast<float>(level + make.number(of, 0, 40) + x[i] * (110 - x[i]) / 64);
    }
    std::vector<float> curve_x(100, 7.0F), curve_y(100, 7.0F);
    const int32_t degree = make.whole(0, 9);
    out.add("status", call_polycurvefit(count_of(x), degree, x.data(), y.data(), curve_x.data(),
                                        curve_y.data()));
    out.add("curve_x", curve_x);
    out.add("curve_y", curve_y);
}

void semivariogram(maker& make, kind of, record& out) {
    const int32_t side = make.whole(16, 256);
    const auto lot = make.points(of, make.whole(2, 500), side);
    t_gamvset_user set;
    set.i_nlag = make.one_in(8) ? 98 : make.whole(3, 24);
    set.x_xlag = make.number32(of, 1, 6);
    set.x_azm = make.number32(of, 0, 180);
    set.x_atol = make.one_in(2) ? 90.0F : make.number32(of, 5, 60);
    set.x_bandwh = make.one_in(2) ? 1000.0F : make.number32(of, 5, 60);
    set.i_standsills = make.whole(1, 2);
    const auto classes = static_cast<std::size_t>(set.i_nlag) + 2;
    std::vector<double> distance(classes, 7.0), gamma(classes, 7.0), model(2, 7.0), x(100, 7.0),
        y(100, 7.0);
    std::vector<float> summary(4, 7.0F);
    t_event event = blank_event();
    out.add("status",
            IC_semivariogram(count_of(lot), lot.data(), &set, distance.data(), gamma.data(),
                             model.data(), x.data(), y.data(), summary.data(), &event));
    out.add("distance", distance);
    out.add("gamma", gamma);
    out.add("model", model);
    out.add("x", x);
    out.add("y", y);
    out.add("summary", summary);
    out.add(event);
}

struct columns {
    std::vector<double> x, y;
    columns(maker& make, kind of, int32_t count, int32_t side) {
        for (int32_t i = 0; i < count; ++i) {
            x.push_back(make.easting(of, side));
            y.push_back(make.northing(of, side));
        }
    }
};

void circle(maker& make, kind of, record& out) {
    const int32_t count = make.whole(1, 2000), side = make.whole(2, 100);
    const columns points(make, of, count, side), center(make, of, 1, side);
    const double middle[2] = {center.x[0], center.y[0]};
    const double radius = make.number(of, -side, side);
    std::vector<int32_t> indices(points.x.size(), 7);
    t_event event = blank_event();
    int32_t found = -1;
    out.add("status", find_points_in_circle(count, radius, middle, points.x.data(), points.y.data(),
                                            &found, indices.data(), &event));
    out.add("found", found);
    out.add("indices", indices);
    out.add(event);
}

void polygon(maker& make, kind of, record& out) {
    const int32_t count = make.whole(1, 2000), side = make.whole(2, 100);
    const int32_t corners = make.one_in(4) ? make.whole(12, 300) : make.whole(3, 12);
    const columns points(make, of, count, side), outline(make, of, corners, side);
    std::vector<int32_t> indices(points.x.size(), 7);
    t_event event = blank_event();
    int32_t found = -1;
    out.add("status", find_points_in_polygon(corners, count, outline.x.data(), outline.y.data(),
                                             points.x.data(), points.y.data(), &found,
                                             indices.data(), &event));
    out.add("found", found);
    out.add("indices", indices);
    out.add(event);
}

void spot_tests(maker& make, kind of, record& out) {
    const auto lot = make.points(of, make.whole(200, 1500), 64);
    auto tests = make.points(of, make.whole(2, 20), 64);
    for (t_icdata& test : tests) test.i_passno = make.one_in(3) ? make.whole(1, 4) : -1;
    // A test with a single value is handed the statistics of the call before: always this one.
    t_statsout before = ready_statistics(make, of);
    t_event event = blank_event();
    ICdata_stats(2, 1, count_of(lot), lot.data(), &before, &event);
    std::vector<t_statsout> at_tests;
    for (std::size_t i = 0; i < tests.size(); ++i) at_tests.push_back(ready_statistics(make, of));
    std::vector<float> line(3, 7.0F);
    std::vector<int32_t> valid(tests.size(), 7);
    std::vector<double> predicted(tests.size(), 7.0);
    int32_t used = -1;
    const double radius = make.number(of, 1, 6);
    out.add("status", IC_PointsData_stats(count_of(lot), count_of(tests), radius, lot.data(),
                                          tests.data(), at_tests.data(), line.data(), &used,
                                          valid.data(), predicted.data(), &event));
    for (const t_statsout& each : at_tests) out.add(each);
    out.add("line", line);
    out.add("used", used);
    out.add("valid", valid);
    out.add("predicted", predicted);
    out.add(event);
}

void coverage(maker& make, kind of, record& out) {
    auto lot = make.points(of, make.whole(1, 3000), 64);
    for (t_icdata& point : lot)
        if (point.d_val == point.d_val) point.d_val = make.number(of, -1, 14);
    std::vector<t_passbin> bins;
    for (int32_t i = make.whole(1, 5); i > 0; --i) {
        const int32_t lower = make.whole(0, 8);
        bins.push_back({lower, make.one_in(3) ? -1 : lower + make.whole(0, 4)});
    }
    std::vector<t_areaflt> areas(static_cast<std::size_t>(make.whole(0, 3)));
    for (t_areaflt& area : areas) {
        const columns outline(make, of, make.whole(3, 30), 64);
        area.i_flag_exclusion = make.one_in(4) ? 1 : 2;
        area.i_numvertices = count_of(outline.x);
        std::copy(outline.x.begin(), outline.x.end(), area.d_vert_x);
        std::copy(outline.y.begin(), outline.y.end(), area.d_vert_y);
    }
    const float along = make.number32(of, 1, 2);
    const float mesh[2] = {along, make.number32(of, 1, 2)};
    std::vector<t_binresult> results(bins.size(), {7, 7, 7});
    t_event event = blank_event();
    out.add("status", IC_coverage(mesh, count_of(lot), count_of(bins), count_of(areas), bins.data(),
                                  lot.data(), areas.data(), results.data(), &event));
    for (const t_binresult& each : results) {
        out.add("x_coverage", each.x_coverage);
        out.add("x_compacted_area", each.x_compacted_area);
        out.add("x_plan_area", each.x_plan_area);
    }
    out.add(event);
}

struct exported {
    const char* name;
    void (*call)(maker&, kind, record&);
};
constexpr exported exports[] = {
    {"ICdata_stats", statistics},        {"IC_compact_curve_b", compaction_curve},
    {"call_polycurvefit", polynomial},   {"IC_semivariogram", semivariogram},
    {"find_points_in_circle", circle},   {"find_points_in_polygon", polygon},
    {"IC_PointsData_stats", spot_tests}, {"IC_coverage", coverage}};

void run(int number, bool shows) {
    const exported& called = exports[static_cast<std::size_t>(number) % std::size(exports)];
    const auto of =
        static_cast<kind>(static_cast<std::size_t>(number) / std::size(exports) % kinds);
    maker make(static_cast<uint64_t>(number));
    record out(shows);
    called.call(make, of, out);
    if (!shows)
        std::printf("%d %s %s %016" PRIx64 "\n", number, called.name, kind_names[of], out.hash());
}

} // namespace

int main(int argc, char** argv) {
    const bool shows = argc == 3 && std::string_view(argv[1]) == "--call";
    const int number = argc == (shows ? 3 : 2) ? std::atoi(argv[argc - 1]) : -1;
    if (number < 0) {
        std::fputs("usage: random_lots COUNT | --call NUMBER\n", stderr);
        return 2;
    }
    if (shows)
        run(number, true);
    else
        for (int i = 0; i < number; ++i) run(i, false);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

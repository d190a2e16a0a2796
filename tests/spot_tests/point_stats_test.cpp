// Spot tests: the matching against the plain double loop, and the driver's rules.
#include "measure_statistics/statistics.hpp"
#include "spot_tests/circle_matching.hpp"
#include "spot_tests/point_stats.hpp"
#include "support/expect_event.hpp"

using namespace qmx;
using support::view;

namespace {

using positions = std::vector<i32>;

// ---- Matching ----------------------------------------------------------------------------------

std::vector<positions> matches_of_plain_loop(const std::vector<t_icdata>& points,
                                             const std::vector<t_icdata>& tests, f64 radius) {
    std::vector<positions> found;
    for (const t_icdata& test : tests) {
        positions& own = found.emplace_back();
        for (std::size_t i = 0; i < points.size(); ++i) {
            const f64 dx = points[i].d_x - test.d_x;
            const f64 dy = points[i].d_y - test.d_y;
            const bool inside = dx * dx + dy * dy <= radius * radius;
            if (inside && (test.i_passno < 0 || test.i_passno == points[i].i_passno))
                own.push_back(static_cast<i32>(i));
        }
    }
    return found;
}

std::vector<positions> matches_of_grid(const std::vector<t_icdata>& points,
                                       const std::vector<t_icdata>& tests, f64 radius) {
    const circle_matching matching{view(points), view(tests), radius};
    std::vector<i32> counts(tests.size(), -1);
    match_table table;
    EXPECT_TRUE(count_matches(matching, view(counts), table));
    std::vector<positions> found;
    for (i64 test = 0; test < std::ssize(tests); ++test) {
        if (test >= table.last) {
            EXPECT_TRUE(gather_next_matches(matching, view(counts), table));
        }
        EXPECT_TRUE(table.first <= test && test < table.last);
        const array_view<const i32> own = table.of(test);
        EXPECT_EQ(own.extent, counts[static_cast<std::size_t>(test)]);
        found.emplace_back(own.base, own.base + own.extent);
    }
    return found;
}

// Places that make a grid stumble, mixed with rims: points at the radius from a test, and one step of
// the last place to either side.
struct hostile_set {
    std::vector<t_icdata> points, tests;
    f64 radius;
};

class hostile_sets {
public:
    explicit hostile_sets(unsigned seed) : random_(seed) {}

    hostile_set next() {
        static constexpr f64 radii[] = {
            0,       0.0,    1,      5,      -5,    0.1,   1e-9,
            1e-160,  1e-170, 5e-324, 1e3,    1e9,   1e150, 1.3407807929942596e154,
            1.4e154, 1e300,  inf64,  -inf64, nan64, 2.5};
        static constexpr f64 origins[] = {0, 0, 5e5, 5.8e6, -3e7, 1e12, 1e16, 1e300, 1e-300};
        hostile_set set;
        set.radius = pick(radii);
        const f64 length =
            std::isfinite(set.radius) && set.radius != 0 && chance(3) ? std::abs(set.radius) : 1.0;
        const f64 x0 = pick(origins), y0 = pick(origins);
        const bool lattice = chance(2), odd_places = chance(3);
        const i64 tests = below(12), points = below(60);
        for (i64 k = 0; k < tests; ++k)
            set.tests.push_back(place(x0, y0, length, lattice, odd_places));
        for (i64 k = 0; k < points; ++k) {
            t_icdata point = place(x0, y0, length, lattice, odd_places);
            if (tests > 0 && chance(2)) {
                const t_icdata& test = set.tests[static_cast<std::size_t>(below(tests))];
                const f64 angle =
                    chance(2) ? 0.5 * std::acos(-1.0) * static_cast<f64>(below(4)) : 6.3 * unit();
                point.d_x = nudged(test.d_x + set.radius * std::cos(angle));
                point.d_y = nudged(test.d_y + set.radius * std::sin(angle));
            }
            set.points.push_back(point);
        }
        return set;
    }

private:
    t_icdata place(f64 x0, f64 y0, f64 length, bool lattice, bool odd_places) {
        static constexpr f64 odd[] = {nan64,  inf64,   -inf64, 1e300, -1e300, 1.7e308,
                                      5e-324, -1e-200, 0.0,    -0.0,  1e155,  4e18};
        const f64 step = length * 8;
        const auto offset = [&] {
            return lattice ? length * static_cast<f64>(below(9) - 4) : step * (unit() - 0.5);
        };
        t_icdata record{x0 + offset(), y0 + offset(), 0.0, static_cast<i32>(below(4)) - 1, 0};
        if (odd_places && chance(4)) record.d_x = pick(odd);
        if (odd_places && chance(4)) record.d_y = pick(odd);
        return record;
    }
    f64 nudged(f64 value) {
        const i64 direction = below(3);
        return direction == 0 ? value : std::nextafter(value, direction == 1 ? inf64 : -inf64);
    }
    template <std::size_t N> f64 pick(const f64 (&from)[N]) {
        return from[static_cast<std::size_t>(below(N))];
    }
    i64 below(i64 n) { return static_cast<i64>(random_() % static_cast<std::uint64_t>(n)); }
    bool chance(i64 one_in) { return below(one_in) == 0; }
    f64 unit() { return std::ldexp(static_cast<f64>(random_() >> 11), -53); }

    std::mt19937_64 random_;
};

TEST(Matching, FindsWhatThePlainDoubleLoopFinds) {
    hostile_sets sets(20);
    i64 matches = 0;
    for (int k = 0; k < 20000; ++k) {
        const hostile_set set = sets.next();
        const auto expected = matches_of_plain_loop(set.points, set.tests, set.radius);
        ASSERT_EQ(matches_of_grid(set.points, set.tests, set.radius), expected)
            << "set " << k << " radius " << set.radius;
        for (const positions& own : expected) matches += std::ssize(own);
    }
    EXPECT_GT(matches, 100000) << "the sets must not be empty of matches";
}

TEST(Matching, OfManyTestsFoldsFarPlacesTogether) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<f64> along(0, 4000), across(0, 12);
    // The way of a long strip: north, east and aslant.
    const struct { f64 along_x, along_y; } ways[] = {{0, 1}, {1, 0}, {0.6, -0.8}};
    for (const auto& way : ways)
        for (const f64 radius : {0.4, 3.0, 900.0}) {
            const auto place = [&](i32 pass) {
                const f64 a = along(random), b = across(random);
                return t_icdata{5e5 + a * way.along_x + b * way.along_y,
                                5.8e6 + a * way.along_y - b * way.along_x, 0, pass, 0};
            };
            std::vector<t_icdata> points, tests;
            for (int i = 0; i < 12000; ++i) points.push_back(place(i % 3));
            const int many = radius < 1 ? 1500 : 60; // more than the least ring holds
            for (int i = 0; i < many; ++i) tests.push_back(place(i % 4 - 1));
            tests[7].d_x = tests[7].d_y = 0; // mistyped
            tests[8].d_x = 1e300;
            EXPECT_EQ(matches_of_grid(points, tests, radius),
                      matches_of_plain_loop(points, tests, radius))
                << radius << " along " << way.along_x << ' ' << way.along_y;
        }
}

TEST(Matching, OfEverythingWithEverythingKeepsNoMoreThanThePoints) {
    // 300 tests by 1000 points: more matches than are kept at a time.
    std::vector<t_icdata> points, tests;
    for (int i = 0; i < 1000; ++i) points.push_back({0.01 * i, -0.02 * i, 0, 1, 0});
    for (int i = 0; i < 300; ++i) tests.push_back({1.0 * (i % 5), 0, 0, -1, 0});
    EXPECT_EQ(matches_of_grid(points, tests, 1e6), matches_of_plain_loop(points, tests, 1e6));
    EXPECT_EQ(matches_of_grid(points, tests, 6.0), matches_of_plain_loop(points, tests, 6.0));

    std::vector<i32> counts(tests.size());
    match_table table;
    const circle_matching matching{view(points), view(tests), 1e6};
    ASSERT_TRUE(count_matches(matching, view(counts), table));
    EXPECT_EQ(table.last, 0);
    ASSERT_TRUE(gather_next_matches(matching, view(counts), table));
    EXPECT_EQ(table.last, 65);
    EXPECT_EQ(table.positions.size(), 65000);
}

// ---- Driver ------------------------------------------------------------------------------------

struct driver_call {
    std::vector<t_icdata> points, tests;
    f64 radius = 1.0;
    std::vector<t_statsout> stats;
    f32 regress[3] = {9, 9, 9};
    i32 valid = -1;
    std::vector<i32> list;
    std::vector<f64> predict;

    i32 run() {
        clear_event();
        return run_after_event();
    }
    i32 run_after_event() {
        t_statsout filled;
        std::memset(&filled, 0, sizeof filled);
        filled.i_flag_target = filled.i_target_met = 2;
        filled.i_numdata = filled.i_numbins = 77;
        std::fill_n(filled.x_stat, 15, 7.0F);
        std::fill_n(filled.x_bin, 200, 7.0F);
        std::fill_n(filled.x_freq, 200, 7.0F);
        std::fill_n(filled.x_cumfreq, 200, 7.0F);
        filled.x_pctlevel[0] = 7;
        stats.assign(tests.size(), filled);
        list.assign(tests.size(), -1);
        predict.assign(tests.size(), 9.0);
        return qmx_point_stats_drv(static_cast<i32>(points.size()), static_cast<i32>(tests.size()),
                                   view(points), view(tests), radius, view(stats), regress, &valid,
                                   view(list), view(predict));
    }
};

// A cluster of four points of passes 1 and 2 at x = 10 k, y = 0, with values about k * k.
driver_call clusters(int count) {
    driver_call call;
    for (int k = 0; k < count; ++k) {
        const f64 x = 10.0 * k, level = 1.0 * k * k;
        call.points.push_back({x + 1, 0, level + 0.25, 1, 0}); // on the rim
        call.points.push_back({x, -1, level - 0.5, 2, 0});
        call.points.push_back({x + 0.5, 0.5, level + 1, 1, 0});
        call.points.push_back({x - 1, 0.001, level + 100, 1, 0}); // outside
        call.tests.push_back({x, 0, 2.0 + k, -1, 0});
    }
    return call;
}

TEST(Driver, RelatesMeansToSpotValues) {
    driver_call call = clusters(6);
    call.tests.insert(call.tests.begin() + 1, {-500, 3, 8, -1, 0});
    call.tests.insert(call.tests.begin() + 3, {10, 0, 4.5, 2, 0}); // of pass 2 only
    call.tests.push_back({10, 0, 4.5, 0, 0});                      // no point is of pass 0
    ASSERT_EQ(call.run(), 1);
    EXPECT_EQ(call.valid, 7);
    EXPECT_EQ(call.list, (std::vector<i32>{1, 3, 4, 5, 6, 7, 8, -1, -1}));
    for (const std::size_t without : {1U, 8U}) {
        EXPECT_EQ(call.stats[without].i_numdata, 0);
        EXPECT_EQ(call.stats[without].i_flag_target, 2) << "as the caller had it";
        EXPECT_EQ(call.stats[without].x_stat[0] + call.stats[without].x_bin[0], 0);
        EXPECT_EQ(call.stats[without].x_cumfreq[0], 7);
        EXPECT_EQ(call.predict[without], 0);
    }
    EXPECT_EQ(call.stats[3].i_numdata, 1);
    EXPECT_EQ(call.stats[4].i_numdata, 3);
    EXPECT_EQ(call.stats[4].i_flag_target + call.stats[4].i_target_met, 0) << "the record's own";
    EXPECT_EQ(call.stats[4].x_pctlevel[0], 0);
    EXPECT_EQ(call.stats[0].x_stat[0], 0.25F);

    long double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (const i32 one_based : std::vector<i32>{1, 3, 4, 5, 6, 7, 8}) {
        const auto k = static_cast<std::size_t>(one_based - 1);
        const long double x = call.tests[k].d_val, y = call.stats[k].x_stat[0];
        n += 1, sx += x, sy += y, sxx += x * x, sxy += x * y, syy += y * y;
    }
    const long double slope = (n * sxy - sx * sy) / (n * sxx - sx * sx);
    const long double intercept = (sy - slope * sx) / n;
    const long double explained = slope * (n * sxy - sx * sy) / (n * syy - sy * sy);
    EXPECT_FLOAT_EQ(call.regress[0], static_cast<f32>(intercept));
    EXPECT_FLOAT_EQ(call.regress[1], static_cast<f32>(slope));
    EXPECT_FLOAT_EQ(call.regress[2], static_cast<f32>(100 * explained));
    for (const i32 one_based : {1, 3, 4, 8}) {
        const auto k = static_cast<std::size_t>(one_based - 1);
        const auto line = static_cast<f32>(intercept + slope * call.tests[k].d_val);
        EXPECT_FLOAT_EQ(static_cast<f32>(call.predict[k]), line);
        EXPECT_EQ(call.predict[k], static_cast<f64>(static_cast<f32>(call.predict[k])));
    }
}

TEST(Driver, GathersValuesInTheOrderOfThePoints) {
    // The records must be those of direct calls with the values in order, one after the other.
    driver_call call = clusters(9);
    std::mt19937_64 random(4);
    for (int i = 0; i < 3000; ++i)
        call.points.push_back({static_cast<f64>(random() % 900) / 10.0,
                               static_cast<f64>(random() % 30) / 10.0 - 1.5,
                               static_cast<f64>(random() % 1000) / 8, static_cast<i32>(i % 3), 0});
    for (std::size_t k = 0; k < 9; ++k) call.tests[k].i_passno = static_cast<i32>(k % 4) - 1;
    call.radius = -2.5;
    ASSERT_EQ(call.run(), 1);
    const auto matches = matches_of_plain_loop(call.points, call.tests, call.radius);
    t_statsout record;
    std::memset(&record, 0, sizeof record);
    for (std::size_t k = 0; k < 9; ++k) {
        std::vector<f64> values;
        for (const i32 position : matches[k])
            values.push_back(call.points[static_cast<std::size_t>(position)].d_val);
        ASSERT_GT(values.size(), 20U);
        qmx_stats(2, 2, static_cast<i32>(values.size()),
                  view_of<const f64>(values.data(), std::ssize(values)), record);
        EXPECT_EQ(call.stats[k].i_numdata, record.i_numdata);
        EXPECT_EQ(0, std::memcmp(call.stats[k].x_stat, record.x_stat, sizeof record.x_stat));
        EXPECT_EQ(0, std::memcmp(call.stats[k].x_freq, record.x_freq, sizeof record.x_freq));
    }
}

TEST(Driver, ConstantDataCarryTheClassesOfTheSpotBefore) {
    driver_call call = clusters(4);
    for (std::size_t i = 4; i < 8; ++i) call.points[i].d_val = 3;
    ASSERT_EQ(call.run(), 1);
    EXPECT_EQ(call.stats[1].i_numbins, 1);
    EXPECT_EQ(call.stats[1].x_bin[0], 3);
    EXPECT_EQ(0, std::memcmp(call.stats[1].x_bin + 1, call.stats[0].x_bin + 1, 20 * sizeof(f32)));
    EXPECT_NE(call.stats[1].x_bin[20], 0);
}

TEST(Driver, TellsTooFewTestsButKeepsWhatItFound) {
    constexpr std::string_view few = "point tests data is < 3, not sufficient for regression";
    constexpr std::string_view few_valid =
        "valid point tests data is < 3, not sufficient for regression";
    struct {
        const char* name;
        std::size_t tests, with_data;
        std::string_view message;
    } const rows[] = {{"no test", 0, 0, few},
                      {"one", 1, 1, few},
                      {"two", 2, 2, few},
                      {"two without data", 2, 0, few},
                      {"five, two with", 5, 2, few_valid},
                      {"three without", 3, 0, few_valid}};
    for (const auto& row : rows) {
        driver_call call = clusters(5);
        call.tests.resize(row.tests);
        for (std::size_t k = row.with_data; k < row.tests; ++k) call.tests[k].d_y = 1e4;
        EXPECT_EQ(call.run(), 3) << row.name;
        support::expect_event(row.message, "qmx_point_stats_drv");
        EXPECT_EQ(call.valid, static_cast<i32>(row.with_data)) << row.name;
        EXPECT_EQ(call.regress[0] + call.regress[1] + call.regress[2], 0);
        for (std::size_t k = 0; k < row.tests; ++k) {
            EXPECT_EQ(call.stats[k].i_numdata, k < row.with_data ? 3 : 0) << row.name;
            EXPECT_EQ(call.list[k], k < row.with_data ? static_cast<i32>(k) + 1 : -1);
            EXPECT_EQ(call.predict[k], 0);
        }
    }
    driver_call call = clusters(4);
    call.points.clear();
    EXPECT_EQ(call.run(), 3);
    support::expect_event(few_valid, "qmx_point_stats_drv"); // no IC data at all
}

TEST(Driver, PassesFailuresUpWithTheirPath) {
    driver_call call = clusters(4);
    for (t_icdata& test : call.tests) test.d_val = nan64;
    EXPECT_EQ(call.run(), 3);
    support::expect_event("error calling imsl drcurv", "linr_regrs/linr_regrs/qmx_point_stats_drv");
    EXPECT_EQ(call.valid, 4);
    EXPECT_EQ(call.stats[3].i_numdata, 3);
    EXPECT_EQ(call.predict[3], 0);

    // An event that stands already ends the work after the first matching.
    fail_here(routine_text("before"), "an old event");
    call.valid = -1;
    EXPECT_EQ(call.run_after_event(), 3);
    support::expect_event("an old event", "before/qmx_point_stats_drv");
    EXPECT_EQ(call.valid, -1);
    EXPECT_EQ(call.stats[0].i_numdata, 0);
}

TEST(Driver, FitsWhatHasNoLine) {
    driver_call equal_spots = clusters(4);
    for (t_icdata& test : equal_spots.tests) test.d_val = 42.5;
    ASSERT_EQ(equal_spots.run(), 1);
    f64 mean = 0;
    for (const t_statsout& record : equal_spots.stats) mean += static_cast<f64>(record.x_stat[0]);
    EXPECT_FLOAT_EQ(equal_spots.regress[0], static_cast<f32>(mean / 4));
    EXPECT_EQ(equal_spots.regress[1], 0);
    EXPECT_EQ(equal_spots.regress[2], 0);
    EXPECT_EQ(equal_spots.predict[2], static_cast<f64>(equal_spots.regress[0]));

    driver_call equal_means = clusters(4);
    for (t_icdata& point : equal_means.points) point.d_val = 7;
    ASSERT_EQ(equal_means.run(), 1);
    EXPECT_EQ(equal_means.regress[0], 7);
    EXPECT_EQ(equal_means.regress[1], 0);
    EXPECT_TRUE(std::isnan(equal_means.regress[2]));
    EXPECT_EQ(equal_means.predict[1], 7);

    // One spot value missing of three: two points, an exact line, no prediction for the third.
    driver_call two = clusters(3);
    two.tests[1].d_val = nan64;
    ASSERT_EQ(two.run(), 1);
    EXPECT_EQ(two.regress[2], 100);
    EXPECT_FLOAT_EQ(static_cast<f32>(two.predict[2]), two.stats[2].x_stat[0]);
    EXPECT_TRUE(std::isnan(two.predict[1]));
}

} // namespace

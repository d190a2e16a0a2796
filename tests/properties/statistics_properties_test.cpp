// Statistics, compaction curve, coverage and spot tests: what may not depend on the order of records, on
// units, on digits beyond 32 bits, on which export is asked, or on how pass counts are put into bins.
#include "properties/cases.hpp"

using namespace properties;

namespace {

using lot = std::vector<t_icdata>;

lot made_values(maker& make, int which, std::int32_t count) {
    lot made;
    for (std::int32_t i = 0; i < count; ++i) {
        double value = 40 + 30 * make.unit();
        if (which == 1) value = make.whole(3, 9);
        if (which == 2) value = (make.unit() - 0.5) * 1e9;
        if (which == 3) value = 1000 + make.unit();
        if (which == 4 && make.one_in(9)) value = nan64;
        if (which == 5) value = -make.whole(1, 1 << 20) / 64.0;
        made.push_back({make.unit(), make.unit(), value, make.whole(1, 4), 0});
    }
    return made;
}
constexpr int value_kinds = 6;

lot scaled(lot records, double by) {
    for (t_icdata& each : records) each.d_val *= by;
    return records;
}
lot narrowed(lot records) {
    for (t_icdata& each : records) each.d_val = static_cast<double>(static_cast<float>(each.d_val));
    return records;
}

// The units of each output: a power of the value's scale.
void add_statistics(outputs& all, const t_statsout& out, double unit) {
    constexpr int powers[15] = {1, 2, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 2, 2, 0};
    for (std::size_t i = 0; i < 15; ++i)
        all.add("x_stat", static_cast<double>(out.x_stat[i]) / std::pow(unit, powers[i]));
    all.add("i_numbins", out.i_numbins);
    for (std::size_t i = 0; i < 200; ++i)
        all.add("x_bin", static_cast<double>(out.x_bin[i]) / unit);
    all.add("x_freq", out.x_freq);
    all.add("x_cumfreq", out.x_cumfreq);
    all.add("x_pctvalue", static_cast<double>(out.x_pctvalue[0]) / unit);
    all.add("x_pctvalue", static_cast<double>(out.x_pctvalue[1]) / unit);
    all.add("target", out.i_target_met);
    all.add("target", static_cast<double>(out.x_achieved_pct));
}

outputs statistics_of(const lot& records, bool are_passes = false, double unit = 1) {
    t_statsout out = {};
    out.i_flag_target = 1;
    out.x_target = are_passes ? 5.0F : static_cast<float>(50 * unit);
    out.x_target_pct = 60;
    out.x_pctlevel[0] = 10;
    out.x_pctlevel[1] = 75;
    t_event event = blank_event();
    outputs all;
    all.add("status",
            ICdata_stats(are_passes ? 1 : 2, 2, count_of(records), records.data(), &out, &event));
    add_statistics(all, out, unit);
    return all;
}

TEST(StatisticsProperties, OfAMeasure) {
    for (int n = 0; n < cases(3750); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const lot records =
            made_values(make, n % value_kinds, make.whole(3, make.one_in(8) ? 3000 : 200));
        const outputs base = statistics_of(records);
        EXPECT_EQ(statistics_of(in_order(records, make.order(records.size()))).difference(base), "")
            << "another order";
        EXPECT_EQ(statistics_of(narrowed(records)).difference(base), "") << "32 bits";
        const double unit = std::ldexp(1.0, make.whole(0, 12));
        EXPECT_EQ(statistics_of(scaled(records, unit), false, unit).difference(base), "") << unit;
        const auto& of = base.values(); // after the status
        const auto [least, greatest] = std::pair(of[1 + 5], of[1 + 6]);
        for (const t_icdata& each : records) {
            const double value = static_cast<double>(static_cast<float>(each.d_val));
            EXPECT_FALSE(value < least || value > greatest);
        }
        const bool has_number = std::ranges::any_of(
            records, [](const t_icdata& each) { return !std::isnan(each.d_val); });
        EXPECT_EQ(!std::isnan(least), has_number);
        if (!has_number) continue; // a mean of 0, extremes of NaN: nothing to mirror
        const outputs mirrored = statistics_of(scaled(records, -1));
        const auto& mirror = mirrored.values();
        EXPECT_EQ(fnv_hash::bits(mirror[1]), fnv_hash::bits(-of[1])) << "mean";
        for (const std::size_t same : {1U, 2U, 4U, 7U, 9U, 12U, 13U})
            EXPECT_EQ(fnv_hash::bits(mirror[1 + same]), fnv_hash::bits(of[1 + same])) << same;
        EXPECT_EQ(mirror[1 + 5], -greatest);
        EXPECT_EQ(mirror[1 + 6], -least);
        EXPECT_EQ(fnv_hash::bits(mirror[1 + 10]), fnv_hash::bits(-of[1 + 11])) << "lower limit";
        EXPECT_TRUE(mirror[1 + 3] == -of[1 + 3] || of[1 + 3] != of[1 + 3]) << "skewness";
    }
}

// ---- Pass counts, and the bins of a coverage ----------------------------------------------------------

outputs coverage_of(const lot& records, const std::vector<t_passbin>& bins,
                    const std::vector<t_areaflt>& areas, float mesh = 1, double unit = 1) {
    const float meshes[2] = {mesh, mesh};
    std::vector<t_binresult> results(bins.size());
    t_event event = blank_event();
    outputs all;
    all.add("status",
            IC_coverage(meshes, count_of(records), count_of(bins), count_of(areas), bins.data(),
                        records.data(), areas.data(), results.data(), &event));
    for (const t_binresult& each : results) {
        all.add("x_coverage", static_cast<double>(each.x_coverage));
        all.add("x_compacted_area", static_cast<double>(each.x_compacted_area) / (unit * unit));
        all.add("x_plan_area", static_cast<double>(each.x_plan_area) / (unit * unit));
    }
    return all;
}
std::size_t at_area(std::size_t bin) {
    return 1 + 3 * bin + 1;
}

t_areaflt rectangle(maker& make, std::int32_t flag) {
    const double left = make.whole(0, 500), low = make.whole(0, 500);
    const double right = left + make.whole(1, 500), high = low + make.whole(1, 500);
    t_areaflt area = {};
    area.i_flag_exclusion = flag;
    area.i_numvertices = 4;
    for (std::size_t i = 0; i < 4; ++i) {
        area.d_vert_x[i] = i == 1 || i == 2 ? right : left;
        area.d_vert_y[i] = i >= 2 ? high : low;
    }
    return area;
}

TEST(StatisticsProperties, OfPassCountsAndTheirBins) {
    for (int n = 0; n < cases(3000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        lot records = made_values(make, 0, make.whole(3, 1500));
        const std::int32_t most = make.whole(1, 30);
        std::vector<std::int32_t> counts(static_cast<std::size_t>(most) + 1, 0);
        for (t_icdata& each : records) {
            each.d_val = make.whole(1, most);
            ++counts[static_cast<std::size_t>(each.d_val)];
        }
        const outputs base = statistics_of(records, true);
        const lot others = in_order(records, make.order(records.size()));
        EXPECT_EQ(statistics_of(others, true).difference(base), "");

        std::vector<t_passbin> each_count, unions;
        for (std::int32_t k = 0; k <= most; ++k) each_count.push_back({k, k});
        for (std::int32_t k = 0; k <= most;) {
            const std::int32_t upper = k + make.whole(0, 5);
            unions.push_back({k, upper >= most ? -1 : upper});
            k = upper + 1;
        }
        const std::vector<t_areaflt> areas = {rectangle(make, 2), rectangle(make, 2)};
        const outputs apart = coverage_of(records, each_count, areas);
        EXPECT_EQ(coverage_of(others, each_count, areas).difference(apart), "") << "another order";
        const auto number = static_cast<float>(records.size());
        for (std::size_t k = 0; k < counts.size(); ++k) {
            EXPECT_EQ(apart.values()[at_area(k)], counts[k]) << "a point stands for 1";
            const float share = static_cast<float>(counts[k]) / number * 100.0F;
            if (static_cast<double>(k) < base.values()[16]) { // i_numbins
                EXPECT_EQ(base.values()[17 + 200 + k], static_cast<double>(share)) << k;
            }
        }
        const outputs together = coverage_of(records, unions, areas);
        double covered = 0;
        for (std::size_t u = 0; u < unions.size(); ++u) {
            const std::int32_t upper = unions[u].i_pass_upper < 0 ? most : unions[u].i_pass_upper;
            double area = 0, share = 0;
            for (std::int32_t k = unions[u].i_pass_lower; k <= std::min(upper, most); ++k) {
                area += apart.values()[at_area(static_cast<std::size_t>(k))];
                share += apart.values()[at_area(static_cast<std::size_t>(k)) - 1];
            }
            EXPECT_EQ(together.values()[at_area(u)], area) << "counts add up exactly";
            const double coverage = together.values()[at_area(u) - 1];
            EXPECT_NEAR(coverage, share, 1e-6 * coverage) << "shares but for 32-bit rounding";
            covered += area;
        }
        EXPECT_EQ(covered, number) << "each point is in one bin";
        const double unit = std::ldexp(1.0, make.whole(-8, 8));
        std::vector<t_areaflt> large = areas;
        for (t_areaflt& each : large)
            for (std::size_t i = 0; i < 4; ++i) each.d_vert_x[i] *= unit, each.d_vert_y[i] *= unit;
        EXPECT_EQ(coverage_of(records, each_count, large, static_cast<float>(unit), unit)
                      .difference(apart),
                  "")
            << "unit " << unit;
    }
}

// Whole numbers, so that every area is exact: a chord, a shift, a turn, another first vertex.
TEST(StatisticsProperties, OfAnAlignment) {
    const lot one = {{0, 0, 1, 1, 0}};
    const std::vector<t_passbin> bins = {{1, -1}};
    const auto plan_area = [&](const std::vector<t_areaflt>& areas) {
        return coverage_of(one, bins, areas).values()[3];
    };
    for (int n = 0; n < cases(1000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        // A star about a middle: no crossings.
        const std::int32_t corners = make.whole(4, 40);
        places outline;
        for (std::int32_t i = 0; i < corners; ++i) {
            const double angle = 6.283185307179586 * i / corners, reach = make.whole(20, 400);
            outline.push_back({500 + std::floor(reach * std::cos(angle)),
                               500 + std::floor(reach * std::sin(angle))});
        }
        const auto area_of = [](const places& ring, std::int32_t flag = 2) {
            t_areaflt area = {};
            area.i_flag_exclusion = flag;
            area.i_numvertices = count_of(ring);
            for (std::size_t i = 0; i < ring.size(); ++i)
                area.d_vert_x[i] = ring[i].x, area.d_vert_y[i] = ring[i].y;
            return area;
        };
        const double whole = plan_area({area_of(outline)});
        EXPECT_GT(whole, 0);
        const places reversed(outline.rbegin(), outline.rend());
        EXPECT_EQ(plan_area({area_of(reversed)}), whole);
        places turned = outline;
        std::rotate(turned.begin(), turned.begin() + make.whole(1, corners - 1), turned.end());
        EXPECT_EQ(plan_area({area_of(turned)}), whole);
        places shifted = outline;
        for (place& each : shifted) each = {each.x + 65536, each.y - 131072};
        EXPECT_EQ(plan_area({area_of(shifted)}), whole);
        EXPECT_EQ(plan_area({area_of(outline), area_of(reversed)}), 2 * whole)
            << "overlaps count twice";
        EXPECT_EQ(plan_area({area_of(outline), area_of(turned, 1), area_of(shifted)}), whole);
        // A corner cut off: the triangle and the rest, or the whole and the rest, by its sense.
        const places corner(outline.begin(), outline.begin() + 3);
        places rest = outline;
        rest.erase(rest.begin() + 1);
        const double cut = plan_area({area_of(corner)}), left = plan_area({area_of(rest)});
        EXPECT_TRUE(left + cut == whole || left - cut == whole)
            << left << ' ' << cut << ' ' << whole;
    }
}

// ---- Compaction curve ---------------------------------------------------------------------------------

outputs curve_of(const lot& records, double unit = 1) {
    constexpr std::int32_t most = 9;
    std::vector<double> means(most, 7), x(100, 7), y(100, 7);
    t_fitout fit = {};
    t_event event = blank_event();
    std::int32_t used = -1;
    outputs all;
    all.add("status", IC_compact_curve_b(most, 0, count_of(records), records.data(), &used,
                                         means.data(), x.data(), y.data(), &fit, &event));
    all.add("i_numpasses", used);
    for (const double each : means) all.add("d_passmean", each / unit);
    all.add("d_curvex", x);
    for (const double each : y) all.add("d_curvey", each / unit);
    all.add("i_degree", fit.i_degree);
    for (const float each : fit.x_coef) all.add("x_coef", static_cast<double>(each) / unit);
    all.add("x_rsq", static_cast<double>(fit.x_rsq));
    return all;
}

TEST(StatisticsProperties, OfACompactionCurve) {
    long curves = 0;
    for (int n = 0; n < cases(1250); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const std::int32_t passes = make.whole(1, 7);
        lot records = made_values(make, n % value_kinds, passes * make.whole(100, 180));
        for (std::size_t i = 0; i < records.size(); ++i) {
            const std::int32_t pass = 1 + static_cast<std::int32_t>(i) % passes;
            records[i].i_passno = pass;
            records[i].d_val += 12 - 12.0 / pass;
        }
        const outputs base = curve_of(records);
        curves += base.values()[0] == 1;
        EXPECT_EQ(curve_of(in_order(records, make.order(records.size()))).difference(base), "");
        EXPECT_EQ(curve_of(narrowed(records)).difference(base), "");
        const double unit = std::ldexp(1.0, make.whole(-12, 12));
        EXPECT_EQ(curve_of(scaled(records, unit), unit).difference(base), "") << unit;
        lot with_thin_passes = records; // and those behind them
        for (int i = 0; i < 150; ++i)
            with_thin_passes.push_back(
                {0, 0, 1e6 * make.unit(), i < 60 ? passes + 1 : passes + 2, 0});
        EXPECT_EQ(curve_of(with_thin_passes).difference(base), "") << "passes beyond a thin one";
    }
    EXPECT_GT(curves, 100);
}

// ---- Spot tests -----------------------------------------------------------------------------------------

struct spots {
    std::vector<t_statsout> records;
    std::vector<std::int32_t> valid;
    std::vector<float> line = std::vector<float>(3, 7.0F);
    std::vector<double> predicted;
    std::int32_t status = 0;
};

spots spots_of(const lot& records, const lot& tests, double radius) {
    spots result;
    result.records.resize(tests.size());
    std::memset(result.records.data(), 0, tests.size() * sizeof(t_statsout));
    result.valid.resize(tests.size());
    result.predicted.resize(tests.size());
    std::int32_t used = 0;
    t_event event = blank_event();
    result.status =
        IC_PointsData_stats(count_of(records), count_of(tests), radius, records.data(),
                            tests.data(), result.records.data(), result.line.data(), &used,
                            result.valid.data(), result.predicted.data(), &event);
    result.valid.resize(static_cast<std::size_t>(used));
    return result;
}
outputs written(const t_statsout& record) {
    outputs all;
    add_statistics(all, record, 1);
    return all;
}

// The same by the selection in a circle and the statistics of what it found.
TEST(StatisticsProperties, OfSpotTests) {
    long compared = 0;
    for (int n = 0; n < cases(625); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        lot records = made_values(make, 3 * (n % 2), make.whole(100, 900));
        lot tests = made_values(make, 0, make.whole(3, 12));
        for (t_icdata& each : tests) each.i_passno = make.one_in(3) ? make.whole(1, 4) : -1;
        const double radius = make.between(0.25, 0.5);
        const spots base = spots_of(records, tests, radius);
        std::vector<double> x, y;
        for (const t_icdata& each : records) x.push_back(each.d_x), y.push_back(each.d_y);
        for (std::size_t t = 0; t < tests.size(); ++t) {
            const double center[] = {tests[t].d_x, tests[t].d_y};
            std::vector<std::int32_t> indices(records.size());
            std::int32_t found = 0;
            t_event event = blank_event();
            find_points_in_circle(count_of(x), radius, center, x.data(), y.data(), &found,
                                  indices.data(), &event);
            lot matched;
            for (std::int32_t k = 0; k < found; ++k) {
                const t_icdata& each =
                    records[static_cast<std::size_t>(indices[static_cast<std::size_t>(k)])];
                if (tests[t].i_passno < 0 || tests[t].i_passno == each.i_passno)
                    matched.push_back(each);
            }
            EXPECT_EQ(base.records[t].i_numdata, count_of(matched));
            if (matched.size() < 3) continue;
            t_statsout alone = {};
            ASSERT_EQ(ICdata_stats(2, 2, count_of(matched), matched.data(), &alone, &event), 1);
            EXPECT_EQ(written(base.records[t]).difference(written(alone)), "") << "test " << t;
            ++compared;
        }
        // A test with a single value is handed the statistics of the one before.
        if (std::any_of(base.records.begin(), base.records.end(),
                        [](const t_statsout& each) { return each.i_numdata == 1; }))
            continue;
        const spots shuffled =
            spots_of(in_order(records, make.order(records.size())), tests, radius);
        EXPECT_EQ(shuffled.status, base.status);
        EXPECT_EQ(shuffled.valid, base.valid);
        EXPECT_EQ(shuffled.line, base.line);
        EXPECT_EQ(shuffled.predicted, base.predicted);
        // The order of the spot tests decides the last places of the line alone.
        const auto order = make.order(tests.size());
        const spots turned = spots_of(records, in_order(tests, order), radius);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(turned.line[i], base.line[i], 2e-6 * (1 + std::fabs(base.line[i]))) << i;
        for (std::size_t t = 0; t < tests.size(); ++t)
            EXPECT_EQ(written(turned.records[t]).difference(written(base.records[order[t]])), "");
    }
    EXPECT_GT(compared, 1000);
}

} // namespace

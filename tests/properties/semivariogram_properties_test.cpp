// The semivariogram: far points, shifts, units, mirrors, digits beyond 32 bits, and the order of records.
#include "properties/cases.hpp"

using namespace properties;

namespace {

using lot = std::vector<t_icdata>;

// Distinct places of a lattice, values in quarters: distances below 2^24 of their last places, all squares
// and sums exact. What is promised for such lots is promised to the last bit.
lot lattice_lot(maker& make, std::int32_t count) {
    std::vector<int> cells(64 * 64);
    std::iota(cells.begin(), cells.end(), 0);
    make.shuffle(cells);
    lot made;
    for (std::int32_t i = 0; i < count; ++i) {
        const int cell = cells[static_cast<std::size_t>(i)];
        made.push_back(
            {double(cell % 64), double(cell / 64), 40 + make.whole(-60, 60) / 4.0, 1, 0});
    }
    // Rollers write along lines; shuffled points and columns take other roads of the search.
    if (make.one_in(2))
        std::sort(made.begin(), made.end(), [](const t_icdata& a, const t_icdata& b) {
            return a.d_y != b.d_y ? a.d_y < b.d_y : a.d_x < b.d_x;
        });
    return made;
}
lot scattered_lot(maker& make, std::int32_t count) {
    lot made;
    for (std::int32_t i = 0; i < count; ++i) {
        const double x = 60 * make.unit(), y = 60 * make.unit();
        made.push_back({x, y, 40 + 0.2 * x + 8 * make.unit(), 1, 0});
        if (make.one_in(60)) made.back().d_val = make.one_in(2) ? nan64 : 1e30; // one is trimmed
    }
    return made;
}

// A lag whose class borders no two points of a lattice lie apart: where they do, which of two classes
// takes the pair is up to the pair before.
t_gamvset_user made_settings(maker& make) {
    for (;;) {
        t_gamvset_user set = {};
        set.i_nlag = make.whole(2, 14);
        set.x_xlag = static_cast<float>(make.between(0.7, 3));
        set.x_azm = static_cast<float>(make.whole(0, 180));
        set.x_atol = make.one_in(2) ? 90.0F : static_cast<float>(make.whole(10, 60));
        set.x_bandwh = make.one_in(2) ? 1000.0F : static_cast<float>(make.whole(5, 40)) + 0.3F;
        set.i_standsills = make.whole(1, 2);
        bool is_clear = true;
        for (int k = 0; k <= set.i_nlag + 1; ++k) {
            const double border = (k + 0.5) * static_cast<double>(set.x_xlag);
            if (std::fabs(border * border - std::round(border * border)) < 1e-3) is_clear = false;
        }
        if (is_clear) return set;
    }
}

struct result {
    std::int32_t status;
    std::vector<double> distance, gamma, model, curve_x, curve_y;
    std::vector<float> summary;
};

result semivariogram_of(const lot& records, const t_gamvset_user& set) {
    const auto classes = static_cast<std::size_t>(set.i_nlag) + 2;
    result out = {0,
                  std::vector<double>(classes),
                  std::vector<double>(classes),
                  std::vector<double>(2),
                  std::vector<double>(100),
                  std::vector<double>(100),
                  std::vector<float>(4)};
    t_event event = blank_event();
    out.status = IC_semivariogram(count_of(records), records.data(), &set, out.distance.data(),
                                  out.gamma.data(), out.model.data(), out.curve_x.data(),
                                  out.curve_y.data(), out.summary.data(), &event);
    return out;
}

outputs all_of(const result& out) {
    outputs all;
    all.add("status", out.status);
    all.add("x_lagdist", out.distance);
    all.add("x_gamma", out.gamma);
    all.add("x_modelcoef", out.model);
    all.add("x_fitlag", out.curve_x);
    all.add("x_fitgamma", out.curve_y);
    all.add("s_fitsummary", out.summary);
    return all;
}
// The classes from `first` on, in units of length and of the values.
outputs classes_of(const result& out, std::size_t first, double length = 1, double unit = 1) {
    outputs all;
    for (std::size_t k = first; k < out.distance.size(); ++k) {
        all.add("x_lagdist", out.distance[k] / length);
        all.add("x_gamma", out.gamma[k] / (unit * unit));
    }
    return all;
}

template <class Change> lot changed(lot records, const Change& change) {
    for (t_icdata& each : records) change(each);
    return records;
}

TEST(SemivariogramProperties, OfALattice) {
    for (int n = 0; n < cases(1000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const lot records = lattice_lot(make, make.whole(2, make.one_in(10) ? 1500 : 300));
        t_gamvset_user set = made_settings(make);
        const result base = semivariogram_of(records, set);
        const outputs all = all_of(base);
        const auto expect_same = [&](const lot& others, const char* what) {
            EXPECT_EQ(all_of(semivariogram_of(others, set)).difference(all), "") << what;
        };
        const double east = make.whole(-4000, 4000), north = make.whole(-4000, 4000);
        expect_same(changed(records, [&](t_icdata& p) { p.d_x += east, p.d_y += north; }),
                    "shifted");
        expect_same(changed(records, [](t_icdata& p) { p.d_x = -p.d_x, p.d_y = -p.d_y; }),
                    "turned round");
        if (set.x_atol >= 90)
            expect_same(in_order(records, make.order(records.size())), "another order");
        t_gamvset_user as_they_are = set;
        as_they_are.i_standsills = 2;
        const result plain = semivariogram_of(records, as_they_are);
        // Differences alone count there; the variance rounds.
        const double up = make.whole(1, 1000);
        const lot higher = changed(records, [&](t_icdata& p) { p.d_val = up - p.d_val; });
        EXPECT_EQ(all_of(semivariogram_of(higher, as_they_are)).difference(all_of(plain)), "")
            << "values mirrored and shifted";

        const double length = std::ldexp(1.0, make.whole(-10, 10)),
                     unit = std::ldexp(1.0, make.whole(-6, 6));
        const lot scaled = changed(
            records, [&](t_icdata& p) { p.d_x *= length, p.d_y *= length, p.d_val *= unit; });
        t_gamvset_user in_length = as_they_are;
        in_length.x_xlag *= static_cast<float>(length);
        in_length.x_bandwh *= static_cast<float>(length);
        EXPECT_EQ(classes_of(semivariogram_of(scaled, in_length), 0, length, unit)
                      .difference(classes_of(plain, 0)),
                  "")
            << "units of " << length << " and " << unit;
        const double of_values = unit;
        if (set.i_standsills == 1)
            expect_same(changed(records, [&](t_icdata& p) { p.d_val *= of_values; }),
                        "multiples of the variance");
    }
}

// Where the sums round, the order of the records decides their last places: no more.
TEST(SemivariogramProperties, TheOrderDecidesLastPlacesAlone) {
    for (int n = 0; n < cases(500); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const lot records = changed(lattice_lot(make, make.whole(20, 400)),
                                    [&](t_icdata& p) { p.d_val = 50 * make.unit(); });
        t_gamvset_user set = made_settings(make);
        set.x_atol = 90;
        const result base = semivariogram_of(records, set);
        const result other = semivariogram_of(in_order(records, make.order(records.size())), set);
        for (std::size_t k = 0; k < base.gamma.size(); ++k) {
            EXPECT_NEAR(other.distance[k], base.distance[k], 1e-13 * base.distance[k]) << k;
            EXPECT_NEAR(other.gamma[k], base.gamma[k],
                        (set.i_standsills == 1 ? 1e-6 : 1e-13) * base.gamma[k])
                << k;
        }
    }
}

// Positions and values count in 32 bits, and a point beyond the last class changes none but that of
// the points themselves, wherever in the data it stands.
TEST(SemivariogramProperties, FarPointsAndDigitsBeyond32BitsChangeNothing) {
    for (int n = 0; n < cases(1000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const lot records = scattered_lot(make, make.whole(2, make.one_in(10) ? 2000 : 400));
        t_gamvset_user set = made_settings(make);
        set.i_standsills = 2; // the variance is that of all points and of the 64-bit values
        const result plain = semivariogram_of(records, set);
        const lot narrow = changed(records, [](t_icdata& p) {
            p.d_x = static_cast<double>(static_cast<float>(p.d_x));
            p.d_y = static_cast<double>(static_cast<float>(p.d_y));
            p.d_val = static_cast<double>(static_cast<float>(p.d_val));
        });
        EXPECT_EQ(all_of(semivariogram_of(narrow, set)).difference(all_of(plain)), "");

        lot with_far = records;
        for (int far = make.whole(1, 3); far > 0; --far) {
            const double away = (60 + 16 * 3) * std::ldexp(1.0 + make.unit(), 3 * far);
            const t_icdata point = {make.one_in(2) ? away : -away, 60 * make.unit(),
                                    100 * make.unit(), 1, 0};
            with_far.insert(with_far.begin() + make.whole(0, count_of(with_far)), point);
        }
        const result wider = semivariogram_of(with_far, set);
        EXPECT_EQ(classes_of(wider, 1).difference(classes_of(plain, 1)), "");
        EXPECT_EQ(wider.distance[0], 0);
        if (plain.gamma[0] == 0) {
            EXPECT_EQ(all_of(wider).difference(all_of(plain)), "") << "the model";
        }
    }
}

} // namespace

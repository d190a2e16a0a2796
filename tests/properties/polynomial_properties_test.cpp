// The polynomial through data: another order, units, and points of no weight in the arithmetic.
#include "properties/cases.hpp"

using namespace properties;

namespace {

struct data {
    std::vector<float> x, y;
};

data made_data(maker& make) {
    data made;
    const std::int32_t count = make.whole(2, make.one_in(6) ? 2000 : 150);
    const bool has_ties = make.one_in(2);
    for (std::int32_t i = 0; i < count; ++i) {
        const double x = has_ties ? make.whole(1, 12) : make.between(-3, 9);
        made.x.push_back(static_cast<float>(x));
        made.y.push_back(static_cast<float>(40 + x * (10 - x) + 6 * make.unit()));
    }
    return made;
}

outputs curve_of(const data& given, std::int32_t degree, double length = 1, double unit = 1) {
    std::vector<float> x(100, 7.0F), y(100, 7.0F);
    outputs all;
    all.add("status", call_polycurvefit(count_of(given.x), degree, given.x.data(), given.y.data(),
                                        x.data(), y.data()));
    const bool is_drawn = all.values()[0] == 1;
    for (const float each : x)
        all.add("s_xcurve", static_cast<double>(each) / (is_drawn ? length : 1));
    for (const float each : y)
        all.add("s_ycurve", static_cast<double>(each) / (is_drawn ? unit : 1));
    return all;
}

TEST(PolynomialProperties, OrderAndUnitsDecideNothing) {
    for (int n = 0; n < cases(1000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const data given = made_data(make);
        const std::int32_t degree = make.whole(0, 9);
        const outputs base = curve_of(given, degree);
        const auto order = make.order(given.x.size());
        EXPECT_EQ(
            curve_of({in_order(given.x, order), in_order(given.y, order)}, degree).difference(base),
            "");
        data scaled = given;
        const float length = std::ldexp(1.0F, make.whole(-6, 6)),
                    unit = std::ldexp(1.0F, make.whole(-9, 9));
        for (float& each : scaled.x) each *= length;
        for (float& each : scaled.y) each *= unit;
        EXPECT_EQ(curve_of(scaled, degree, static_cast<double>(length), static_cast<double>(unit))
                      .difference(base),
                  "")
            << "units of " << length << " and " << unit;
    }
}

} // namespace

#include "study/analyses/lag_proposal.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "study/base/portable_math.hpp"
#include "study/lot/bulk.hpp"

namespace qmx_study {

namespace {

constexpr double steps_per_unit = 1000; // positions that agree to the thousandth are one place
constexpr std::size_t most_sampled = 1000;
constexpr double stray_share = 0.001; // at either end of an axis

struct placed_along {
    double along, across; // along the longer axis of the extent
};

struct span {
    double least = 0, greatest = 0;
    double length() const { return greatest - least; }
};

span whole_span(const std::vector<double>& coordinates) {
    const auto [least, greatest] = std::minmax_element(coordinates.begin(), coordinates.end());
    return {*least, *greatest};
}

// Without a thousandth of the points at either end.
span inner_span(std::vector<double> coordinates) {
    const std::size_t count = coordinates.size();
    const auto left_out =
        static_cast<std::size_t>(std::ceil(stray_share * static_cast<double>(count)));
    if (count < 100) return whole_span(coordinates);
    const auto at = [&](std::size_t rank) {
        const auto place = coordinates.begin() + static_cast<std::ptrdiff_t>(rank);
        std::nth_element(coordinates.begin(), place, coordinates.end());
        return *place;
    };
    const double least = at(left_out);
    return {least, at(count - 1 - left_out)};
}

// The median of the distances from sampled places to the next other place.
double median_spacing(std::vector<placed_along> places) {
    const auto same = [](const placed_along& a, const placed_along& b) {
        return a.along == b.along && a.across == b.across;
    };
    for (placed_along& each : places) {
        each.along = std::round(each.along * steps_per_unit);
        each.across = std::round(each.across * steps_per_unit);
    }
    std::sort(places.begin(), places.end(), [](const placed_along& a, const placed_along& b) {
        return a.along != b.along ? a.along < b.along : a.across < b.across;
    });
    places.erase(std::unique(places.begin(), places.end(), same), places.end());
    const std::size_t count = places.size();
    if (count < 2) return 0;

    std::vector<double> distances;
    const std::size_t samples = std::min(count, most_sampled);
    for (std::size_t s = 0; s < samples; ++s) {
        const std::size_t here = s * count / samples;
        double nearest = std::numeric_limits<double>::infinity();
        const auto is_beyond = [&](const placed_along& other) {
            const double along = std::fabs(other.along - places[here].along);
            if (along < nearest)
                nearest = std::min(nearest,
                                   portable::length_of(along, other.across - places[here].across));
            return along >= nearest;
        };
        for (std::size_t j = here + 1; j < count && !is_beyond(places[j]); ++j) {}
        for (std::size_t j = here; j-- > 0 && !is_beyond(places[j]);) {}
        distances.push_back(nearest);
    }
    const auto median = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), median, distances.end());
    return *median / steps_per_unit;
}

// The greatest number of few digits that is not above the length.
double rounded_down(double length) {
    const double power = portable::power_of_ten(portable::decimal_exponent(length));
    double best = power;
    for (const double digits : {1.0, 1.5, 2.0, 2.5, 3.0, 4.0, 5.0, 6.0, 8.0, 10.0})
        if (digits * power <= length * (1 + 1e-9)) best = digits * power;
    // The digits as one would write them: 0.3, not 0.30000000000000004.
    const double scale = portable::power_of_ten(2 - portable::decimal_exponent(best));
    return std::round(best * scale) / scale;
}

} // namespace

point_layout layout_of(const std::vector<t_icdata>& points) {
    std::vector<double> x(points.size());
    std::vector<double> y(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        x[i] = points[i].d_x;
        y[i] = points[i].d_y;
    }
    const span east = whole_span(x);
    const span north = whole_span(y);
    point_layout layout;
    layout.points = points.size();
    const bulk all = bulk_of(points);
    layout.middle_x = all.middle_x();
    layout.middle_y = all.middle_y();
    layout.reach = std::max(all.right - all.left, all.top - all.bottom) / 2;
    layout.whole_diagonal = portable::length_of(east.length(), north.length());
    const span inner_east = inner_span(x);
    const span inner_north = inner_span(y);
    const double inner = portable::length_of(inner_east.length(), inner_north.length());
    const bool has_stray = inner > 0 && 2 * inner < layout.whole_diagonal;
    layout.diagonal = has_stray ? inner : layout.whole_diagonal;

    const bool east_is_longer = inner_east.length() >= inner_north.length();
    std::vector<placed_along> places(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const placed_along local = {x[i] - layout.middle_x, y[i] - layout.middle_y};
        places[i] = east_is_longer ? local : placed_along{local.across, local.along};
    }
    layout.spacing = median_spacing(std::move(places));
    return layout;
}

lag_proposal propose_lags(const point_layout& layout, std::optional<double> lag,
                          std::optional<int> lags) {
    constexpr double usual_lags = 30;
    constexpr double most_spacings = 5; // a wider lag would blur what neighbours have in common
    constexpr double pairs_of_a_lag = 100;
    const double cut_off = layout.diagonal / 3;
    const auto points = static_cast<double>(layout.points);
    const double worthwhile_lags =
        std::clamp(points * points / 2 / pairs_of_a_lag, 10.0, 1.0 * most_lags);
    lag_proposal proposal;
    if (lag) {
        proposal.lag = *lag;
    } else if (lags) {
        proposal.lag = rounded_down(std::max(cut_off / *lags, std::min(layout.spacing, cut_off)));
    } else {
        double length =
            std::clamp(cut_off / usual_lags, layout.spacing, most_spacings * layout.spacing);
        if (worthwhile_lags < most_lags) length = std::max(length, cut_off / worthwhile_lags);
        proposal.lag = rounded_down(length);
    }
    const double fitting = std::floor(cut_off / proposal.lag + 1e-9);
    proposal.lags = lags ? *lags : static_cast<int>(std::clamp(fitting, 1.0, 1.0 * most_lags));
    proposal.is_shortened = !lags && fitting > most_lags;
    return proposal;
}

} // namespace qmx_study

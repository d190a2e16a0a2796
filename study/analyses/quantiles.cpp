#include "study/analyses/quantiles.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx_study {

namespace {

// From 0, between two values where it is no whole number.
double rank_of(double percent, std::size_t count) {
    return static_cast<double>(count - 1) * percent / 100;
}

// A whole number for each value, in the order of the values. A zero has one sign.
std::uint64_t order_of(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value + 0.0);
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    return bits & sign ? ~bits : bits | sign;
}

double value_of(std::uint64_t order) {
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    return std::bit_cast<double>(order & sign ? order & ~sign : ~order);
}

// Values that begin with the same digits, of which some are looked for.
struct digit_group {
    std::uint64_t first_digits = 0;
    std::vector<std::uint32_t> counts; // by the next digit
};

struct wanted_value {
    std::size_t rank = 0;     // among those of its group
    std::uint64_t digits = 0; // as far as they are known
};

constexpr int digit_bits = 16;
constexpr int digits_in_all = 64 / digit_bits;

// By their next digit, of the points that belong to a group.
void count_digits(const std::vector<t_icdata>& points, int known,
                  std::vector<digit_group>& groups) {
    constexpr std::uint64_t digit = (std::uint64_t{1} << digit_bits) - 1;
    const int behind = 64 - digit_bits * (known + 1);
    for (digit_group& group : groups) group.counts.assign(digit + 1, 0);
    for (const t_icdata& point : points) {
        const std::uint64_t order = order_of(point.d_val) >> behind;
        if (known == 0) {
            ++groups.front().counts[static_cast<std::size_t>(order)];
            continue;
        }
        for (digit_group& group : groups)
            if (order >> digit_bits == group.first_digits) {
                ++group.counts[order & digit];
                break;
            }
    }
}

std::vector<digit_group> groups_of(const std::vector<wanted_value>& wanted) {
    std::vector<digit_group> groups;
    for (const wanted_value& each : wanted)
        if (groups.empty() || groups.back().first_digits != each.digits)
            groups.push_back({each.digits, {}});
    return groups;
}

// ranks: in ascending order. Four runs over the points, whose values stay where they are.
std::vector<double> values_at(const std::vector<t_icdata>& points,
                              const std::vector<std::size_t>& ranks) {
    std::vector<wanted_value> wanted;
    wanted.reserve(ranks.size());
    for (const std::size_t rank : ranks) wanted.push_back({rank, 0});
    for (int known = 0; known < digits_in_all; ++known) {
        std::vector<digit_group> groups = groups_of(wanted);
        count_digits(points, known, groups);
        auto group = groups.begin();
        for (wanted_value& each : wanted) {
            while (group->first_digits != each.digits) ++group;
            std::size_t digit = 0;
            for (; each.rank >= group->counts[digit]; ++digit) each.rank -= group->counts[digit];
            each.digits = each.digits << digit_bits | digit;
        }
    }
    std::vector<double> values;
    values.reserve(wanted.size());
    for (const wanted_value& each : wanted) values.push_back(value_of(each.digits));
    return values;
}

// The ranks below and above each percent.
struct rank_pair {
    std::size_t at, next;
    double part; // of the way from one to the other
};

rank_pair ranks_of(double percent, std::size_t count) {
    // Whole ranks where percent / 100 has no binary fraction: 30 % of 11 values is the fourth.
    const double rank = rank_of(percent, count);
    const double below = std::floor(rank);
    const auto at = static_cast<std::size_t>(below);
    return {at, std::min(at + 1, count - 1), rank - below};
}

double between(double at, double next, double part) {
    const double value = part > 0 ? portable::between(at, next, part) : at;
    return value + 0.0; // a zero of either sign may have come to this place
}

} // namespace

std::vector<quantile> quantiles_of(std::vector<double> values,
                                   const std::vector<double>& percents) {
    std::sort(values.begin(), values.end());
    std::vector<quantile> result;
    for (const double percent : percents) {
        if (values.empty()) {
            result.push_back({percent, std::numeric_limits<double>::quiet_NaN()});
            continue;
        }
        const rank_pair ranks = ranks_of(percent, values.size());
        result.push_back({percent, between(values[ranks.at], values[ranks.next], ranks.part)});
    }
    return result;
}

std::vector<quantile> quantiles_of_points(const std::vector<t_icdata>& points,
                                          const std::vector<double>& percents) {
    constexpr std::size_t soon_sorted = 100000;
    if (points.size() <= soon_sorted) {
        std::vector<double> values;
        values.reserve(points.size());
        for (const t_icdata& point : points) values.push_back(point.d_val);
        return quantiles_of(std::move(values), percents);
    }
    std::vector<std::size_t> ranks;
    for (const double percent : percents) {
        const rank_pair pair = ranks_of(percent, points.size());
        ranks.push_back(pair.at);
        ranks.push_back(pair.next);
    }
    std::sort(ranks.begin(), ranks.end());
    ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
    const std::vector<double> values = values_at(points, ranks);
    const auto value_at = [&](std::size_t rank) {
        const auto place = std::lower_bound(ranks.begin(), ranks.end(), rank);
        return values[static_cast<std::size_t>(place - ranks.begin())];
    };
    std::vector<quantile> result;
    for (const double percent : percents) {
        const rank_pair pair = ranks_of(percent, points.size());
        result.push_back({percent, between(value_at(pair.at), value_at(pair.next), pair.part)});
    }
    return result;
}

counted_share share_at(const std::vector<t_icdata>& points, double limit, bool below) {
    counted_share share;
    share.of = static_cast<std::int64_t>(points.size());
    share.counted = std::count_if(points.begin(), points.end(), [&](const t_icdata& point) {
        return below ? point.d_val <= limit : point.d_val >= limit;
    });
    return share;
}

} // namespace qmx_study

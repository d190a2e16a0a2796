// Records of one cell found by a table of places, against sorting them; and the numbers of records kept as
// runs, against a plain list.
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "study/analyses/quantiles.hpp"
#include "study/lot/cell_numbers.hpp"
#include "study/lot/cells.hpp"

namespace {

using namespace qmx_study;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

struct textbook_cells {
    std::map<std::pair<double, double>, std::vector<std::size_t>> cells;

    textbook_cells(const lot& points, double steps) {
        for (std::size_t i = 0; i < points.points.size(); ++i) {
            const t_icdata& point = points.points[i];
            if (std::isnan(point.d_x) || std::isnan(point.d_y)) continue;
            cells[{std::round(point.d_x * steps), std::round(point.d_y * steps)}].push_back(i);
        }
    }
    // Of the records that count, the one with the highest pass, of equal ones the later one.
    template <class Counts>
    std::vector<std::pair<std::size_t, std::uint32_t>> last_passes(const lot& points,
                                                                   Counts counts) const {
        std::vector<std::pair<std::size_t, std::uint32_t>> found;
        for (const auto& [place, records] : cells) {
            std::size_t best = points.points.size();
            std::uint32_t count = 0;
            for (const std::size_t i : records) {
                if (!counts(points.points[i])) continue;
                ++count;
                const auto pass = [&](std::size_t at) {
                    return points.points[at].i_passno == no_pass ? 0 : points.points[at].i_passno;
                };
                if (best == points.points.size() || pass(i) >= pass(best)) best = i;
            }
            if (count > 0) found.emplace_back(best, count);
        }
        return found;
    }
};

lot random_lot(std::mt19937& random) {
    lot points;
    const std::size_t count = random() % 4000;
    const std::size_t places = 1 + random() % (1 + count);
    points.is_geographic = random() % 8 == 0;
    const double side = points.is_geographic ? 1e-8 : 0.001;
    const double far = random() % 4 == 0 ? 4.9e6 : 0;
    // In no order, or as a roller goes: pass by pass, each in the same direction or back again.
    const auto order = random() % 4;
    const bool is_straight = order > 0 && random() % 4 > 0;
    const auto next_place = [&](std::size_t i) {
        if (order == 1) return i % places;
        if (order == 2) return i / places % 2 == 0 ? i % places : places - 1 - i % places;
        return order == 3 ? i / 3 : random() % places;
    };
    for (std::size_t i = 0; i < count; ++i) {
        t_icdata point{};
        const auto place = static_cast<double>(next_place(i));
        const double halves = is_straight         ? 0
                              : random() % 3 == 0 ? 0.5
                                                  : 0.1 * static_cast<double>(random() % 9);
        point.d_x = far + (place + halves) * side;
        if (!is_straight && random() % 2 == 0) point.d_x -= 3 * side;
        point.d_y = is_straight ? 0 : (static_cast<double>(random() % 3) - 1) * side / 2;
        if (i == 0) point.d_x = point.d_y = 1e6; // so wide a lot is in metres
        if (i > 0 && random() % 50 == 0) point.d_x = point.d_y = nan_value;
        if (random() % 90 == 0) point.d_x = 1e12 * static_cast<double>(random() % 3);
        point.d_val = random() % 5 == 0 ? nan_value : 1;
        point.i_passno = random() % 6 == 0 ? no_pass : static_cast<std::int32_t>(random() % 5) - 1;
        points.points.push_back(point);
        points.records.push_back(static_cast<std::int64_t>(2 * i + 1));
    }
    return points;
}

TEST(Cells, AreThoseOfATextbook) {
    std::mt19937 random(4);
    for (int round = 0; round < 400; ++round) {
        lot points = random_lot(random);
        const textbook_cells textbook(points, points.is_geographic ? 1e8 : 1000);
        const cell_layers layers = layers_of(points);
        std::vector<bool> is_last(points.points.size());
        for (const auto& [best, count] : textbook.last_passes(
                 points, [](const t_icdata& point) { return !std::isnan(point.d_val); }))
            is_last[best] = true;
        EXPECT_EQ(layers.is_last_measured, is_last);
        std::vector<std::uint32_t> passed(points.points.size());
        for (const auto& [best, count] : textbook.last_passes(
                 points, [](const t_icdata& point) { return point.i_passno != no_pass; }))
            passed[best] = count;
        EXPECT_EQ(layers.records_of_last_pass, passed);

        for (t_icdata& point : points.points) point.i_passno = std::max(point.i_passno, 0);
        const auto all = textbook.last_passes(points, [](const t_icdata&) { return true; });
        const cell_summary summary = summarise_cells(points);
        std::int64_t shared = 0, most = 0;
        std::vector<std::int64_t> kept;
        for (const auto& [best, count] : all) {
            shared += count > 1;
            most = std::max<std::int64_t>(most, count);
            kept.push_back(points.records[best]);
        }
        std::sort(kept.begin(), kept.end());
        ASSERT_EQ(summary.cells, static_cast<std::int64_t>(all.size()));
        ASSERT_EQ(summary.shared_cells, shared);
        ASSERT_EQ(summary.most_records, most);
        keep_last_pass(points);
        ASSERT_EQ(std::vector<std::int64_t>(points.records.begin(), points.records.end()), kept);
    }
}

// Positions that were moved to their cells may have become one place.
TEST(Cells, ThatHaveComeToLieInOnePlaceAreOne) {
    std::mt19937 random(6);
    for (int round = 0; round < 60; ++round) {
        lot points = random_lot(random);
        for (t_icdata& point : points.points) point.i_passno = std::max(point.i_passno, 0);
        std::vector<std::uint32_t> records(points.points.size());
        for (std::uint32_t& each : records) each = static_cast<std::uint32_t>(1 + random() % 5);
        const textbook_cells textbook(points, points.is_geographic ? 1e8 : 1000);
        std::map<std::size_t, std::uint32_t> wanted; // by the index of the last pass
        for (const auto& [best, count] :
             textbook.last_passes(points, [](const t_icdata&) { return true; })) {
            const t_icdata& at = points.points[best];
            const double steps = points.is_geographic ? 1e8 : 1000;
            for (const std::size_t i :
                 textbook.cells.at({std::round(at.d_x * steps), std::round(at.d_y * steps)}))
                wanted[best] += records[i];
        }
        lot joined = points;
        join_cells(joined, records);
        ASSERT_EQ(joined.points.size(), wanted.size());
        ASSERT_EQ(records.size(), wanted.size());
        std::size_t k = 0;
        for (const auto& [index, sum] : wanted) {
            EXPECT_EQ(joined.records[k], points.records[index]);
            EXPECT_EQ(joined.points[k].i_passno, points.points[index].i_passno);
            EXPECT_EQ(records[k++], sum);
        }
    }
}

TEST(Cells, RoundAsTheLibraryOfTheLanguageDoes) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 1'000'000; ++i) {
        const int exponent = static_cast<int>(random() % 70) - 4;
        double value = std::ldexp(static_cast<double>(random() >> 11), exponent - 53);
        if (i % 2 == 0) value = std::floor(value) + 0.5;
        if (i % 3 == 0) value = std::nextafter(value, i % 2 == 0 ? 0 : HUGE_VAL);
        if (i % 5 == 0) value = -value;
        ASSERT_EQ(rounded_half_away(value), std::round(value)) << value;
    }
}

TEST(RecordNumbers, AreThoseOfAList) {
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        record_numbers runs;
        std::vector<std::int64_t> list;
        std::int64_t next = 1;
        for (auto left = random() % 60; left > 0; --left) {
            next += static_cast<std::int64_t>(random() % 3) - 1; // several points of one record too
            const std::size_t more = random() % 4;
            runs.append(next, more);
            for (std::size_t i = 0; i < more; ++i) list.push_back(next++);
            next = std::max<std::int64_t>(next, 1);
        }
        ASSERT_EQ(runs.size(), list.size());
        ASSERT_TRUE(std::equal(runs.begin(), runs.end(), list.begin(), list.end()));
        for (std::size_t i = 0; i < list.size(); ++i) {
            ASSERT_EQ(runs[i], list[i]);
            ASSERT_EQ(*(runs.begin() + static_cast<std::ptrdiff_t>(i)), list[i]);
        }
        const std::size_t first = random() % (list.size() + 1);
        const std::size_t end = first + random() % (list.size() - first + 1);
        record_numbers part;
        part.append_part(runs, first, end);
        ASSERT_TRUE(std::equal(part.begin(), part.end(),
                               list.begin() + static_cast<std::ptrdiff_t>(first),
                               list.begin() + static_cast<std::ptrdiff_t>(end)));
        if (!std::is_sorted(list.begin(), list.end())) continue;
        for (const std::int64_t wanted : {next / 2, next, std::int64_t{0}})
            ASSERT_EQ(std::upper_bound(runs.begin(), runs.end(), wanted) - runs.begin(),
                      std::upper_bound(list.begin(), list.end(), wanted) - list.begin());
    }
}

// So many values are not sorted, but counted by their digits.
TEST(Quantiles, OfManyValuesAreThoseOfSortedOnes) {
    std::mt19937_64 random(5);
    const std::vector<double> percents{0, 10, 25, 50, 75, 90, 99.999, 100};
    for (int kind = 0; kind < 24; ++kind) {
        const unsigned kinds[] = {1, 3, 1000, 4000000000U};
        const double scales[] = {1.0 / 7, -1e-310, 1e290};
        std::vector<double> values(100'001 + random() % 50'000);
        for (double& value : values)
            value = static_cast<double>(random() % kinds[kind % 4]) * scales[kind / 4 % 3];
        if (kind >= 12) // about zero, of either sign
            for (double& value : values)
                if (random() % 2) value = -value;
        std::vector<t_icdata> points;
        for (const double value : values) points.push_back({0, 0, value, 0, 0});
        const std::vector<quantile> wanted = quantiles_of(values, percents);
        const std::vector<quantile> found = quantiles_of_points(points, percents);
        ASSERT_EQ(found.size(), wanted.size());
        for (std::size_t k = 0; k < percents.size(); ++k) {
            EXPECT_EQ(found[k].value, wanted[k].value) << kind << ", " << percents[k];
            EXPECT_EQ(std::signbit(found[k].value), std::signbit(wanted[k].value));
        }
    }
}

} // namespace

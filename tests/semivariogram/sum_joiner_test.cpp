// Rows joined to the sum of one addition after the other, where sums pass powers of two and where sums of
// distances leave the range in which no addition rounds.
#include "semivariogram/search/sum_joiner.hpp"
#include "support/test.hpp"

using namespace qmx;
using namespace qmx::ordered_growth;

namespace {

struct term {
    i32 k;
    f32 distance, square;
};

void add_terms(const std::vector<term>& terms, i64 times, pair_kernel::class_sums& sums) {
    for (const term& each : terms)
        for (i64 time = 0; time < times; ++time) {
            pair_kernel::class_sums::of_class& of = sums.of[each.k];
            ++of.count;
            of.distance += f64{each.distance};
            of.squares += f64{each.square};
        }
}

// Rows given by their terms; each sweep sums them as the kernel does.
struct listed_rows {
    const sum_joiner& joiner;
    i64 times;
    std::vector<std::vector<term>> terms;
    std::vector<pair_kernel::two_starts<f64>> sums = {};

    auto& sum(row_sum kind, i32 k, i64 row) {
        return sums[static_cast<std::size_t>(
            (row * row_sum_kinds + static_cast<i64>(kind)) * pair_kernel::columns + k)];
    }
    bool sweep() {
        sums.assign(terms.size() * row_sum_kinds * pair_kernel::columns, {});
        for (i64 row = 0; row < std::ssize(terms); ++row)
            for (const row_sum kind :
                 {row_sum::squares, row_sum::next_squares, row_sum::distances}) {
                for (i32 k = 1; k <= 5; ++k) begin_sums(sum(kind, k, row), joiner.power(k, kind));
                for (const term& each : terms[static_cast<std::size_t>(row)])
                    for (i64 time = 0; time < times; ++time) {
                        const f32 value = kind == row_sum::distances ? each.distance : each.square;
                        sum(kind, each.k, row).even += f64{value};
                        sum(kind, each.k, row).odd += f64{value};
                    }
            }
        return true;
    }
    i64 count(i32 k) const {
        i64 number = 0;
        for (const auto& row : terms)
            for (const term& each : row) number += each.k == k ? times : 0;
        return number;
    }
    f64 distance(i32 k) const {
        f64 total = 0;
        for (auto row = terms.rbegin(); row != terms.rend(); ++row)
            for (const term& each : *row) total += each.k == k ? f64{each.distance} : 0;
        return total;
    }
    // As if all rows were summed from the power of two on, the last first: no order matters.
    f64 pooled_squares(i32 k) const {
        const f64 power = joiner.power(k, row_sum::squares);
        f64 growth = 0;
        for (auto row = terms.rbegin(); row != terms.rend(); ++row)
            for (const term& each : *row)
                if (each.k == k) growth += 2 * ((f64{each.square} + power) - power);
        return growth;
    }
    auto growth(row_sum kind, i32 k) {
        return [this, kind, k](i64 row) {
            const auto& [even, odd] = sum(kind, k, row);
            return growth_of(even, odd, joiner.power(k, kind));
        };
    }
    bool redo(i64 row, pair_kernel::class_sums& to) {
        add_terms(terms[static_cast<std::size_t>(row)], times, to);
        return true;
    }
};

TEST(SumJoiner, GivesTheSumOfOneAdditionAfterTheOther) {
    const lag_classes classes = make_lag_classes(3, 1.3F, 0.65F);
    std::mt19937 random(3);
    const auto below = [&](unsigned limit) { return static_cast<i32>(random() % limit); };
    for (int trial = 0; trial < 4000; ++trial) {
        pair_kernel::search_rules rules = {};
        rules.classes = &classes;
        rules.twice = trial % 2 == 0;
        pair_kernel::class_sums sums = {};
        for (i32 k = 2; k <= 5; ++k) {
            // Sums at the limit of exact distances, and close to a power of two.
            const f64 limit = k == 2 ? std::ldexp(1.0, below(40)) : exact_distance_sum(classes, k);
            sums.of[k].distance = limit * (1 - std::ldexp(1.0, -below(56)));
            sums.of[k].squares = std::ldexp(1.0, below(60)) * (1 - std::ldexp(1.0, -below(54)));
        }
        sum_joiner joiner(rules, sums);
        listed_rows rows = {joiner, rules.twice ? 2 : 1, {}};
        rows.terms.resize(static_cast<std::size_t>(1 + below(20)));
        for (auto& row : rows.terms)
            for (i32 left = below(12); left > 0; --left) {
                const i32 k = 2 + below(4);
                const f32 part = 0.01F + 0.98F * static_cast<f32>(random()) / 4294967296.0F;
                const f32 from = std::max(classes.lower[k], 0.0F);
                row.push_back({k, from + part * (classes.upper[k] - from),
                               std::ldexp(static_cast<f32>(below(16)), below(40))});
            }
        pair_kernel::class_sums truth = sums;
        for (const auto& row : rows.terms) add_terms(row, rows.times, truth);

        const f64 doubled = below(2); // good and poor estimates
        joiner.begin(std::ssize(rows.terms), [&](i32 k) {
            const pair_kernel::class_sums::of_class& of = sums.of[k];
            return sum_joiner::expected_sums{of.distance * (1 + doubled),
                                             of.squares * (1 + 2 * doubled)};
        });
        ASSERT_TRUE(joiner.join(rows));
        for (i32 k = 1; k <= 5; ++k) {
            ASSERT_EQ(sums.of[k].count, truth.of[k].count) << trial;
            ASSERT_EQ(sums.of[k].distance, truth.of[k].distance) << trial << " class " << k;
            ASSERT_EQ(sums.of[k].squares, truth.of[k].squares) << trial << " class " << k;
        }
    }
}

} // namespace

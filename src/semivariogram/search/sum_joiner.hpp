// Joins the sums of separate rows to the sums that one addition after the other gives, bit for bit
// (ordered_growth.hpp). Serves rows that are searched side by side and rows of a window alike.
#pragma once

#include "semivariogram/kernel/ordered_growth.hpp"

#include <algorithm>
#include <concepts>

namespace qmx {

// What is summed for each row and class: squared differences from the power of two that the sum has
// reached, the same from the next power, and distances where their sum may round. The first is mostly
// summed for all rows together (ordered_growth.hpp).
enum class row_sum { squares, next_squares, distances };
inline constexpr i64 row_sum_kinds = 3;

// Consecutive rows, numbered from 0. A false result says that memory ran out.
template <class Rows>
concept separate_rows = requires(Rows& rows, i64 row, i32 k, row_sum kind,
                                 pair_kernel::class_sums& sums) {
    // Sums the pairs of each row, as the joiner's needs and powers ask for.
    { rows.sweep() } -> std::same_as<bool>;
    // Of all rows: the number of additions, and the sum of the distances, halved if pairs count twice.
    // Asked for after the first sweep.
    { rows.count(k) } -> std::same_as<i64>;
    { rows.distance(k) } -> std::same_as<f64>;
    // What the squares of all rows together make a sum at its power of two grow by; for classes whose
    // rows are not summed apart.
    { rows.pooled_squares(k) } -> std::same_as<f64>;
    // Tells what each row adds, in units of the last place.
    { rows.growth(kind, k)(row) } -> std::same_as<ordered_growth::row_growth>;
    // Adds the pairs of one row to the sums, one after the other.
    { rows.redo(row, sums) } -> std::same_as<bool>;
};

class sum_joiner {
public:
    // Adds to sums.
    sum_joiner(const pair_kernel::search_rules& rules, pair_kernel::class_sums& sums);

    // Begins with new rows. expect(k) estimates what their pairs will make of the sums of class k: a
    // poor estimate costs another sweep.
    struct expected_sums {
        f64 distance, squares;
    };
    template <class Expect> void begin(i64 rows, const Expect& expect);
    template <separate_rows Rows> bool join(Rows& rows);

    // For a sweep: classes that it may leave out, the needs of the others, the powers of two that
    // their sums start from, and the first row that any of them still waits for.
    bool is_wanted(i32 k) const { return (needs_[k] & pair_kernel::nothing) == 0; }
    bool is_wanted(i32 k, row_sum kind) const {
        if (!is_wanted(k)) return false;
        const auto need = kind == row_sum::squares        ? pair_kernel::apart
                          : kind == row_sum::next_squares ? pair_kernel::next_squares
                                                          : pair_kernel::ordered_distance;
        return (needs_[k] & need) != 0;
    }
    const std::uint8_t (&needs() const)[pair_kernel::columns] { return needs_; }
    f64 power(i32 k, row_sum kind) const { return power_[static_cast<i32>(kind)][k]; }
    i64 from() const { return from_; }

private:
    // Rows that each sum of a class has taken in.
    struct progress {
        i64 squares, distance;
    };

    void begin_class(i32 k, const expected_sums& expected);
    void begin_sweep(bool again);
    bool is_pooled(i32 k) const {
        return (needs_[k] & (pair_kernel::nothing | pair_kernel::apart)) == 0;
    }
    template <class Rows> void add_counts(const Rows& rows);
    template <class Rows> bool add_known(Rows& rows);
    template <class Rows> bool redo_stopped(Rows& rows);
    template <class Rows> bool redo_rest(Rows& rows);
    template <class Rows> bool redo(Rows& rows, i64 row);
    i64 last_stop_before(i64 row) const;

    const pair_kernel::search_rules& rules_;
    pair_kernel::class_sums& sums_;
    const i32 last_class_;
    i64 rows_ = 0;
    i64 from_ = 0;
    std::uint8_t needs_[pair_kernel::columns] = {};
    f64 power_[row_sum_kinds][pair_kernel::columns] = {};
    f64 greatest_exact_[pair_kernel::columns] = {}; // sum of distances that does not round
    progress taken_in_[pair_kernel::columns] = {};
};

template <class Expect> void sum_joiner::begin(i64 rows, const Expect& expect) {
    rows_ = rows;
    from_ = 0;
    for (i32 k = coincident_class; k <= last_class_; ++k) begin_class(k, expect(k));
}

template <separate_rows Rows> bool sum_joiner::join(Rows& rows) {
    constexpr i64 most_sweeps = 4; // then the rest goes row by row
    for (i64 sweeps = 0; sweeps < most_sweeps; ++sweeps) {
        begin_sweep(sweeps > 0);
        if (!rows.sweep()) return false;
        if (sweeps == 0) add_counts(rows);
        if (add_known(rows)) return true;
        if (!redo_stopped(rows)) return false;
        if (add_known(rows)) return true;
    }
    return redo_rest(rows);
}

// Adds counts, and distances whose sum does not round.
template <class Rows> void sum_joiner::add_counts(const Rows& rows) {
    const f64 times = rules_.twice ? 2 : 1;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const i64 counted = rows.count(k);
        if (counted == 0) {
            needs_[k] |= pair_kernel::nothing;
            taken_in_[k] = {rows_, rows_};
            continue;
        }
        pair_kernel::class_sums::of_class& sums = sums_.of[k];
        sums.count += counted;
        if (is_wanted(k, row_sum::distances)) continue;
        const f64 most = static_cast<f64>(counted) * static_cast<f64>(rules_.classes->upper[k]);
        if (!(sums.distance + most < greatest_exact_[k])) continue;
        sums.distance += times * rows.distance(k);
        taken_in_[k].distance = rows_;
    }
}

// Adds rows to each sum for as long as it stays below the next power of two. Returns whether all rows
// are in; a class that has them is wanted no more.
template <class Rows> bool sum_joiner::add_known(Rows& rows) {
    from_ = rows_;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (!is_wanted(k)) continue;
        pair_kernel::class_sums::of_class& sums = sums_.of[k];
        progress& done = taken_in_[k];
        if (is_pooled(k) && done.squares == 0) {
            const f64 sum = sums.squares + rows.pooled_squares(k);
            if (ordered_growth::power_of(sum) == power(k, row_sum::squares)) {
                sums.squares = sum;
                done.squares = rows_;
            }
        }
        const auto add = [&](row_sum kind, f64& sum, i64& row) {
            if (row == rows_ || !is_wanted(k, kind)) return;
            if (ordered_growth::power_of(sum) != power(k, kind)) return;
            row = ordered_growth::add_rows(sum, row, rows_, rows.growth(kind, k));
        };
        add(row_sum::squares, sums.squares, done.squares);
        add(row_sum::next_squares, sums.squares, done.squares);
        add(row_sum::distances, sums.distance, done.distance);
        if (done.squares == rows_ && done.distance == rows_) needs_[k] |= pair_kernel::nothing;
        from_ = std::min({from_, done.squares, done.distance});
    }
    return from_ == rows_;
}

// Takes in each row that carries a sum to the next power of two. The last one goes first, so that a row
// is done once for all sums that it stopped.
template <class Rows> bool sum_joiner::redo_stopped(Rows& rows) {
    for (i64 row = last_stop_before(rows_); row >= 0; row = last_stop_before(row))
        if (!redo(rows, row)) return false;
    return true;
}

template <class Rows> bool sum_joiner::redo_rest(Rows& rows) {
    for (i64 row = from_; row < rows_; ++row)
        if (!redo(rows, row)) return false;
    return true;
}

// Takes one row into the sums that it is the next one of.
template <class Rows> bool sum_joiner::redo(Rows& rows, i64 row) {
    pair_kernel::class_sums redone = sums_;
    if (!rows.redo(row, redone)) return false;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        progress& done = taken_in_[k];
        if (done.squares == row) {
            sums_.of[k].squares = redone.of[k].squares;
            ++done.squares;
        }
        if (done.distance == row) {
            sums_.of[k].distance = redone.of[k].distance;
            ++done.distance;
        }
    }
    return true;
}

} // namespace qmx

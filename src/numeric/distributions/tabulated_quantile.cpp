#include "numeric/distributions/tabulated_quantile.hpp"

#include "base/work_array.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

constexpr f32 not_a_number = std::numeric_limits<f32>::quiet_NaN();

struct quantile_table {
    const f32 *x, *f;
    i32 rows;
    bool holds_quantiles; // as ordinates
    const f32* probabilities() const { return holds_quantiles ? x : f; }
    const f32* values() const { return holds_quantiles ? f : x; }
};

// ---- Checks -------------------------------------------------------------------------------------

bool refuse_size(i32 rows, i32 option) {
    E1STI(1, option);
    E1STI(2, rows);
    if (option < 1 || option > 4) {
        post(type_terminal, 4, "IOPT = %(I1).  IOPT must be 1, 2, 3, or 4.");
        return true;
    }
    if (option <= 2 && rows <= 1) {
        post(type_terminal, 1,
             "If linear interpolation is desired (IOPT = 1 or 2), the number of ordinates must be "
             "greater than 1.  IOPT = %(I1), M = %(I2).");
        return true;
    }
    if (option >= 3 && rows <= 3) {
        post(type_terminal, 2,
             "If curve fitting is desired (IOPT = 3 or 4), the number of ordinates must be greater "
             "than 3.  IOPT = %(I1), M = %(I2).");
        return true;
    }
    return false;
}

// Of an ascending column only the ends can be infinite.
bool are_finite_ends(const f32* column, i32 rows) {
    return std::isfinite(column[0]) && std::isfinite(column[rows - 1]);
}

bool refuse_table(const quantile_table& table) {
    const i32 last = table.rows - 1;
    for (i32 i = 0; i < last; ++i) {
        const bool ascends = table.x[i] < table.x[i + 1]; // false for a NaN
        if (ascends && table.f[i] <= table.f[i + 1]) continue;
        const f32* column = ascends ? table.f : table.x;
        E1STI(1, i + 1);
        E1STI(2, i + 2);
        E1STR(1, column[i]);
        E1STR(2, column[i + 1]);
        if (ascends)
            post(type_terminal, 6,
                 "F(%(I1)) = %(R1) and F(%(I2)) = %(R2).  The ordinates must not decrease.");
        else
            post(type_terminal, 5,
                 "X(%(I1)) = %(R1) and X(%(I2)) = %(R2).  The abscissas must be strictly "
                 "increasing.");
        return true;
    }
    if (!are_finite_ends(table.x, table.rows) || !are_finite_ends(table.f, table.rows)) {
        post(type_terminal, 9, "The abscissas and the ordinates must be finite.");
        return true;
    }
    const f32 least = table.probabilities()[0], greatest = table.probabilities()[last];
    if (least >= 0.0F && greatest <= 1.0F) return false;
    E1STR(1, least);
    E1STR(2, greatest);
    post(type_terminal, 7,
         "The probabilities of the table go from %(R1) to %(R2).  They must be at least 0.0 and at "
         "most 1.0.");
    return true;
}

bool refuse_probability(const quantile_table& table, f32 p) {
    const f32 least = table.probabilities()[0], greatest = table.probabilities()[table.rows - 1];
    if (p >= least && p <= greatest) return false;
    E1STR(1, p);
    E1STR(2, least);
    E1STR(3, greatest);
    post(type_terminal, 8, "P = %(R1).  P must be in the range of the table, from %(R2) to %(R3).");
    return true;
}

// ---- The curve ----------------------------------------------------------------------------------

// The first three members are read as a row of the linear system while it is solved.
struct interval {
    f64 width, quotient; // to the next row
    f64 diagonal, slope; // at this row
};

void measure(const quantile_table& table, interval* rows) {
    for (i32 i = 0; i + 1 < table.rows; ++i) {
        rows[i].width = f64{table.x[i + 1]} - f64{table.x[i]};
        rows[i].quotient = (f64{table.f[i + 1]} - f64{table.f[i]}) / rows[i].width;
    }
}

// Slopes of the spline: elimination downwards, substitution upwards. A row in the middle reads
// w(i) s(i-1) + 2 (w(i-1) + w(i)) s(i) + w(i-1) s(i+1) = 3 (w(i) q(i-1) + w(i-1) q(i)).
void solve_for_slopes(interval* rows, i32 count) {
    const i32 last = count - 1;
    const auto end_value = [](const interval& outer, const interval& inner) {
        const f64 sum = outer.width + inner.width;
        return ((outer.width + 2.0 * sum) * inner.width * outer.quotient +
                outer.width * outer.width * inner.quotient) /
               sum;
    };
    rows[0].diagonal = rows[1].width;
    rows[0].slope = end_value(rows[0], rows[1]);
    f64 above = rows[0].width + rows[1].width; // the element right of the diagonal
    for (i32 i = 1; i < last; ++i) {
        const f64 factor = -rows[i].width / rows[i - 1].diagonal;
        rows[i].diagonal = 2.0 * (rows[i - 1].width + rows[i].width) + factor * above;
        rows[i].slope =
            3.0 * (rows[i].width * rows[i - 1].quotient + rows[i - 1].width * rows[i].quotient) +
            factor * rows[i - 1].slope;
        above = rows[i - 1].width;
    }
    const interval &outer = rows[last - 1], &inner = rows[last - 2];
    const f64 factor = -(outer.width + inner.width) / outer.diagonal;
    rows[last].diagonal = inner.width + factor * above;
    rows[last].slope = (end_value(outer, inner) + factor * outer.slope) / rows[last].diagonal;
    for (i32 i = last - 1; i >= 0; --i) {
        above = i == 0 ? rows[0].width + rows[1].width : rows[i - 1].width;
        rows[i].slope = (rows[i].slope - above * rows[i + 1].slope) / rows[i].diagonal;
    }
}

void keep_from_overshooting(interval* rows, i32 count) {
    for (i32 i = 0; i < count; ++i) {
        const f64 before = rows[std::max(i - 1, 0)].quotient;
        const f64 after = rows[std::min(i, count - 2)].quotient;
        rows[i].slope = std::clamp(rows[i].slope, 0.0, 3.0 * std::min(before, after));
    }
}

// What the curve rises from the first to the part t of an interval.
f64 rise(const interval& here, const interval& next, f64 t) {
    const f64 q = here.quotient;
    const f64 second = 3.0 * q - 2.0 * here.slope - next.slope;
    const f64 third = here.slope + next.slope - 2.0 * q;
    return here.width * t * (here.slope + t * (second + t * third));
}

// The part of the interval at which the curve has risen by that much: Newton's method, kept in a
// bracket that is halved where it leaves.
f64 part_with_rise(const interval& here, const interval& next, f64 wanted) {
    constexpr i32 most_steps = 200;
    const f64 second = 3.0 * here.quotient - 2.0 * here.slope - next.slope;
    const f64 third = here.slope + next.slope - 2.0 * here.quotient;
    f64 low = 0.0, high = 1.0, t = wanted / (here.quotient * here.width);
    for (i32 step = 0; step < most_steps; ++step) { // GCOVR_EXCL_BR_LINE: the bracket closes before
        const f64 missing = wanted - rise(here, next, t);
        if (missing == 0.0) break;
        (missing > 0.0 ? low : high) = t;
        const f64 derivative = here.width * (here.slope + t * (2.0 * second + 3.0 * t * third));
        f64 moved = t + missing / derivative;
        if (!(moved > low && moved < high)) moved = 0.5 * (low + high);
        if (std::abs(moved - t) <= std::numeric_limits<f64>::epsilon() * t) break;
        t = moved;
    }
    return t;
}

// ---- Reading the table --------------------------------------------------------------------------

// Position of the first row whose probability is not below p.
i32 row_reaching(const quantile_table& table, f32 p) {
    const f32* first = table.probabilities();
    return static_cast<i32>(std::lower_bound(first, first + table.rows, p) - first);
}

f64 on_the_line(const quantile_table& table, i32 row, f64 p) {
    const f32 *probability = table.probabilities() + row, *value = table.values() + row;
    const f64 part = (p - f64{probability[0]}) / (f64{probability[1]} - f64{probability[0]});
    return f64{value[0]} + part * (f64{value[1]} - f64{value[0]});
}

f64 on_the_curve(const quantile_table& table, interval* rows, i32 row, f64 p) {
    measure(table, rows);
    solve_for_slopes(rows, table.rows);
    keep_from_overshooting(rows, table.rows);
    const interval &here = rows[row], &next = rows[row + 1];
    const f64 beyond = p - f64{table.probabilities()[row]};
    const f64 start = f64{table.values()[row]};
    return start + (table.holds_quantiles ? rise(here, next, beyond / here.width)
                                          : here.width * part_with_rise(here, next, beyond));
}

} // namespace

f32 GCIN(const f32& P, const f32* X, const f32* F, const i32& M, const i32& IOPT) {
    const numeric_frame frame("GCIN ");
    if (refuse_size(M, IOPT)) return not_a_number;
    const quantile_table table = {X, F, M, IOPT == 2 || IOPT == 4};
    if (refuse_table(table) || refuse_probability(table, P)) return not_a_number;
    const i32 row = row_reaching(table, P);
    if (table.probabilities()[row] == P) return table.values()[row];
    if (IOPT <= 2) return static_cast<f32>(on_the_line(table, row - 1, f64{P}));

    const work_array<interval> rows(M);
    if (!rows) {
        E1STI(1, M);
        post(type_terminal, tabulated_quantile_storage_code,
             "The required storage cannot be allocated.  The specified M may be too large, where M "
             "= %(I1).");
        return not_a_number;
    }
    return static_cast<f32>(on_the_curve(table, rows.data(), row - 1, f64{P}));
}

} // namespace qmx::numeric

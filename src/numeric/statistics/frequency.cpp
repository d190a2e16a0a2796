#include "numeric/statistics/frequency.hpp"

#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/statistics/class_search.hpp"
#include "numeric/statistics/exact_mean.hpp"

#include <algorithm>
#include <cmath>

namespace qmx::numeric {
namespace {

// ---- Checks -------------------------------------------------------------------------------------

bool refuse_class_count(i32 k, i32 option) {
    const i32 least = option == 1 ? 3 : option == 2 ? 2 : 1;
    if (k >= least) return false;
    E1STI(1, k);
    switch (option) {
    case 1:
        post(type_terminal, 5,
             "K = %(I1).  Since IOPT = 1, there must be at least three intervals.");
        break;
    case 2:
        post(type_terminal, 6, "K = %(I1).  Since IOPT = 2, there must be at least two intervals.");
        break;
    default: post(type_terminal, 7, "K = %(I1).  There must be at least one interval."); break;
    }
    return true;
}

bool refuse_divisions(const f32* divisions, i32 n) {
    for (i32 i = 1; i < n; ++i) {
        if (divisions[i - 1] < divisions[i]) continue;
        E1STI(1, i);
        E1STR(1, divisions[i - 1]);
        E1STI(2, i + 1);
        E1STR(2, divisions[i]);
        post(
            type_terminal, 4,
            "DIV(%(I1)) = %(R1) and DIV(%(I2)) = %(R2).  The elements of DIV must be monotonically "
            "increasing.");
        return true;
    }
    if (n == 1 && divisions[0] != divisions[0]) {
        E1STI(1, 1);
        E1STR(1, divisions[0]);
        post(type_terminal, 4,
             "DIV(%(I1)) = %(R1).  The elements of DIV must be monotonically increasing.");
        return true;
    }
    return false;
}

bool refuse_arguments(i32 n, const f32* x, i32 k, i32 option, f32 low, f32 high, const f32* div) {
    if (n < 1) {
        E1STI(1, n);
        post(type_terminal, 1, "NOBS = %(I1).  There must be at least one observation.");
        return true;
    }
    if (option < 0 || option > 3) {
        E1STL(1, "IOPT", 4);
        E1STI(1, option);
        E1STI(2, 0);
        E1STI(3, 3);
        post(type_terminal, 2,
             "%(L1) = %(I1).  %(L1) must be greater than or equal to %(I2) and less than or equal "
             "to %(I3).");
        return true;
    }
    if (refuse_class_count(k, option)) return true;
    if (option == 1 && !(low < high)) {
        E1STR(1, low);
        E1STR(2, high);
        post(type_terminal, 3,
             "XLO = %(R1) and XHI = %(R2).  The lower bound must be less than the upper bound.");
        return true;
    }
    if (option >= 2 && refuse_divisions(div, option == 2 ? k - 1 : k)) return true;
    if (ISANAN(n, x, 1) > 0) {
        post(type_terminal, 8, "X contains missing values.  Missing values are not allowed.");
        return true;
    }
    return false;
}

// ---- Equal intervals ----------------------------------------------------------------------------

// Number of the first interval from least to most that reaches up to an observation, most + 1 if
// none does. reaches(i) must be monotone; a poor guess costs time only.
template <class Real, class Reaches>
i32 first_that_reaches(Real guess, i32 least, i32 most, Reaches reaches) {
    i32 i = guess >= static_cast<Real>(most) ? most : std::max(least, truncated(guess));
    while (i > least && reaches(i - 1)) --i;
    while (i <= most && !reaches(i)) ++i;
    return i;
}

template <class Real> f32 middle_of(i32 interval, Real width, Real low) {
    return static_cast<f32>((static_cast<Real>(interval - 1) + Real{0.5}) * width + low);
}

void tally_from_smallest_to_largest(i32 n, const f32* x, i32 k, f32* div,
                                    const class_counts& counts) {
    const value_range range = range_of(x, n);
    const f32 low = range.lowest;
    const f32 width = (range.highest - low) / static_cast<f32>(k);
    const f32 tolerance = 10.0F * AMACH(4) * width;
    const auto reaches = [&](f32 distance, i32 i) {
        return distance - static_cast<f32>(i) * width <= tolerance;
    };
    for (i64 j = 0; j < n; ++j) {
        const f32 distance = x[j] - low;
        i32 found = 1;
        if (k > 1 && !reaches(distance, 1)) {
            found = first_that_reaches(distance / width, 2, k - 1,
                                       [&](i32 i) { return reaches(distance, i); });
            if (found < k && !(distance > static_cast<f32>(found - 1) * width)) found = k;
        }
        counts.add(found);
    }
    if (div != nullptr)
        for (i32 i = 1; i <= k; ++i) div[i - 1] = middle_of(i, width, low);
}

// In f32; in f64 where the limits lie further apart than f32 reaches.
template <class Real>
void tally_between(i32 n, const f32* x, i32 k, Real low, Real high, f32* div,
                   const class_counts& counts) {
    const i32 inner = k - 2;
    const Real width = (high - low) / static_cast<Real>(inner);
    for (i64 j = 0; j < n; ++j) {
        if (x[j] <= low) {
            counts.add(1);
        } else if (x[j] > high) {
            counts.add(k);
        } else {
            const Real distance = x[j] - low;
            const i32 found = first_that_reaches(distance / width, 1, inner, [&](i32 i) {
                return distance <= static_cast<Real>(i) * width;
            });
            counts.add(std::min(found, inner) + 1);
        }
    }
    if (div == nullptr) return;
    div[0] = static_cast<f32>(low - width / 2);
    for (i32 i = 1; i <= inner; ++i) div[i] = middle_of(i, width, low);
    div[k - 1] = static_cast<f32>(high + width / 2);
}

// Whether finite limits lie further apart than f32 reaches.
bool is_beyond_f32(f32 low, f32 high) {
    return std::isfinite(low) && std::isfinite(high) &&
           f64{high} - f64{low} > f64{std::numeric_limits<f32>::max()};
}

// ---- Class marks --------------------------------------------------------------------------------

void tally_by_marks(i32 n, const f32* x, i32 k, f32 half_width, const f32* marks,
                    const class_counts& counts) {
    for (i64 j = 0; j < n; ++j) {
        const f32 value = x[j];
        // x - DIV(i) falls as i rises: the first i where it is at most CLHW decides.
        const f32* mark = std::partition_point(
            marks, marks + k, [&](f32 each) { return !(value - each <= half_width); });
        if (mark != marks + k && std::abs(value - *mark) <= half_width)
            counts.add(static_cast<i32>(mark - marks) + 1);
    }
}

} // namespace

void OWFRQ(const i32& NOBS, const f32* X, const i32& K, const i32& IOPT, const f32& XLO,
           const f32& XHI, const f32& CLHW, f32* DIV, f32* TABLE) {
    const numeric_frame frame("OWFRQ ");
    if (refuse_arguments(NOBS, X, K, IOPT, XLO, XHI, DIV)) return;
    const class_counts counts(TABLE, K);
    switch (IOPT) {
    case 0: tally_from_smallest_to_largest(NOBS, X, K, DIV, counts); break;
    case 1:
        if (is_beyond_f32(XLO, XHI))
            tally_between<f64>(NOBS, X, K, XLO, XHI, DIV, counts);
        else
            tally_between<f32>(NOBS, X, K, XLO, XHI, DIV, counts);
        break;
    case 2: tally_by_cut_points(NOBS, X, K, DIV, counts); break;
    default: tally_by_marks(NOBS, X, K, CLHW, DIV, counts); break;
    }
    counts.finish();
}

i32 ISANAN(const i32& N, const f32* SX, const i32& INCX) {
    i32 found = 0;
    if (INCX == 1) {
        for (i64 i = 0; i < N; ++i) found += SX[i] != SX[i] ? 1 : 0;
    } else {
        for (i64 i = 0; i < N; ++i) {
            const f32 value = SX[i * INCX];
            found += value != value ? 1 : 0;
        }
    }
    return found;
}

} // namespace qmx::numeric

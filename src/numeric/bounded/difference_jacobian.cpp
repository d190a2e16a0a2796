#include "numeric/bounded/difference_jacobian.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {

namespace {

constexpr f64 widening = 4.0;
constexpr i32 most_shrinks = 16;

// One parameter moved by offsets, and the residuals there.
class offset_line {
public:
    offset_line(const residual_function& function, f64 scale, const f64* lower, const f64* upper,
                const f64* x, i64 j, f64* work)
        : function_(function), scale_(scale), x_(work), at_(x[j]), j_(j), lower_(lower[j]),
          upper_(upper[j]) {
        std::copy_n(x, function.n, x_);
    }

    f64 room(f64 side) const { return side > 0.0 ? upper_ - at_ : at_ - lower_; }
    // A parameter near zero counts as a part of its typical size.
    f64 size(f64 typical) const {
        constexpr f64 part = 1.0 / 32.0;
        const f64 size = std::max(std::abs(at_), part * typical);
        return size > 0.0 ? size : std::min(1.0, upper_ - lower_);
    }
    // Evaluates at at + offset, rounded to a representable parameter within the bounds. offset
    // becomes the rounded distance: not 0 where there is room.
    f64 evaluate_at(f64& offset, f64* f) {
        f64 place = nearest_parameter(function_, at_ + offset);
        if (place == at_) place = next_parameter(function_, at_, at_ + offset);
        x_[j_] = std::min(std::max(place, lower_), upper_);
        offset = x_[j_] - at_;
        if (offset == 0.0) return std::numeric_limits<f64>::infinity();
        return evaluate(function_, scale_, x_, f);
    }
    const f64* x() const { return x_; }

private:
    const residual_function& function_;
    f64 scale_;
    f64* x_;
    f64 at_;
    i64 j_;
    f64 lower_, upper_;
};

bool changed(const f64* f, const f64* f0, i64 m) {
    return !std::equal(f, f + m, f0);
}

void quotient(const f64* f, const f64* f0, f64 offset, i64 m, f64* column) {
    for (i64 i = 0; i < m; ++i) column[i] = (f[i] - f0[i]) / offset;
}

// Three-point formula; 0 where a point is infeasible or not finite, or no residual changed.
f64 three_point_column(offset_line& line, f64 step, const f64* f0, i64 m, f64* column,
                       const difference_storage& storage) {
    f64 first = step, second = -step;
    if (line.room(1.0) < step || line.room(-1.0) < step) {
        const f64 side = line.room(1.0) >= line.room(-1.0) ? 1.0 : -1.0;
        if (line.room(side) < 2.0 * step) return 0.0;
        first = side * step;
        second = 2.0 * first;
    }
    if (std::isinf(line.evaluate_at(first, storage.first)) ||
        std::isinf(line.evaluate_at(second, storage.second)) || first == second)
        return 0.0;
    if (!changed(storage.first, f0, m) && !changed(storage.second, f0, m)) return 0.0;
    const f64 weight_of_first = second / (second - first);
    const f64 weight_of_second = first / (second - first);
    for (i64 i = 0; i < m; ++i)
        column[i] = (storage.first[i] - f0[i]) / first * weight_of_first -
                    (storage.second[i] - f0[i]) / second * weight_of_second;
    return std::abs(first);
}

// Forward difference, or backward where the forward one does not serve; the step shrinks while the
// residuals are finite on neither side. 0 if no residual changed.
f64 two_point_column(offset_line& line, f64 step, f64 side, const f64* f0, i64 m, f64* column,
                     const difference_storage& storage) {
    for (i32 shrink = 0; shrink < most_shrinks; ++shrink, step /= widening) {
        bool is_finite = false;
        for (const f64 direction : {side, -side}) {
            f64 offset = direction * step;
            if (std::isinf(line.evaluate_at(offset, storage.first))) continue;
            is_finite = true;
            if (!changed(storage.first, f0, m)) continue;
            quotient(storage.first, f0, offset, m, column);
            return std::abs(offset);
        }
        if (is_finite) return 0.0;
    }
    return 0.0;
}

// Two points, further and further apart, on both sides. 0 if no residual changed as far as the
// bounds, or without a bound as far as farthest.
f64 widened_column(offset_line& line, f64 step, f64 side, f64 farthest, const f64* f0, i64 m,
                   f64* column, const difference_storage& storage) {
    bool has_room = true;
    for (; has_room; step *= widening) {
        has_room = false;
        for (const f64 direction : {side, -side}) {
            f64 offset = direction * step;
            const f64 room = line.room(direction);
            has_room = has_room || (std::isinf(room) ? farthest : room) > step;
            if (std::isinf(line.evaluate_at(offset, storage.first)) ||
                !changed(storage.first, f0, m))
                continue;
            quotient(storage.first, f0, offset, m, column);
            return std::abs(offset);
        }
    }
    return 0.0;
}

} // namespace

difference_step difference_column(const residual_function& function, f64 scale,
                                  const difference_rule& rule, const f64* lower, const f64* upper,
                                  const f64* x, const f64* f, i64 j, f64* column,
                                  const difference_storage& storage) {
    const i64 m = function.m;
    offset_line line(function, scale, lower, upper, x, j, storage.x);
    const f64 size = line.size(rule.typical_size);
    const f64 step = rule.step > 0.0 ? rule.step : rule.relative_step * size;
    f64 side = 1.0;
    if (line.room(side) < step && line.room(-1.0) > line.room(side)) side = -1.0;
    f64 length = 0.0;
    if (rule.central_step > 0.0)
        length = three_point_column(line, rule.central_step * size, f, m, column, storage);
    if (length == 0.0) length = two_point_column(line, step, side, f, m, column, storage);
    if (length > 0.0) return {length, false};
    const f64 farthest = std::max(size, 1.0) / rule.relative_step;
    length = widened_column(line, step * widening, side, farthest, f, m, column, storage);
    if (length == 0.0) std::fill_n(column, m, 0.0);
    return {length, length > 0.0};
}

} // namespace qmx::numeric

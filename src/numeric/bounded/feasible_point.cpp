#include "numeric/bounded/feasible_point.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

f64 row_value(const dense_matrix& rows, i64 i, const f64* x) {
    f64 sum = 0.0;
    for (i64 j = 0; j < rows.columns; ++j) sum += rows(i, j) * x[j];
    return sum;
}

f64 row_size(const dense_matrix& rows, i64 i, const f64* x) {
    f64 sum = 0.0;
    for (i64 j = 0; j < rows.columns; ++j) sum += std::abs(rows(i, j) * x[j]);
    return sum;
}

// Scaled against overflow.
f64 row_length(const dense_matrix& rows, i64 i) {
    f64 largest = 0.0, sum = 0.0;
    for (i64 j = 0; j < rows.columns; ++j) largest = std::max(largest, std::abs(rows(i, j)));
    if (!(largest > 0.0)) return 0.0;
    for (i64 j = 0; j < rows.columns; ++j) sum += rows(i, j) / largest * (rows(i, j) / largest);
    return largest * std::sqrt(sum);
}

struct repair {
    f64 value;     // of the parameter
    f64 violation; // of the row, in magnitude
};

// The best repair of row i by parameter j alone: tries a few ulps around the value that meets it.
repair repair_with(const residual_function& function, const fit_limits& limits, i64 i, i64 j,
                   f64 violation, f64* x) {
    constexpr f64 infinity = std::numeric_limits<f64>::infinity();
    const f64 before = x[j];
    repair best{before, std::abs(violation)};
    const f64 goal = before - violation / limits.rows(i, j);
    f64 value = nearest_parameter(function, goal);
    constexpr i32 most_ulps = 4;
    for (i32 k = 0; k < most_ulps && best.violation != 0.0; ++k) {
        if (!(value >= limits.lower[j] && value <= limits.upper[j])) break;
        x[j] = value;
        const f64 left = std::abs(row_violation(limits, i, x));
        if (left < best.violation) best = {value, left};
        value = next_parameter(function, value, goal > before ? infinity : -infinity);
    }
    x[j] = before;
    return best;
}

} // namespace

f64 row_violation(const fit_limits& limits, i64 i, const f64* x) {
    const f64 value = row_value(limits.rows, i, x);
    if (value < limits.row_lower[i]) return value - limits.row_lower[i];
    if (value > limits.row_upper[i]) return value - limits.row_upper[i];
    return 0.0;
}

void put_within_bounds(const fit_limits& limits, f64* x) {
    for (i64 j = 0; j < limits.rows.columns; ++j)
        x[j] = std::min(std::max(x[j], limits.lower[j]), limits.upper[j]);
}

void round_to_representable(const residual_function& function, const fit_limits& limits, f64* x) {
    for (i64 j = 0; j < function.n; ++j) x[j] = nearest_parameter(function, x[j]);
    put_within_bounds(limits, x);
    constexpr i32 sweeps = 3; // a repair may violate another row
    for (i32 sweep = 0; sweep < sweeps; ++sweep) {
        bool is_repaired = true;
        for (i64 i = 0; i < limits.rows.rows; ++i) {
            const f64 violation = row_violation(limits, i, x);
            // Larger violations are not rounding: an infeasible problem.
            if (violation == 0.0 ||
                std::abs(violation) > 256.0 * epsilon_of(function) * row_size(limits.rows, i, x))
                continue;
            is_repaired = false;
            i64 chosen = -1;
            repair best{0.0, std::abs(violation)};
            for (i64 j = 0; j < function.n; ++j) {
                if (limits.rows(i, j) == 0.0) continue;
                const repair found = repair_with(function, limits, i, j, violation, x);
                if (!(found.violation < best.violation)) continue;
                best = found;
                chosen = j;
            }
            if (chosen >= 0) x[chosen] = best.value;
        }
        if (is_repaired) return;
    }
}

feasible_storage::feasible_storage(storage_plan& plan, i64 n, i64 constraints)
    : model(plan.take<f64>(std::max(n, constraints), n + constraints)),
      offset(plan.take<f64>(std::max(n, constraints))), lower(plan.take<f64>(n + constraints)),
      upper(plan.take<f64>(n + constraints)), step(plan.take<f64>(n + constraints)),
      rows(plan.take<f64>(constraints, n)), row_lower(plan.take<f64>(constraints)),
      row_upper(plan.take<f64>(constraints)), target(plan.take<f64>(n)) {}

namespace {

// Moves x to a point with the least violation: minimises |C x - z| over x within its bounds and z
// within the limits, with the rows scaled to length 1.
void reduce_violation(const fit_limits& limits, f64* x, const feasible_storage& storage,
                      const step_storage& inner) {
    const i64 n = limits.rows.columns;
    const i64 constraints = limits.rows.rows;
    const dense_matrix model{storage.model, constraints, n + constraints, constraints};
    std::fill_n(model.first, constraints * (n + constraints), 0.0);
    for (i64 i = 0; i < constraints; ++i) {
        f64 length = row_length(limits.rows, i);
        if (!(length > 0.0)) length = 1.0;
        for (i64 j = 0; j < n; ++j) model(i, j) = limits.rows(i, j) / length;
        model(i, n + i) = -1.0;
        const f64 violation = row_violation(limits, i, x);
        const f64 z = row_value(limits.rows, i, x) - violation;
        storage.offset[i] = violation / length;
        storage.lower[n + i] = (limits.row_lower[i] - z) / length;
        storage.upper[n + i] = (limits.row_upper[i] - z) / length;
    }
    for (i64 j = 0; j < n; ++j) {
        storage.lower[j] = limits.lower[j] - x[j];
        storage.upper[j] = limits.upper[j] - x[j];
    }
    const model_problem problem{model,         storage.offset, nullptr,
                                storage.lower, storage.upper,  {nullptr, 0, n + constraints, 0},
                                nullptr,       nullptr};
    constrained_step(problem, storage.step, inner);
    for (i64 j = 0; j < n; ++j) x[j] += storage.step[j];
    put_within_bounds(limits, x);
}

// Moves x to the point nearest to storage.target that violates the constraints no more than x.
void approach_target(const fit_limits& limits, f64* x, const feasible_storage& storage,
                     const step_storage& inner) {
    const i64 n = limits.rows.columns;
    const i64 constraints = limits.rows.rows;
    const dense_matrix distance{storage.model, n, n, n};
    std::fill_n(distance.first, n * n, 0.0);
    for (i64 j = 0; j < n; ++j) {
        distance(j, j) = 1.0;
        storage.offset[j] = x[j] - storage.target[j];
        storage.lower[j] = limits.lower[j] - x[j];
        storage.upper[j] = limits.upper[j] - x[j];
    }
    for (i64 i = 0; i < constraints; ++i) {
        const f64 value = row_value(limits.rows, i, x);
        storage.row_lower[i] = std::min(0.0, limits.row_lower[i] - value);
        storage.row_upper[i] = std::max(0.0, limits.row_upper[i] - value);
    }
    const model_problem problem{distance,          storage.offset,   nullptr,
                                storage.lower,     storage.upper,    limits.rows,
                                storage.row_lower, storage.row_upper};
    constrained_step(problem, storage.step, inner);
    for (i64 j = 0; j < n; ++j) x[j] += storage.step[j];
    put_within_bounds(limits, x);
}

} // namespace

void meet_constraints(const fit_limits& limits, f64* x, const feasible_storage& storage,
                      const step_storage& inner) {
    bool is_met = true;
    for (i64 i = 0; i < limits.rows.rows; ++i)
        is_met = is_met && row_violation(limits, i, x) == 0.0;
    if (is_met) return;
    std::copy_n(x, limits.rows.columns, storage.target);
    reduce_violation(limits, x, storage, inner);
    approach_target(limits, x, storage, inner);
}

} // namespace qmx::numeric

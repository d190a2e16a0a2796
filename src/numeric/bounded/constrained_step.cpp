#include "numeric/bounded/constrained_step.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

constexpr f64 epsilon = std::numeric_limits<f64>::epsilon();
constexpr f64 infinity = std::numeric_limits<f64>::infinity();

f64 dot(const f64* a, const f64* b, i64 count) {
    f64 sum = 0.0;
    for (i64 i = 0; i < count; ++i) sum += a[i] * b[i];
    return sum;
}

f64 row_product(const dense_matrix& rows, i64 row, const f64* s) {
    f64 sum = 0.0;
    for (i64 j = 0; j < rows.columns; ++j) sum += rows(row, j) * s[j];
    return sum;
}

f64 row_length(const dense_matrix& rows, i64 row) {
    f64 sum = 0.0;
    for (i64 j = 0; j < rows.columns; ++j) sum += rows(row, j) * rows(row, j);
    return std::sqrt(sum);
}

// v := v + R s
void add_image(const dense_matrix& r, const f64* s, f64* v) {
    for (i64 j = 0; j < r.columns; ++j) {
        if (s[j] == 0.0) continue;
        const f64* column = r.column(j);
        for (i64 i = 0; i < r.rows; ++i) v[i] += column[i] * s[j];
    }
}

// The step so far and its active limits.
class active_set {
public:
    active_set(const model_problem& problem, f64* s, const step_storage& storage)
        : problem_(problem), s_(s), n_(problem.size()), work_(storage) {}

    void run() {
        std::fill_n(s_, n_, 0.0);
        std::fill_n(work_.row_state, problem_.rows.rows, limit_state::inactive);
        update_gradient();
        hold_bounds_pushed_against();
        const i64 most_changes = 20 + 10 * (n_ + problem_.rows.rows);
        for (i64 change = 0; change < most_changes; ++change) {
            gather();
            make_basis();
            const bool is_whole_step = basis_size_ == 0 || move();
            update_gradient();
            if (is_whole_step && !release_worst()) return;
        }
    }

private:
    void update_gradient() {
        std::copy_n(problem_.d, problem_.r.rows, work_.residual);
        add_image(problem_.r, s_, work_.residual);
        for (i64 j = 0; j < n_; ++j) {
            work_.gradient[j] = dot(problem_.r.column(j), work_.residual, problem_.r.rows);
            if (problem_.curvature != nullptr)
                work_.gradient[j] += dot(problem_.curvature + j * n_, s_, n_);
        }
    }

    // First guess of the active bounds; saves one change of the active set for each.
    void hold_bounds_pushed_against() {
        for (i64 j = 0; j < n_; ++j) {
            limit_state& state = work_.bound_state[j];
            state = limit_state::inactive;
            const bool has_no_room = problem_.lower[j] == problem_.upper[j];
            if (problem_.lower[j] == 0.0 && (work_.gradient[j] >= 0.0 || has_no_room))
                state = limit_state::at_lower;
            else if (problem_.upper[j] == 0.0 && work_.gradient[j] <= 0.0)
                state = limit_state::at_upper;
        }
    }

    void gather() {
        free_ = 0;
        for (i32 j = 0; j < n_; ++j)
            if (work_.bound_state[j] == limit_state::inactive) work_.free_variables[free_++] = j;
        active_ = 0;
        for (i32 i = 0; i < problem_.rows.rows; ++i)
            if (work_.row_state[i] != limit_state::inactive && active_ < free_)
                work_.active[active_++] = i;
    }

    // Null-space basis: moves of the free variables that keep the active rows.
    void make_basis() {
        active_factors_ = {work_.active_rows, free_, active_, n_};
        for (i64 k = 0; k < active_; ++k)
            for (i64 j = 0; j < free_; ++j)
                active_factors_(j, k) = problem_.rows(work_.active[k], work_.free_variables[j]);
        factor(active_factors_, work_.active_beta, nullptr);
        basis_size_ = free_ - active_;
        basis_ = {work_.basis, free_, basis_size_, n_};
        for (i64 c = 0; c < basis_size_; ++c) {
            f64* column = basis_.column(c);
            std::fill_n(column, free_, 0.0);
            column[active_ + c] = 1.0;
            apply_q(active_factors_, work_.active_beta, column);
        }
    }

    // Moves towards the minimum in the null space, up to the first blocking limit, which becomes
    // active. True if none blocked.
    bool move() {
        const bool is_bounded =
            problem_.curvature == nullptr ? solve_linear_model() : solve_quadratic_model();
        f64* direction = work_.direction;
        std::fill_n(direction, n_, 0.0);
        for (i64 j = 0; j < free_; ++j)
            for (i64 c = 0; c < basis_size_; ++c)
                direction[work_.free_variables[j]] += basis_(j, c) * work_.reduced[c];

        blocking_limit blocking{is_bounded ? 1.0 : infinity, nullptr, -1, limit_state::inactive};
        find_blocking_bound(direction, blocking);
        find_blocking_row(direction, blocking);
        if (!std::isfinite(blocking.length)) return true; // no curvature and no limit
        for (i64 j = 0; j < n_; ++j)
            s_[j] = std::clamp(s_[j] + blocking.length * direction[j], problem_.lower[j],
                               problem_.upper[j]);
        if (blocking.state == nullptr) return true;
        *blocking.state = blocking.side;
        if (blocking.bound >= 0)
            s_[blocking.bound] = blocking.side == limit_state::at_lower
                                     ? problem_.lower[blocking.bound]
                                     : problem_.upper[blocking.bound];
        return false;
    }

    // The first limit in the way of a move.
    struct blocking_limit {
        f64 length; // of the move, in units of the direction
        limit_state* state;
        i64 bound; // -1: a row
        limit_state side;

        bool consider(f64 at, f64 rate, f64 lower, f64 upper) {
            const f64 limit = rate < 0.0 ? lower : upper;
            const f64 reach = std::max(0.0, (limit - at) / rate);
            if (!(reach < length)) return false;
            length = reach;
            side = rate < 0.0 ? limit_state::at_lower : limit_state::at_upper;
            return true;
        }
    };

    void find_blocking_bound(const f64* direction, blocking_limit& blocking) const {
        for (i64 k = 0; k < free_; ++k) {
            const i64 j = work_.free_variables[k];
            if (direction[j] == 0.0 ||
                !blocking.consider(s_[j], direction[j], problem_.lower[j], problem_.upper[j]))
                continue;
            blocking.state = work_.bound_state + j;
            blocking.bound = j;
        }
    }

    void find_blocking_row(const f64* direction, blocking_limit& blocking) const {
        const f64 direction_length = std::sqrt(dot(direction, direction, n_));
        for (i64 i = 0; i < problem_.rows.rows; ++i) {
            if (work_.row_state[i] != limit_state::inactive) continue;
            const f64 rate = row_product(problem_.rows, i, direction);
            // A rate within rounding of 0 is a move along the row.
            if (!(std::abs(rate) >
                  64.0 * epsilon * row_length(problem_.rows, i) * direction_length))
                continue;
            if (!blocking.consider(row_product(problem_.rows, i, s_), rate, problem_.row_lower[i],
                                   problem_.row_upper[i]))
                continue;
            blocking.state = work_.row_state + i;
            blocking.bound = -1;
        }
    }

    // image := R Z
    void make_image() {
        image_ = {work_.image, problem_.r.rows, basis_size_, problem_.r.rows};
        std::fill_n(work_.image, image_.rows * image_.columns, 0.0);
        for (i64 c = 0; c < basis_size_; ++c)
            for (i64 k = 0; k < free_; ++k) {
                const f64* column = problem_.r.column(work_.free_variables[k]);
                for (i64 i = 0; i < image_.rows; ++i) image_(i, c) += column[i] * basis_(k, c);
            }
    }

    // Basic least-squares solution of (R Z) p = -residual; numerically dependent columns get 0.
    bool solve_linear_model() {
        make_image();
        factor(image_, work_.image_beta, work_.order);
        f64* right = work_.residual; // overwritten by the next update_gradient
        for (i64 i = 0; i < image_.rows; ++i) right[i] = -right[i];
        apply_q_transposed(image_, work_.image_beta, right);
        const f64 size = static_cast<f64>(std::max(image_.rows, image_.columns));
        const i64 rank = rank_of_r(image_, size * epsilon);
        solve_r(image_, rank, right);
        std::fill_n(work_.reduced, basis_size_, 0.0);
        for (i64 c = 0; c < rank; ++c) work_.reduced[work_.order[c]] = right[c];
        return true;
    }

    // hessian := Z'(R'R + S)Z
    void make_reduced_hessian(const dense_matrix& hessian) {
        make_image();
        for (i64 c = 0; c < basis_size_; ++c) {
            for (i64 j = 0; j < free_; ++j) {
                f64 sum = 0.0;
                for (i64 k = 0; k < free_; ++k)
                    sum +=
                        problem_.curvature[work_.free_variables[j] + work_.free_variables[k] * n_] *
                        basis_(k, c);
                work_.direction[j] = sum;
            }
            for (i64 e = 0; e < basis_size_; ++e)
                hessian(e, c) = dot(image_.column(e), image_.column(c), image_.rows) +
                                dot(basis_.column(e), work_.direction, free_);
        }
    }

    // The minimum if the reduced Hessian is positive definite; otherwise a direction of negative
    // curvature, and false.
    bool solve_quadratic_model() {
        const dense_matrix hessian = {work_.hessian, basis_size_, basis_size_, n_};
        make_reduced_hessian(hessian);
        f64* p = work_.reduced;
        f64 largest = 0.0;
        for (i64 c = 0; c < basis_size_; ++c) {
            p[c] = 0.0;
            for (i64 j = 0; j < free_; ++j)
                p[c] -= basis_(j, c) * work_.gradient[work_.free_variables[j]];
            largest = std::max(largest, std::abs(hessian(c, c)));
        }
        // Upper Cholesky factor, as long as the pivots are positive.
        for (i64 c = 0; c < basis_size_; ++c) {
            for (i64 e = 0; e <= c; ++e) {
                f64 sum = hessian(e, c);
                for (i64 k = 0; k < e; ++k) sum -= hessian(k, e) * hessian(k, c);
                if (e < c) {
                    hessian(e, c) = sum / hessian(e, e);
                } else if (sum > 4.0 * epsilon * largest) {
                    hessian(c, c) = std::sqrt(sum);
                } else {
                    follow_negative_curvature(hessian, c);
                    return false;
                }
            }
        }
        solve_r_transposed(hessian, basis_size_, p);
        solve_r(hessian, basis_size_, p);
        return true;
    }

    // After a failed pivot in column c: p := (-x, 1, 0...) with H x = column c in the leading part
    // has that pivot as its curvature. Its sign makes the model decrease.
    void follow_negative_curvature(const dense_matrix& hessian, i64 c) {
        f64* p = work_.reduced;
        f64* downhill = work_.direction;
        std::copy_n(p, basis_size_, downhill);
        std::fill_n(p, basis_size_, 0.0);
        for (i64 k = 0; k < c; ++k) p[k] = -hessian(k, c);
        solve_r(hessian, c, p);
        p[c] = 1.0;
        if (dot(p, downhill, basis_size_) < 0.0)
            for (i64 k = 0; k <= c; ++k) p[k] = -p[k];
    }

    // Multipliers of the active rows; 0 if the rows are numerically dependent.
    void make_multipliers() {
        f64* multipliers = work_.multipliers;
        for (i64 k = 0; k < free_; ++k) work_.reduced[k] = work_.gradient[work_.free_variables[k]];
        apply_q_transposed(active_factors_, work_.active_beta, work_.reduced);
        std::fill_n(multipliers, active_, 0.0);
        if (rank_of_r(active_factors_, epsilon) != active_) return;
        std::copy_n(work_.reduced, active_, multipliers);
        solve_r(active_factors_, active_, multipliers);
    }

    // Releases the active limit with the worst multiplier. False if no multiplier has the wrong
    // sign: the step is the minimum.
    bool release_worst() {
        make_multipliers();
        const f64* multipliers = work_.multipliers;
        const f64 start = std::sqrt(dot(problem_.d, problem_.d, problem_.r.rows));
        f64 worst = 0.0;
        limit_state* released = nullptr;
        const auto consider = [&](limit_state& state, f64 multiplier, f64 tolerance) {
            const f64 pull = state == limit_state::at_lower ? -multiplier : multiplier;
            if (pull > tolerance && pull > worst) {
                worst = pull;
                released = &state;
            }
        };
        for (i64 k = 0; k < active_; ++k) {
            const i64 i = work_.active[k];
            if (problem_.row_lower[i] == problem_.row_upper[i]) continue;
            const f64 length = row_length(problem_.rows, i);
            consider(work_.row_state[i], multipliers[k] * length, 64.0 * epsilon * start);
        }
        for (i64 j = 0; j < n_; ++j) {
            if (work_.bound_state[j] == limit_state::inactive) continue;
            if (problem_.lower[j] == problem_.upper[j]) continue;
            f64 multiplier = work_.gradient[j];
            for (i64 k = 0; k < active_; ++k)
                multiplier -= problem_.rows(work_.active[k], j) * multipliers[k];
            const f64* column = problem_.r.column(j);
            const f64 length = std::sqrt(dot(column, column, problem_.r.rows));
            consider(work_.bound_state[j], multiplier, 64.0 * epsilon * length * start);
        }
        if (released == nullptr) return false;
        *released = limit_state::inactive;
        return true;
    }

    const model_problem& problem_;
    f64* s_;
    i64 n_;
    const step_storage& work_;
    i64 free_ = 0, active_ = 0, basis_size_ = 0;
    dense_matrix active_factors_{}, basis_{}, image_{};
};

} // namespace

step_storage::step_storage(storage_plan& plan, i64 variables, i64 rows_of_r, i64 constraints)
    : residual(plan.take<f64>(rows_of_r)), gradient(plan.take<f64>(variables)),
      direction(plan.take<f64>(variables)), reduced(plan.take<f64>(variables)),
      multipliers(plan.take<f64>(variables)), active_rows(plan.take<f64>(variables, variables)),
      active_beta(plan.take<f64>(variables)), basis(plan.take<f64>(variables, variables)),
      image(plan.take<f64>(rows_of_r, variables)), image_beta(plan.take<f64>(variables)),
      hessian(plan.take<f64>(variables, variables)), order(plan.take<i32>(variables)),
      free_variables(plan.take<i32>(variables)), active(plan.take<i32>(constraints)),
      bound_state(plan.take<limit_state>(variables)),
      row_state(plan.take<limit_state>(constraints)) {}

void constrained_step(const model_problem& problem, f64* s, const step_storage& storage) {
    active_set(problem, s, storage).run();
}

f64 model_change(const model_problem& problem, const f64* s, f64* work) {
    const i64 n = problem.size();
    // 1/2 |Rs + d|^2 - 1/2 |d|^2 = Rs . (d + Rs / 2), which does not cancel.
    std::fill_n(work, problem.r.rows, 0.0);
    add_image(problem.r, s, work);
    f64 change = 0.0;
    for (i64 i = 0; i < problem.r.rows; ++i) change += work[i] * (problem.d[i] + 0.5 * work[i]);
    if (problem.curvature != nullptr)
        for (i64 j = 0; j < n; ++j) change += 0.5 * s[j] * dot(problem.curvature + j * n, s, n);
    return change;
}

} // namespace qmx::numeric

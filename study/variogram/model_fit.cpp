#include "study/variogram/model_fit.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "study/base/portable_math.hpp"

// Sums in their written order, hence the same bits whatever the processor; nothing under the LGPL.
#define EIGEN_DONT_VECTORIZE
#define EIGEN_MPL2_ONLY
#include <unsupported/Eigen/NonLinearOptimization>

namespace qmx_study {

namespace {

using vector = Eigen::VectorXd;

// Nugget and partial sill that fit best for one range, and what is then left.
struct linear_part {
    double nugget = 0, partial_sill = 0, squares = 0;
};

// The problem in pure numbers: distances in the longest, semivariances in the greatest, weights with a
// mean of 1. For one range the nugget and the partial sill follow by linear least squares, so only the
// logarithm of the range is sought (variable projection).
// G. Golub, V. Pereyra: Separable nonlinear least squares (2003); L. Kaufman (1975) for the derivative.
class profile {
public:
    profile(const std::vector<variogram_lag>& lags, model_shape model, lag_weights weights,
            const range_bounds& bounds);

    double range_at(double log_range) const; // in the unit of the distances
    double log_width() const { return width; }
    std::size_t lags() const { return distances.size(); }
    double unit_of_semivariance() const { return greatest; }
    double unit_of_weights() const { return mean_weight; }

    linear_part solve(double log_range) const;
    void residuals(double log_range, vector& result) const;
    // By the logarithm of the range.
    void derivatives(double log_range, vector& result) const;

private:
    std::vector<double> rises_at(double log_range) const;
    linear_part solve(const std::vector<double>& rises) const;
    double squares_of(const std::vector<double>& rises, double nugget, double partial_sill) const;
    double mean_of(const std::vector<double>& numbers) const; // weighted

    model_shape shape;
    std::vector<double> distances, semivariances, weight;
    double greatest = 0, mean_weight = 0, least_range = 0, most_range = 0, width = 0;
};

double weight_of(const variogram_lag& lag, lag_weights weights) {
    switch (weights) {
    case lag_weights::equal: return 1;
    case lag_weights::pairs: return lag.pairs;
    case lag_weights::pairs_by_distance: break;
    }
    return lag.pairs / (lag.distance * lag.distance);
}

profile::profile(const std::vector<variogram_lag>& lags, model_shape model, lag_weights weights,
                 const range_bounds& bounds)
    : shape(model), least_range(bounds.least), most_range(bounds.most),
      width(portable::logarithm(bounds.most / bounds.least)) {
    for (const variogram_lag& lag : lags) {
        greatest = std::max(greatest, lag.semivariance);
        weight.push_back(weight_of(lag, weights));
        mean_weight += weight.back() / static_cast<double>(lags.size());
    }
    for (std::size_t i = 0; i < lags.size(); ++i) {
        distances.push_back(lags[i].distance);
        semivariances.push_back(lags[i].semivariance / greatest);
        weight[i] /= mean_weight;
    }
}

double profile::range_at(double log_range) const {
    if (log_range >= width) return most_range;
    return least_range / portable::exponential_decay(-std::max(log_range, 0.0));
}

std::vector<double> profile::rises_at(double log_range) const {
    const double range = range_at(log_range);
    std::vector<double> rises;
    for (const double distance : distances) rises.push_back(rise(shape, distance / range));
    return rises;
}

double profile::mean_of(const std::vector<double>& numbers) const {
    double sum = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) sum += weight[i] * numbers[i];
    return sum / static_cast<double>(numbers.size());
}

double profile::squares_of(const std::vector<double>& rises, double nugget,
                           double partial_sill) const {
    double squares = 0;
    for (std::size_t i = 0; i < rises.size(); ++i) {
        const double left = semivariances[i] - nugget - partial_sill * rises[i];
        squares += weight[i] * left * left;
    }
    return squares;
}

// Both parameters free, or the better one of the two edges where one of them is 0: semivariances and
// rises are not negative, hence neither are the parameters there.
linear_part profile::solve(const std::vector<double>& rises) const {
    const double mean_rise = mean_of(rises), mean = mean_of(semivariances);
    double spread = 0, together = 0, raw_spread = 0, raw_together = 0;
    for (std::size_t i = 0; i < rises.size(); ++i) {
        const double off = rises[i] - mean_rise;
        spread += weight[i] * off * off;
        together += weight[i] * off * (semivariances[i] - mean);
        raw_spread += weight[i] * rises[i] * rises[i];
        raw_together += weight[i] * rises[i] * semivariances[i];
    }
    constexpr double flat =
        1e-24; // all lags beyond the range: nothing tells the nugget from the sill
    const linear_part level{mean, 0, squares_of(rises, mean, 0)};
    if (!(spread > flat * raw_spread)) return level;
    const double partial_sill = together / spread;
    const double nugget = mean - partial_sill * mean_rise;
    if (partial_sill > 0 && nugget > 0)
        return {nugget, partial_sill, squares_of(rises, nugget, partial_sill)};
    const double alone = raw_together / raw_spread;
    const linear_part without_nugget{0, alone, squares_of(rises, 0, alone)};
    return without_nugget.squares < level.squares ? without_nugget : level;
}

linear_part profile::solve(double log_range) const {
    return solve(rises_at(log_range));
}

void profile::residuals(double log_range, vector& result) const {
    const std::vector<double> rises = rises_at(log_range);
    const linear_part part = solve(rises);
    for (std::size_t i = 0; i < rises.size(); ++i)
        result[static_cast<Eigen::Index>(i)] =
            std::sqrt(weight[i]) * (semivariances[i] - part.nugget - part.partial_sill * rises[i]);
}

// What the free linear parameters cannot make up for of the change of the rises.
void profile::derivatives(double log_range, vector& result) const {
    const std::vector<double> rises = rises_at(log_range);
    const linear_part part = solve(rises);
    const double range = range_at(log_range);
    std::vector<double> change;
    for (const double distance : distances)
        change.push_back(part.partial_sill * rise_by_log_distance(shape, distance / range));
    std::vector<double> base = rises; // of the partial sill, without what the nugget does
    if (part.nugget > 0) {
        const double mean_change = mean_of(change), mean_rise = mean_of(rises);
        for (double& number : change) number -= mean_change;
        for (double& number : base) number -= mean_rise;
    }
    double spread = 0, together = 0;
    for (std::size_t i = 0; i < base.size(); ++i) {
        spread += weight[i] * base[i] * base[i];
        together += weight[i] * base[i] * change[i];
    }
    const double share = spread > 0 ? together / spread : 0;
    for (std::size_t i = 0; i < base.size(); ++i)
        result[static_cast<Eigen::Index>(i)] = std::sqrt(weight[i]) * (change[i] - share * base[i]);
}

// What the solver calls. Its unknown is the logarithm of the range plus 1, since the length of its
// first step is a share of the unknown.
struct residual_function {
    const profile& problem;

    int values() const { return static_cast<int>(problem.lags()); }
    int operator()(const vector& unknown, vector& result) const {
        problem.residuals(unknown[0] - 1, result);
        return 0;
    }
    int df(const vector& unknown, Eigen::MatrixXd& result) const {
        vector column(values());
        problem.derivatives(unknown[0] - 1, column);
        result.col(0) = column;
        return 0;
    }
};

double refined(const profile& problem, double log_range) {
    residual_function function{problem};
    Eigen::LevenbergMarquardt<residual_function> solver(function);
    solver.parameters.factor = 0.05; // stays in its valley
    solver.parameters.ftol = 1e-14;
    solver.parameters.xtol = 1e-12;
    solver.parameters.maxfev = 100;
    vector unknown(1);
    unknown[0] = log_range + 1;
    solver.minimize(unknown);
    return std::clamp(unknown[0] - 1, 0.0, problem.log_width());
}

// The sum of squares may have several valleys, most of all with the spherical model, whose curvature
// jumps where the range passes a lag. A scan that steps several times from lag to lag finds them; the
// solver goes down the deepest ones.
double best_log_range(const profile& problem) {
    constexpr std::size_t most_valleys = 8;
    const auto steps = static_cast<std::size_t>(64 + 20 * problem.log_width()) + 8 * problem.lags();
    std::vector<double> squares;
    const auto place = [&](std::size_t step) {
        return problem.log_width() * static_cast<double>(step) / static_cast<double>(steps);
    };
    for (std::size_t step = 0; step <= steps; ++step)
        squares.push_back(problem.solve(place(step)).squares);
    std::vector<std::size_t> valleys;
    for (std::size_t i = 0; i <= steps; ++i)
        if ((i == 0 || squares[i] < squares[i - 1]) && (i == steps || squares[i] <= squares[i + 1]))
            valleys.push_back(i);
    std::stable_sort(valleys.begin(), valleys.end(),
                     [&](std::size_t a, std::size_t b) { return squares[a] < squares[b]; });
    valleys.resize(std::min(valleys.size(), most_valleys));
    double best = place(valleys.front()), least = squares[valleys.front()];
    for (const std::size_t valley : valleys) {
        const double log_range = refined(problem, place(valley));
        const double found = problem.solve(log_range).squares;
        if (found >= least) continue;
        least = found;
        best = log_range;
    }
    return best;
}

} // namespace

const char* name_of(lag_weights weights) {
    switch (weights) {
    case lag_weights::equal: return "equal";
    case lag_weights::pairs: return "pairs";
    case lag_weights::pairs_by_distance: break;
    }
    return "pairs / distance²";
}

const char* key_of(lag_weights weights) {
    switch (weights) {
    case lag_weights::equal: return "equal";
    case lag_weights::pairs: return "pairs";
    case lag_weights::pairs_by_distance: break;
    }
    return "pairs-by-distance";
}

double nugget_model::at(double distance) const {
    if (range == range_place::no_rise) return nugget;
    return nugget + partial_sill * rise(shape, distance / practical_range);
}

range_bounds bounds_of_range(const std::vector<variogram_lag>& lags) {
    const auto [nearest, farthest] = std::minmax_element(
        lags.begin(), lags.end(),
        [](const variogram_lag& a, const variogram_lag& b) { return a.distance < b.distance; });
    return {nearest->distance, 10 * farthest->distance};
}

std::optional<nugget_model> fit_model(const std::vector<variogram_lag>& lags, model_shape shape,
                                      lag_weights weights) {
    if (lags.size() < least_lags_of_models) return {};
    const profile problem(lags, shape, weights, bounds_of_range(lags));
    const double unit = problem.unit_of_semivariance();
    if (!(unit > 0) || !std::isnormal(unit * unit * problem.unit_of_weights())) return {};
    const double log_range = best_log_range(problem);
    const linear_part part = problem.solve(log_range);
    nugget_model model{shape, weights};
    model.nugget = part.nugget * unit;
    model.partial_sill = part.partial_sill * unit;
    model.residual_norm = std::sqrt(part.squares) * unit;
    model.sum_of_squares = part.squares * unit * unit * problem.unit_of_weights();
    constexpr double close = 1e-6;
    if (!(part.partial_sill > 0)) {
        model.range = range_place::no_rise;
        model.practical_range = std::numeric_limits<double>::quiet_NaN();
        return model;
    }
    model.practical_range = problem.range_at(log_range);
    if (log_range <= close)
        model.range = range_place::on_lower_bound;
    else if (log_range >= problem.log_width() - close)
        model.range = range_place::on_upper_bound;
    return model;
}

} // namespace qmx_study

#include "study/generate/correlated_field.hpp"

#include <algorithm>
#include <cmath>

#include "study/base/portable_math.hpp"
#include "study/generate/streams.hpp"

namespace qmx_study {

namespace {

using portable::random_stream;

// One line of the turning bands: a process of unit variance and covariance (1 - h) exp(-h), h in
// units of the scale, at nodes `step` apart. That covariance has the spectrum w^2 / (1 + w^2)^2; its
// values at equal steps are those of an autoregression of order 2 with a moving average of order 1,
// whose coefficients follow from the covariances at the first three steps. Steps are driven by
// uniform numbers: each node sums dozens of them, and each place hundreds of nodes.
class line_process {
public:
    explicit line_process(double step) : decay_(portable::exponential_decay(-step)) {
        const double c1 = (1 - step) * decay_;
        const double c2 = (1 - 2 * step) * decay_ * decay_;
        const double c3 = (1 - 3 * step) * decay_ * decay_ * decay_;
        const double a1 = -2 * decay_, a2 = decay_ * decay_;
        // variance and first covariance of x(n) + a1 x(n-1) + a2 x(n-2)
        const double v0 = 1 + a1 * a1 + a2 * a2 + 2 * (a1 + a1 * a2) * c1 + 2 * a2 * c2;
        const double v1 =
            a1 * (1 + a2) + (1 + a1 * a1 + a2 + a2 * a2) * c1 + a1 * (1 + a2) * c2 + a2 * c3;
        const double ratio = v1 / v0;
        carried_ = 2 * ratio / (1 + std::sqrt(std::max(0.0, 1 - 4 * ratio * ratio)));
        size_ =
            std::sqrt(12 * v0 / (1 + carried_ * carried_)); // a uniform number has variance 1/12
        settling_ = static_cast<std::size_t>(30 / std::min(step, 30.0)) + 2;
    }

    void run(const random_stream& random, std::vector<double>& nodes) const {
        double x1 = 0, x2 = 0, before = 0;
        std::uint64_t n = 0;
        const auto next = [&] {
            const double now = size_ * (random.uniform(n++) - 0.5);
            const double x = 2 * decay_ * x1 - decay_ * decay_ * x2 + now + carried_ * before;
            x2 = x1;
            x1 = x;
            before = now;
            return x;
        };
        for (std::size_t k = 0; k < settling_; ++k) next();
        for (double& node : nodes) node = next();
    }

private:
    double decay_, carried_, size_;
    std::size_t settling_;
};

} // namespace

std::vector<double> correlated_field(std::uint64_t seed, double scale, double resolution,
                                     const std::vector<double>& x, const std::vector<double>& y) {
    constexpr int lines = 256;
    constexpr double golden_turn = 0.61803398874989485;
    std::vector<double> field(x.size(), 0.0);
    if (x.empty()) return field;
    const double step = std::max(scale / 40, resolution / 16);
    const auto [left, right] = std::minmax_element(x.begin(), x.end());
    const auto [bottom, top] = std::minmax_element(y.begin(), y.end());
    const random_stream directions(seed, line_directions);
    const double first_turn = directions.uniform(0);
    const line_process process(step / scale);
    std::vector<double> nodes;
    for (int line = 0; line < lines; ++line) {
        const auto n = static_cast<std::uint64_t>(line);
        const double upward = (line + directions.uniform(2 * n + 1)) / lines;
        const double level = std::sqrt(1 - upward * upward);
        const double along_x =
            level / step * portable::cosine_of_turns(first_turn + line * golden_turn);
        const double along_y =
            level / step * portable::sine_of_turns(first_turn + line * golden_turn);
        const double lowest = std::min(along_x * *left, along_x * *right) +
                              std::min(along_y * *bottom, along_y * *top);
        const double highest = std::max(along_x * *left, along_x * *right) +
                               std::max(along_y * *bottom, along_y * *top);
        const double shift = 1 + directions.uniform(2 * n + 2) - lowest; // nodes fall anywhere
        nodes.resize(static_cast<std::size_t>(highest - lowest) + 4);
        process.run(random_stream(seed, line_steps + n), nodes);
        for (std::size_t i = 0; i < field.size(); ++i)
            field[i] += nodes[static_cast<std::size_t>(along_x * x[i] + along_y * y[i] + shift)];
    }
    const double norm = 1 / std::sqrt(static_cast<double>(lines));
    for (double& value : field) value *= norm;
    return field;
}

} // namespace qmx_study

// The yardstick: each analysis as its textbook writes it, one loop after the other, no index and no
// vector code of our own. Built with the library's flags and called like it.
#include "qmx_ic.h"

#include <algorithm>
#include <cmath>
#include <vector>

extern "C" {

// Moments by two passes in f64, extremes, a histogram of 20 steps by one look over the limits for
// each value, and two percentiles read back from it.
void plain_statistics(int32_t count, const t_icdata* points, double* moments, double* histogram,
                      double* percentiles) {
    std::vector<float> x(static_cast<std::size_t>(count));
    for (int32_t i = 0; i < count; ++i)
        x[static_cast<std::size_t>(i)] = static_cast<float>(points[i].d_val);
    const double n = count;
    double sum = 0;
    for (const float value : x) sum += static_cast<double>(value);
    const double mean = sum / n;
    double m2 = 0;
    double m3 = 0;
    double m4 = 0;
    float low = INFINITY;
    float high = -INFINITY;
    for (const float value : x) {
        const double d = static_cast<double>(value) - mean;
        m2 += d * d;
        m3 += d * d * d;
        m4 += d * d * d * d;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    moments[0] = mean;
    moments[1] = m2 / (n - 1);
    moments[2] = m3 / n / std::pow(m2 / n, 1.5);
    moments[3] = m4 / n / (m2 / n * m2 / n) - 3;

    constexpr int classes = 21;
    float limit[classes];
    for (int k = 0; k < classes; ++k) limit[k] = low + static_cast<float>(k) * (high - low) / 20.0F;
    std::fill_n(histogram, classes, 0.0);
    for (const float value : x) {
        int k = 0;
        while (k < classes - 1 && value > limit[k]) ++k;
        histogram[k] += 100.0 / n;
    }
    for (int level = 0; level < 2; ++level) {
        const double wanted = level == 0 ? 10 : 90;
        double before = 0;
        int k = 0;
        while (k < classes - 1 && before + histogram[k] < wanted) before += histogram[k++];
        percentiles[level] = static_cast<double>(limit[k]);
    }
}

int32_t plain_circle(int32_t count, double radius, const double* center, const double* x,
                     const double* y, int32_t* indices) {
    int32_t found = 0;
    for (int32_t i = 0; i < count; ++i) {
        const double dx = x[i] - center[0];
        const double dy = y[i] - center[1];
        if (dx * dx + dy * dy <= radius * radius) indices[found++] = i;
    }
    return found;
}

// ---- The limits of the machine: nothing but the reads that cannot be avoided -------------------

// Both columns, added up in as many sums as hide the time of an addition.
double only_reads_columns(int32_t count, const double* x, const double* y) {
    constexpr int32_t sums = 16;
    double sum[sums] = {};
    for (int32_t i = 0; i + sums <= count; i += sums)
        for (int32_t k = 0; k < sums; ++k) sum[k] += x[i + k] + y[i + k];
    double total = 0;
    for (const double each : sum) total += each;
    return total;
}

// Value and pass of each record.
double only_reads_records(int32_t count, const t_icdata* points) {
    constexpr int32_t sums = 8;
    double sum[sums] = {};
    int64_t passes = 0;
    for (int32_t i = 0; i + sums <= count; i += sums)
        for (int32_t k = 0; k < sums; ++k) {
            __builtin_prefetch(points + i + k + 128);
            sum[k] += points[i + k].d_val;
            passes += points[i + k].i_passno;
        }
    double total = static_cast<double>(passes);
    for (const double each : sum) total += each;
    return total;
}

int32_t plain_polygon(int32_t vertices, int32_t count, const double* vx, const double* vy,
                      const double* x, const double* y, int32_t* indices) {
    int32_t found = 0;
    for (int32_t i = 0; i < count; ++i) {
        bool inside = false;
        for (int32_t a = 0; a < vertices; ++a) {
            const int32_t b = a + 1 < vertices ? a + 1 : 0;
            const bool straddles =
                (vy[a] < y[i] && y[i] <= vy[b]) || (y[i] <= vy[a] && vy[b] < y[i]);
            if (straddles &&
                (x[i] - vx[a]) - ((y[i] - vy[a]) * (vx[b] - vx[a])) / (vy[b] - vy[a]) < 0)
                inside = !inside;
        }
        if (inside) indices[found++] = i;
    }
    return found;
}

// Points per bin: a walk over the bins for each point, the first that holds its pass count taking it.
void plain_bins(int32_t bin_count, int32_t count, const t_passbin* bins, const t_icdata* points,
                int32_t* counts) {
    std::fill_n(counts, bin_count, 0);
    for (int32_t i = 0; i < count; ++i) {
        const auto passes = static_cast<int32_t>(points[i].d_val);
        for (int32_t k = 0; k < bin_count; ++k)
            if (bins[k].i_pass_lower <= passes && passes <= bins[k].i_pass_upper) {
                ++counts[k];
                break;
            }
    }
}

// All pairs; the class by one division, as its textbook has it.
void plain_semivariogram(int32_t count, const t_icdata* points, int32_t lags, float lag,
                         double* gamma) {
    const std::size_t classes = static_cast<std::size_t>(lags) + 2;
    std::vector<double> pairs(classes, 0.0);
    std::fill_n(gamma, classes, 0.0);
    std::vector<float> x;
    std::vector<float> y;
    std::vector<float> v;
    for (int32_t i = 0; i < count; ++i) {
        x.push_back(static_cast<float>(points[i].d_x));
        y.push_back(static_cast<float>(points[i].d_y));
        v.push_back(static_cast<float>(points[i].d_val));
    }
    const float reach = (static_cast<float>(lags) + 0.5F) * lag;
    for (std::size_t i = 0; i < x.size(); ++i)
        for (std::size_t j = i + 1; j < x.size(); ++j) {
            const float dx = x[j] - x[i];
            const float dy = y[j] - y[i];
            const float squared = dx * dx + dy * dy;
            if (squared > reach * reach) continue;
            const float place = std::sqrt(squared) / lag + 0.5F;
            const std::size_t k = std::min(classes - 1, static_cast<std::size_t>(place) + 1);
            const float difference = v[i] - v[j];
            pairs[k] += 1;
            gamma[k] += static_cast<double>(difference * difference);
        }
    for (std::size_t k = 0; k < classes; ++k)
        if (pairs[k] > 0) gamma[k] /= 2 * pairs[k];
}

} // extern "C"

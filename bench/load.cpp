// The load: a million mixed calls in one process, whose resident memory has to stay flat, and lots of five
// and fifty million points. Prints a table; ends with 1 where a call fails or memory grows.
//
//     load                         all of it: some gigabytes, the better part of an hour
//     load CALLS POINTS LINEAR     the sizes of the three parts
//
// The target `load` is not part of the default build. A test runs a short form.
#include "support/hashed_calls.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

bool has_failed = false;

void fail(const std::string& what) {
    std::fprintf(stderr, "failed: %s\n", what.c_str());
    has_failed = true;
}

// ---- Memory of this process -------------------------------------------------------------------------

double megabytes_of(const char* entry) {
    std::ifstream status("/proc/self/status");
    const std::string wanted(entry);
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(wanted)) return std::atof(line.c_str() + wanted.size()) / 1024;
    return 0;
}
// The peak is counted anew from here on, where the system can.
void restart_peak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// ---- Many calls -----------------------------------------------------------------------------------------

// Small lots of all kinds, one export after the other. The first tenth may settle.
void make_many_calls(long calls) {
    constexpr double growth_allowed =
        4; // megabytes: what the allocator of the system keeps differs
    const auto start = std::chrono::steady_clock::now();
    support::hash_of_outputs outputs;
    double settled = 0;
    for (long i = 0; i < calls; ++i) {
        support::lot_maker make(static_cast<std::uint64_t>(i % 5000));
        support::hashed_exports[static_cast<std::size_t>(i) % std::size(support::hashed_exports)]
            .call(make, outputs);
        if (i == calls / 10) settled = megabytes_of("VmRSS:");
    }
    const double now = megabytes_of("VmRSS:");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::printf(
        "%ld mixed calls: %.1f s, resident %.1f MB after a tenth of them, %.1f MB at the end\n\n",
        calls, taken.count(), settled, now);
    if (!(now <= settled + growth_allowed)) fail("memory grows with the number of calls");
}

// ---- Large lots ---------------------------------------------------------------------------------------

// A roller's lot as gridded data: rows of 1,000 cells of 0.3 m, a smooth measure with noise, passes 1 to 8.
class large_lot {
public:
    explicit large_lot(std::int32_t points) : points_(static_cast<std::size_t>(points)) {
        support::lot_maker make(1);
        for (std::size_t i = 0; i < points_.size(); ++i) {
            const double x = 0.3 * static_cast<double>(i % 1000),
                         y = 0.3 * static_cast<double>(i / 1000);
            const double wave = static_cast<double>(i % 700 + i / 1000 % 900) / 100;
            points_[i] = {x, y, 40 + wave + make.parts(0, 8), make.whole(1, 8), 0};
        }
    }
    std::int32_t count() const { return count_of(points_); }
    const std::vector<t_icdata>& points() const { return points_; }
    double height() const { return points_.back().d_y; }
    std::vector<double> column(double t_icdata::*field) const {
        std::vector<double> values(points_.size());
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = points_[i].*field;
        return values;
    }

private:
    std::vector<t_icdata> points_;
};

template <class Call> void measure(const char* name, std::int32_t points, const Call& call) {
    restart_peak();
    const double before = megabytes_of("VmRSS:");
    const auto start = std::chrono::steady_clock::now();
    const std::int32_t status = call();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const double peak = megabytes_of("VmHWM:");
    std::printf("%-24s %11d %9.2f %12.0f %12.0f\n", name, points, taken.count(), peak,
                peak - before);
    std::fflush(stdout);
    if (status != 1) fail(std::string(name) + " returned " + std::to_string(status));
}

void call_linear_exports(const large_lot& lot) {
    const std::int32_t n = lot.count();
    const t_icdata* const points = lot.points().data();
    t_event event = blank_event();
    t_statsout statistics = {};
    measure("ICdata_stats", n, [&] { return ICdata_stats(2, 2, n, points, &statistics, &event); });
    if (statistics.x_stat[9] != static_cast<float>(n)) fail("the statistics count all points");
    std::int32_t used = 0;
    std::vector<double> means(8), curve_x(100), curve_y(100);
    t_fitout fit = {};
    measure("IC_compact_curve_b", n, [&] {
        return IC_compact_curve_b(8, 0, n, points, &used, means.data(), curve_x.data(),
                                  curve_y.data(), &fit, &event);
    });
    const t_passbin bins[] = {{0, 45}, {46, -1}};
    t_areaflt area = {2, 4, {0, 300, 300, 0}, {0, 0, lot.height(), lot.height()}};
    const float mesh[] = {1, 1};
    t_binresult results[2];
    measure("IC_coverage", n,
            [&] { return IC_coverage(mesh, n, 2, 1, bins, points, &area, results, &event); });
    if (std::fabs(results[0].x_compacted_area + results[1].x_compacted_area -
                  static_cast<float>(n)) > 8)
        fail("each point is in one bin");
    {
        std::vector<float> x(lot.points().size()), y(x.size()), narrow_x(100), narrow_y(100);
        for (std::size_t i = 0; i < x.size(); ++i)
            x[i] = static_cast<float>(points[i].d_y), y[i] = static_cast<float>(points[i].d_val);
        measure("call_polycurvefit", n, [&] {
            return call_polycurvefit(n, 4, x.data(), y.data(), narrow_x.data(), narrow_y.data());
        });
    }
    const auto x = lot.column(&t_icdata::d_x), y = lot.column(&t_icdata::d_y);
    std::vector<std::int32_t> indices(x.size());
    const double center[] = {150, lot.height() / 2};
    measure("find_points_in_circle", n, [&] {
        return find_points_in_circle(n, 100, center, x.data(), y.data(), &used, indices.data(),
                                     &event);
    });
    std::vector<double> outline_x, outline_y;
    for (int k = 0; k < 720; ++k) {
        const double reach = k % 2 == 0 ? 0.48 : 0.44, angle = 6.283185307179586 * k / 720;
        outline_x.push_back(150 + 300 * reach * std::cos(angle));
        outline_y.push_back(lot.height() / 2 * (1 + 2 * reach * std::sin(angle)));
    }
    measure("find_points_in_polygon", n, [&] {
        return find_points_in_polygon(720, n, outline_x.data(), outline_y.data(), x.data(),
                                      y.data(), &used, indices.data(), &event);
    });
    if (used < n / 2 || used > n - n / 10) fail("most points are in the outline, not all");
    std::vector<t_icdata> tests;
    for (int k = 0; k < 100; ++k)
        tests.push_back({150, lot.height() * (k + 0.5) / 100, 20.0 + k % 7, -1, 0});
    std::vector<t_statsout> at_tests(tests.size());
    std::vector<std::int32_t> valid(tests.size());
    std::vector<double> predicted(tests.size());
    float line[3];
    measure("IC_PointsData_stats", n, [&] {
        return IC_PointsData_stats(n, 100, 1.5, points, tests.data(), at_tests.data(), line, &used,
                                   valid.data(), predicted.data(), &event);
    });
    if (used != 100) fail("each spot test has points");
}

void call_semivariogram(const large_lot& lot) {
    // Pairs in range grow with the points: some 200 a point.
    const t_gamvset_user set = {8, 0.3F, 0, 90, 1e6F, 2};
    double distance[10], gamma[10], model[2], curve_x[100], curve_y[100];
    float summary[4];
    t_event event = blank_event();
    measure("IC_semivariogram", lot.count(), [&] {
        return IC_semivariogram(lot.count(), lot.points().data(), &set, distance, gamma, model,
                                curve_x, curve_y, summary, &event);
    });
    if (!(gamma[2] > 0)) fail("the semivariogram holds pairs");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 1 && argc != 4) {
        std::fputs("usage: load [CALLS POINTS LINEAR]\n", stderr);
        return 2;
    }
    const long calls = argc == 4 ? std::atol(argv[1]) : 1000000;
    const int points = argc == 4 ? std::atoi(argv[2]) : 5000000;
    const int linear = argc == 4 ? std::atoi(argv[3]) : 50000000;
    if (calls > 0) make_many_calls(calls);
    std::printf("%-24s %11s %9s %12s %12s\n", "call", "points", "seconds", "peak MB",
                "of the call");
    if (points > 0) {
        const large_lot lot(points);
        call_linear_exports(lot);
        call_semivariogram(lot);
    }
    if (linear > 0) call_linear_exports(large_lot(linear));
    return has_failed ? 1 : 0;
}

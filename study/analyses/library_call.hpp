// Calls of the library that end well or throw; those that leave results behind when they fail hand
// the failure back instead.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/analyses/library_events.hpp"

namespace qmx_study {

// Statistics of all points; the fields of `result` that the library reads are set by the caller.
// Throws analysis_error with the text and the path of the event.
void run_statistics(bool pass_counts, bool below, std::span<const t_icdata> points,
                    t_statsout& result);

// Zero-based positions of the points in a circle or inside an outline, ascending.
std::vector<std::int32_t> points_in_circle(double x, double y, double radius,
                                           const std::vector<double>& point_x,
                                           const std::vector<double>& point_y);
std::vector<std::int32_t> points_in_outline(const std::vector<double>& vertex_x,
                                            const std::vector<double>& vertex_y,
                                            const std::vector<double>& point_x,
                                            const std::vector<double>& point_y);

// The coverage of the areas by each bin; the positions of the points are not looked at.
std::optional<library_failure> run_coverage(const float (&mesh)[2],
                                            const std::vector<t_passbin>& bins,
                                            const std::vector<t_icdata>& points,
                                            const std::vector<t_areaflt>& areas,
                                            std::vector<t_binresult>& results);

inline constexpr std::size_t curve_points = 100;

struct compaction_curve {
    std::int32_t passes = 0;   // that went into the curve, from pass 1 on
    std::vector<double> means; // of each pass up to the highest allowed; 0 past `passes`
    std::array<double, curve_points> x{}, y{};
    t_fitout fit{};
};
// After a failure the curve holds the means up to it.
std::optional<library_failure> run_compaction_curve(std::int32_t highest_pass,
                                                    std::int32_t least_points,
                                                    const std::vector<t_icdata>& points,
                                                    compaction_curve& curve);

struct polynomial_curve {
    std::array<float, curve_points> x{}, y{};
};
// False when the library refuses the fit, and it gives no reason.
bool run_polynomial_fit(std::int32_t degree, const std::vector<float>& x,
                        const std::vector<float>& y, polynomial_curve& curve);

struct spot_matches {
    std::vector<t_statsout> statistics; // of the IC data round each spot test
    std::vector<std::int32_t> valid;    // ONE-based positions of the tests that found any
    std::vector<double> predicted;      // for each spot test; 0 without IC data
    float intercept = 0, slope = 0, r_squared = 0; // the last in percent
};
// After a failure the statistics and the valid tests stand.
std::optional<library_failure> run_spot_tests(double radius, const std::vector<t_icdata>& points,
                                              const std::vector<t_icdata>& tests,
                                              spot_matches& matches);

// Entry k of the first two is lag class k: 0 holds each point with itself and whatever coincides with
// it, k the pairs about k - 1 lags apart. A class without pairs holds 0, but so may class 0 with some.
struct semivariogram {
    std::vector<double> distances, semivariances;
    double practical_range = 0, sill = 0; // of sill * (1 - exp(-3 h / practical_range))
    std::array<double, curve_points> curve_x{}, curve_y{};
    std::array<float, 4> reading{}; // range, sill, sill less nugget, nugget, off the curve
};
// After a failed fit the lag classes stand. Throws analysis_error for any other failure.
std::optional<library_failure> run_semivariogram(const std::vector<t_icdata>& points,
                                                 const t_gamvset_user& settings,
                                                 semivariogram& result);

} // namespace qmx_study

#include "study/analyses/library_call.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

template <std::size_t N> std::string_view text_of(const char (&padded)[N]) {
    std::string_view text(padded, N);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
    return text;
}

// A lack of memory has nothing to do with the data: it ends the run, and is no result of an analysis.
std::optional<library_failure> failure_of(std::int32_t returned, const t_event& event) {
    if (returned == QMX_IC_SUCCESS) return std::nullopt;
    const std::string message(text_of(event.c_description));
    library_failure failure{message, std::string(text_of(event.c_subfunc)), event.i_errcode,
                            event.i_errclass, event_of(message)};
    if (failure.event == known_event::no_memory) throw library_error(std::move(failure));
    return failure;
}

void check(std::int32_t returned, const t_event& event) {
    if (const auto failure = failure_of(returned, event)) throw library_error(*failure);
}

} // namespace

void run_statistics(bool pass_counts, bool below, std::span<const t_icdata> points,
                    t_statsout& result) {
    t_event event{};
    check(ICdata_stats(pass_counts ? QMX_IC_YES : QMX_IC_NO, below ? QMX_IC_YES : QMX_IC_NO,
                       static_cast<std::int32_t>(points.size()), points.data(), &result, &event),
          event);
}

std::vector<std::int32_t> points_in_circle(double x, double y, double radius,
                                           const std::vector<double>& point_x,
                                           const std::vector<double>& point_y) {
    t_event event{};
    const double center[2] = {x, y};
    std::vector<std::int32_t> indices(point_x.size());
    std::int32_t found = 0;
    check(find_points_in_circle(static_cast<std::int32_t>(point_x.size()), radius, center,
                                point_x.data(), point_y.data(), &found, indices.data(), &event),
          event);
    indices.resize(static_cast<std::size_t>(found));
    return indices;
}

std::vector<std::int32_t> points_in_outline(const std::vector<double>& vertex_x,
                                            const std::vector<double>& vertex_y,
                                            const std::vector<double>& point_x,
                                            const std::vector<double>& point_y) {
    t_event event{};
    std::vector<std::int32_t> indices(point_x.size());
    std::int32_t found = 0;
    check(find_points_in_polygon(static_cast<std::int32_t>(vertex_x.size()),
                                 static_cast<std::int32_t>(point_x.size()), vertex_x.data(),
                                 vertex_y.data(), point_x.data(), point_y.data(), &found,
                                 indices.data(), &event),
          event);
    indices.resize(static_cast<std::size_t>(found));
    return indices;
}

std::optional<library_failure> run_coverage(const float (&mesh)[2],
                                            const std::vector<t_passbin>& bins,
                                            const std::vector<t_icdata>& points,
                                            const std::vector<t_areaflt>& areas,
                                            std::vector<t_binresult>& results) {
    t_event event{};
    results.assign(bins.size(), t_binresult{});
    return failure_of(IC_coverage(mesh, static_cast<std::int32_t>(points.size()),
                                  static_cast<std::int32_t>(bins.size()),
                                  static_cast<std::int32_t>(areas.size()), bins.data(),
                                  points.data(), areas.data(), results.data(), &event),
                      event);
}

std::optional<library_failure> run_compaction_curve(std::int32_t highest_pass,
                                                    std::int32_t least_points,
                                                    const std::vector<t_icdata>& points,
                                                    compaction_curve& curve) {
    t_event event{};
    curve = {};
    curve.means.resize(static_cast<std::size_t>(std::max(highest_pass, 0)));
    return failure_of(IC_compact_curve_b(highest_pass, least_points,
                                         static_cast<std::int32_t>(points.size()), points.data(),
                                         &curve.passes, curve.means.data(), curve.x.data(),
                                         curve.y.data(), &curve.fit, &event),
                      event);
}

bool run_polynomial_fit(std::int32_t degree, const std::vector<float>& x,
                        const std::vector<float>& y, polynomial_curve& curve) {
    return call_polycurvefit(static_cast<std::int32_t>(x.size()), degree, x.data(), y.data(),
                             curve.x.data(), curve.y.data()) == QMX_IC_SUCCESS;
}

std::optional<library_failure> run_spot_tests(double radius, const std::vector<t_icdata>& points,
                                              const std::vector<t_icdata>& tests,
                                              spot_matches& matches) {
    t_event event{};
    float line[3] = {};
    std::int32_t valid = 0;
    matches.statistics.assign(tests.size(), t_statsout{});
    matches.valid.assign(tests.size(), 0);
    matches.predicted.assign(tests.size(), 0);
    auto failure = failure_of(
        IC_PointsData_stats(static_cast<std::int32_t>(points.size()),
                            static_cast<std::int32_t>(tests.size()), radius, points.data(),
                            tests.data(), matches.statistics.data(), line, &valid,
                            matches.valid.data(), matches.predicted.data(), &event),
        event);
    matches.valid.resize(static_cast<std::size_t>(valid));
    matches.intercept = line[0];
    matches.slope = line[1];
    matches.r_squared = line[2];
    return failure;
}

std::optional<library_failure> run_semivariogram(const std::vector<t_icdata>& points,
                                                 const t_gamvset_user& settings,
                                                 semivariogram& result) {
    t_event event{};
    result = {};
    result.distances.resize(static_cast<std::size_t>(settings.i_nlag) + 2);
    result.semivariances.resize(result.distances.size());
    double model[2] = {};
    auto failure =
        failure_of(IC_semivariogram(static_cast<std::int32_t>(points.size()), points.data(),
                                    &settings, result.distances.data(), result.semivariances.data(),
                                    model, result.curve_x.data(), result.curve_y.data(),
                                    result.reading.data(), &event),
                   event);
    if (failure && failure->event != known_event::only_the_fit_failed)
        throw library_error(*failure);
    result.practical_range = model[0];
    result.sill = model[1];
    return failure;
}

} // namespace qmx_study

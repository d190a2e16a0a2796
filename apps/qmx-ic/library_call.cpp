#include "library_call.hpp"

#include <string_view>

#include <fmt/format.h>

#include "command.hpp"

namespace qmx_ic_app {

namespace {

template <std::size_t N> std::string_view text_of(const char (&padded)[N]) {
    std::string_view text(padded, N);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
    return text;
}

void check(std::int32_t returned, const t_event& event) {
    if (returned == QMX_IC_SUCCESS) return;
    throw analysis_error(fmt::format("{}\n  code {}, class {}, in {}", text_of(event.c_description),
                                     event.i_errcode, event.i_errclass, text_of(event.c_subfunc)));
}

} // namespace

void run_statistics(bool pass_counts, bool below, const std::vector<t_icdata>& points,
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

} // namespace qmx_ic_app

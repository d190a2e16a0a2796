#include "study/shapes/coverage_areas.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/value_text.hpp"
#include "study/shapes/area_overlay.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t most_vertices = sizeof(t_areaflt::d_vert_x) / sizeof(double);
constexpr double noticeable_share = 1e-6; // of the included area
constexpr double rounding_share = 1e-9;   // of an area

void add_record(std::vector<t_areaflt>& records, const std::string& file, const outline& ring,
                bool is_excluded) {
    std::size_t count = ring.x.size();
    if (count > 1 && ring.x.front() == ring.x.back() && ring.y.front() == ring.y.back()) --count;
    if (count > most_vertices)
        throw usage_error(
            fmt::format("{}: an outline has {} vertices; the analysis takes at most {}\n"
                        "  simplify the outline (a tolerance of a few centimetres changes the area "
                        "by next to nothing) or part the area in two",
                        file, count, most_vertices));
    t_areaflt& record = records.emplace_back();
    record.i_flag_exclusion = is_excluded ? QMX_IC_YES : QMX_IC_NO;
    record.i_numvertices = static_cast<std::int32_t>(count);
    std::copy_n(ring.x.begin(), count, record.d_vert_x);
    std::copy_n(ring.y.begin(), count, record.d_vert_y);
}

void add_records(std::vector<t_areaflt>& records, const polygon_set& set, bool is_excluded) {
    for (const polygon& area : set.polygons) {
        add_record(records, set.file, area.outer, is_excluded);
        for (const outline& hole : area.holes) add_record(records, set.file, hole, !is_excluded);
    }
}

// What is wrong with the first polygon whose outlines do not simply add up; "" where they all do.
std::string fault_in_outlines(const polygon_set& set) {
    for (std::size_t i = 0; i < set.polygons.size(); ++i) {
        const polygon& area = set.polygons[i];
        const double by_outlines = area_by_outlines(area);
        const double covered = overlay({area}, {}).first;
        if (std::fabs(covered - by_outlines) <= rounding_share * covered) continue;
        const std::optional<crossing> place = first_crossing(area);
        const std::string reason =
            place ? fmt::format("Self-intersection at or near point {:.10g} {:.10g}", place->x,
                                place->y)
                  : "a hole lies outside its outline, or two of them overlap";
        return fmt::format("Polygon {} of {} is not simple ({}): parts that run the other way "
                           "round subtract from its area. Repair the outline.",
                           i + 1, set.file, reason);
    }
    return {};
}

double sum_of(const polygon_set& set) {
    double sum = 0;
    for (const polygon& area : set.polygons) sum += area_by_outlines(area);
    return sum;
}

struct extent {
    double left = std::numeric_limits<double>::infinity(), right = -left;
    double bottom = left, top = -left;
    void include(double x, double y) {
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    bool meets(const extent& other) const {
        return left <= other.right && other.left <= right && bottom <= other.top &&
               other.bottom <= top;
    }
    std::string text() const {
        return fmt::format("{} … {}, {} … {}", coordinate_text(left, false),
                           coordinate_text(right, false), coordinate_text(bottom, false),
                           coordinate_text(top, false));
    }
};

} // namespace

std::vector<t_areaflt> area_records(const polygon_set& included, const polygon_set& excluded) {
    std::vector<t_areaflt> records;
    add_records(records, included, false);
    add_records(records, excluded, true);
    return records;
}

std::vector<std::string> area_notes(const polygon_set& included, const polygon_set& excluded,
                                    const std::string& area_unit) {
    std::vector<std::string> notes;
    for (const polygon_set* const set : {&included, &excluded})
        if (std::string fault = fault_in_outlines(*set); !fault.empty())
            notes.push_back(std::move(fault));
    if (!notes.empty()) return notes; // the sizes below would be of no use
    const overlay_areas areas = overlay(included.polygons, excluded.polygons);
    const double inside = sum_of(included);
    const auto quantity = [&](double area) {
        return number_text(area) + (area_unit.empty() ? "" : " " + area_unit);
    };
    const double tolerance = noticeable_share * inside;
    if (const double twice = inside - areas.first; twice > tolerance)
        notes.push_back(fmt::format(
            "The polygons of {} overlap: {} count twice in the alignment area, while each point "
            "counts once, so the percentages come out too low. Merge the polygons.",
            included.file, quantity(twice)));
    if (const double twice = sum_of(excluded) - areas.second; twice > tolerance)
        notes.push_back(fmt::format(
            "The polygons of {} overlap: {} are subtracted twice from the alignment area, so the "
            "percentages come out too high. Merge the polygons.",
            excluded.file, quantity(twice)));
    if (const double beyond = areas.second - areas.common; beyond > tolerance)
        notes.push_back(fmt::format(
            "{} of the excluded areas lie outside the included ones and are subtracted from the "
            "alignment area all the same, so the percentages come out too high. Clip {} to the "
            "included areas.",
            quantity(beyond), excluded.file));
    return notes;
}

void refuse_distant_areas(const polygon_set& included, const std::vector<double>& x,
                          const std::vector<double>& y) {
    extent areas;
    for (const polygon& area : included.polygons)
        for (std::size_t i = 0; i < area.outer.x.size(); ++i)
            areas.include(area.outer.x[i], area.outer.y[i]);
    extent points;
    for (std::size_t i = 0; i < x.size(); ++i) points.include(x[i], y[i]);
    if (areas.meets(points)) return;
    throw usage_error(
        fmt::format("{}: its polygons ({}) lie apart from all points ({})\n  are both in one "
                    "coordinate system and one unit, and easting and northing in the same order?",
                    included.file, areas.text(), points.text()));
}

} // namespace qmx_study

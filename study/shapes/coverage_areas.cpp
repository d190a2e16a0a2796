#include "study/shapes/coverage_areas.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>

#include <cpl_error.h>
#include <fmt/format.h>
#include <ogr_geometry.h>

#include "study/base/errors.hpp"
#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t most_vertices = sizeof(t_areaflt::d_vert_x) / sizeof(double);
constexpr double noticeable_share = 1e-6; // of the included area

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

std::unique_ptr<OGRLinearRing> ring_of(const outline& vertices) {
    auto ring = std::make_unique<OGRLinearRing>();
    ring->setPoints(static_cast<int>(vertices.x.size()), vertices.x.data(), vertices.y.data());
    ring->closeRings();
    return ring;
}

double area_of(const OGRGeometry& geometry) {
    switch (wkbFlatten(geometry.getGeometryType())) {
    case wkbPolygon: return geometry.toPolygon()->get_Area();
    case wkbMultiPolygon:
    case wkbGeometryCollection: return geometry.toGeometryCollection()->get_Area();
    default: return 0; // two areas that only touch meet in a line or a point
    }
}

struct united_areas {
    double sum = 0; // of the sizes
    std::unique_ptr<OGRGeometry> whole;
    double size() const { return whole ? area_of(*whole) : 0; }
};

// Nothing where an outline is not simple; the note then says which.
std::optional<united_areas> united(const polygon_set& set, std::vector<std::string>& notes) {
    united_areas result;
    OGRMultiPolygon all;
    for (std::size_t i = 0; i < set.polygons.size(); ++i) {
        auto area = std::make_unique<OGRPolygon>();
        area->addRingDirectly(ring_of(set.polygons[i].outer).release());
        for (const outline& hole : set.polygons[i].holes)
            area->addRingDirectly(ring_of(hole).release());
        CPLErrorReset();
        if (!area->IsValid()) {
            notes.push_back(
                fmt::format("Polygon {} of {} is not simple ({}): parts that run the other way "
                            "round subtract from its area. Repair the outline.",
                            i + 1, set.file, CPLGetLastErrorMsg()));
            return {};
        }
        result.sum += area->get_Area();
        all.addGeometryDirectly(area.release());
    }
    if (set.polygons.empty()) return result;
    result.whole.reset(all.UnionCascaded());
    if (!result.whole) return {};
    return result;
}

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
    if (!OGRGeometryFactory::haveGEOS()) return notes;
    const std::optional<united_areas> inside = united(included, notes);
    const std::optional<united_areas> outside = united(excluded, notes);
    if (!inside || !outside) return notes;
    const auto quantity = [&](double area) {
        return number_text(area) + (area_unit.empty() ? "" : " " + area_unit);
    };
    const double tolerance = noticeable_share * inside->sum;
    if (const double twice = inside->sum - inside->size(); twice > tolerance)
        notes.push_back(fmt::format(
            "The polygons of {} overlap: {} count twice in the alignment area, while each point "
            "counts once, so the percentages come out too low. Merge the polygons.",
            included.file, quantity(twice)));
    if (const double twice = outside->sum - outside->size(); twice > tolerance)
        notes.push_back(fmt::format(
            "The polygons of {} overlap: {} are subtracted twice from the alignment area, so the "
            "percentages come out too high. Merge the polygons.",
            excluded.file, quantity(twice)));
    if (!outside->whole) return notes;
    const std::unique_ptr<OGRGeometry> common(inside->whole->Intersection(outside->whole.get()));
    if (!common) return notes;
    if (const double beyond = outside->size() - area_of(*common); beyond > tolerance)
        notes.push_back(fmt::format(
            "{} of the excluded areas lie outside the included ones and are subtracted from the "
            "alignment area all the same, so the percentages come out too high. Clip {} to the "
            "included areas.",
            quantity(beyond), excluded.file));
    return notes;
}

void refuse_distant_areas(const polygon_set& included, const std::vector<double>& x,
                          const std::vector<double>& y) {
    OGREnvelope areas;
    for (const polygon& area : included.polygons)
        for (std::size_t i = 0; i < area.outer.x.size(); ++i)
            areas.Merge(area.outer.x[i], area.outer.y[i]);
    OGREnvelope points;
    for (std::size_t i = 0; i < x.size(); ++i) points.Merge(x[i], y[i]);
    if (areas.Intersects(points)) return;
    const auto extents = [](const OGREnvelope& box) {
        return fmt::format("{} … {}, {} … {}", coordinate_text(box.MinX, false),
                           coordinate_text(box.MaxX, false), coordinate_text(box.MinY, false),
                           coordinate_text(box.MaxY, false));
    };
    throw usage_error(
        fmt::format("{}: its polygons ({}) lie apart from all points ({})\n  are both in one "
                    "coordinate system and one unit, and easting and northing in the same order?",
                    included.file, extents(areas), extents(points)));
}

} // namespace qmx_study

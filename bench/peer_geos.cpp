// Points in a polygon by the geometry engine's own two ways: its index over the outline's segments,
// and its prepared polygon. Both are built once for a call.
#include "qmx_ic.h"

#include <geos/algorithm/locate/IndexedPointInAreaLocator.h>
#include <geos/geom/CoordinateSequence.h>
#include <geos/geom/CoordinateSequenceFactory.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LinearRing.h>
#include <geos/geom/Point.h>
#include <geos/geom/Polygon.h>
#include <geos/geom/prep/PreparedGeometry.h>
#include <geos/geom/prep/PreparedGeometryFactory.h>

#include <memory>
#include <utility>
#include <vector>

using geos::algorithm::locate::IndexedPointInAreaLocator;
using geos::geom::Coordinate;
using geos::geom::GeometryFactory;

namespace {

auto closed_polygon(const GeometryFactory& factory, int32_t vertices, const double* vx,
                    const double* vy) {
    std::vector<Coordinate> ring;
    for (int32_t i = 0; i < vertices; ++i) ring.emplace_back(vx[i], vy[i]);
    ring.push_back(ring.front());
    return factory.createPolygon(
        factory.createLinearRing(factory.getCoordinateSequenceFactory()->create(std::move(ring))));
}

} // namespace

extern "C" {

int32_t geos_indexed(int32_t vertices, int32_t count, const double* vx, const double* vy,
                     const double* x, const double* y, int32_t* indices) {
    const auto factory = GeometryFactory::create();
    const auto polygon = closed_polygon(*factory, vertices, vx, vy);
    IndexedPointInAreaLocator locator(*polygon);
    int32_t found = 0;
    for (int32_t i = 0; i < count; ++i) {
        const Coordinate at(x[i], y[i]);
        if (locator.locate(&at) == geos::geom::Location::INTERIOR) indices[found++] = i;
    }
    return found;
}

int32_t geos_prepared(int32_t vertices, int32_t count, const double* vx, const double* vy,
                      const double* x, const double* y, int32_t* indices) {
    const auto factory = GeometryFactory::create();
    const auto polygon = closed_polygon(*factory, vertices, vx, vy);
    const auto prepared = geos::geom::prep::PreparedGeometryFactory::prepare(polygon.get());
    int32_t found = 0;
    for (int32_t i = 0; i < count; ++i) {
        const std::unique_ptr<geos::geom::Point> at(factory->createPoint(Coordinate(x[i], y[i])));
        if (prepared->contains(at.get())) indices[found++] = i;
    }
    return found;
}

} // extern "C"

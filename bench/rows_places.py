"""Rows of bench/compare: points in circles and polygons, and spot tests."""

import ctypes

import numpy as np

import calls
import peers
from calls import address
from timing import Row


def circle_rows(count):
    call = calls.circle(count)
    x, y, center, radius = call.x, call.y, call.center, call.radius

    def numpy_mask():
        dx, dy = x - center[0], y - center[1]
        return np.flatnonzero(dx * dx + dy * dy <= radius * radius)

    them = {"NumPy mask": numpy_mask}
    if "plain_loops" in peers.compiled:
        them["plain loop"] = peers.compiled_selection(
            peers.compiled["plain_loops"].plain_circle, count, ctypes.c_double(radius),
            address(center), address(x), address(y), count=count,
        )  # fmt: skip
        found = np.flatnonzero((x - center[0]) ** 2 + (y - center[1]) ** 2 <= radius * radius)

        def only_reads():
            peers.compiled["plain_loops"].only_reads_columns(count, address(x), address(y))
            return found

        them["only reading x, y"] = only_reads
    yield Row("points in a circle", count, call.run, them, np.array_equal)


def polygon_rows(count):
    for vertices in (200, 5000):
        call = calls.polygon(count, vertices)
        arguments = vertices, count, *(address(a) for a in (call.vx, call.vy, call.x, call.y))

        def numpy_edges(call=call):
            inside = np.zeros(count, bool)
            ax, ay, bx, by = call.vx, call.vy, np.roll(call.vx, -1), np.roll(call.vy, -1)
            for x1, y1, x2, y2 in zip(ax, ay, bx, by):
                at = np.flatnonzero((y1 < call.y) != (y2 < call.y))
                step = (call.y[at] - y1) * (x2 - x1) / (y2 - y1)
                inside[at[call.x[at] - x1 < step]] ^= True
            return np.flatnonzero(inside)

        def shapely_prepared(call=call):
            ring = peers.shapely.geometry.Polygon(np.column_stack((call.vx, call.vy)))
            return np.flatnonzero(peers.shapely.vectorized.contains(ring, call.x, call.y))

        them = {}
        if "peer_geos" in peers.compiled:
            geos = peers.compiled["peer_geos"]
            for label, function in (("indexed", geos.geos_indexed), ("prepared", geos.geos_prepared)):
                them[f"GEOS {label}"] = peers.compiled_selection(function, *arguments, count=count)
        if peers.shapely:
            them["shapely, prepared"] = shapely_prepared
        if vertices <= 500:
            them["NumPy, edge by edge"] = numpy_edges
        if "plain_loops" in peers.compiled and vertices * count <= 1_000_000_000:
            plain = peers.compiled["plain_loops"].plain_polygon
            them["plain loop"] = peers.compiled_selection(plain, *arguments, count=count)
        # The peers' rules differ on the outline itself; random points do not lie there.
        yield Row(f"points in a polygon of {vertices}", count, call.run, them, np.array_equal)


def spots_rows(count):
    call = calls.spots(count, 1000)
    points, spots = call.points, call.spots

    def scipy_tree():
        tree = peers.scipy.spatial.cKDTree(np.column_stack((points["d_x"], points["d_y"])))
        places = np.column_stack((spots["d_x"], spots["d_y"]))
        found = tree.query_ball_point(places, call.radius)
        means = np.array([points["d_val"][near].mean() for near in found])
        np.polyfit(spots["d_val"], means, 1)
        return np.array([len(near) for near in found])

    them = {"SciPy k-d tree": scipy_tree} if peers.scipy else {}
    yield Row("1000 spot tests, radius 1 m", count, call.run, them, np.array_equal)

// The two selections: what may not depend on the order of points, on units, on the shape's first vertex,
// on how many points come with a point; and what a chord does to a polygon.
#include "properties/cases.hpp"

using namespace properties;

namespace {

using selection = std::vector<std::int32_t>;

struct columns {
    std::vector<double> x, y;
    explicit columns(const places& given) {
        for (const place& each : given) x.push_back(each.x), y.push_back(each.y);
    }
};

// The positions selected, checked to ascend and to be followed by zeros.
template <class Call> selection selected(const places& points, const Call& call) {
    const columns columns_of_points(points);
    std::vector<std::int32_t> indices(points.size(), -7);
    t_event event = blank_event();
    std::int32_t found = -1;
    EXPECT_EQ(call(columns_of_points, found, indices.data(), event), 1);
    const auto end = indices.begin() + found;
    EXPECT_TRUE(std::is_sorted(indices.begin(), end, std::less_equal<>()) || found < 2);
    EXPECT_TRUE(std::all_of(end, indices.end(), [](std::int32_t each) { return each == 0; }));
    return {indices.begin(), end};
}
selection in_circle(const places& points, place center, double radius) {
    return selected(points, [&](const columns& p, auto& found, auto* indices, auto& event) {
        const double at[] = {center.x, center.y};
        return find_points_in_circle(count_of(p.x), radius, at, p.x.data(), p.y.data(), &found,
                                     indices, &event);
    });
}
selection in_polygon(const places& points, const places& outline) {
    const columns v(outline);
    return selected(points, [&](const columns& p, auto& found, auto* indices, auto& event) {
        return find_points_in_polygon(count_of(v.x), count_of(p.x), v.x.data(), v.y.data(),
                                      p.x.data(), p.y.data(), &found, indices, &event);
    });
}

template <class Move> places moved(const places& points, const Move& move) {
    places there;
    for (const place& each : points) there.push_back(move(each));
    return there;
}

// Where the points of a selection stand after they were brought into that order.
selection follow(const selection& from, const std::vector<std::size_t>& order) {
    std::vector<char> is_in(order.size(), 0);
    for (const std::int32_t each : from) is_in[static_cast<std::size_t>(each)] = 1;
    selection to;
    for (std::size_t i = 0; i < order.size(); ++i)
        if (is_in[order[i]] != 0) to.push_back(static_cast<std::int32_t>(i));
    return to;
}

void expect_prefix(const selection& part, const selection& whole, std::size_t points) {
    const auto end =
        std::lower_bound(whole.begin(), whole.end(), static_cast<std::int32_t>(points));
    EXPECT_EQ(part, selection(whole.begin(), end)) << "the first " << points << " points alone";
}

// Some points without a position, and how often a position is tried again.
places with_missing(maker& make, places points) {
    if (make.one_in(3))
        for (place& each : points)
            if (make.one_in(20)) (make.one_in(2) ? each.x : each.y) = nan64;
    return points;
}

// Powers of two that leave all squares within the numbers.
double scale(maker& make, kind of) {
    if (of == kind::huge) return std::ldexp(1.0, -make.whole(0, 60));
    if (of == kind::tiny) return std::ldexp(1.0, make.whole(0, 60));
    return std::ldexp(1.0, make.whole(-60, 60));
}

TEST(SelectionProperties, OfACircle) {
    for (int n = 0; n < cases(7500); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const kind of = static_cast<kind>(n % kinds);
        const places points = with_missing(make, made_places(make, of, make.whole(1, 300)));
        const place center = make.one_in(2) ? made_place(make, of) : made_places(make, of, 1)[0];
        const double radius = make.one_in(3) ? extent_of(of) / 4 : make.unit() * extent_of(of);
        const selection base = in_circle(points, center, radius);
        for (const std::int32_t each : base) {
            const place& at = points[static_cast<std::size_t>(each)];
            EXPECT_TRUE(at.x == at.x && at.y == at.y);
        }
        const auto order = make.order(points.size());
        EXPECT_EQ(in_circle(in_order(points, order), center, radius), follow(base, order));
        const double by = scale(make, of);
        const auto scaled = [=](place p) { return place{p.x * by, p.y * by}; };
        EXPECT_EQ(in_circle(moved(points, scaled), scaled(center), radius * by), base);
        const auto turned = [](place p) { return place{-p.y, p.x}; };
        EXPECT_EQ(in_circle(moved(points, turned), turned(center), -radius), base);
        if (of == kind::lattice) {
            const double away = std::ldexp(1.0, make.whole(0, 40));
            const auto shifted = [=](place p) { return place{p.x + away, p.y - away}; };
            EXPECT_EQ(in_circle(moved(points, shifted), shifted(center), radius), base);
        }
        const selection wider = in_circle(points, center, radius * 1.25);
        EXPECT_TRUE(std::includes(wider.begin(), wider.end(), base.begin(), base.end()));
        const auto part = static_cast<std::size_t>(make.whole(0, count_of(points)));
        expect_prefix(
            in_circle({points.begin(), points.begin() + static_cast<long>(part)}, center, radius),
            base, part);
    }
}

TEST(SelectionProperties, OfAPolygon) {
    for (int n = 0; n < cases(6000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const kind of = static_cast<kind>(n % kinds);
        // Around 64 points the search changes from the plain loop to an index.
        const places points = with_missing(make, made_places(make, of, make.whole(1, 500)));
        const places outline = made_places(make, of, make.whole(1, make.one_in(5) ? 150 : 12));
        const selection base = in_polygon(points, outline);
        const auto order = make.order(points.size());
        EXPECT_EQ(in_polygon(in_order(points, order), outline), follow(base, order));
        const double by = scale(make, of);
        const auto scaled = [=](place p) { return place{p.x * by, p.y * by}; };
        EXPECT_EQ(in_polygon(moved(points, scaled), moved(outline, scaled)), base);
        places from_another = outline;
        std::rotate(from_another.begin(),
                    from_another.begin() + make.whole(0, count_of(outline) - 1),
                    from_another.end());
        EXPECT_EQ(in_polygon(points, from_another), base);
        places closed = outline;
        closed.push_back(outline.front());
        EXPECT_EQ(in_polygon(points, closed), base);
        if (of == kind::lattice) {
            const double away = std::ldexp(1.0, make.whole(0, 40));
            const auto shifted = [=](place p) { return place{p.x - away, p.y + away}; };
            EXPECT_EQ(in_polygon(moved(points, shifted), moved(outline, shifted)), base);
            const places reversed(outline.rbegin(), outline.rend());
            EXPECT_EQ(in_polygon(points, reversed), base) << "the sense of rotation";
        }
        const auto part = static_cast<std::size_t>(make.whole(0, std::min(count_of(points), 80)));
        expect_prefix(
            in_polygon({points.begin(), points.begin() + static_cast<long>(part)}, outline), base,
            part);
    }
}

// ---- A chord ----------------------------------------------------------------------------------------

std::vector<char> flags(const selection& from, std::size_t count) {
    std::vector<char> is_in(count, 0);
    for (const std::int32_t each : from) is_in[static_cast<std::size_t>(each)] = 1;
    return is_in;
}

// Whether the point lies so near the line through a and b that rounding may settle its side.
bool is_near_line(place p, place a, place b, double extent) {
    const double dx = (b.x - a.x) / extent, dy = (b.y - a.y) / extent;
    const double across = (p.x - a.x) / extent * dy - (p.y - a.y) / extent * dx;
    return std::fabs(across) <= 1e-12 * std::fabs(dy);
}

// Every outline, self-crossing ones included: each point of the whole is in exactly one part, each other
// in both or in neither.
TEST(SelectionProperties, AChordSplitsThePointsOfAPolygon) {
    long split = 0;
    for (int n = 0; n < cases(6000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const kind of = static_cast<kind>(n % kinds);
        const places points = made_places(make, of, make.whole(1, 400));
        const places outline = made_places(make, of, make.whole(4, 20));
        const auto i = static_cast<long>(make.whole(0, count_of(outline) - 3));
        const auto j =
            static_cast<long>(make.whole(static_cast<std::int32_t>(i) + 2, count_of(outline) - 1));
        const places first(outline.begin() + i, outline.begin() + j + 1);
        places second(outline.begin() + j, outline.end());
        second.insert(second.end(), outline.begin(), outline.begin() + i + 1);
        const auto whole = flags(in_polygon(points, outline), points.size());
        const auto in_first = flags(in_polygon(points, first), points.size());
        const auto in_second = flags(in_polygon(points, second), points.size());
        for (std::size_t k = 0; k < points.size(); ++k) {
            // On whole numbers the test of an edge is exact, on the chord too.
            if (of != kind::lattice &&
                is_near_line(points[k], outline[static_cast<std::size_t>(i)],
                             outline[static_cast<std::size_t>(j)], extent_of(of)))
                continue;
            EXPECT_EQ(whole[k] != 0, (in_first[k] != 0) != (in_second[k] != 0)) << "point " << k;
            split += whole[k];
        }
    }
    EXPECT_GT(split, 10000);
}

// The outline of all points, counter-clockwise (monotone chain: Andrew 1979).
places hull_of(places points) {
    std::sort(points.begin(), points.end(),
              [](place a, place b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    const auto turns_right = [](place a, place b, place c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x) <= 0;
    };
    places hull;
    for (int side = 0; side < 2; ++side, std::reverse(points.begin(), points.end())) {
        const std::size_t start = hull.size();
        for (const place& each : points) {
            while (hull.size() >= start + 2 &&
                   turns_right(hull[hull.size() - 2], hull.back(), each))
                hull.pop_back();
            hull.push_back(each);
        }
        hull.pop_back();
    }
    return hull;
}

TEST(SelectionProperties, AChordOfAConvexPolygonLeavesNoPointTwice) {
    for (int n = 0; n < cases(2000); ++n) {
        SCOPED_TRACE("case " + std::to_string(n));
        maker make(static_cast<std::uint64_t>(n));
        const places points = made_places(make, kind::lattice, make.whole(1, 400));
        const places outline = hull_of(made_places(make, kind::lattice, 12));
        if (outline.size() < 4) continue;
        const long j = 2 + make.whole(0, count_of(outline) - 4);
        const places first(outline.begin(), outline.begin() + j + 1);
        places second(outline.begin() + j, outline.end());
        second.push_back(outline.front());
        const selection whole = in_polygon(points, outline);
        selection parts = in_polygon(points, first);
        const selection others = in_polygon(points, second);
        parts.insert(parts.end(), others.begin(), others.end());
        std::sort(parts.begin(), parts.end());
        EXPECT_EQ(parts, whole);
    }
}

} // namespace

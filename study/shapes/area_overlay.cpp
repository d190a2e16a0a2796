#include "study/shapes/area_overlay.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace qmx_study {

namespace {

struct edge {
    double left_x, left_y, right_x, right_y; // left_x < right_x
    std::size_t polygon;                     // from 0, the second set behind the first

    double y_at(double x) const {
        return left_y + (right_y - left_y) * ((x - left_x) / (right_x - left_x));
    }
    double lowest() const { return std::min(left_y, right_y); }
    double highest() const { return std::max(left_y, right_y); }
};

// Differences of map coordinates of millions of metres would lose digits: all is taken from a corner.
struct corner {
    double x = std::numeric_limits<double>::infinity();
    double y = x;
    void include(const polygon& area) {
        for (std::size_t i = 0; i < area.outer.x.size(); ++i) {
            x = std::min(x, area.outer.x[i]);
            y = std::min(y, area.outer.y[i]);
        }
    }
};

// Upright edges bound no trapezoid and are left out.
void add_edges(const outline& vertices, std::size_t polygon, const corner& from,
               std::vector<edge>& edges) {
    const std::size_t count = vertices.x.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t j = i + 1 < count ? i + 1 : 0;
        edge each{vertices.x[i] - from.x, vertices.y[i] - from.y, vertices.x[j] - from.x,
                  vertices.y[j] - from.y, polygon};
        if (each.left_x == each.right_x) continue;
        if (each.left_x > each.right_x) {
            std::swap(each.left_x, each.right_x);
            std::swap(each.left_y, each.right_y);
        }
        edges.push_back(each);
    }
}

void add_edges(const polygon& area, std::size_t number, const corner& from,
               std::vector<edge>& edges) {
    add_edges(area.outer, number, from, edges);
    for (const outline& hole : area.holes) add_edges(hole, number, from, edges);
}

// Edges from one vertex keep their order, whatever library sorts: which of two that cross is asked for the
// height shows in its last bits.
void sort_by_left(std::vector<edge>& edges) {
    std::stable_sort(edges.begin(), edges.end(),
                     [](const edge& a, const edge& b) { return a.left_x < b.left_x; });
}

// Calls visit(x) for the easting at which two of the edges cross within both. Edges sorted by left_x.
template <class Visit> void for_each_crossing(const std::vector<edge>& edges, Visit visit) {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const edge& now = edges[i];
        std::erase_if(open, [&](std::size_t k) { return edges[k].right_x <= now.left_x; });
        for (const std::size_t k : open) {
            const edge& other = edges[k];
            if (other.highest() < now.lowest() || other.lowest() > now.highest()) continue;
            const double from = std::max(now.left_x, other.left_x);
            const double to = std::min(now.right_x, other.right_x);
            const double before = now.y_at(from) - other.y_at(from);
            const double after = now.y_at(to) - other.y_at(to);
            if ((before < 0 && after > 0) || (before > 0 && after < 0))
                visit(now, from + (to - from) * (before / (before - after)));
        }
        open.push_back(i);
    }
}

// What lies over one another in a strip: how often each polygon's edges were passed, from below.
class cover {
public:
    cover(std::size_t polygons, std::size_t in_first) : is_within(polygons), firsts(in_first) {}

    void pass(const edge& each) {
        std::int64_t& depth = each.polygon < firsts ? first : second;
        depth += is_within[each.polygon] ? -1 : 1;
        is_within[each.polygon] = !is_within[each.polygon];
    }
    void add(overlay_areas& areas, double size) const {
        if (first > 0) areas.first += size;
        if (second > 0) areas.second += size;
        if (first > 0 && second > 0) areas.common += size;
    }
    void clear() {
        std::fill(is_within.begin(), is_within.end(), false);
        first = second = 0;
    }

private:
    std::vector<bool> is_within;
    std::size_t firsts;
    std::int64_t first = 0, second = 0; // polygons that cover the place at hand
};

void add_strip(const std::vector<const edge*>& open, double from, double to, cover& over,
               overlay_areas& areas) {
    const double middle = from + (to - from) / 2;
    std::vector<std::pair<double, const edge*>> order;
    order.reserve(open.size());
    for (const edge* const each : open) order.emplace_back(each->y_at(middle), each);
    std::sort(order.begin(), order.end());
    over.clear();
    for (std::size_t i = 0; i + 1 < order.size(); ++i) {
        over.pass(*order[i].second);
        over.add(areas, (order[i + 1].first - order[i].first) * (to - from));
    }
}

double signed_double_area(const outline& vertices) {
    double sum = 0;
    for (std::size_t i = 2; i < vertices.x.size(); ++i)
        sum += (vertices.x[i - 1] - vertices.x[0]) * (vertices.y[i] - vertices.y[0]) -
               (vertices.x[i] - vertices.x[0]) * (vertices.y[i - 1] - vertices.y[0]);
    return sum;
}

} // namespace

double area_by_outlines(const polygon& area) {
    double sum = std::fabs(signed_double_area(area.outer)) / 2;
    for (const outline& hole : area.holes) sum -= std::fabs(signed_double_area(hole)) / 2;
    return sum;
}

overlay_areas overlay(const std::vector<polygon>& first, const std::vector<polygon>& second) {
    corner from;
    for (const polygon& area : first) from.include(area);
    for (const polygon& area : second) from.include(area);
    std::vector<edge> edges;
    for (std::size_t i = 0; i < first.size(); ++i) add_edges(first[i], i, from, edges);
    for (std::size_t i = 0; i < second.size(); ++i)
        add_edges(second[i], first.size() + i, from, edges);
    sort_by_left(edges);

    std::vector<double> cuts;
    for (const edge& each : edges) cuts.insert(cuts.end(), {each.left_x, each.right_x});
    for_each_crossing(edges, [&](const edge&, double x) { cuts.push_back(x); });
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());

    overlay_areas areas;
    cover over(first.size() + second.size(), first.size());
    std::vector<const edge*> open;
    auto coming = edges.begin();
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        std::erase_if(open, [&](const edge* each) { return each->right_x <= cuts[i]; });
        for (; coming != edges.end() && coming->left_x <= cuts[i]; ++coming)
            open.push_back(&*coming);
        add_strip(open, cuts[i], cuts[i + 1], over, areas);
    }
    return areas;
}

std::optional<crossing> first_crossing(const polygon& area) {
    corner from;
    from.include(area);
    std::vector<edge> edges;
    add_edges(area, 0, from, edges);
    sort_by_left(edges);
    std::optional<crossing> found;
    for_each_crossing(edges, [&](const edge& one, double x) {
        if (!found || x + from.x < found->x) found = {x + from.x, one.y_at(x) + from.y};
    });
    return found;
}

} // namespace qmx_study

#include "study/analyses/select.hpp"

#include <algorithm>
#include <limits>

#include "study/analyses/area_selection.hpp"
#include "study/analyses/library_call.hpp"

namespace qmx_study {

namespace {

// Of the points at some positions.
class extents_so_far {
public:
    void take(double x, double y) {
        bounds.west = std::min(bounds.west, x);
        bounds.east = std::max(bounds.east, x);
        bounds.south = std::min(bounds.south, y);
        bounds.north = std::max(bounds.north, y);
    }
    extents bounds{infinity, -infinity, infinity, -infinity};

private:
    static constexpr double infinity = std::numeric_limits<double>::infinity();
};

} // namespace

areas_account account_of(const polygon_set& areas, const std::string& assumption) {
    return {areas.file, areas.polygons.size(), areas.holes, areas.vertices, assumption};
}

reading_needs needs_of(const select_question&, const reading_options& named) {
    reading_needs needs;
    needs.position = need::required;
    needs.value = named.value.empty() ? need::unused : need::complete;
    needs.pass = named.pass.empty() ? need::unused : need::complete;
    return needs;
}

select_answer analyse(const select_question& question, loaded_lot& lot) {
    refuse_degrees(lot.source(), lot.data);
    select_answer answer;
    answer.reading = account_of(lot);
    answer.circle = question.circle;
    const auto [x, y] = positions_of(lot.data);
    std::vector<bool> is_selected(x.size(), false);
    if (question.circle) {
        const circle_shape& circle = *question.circle;
        for (const std::int32_t index : points_in_circle(circle.x, circle.y, circle.radius, x, y))
            is_selected[static_cast<std::size_t>(index)] = true;
    } else {
        polygon_set areas = question.areas;
        answer.areas = account_of(areas, align(areas, lot.data));
        is_selected = points_inside(areas, x, y);
    }
    extents_so_far all, selected;
    for (std::size_t i = 0; i < x.size(); ++i) {
        all.take(x[i], y[i]);
        if (!is_selected[i]) continue;
        selected.take(x[i], y[i]);
        answer.records.push_back(lot.data.records[i]);
        answer.lines.push_back(lot.source().line_of(lot.data.records[i]));
    }
    answer.all = all.bounds;
    answer.selected = selected.bounds;
    return answer;
}

} // namespace qmx_study

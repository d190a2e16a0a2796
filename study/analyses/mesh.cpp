#include "study/analyses/mesh.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

// Coordinates are written to the thousandth, so that one place reads differently by one or two.
constexpr double resolution = 0.001;
constexpr double shortest_spacing = 0.03; // below, chance would make any positions a lattice
constexpr double share_on_lattice = 0.99;

// One line of the lattice: a coordinate that some of the points share.
struct lattice_line {
    double at;
    std::int64_t points;
};

// Empty where the coordinates run into one another instead of standing in lines.
std::vector<lattice_line> lines_of(std::vector<double> coordinates) {
    std::sort(coordinates.begin(), coordinates.end());
    std::vector<lattice_line> lines;
    for (auto first = coordinates.begin(); first != coordinates.end();) {
        auto last = first + 1;
        while (last != coordinates.end() && *last - *(last - 1) < 1.5 * resolution) ++last;
        if (*(last - 1) - *first > 3 * resolution) return {};
        lines.push_back({(*first + *(last - 1)) / 2, last - first});
        first = last;
    }
    return lines;
}

// The commonest distance of neighbouring lines, of equally common ones the shortest.
double commonest_gap(const std::vector<lattice_line>& lines) {
    std::map<std::int64_t, int> gaps; // in thousandths
    for (std::size_t i = 1; i < lines.size(); ++i)
        ++gaps[std::llround((lines[i].at - lines[i - 1].at) / resolution)];
    const auto best = std::max_element(
        gaps.begin(), gaps.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    return static_cast<double>(best->first) * resolution;
}

// Whole steps in a distance, 0 where it is no whole number of them.
double steps_in(double distance, double spacing) {
    const double steps = std::round(distance / spacing);
    const bool fits = std::fabs(distance - steps * spacing) <= 2.5 * resolution + 1e-6 * distance;
    return fits ? steps : 0;
}

// The mean step over short gaps, since the commonest gap is known to a thousandth only: enough to
// count the steps of long gaps with it.
double refined(const std::vector<lattice_line>& lines, double spacing) {
    constexpr double most_steps = 8;
    double length = 0;
    double steps = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const double gap = lines[i].at - lines[i - 1].at;
        const double count = gap > most_steps * spacing ? 0 : steps_in(gap, spacing);
        if (count == 0) continue;
        length += gap;
        steps += count;
    }
    return steps > 0 ? length / steps : spacing;
}

// The number with the fewest decimals that agrees with a spacing measured over so many steps.
double simplest(double spacing, double steps) {
    for (double scale = 1; scale < 1e7; scale *= 10) {
        const double rounded = std::round(spacing * scale) / scale;
        if (std::fabs(rounded - spacing) * steps <= 1.1 * resolution) return rounded;
    }
    return spacing;
}

std::optional<double> spacing_of(std::vector<double> coordinates) {
    const auto points = static_cast<double>(coordinates.size());
    const std::vector<lattice_line> lines = lines_of(std::move(coordinates));
    if (lines.size() < 3) return {};
    const double rough = commonest_gap(lines);
    if (rough < shortest_spacing) return {};
    const double spacing = refined(lines, rough);

    // From a pair of neighbours on, upwards and downwards, over lines that stand astray.
    std::size_t start = 1;
    while (start < lines.size() && steps_in(lines[start].at - lines[start - 1].at, spacing) != 1)
        ++start;
    if (start == lines.size()) return {};
    std::int64_t on_lattice = lines[start].points;
    double length = 0;
    double steps = 0;
    const auto visit = [&](const lattice_line& line, double& from) {
        const double gap = std::fabs(line.at - from);
        const double count = steps_in(gap, spacing);
        if (count == 0) return;
        on_lattice += line.points;
        length += gap;
        steps += count;
        from = line.at;
    };
    double from = lines[start].at;
    for (std::size_t i = start + 1; i < lines.size(); ++i) visit(lines[i], from);
    from = lines[start].at;
    for (std::size_t i = start; i-- > 0;) visit(lines[i], from);
    if (static_cast<double>(on_lattice) < share_on_lattice * points) return {};
    return simplest(length / steps, steps);
}

} // namespace

mesh_size read_mesh(const std::string& text) {
    mesh_size mesh;
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos || !read_plain_number(text.substr(0, comma), mesh.x) ||
        !read_plain_number(text.substr(comma + 1), mesh.y) || !(mesh.x > 0) || !(mesh.y > 0) ||
        !std::isnormal(static_cast<float>(mesh.x)) || !std::isnormal(static_cast<float>(mesh.y)))
        throw usage_error(
            fmt::format("--mesh \"{}\": two lengths above 0 are wanted, in the unit of "
                        "the positions, such as 0.34,0.34",
                        text));
    return mesh;
}

std::optional<mesh_size> lattice_of(const std::vector<t_icdata>& points) {
    std::vector<double> coordinates(points.size());
    const auto spacing = [&](double t_icdata::*axis) {
        std::transform(points.begin(), points.end(), coordinates.begin(),
                       [axis](const t_icdata& point) { return point.*axis; });
        return spacing_of(coordinates);
    };
    const std::optional<double> x = spacing(&t_icdata::d_x);
    const std::optional<double> y = x ? spacing(&t_icdata::d_y) : std::nullopt;
    if (!x || !y) return {};
    return mesh_size{*x, *y};
}

double points_per_cell(const std::vector<t_icdata>& points, const mesh_size& mesh) {
    if (points.empty()) return 0;
    std::vector<std::pair<double, double>> cells;
    cells.reserve(points.size());
    // Cells round the first point, so that the positions of a lattice stand in the middle.
    for (const t_icdata& point : points)
        cells.emplace_back(std::round((point.d_x - points.front().d_x) / mesh.x),
                           std::round((point.d_y - points.front().d_y) / mesh.y));
    std::sort(cells.begin(), cells.end());
    const auto occupied = std::unique(cells.begin(), cells.end()) - cells.begin();
    return static_cast<double>(points.size()) / static_cast<double>(occupied);
}

} // namespace qmx_study

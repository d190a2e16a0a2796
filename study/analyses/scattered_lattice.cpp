#include "study/analyses/scattered_lattice.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qmx_study {

namespace {

constexpr double shortest_spacing = 0.05;
constexpr double first_window = 8; // spacings over which a period is looked for
constexpr double least_period_agreement = 0.6;
constexpr double share_near_nodes = 0.98;
constexpr std::size_t samples = 2000;
constexpr std::size_t partners = 8;

struct axis {
    double spacing = 0, origin = 0, scatter = 0;
};

double cosine_of(double distance, double spacing) {
    return portable::cosine_of_turns(distance / spacing);
}

// Differences of sorted coordinates, spread over the window without a period of their own: evenly
// spread ones would agree with whatever spacing the window is made of.
std::vector<double> differences(const std::vector<double>& sorted, double window) {
    std::vector<double> found;
    const std::size_t count = std::min(samples, sorted.size());
    for (std::size_t s = 0; s < count; ++s) {
        const std::size_t i = s * sorted.size() / count;
        const auto end = std::upper_bound(sorted.begin() + static_cast<std::ptrdiff_t>(i),
                                          sorted.end(), sorted[i] + window);
        const auto reach = static_cast<std::size_t>(end - sorted.begin()) - i - 1;
        for (std::size_t k = 0; k < partners && reach > 0; ++k) {
            const double turn = static_cast<double>(s * partners + k) * std::numbers::phi;
            const auto steps =
                static_cast<std::size_t>((turn - std::floor(turn)) * static_cast<double>(reach));
            found.push_back(sorted[i + std::min(reach, 1 + steps)] - sorted[i]);
        }
    }
    return found;
}

// 1 where all differences are whole multiples of the spacing, about 0 where chance rules.
double agreement(const std::vector<double>& distances, double spacing) {
    if (distances.empty()) return 0;
    double sum = 0;
    for (const double distance : distances) sum += cosine_of(distance, spacing);
    return sum / static_cast<double>(distances.size());
}

// The longest of the spacings that agree about as well as the best one: its fractions agree too.
double best_spacing(const std::vector<double>& sorted) {
    constexpr double step = 1.015;
    constexpr double as_good = 0.97;
    const double longest = (sorted.back() - sorted.front()) / 3;
    std::vector<std::pair<double, double>> tried; // spacing, agreement
    double best = 0;
    for (double spacing = shortest_spacing; spacing <= longest; spacing *= step) {
        // Half a spacing at least, so that points of one node say nothing of the period.
        std::vector<double> distances = differences(sorted, first_window * spacing);
        std::erase_if(distances, [&](double distance) { return distance < spacing / 2; });
        if (distances.size() < 50) continue;
        tried.emplace_back(spacing, agreement(distances, spacing));
        best = std::max(best, tried.back().second);
    }
    if (best < least_period_agreement) return 0;
    double chosen = 0;
    for (const auto& [spacing, agrees] : tried)
        if (agrees >= as_good * best) chosen = spacing;
    return chosen;
}

// Ever longer distances fix the spacing ever better.
double refined(const std::vector<double>& sorted, double spacing) {
    constexpr int steps = 40;
    const double whole = sorted.back() - sorted.front();
    for (double window = first_window * spacing;; window *= 4) {
        const std::vector<double> distances = differences(sorted, std::min(window, whole));
        // A quarter of a period at the end of the window, to either side.
        const double reach = spacing * spacing / (2 * std::min(window, whole));
        double best = spacing;
        double agrees = -1;
        for (int k = -steps; k <= steps; ++k) {
            const double tried = spacing + reach * k / steps;
            const double found = agreement(distances, tried);
            if (found <= agrees) continue;
            agrees = found;
            best = tried;
        }
        spacing = best;
        if (window >= whole) return spacing;
    }
}

// The coordinates without rows far off, which would make the lattice reach to them.
std::vector<double> bulk_of(const std::vector<double>& sorted) {
    const std::size_t few = sorted.size() / 100;
    const double low = sorted[few];
    const double high = sorted[sorted.size() - 1 - few];
    std::vector<double> bulk;
    for (const double coordinate : sorted)
        if (coordinate >= low - (high - low) && coordinate <= high + (high - low))
            bulk.push_back(coordinate);
    return bulk;
}

double node_of(double coordinate, const axis& along) {
    return std::round((coordinate - along.origin) / along.spacing);
}

// The origin where the coordinates, as turns of a circle one spacing round, have their mean.
void find_origin(axis& along, const std::vector<double>& coordinates) {
    double cosines = 0;
    double sines = 0;
    for (const double coordinate : coordinates) {
        const double turns = (coordinate - coordinates.front()) / along.spacing;
        cosines += portable::cosine_of_turns(turns);
        sines += portable::sine_of_turns(turns);
    }
    along.origin = coordinates.front() + portable::turns_of(sines, cosines) * along.spacing;
}

// Settles the scatter. False where too few coordinates lie near nodes.
bool settle(axis& along, const std::vector<double>& coordinates) {
    double squares = 0;
    std::size_t near = 0;
    for (const double coordinate : coordinates) {
        const double distance =
            coordinate - (along.origin + node_of(coordinate, along) * along.spacing);
        squares += distance * distance;
        near += std::fabs(distance) <= along.spacing / 4;
    }
    const auto count = static_cast<double>(coordinates.size());
    along.scatter = std::sqrt(squares / count);
    return static_cast<double>(near) >= share_near_nodes * count;
}

// Spacing and origin of the straight line through (node, coordinate) by least squares; the number with
// the fewest decimals where it lies within four standard errors of the slope.
void fit_line(axis& along, const std::vector<double>& coordinates) {
    const auto count = static_cast<double>(coordinates.size());
    double mean_node = 0;
    double mean = 0;
    for (const double coordinate : coordinates) {
        mean_node += node_of(coordinate, along) / count;
        mean += (coordinate - along.origin) / count;
    }
    double squares = 0;
    double products = 0;
    for (const double coordinate : coordinates) {
        const double step = node_of(coordinate, along) - mean_node;
        squares += step * step;
        products += step * (coordinate - along.origin - mean);
    }
    if (!(squares > 0)) return;
    double spacing = products / squares;
    const double error = along.scatter / std::sqrt(squares);
    for (double scale = 1; scale < 1e7; scale *= 10) {
        const double rounded = std::round(spacing * scale) / scale;
        if (rounded <= 0 || std::fabs(rounded - spacing) > 4 * error) continue;
        spacing = rounded;
        break;
    }
    along.origin += mean - mean_node * spacing;
    along.spacing = spacing;
}

std::optional<axis> axis_of(const std::vector<t_icdata>& points, double t_icdata::*coordinate,
                            std::optional<double> named) {
    if (points.size() < 3) return {};
    std::vector<double> sorted(points.size());
    std::transform(points.begin(), points.end(), sorted.begin(),
                   [&](const t_icdata& point) { return point.*coordinate; });
    std::sort(sorted.begin(), sorted.end());
    sorted = bulk_of(sorted);
    axis along;
    along.spacing = named ? *named : best_spacing(sorted);
    if (!(along.spacing > 0) || sorted.back() - sorted.front() < 2 * along.spacing) return {};
    if (!named) along.spacing = refined(sorted, along.spacing);
    find_origin(along, sorted);
    if (!settle(along, sorted)) return {};
    if (named) return along;
    fit_line(along, sorted);
    if (!settle(along, sorted)) return {};
    return along;
}

} // namespace

std::optional<scattered_lattice> scattered_lattice_of(const std::vector<t_icdata>& points,
                                                      const std::optional<mesh_size>& named) {
    const auto spacing = [&](double mesh_size::*part) {
        return named ? std::optional(*named.*part) : std::nullopt;
    };
    const auto x = axis_of(points, &t_icdata::d_x, spacing(&mesh_size::x));
    const auto y = x ? axis_of(points, &t_icdata::d_y, spacing(&mesh_size::y)) : std::nullopt;
    if (!x || !y) return {};
    return scattered_lattice{{x->spacing, y->spacing},
                             x->origin,
                             y->origin,
                             portable::length_of(x->scatter, y->scatter)};
}

void snap(std::vector<t_icdata>& points, const scattered_lattice& lattice) {
    const auto node = [](double coordinate, double origin, double spacing) {
        return origin + std::round((coordinate - origin) / spacing) * spacing;
    };
    for (t_icdata& point : points) {
        point.d_x = node(point.d_x, lattice.origin_x, lattice.mesh.x);
        point.d_y = node(point.d_y, lattice.origin_y, lattice.mesh.y);
    }
}

} // namespace qmx_study

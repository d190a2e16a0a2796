#include "study/analyses/rows_of_cells.hpp"

#include <algorithm>
#include <tuple>

#include "study/base/portable_math.hpp"

namespace qmx_study {

namespace {

constexpr double finest_step = 1.005;   // from one tried spacing to the next
constexpr double least_agreement = 0.6; // 1 where all positions keep a period, about 0 by chance
constexpr double as_good = 0.9;         // fractions of a period agree as well as itself

double squared(const place& a, const place& b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

// How clearly a piece falls into rows: the squares of the gaps between its rows, of the whole width.
double clearness(const places& piece, const directions& turned, std::vector<double>& scratch) {
    scratch.clear();
    for (const place& p : piece) scratch.push_back(turned.across(p));
    std::sort(scratch.begin(), scratch.end());
    const double width = scratch.back() - scratch.front();
    if (!(width > 0)) return 0;
    double sum = 0;
    for (std::size_t i = 1; i < scratch.size(); ++i)
        sum += (scratch[i] - scratch[i - 1]) * (scratch[i] - scratch[i - 1]);
    return sum / (width * width);
}

// The longest of the tried spacings that agree about as well as the best, at the top of its peak; 0
// where none agrees.
template <class Agreement> double best_period(double least, double most, Agreement agreement) {
    std::vector<double> tried, agrees;
    if (!(least > 0)) return 0; // points that share a place
    for (double spacing = least; spacing <= most; spacing *= finest_step) {
        tried.push_back(spacing);
        agrees.push_back(agreement(spacing));
    }
    if (tried.empty()) return 0;
    const double best = *std::max_element(agrees.begin(), agrees.end());
    if (best < least_agreement) return 0;
    std::size_t at = tried.size() - 1;
    while (agrees[at] < as_good * best) --at;
    while (at > 0 && agrees[at - 1] > agrees[at]) --at;
    return tried[at];
}

// How well the rows of the pieces keep a distance, each piece for itself.
double agreement_of_rows(const std::vector<places>& of_pieces, const directions& turned,
                         double spacing) {
    double sum = 0, points = 0;
    for (const places& piece : of_pieces) {
        double cosines = 0, sines = 0;
        for (const place& p : piece) {
            const double turns = turned.across(p) / spacing;
            cosines += portable::cosine_of_turns(turns);
            sines += portable::sine_of_turns(turns);
        }
        sum += std::sqrt(cosines * cosines + sines * sines);
        points += static_cast<double>(piece.size());
    }
    return sum / points;
}

} // namespace

directions at_degrees(double degrees) {
    return {portable::cosine_of_turns(degrees / 360), portable::sine_of_turns(degrees / 360)};
}

double degrees_of(double east, double north) {
    if (east == 0 && north == 0) return 0;
    double quarter = 0; // turned back into the first quarter of the circle
    while (!(east > 0 && north >= 0)) {
        const double old = east;
        east = north;
        north = -old;
        quarter += 90;
    }
    double low = 0, high = 0.25; // turns
    for (int k = 0; k < 60; ++k) {
        const double middle = (low + high) / 2;
        const double side =
            portable::cosine_of_turns(middle) * north - portable::sine_of_turns(middle) * east;
        (side >= 0 ? low : high) = middle;
    }
    return quarter + 360 * low;
}

places piece_about(const places& all, const place& centre) {
    const std::size_t size = std::min(points_of_piece, all.size());
    std::vector<double> distances(all.size());
    std::transform(all.begin(), all.end(), distances.begin(),
                   [&](const place& p) { return squared(p, centre); });
    std::vector<double> ordered = distances;
    const auto last = ordered.begin() + static_cast<std::ptrdiff_t>(size - 1);
    std::nth_element(ordered.begin(), last, ordered.end());
    places piece;
    for (std::size_t i = 0; i < all.size() && piece.size() < size; ++i)
        if (distances[i] <= *last) piece.push_back({all[i].x - centre.x, all[i].y - centre.y});
    return piece;
}

double spacing_of(const std::vector<places>& of_pieces) {
    std::vector<double> nearest;
    for (const places& piece : of_pieces)
        for (std::size_t i = 0; i < piece.size(); ++i) {
            double least = HUGE_VAL;
            for (std::size_t j = 0; j < piece.size(); ++j)
                if (j != i) least = std::min(least, squared(piece[i], piece[j]));
            if (std::isfinite(least)) nearest.push_back(std::sqrt(least));
        }
    if (nearest.empty()) return 0;
    const auto middle = nearest.begin() + static_cast<std::ptrdiff_t>(nearest.size() / 2);
    std::nth_element(nearest.begin(), middle, nearest.end());
    return *middle;
}

directions clearest_rows(const std::vector<places>& of_pieces) {
    std::vector<double> scratch;
    double best = -1, chosen = 0;
    const auto try_at = [&](double degrees) {
        double sum = 0;
        for (const places& piece : of_pieces) sum += clearness(piece, at_degrees(degrees), scratch);
        if (sum <= best) return;
        best = sum;
        chosen = degrees;
    };
    for (int k = 0; k < 360; ++k) try_at(0.5 * k);
    const double coarse = chosen;
    for (int k = -10; k <= 10; ++k)
        if (k != 0) try_at(coarse + 0.05 * k);
    return at_degrees(chosen);
}

double distance_of_rows(const std::vector<places>& of_pieces, const directions& turned,
                        double spacing) {
    return best_period(0.4 * spacing, 16 * spacing,
                       [&](double tried) { return agreement_of_rows(of_pieces, turned, tried); });
}

double origin_of_rows(const places& piece, const directions& turned, double spacing) {
    double cosines = 0, sines = 0;
    for (const place& p : piece) {
        cosines += portable::cosine_of_turns(turned.across(p) / spacing);
        sines += portable::sine_of_turns(turned.across(p) / spacing);
    }
    return degrees_of(cosines, sines) / 360 * spacing;
}

std::vector<row_place> in_rows(const places& points, const rows_of_cells& rows) {
    std::vector<row_place> placed;
    placed.reserve(points.size());
    for (const place& p : points)
        placed.push_back({rows.row_of(p), rows.turned.along(p), rows.turned.across(p)});
    // By all that they hold: sums over them must not hang on the library that sorts.
    std::sort(placed.begin(), placed.end(), [](const row_place& a, const row_place& b) {
        return std::tie(a.row, a.along, a.across) < std::tie(b.row, b.along, b.across);
    });
    return placed;
}

double spacing_in_rows(const std::vector<places>& of_pieces, const rows_of_cells& rows) {
    std::vector<double> gaps, distances;
    for (const places& piece : of_pieces) {
        rows_of_cells local = rows;
        local.row_origin = origin_of_rows(piece, rows.turned, rows.across);
        const std::vector<row_place> placed = in_rows(piece, local);
        for (std::size_t i = 0; i < placed.size(); ++i)
            for (std::size_t k = 1; k <= 4 && i + k < placed.size(); ++k) {
                if (placed[i + k].row != placed[i].row) break;
                distances.push_back(placed[i + k].along - placed[i].along);
                if (k == 1) gaps.push_back(distances.back());
            }
    }
    if (gaps.size() < 4) return 0;
    const auto middle = gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2);
    std::nth_element(gaps.begin(), middle, gaps.end());
    const double usual = *middle;
    return best_period(0.3 * usual, 1.6 * usual, [&](double spacing) {
        double sum = 0;
        for (const double distance : distances)
            sum += portable::cosine_of_turns(distance / spacing);
        return sum / static_cast<double>(distances.size());
    });
}

} // namespace qmx_study

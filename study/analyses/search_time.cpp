#include "study/analyses/search_time.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <system_error>

#include <fmt/format.h>

#include "study/analyses/library_call.hpp"
#include "study/analyses/pair_estimate.hpp"

namespace qmx_study {

namespace {

// The points nearest to the middle of the lot's longer side: a piece of full width and density, in
// the order of the rows.
std::vector<t_icdata> piece_of(const std::vector<t_icdata>& points, std::size_t size) {
    const auto [west, east] =
        std::minmax_element(points.begin(), points.end(),
                            [](const t_icdata& a, const t_icdata& b) { return a.d_x < b.d_x; });
    const auto [south, north] =
        std::minmax_element(points.begin(), points.end(),
                            [](const t_icdata& a, const t_icdata& b) { return a.d_y < b.d_y; });
    const bool is_wide = east->d_x - west->d_x >= north->d_y - south->d_y;
    std::vector<double> along(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
        along[i] = is_wide ? points[i].d_x : points[i].d_y;
    std::vector<double> sorted = along;
    const auto nth = [&sorted](std::size_t rank) {
        const auto place = sorted.begin() + static_cast<std::ptrdiff_t>(rank);
        std::nth_element(sorted.begin(), place, sorted.end());
        return *place;
    };
    const double middle = nth(sorted.size() / 2);
    for (double& each : sorted) each = std::fabs(each - middle);
    const double reach = nth(size);
    std::vector<t_icdata> piece;
    piece.reserve(size);
    for (std::size_t i = 0; i < points.size() && piece.size() < size; ++i)
        if (std::fabs(along[i] - middle) <= reach) piece.push_back(points[i]);
    return piece;
}

} // namespace

std::string duration_text(double seconds) {
    if (seconds < 90) return fmt::format("{:.0f} s", std::max(1.0, seconds));
    if (seconds < 5400) return fmt::format("{:.0f} min", seconds / 60);
    return fmt::format("{:.1f} h", seconds / 3600);
}

double expected_seconds(const std::vector<t_icdata>& points, const t_gamvset_user& settings) {
    constexpr double few_pairs = 1e9; // a second or two
    constexpr std::size_t size_of_piece = 40000;
    const double count = static_cast<double>(points.size());
    if (count * count / 2 < few_pairs) return 0;
    const double cut_off = (settings.i_nlag + 0.5) * static_cast<double>(settings.x_xlag);
    const double pairs = estimated_pairs(points, cut_off);
    if (pairs < few_pairs) return 0;
    const std::vector<t_icdata> piece = piece_of(points, size_of_piece);
    const double pairs_of_piece = estimated_pairs(piece, cut_off);
    const auto start = std::chrono::steady_clock::now();
    semivariogram unused;
    run_semivariogram(piece, settings, unused);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    return pairs_of_piece > 0 ? taken.count() * pairs / pairs_of_piece : 0;
}

void run_with_clock(double seconds, progress& shown, const std::function<void()>& work) {
    using namespace std::chrono_literals;
    const auto start = std::chrono::steady_clock::now();
    std::future<void> done;
    try {
        done = std::async(std::launch::async, work);
    } catch (const std::system_error&) { // no thread is to be had: then without a clock
        shown.note(fmt::format("searching for pairs: about {}", duration_text(seconds)));
        work();
        shown.clear();
        return;
    }
    while (done.wait_for(250ms) != std::future_status::ready) {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        shown.note(fmt::format("searching for pairs: {} of about {}", duration_text(taken.count()),
                               duration_text(seconds)));
    }
    shown.clear();
    done.get();
}

} // namespace qmx_study

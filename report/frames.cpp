#include "report/frames.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "study/base/portable_math.hpp"

namespace qmx_report {
namespace {

namespace portable = qmx_study::portable;

constexpr double greatest_ratio = 24; // of length to width, as a fold is drawn
constexpr double wanted_ratio = 16;
constexpr std::int64_t widest_picture = 16000; // pixels; browsers draw no wider one

struct direction {
    double x = 1, y = 0;
};

// The next round number.
double rounded_up(double value) {
    if (!(value > 0)) return value;
    const double power = portable::power_of_ten(portable::decimal_exponent(value));
    for (const double step : {1.0, 1.2, 1.5, 2.0, 2.5, 3.0, 4.0, 5.0, 6.0, 8.0, 10.0})
        if (step * power >= value * (1 - 1e-9)) return step * power;
    return value;
}

// One column of a strip: the place at offset 0, and the direction of growing offsets.
struct cross_section {
    double x = 0, y = 0;
    direction right;
};

// Walks along the axis; stations must ascend.
class axis_walk {
public:
    explicit axis_walk(const qmx_study::road_frame& road) : axis_(road.axis) {}

    cross_section at(double station) {
        while (vertex_ + 2 < axis_.size() && station > passed_ + length()) {
            passed_ += length();
            ++vertex_;
        }
        const auto& from = axis_[vertex_];
        const auto& to = axis_[vertex_ + 1];
        const double size = length();
        const direction ahead =
            size > 0 ? direction{(to.x - from.x) / size, (to.y - from.y) / size} : direction{};
        const double rest = station - passed_;
        return {from.x + ahead.x * rest, from.y + ahead.y * rest, {ahead.y, -ahead.x}};
    }

private:
    double length() const {
        const auto& from = axis_[vertex_];
        const auto& to = axis_[vertex_ + 1];
        return std::sqrt((to.x - from.x) * (to.x - from.x) + (to.y - from.y) * (to.y - from.y));
    }
    const std::vector<qmx_study::road_point>& axis_;
    std::size_t vertex_ = 0;
    double passed_ = 0;
};

struct pitch {
    double station = 1, offset = 1;           // of the pixels that show each cell
    bool aligned = false;                     // cells and pixels stand in the same rows
    double node_station = 0, node_offset = 0; // of one cell's centre where they do
};

// A cell turned against the pixels surely holds a pixel's centre where pixels are smaller by the
// square root of two.
pitch pitch_of(const qmx_study::road_frame& road, const map_lattice& lattice) {
    const auto& from = road.axis.front();
    const auto& to = road.axis[1];
    const double size = portable::length_of(to.x - from.x, to.y - from.y);
    const direction ahead{(to.x - from.x) / size, (to.y - from.y) / size};
    const direction first{portable::cosine_of_turns(lattice.angle / 360),
                          portable::sine_of_turns(lattice.angle / 360)};
    const double along = std::fabs(ahead.x * first.x + ahead.y * first.y);
    const double across = std::fabs(ahead.x * first.y - ahead.y * first.x);
    const double nearly = portable::sine_of_turns(1.0 / 360);
    if (!lattice.is_lattice || road.axis.size() > 2 || std::min(along, across) > nearly) {
        const double least = std::min(lattice.along, lattice.across) * std::sqrt(0.5);
        return {least, least};
    }
    const double dx = lattice.origin_x - from.x, dy = lattice.origin_y - from.y;
    const bool swapped = along < across;
    return {swapped ? lattice.across : lattice.along, swapped ? lattice.along : lattice.across,
            true, dx * ahead.x + dy * ahead.y, dx * ahead.y - dy * ahead.x};
}

// The edge of the first pixel at or before `least`, so that pixel centres hit the nodes.
double first_edge(double least, double step, double node) {
    return node + (std::floor((least - node) / step + 0.5 + 1e-6) - 0.5) * step;
}

// A little below the thinning that so many pixels ask for.
double first_thinning(double pixels, std::int64_t most_pixels) {
    const double wanted = 0.9 * std::sqrt(pixels / static_cast<double>(most_pixels));
    return wanted > 2 ? std::floor(wanted) : 1;
}

std::int64_t steps_in(double length, double step) {
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(std::ceil(length / step - 1e-6)));
}

} // namespace

strip_frame strip_of(const qmx_study::road_frame& road, const map_lattice& lattice,
                     std::int64_t most_pixels) {
    const pitch fine = pitch_of(road, lattice);
    const double length = std::max(road.length, fine.station);
    const double width = std::max(road.most_offset - road.least_offset, fine.offset);
    const double spacing_share = fine.aligned ? 1 : std::sqrt(0.5);
    double thin = first_thinning(length / fine.station * (width / fine.offset), most_pixels);
    for (;; thin = fine.aligned || thin > 1.9 ? thin + 1 : thin * std::sqrt(2.0)) {
        const double pixels =
            std::ceil(length / (fine.station * thin)) * std::ceil(width / (fine.offset * thin));
        if (pixels <= static_cast<double>(most_pixels)) break;
    }
    strip_frame frame;
    frame.station_step = fine.station * thin;
    frame.offset_step = fine.offset * thin;
    frame.thinning = thin * spacing_share;
    frame.first_station = fine.aligned ? first_edge(0, frame.station_step, fine.node_station) : 0;
    frame.first_offset = fine.aligned
                             ? first_edge(road.least_offset, frame.offset_step, fine.node_offset)
                             : road.least_offset;
    frame.rows = steps_in(road.most_offset - frame.first_offset, frame.offset_step);
    const std::int64_t all = steps_in(length - frame.first_station, frame.station_step);
    const double folds = std::max({1.0, std::min(10.0, std::ceil(length / (wanted_ratio * width))),
                                   std::ceil(static_cast<double>(all) / widest_picture)});
    frame.columns = all;
    if (folds > 1)
        frame.columns = std::min(all, steps_in(rounded_up(length / folds), frame.station_step));
    frame.folds = (all + frame.columns - 1) / frame.columns;
    const double ratio = static_cast<double>(frame.columns) * frame.station_step / width;
    frame.exaggeration = std::max(1, static_cast<int>(std::ceil(ratio / greatest_ratio)));
    return frame;
}

plan_frame plan_of(const qmx_study::cell_table& cells, const map_lattice& lattice,
                   std::int64_t most_pixels) {
    const auto [left, right] = std::minmax_element(cells.x.begin(), cells.x.end());
    const auto [bottom, top] = std::minmax_element(cells.y.begin(), cells.y.end());
    const double cell = std::min(lattice.along, lattice.across);
    const double rim = std::max(lattice.along, lattice.across) * std::sqrt(0.5);
    const double width = *right - *left + 2 * rim, height = *top - *bottom + 2 * rim;
    const bool upright = lattice.is_lattice && !lattice.rows_are_shifted &&
                         std::fabs(std::remainder(lattice.angle, 90.0)) < 1e-6 &&
                         lattice.along == lattice.across;
    plan_frame frame;
    frame.step = upright ? cell : cell * std::sqrt(0.5);
    frame.step *= first_thinning(width / frame.step * (height / frame.step), most_pixels);
    const auto most = static_cast<double>(most_pixels);
    while (std::ceil(width / frame.step) * std::ceil(height / frame.step) > most)
        frame.step += upright ? cell : 0.25 * cell;
    frame.thinning = frame.step / cell;
    frame.left = upright ? first_edge(*left - rim, frame.step, lattice.origin_x) : *left - rim;
    frame.columns = steps_in(*right + rim - frame.left, frame.step);
    const double below =
        upright ? first_edge(*bottom - rim, frame.step, lattice.origin_y) : *bottom - rim;
    frame.rows = steps_in(*top + rim - below, frame.step);
    frame.top = below + static_cast<double>(frame.rows) * frame.step;
    return frame;
}

raster draw(const strip_frame& frame, const qmx_study::road_frame& road, const cell_index& index) {
    raster picture{frame.columns, frame.rows * frame.folds, {}};
    picture.cell.assign(static_cast<std::size_t>(picture.columns * picture.rows), -1);
    axis_walk walk(road);
    for (std::int64_t column = 0; column < frame.columns * frame.folds; ++column) {
        const double station =
            frame.first_station + (static_cast<double>(column) + 0.5) * frame.station_step;
        if (station > road.length + frame.station_step) break;
        const cross_section section = walk.at(station);
        const std::int64_t fold = column / frame.columns;
        for (std::int64_t row = 0; row < frame.rows; ++row) {
            const double offset =
                frame.first_offset + (static_cast<double>(row) + 0.5) * frame.offset_step;
            const std::int64_t pixel =
                (fold * frame.rows + row) * frame.columns + column - fold * frame.columns;
            picture.cell[static_cast<std::size_t>(pixel)] = index.at(
                section.x + section.right.x * offset, section.y + section.right.y * offset);
        }
    }
    return picture;
}

raster draw(const plan_frame& frame, const qmx_study::cell_table& cells, const map_lattice& lattice,
            const cell_index& index) {
    raster picture{frame.columns, frame.rows, {}};
    picture.cell.assign(static_cast<std::size_t>(frame.columns * frame.rows), -1);
    const auto centre_x = [&](std::int64_t column) {
        return frame.left + (static_cast<double>(column) + 0.5) * frame.step;
    };
    const auto centre_y = [&](std::int64_t row) {
        return frame.top - (static_cast<double>(row) + 0.5) * frame.step;
    };
    if (frame.step < std::max(lattice.along, lattice.across) * std::sqrt(2.0))
        for (std::int64_t row = 0; row < frame.rows; ++row)
            for (std::int64_t column = 0; column < frame.columns; ++column)
                picture.cell[static_cast<std::size_t>(row * frame.columns + column)] =
                    index.at(centre_x(column), centre_y(row));
    // Pixels larger than cells, and those on the rim whose centre lies outside.
    constexpr float no_distance = std::numeric_limits<float>::max();
    std::vector<float> least(picture.cell.size(), no_distance);
    for (std::size_t k = 0; k < cells.size(); ++k) {
        const double right = std::floor((cells.x[k] - frame.left) / frame.step);
        const double down = std::floor((frame.top - cells.y[k]) / frame.step);
        if (!(right >= 0 && down >= 0 && right < static_cast<double>(frame.columns) &&
              down < static_cast<double>(frame.rows)))
            continue;
        const auto column = static_cast<std::int64_t>(right), row = static_cast<std::int64_t>(down);
        const double dx = cells.x[k] - centre_x(column), dy = cells.y[k] - centre_y(row);
        const auto square = static_cast<float>(dx * dx + dy * dy);
        const auto pixel = static_cast<std::size_t>(row * frame.columns + column);
        const bool is_sampled = picture.cell[pixel] >= 0 && least[pixel] == no_distance;
        if (!is_sampled && square <= least[pixel]) {
            least[pixel] = square;
            picture.cell[pixel] = static_cast<std::int32_t>(k);
        }
    }
    return picture;
}

} // namespace qmx_report

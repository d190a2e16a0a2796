#include "study/lot/position_reader.hpp"

#include <cmath>
#include <limits>
#include <vector>

#include <fmt/format.h>

namespace qmx_study {

namespace {

constexpr double beyond_the_earth = 1e12; // in any unit, down to millimetres

} // namespace

position_reader::position_reader(const table_source& from, const column_choice& chosen,
                                 const reading_needs& wanted, const row_survey& survey)
    : x(chosen.x, "x", survey), y(chosen.y, "y", survey), source(from), choice(chosen),
      needs(wanted) {}

double position_reader::most_x() const {
    if (needs.are_pairs) return std::numeric_limits<double>::max();
    return choice.is_geographic ? 360 : beyond_the_earth;
}

double position_reader::most_y() const {
    if (needs.are_pairs) return std::numeric_limits<double>::max();
    return choice.is_geographic ? 90 : beyond_the_earth;
}

bool position_reader::read(t_icdata& point, drop_counter& drops) {
    point.d_x = point.d_y = not_there;
    if (!choice.x.found()) return true;
    drop_counter unwanted;
    const bool may_lack = needs.position == need::taken;
    drop_counter& counter = may_lack ? unwanted : drops;
    if (choice.from_geometry) {
        const shape* const geometry = first_point();
        if (!geometry || geometry->is_empty) {
            counter.add("position_missing", "the record has no point", source.record());
        } else if (geometry->kind != shape_kind::point) {
            counter.add("", "position_not_a_point", "", "the geometry is not a point",
                        source.record(), {}, geometry->name);
        } else {
            point.d_x = geometry->x;
            point.d_y = geometry->y;
        }
    } else {
        point.d_x = x.read(source, counter);
        if (!std::isnan(point.d_x)) point.d_y = y.read(source, counter);
    }
    if (!is_sound(point, counter)) point.d_x = point.d_y = not_there;
    if (std::isfinite(point.d_x) && std::isfinite(point.d_y)) return true;
    point.d_x = point.d_y = not_there;
    return may_lack;
}

bool position_reader::is_sound(const t_icdata& point, drop_counter& counter) const {
    if (needs.are_pairs) return true;
    const char* const reason =
        choice.is_geographic ? "position_not_degrees" : "position_not_on_earth";
    const char* const text = choice.is_geographic ? "longitude or latitude is beyond its range"
                                                  : "the position is beyond any on earth";
    if (!(std::fabs(point.d_x) > most_x() || std::fabs(point.d_y) > most_y())) return true;
    counter.add("", reason, "", text, source.record(), choice.x.name,
                fmt::format("{:.10g}, {:.10g}", point.d_x, point.d_y));
    return false;
}

// The point of a record, or the first of several; null where it has none.
const shape* position_reader::first_point() const {
    const shape* const geometry = source.geometry();
    const bool is_several = geometry && geometry->name == "MULTIPOINT";
    return is_several && !geometry->parts.empty() ? &geometry->parts.front() : geometry;
}

void position_reader::for_further_points(const t_icdata& first, drop_counter& drops,
                                         const std::function<void()>& count,
                                         const std::function<void(const t_icdata&)>& add) const {
    const shape* const geometry = choice.from_geometry ? source.geometry() : nullptr;
    if (!geometry || geometry->name != "MULTIPOINT" || geometry->parts.size() < 2) return;
    drop_counter unwanted;
    drop_counter& counter = needs.position == need::taken ? unwanted : drops;
    const std::vector<shape> parts(geometry->parts.begin() + 1, geometry->parts.end());
    for (const shape& part : parts) {
        t_icdata point = first;
        point.d_x = part.x;
        point.d_y = part.y;
        count();
        const bool is_missing =
            part.is_empty || !std::isfinite(point.d_x) || !std::isfinite(point.d_y);
        if (is_missing) counter.add("position_missing", "the record has no point", source.record());
        if (is_missing || !is_sound(point, counter)) {
            point.d_x = point.d_y = not_there;
            if (needs.position != need::taken) continue;
        }
        add(point);
    }
}

} // namespace qmx_study

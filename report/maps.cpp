#include "report/maps.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "report/classes.hpp"
#include "report/frames.hpp"
#include "report/packing.hpp"

namespace qmx_report {
namespace {

using qmx_study::json;

// A part of the document; null where any step of the way is not there.
const json& part_of(const json& whole, std::initializer_list<const char*> way) {
    static const json nothing;
    const json* at = &whole;
    for (const char* key : way) {
        if (!at->is_object() || !at->contains(key)) return nothing;
        at = &(*at)[key];
    }
    return *at;
}

double number_of(const json& value) {
    return value.is_number() ? value.get<double>() : std::numeric_limits<double>::quiet_NaN();
}

std::optional<double> number_if_any(const json& value) {
    return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
}

map_lattice lattice_in(const json& document) {
    const json& found = part_of(document, {"road", "lattice"});
    const json& origin = part_of(found, {"origin"});
    map_lattice lattice;
    lattice.along = number_of(part_of(found, {"along"}));
    lattice.across = number_of(part_of(found, {"across"}));
    lattice.angle = number_of(part_of(found, {"angle"}));
    const bool has_origin = origin.is_array() && origin.size() == 2;
    lattice.origin_x = has_origin ? number_of(origin[0]) : number_of(json());
    lattice.origin_y = has_origin ? number_of(origin[1]) : number_of(json());
    const auto is_set = [&](const char* key) {
        const json& state = part_of(found, {key});
        return state.is_boolean() && state.get<bool>();
    };
    lattice.is_lattice = is_set("is_lattice");
    lattice.rows_are_shifted = is_set("rows_are_shifted");
    lattice.rows_run_along = !lattice.rows_are_shifted || is_set("rows_run_along");
    return lattice;
}

// Nothing where the document has no axis to draw along.
std::optional<qmx_study::road_frame> road_in(const json& document) {
    const json& found = part_of(document, {"road", "frame"});
    const json& axis = part_of(found, {"axis"});
    if (!axis.is_array()) return std::nullopt;
    qmx_study::road_frame road;
    for (const json& vertex : axis) {
        if (!vertex.is_array() || vertex.size() != 2) return std::nullopt;
        const qmx_study::road_point point{number_of(vertex[0]), number_of(vertex[1])};
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) return std::nullopt;
        const bool repeated =
            !road.axis.empty() && road.axis.back().x == point.x && road.axis.back().y == point.y;
        if (!repeated) road.axis.push_back(point);
    }
    road.length = number_of(part_of(found, {"length"}));
    road.least_offset = number_of(part_of(found, {"least_offset"}));
    road.most_offset = number_of(part_of(found, {"most_offset"}));
    if (road.axis.size() < 2 || !std::isfinite(road.length) ||
        !std::isfinite(road.most_offset - road.least_offset) ||
        road.most_offset < road.least_offset)
        return std::nullopt;
    return road;
}

// Values as 16-bit codes; code 0: no cell. Where the values are whole multiples of a decimal step,
// that step is used and the values come back as they were.
struct value_codes {
    double least = 0, step = 1;
    bool exact = false;
};

value_codes codes_for(const std::vector<double>& values) {
    double least = std::numeric_limits<double>::infinity(), most = -least;
    for (const double value : values)
        if (std::isfinite(value)) {
            least = std::min(least, value);
            most = std::max(most, value);
        }
    if (!(least <= most)) return {};
    for (const double per_unit : {1.0, 10.0, 100.0, 1000.0, 10000.0}) {
        if ((most - least) * per_unit > 65000) break;
        const bool fits = std::all_of(values.begin(), values.end(), [&](double value) {
            return !std::isfinite(value) ||
                   std::fabs(value * per_unit - std::round(value * per_unit)) <
                       1e-9 * std::max(1.0, std::fabs(value * per_unit));
        });
        if (fits) return {std::round(least * per_unit) / per_unit, 1 / per_unit, true};
    }
    // Finer than a map can tell; each further bit would be noise in the page.
    return {least, most > least ? (most - least) / 4000 : 1, false};
}

// Planes of bytes, each packed by itself: codes of the values, passes, verdicts with four to a byte.
json grid_of(const raster& picture, const qmx_study::cell_table& cells, const char* frame) {
    const value_codes codes = codes_for(cells.value);
    const std::size_t size = picture.cell.size();
    const bool many_passes = std::any_of(cells.pass.begin(), cells.pass.end(),
                                         [](std::int32_t passes) { return passes > 255; });
    bytes low(size, 0), high(size, 0), passes(size, 0), verdicts(size / 4 + 1, 0);
    bytes more_passes(many_passes ? size : 0, 0);
    for (std::size_t k = 0; k < size; ++k) {
        if (picture.cell[k] < 0) continue;
        const auto cell = static_cast<std::size_t>(picture.cell[k]);
        unsigned code = 1; // a cell without a value
        if (std::isfinite(cells.value[cell]))
            code = 2 + static_cast<unsigned>((cells.value[cell] - codes.least) / codes.step + 0.5);
        low[k] = static_cast<std::uint8_t>(code & 255);
        high[k] = static_cast<std::uint8_t>(code >> 8);
        if (cell < cells.pass.size()) {
            const int shown = std::clamp(cells.pass[cell], 0, 65535);
            passes[k] = static_cast<std::uint8_t>(shown & 255);
            if (many_passes) more_passes[k] = static_cast<std::uint8_t>(shown >> 8);
        }
        const int state = cell < cells.verdict.size() ? cells.verdict[cell]
                                                      : int{qmx_study::cell_without_verdict};
        verdicts[k / 4] |= static_cast<std::uint8_t>((state & 3) << (k % 4 * 2));
    }
    const auto plane = [](const bytes& data) { return base64(packed(data, content::dense)); };
    return {{"frame", frame},
            {"least", codes.least},
            {"step", codes.step},
            {"exact", codes.exact},
            {"low", plane(low)},
            {"high", plane(high)},
            {"passes", plane(passes)},
            {"more_passes", many_passes ? json(plane(more_passes)) : json()},
            {"verdicts", plane(verdicts)}};
}

json pictures_of(const raster& picture, const std::vector<layer>& layers, content kind) {
    json pictures = json::object();
    for (const layer& shown : layers) pictures[shown.name] = base64(png_of(picture, shown, kind));
    return pictures;
}

json frame_document(const strip_frame& frame) {
    return {{"first_station", frame.first_station},
            {"station_step", frame.station_step},
            {"first_offset", frame.first_offset},
            {"offset_step", frame.offset_step},
            {"columns", frame.columns},
            {"rows", frame.rows},
            {"folds", frame.folds},
            {"exaggeration", frame.exaggeration},
            {"thinning", frame.thinning}};
}

json frame_document(const plan_frame& frame) {
    return {{"left", frame.left},       {"top", frame.top},   {"step", frame.step},
            {"columns", frame.columns}, {"rows", frame.rows}, {"thinning", frame.thinning}};
}

std::vector<layer> layers_for(const json& document, const qmx_study::cell_table& cells) {
    std::optional<std::int32_t> target_passes;
    const double wanted = number_of(part_of(document, {"settings", "target_passes"}));
    if (wanted >= 1 && wanted <= 1e6) target_passes = static_cast<std::int32_t>(wanted);
    std::vector<layer> layers;
    const auto [least, most] = std::minmax_element(cells.value.begin(), cells.value.end());
    const auto tells_apart = [least = *least, most = *most](const std::optional<double>& value) {
        return value && *value > least && *value < most;
    };
    std::optional<double> limit =
        number_if_any(part_of(document, {"settings", "cell_limit", "value"}));
    if (!tells_apart(limit)) // then the target itself may
        limit = number_if_any(part_of(document, {"settings", "target"}));
    layers.push_back(value_layer(cells, limit));
    const auto judged = [](std::uint8_t state) { return state <= qmx_study::cell_met; };
    if (std::any_of(cells.verdict.begin(), cells.verdict.end(), judged))
        layers.push_back(verdict_layer(cells));
    if (std::any_of(cells.pass.begin(), cells.pass.end(), [](std::int32_t p) { return p > 0; }))
        layers.push_back(pass_layer(cells, target_passes));
    return layers;
}

// Few scattered points on a large ground would be too small to be seen.
bool enlarge_points(map_lattice& lattice, const qmx_study::cell_table& cells) {
    if (lattice.is_lattice) return false;
    const auto [left, right] = std::minmax_element(cells.x.begin(), cells.x.end());
    const auto [bottom, top] = std::minmax_element(cells.y.begin(), cells.y.end());
    const double extent = std::max(*right - *left, *top - *bottom);
    const double visible = extent / 400;
    const double ground = (*right - *left) * (*top - *bottom);
    const double spacing = std::max(lattice.along, lattice.across);
    const bool is_sparse = spacing * spacing * static_cast<double>(cells.size()) < 0.2 * ground;
    if (spacing >= visible || !is_sparse) return false;
    lattice.along = lattice.across = visible;
    return true;
}

// Cells without a place are on no map.
qmx_study::cell_table placed(const qmx_study::cell_table& cells) {
    qmx_study::cell_table kept;
    for (std::size_t k = 0; k < cells.size(); ++k) {
        if (!std::isfinite(cells.x[k]) || !std::isfinite(cells.y[k])) continue;
        kept.x.push_back(cells.x[k]);
        kept.y.push_back(cells.y[k]);
        kept.value.push_back(cells.value[k]);
        if (k < cells.pass.size()) kept.pass.push_back(cells.pass[k]);
        if (k < cells.verdict.size()) kept.verdict.push_back(cells.verdict[k]);
    }
    return kept;
}

bool all_finite(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [](double one) { return std::isfinite(one); });
}

} // namespace

json maps_of(const json& document, const qmx_study::cell_table& cells, const map_limits& limits) {
    if (!all_finite(cells.x) || !all_finite(cells.y))
        return maps_of(document, placed(cells), limits);
    if (cells.size() == 0) return nullptr;
    map_lattice lattice = usable_lattice(cells, lattice_in(document));
    const bool is_enlarged = enlarge_points(lattice, cells);
    const cell_index index(cells, lattice);
    const std::vector<layer> layers = layers_for(document, cells);
    json maps = json::object();
    maps["layers"] = json::object();
    for (const layer& shown : layers) maps["layers"][shown.name] = legend_of(shown);

    maps["point_size"] = is_enlarged ? json(2 * lattice.along) : json();

    maps["strip"] = nullptr;
    if (const auto road = road_in(document)) {
        const strip_frame frame = strip_of(*road, lattice, limits.strip_pixels);
        const raster picture = draw(frame, *road, index);
        maps["strip"] = {{"frame", frame_document(frame)},
                         {"pictures", pictures_of(picture, layers, content::dense)}};
        maps["grid"] = grid_of(picture, cells, "strip");
    }
    const plan_frame frame = plan_of(cells, lattice, limits.plan_pixels);
    const raster picture = draw(frame, cells, lattice, index);
    maps["plan"] = {{"frame", frame_document(frame)},
                    {"pictures", pictures_of(picture, layers, content::sparse)}};
    if (!maps.contains("grid")) maps["grid"] = grid_of(picture, cells, "plan");
    return maps;
}

} // namespace qmx_report

#include "study/table/spatial_reference.hpp"

#include <algorithm>

#include "study/base/number_text.hpp"

namespace qmx_study {

struct spatial_reference::description {
    std::string name;
    bool is_geographic = false;
    std::string unit; // of a plane, "" where it is not known
};

spatial_reference::spatial_reference(std::unique_ptr<description> known) : of(std::move(known)) {}
spatial_reference::~spatial_reference() = default;

std::string spatial_reference::name() const {
    return of->name;
}
bool spatial_reference::is_geographic() const {
    return of->is_geographic;
}
bool spatial_reference::is_same_as(const spatial_reference& other) const {
    return same_text(of->name, other.of->name) && of->is_geographic == other.of->is_geographic;
}
std::string spatial_reference::length_unit() const {
    return of->is_geographic ? "deg" : of->unit;
}

namespace {

coordinate_system named(const std::string& name, bool is_geographic, const std::string& unit = {}) {
    auto known = std::make_unique<spatial_reference::description>();
    known->name = name;
    known->is_geographic = is_geographic;
    known->unit = unit;
    return std::make_shared<spatial_reference>(std::move(known));
}

std::string_view quoted_behind(std::string_view text, std::size_t start) {
    const std::size_t open = text.find('"', start);
    const std::size_t close = open == std::string_view::npos ? open : text.find('"', open + 1);
    return close == std::string_view::npos ? std::string_view()
                                           : text.substr(open + 1, close - open - 1);
}

// The unit of a plane in well-known text: PROJCS["...",GEOGCS[...],...,UNIT["metre",1]]. Others stand
// deeper in it.
std::string unit_of_plane(std::string_view text, std::string_view lower) {
    const std::size_t plane = lower.find("projcs[");
    if (plane == std::string_view::npos) return {};
    int depth = 0;
    bool is_quoted = false;
    for (std::size_t i = plane; i < lower.size(); ++i) {
        if (lower[i] == '"') is_quoted = !is_quoted;
        if (is_quoted) continue;
        if (lower[i] == '[') ++depth;
        if (lower[i] == ']' && --depth == 0) break;
        if (depth != 1 || !lower.substr(i).starts_with("unit[")) continue;
        const std::string name(quoted_behind(text, i));
        if (same_text(name, "metre") || same_text(name, "meter")) return "m";
        if (same_text(name, "kilometre") || same_text(name, "kilometer")) return "km";
        if (same_text(name, "US survey foot") || same_text(name, "Foot_US")) return "US survey ft";
        return same_text(name, "foot") ? "ft" : name;
    }
    return {};
}

} // namespace

coordinate_system wgs84() {
    return named("WGS 84", true);
}

// Codes keep their own text as their name; well-known text has it in its first quotation.
coordinate_system system_from_text(const std::string& text) {
    const std::string lower = lower_case(trimmed(text));
    for (const char* const degrees : {"epsg:4326", "epsg::4326", "ogc:crs84", "crs84"})
        if (lower.ends_with(degrees)) return wgs84();
    const std::size_t code = lower.rfind("epsg:");
    if (code != std::string::npos) {
        const std::string digits = lower.substr(lower.find_last_of(':') + 1);
        const bool is_number =
            !digits.empty() &&
            std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
        // The registry gives coordinate systems no other codes; which of them exist it alone knows.
        if (!is_number || digits.size() > 5) return nullptr;
        if (const int value = std::stoi(digits); value < 1024 || value > 32767) return nullptr;
        return named("EPSG:" + digits, false);
    }
    const std::string name(quoted_behind(text, 0));
    if (name.empty()) return nullptr;
    const bool is_compound = lower.starts_with("compd");
    const bool is_geographic =
        lower.starts_with("geog") || (is_compound && lower.find("projcs[") == std::string::npos &&
                                      lower.find("geogcs[") != std::string::npos);
    if (is_geographic && (same_text(name, "GCS_WGS_1984") || same_text(name, "WGS 84")))
        return wgs84();
    return named(name, is_geographic, unit_of_plane(text, lower));
}

} // namespace qmx_study

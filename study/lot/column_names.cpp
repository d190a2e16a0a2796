#include "study/lot/column_names.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

struct unit_suffix {
    std::string_view suffix; // last words of a name, joined by '_'
    std::string_view unit;
};
// Longer suffixes stand before their own endings.
constexpr unit_suffix unit_suffixes[] = {{"us_survey_ft", "US survey ft"},
                                         {"us_ft", "US survey ft"},
                                         {"usft", "US survey ft"},
                                         {"ussft", "US survey ft"},
                                         {"ftus", "US survey ft"},
                                         {"bu_ac", "bu/ac"},
                                         {"lb_s", "lb/s"},
                                         {"kg_s", "kg/s"},
                                         {"kg_m3", "kg/m3"},
                                         {"km_h", "km/h"},
                                         {"kmh", "km/h"},
                                         {"kph", "km/h"},
                                         {"m_s", "m/s"},
                                         {"mph", "mph"},
                                         {"mm_per_blow", "mm/blow"},
                                         {"mm_blow", "mm/blow"},
                                         {"mn_m2", "MN/m2"},
                                         {"mn_m²", "MN/m²"},
                                         {"mn_m3", "MN/m3"},
                                         {"mn_m³", "MN/m³"},
                                         {"kn_m2", "kN/m2"},
                                         {"kn_m3", "kN/m3"},
                                         {"kn_m³", "kN/m³"},
                                         {"kg_m³", "kg/m³"},
                                         {"g_cm3", "g/cm3"},
                                         {"g_cm³", "g/cm³"},
                                         {"t_m3", "t/m3"},
                                         {"t_m³", "t/m³"},
                                         {"lb_ft3", "lb/ft3"},
                                         {"n_mm2", "N/mm2"},
                                         {"mn_m", "MN/m"},
                                         {"kn_m", "kN/m"},
                                         {"t_ha", "t/ha"},
                                         {"kg_ha", "kg/ha"},
                                         {"mpa", "MPa"},
                                         {"kpa", "kPa"},
                                         {"pct", "%"},
                                         {"percent", "%"},
                                         {"%", "%"},
                                         {"pcf", "pcf"},
                                         {"hz", "Hz"},
                                         {"mm", "mm"},
                                         {"cm", "cm"},
                                         {"m", "m"},
                                         {"ft", "ft"},
                                         {"feet", "ft"},
                                         {"in", "in"},
                                         {"s", "s"},
                                         {"ms", "ms"},
                                         {"deg", "deg"},
                                         {"degc", "°C"},
                                         {"deg_c", "°C"},
                                         {"degf", "°F"},
                                         {"deg_f", "°F"},
                                         {"kn", "kN"},
                                         {"psi", "psi"}};

constexpr std::string_view eastings[] = {
    "celle",       "easting", "eastings", "east",  "x",    "utme",  "utmx",    "xcoord", "coordx",
    "xcoordinate", "pointx",  "gridx",    "gride", "posx", "cellx", "centerx", "e"};
constexpr std::string_view northings[] = {
    "celln",       "northing", "northings", "north", "y",    "utmn",  "utmy",    "ycoord", "coordy",
    "ycoordinate", "pointy",   "gridy",     "gridn", "posy", "celly", "centery", "n"};
constexpr std::string_view longitudes[] = {"longitude", "lon", "long", "lng"};
constexpr std::string_view latitudes[] = {"latitude", "lat"};
constexpr std::string_view passes[] = {"passcount", "passnumber", "passno", "passnum",  "passnr",
                                       "passes",    "pass",       "npass",  "numpasses"};
// Measured values of rollers, then whatever a table calls its value.
constexpr std::string_view measured[] = {
    "cmv", "icmv",  "ccv",       "hmv",           "evib1",   "evib2", "evib",
    "kb",  "ks",    "stiffness", "modulus",       "mdp",     "rmv",   "dmv",
    "omv", "value", "val",       "measuredvalue", "measure", "yield", "density"};

// Values of spot tests: moduli of plate tests, the light weight deflectometer's and others, bearing and
// penetration, then density and moisture.
constexpr std::string_view spot_values[] = {"evd",
                                            "ev2",
                                            "ev1",
                                            "elwd",
                                            "lwd",
                                            "lwdmodulus",
                                            "dynamicmodulus",
                                            "fwd",
                                            "efwd",
                                            "plt",
                                            "plateload",
                                            "modulus",
                                            "stiffness",
                                            "k",
                                            "kvalue",
                                            "ks",
                                            "cbr",
                                            "dcp",
                                            "dcpi",
                                            "dpi",
                                            "compaction",
                                            "compactiondegree",
                                            "degreeofcompaction",
                                            "relativecompaction",
                                            "dpr",
                                            "proctor",
                                            "drydensity",
                                            "density",
                                            "wetdensity",
                                            "moisture",
                                            "moisturecontent",
                                            "watercontent"};

template <std::size_t N> int position(const std::string_view (&list)[N], std::string_view key) {
    const auto* const found = std::find(std::begin(list), std::end(list), key);
    return found == std::end(list) ? -1 : static_cast<int>(found - std::begin(list));
}

// Cuts "(unit)" or "[unit]" off the end of a name.
bool cut_bracketed_unit(std::string_view& name, std::string& unit) {
    if (name.empty() || (name.back() != ')' && name.back() != ']')) return false;
    const std::size_t open = name.rfind(name.back() == ')' ? '(' : '[');
    if (open == std::string_view::npos || open == 0) return false;
    unit = trimmed(name.substr(open + 1, name.size() - open - 2));
    if (unit == "-" || unit == "1") unit.clear();
    name = trimmed(name.substr(0, open));
    return true;
}

std::string words_joined(std::string_view name) {
    std::string joined = lower_case(name);
    for (char& c : joined)
        if (c == ' ' || c == '-' || c == '.' || c == '/') c = '_';
    return joined;
}

// Cuts a known unit off the end of words such as "yield_bu_ac".
void cut_suffix_unit(std::string& words, std::string& unit) {
    for (const auto& [suffix, text] : unit_suffixes) {
        if (words.size() <= suffix.size() + 1 || !words.ends_with(suffix) ||
            words[words.size() - suffix.size() - 1] != '_')
            continue;
        words.resize(words.size() - suffix.size() - 1);
        unit = text;
        return;
    }
}

std::string without_separators(std::string words) {
    std::erase(words, '_');
    return words;
}

column_meaning meaning_of_key(std::string_view key) {
    const auto at = [&](column_role role, int rank) { return column_meaning{role, rank, {}}; };
    for (std::string_view base : {key, key.starts_with("last") ? key.substr(4) : key}) {
        if (const int rank = position(eastings, base); rank >= 0)
            return at(column_role::easting, rank);
        if (const int rank = position(northings, base); rank >= 0)
            return at(column_role::northing, rank);
        if (position(longitudes, base) >= 0) return at(column_role::longitude, 0);
        if (position(latitudes, base) >= 0) return at(column_role::latitude, 0);
        if (const int rank = position(passes, base); rank >= 0)
            return at(column_role::pass_count, rank);
        if (const int rank = position(measured, base); rank >= 0)
            return at(column_role::measured, rank);
    }
    return {};
}

} // namespace

int spot_rank(std::string_view name) {
    name = trimmed(name);
    std::string unit;
    cut_bracketed_unit(name, unit);
    std::string words = words_joined(name);
    if (const int rank = position(spot_values, without_separators(words)); rank >= 0) return rank;
    cut_suffix_unit(words, unit);
    return position(spot_values, without_separators(words));
}

int rank_of_name(std::string_view name, std::span<const std::string_view> list) {
    name = trimmed(name);
    std::string unit;
    cut_bracketed_unit(name, unit);
    std::string words = words_joined(name);
    const auto rank_of = [&](std::string_view key) {
        const auto found = std::find(list.begin(), list.end(), key);
        return found == list.end() ? -1 : static_cast<int>(found - list.begin());
    };
    const auto rank_of_words = [&] {
        const std::string key = without_separators(words);
        const int rank = rank_of(key);
        return rank >= 0 || !key.starts_with("last") ? rank : rank_of(key.substr(4));
    };
    const int rank = rank_of_words();
    if (rank >= 0) return rank;
    cut_suffix_unit(words, unit);
    return rank_of_words();
}

column_meaning meaning_of_name(std::string_view name) {
    name = trimmed(name);
    std::string unit;
    cut_bracketed_unit(name, unit);
    std::string words = words_joined(name);
    column_meaning meaning = meaning_of_key(without_separators(words));
    if (unit.empty() && meaning.role == column_role::other) {
        cut_suffix_unit(words, unit);
        meaning = meaning_of_key(without_separators(words));
    }
    meaning.unit = unit;
    return meaning;
}

std::string heading_unit(const source_column& column) {
    std::string unit = meaning_of_name(column.name).unit;
    return unit.empty() ? column.unit : unit;
}

namespace {

template <std::size_t N> std::string listed(const std::string_view (&names)[N]) {
    std::string list;
    for (const std::string_view name : names) {
        if (!list.empty()) list += ", ";
        list += name;
    }
    return list;
}

} // namespace

std::string measured_value_order() {
    return listed(measured);
}

std::string spot_value_order() {
    return listed(spot_values);
}

} // namespace qmx_study

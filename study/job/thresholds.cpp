#include "study/job/thresholds.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/near_name.hpp"

namespace qmx_study {

namespace {

struct key_and_value {
    const char* key;
    double value;
};

preset make_preset(const char* name, const char* what, const std::vector<key_and_value>& values) {
    preset made{name, what, {}};
    for (const auto& [key, value] : values)
        made.thresholds.push_back({key, value, name, fmt::format("preset {}", name)});
    return made;
}

std::string meant(const std::string& nearest) {
    return nearest.empty() ? std::string() : fmt::format("; did you mean {}?", nearest);
}

const known_threshold& known(std::string_view key) {
    std::vector<std::string> keys;
    for (const known_threshold& each : known_thresholds()) {
        if (each.key == key) return each;
        keys.emplace_back(each.key);
    }
    throw usage_error(fmt::format("there is no threshold \"{}\"{}\n  the thresholds are: {}", key,
                                  meant(nearest_name(key, keys)), fmt::join(keys, ", ")));
}

std::ptrdiff_t place_of(std::string_view key) {
    return &known(key) - known_thresholds().data();
}

void put(std::vector<threshold>& thresholds, threshold set) {
    const std::ptrdiff_t place = place_of(set.key);
    const auto at = std::find_if(thresholds.begin(), thresholds.end(), [&](const threshold& each) {
        return place_of(each.key) >= place;
    });
    if (at != thresholds.end() && at->key == set.key) {
        *at = std::move(set);
    } else {
        thresholds.insert(at, std::move(set));
    }
}

} // namespace

const std::vector<known_threshold>& known_thresholds() {
    static const std::vector<known_threshold> all{
        {"coverage_percent", "%", "least share of the area at the target pass count", 0, 100},
        {"target_share_percent", "%",
         "least share of the values at target_fraction_percent of the target value", 0, 100},
        {"target_fraction_percent", "%", "of the target value that a value must reach to count", 1,
         200},
        {"growth_percent", "%", "a pass that adds less than this to the mean ends compaction", 0,
         100},
        {"correlation_r", "", "least correlation r between spot tests and roller values", 0, 1},
        {"correlation_tests", "", "least number of spot tests for a verdict on their correlation",
         3, 100000, true},
        {"variation_percent", "%", "greatest coefficient of variation", 0, 1000},
        {"minimum_share_percent", "%", "least share of the values at or above the minimum", 0, 100},
        {"floor_share_percent", "%",
         "least share of the values at or above floor_fraction_percent of the minimum", 0, 100},
        {"floor_fraction_percent", "%", "of the minimum that is the floor", 1, 100},
        {"cell_size", "m", "greatest size of a cell", 0.001, 1000}};
    return all;
}

const std::vector<preset>& presets() {
    static const std::vector<preset> all{
        make_preset("general", "what most rules have in common",
                    {{"coverage_percent", 90},
                     {"target_share_percent", 90},
                     {"target_fraction_percent", 70},
                     {"growth_percent", 5},
                     {"correlation_r", 0.7},
                     {"correlation_tests", 10},
                     {"cell_size", 0.45}}),
        make_preset("us-soil", "common in US rules for soils",
                    {{"coverage_percent", 90},
                     {"target_share_percent", 90},
                     {"target_fraction_percent", 70},
                     {"growth_percent", 5},
                     {"cell_size", 0.45}}),
        make_preset("us-asphalt", "common in US rules for asphalt",
                    {{"coverage_percent", 90},
                     {"target_share_percent", 90},
                     {"target_fraction_percent", 70},
                     {"growth_percent", 5},
                     {"cell_size", 0.45}}),
        make_preset("europe", "common in European rules",
                    {{"growth_percent", 5}, {"correlation_r", 0.7}, {"correlation_tests", 10}}),
        make_preset("austria", "common in Austrian rules: evenness above a minimum",
                    {{"correlation_r", 0.7},
                     {"correlation_tests", 10},
                     {"variation_percent", 20},
                     {"minimum_share_percent", 90},
                     {"floor_share_percent", 100},
                     {"floor_fraction_percent", 80}}),
        make_preset("china-railway", "common in Chinese rules for railways",
                    {{"target_share_percent", 95},
                     {"target_fraction_percent", 100},
                     {"correlation_r", 0.7},
                     {"correlation_tests", 10}}),
        make_preset("none", "no verdicts but those on thresholds set by hand", {})};
    return all;
}

std::vector<threshold> thresholds_of(std::string_view preset_name) {
    std::vector<std::string> names;
    for (const preset& each : presets()) {
        if (each.name == preset_name) return each.thresholds;
        names.emplace_back(each.name);
    }
    throw usage_error(fmt::format("there is no preset \"{}\"{}\n  the presets are: {}", preset_name,
                                  meant(nearest_name(preset_name, names)), fmt::join(names, ", ")));
}

void set_threshold(std::vector<threshold>& thresholds, std::string_view key, double value,
                   const std::string& from) {
    const known_threshold& about = known(key);
    const std::string_view unit = about.unit;
    if (!(value >= about.least && value <= about.most))
        throw usage_error(fmt::format("{} = {} is out of its range, {} to {}{}{}", key, value,
                                      about.least, about.most, unit.empty() ? "" : " ", unit));
    if (about.is_whole && value != std::floor(value))
        throw usage_error(fmt::format("{} = {} is not a whole number", key, value));
    put(thresholds, {std::string(key), value, "", from});
}

void drop_threshold(std::vector<threshold>& thresholds, std::string_view key) {
    known(key);
    std::erase_if(thresholds, [&](const threshold& each) { return each.key == key; });
}

void choose_preset(std::vector<threshold>& thresholds, std::string_view preset_name) {
    std::vector<threshold> chosen = thresholds_of(preset_name);
    for (threshold& each : thresholds)
        if (each.rule.empty()) put(chosen, std::move(each));
    thresholds = std::move(chosen);
}

const threshold* find_threshold(const std::vector<threshold>& thresholds, std::string_view key) {
    for (const threshold& each : thresholds)
        if (each.key == key) return &each;
    return nullptr;
}

} // namespace qmx_study

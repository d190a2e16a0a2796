// The thresholds that verdicts are measured against: named, editable, with the rule they come from.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

// One threshold in force.
struct threshold {
    std::string key;  // one of known_thresholds()
    double value = 0; // in its unit
    std::string rule; // the preset it comes from: "us-soil"; "" where the user set it
    std::string from; // "preset us-soil", "job.toml, line 12", "command line"
};

struct known_threshold {
    const char* key;
    const char* unit;   // "%", "m", ""
    const char* what;   // one line for help and job file
    double least, most; // values outside are refused
    bool is_whole = false;
};

// coverage_percent          least share of the area at the target pass count
// target_share_percent      least share of the values at target_fraction_percent of the target value
// target_fraction_percent   of the target value that a value must reach to count
// growth_percent            a pass adds less than this to the mean: compaction has ended
// correlation_r             least r between spot tests and roller values
// correlation_tests         least number of spot tests for such a verdict
// variation_percent         greatest coefficient of variation
// minimum_share_percent     least share of the values at or above the minimum
// floor_share_percent       least share at or above floor_fraction_percent of the minimum
// floor_fraction_percent
// cell_size                 greatest size of a cell, metres
const std::vector<known_threshold>& known_thresholds();

struct preset {
    const char* name;
    const char* what; // where the rule is common
    std::vector<threshold> thresholds;
};
// general (the default), us-soil, us-asphalt, europe, austria, china-railway, none.
const std::vector<preset>& presets();

// Throw usage_error with a suggestion for a name that is not known, a value out of its range.
std::vector<threshold> thresholds_of(std::string_view preset_name);
void set_threshold(std::vector<threshold>& thresholds, std::string_view key, double value,
                   const std::string& from);
// No verdict of this kind is asked for.
void drop_threshold(std::vector<threshold>& thresholds, std::string_view key);
// Takes another preset; the thresholds that the user set stay.
void choose_preset(std::vector<threshold>& thresholds, std::string_view preset_name);

// The value in force; nothing where no verdict of this kind is asked for.
const threshold* find_threshold(const std::vector<threshold>& thresholds, std::string_view key);

} // namespace qmx_study

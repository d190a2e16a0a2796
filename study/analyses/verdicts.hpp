// Verdicts against thresholds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "study/job/thresholds.hpp"

namespace qmx_study {

enum class outcome { met, missed, not_given };

struct verdict {
    std::string
        key; // "coverage", "target", "growth", "correlation", "variation", "minimum", "floor", "cell_size"
    std::string part;           // of the document that it rests on
    threshold measured_against; // the threshold in force
    bool at_least = true;       // the measured number must be at least the threshold; else at most
    std::optional<double> measured;
    std::string unit;
    outcome result = outcome::not_given;
    std::string reason_key; // why there is none: "no_target", "no_area", "few_tests", ...
    std::string reason;     // in English
    std::string basis;      // "7286 of 7752 cells at or above 28 (70 % of 40)"
};

struct report_answer;

// One verdict for each threshold in force, from the parts that the answer holds.
std::vector<verdict> verdicts_of(const report_answer& answer);

} // namespace qmx_study

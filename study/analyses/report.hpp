// All analyses of a lot, from one reading of its file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/coverage.hpp"
#include "study/analyses/curve.hpp"
#include "study/analyses/road.hpp"
#include "study/analyses/semivariogram.hpp"
#include "study/analyses/spots.hpp"
#include "study/analyses/stats.hpp"
#include "study/analyses/verdicts.hpp"
#include "study/base/file_hash.hpp"
#include "study/job/settings.hpp"
#include "study/lot/trait_summary.hpp"

namespace qmx_study {

// The lot's cells as columns: the companion of a report's document. Records and rows of the file are
// named by number, so that further columns can be carried through from the file.
struct cell_table {
    std::vector<double> x, y, value;
    std::vector<std::int32_t> pass;
    std::vector<std::uint8_t> verdict; // cell_verdict
    std::vector<std::int64_t> records; // ascending, from 1
    std::size_t size() const { return x.size(); }
};
enum cell_verdict : std::uint8_t { cell_missed = 0, cell_met = 1, cell_without_verdict = 2 };

struct marked_input {
    std::string role; // "points", "tests", "area", "excluded_area", "filter_polygon", "job"
    std::string file;
    file_mark mark;
};

// Why a part of the report is not there.
struct missing_part {
    std::string part; // "coverage", "curve", ...: a key of the document
    std::string key;  // "no_area", "no_positions", "no_passes", "no_tests", "failed", ...
    std::string text; // in English
};

// What the data do not support, for one figure.
struct caution {
    std::string part; // a key of the document, or "data"
    std::string key; // "few_tests", "correlated_cells", "capped_sensor", "mixed_lifts", "gaps", ...
    std::string text;            // in English
    std::vector<double> numbers; // that the text names, for texts in other languages
};

struct pass_share {
    std::int32_t passes = 0;
    std::int64_t cells = 0;
};

struct report_answer {
    job_settings settings;
    std::vector<marked_input> inputs;
    reading_account reading;
    trait_summary traits;
    cell_summary cells;
    bool finished_layer =
        false; // the last pass of each cell was taken where the layer is asked about

    std::optional<stats_answer> stats;
    std::vector<pass_share> pass_counts; // of the cells
    std::optional<coverage_answer> coverage;
    std::optional<curve_answer> curve;
    std::optional<spots_answer> spots;
    std::optional<semivariogram_answer> semivariogram;
    std::optional<road_answer> road;
    std::vector<missing_part> missing;

    std::vector<verdict> verdicts;
    std::vector<caution> cautions;
    std::vector<std::string> notes;
};

struct lot_report {
    report_answer answer;
    cell_table cells;
};

// Throws usage_error where an input cannot be read; a part that fails is missing and says why.
lot_report report_of(const job_settings& settings, progress& shown);

} // namespace qmx_study

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
#include "study/shapes/polygon_reader.hpp"

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

// The share of the finished layer's values that satisfy a limit.
struct limit_share {
    double limit = 0; // what the values were compared with
    counted_share share;
};

// What is drawn over the maps, in the plane of the cells.
struct drawn_outlines {
    std::string role; // "area", "excluded_area", "filter_polygon"
    std::vector<polygon> polygons;
};

struct extent {
    double x_least = 0, x_most = 0, y_least = 0, y_most = 0;
};

struct report_answer {
    job_settings settings;
    std::vector<marked_input> inputs;
    reading_account reading; // of the finished layer
    std::optional<extent> cells_extent;
    std::string length_unit; // of the positions, "" where it is not known
    bool is_geographic = false;
    double metre = 0; // in units of the positions; 0 where the unit is not known
    std::optional<std::int32_t> target_passes;
    std::string target_passes_from; // "named", "the compaction curve"
    std::optional<limit_share> target_share, minimum_share, floor_share;
    std::optional<cell_limit> limit_of_cells; // that verdict and weak stretches are told by
    std::string limit_from;                   // "target", "minimum"
    double greatest_value = 0;                // of the finished layer
    std::int64_t at_greatest_value = 0;
    std::int64_t rows_without_pass = 0; // of those with a value, where there is a column of passes
    std::optional<cell_lattice> lattice;
    std::vector<band_point> band; // of the line through the spot tests
    std::vector<drawn_outlines> outlines;
    bool outlines_are_thinned = false;
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

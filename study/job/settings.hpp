// What a report is asked: the job file and the command line fill it, the report's analyses read it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/base/file_hash.hpp"
#include "study/job/thresholds.hpp"
#include "study/lot/lot_filters.hpp"
#include "study/lot/reading_options.hpp"
#include "study/lot/trait_columns.hpp"

namespace qmx_study {

// Written into the report as they are.
struct report_texts {
    std::string title, project, lot, contractor, inspector, remarks;
};

struct job_settings {
    std::string job_file;                // "" without one
    std::optional<file_stamp> job_stamp; // of it as it was read

    reading_options reading; // files, columns, missing texts, coordinate system, --where
    trait_names traits;      // names of further columns; empty ones are found by their names
    std::string value_unit;  // where neither the file nor its heading tells it
    lot_filters filters;

    std::string tests;               // table of spot tests, "" without one
    std::string tests_value;         // its value column
    std::optional<double> radius;    // of the circle round a spot test; 0.5 m where none is given
    bool tests_any_pass = false;     // a test is matched with the IC data of all passes
    std::string area, excluded_area; // files with polygons

    std::optional<double> target;              // of the measured value
    bool below = false;                        // values at or below the target satisfy it
    std::optional<double> minimum;             // of the evenness rule
    std::optional<std::int32_t> target_passes; // otherwise read off the compaction curve
    std::optional<double> lag;                 // of the semivariogram
    std::optional<int> lags;
    std::optional<double> window; // along the road, in the unit of the positions
    bool all_records = false;     // of each cell are meant

    std::string preset = "general";
    std::vector<threshold>
        thresholds; // those of the preset with the changes of job and command line

    report_texts texts;
    std::string time_stamp; // ISO 8601; given by whoever runs the report

    // Where the results go; "" for those not wanted. Relative names in a job file start at its folder.
    std::string report, document, tables, cells;
    std::string language = "en";
    std::string logo;
};

} // namespace qmx_study

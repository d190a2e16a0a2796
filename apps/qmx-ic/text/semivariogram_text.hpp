// The semivariogram of a lot, in text, in JSON and as a CSV.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/lag_proposal.hpp"
#include "study/analyses/library_call.hpp"
#include "study/analyses/pair_counts.hpp"
#include "study/document/json_output.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// Where a parameter of the model stands between the library's bounds.
enum class model_bound { none, lower, upper };

struct semivariogram_report {
    semivariogram_report(const table_source& from, const lot& used) : source(from), points(used) {}

    const table_source& source;
    const lot& points;
    cell_summary cells;
    bool last_pass = false;
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell

    double origin_x = 0, origin_y = 0; // subtracted from the positions
    double position_step = 0;          // of 32-bit numbers at the end of the extent
    point_layout layout;
    double lag = 0;
    int lags = 0;
    std::string lags_from; // how lag and number of lags came about
    double azimuth = 0, tolerance = 0, bandwidth = 0;
    bool is_directional = false;
    bool is_standardised = false;
    double value_scale = 1; // the library saw the values multiplied by it; results are scaled back

    semivariogram result;
    std::vector<std::int64_t> pairs; // of each class; empty where they were not counted
    std::optional<library_failure> failure;
    std::string explanation; // of a failed fit
    model_bound range_bound = model_bound::none;
    model_bound sill_bound = model_bound::none;
    std::string output;
    std::vector<std::string> notes;

    double cut_off() const { return (lags + 0.5) * lag; }
    bool is_fitted() const { return explanation.empty(); }
    // A class past that of coincident points has pairs exactly when its mean distance is not 0.
    bool is_empty(std::size_t lag_class) const {
        return lag_class > 0 && !(result.distances[lag_class] > 0);
    }
    double model_at(double distance) const;
    bool flattens() const { return result.reading[0] < static_cast<float>(result.curve_x[98]); }
    std::string semivariance_unit() const; // "" where it is not known
};

std::string semivariogram_text(const semivariogram_report& report);
json semivariogram_json(const semivariogram_report& report);

// Lag classes and, where there is a model, its curve; numbers with all their digits. Throws
// usage_error.
void write_semivariogram(const semivariogram_report& report);

} // namespace qmx_study

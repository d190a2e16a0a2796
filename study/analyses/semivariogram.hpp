// How a value varies with distance: the lag classes, and the model fitted to them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/lag_proposal.hpp"
#include "study/analyses/library_call.hpp"
#include "study/analyses/lot_notes.hpp"
#include "study/analyses/pair_counts.hpp"
#include "study/analyses/semivariogram_models.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

// Lengths in the unit of the positions, angles in degrees.
struct semivariogram_question {
    std::optional<double> lag; // otherwise proposed from the positions
    std::optional<int> lags;
    std::optional<double> azimuth;   // clockwise from north; otherwise all directions
    std::optional<double> tolerance; // half-angle of the cone; 22.5 where none is given
    std::optional<double> bandwidth; // half-width of the band; otherwise any
    std::optional<double> value_scale;
    bool standardise = false;
    bool last_pass = false;   // of each cell
    bool all_records = false; // are meant, though a cell has several
    bool count_pairs = false; // also where that takes seconds
    std::optional<lag_weights>
        weights;                 // that name the best model; the pairs where they are counted
    bool without_models = false; // but the library's
    // The search takes no more pairs than these, the same ones on every machine: of too many points
    // some are drawn.
    std::optional<double> most_pairs;
};

// Where a parameter of the model stands between the library's bounds.
enum class model_bound { none, lower, upper };

struct semivariogram_answer {
    reading_account reading;
    cell_summary cells;
    bool last_pass = false;
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell

    double origin_x = 0, origin_y = 0; // subtracted from the positions
    double position_step = 0;          // of 32-bit numbers at the end of the extent
    point_layout layout;
    std::size_t drawn = 0; // points that the pairs are made of where not all are
    double lag = 0;
    int lags = 0;
    std::string lags_from; // how lag and number of lags came about
    double azimuth = 0, tolerance = 0, bandwidth = 0;
    bool is_directional = false;
    bool is_standardised = false;
    // The library saw values and distances multiplied by these, so that the bounds of its fit, which
    // are mere numbers, do not bind; results are scaled back.
    double value_scale = 1, distance_scale = 1;
    bool scale_is_named = false; // by the user
    double variance = 1;         // that standardised semivariances are divided by; 1 otherwise

    semivariogram result;
    double residual_norm = 0; // root of the sum of squares of lags less model, unit of semivariance
    std::vector<double> model;       // at the mean distance of each class; NaN where there is none
    std::vector<std::int64_t> pairs; // of each class; empty where they were not counted
    variogram_models models;         // with a nugget
    bool has_models = true;          // unless they were not asked for
    analysis_failure failure;        // of the fit
    model_bound range_bound = model_bound::none;
    model_bound sill_bound = model_bound::none;
    std::string semivariance_unit; // "" where it is not known
    std::string output;            // file that lags and curve were written to, or ""
    std::vector<std::string> notes;

    double cut_off() const { return (lags + 0.5) * lag; }
    double lag_of(std::size_t lag_class) const { return static_cast<double>(lag_class - 1) * lag; }
    bool is_fitted() const { return !failure.has_failed(); }
    // A class past that of coincident points has pairs exactly when its mean distance is not 0.
    bool is_empty(std::size_t lag_class) const {
        return lag_class > 0 && !(result.distances[lag_class] > 0);
    }
    bool is_counted(std::size_t lag_class) const {
        return !pairs.empty() && pairs[lag_class] != unknown_pairs;
    }
    bool are_all_counted() const;
    bool flattens() const { return result.reading[0] < static_cast<float>(result.curve_x[98]); }
};

// Work that takes longer than a moment.
struct work_ahead {
    double seconds = 0;
    std::int64_t points = 0;
    bool counts_pairs = false; // which takes half of it
};

// Throws usage_error where the question makes no sense.
void check(const semivariogram_question& question);
reading_needs needs_of(const semivariogram_question& question);
// foreseen: told before a long search, may be empty. Throws usage_error, analysis_error.
semivariogram_answer analyse(const semivariogram_question& question, loaded_lot& lot,
                             progress& shown,
                             const std::function<void(const work_ahead&)>& foreseen);
// Of a lot whose finished layer was taken before; all points have a position.
semivariogram_answer analyse(const semivariogram_question& question, const loaded_lot& lot,
                             finished_layer layer, progress& shown,
                             const std::function<void(const work_ahead&)>& foreseen);

} // namespace qmx_study

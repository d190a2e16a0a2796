// A polynomial through the pairs of two columns.
#pragma once

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

struct fit_question {
    int degree = 2;
    bool centre = false; // subtract the middle of the abscissas before the fit
};

// A coefficient of the power k of (x - centre).
struct fit_term {
    double coefficient = 0, standard_error = 0; // NaN where the pairs are too few for an error
};

struct fit_answer {
    reading_account reading; // its position is the two columns
    int degree = 0;
    bool is_centred = false;
    double centre = 0; // subtracted from the abscissas before the fit
    std::vector<double> data_x, data_y;
    double smallest_x = 0, largest_x = 0, smallest_y = 0, largest_y = 0;
    double digits_lost = 0; // of 16, in the sum of ascending powers, estimated
    // By how much centring moves an ordinate at most, where it was worth a look.
    double centring_moves = std::numeric_limits<double>::quiet_NaN();
    std::array<double, curve_points> x{}, y{}; // the curve, abscissas as in the file
    // Ordinary least squares of the pairs in 64 bits; empty where they do not settle the terms.
    std::vector<fit_term> terms;
    double r_squared = 0;      // percent
    double standard_error = 0; // of an ordinate about the curve
    analysis_failure failure;
    std::string output; // file that the curve was written to, or ""
    std::vector<std::string> notes;

    bool has_curve() const { return !failure.has_failed(); }
};

// Throws usage_error where the question makes no sense.
void check(const fit_question& question);
// Reads the pairs of the columns that --x and --y name. Throws usage_error.
loaded_lot load_pairs(const reading_options& options, progress& shown);
// Throws usage_error, analysis_error.
fit_answer analyse(const fit_question& question, loaded_lot& lot);

} // namespace qmx_study

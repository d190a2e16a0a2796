// A polynomial through two columns, in text and in JSON.
#pragma once

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/document/json_output.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct fit_report {
    fit_report(const table_source& from, const lot& used) : source(from), points(used) {}

    const table_source& source;
    const lot& points; // its positions are the pairs
    int degree = 0;
    bool is_centred = false;
    double centre = 0; // subtracted from the abscissas before the fit
    double smallest_x = 0, largest_x = 0, smallest_y = 0, largest_y = 0;
    double digits_lost = 0; // of 16, in the sum of ascending powers, estimated
    // By how much centring moves an ordinate at most, where it was worth a look.
    double centring_moves = std::numeric_limits<double>::quiet_NaN();
    std::array<double, curve_points> x{}, y{}; // the curve, abscissas as in the file
    std::string explanation;                   // of a failure
    std::string output;
    std::vector<std::string> notes;

    bool has_curve() const { return explanation.empty(); }
};

std::string fit_text(const fit_report& report);
json fit_json(const fit_report& report);

} // namespace qmx_study

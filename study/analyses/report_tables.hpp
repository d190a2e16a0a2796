// The tables of a report: read once, marked with their hashes, brought into one plane.
#pragma once

#include <optional>

#include "study/analyses/report.hpp"

namespace qmx_study {

struct report_tables {
    loaded_lot lot;
    std::optional<loaded_lot> tests;
    polygon_set included, excluded;
};

// Fills the inputs, the traits and the outlines of the answer. Rows without a value stay in the lot,
// marked with a NaN; a missing pass is no_pass. Throws usage_error.
report_tables read_report_tables(const job_settings& settings, report_answer& answer,
                                 progress& shown);

} // namespace qmx_study

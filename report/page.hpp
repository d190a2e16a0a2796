// A report's document and cells as one page: a self-contained HTML file.
#pragma once

#include <string>

#include "study/analyses/report.hpp"
#include "study/document/json.hpp"

namespace qmx_report {

struct page_options {
    std::string language = "en"; // one of languages()
    std::string logo;            // file with a PNG, JPEG or SVG, "" without one
};

std::vector<std::string> languages();

// False in a build without Node: pages cannot be made then, and page_of throws usage_error saying so.
bool can_make_pages();

// Before the work: throws usage_error where no page could be made with these options.
void check(const page_options& options);

// The page, below 5 MB whatever the number of cells. document: as report_document gives it; cells may
// be empty. Reads nothing but the logo, computes no result. Throws usage_error.
std::string page_of(const qmx_study::json& document, const qmx_study::cell_table& cells,
                    const page_options& options);

} // namespace qmx_report

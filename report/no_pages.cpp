// Stands for the page in a build without Node.
#include "report/page.hpp"
#include "study/base/errors.hpp"

namespace qmx_report {

std::vector<std::string> languages() {
    return {"en", "de"};
}

bool can_make_pages() {
    return false;
}

void check(const page_options&) {
    throw qmx_study::usage_error("this build makes no pages, since Node, npm or lodepng were not "
                                 "there; the document and the "
                                 "tables (--document, --tables) need none of them");
}

std::string page_of(const qmx_study::json&, const qmx_study::cell_table&,
                    const page_options& options) {
    check(options);
    return {};
}

} // namespace qmx_report

// The attribute filter of --where: the filter language of GDAL, with numbers compared as numbers
// whatever the file holds them in.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ogrsf_frmts.h>

#include "study/lot/row_survey.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// The option that keeps the rows whose column satisfies a condition, as one writes it in a shell:
// --where "PassCount >= 2"; a name that is no plain word stands in quotation marks of its own.
std::string where_hint(const std::string& column, const std::string& condition);

class row_filter {
public:
    // A column whose cells are numbers (units inside them stripped) compares as numbers; a missing
    // cell is NULL, and so is a cell of such a column that is no number. Throws usage_error when the
    // expression cannot be read. An empty expression lets every row pass.
    row_filter(const std::string& expression, const table_source& source, const row_survey& survey);
    row_filter(const row_filter&) = delete;
    row_filter& operator=(const row_filter&) = delete;

    bool passes(const table_source& row);
    const std::vector<int>& columns() const { return used; } // that it looks at

private:
    const row_survey& survey;
    // Counts its users: a feature of it is one, so it must not simply be deleted.
    struct releaser {
        void operator()(OGRFeatureDefn* shared) const { shared->Release(); }
    };
    std::unique_ptr<OGRFeatureDefn, releaser> definition;
    OGRFeatureQuery query;
    std::unique_ptr<OGRFeature> cells;
    std::vector<int> used;
};

} // namespace qmx_study

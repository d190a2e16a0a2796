// The records of a layer column by column, many at a time, as a format hands them out that is made of
// columns or of rows with types. For the files that call GDAL.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include <ogrsf_frmts.h>

namespace qmx_study {

class column_batches {
public:
    // Null where the layer's format is not one of those, and where a column is wanted whose words a feature
    // alone knows, such as a date. The layer reads nothing else meanwhile.
    static std::unique_ptr<column_batches> of(OGRLayer& layer, const std::vector<int>& wanted,
                                              bool with_geometry);
    ~column_batches();

    bool next(); // false after the last record, and after a failure
    bool has_failed() const;

    // As those of a feature: what is not wanted is missing.
    bool is_missing(int column) const;
    double number(int column) const;
    std::string_view text(int column) const; // valid until the next call
    // As well-known binary, "" where there is none.
    std::string_view geometry() const;

private:
    struct state;
    explicit column_batches(std::unique_ptr<state> opened);
    std::unique_ptr<state> now;
};

} // namespace qmx_study

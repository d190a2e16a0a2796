// The report of an experimental semivariogram: a table of its lag classes in a file.
//
// A debugging aid, like the run log of the coverage; off in production.
#pragma once

#include "base/array_view.hpp"
#include "base/base_types.hpp"

namespace qmx {

// Writes "gslib_gamv_out.txt" among the temporary files: the seconds that the pairs took, then for each
// lag class its number, mean distance, semivariance and pair count. `result` is gslib_gamv's table.
// Failures: those of opening the file.
void write_class_report(i32 classes, const array_view<f64>& result, f64 seconds);

} // namespace qmx

// Checks the parameter record of an experimental semivariogram and narrows the data for the pair search.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"
#include "semivariogram/search/gamv_variables.hpp"

namespace qmx {

// Checks the record, narrows the data and computes the variance, from the values before narrowing
// and by the one-pass formula: sum of squares / n - mean squared. Trimming does not apply to it.
//
// The first check that fails ends the routine. Failures (code 101; the path holds "readparm" alone):
//   ivtype 9 or 10  "i_vgmtype_indsemivgmcont and i_vgmtype_indsemivgmcate are not implemented yet"
//   nlag < 1        "nlag is too small: check parameters"
//   xlag < 0        "xlag is too small: check parameter file"
//   bandwh < 0      "horizontal bandwidth is too small"
//   bandwd < 0      "vertical bandwidth is too small"
i32 readparm(const t_gamvset& set, const i32& number_of_data,
             const array_view<const t_icdata>& data, gamv_variables& variables);

} // namespace qmx

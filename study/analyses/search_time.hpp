// How long the search for the pairs of a semivariogram takes: estimated before it, and shown during it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/base/progress.hpp"

namespace qmx_study {

std::string duration_text(double seconds); // "12 s", "3 min", "1.5 h"

// Seconds that one search will take, 0 where it is over before that would be of use. A piece of the
// lot is searched to learn what a pair costs on this machine and in data as dense as these.
double expected_seconds(const std::vector<t_icdata>& points, const t_gamvset_user& settings);

// Runs the work and shows meanwhile for how long it has been running: more of a call that comes back
// when all is done cannot be known.
void run_with_clock(double seconds, progress& shown, const std::function<void()>& work);

} // namespace qmx_study

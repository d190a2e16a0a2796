// A job file proposed from what is recognised in the files of a lot.
#pragma once

#include <string>

#include "study/base/progress.hpp"
#include "study/job/settings.hpp"

namespace qmx_study {

// Opens and reads the files of known.reading and composes a commented job file: the columns found and what else
// could be taken, units, the ranges seen, machines, lifts and times as remarks, the presets. Spot tests and
// areas that are known already are written down unread. job_file: where
// the text will stand, "" for the present folder; relative names of files are written from there. Throws
// usage_error.
std::string init_text(const job_settings& known, const std::string& job_file, progress& shown);

} // namespace qmx_study

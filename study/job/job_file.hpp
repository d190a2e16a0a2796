// The job file: a report's settings in TOML, so that a run can be repeated.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "study/job/settings.hpp"

namespace qmx_study {

// Relative names of files in it start at its folder. Throws usage_error with the line of a key, a type or
// a value that is not right.
job_settings read_job(const std::string& file);
// The same for a text that stands for the file's contents.
job_settings job_from_text(const std::string& text, const std::string& file);

// What is said in a job file beside the words of its keys: for "columns.value", say, the columns that could
// be taken too. Each text is one line.
using job_remarks = std::map<std::string, std::vector<std::string>>;

// A commented job file that read_job reads back as these settings; what is not set stands in it
// behind a mark, "#target = 40". head: lines above it. Throws usage_error for a text that is no UTF-8.
std::string job_text(const job_settings& settings, const std::vector<std::string>& head,
                     const job_remarks& remarks);

} // namespace qmx_study

// The files that a report reads.
#pragma once

#include <string>
#include <vector>

#include "study/job/settings.hpp"

namespace qmx_study {

// Those that no output may be written over.
inline std::vector<std::string> input_files(const job_settings& settings) {
    std::vector<std::string> inputs = settings.reading.files();
    for (const std::string& file : {settings.tests, settings.area, settings.excluded_area,
                                    settings.filters.polygon, settings.job_file, settings.logo})
        if (!file.empty()) inputs.push_back(file);
    return inputs;
}

} // namespace qmx_study

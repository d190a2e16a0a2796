// Settings of a study from the arguments of a call, by the same keys as a job file.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

#include "study/job/settings.hpp"

namespace qmx_python {

// job: a job file, "" without one. given: "table.key" -> value, laid over it; a preset first, so that
// thresholds of the same call are laid over its own. Throws usage_error. With the GIL.
qmx_study::job_settings settings_from(const std::string& job, const nanobind::dict& given);

// table -> key -> value, of what is set.
nanobind::dict settings_as_dict(const qmx_study::job_settings& settings);

// name -> {"what": ..., "thresholds": {key: value}}.
nanobind::dict presets_as_dict();

} // namespace qmx_python

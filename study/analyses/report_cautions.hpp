// What a reader of a report should know of what the data do not support.
#pragma once

#include <string>
#include <vector>

#include "study/analyses/report.hpp"

namespace qmx_study {

// Of an answer whose parts and verdicts are there.
std::vector<caution> cautions_of(const report_answer& answer);

// The notes of all its parts, each once.
std::vector<std::string> notes_of(const report_answer& answer);

} // namespace qmx_study

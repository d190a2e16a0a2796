// The file that --output names.
#pragma once

#include <string>
#include <string_view>

namespace qmx_study {

// Throws usage_error when both are the same file.
void refuse_input_as_output(const std::string& input, const std::string& output);

// Writes a whole file. Throws usage_error.
void write_output(const std::string& output, std::string_view text);

} // namespace qmx_study

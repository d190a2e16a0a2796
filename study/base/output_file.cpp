#include "study/base/output_file.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

void refuse_input_as_output(const std::string& input, const std::string& output) {
    std::error_code unknown;
    if (std::filesystem::equivalent(input, output, unknown))
        throw usage_error(
            fmt::format("--output {}: this is the file that is read; name another", output));
}

void write_output(const std::string& output, std::string_view text) {
    std::FILE* const file = std::fopen(output.c_str(), "wb");
    bool is_written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    int reason = errno;
    if (file && std::fclose(file) != 0 && is_written) {
        is_written = false;
        reason = errno;
    }
    if (!is_written)
        throw usage_error(fmt::format("--output {}: {}", output, std::strerror(reason)));
}

} // namespace qmx_study

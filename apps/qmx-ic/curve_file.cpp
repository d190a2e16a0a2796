#include "curve_file.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "command.hpp"

namespace qmx_ic_app {

namespace {

std::string quoted(const std::string& name) {
    if (name.find_first_of(",\"\r\n") == std::string::npos) return name;
    std::string result = "\"";
    for (const char c : name) result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + '"';
}

} // namespace

void write_curve(const std::string& output, const std::string& input, const std::string& x_name,
                 const std::string& y_name, const std::array<double, curve_points>& x,
                 const std::array<double, curve_points>& y) {
    std::error_code unknown;
    if (std::filesystem::equivalent(input, output, unknown))
        throw usage_error(
            fmt::format("--output {}: this is the file that is read; name another", output));
    std::string text = quoted(x_name) + "," + quoted(y_name) + "\n";
    for (std::size_t i = 0; i < x.size(); ++i) text += fmt::format("{},{}\n", x[i], y[i]);
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

} // namespace qmx_ic_app

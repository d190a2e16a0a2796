#include "study/output/curve_file.hpp"

#include <fmt/format.h>

#include "study/base/output_file.hpp"

namespace qmx_study {

namespace {

std::string quoted(const std::string& name) {
    if (name.find_first_of(",\"\r\n") == std::string::npos) return name;
    std::string result = "\"";
    for (const char c : name) result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + '"';
}

} // namespace

void write_curve(const std::string& output, const std::vector<std::string>& inputs,
                 const std::string& x_name, const std::string& y_name,
                 const std::array<double, curve_points>& x,
                 const std::array<double, curve_points>& y) {
    refuse_inputs_as_output(inputs, output);
    std::string text = quoted(x_name) + "," + quoted(y_name) + "\n";
    for (std::size_t i = 0; i < x.size(); ++i) text += fmt::format("{},{}\n", x[i], y[i]);
    write_output(output, text);
}

} // namespace qmx_study

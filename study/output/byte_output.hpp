// The bytes of an output: to a file that gets its name at the end, packed where it is named .gz, or to
// standard output.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace qmx_study {

class byte_output {
public:
    // output: "-" is standard output.
    byte_output(const std::string& output, bool is_packed);
    ~byte_output();

    void write(std::string_view bytes);
    void close(); // throws usage_error

private:
    struct state;
    std::unique_ptr<state> now;
    std::string name;
};

} // namespace qmx_study

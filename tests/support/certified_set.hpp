// Certified reference data: text files with a header of certified values and a table of data, in the
// folder "certified" below the one that the environment variable QMX_IC_DATA names.
#pragma once

#include "support/test.hpp"

namespace support {

inline std::vector<double> numbers_in(const std::string& text) {
    std::vector<double> numbers;
    std::istringstream words(text);
    for (double number = 0; words >> number;) numbers.push_back(number);
    return numbers;
}

struct certified_set {
    std::vector<std::string> header;
    std::vector<std::vector<double>> rows; // the numbers of each line of data

    // The numbers behind a label, in the first line of the header that has some.
    std::vector<double> after(const std::string& label) const {
        for (const std::string& line : header) {
            const std::size_t at = line.find(label);
            if (at == std::string::npos) continue;
            const std::vector<double> numbers = numbers_in(line.substr(at + label.size()));
            if (!numbers.empty()) return numbers;
        }
        return {};
    }
};

// Whether there is a folder to read from; tests of certified data are skipped without one.
inline bool has_certified_sets() {
    return std::getenv("QMX_IC_DATA") != nullptr;
}

// The set of that name; without rows where it cannot be read.
inline certified_set read_certified(const std::string& name) {
    certified_set set;
    std::ifstream file(std::getenv("QMX_IC_DATA") + ("/certified/" + name + ".dat"));
    int number = 0, first = 0, last = 0; // lines of data, as the header states them
    for (std::string line; std::getline(file, line);) {
        ++number;
        const std::size_t at = line.find("(lines");
        if (line.find("Data  ") != std::string::npos && at != std::string::npos)
            std::sscanf(line.c_str() + at, "(lines %d to %d", &first, &last);
        if (first == 0 || number < first)
            set.header.push_back(line);
        else if (const auto numbers = numbers_in(line); number <= last && !numbers.empty())
            set.rows.push_back(numbers);
        if (first == 0 && line.starts_with("-----")) // sets without a range: all below the rule
            first = number + 1, last = std::numeric_limits<int>::max();
    }
    return set;
}

} // namespace support

// Errors gathered over many samples, and the table of them in docs/accuracy.md.
#pragma once

#include "support/test.hpp"

#include <charconv>
#include <concepts>
#include <map>

namespace support {

// Slow builds judge a thinned sample: part of the whole one, so that its errors stay below those of
// the table, without reaching them.
#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
inline constexpr bool whole_sample = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool whole_sample = false;
#else
inline constexpr bool whole_sample = true;
#endif
#else
inline constexpr bool whole_sample = true;
#endif

inline bool takes_sample(long number) {
    return whole_sample || number % 25 == 0;
}

// The shortest text that reads back as the value.
template <std::floating_point Real> std::string shortest(Real value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// Worst and mean of errors in units in the last place, and where the worst was met.
class error_tally {
public:
    // place() describes the sample; it is asked only for what becomes the worst.
    template <class Place> void add(double error, Place place) {
        const double size =
            std::isnan(error) ? std::numeric_limits<double>::infinity() : std::abs(error);
        sum_ += size;
        ++samples_;
        if (size <= worst_) return;
        worst_ = size;
        place_ = place();
    }
    double worst() const { return worst_; }
    double mean() const { return sum_ / static_cast<double>(std::max(samples_, 1L)); }
    long samples() const { return samples_; }
    const std::string& place() const { return place_; }

private:
    double worst_ = 0.0;
    double sum_ = 0.0;
    long samples_ = 0;
    std::string place_ = "-";
};

struct measured_errors {
    std::string name;
    double promised; // what the routine's header promises, in units in the last place
    error_tally errors;
};

// Rounded up to three decimals, or to three digits where that is less.
inline std::string rounded_up(double error) {
    double step = 0.001;
    while (error >= 1000.0 * step) step *= 10.0;
    char text[64];
    const int decimals = step < 0.005 ? 3 : step < 0.05 ? 2 : step < 0.5 ? 1 : 0;
    std::snprintf(text, sizeof text, "%.*f", decimals, std::ceil(error / step) * step);
    return text;
}

inline std::string markdown_row(const measured_errors& row) {
    return "| " + row.name + " | " + shortest(row.promised) + " | " +
           rounded_up(row.errors.worst()) + " | " + rounded_up(row.errors.mean()) + " | " +
           row.errors.place() + " | " + std::to_string(row.errors.samples()) + " |";
}

// The cells of all table rows of a Markdown file, by their first cell.
inline std::map<std::string, std::vector<std::string>> read_tables(const std::string& path) {
    std::map<std::string, std::vector<std::string>> rows;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("| ")) continue;
        std::vector<std::string> cells;
        for (std::size_t at = 2, end = 0; (end = line.find(" |", at)) != line.npos; at = end + 3)
            cells.push_back(line.substr(at, end - at));
        const std::string name = cells.front();
        rows[name] = std::move(cells);
    }
    return rows;
}

} // namespace support

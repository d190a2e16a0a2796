// Text written to a file fast; failures are reported in the words of the program.
#pragma once

#include "study/base/errors.hpp"
#include "study/base/output_file.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace qmx_study {

// A text file written through one large buffer, under its name after close(). Failures are kept
// until then.
class text_file {
public:
    explicit text_file(const std::string& name) : name_(name), file_(name) {
        buffer_.reserve(capacity);
    }

    text_file& text(std::string_view piece) {
        if (buffer_.size() + piece.size() > capacity) flush();
        buffer_.append(piece);
        return *this;
    }

    // A number that was rounded to `decimals` places, below 1e15 in units of its last place.
    text_file& fixed(double value, int decimals) {
        double steps = 1;
        for (int k = 0; k < decimals; ++k) steps *= 10;
        const std::int64_t units = std::llround(value * steps);
        auto left = static_cast<std::uint64_t>(units < 0 ? -units : units);
        char digits[24];
        char* first = digits + sizeof digits;
        for (int written = 0; left > 0 || written <= decimals; ++written, left /= 10) {
            if (decimals > 0 && written == decimals) *--first = '.';
            *--first = static_cast<char>('0' + left % 10);
        }
        if (units < 0) *--first = '-';
        return text({first, static_cast<std::size_t>(digits + sizeof digits - first)});
    }

    void close() {
        flush();
        if (const int error = file_.finish(); error != 0)
            throw usage_error(fmt::format("{}: cannot be written ({}); free some space or name "
                                          "another place",
                                          name_, std::strerror(error)),
                              error_place{{}, name_, 0, {}});
    }

private:
    static constexpr std::size_t capacity = std::size_t{1} << 20;

    void flush() {
        file_.write(buffer_);
        buffer_.clear();
    }

    std::string name_;
    unfinished_file file_;
    std::string buffer_;
};

} // namespace qmx_study

// Text written to a file fast, with failures told as the program tells them.
#pragma once

#include "study/base/errors.hpp"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace qmx_study {

// A text file written through one large buffer. Failures are kept until close().
class text_file {
public:
    explicit text_file(std::string name) : name_(std::move(name)), file_(open(name_)) {
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
        std::FILE* const file = file_.release();
        if (std::fclose(file) != 0 && error_ == 0) error_ = errno;
        if (error_ != 0)
            throw usage_error(fmt::format("{}: cannot be written ({}); free some space or name "
                                          "another place",
                                          name_, std::strerror(error_)));
    }

private:
    static constexpr std::size_t capacity = std::size_t{1} << 20;

    static std::FILE* open(const std::string& name) {
        std::FILE* const file = std::fopen(name.c_str(), "wb");
        if (!file)
            throw usage_error(
                fmt::format("{}: cannot be created ({}); name a prefix in a directory "
                            "that can be written to",
                            name, std::strerror(errno)));
        return file;
    }
    void flush() {
        if (error_ == 0 &&
            std::fwrite(buffer_.data(), 1, buffer_.size(), file_.get()) != buffer_.size())
            error_ = errno;
        buffer_.clear();
    }

    struct closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::string name_;
    std::unique_ptr<std::FILE, closer> file_;
    std::string buffer_;
    int error_ = 0;
};

} // namespace qmx_study

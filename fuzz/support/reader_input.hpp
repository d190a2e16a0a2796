// Texts for the readers of the program, and the errors that they may end with.
#pragma once

#include <string>
#include <string_view>

#include "study/base/errors.hpp"
#include "support/property.hpp"

namespace fuzz {

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

inline bool is_blank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Whether reading ended without an error; only an error with a text may end it.
template <class Read> bool reads(Read read, std::string* message = nullptr) {
    try {
        read();
        return true;
    } catch (const qmx_study::usage_error& error) {
        require<"what is refused is refused with a text">(!is_blank(error.what()));
        if (message) *message = error.what();
        return false;
    }
}

// The text of an input under the name of a file: in memory, so that no disk is waited for.
class memory_file {
public:
    explicit memory_file(const std::string& ending); // of its name: ".wkt"; "" for a stream's
    ~memory_file();
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;

    const std::string& name() const { return name_; }
    void write(std::string_view text) const;

private:
    int handle_ = -1;
    std::string folder_, name_;
};

} // namespace fuzz

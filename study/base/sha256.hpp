// SHA-256 of bytes, by the library of hashes that the build has: libgcrypt, or libmd's one file where a
// module has to hold everything.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace qmx_study {

class sha256 {
public:
    sha256(); // throws analysis_error where the library does not work
    ~sha256();
    sha256(const sha256&) = delete;
    sha256& operator=(const sha256&) = delete;

    void add(const char* bytes, std::size_t size);
    std::string hexadecimal(); // once, after the last bytes

private:
    struct state;
    std::unique_ptr<state> sum;
};

// Bytes as pairs of hexadecimal digits.
std::string hexadecimal(const unsigned char* bytes, std::size_t size);

} // namespace qmx_study

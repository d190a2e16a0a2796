// The bytes of a file packed by gzip, which may hold several members one after the other.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace qmx_study {

constexpr const char* damaged_gzip = "the gzip file is damaged; copy it again";

class gzip_unpacker {
public:
    // The packed file.
    struct packed_bytes {
        std::function<std::size_t(char* to, std::size_t size, std::string& trouble)> read;
        std::function<void()> rewind;
    };
    explicit gzip_unpacker(packed_bytes from);
    ~gzip_unpacker();

    bool has_memory() const; // otherwise nothing can be unpacked
    // After the packed file was put to its start.
    void start();
    // Up to `size` bytes; fewer only at the end, or where `trouble` says why.
    std::size_t unpack(char* to, std::size_t size, std::string& trouble);
    std::size_t waiting() const; // packed bytes that were read and not unpacked yet

private:
    struct state;
    std::unique_ptr<state> now;
};

} // namespace qmx_study

// Unpacks gzip several times as quickly as zlib, where the build found a library that does. What is wrong
// with a file it does not settle: there zlib unpacks it anew, and has the word.
#pragma once

#include <cstddef>
#include <memory>

namespace qmx_study {

class quick_unpacker {
public:
    enum class outcome { going_on, end_of_member, trouble };

    // Null where the build knows none. Throws std::bad_alloc.
    static std::unique_ptr<quick_unpacker> made();
    ~quick_unpacker();

    void start_member();
    // Takes from what `in` points to, and gives to `out`; both are moved on.
    // It may step back by some of the bytes that it took before: by less than `most_back`, and those must
    // stand before `in` as they came.
    static constexpr std::size_t most_back = 16;
    outcome unpack(const char*& in, std::size_t& waiting, char*& out, std::size_t& room);

private:
    struct state;
    explicit quick_unpacker(std::unique_ptr<state> made);
    std::unique_ptr<state> now;
};

} // namespace qmx_study

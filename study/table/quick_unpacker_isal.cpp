#include "study/table/quick_unpacker.hpp"

#include <algorithm>
#include <cstdint>

#include <isa-l/igzip_lib.h>

namespace qmx_study {

struct quick_unpacker::state {
    inflate_state unpacker;
    int seen_of_head = 0;

    // It passes over flags that no format has defined, takes some heads whose own sum is wrong, and sees a
    // wrong mark only when all of the head is there.
    bool is_head(const char* in, std::size_t waiting) {
        constexpr unsigned char wanted[] = {0x1F, 0x8B, 8};
        constexpr unsigned char undefined_flags = 0xE0, sum_of_head = 2;
        for (; seen_of_head < 4 && waiting > 0; ++seen_of_head, ++in, --waiting) {
            const auto byte = static_cast<unsigned char>(*in);
            if (seen_of_head < 3 ? byte != wanted[seen_of_head]
                                 : (byte & (undefined_flags | sum_of_head)) != 0)
                return false;
        }
        return true;
    }
};

quick_unpacker::quick_unpacker(std::unique_ptr<state> made) : now(std::move(made)) {}
quick_unpacker::~quick_unpacker() = default;

std::unique_ptr<quick_unpacker> quick_unpacker::made() {
    return std::unique_ptr<quick_unpacker>(new quick_unpacker(std::make_unique<state>()));
}

void quick_unpacker::start_member() {
    isal_inflate_init(&now->unpacker);
    now->unpacker.crc_flag = ISAL_GZIP;
    now->seen_of_head = 0;
}

quick_unpacker::outcome quick_unpacker::unpack(const char*& in, std::size_t& waiting, char*& out,
                                               std::size_t& room) {
    constexpr std::size_t at_once = std::size_t{1} << 30; // it counts in 32 bits
    if (!now->is_head(in, waiting)) return outcome::trouble;
    inflate_state& unpacker = now->unpacker;
    unpacker.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(in));
    unpacker.avail_in = static_cast<std::uint32_t>(std::min(at_once, waiting));
    unpacker.next_out = reinterpret_cast<std::uint8_t*>(out);
    unpacker.avail_out = static_cast<std::uint32_t>(std::min(at_once, room));
    const int told = isal_inflate(&unpacker);
    const auto* const in_then = reinterpret_cast<const char*>(unpacker.next_in);
    auto* const out_then = reinterpret_cast<char*>(unpacker.next_out);
    waiting = static_cast<std::size_t>(in + waiting - in_then);
    room = static_cast<std::size_t>(out + room - out_then);
    in = in_then;
    out = out_then;
    if (told < 0) return outcome::trouble;
    return unpacker.block_state == ISAL_BLOCK_FINISH ? outcome::end_of_member : outcome::going_on;
}

} // namespace qmx_study

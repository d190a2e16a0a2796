#include "study/table/gzip_unpacker.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <zlib.h>

#include "study/table/quick_unpacker.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t packed_block = std::size_t{1} << 16;
constexpr const char* broken_off = "the gzip file breaks off before its end; copy it again";
using outcome = quick_unpacker::outcome;

} // namespace

struct gzip_unpacker::state {
    packed_bytes source;
    z_stream slow{};
    bool has_slow = false;
    std::unique_ptr<quick_unpacker> quick; // null where zlib unpacks
    std::string packed = std::string(quick_unpacker::most_back + packed_block, '\0');
    const char* in = packed.data() + quick_unpacker::most_back;
    std::size_t waiting = 0;
    bool is_within_member = false;
    std::uint64_t given = 0; // since the start

    // Behind the last bytes of what was there before.
    bool refill(std::string& trouble) {
        char* const first = packed.data() + quick_unpacker::most_back;
        std::string last(in - quick_unpacker::most_back, in);
        const std::size_t got = source.read(first, packed_block, trouble);
        if (got == 0) return false;
        std::copy(last.begin(), last.end(), packed.data());
        in = first;
        waiting = got;
        return true;
    }

    void start() {
        in = packed.data() + quick_unpacker::most_back;
        waiting = 0;
        is_within_member = false;
        given = 0;
    }

    void start_member() {
        if (quick)
            quick->start_member();
        else
            inflateReset(&slow);
        is_within_member = true;
    }

    outcome go_on(char*& out, std::size_t& room) {
        if (quick) return quick->unpack(in, waiting, out, room);
        slow.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in));
        slow.avail_in = static_cast<uInt>(waiting);
        slow.next_out = reinterpret_cast<Bytef*>(out);
        slow.avail_out = static_cast<uInt>(room);
        const int told = inflate(&slow, Z_NO_FLUSH);
        in = reinterpret_cast<const char*>(slow.next_in);
        waiting = slow.avail_in;
        out = reinterpret_cast<char*>(slow.next_out);
        room = slow.avail_out;
        if (told == Z_STREAM_END) return outcome::end_of_member;
        return told == Z_OK || told == Z_BUF_ERROR ? outcome::going_on : outcome::trouble;
    }

    // zlib has the word on what is wrong, and how far all is right: perhaps not as far as the other came.
    void begin_anew_by_zlib(std::uint64_t passed_over, std::string& trouble) {
        quick.reset();
        source.rewind();
        start();
        std::string scratch(packed_block, '\0');
        while (given < passed_over && trouble.empty()) {
            const std::uint64_t left = passed_over - given;
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, packed_block));
            if (unpack(scratch.data(), size, trouble) < size) break;
        }
    }

    std::size_t unpack(char* to, std::size_t size, std::string& trouble) {
        char* out = to;
        std::size_t room = size;
        while (room > 0 && trouble.empty()) {
            const bool is_at_end = waiting == 0 && !refill(trouble);
            if (is_at_end && (!is_within_member || !trouble.empty())) break;
            if (!is_within_member) {
                // Some writers fill up with null bytes behind the last member.
                if (*in == 0) {
                    ++in;
                    --waiting;
                    continue;
                }
                start_member();
            }
            const std::size_t room_before = room;
            const outcome told = go_on(out, room);
            const bool breaks_off = is_at_end && room == room_before;
            if (told == outcome::end_of_member) {
                is_within_member = false;
            } else if (quick && (told == outcome::trouble || breaks_off)) {
                const std::uint64_t before = given;
                begin_anew_by_zlib(before + (size - room), trouble);
                room = size - static_cast<std::size_t>(std::max(given, before) - before);
                out = to + (size - room);
                given = before; // what this call gives is counted below
            } else if (told == outcome::trouble || breaks_off) {
                trouble = told == outcome::trouble ? damaged_gzip : broken_off;
            }
        }
        given += size - room;
        return size - room;
    }
};

gzip_unpacker::gzip_unpacker(packed_bytes from) : now(std::make_unique<state>()) {
    constexpr int window_with_gzip_head = 15 + 16;
    now->source = std::move(from);
    now->has_slow = inflateInit2(&now->slow, window_with_gzip_head) == Z_OK;
    now->quick = quick_unpacker::made();
}

gzip_unpacker::~gzip_unpacker() {
    if (now->has_slow) inflateEnd(&now->slow);
}

bool gzip_unpacker::has_memory() const {
    return now->has_slow;
}

void gzip_unpacker::start() {
    now->start();
}

std::size_t gzip_unpacker::unpack(char* to, std::size_t size, std::string& trouble) {
    return now->unpack(to, size, trouble);
}

std::size_t gzip_unpacker::waiting() const {
    return now->waiting;
}

} // namespace qmx_study

// Files packed by gzip, whole and damaged, against a plain loop round zlib: the same bytes, and the same
// words on what is wrong.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "study/table/gzip_unpacker.hpp"
#include "study/table/quick_unpacker.hpp"
#include "study/table/text_input.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;

struct unpacked {
    std::string text, trouble;
    bool operator==(const unpacked&) const = default;
};

void PrintTo(const unpacked& one, std::ostream* to) {
    *to << one.text.size() << " bytes, \"" << one.trouble << "\"";
}

unpacked by_zlib(const std::string& packed) {
    unpacked found;
    z_stream slow{};
    inflateInit2(&slow, 15 + 16);
    slow.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    slow.avail_in = static_cast<uInt>(packed.size());
    bool is_within = false;
    while (found.trouble.empty()) {
        if (slow.avail_in == 0 && !is_within) break;
        if (!is_within && *slow.next_in == 0) {
            ++slow.next_in;
            --slow.avail_in;
            continue;
        }
        if (!is_within) inflateReset(&slow);
        is_within = true;
        char block[777];
        slow.next_out = reinterpret_cast<Bytef*>(block);
        slow.avail_out = sizeof block;
        const bool is_at_end = slow.avail_in == 0;
        const int told = inflate(&slow, Z_NO_FLUSH);
        found.text.append(block, sizeof block - slow.avail_out);
        if (told == Z_STREAM_END)
            is_within = false;
        else if (told != Z_OK && told != Z_BUF_ERROR)
            found.trouble = damaged_gzip;
        else if (is_at_end && slow.avail_out == sizeof block)
            found.trouble = "the gzip file breaks off before its end; copy it again";
    }
    inflateEnd(&slow);
    return found;
}

// piece: bytes that are read at a time, of the packed file and of the text.
unpacked by_ours(const std::string& packed, std::size_t piece_in, std::size_t piece_out) {
    std::size_t at = 0;
    gzip_unpacker unpacker(
        {[&](char* to, std::size_t size, std::string&) {
             const std::size_t got = std::min({size, piece_in, packed.size() - at});
             std::memcpy(to, packed.data() + at, got);
             at += got;
             return got;
         },
         [&] { at = 0; }});
    unpacked found;
    for (int time = 0; time < 2; ++time) { // it may be read twice
        found = {};
        at = 0;
        unpacker.start();
        std::string block(piece_out, '\0');
        for (std::size_t got = piece_out; got == piece_out && found.trouble.empty();) {
            got = unpacker.unpack(block.data(), block.size(), found.trouble);
            found.text.append(block, 0, got);
        }
    }
    return found;
}

std::string packed_member(const std::string& text, int level, int strategy, gz_header* head) {
    z_stream packer{};
    deflateInit2(&packer, level, Z_DEFLATED, 15 + 16, 8, strategy);
    if (head) deflateSetHeader(&packer, head);
    std::string packed(deflateBound(&packer, static_cast<uLong>(text.size())) + 400, '\0');
    packer.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    packer.avail_in = static_cast<uInt>(text.size());
    packer.next_out = reinterpret_cast<Bytef*>(packed.data());
    packer.avail_out = static_cast<uInt>(packed.size());
    deflate(&packer, Z_FINISH);
    packed.erase(packed.size() - packer.avail_out); // a shorter text, which resize does not promise
    deflateEnd(&packer);
    return packed;
}

class Gzip : public testing::Test {
protected:
    std::mt19937 random{11};

    std::size_t up_to(std::size_t most) { return random() % (most + 1); }

    std::string text_of(std::size_t size) {
        std::string text;
        const bool is_noise = random() % 4 == 0;
        while (text.size() < size)
            text += is_noise ? std::string(1, static_cast<char>(random()))
                             : std::to_string(random() % 5000) + (random() % 7 == 0 ? "\n" : ",");
        return text;
    }
    std::string member(std::size_t size) {
        gz_header head{};
        char name[] = "lot.csv", comment[] = "of a roller";
        Bytef extra[] = "extra";
        head.os = 3;
        if (random() % 2) head.name = reinterpret_cast<Bytef*>(name);
        if (random() % 2) head.comment = reinterpret_cast<Bytef*>(comment);
        if (random() % 2) head.extra = extra, head.extra_len = sizeof extra;
        head.hcrc = static_cast<int>(random() % 2);
        const int strategies[] = {Z_DEFAULT_STRATEGY, Z_HUFFMAN_ONLY, Z_FIXED, Z_RLE};
        return packed_member(text_of(size), static_cast<int>(random() % 10),
                             strategies[random() % 4], random() % 2 ? &head : nullptr);
    }
    void expect_alike(const std::string& packed) {
        const std::size_t pieces[] = {1, 7, 1000, 1 << 16};
        const std::size_t in = pieces[random() % 4], out = pieces[random() % 4];
        ASSERT_EQ(by_ours(packed, in, out), by_zlib(packed)) << in << ", " << out;
    }
};

TEST_F(Gzip, WholeFilesOfSeveralMembersAreUnpacked) {
    for (int round = 0; round < 300; ++round) {
        std::string packed;
        for (auto members = 1 + random() % 3; members > 0; --members) {
            packed += member(up_to(round % 20 == 0 ? 300'000 : 3000));
            if (random() % 4 == 0) packed += std::string(up_to(40), '\0');
        }
        ASSERT_EQ(by_zlib(packed).trouble, "");
        expect_alike(packed);
    }
}

TEST_F(Gzip, DamageIsToldAsZlibTellsIt) {
    for (int round = 0; round < 3000; ++round) {
        std::string packed = member(up_to(round % 50 == 0 ? 200'000 : 400));
        switch (random() % 5) {
        case 0: packed.resize(up_to(packed.size())); break;
        case 1: packed += member(up_to(50)).substr(0, up_to(25)); break;
        case 2: // anything but what fills up
            for (auto more = 1 + random() % 12; more > 0; --more)
                packed += static_cast<char>(1 + random() % 255);
            break;
        case 3: // often in the head or in the sums behind
            packed[random() % 2 ? up_to(packed.size() - 1) : up_to(12)] ^=
                static_cast<char>(1 << random() % 8);
            break;
        default:
            packed[packed.size() - 1 - up_to(9)] ^= static_cast<char>(1 << random() % 8);
            if (random() % 2) packed.resize(packed.size() - up_to(8));
        }
        if (packed.empty()) continue;
        expect_alike(packed);
    }
    // Each place where a small file may break off, and each of its bits.
    const std::string small = member(60);
    for (std::size_t size = 1; size < small.size(); ++size) expect_alike(small.substr(0, size));
    for (std::size_t bit = 0; bit < 8 * small.size(); ++bit) {
        std::string changed = small;
        changed[bit / 8] ^= static_cast<char>(1 << bit % 8);
        expect_alike(changed);
    }
}

TEST_F(Gzip, ATextIsReadAgainFromItsStart) {
    const std::string text = text_of(500'000);
    const study_test::temporary_file file(".csv.gz", study_test::gzipped(text));
    text_input input(file.name());
    for (const std::size_t taken : {std::size_t{10}, std::size_t{300'000}, text.size() + 5}) {
        std::string read(taken, '\0');
        read.resize(input.read(read.data(), taken));
        EXPECT_EQ(read, text.substr(0, taken));
        EXPECT_EQ(input.failure, "");
        input.rewind();
    }
}

} // namespace

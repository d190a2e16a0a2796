// The bytes of an input as counts, flags and reals. Behind the last byte there are zeros.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace fuzz {

// How the reals of an array are made of bytes. Raw bits reach all numbers there are, but two of them are
// hardly ever near each other; the others reach what lies behind sound numbers.
enum class real_kind : std::uint8_t {
    bits64,  // the bits of an f64
    bits32,  // the bits of an f32
    whole,   // -128 to 127
    lattice, // the same times 0.3
    grid,    // a lattice at the coordinates of a map
    parts,   // 16 bits, in 256ths
    odd,     // special numbers, and whole ones
    raised,  // whole ones times a power of two
    count
};

class input_bytes {
public:
    input_bytes(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    const std::uint8_t* rest() const { return at_; }

    std::uint8_t byte() { return at_ == end_ ? std::uint8_t{0} : *at_++; }
    template <class Whole> Whole bits() {
        Whole value = 0;
        const std::size_t taken = std::min(sizeof value, left());
        if (taken > 0) std::memcpy(&value, at_, taken);
        at_ += taken;
        return value;
    }

    bool one_in(unsigned n) { return byte() % n == n - 1; } // rarely by zeros
    // Mostly 1 and 2, and whatever else a host may pass.
    std::int32_t flag() {
        const std::uint8_t way = byte();
        if (way < 224) return 1 + way % 2;
        constexpr std::int32_t others[] = {0, 3, -1, INT32_MIN, INT32_MAX};
        if (way < 250) return others[way % std::size(others)];
        return bits<std::int32_t>();
    }
    std::int32_t whole() {
        switch (byte() % 8) {
        case 0: return bits<std::int32_t>();
        case 1: return bits<std::int16_t>();
        case 2: return INT32_MIN + byte();
        case 3: return INT32_MAX - byte();
        default: return bits<std::int8_t>();
        }
    }
    real_kind kind() {
        return static_cast<real_kind>(byte() % static_cast<unsigned>(real_kind::count));
    }
    double real(real_kind of) {
        switch (of) {
        case real_kind::bits64: return std::bit_cast<double>(bits<std::uint64_t>());
        case real_kind::bits32: return std::bit_cast<float>(bits<std::uint32_t>());
        case real_kind::lattice: return 0.3 * bits<std::int8_t>();
        case real_kind::grid: return 4863210.15 + 0.3 * bits<std::int8_t>();
        case real_kind::parts: return bits<std::int16_t>() / 256.0;
        case real_kind::odd: return odd();
        case real_kind::raised: {
            const double digits = bits<std::int8_t>();
            const int power = 8 * bits<std::int8_t>();
            return std::bit_cast<double>(
                       static_cast<std::uint64_t>(1023 + std::clamp(power, -1022, 1023)) << 52) *
                   digits;
        }
        default: return bits<std::int8_t>();
        }
    }
    // Now and then one of another kind among them.
    double real_or_odd(real_kind of, unsigned seldom) {
        return real(one_in(seldom) ? real_kind::odd : of);
    }
    float real32(real_kind of) { return narrowed(real(of)); }

    // Beyond the range of an f32 the narrowing is an infinity, on which the sanitizers agree too.
    static float narrowed(double value) { return static_cast<float>(value); }

private:
    double odd() {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        constexpr double special[] = {std::numeric_limits<double>::quiet_NaN(),
                                      infinity,
                                      -infinity,
                                      -0.0,
                                      0x1p-1074,
                                      -0x1p-1022,
                                      0x1p-149,
                                      1e-30,
                                      1e20,
                                      1e21,
                                      -2e21,
                                      3.4028235e38,
                                      -3.5e38,
                                      1e300,
                                      -1.7976931348623157e308,
                                      2147483648.0,
                                      -2147483649.0,
                                      199,
                                      200,
                                      1e-9};
        const std::uint8_t which = byte();
        if (which < std::size(special)) return special[which];
        return static_cast<std::int8_t>(which);
    }

    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

// Whole numbers that follow from a seed, for lots larger than an input (splitmix64, Steele, Lea and Flood 2014).
class seeded {
public:
    explicit seeded(std::uint64_t seed) : state_(seed) {}
    std::uint64_t bits() {
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    int below(int limit) { return static_cast<int>(bits() % static_cast<std::uint64_t>(limit)); }
    double share() { return static_cast<double>(bits() >> 11) * 0x1p-53; } // 0 to 1

private:
    std::uint64_t state_;
};

} // namespace fuzz

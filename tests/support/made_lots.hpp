// What generated calls of the exports are made of and hashed by: the same bytes on every platform.
#pragma once

#include "qmx_ic.h"

#include <bit>
#include <cstdint>
#include <cstring>

// FNV-1a over bytes, lowest first; all NaN are one: sign and payload of a NaN are the processor's.
class fnv_hash {
public:
    void add(std::uint64_t bytes, int count) {
        for (int i = 0; i < count; ++i, bytes >>= 8)
            value_ = (value_ ^ (bytes & 0xff)) * 0x100000001b3;
    }
    std::uint64_t value() const { return value_; }
    static std::uint32_t bits(float value) {
        return value == value ? std::bit_cast<std::uint32_t>(value) : 0x7fc00000;
    }
    static std::uint64_t bits(double value) {
        return value == value ? std::bit_cast<std::uint64_t>(value) : 0x7ff8000000000000;
    }

private:
    std::uint64_t value_ = 0xcbf29ce484222325;
};

// Whole numbers by splitmix64 (Steele, Lea and Flood 2014).
class number_maker {
public:
    explicit number_maker(std::uint64_t seed) : state_(seed) {}
    std::uint64_t bits() {
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    std::int32_t whole(std::int32_t least, std::int32_t greatest) {
        const auto width = static_cast<std::uint64_t>(greatest - least) + 1;
        return least + static_cast<std::int32_t>(bits() % width);
    }
    bool one_in(std::int32_t n) { return whole(1, n) == 1; }

private:
    std::uint64_t state_;
};

std::int32_t count_of(const auto& values) {
    return static_cast<std::int32_t>(values.size());
}

inline t_event blank_event() {
    t_event event;
    std::memset(&event, 0x20, sizeof event);
    return event;
}

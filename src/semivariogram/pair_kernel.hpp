// The inner loops of the pair search: distances of one point to many, their classes, and the sums of
// the classes. They exist in several versions that differ in the instructions they use and in nothing
// else: each pair sees the additions, products, quotients and roots of the plain loop, in its order.
#pragma once

#include "frame/work_array.hpp"

#include <bit>
#include <cstdint>

namespace qmx::pair_kernel {

static_assert(std::endian::native == std::endian::little); // bytes are looked at eight at a time

// Lanes are worked off in whole multiples of this; arrays that are read have as much padding.
inline constexpr i64 lanes_at_once = 16;
inline constexpr i64 block_length = 1024; // most pairs of a block

inline constexpr std::uint8_t no_class = 0;     // the pair takes no part
inline constexpr std::uint8_t open_class = 255; // the class depends on the pairs before

struct points {
    const f32* x;
    const f32* y;
    const f32* value;
};

struct one_point {
    f32 x, y, value;
};

// When a pair certainly lies in class k, whatever the pairs before it: h > epsilon and
// |h - xlag * (k - 2)| <= half_width, all in f32.
struct class_rule {
    f32 epsilon;
    f32 xlag;
    f32 inverse_lag; // about 1 / xlag; only a guess of k rests on it
    f32 half_width;
};

// The tests of the search direction, for h > epsilon.
struct direction_rule {
    f32 uvxazm, uvyazm;
    f32 csatol;
    f32 bandwh;
    f32 uvzdec;
    f32 bandwd;
};

// Pairs in range of one point, in their order. What stands past `count` has no meaning.
struct pair_block {
    static constexpr i64 room = block_length + 2 * lanes_at_once;

    i64 count = 0;
    alignas(64) f32 dx[room]; // only where a direction is to be tested
    alignas(64) f32 dy[room];
    alignas(64) f32 hs[room];        // distance squared
    alignas(64) f32 measure[room];   // squared difference of the values
    alignas(64) f32 pairs[2 * room]; // distance and measure, alternating
    alignas(64) std::uint8_t lag_class[room];
    alignas(64) std::uint8_t rejected[room]; // 0 where the direction rejects, or else 255
};

// Pairs wait here, class by class in their order, until they are added: the additions of one class
// are a chain, those of several classes are independent of each other and go side by side.
struct waiting_pairs {
    static constexpr i64 most = 2048; // pairs of one class
    // Some places may be written beyond, and classes are spread over the cache, whose sets repeat
    // after a power of two.
    static constexpr i64 room_of_class = most + 24;
    static constexpr i64 most_columns = 112;

    i64 columns = 0;              // column k is class k; column 0 takes what has no class
    f32* cells = nullptr;         // [columns][room_of_class][distance, measure]
    f32* next[most_columns] = {}; // place of the next pair of each class
    alignas(64) f64 sums[2 * most_columns] = {}; // distance and measure of each class
    f64 counts[most_columns] = {};

    bool reserve(i64 number_of_classes); // false when memory ran out
    i64 most_waiting() const;            // pairs in the class with most of them

private:
    work_array<f32> storage_ = work_array<f32>(0);
};

struct version {
    const char* name;
    // Appends to the block those of count points with hs <= greatest, as many as it has room for
    // with all of them in range.
    void (*filter)(const points& others, i64 count, const one_point& here, f32 greatest,
                   pair_block& block);
    void (*filter_with_offsets)(const points& others, i64 count, const one_point& here,
                                f32 greatest, pair_block& block);
    // Fills pairs and lag_class. Returns whether there are open classes.
    bool (*classify)(const class_rule& rule, pair_block& block);
    // The same, and fills rejected.
    bool (*classify_and_direct)(const class_rule& rule, const direction_rule& direction,
                                pair_block& block);
    // Leaves only the pairs not rejected in pairs and lag_class, and changes the count.
    void (*reject)(pair_block& block);
    // Lets the pairs wait, in their order. No class is open.
    void (*collect)(const pair_block& block, waiting_pairs& waiting);
    // Adds what waits, each pair once or twice.
    void (*add)(waiting_pairs& waiting, bool twice);
};

// The versions that this processor can run, the plainest first.
struct version_list {
    const version* entries[4];
    i32 count;
};
version_list available_versions();

// The version in use: the last of the list unless a test chose another.
const version& version_in_use();
void use_version(const version* chosen); // null: the last of the list again

} // namespace qmx::pair_kernel

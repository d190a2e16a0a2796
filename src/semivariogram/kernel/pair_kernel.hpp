// The inner loops of the pair search: distances, classes and sums of several pairs at once, one in each
// lane of a register. Called by the search. The versions differ in their instructions, never in results:
// each pair goes through the operations of the plain loop, and each class adds its pairs in that order.
#pragma once

#include "semivariogram/kernel/lag_classes.hpp"

#include <cstdint>

namespace qmx::pair_kernel {

inline constexpr i64 most_lanes = 16;                // of any version
inline constexpr i64 columns = most_lag_classes + 1; // element k is class k
// A class k is carried as the f32 key_of_nothing + k. Near this constant f32 holds integers only, so that
// one addition rounds to the nearest class.
inline constexpr f32 key_of_nothing = 12582912.0F; // 1.5 * 2^23

// Stands for a value that takes part in no pair, being trimmed: a NaN that no data hold. Its point still
// moves the search for the class of the next pair.
inline constexpr std::uint32_t trimmed_bits = 0x7FDA7A5FU;

struct points {
    const f32* x;
    const f32* y;
    const f32* value;
};

// Points in any order, each with its position in the data.
struct placed_points {
    points at;
    const i32* number;
};

// The rules of one search.
struct search_rules {
    const lag_classes* classes;
    class_certainty certainty;
    f32 inverse_lag;       // about 1 / xlag, for a first guess of the class
    f32 coincident_square; // greatest squared distance that counts as coincidence
    bool twice;            // each pair counts twice, unless one of its values is NaN
    bool has_marked;       // values that are trimmed or NaN
    bool has_nan;          // values that are NaN and not trimmed
    // Whether the azimuth tolerance, or the bandwidths, can exclude a pair.
    bool has_cone, has_bands;
    f32 uvxazm, uvyazm, uvzdec;
    f32 csatol, bandwh, bandwd;
};

// Rows that are searched at once, each in its own lane, and the state of each.
struct row_lanes {
    alignas(64) f32 x[most_lanes];
    alignas(64) f32 y[most_lanes];
    alignas(64) f32 value[most_lanes];
    alignas(64) f32 limit[most_lanes]; // greatest squared distance looked for; -1: no row
    // Of class_certainty; negative after a coincident pair that leaves the row's state irregular.
    alignas(64) f32 half_width[most_lanes];
    alignas(64) f32 last_distance[most_lanes]; // of the last pair found
    alignas(64) f32 last_key[most_lanes];      // its class, plus key_of_nothing
    alignas(64) i32 number[most_lanes];        // in the data; only placed points need it
    bool has_nan[columns]; // classes with a NaN among the squares; the sums leave these out
};

void begin_row(const search_rules& rules, row_lanes& rows, i64 lane, f32 x, f32 y, f32 value);
void leave_empty(row_lanes& rows, i64 lane);

// The class of the next pair of a row, at distance h, or 0. For pairs whose class is not certain.
i32 settle_class(const search_rules& rules, row_lanes& rows, i64 lane, f32 h);

// Sums of classes. Element k is class k.
struct class_sums {
    struct of_class {
        i64 count;
        f64 distance;
        f64 squares; // of the differences
    };
    of_class of[columns];
};

// What a class needs besides the sums of all rows together; mostly 0.
enum class_needs : std::uint8_t {
    nothing = 1,          // no sums at all
    next_squares = 2,     // squares of each row from the next power of two on
    ordered_distance = 4, // distances of each row like squares
    apart = 8             // squares of each row instead of those of all rows
};
// Two sums, started from an even and from an odd last bit (ordered_growth.hpp).
template <class Sums> struct two_starts { Sums even, odd; };
// Sums of one row, or of the row in each lane.
template <class Sums> struct separate_sums {
    two_starts<Sums> squares;
    two_starts<Sums> next_squares;
    two_starts<Sums> ordered_distance;
};
using lanes_of_sums = f64[most_lanes];

// A row in each lane.
struct lane_sums {
    struct of_class : separate_sums<lanes_of_sums> {
        // From 0, halved if pairs count twice, two lanes to a sum. Squares of all rows together, each
        // rounded as the class's power says.
        alignas(64) f64 distance[most_lanes / 2];
        alignas(64) f64 pooled[most_lanes / 2];
        alignas(64) i64 count; // of all lanes
    };
    alignas(64) of_class of[columns];
    f64 power[columns]; // a power of two: pooled squares round like a sum that has reached it
    std::uint8_t needs[columns]; // of class_needs
};
// Rows one after the other, each alone.
struct row_sums {
    struct pooled_sums {
        f64 squares, distance;
    };
    // Successive pairs go to different sums, so that additions do not wait for each other.
    static constexpr i64 turns = 4;
    struct alignas(64) of_all_rows {
        pooled_sums sums[turns]; // squares from the class's power of two on, distances from 0
        i64 count[turns];
    };
    of_all_rows pooled[columns];
    separate_sums<f64> of[columns]; // of the last row, for classes with needs
    std::uint8_t needs[columns];
    bool has_needs[columns]; // beyond `nothing`
    bool any_needs;
};

// Pairs whose class depends on the pair before them in the data.
struct open_pairs {
    static constexpr i64 most = 1024;
    i64 count;
    i32 lane[most];
    i32 candidate[most]; // its number
};

// Stretches of points that are candidates, and how far they have been swept.
struct placed_stretches {
    static constexpr i64 most = 256;
    struct stretch {
        i64 first, count;
    };
    placed_points all;
    i64 count;
    stretch list[most];
    i64 next, at;
};

struct version {
    const char* name;
    i64 lanes; // rows at once
    // Pairs the row in lane t with candidates first + t to count - 1, those before candidate 0 left
    // out; with `backwards` from first + lanes - 1 - t on. Adds to the sums. Up to `lanes` elements
    // before and after the candidates are read.
    void (*sweep_rows)(const search_rules& rules, row_lanes& rows, const points& candidates,
                       i64 first, i64 count, bool backwards, lane_sums& sums);
    // Pairs the row in lane 0 with candidates first to count - 1, one addition after the other.
    void (*sweep_row)(const search_rules& rules, row_lanes& rows, const points& candidates,
                      i64 first, i64 count, class_sums& sums);
    void (*sweep_row_apart)(const search_rules& rules, row_lanes& rows, const points& candidates,
                            i64 first, i64 count, row_sums& sums);
    // The same with candidates in any order, of which each row takes those with greater numbers than its
    // own. For pairs that count twice, in every direction, of values that all count. Pairs whose class
    // is not certain go to `open`. False if there was no room for more: to be called again.
    bool (*sweep_placed_rows)(const search_rules& rules, const row_lanes& rows,
                              placed_stretches& candidates, lane_sums& sums, open_pairs& open);
    bool (*sweep_placed_row)(const search_rules& rules, const row_lanes& rows,
                             placed_stretches& candidates, row_sums& sums, open_pairs& open);
};

// Without a name where the compiler's target lacks the instructions.
extern const version version_plain;
extern const version version_avx2;
extern const version version_avx512;

// The versions that this processor can run, in ascending width.
struct version_list {
    const version* entries[4];
    i32 count;
};
version_list available_versions();

// The version in use: the last of the list unless a test chose another.
const version& version_in_use();
void use_version(const version* chosen); // null: the last of the list again

} // namespace qmx::pair_kernel

#include "spot_tests/circle_matching.hpp"

#include "base/prefetch.hpp"
#include "geometry/plan_geometry.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qmx {

namespace {

using u8 = std::uint8_t;
using u32 = std::uint32_t;

struct circle {
    f64 x, y;
    i32 pass;
    i32 test; // from 0
};

// The plane is divided into square cells, and the cells are folded onto a ring of buckets: one
// column to the right is the next bucket, one row up is a long stride further. A bucket lists the
// circles that reach into one of its cells. A point is tested, by the predicate itself, against
// those circles.
//
// Why no match is missed. Let s = fl(r * r) be finite.
//   - The predicate holds only if fl(dx * dx) <= s, so |dx| is at most |r| up to the rounding of
//     the difference and of the two squares. reach includes these roundings and squares that
//     underflow. So the point's x lies within reach of the circle's x, and likewise y.
//   - strip_of is monotone, since each of its steps is. The strip of a point in reach thus lies
//     between those of the two ends of the reach, for coordinates of any size; equal strips fold to
//     equal buckets.
// If s is infinite any finite point may match: there is a single bucket. If s is NaN none matches.
//
// Why none is found twice. A cell is at least as wide as a circle and, short of the outermost
// strips, much wider than the spacing of f64, so a circle reaches into at most three strips in each
// direction; the stride keeps the nine buckets distinct on any ring of least_buckets or more.
//
// Folding, rather than a raster over the extent of the tests, keeps the number of buckets small for
// any extent: one test with a mistyped position does no harm, and a long narrow strip in any
// direction is served as well as a square.
struct folded_grid {
    f64 radius_squared;
    f64 strips_per_length;
    // The outermost strips. Variables, since the compiler turns constants into branches.
    f64 lowest_strip = -1073741824.0, highest_strip = 1073741824.0;
    u32 mask;                // number of buckets, a power of two, less 1
    u32 stride;              // buckets from one row to the next
    work_array<u8> occupied; // per bucket, 1 if it has members; fits into the cache
    work_array<i64> first;   // members of bucket b: first[b] to first[b + 1]
    work_array<circle> members;

    i32 strip_of(f64 coordinate) const { // a NaN is in the lowest
        const f64 strip = coordinate * strips_per_length;
        return static_cast<i32>(std::min(highest_strip, std::max(lowest_strip, strip)));
    }
    u32 bucket_of(f64 x, f64 y) const { return folded(strip_of(x), strip_of(y)); }
    // visit(bucket) once for each bucket that the circle reaches into: none for a centre that is
    // not finite.
    template <class Visit> void for_each_bucket(f64 x, f64 y, f64 reach, Visit visit) const {
        if (!std::isfinite(x) || !std::isfinite(y)) return;
        const strips columns = strips_within(x, reach), rows = strips_within(y, reach);
        for (i32 row = rows.first; row <= rows.last; ++row)
            for (i32 column = columns.first; column <= columns.last; ++column)
                visit(folded(column, row));
    }

private:
    struct strips {
        i32 first, last;
    };
    u32 folded(i32 column, i32 row) const {
        return (static_cast<u32>(column) + static_cast<u32>(row) * stride) & mask;
    }
    strips strips_within(f64 coordinate, f64 reach) const {
        constexpr f64 infinity = std::numeric_limits<f64>::infinity();
        constexpr f64 furthest = std::numeric_limits<f64>::max();
        // One step outward covers the rounding of the sum. No further than any finite point lies: from the
        // greatest f64 to infinity there would be hundreds of millions of strips.
        const f64 low = std::max(std::nextafter(coordinate - reach, -infinity), -furthest);
        const f64 high = std::min(std::nextafter(coordinate + reach, infinity), furthest);
        return {strip_of(low), strip_of(high)};
    }
};

constexpr i64 buckets_per_test = 32;
constexpr i64 least_buckets = 256;
constexpr i64 most_buckets = i64{1} << 20;

// The golden section of the ring: its multiples stay far apart. Odd, so that they reach every
// bucket.
u32 stride_of_rows(i64 buckets) {
    return static_cast<u32>(0.6180339887498949 * static_cast<f64>(buckets)) | 1U;
}

f64 magnitude_of(const t_icdata& test) {
    return std::max(std::abs(test.d_x), std::abs(test.d_y));
}

// Cells are as wide as a circle, or wider where the strip numbers at the median distance of the
// tests from the origin would not fit 32 bits.
bool choose_cells(const array_view<const t_icdata>& tests, f64 reach, f64& strips_per_length) {
    work_array<f64> magnitudes(tests.extent);
    if (!magnitudes) return false;
    i64 count = 0;
    for (i64 i = 1; i <= tests.extent; ++i) {
        const f64 magnitude = magnitude_of(tests(i));
        if (std::isfinite(magnitude)) magnitudes[count++] = magnitude;
    }
    f64 typical = 0.0;
    if (count > 0) {
        f64* const middle = magnitudes.begin() + count / 2;
        std::nth_element(magnitudes.begin(), middle, magnitudes.begin() + count);
        typical = *middle;
    }
    strips_per_length = 1.0 / std::max(2.0 * reach, std::ldexp(typical, -28));
    return true;
}

bool build_grid(const circle_matching& matching, i64 first_test, i64 last_test, folded_grid& grid) {
    const array_view<const t_icdata> tests(last_test > first_test ? &matching.tests(first_test + 1)
                                                                  : nullptr,
                                           last_test - first_test, matching.tests.stride);
    grid.radius_squared = matching.radius * matching.radius;
    const bool matches_far = std::isinf(grid.radius_squared);
    const bool matches_nothing = std::isnan(grid.radius_squared);
    // 8 machine epsilons are more than twice the accumulated rounding; 1e-160 is above the square
    // root of the smallest f64.
    const f64 reach = std::abs(matching.radius) * (1.0 + 8 * 0x1p-52) + 1e-160;
    i64 buckets = 1;
    grid.strips_per_length = 0.0;
    if (!matches_far && !matches_nothing) {
        buckets = least_buckets;
        while (buckets < most_buckets && buckets < buckets_per_test * tests.extent) buckets *= 2;
        if (!choose_cells(tests, reach, grid.strips_per_length)) return false;
    }
    grid.mask = static_cast<u32>(buckets - 1);
    grid.stride = stride_of_rows(buckets);

    const auto for_each_entry = [&](auto enter) {
        if (matches_nothing) return;
        for (i64 i = 1; i <= tests.extent; ++i) {
            const t_icdata& test = tests(i);
            if (matches_far)
                enter(test, i, 0U);
            else
                grid.for_each_bucket(test.d_x, test.d_y, reach,
                                     [&](u32 bucket) { enter(test, i, bucket); });
        }
    };
    grid.occupied = work_array<u8>(buckets, 0);
    grid.first = work_array<i64>(buckets + 1, 0);
    if (!grid.occupied || !grid.first) return false;
    for_each_entry([&](const t_icdata&, i64, u32 bucket) {
        grid.occupied[bucket] = 1;
        ++grid.first[bucket + 1];
    });
    for (i64 b = 0; b < buckets; ++b) grid.first[b + 1] += grid.first[b];
    grid.members = work_array<circle>(grid.first[buckets]);
    const work_array<i64> next(buckets);
    if (!grid.members || !next) return false;
    std::copy_n(grid.first.begin(), buckets, next.begin());
    for_each_entry([&](const t_icdata& test, i64 i, u32 bucket) {
        grid.members[next[bucket]++] = {test.d_x, test.d_y, test.i_passno,
                                        static_cast<i32>(first_test + i - 1)};
    });
    return true;
}

// hit(test, position) for each match, by ascending position.
template <class Hit>
void walk(const folded_grid& grid, const array_view<const t_icdata>& points, Hit hit) {
    constexpr i64 block_size = 512;
    constexpr i64 fetched_ahead = 128; // 4 kB, a page
    i32 candidates[block_size];
    u32 buckets[block_size];
    const u8* const occupied = grid.occupied.data();
    for (i64 start = 0; start < points.extent; start += block_size) {
        const i64 size = std::min(block_size, points.extent - start);
        const i64 ahead = std::min(fetched_ahead, points.extent - start - size);
        i32 found = 0;
        for (i64 i = 0; i < size; ++i) {
            const t_icdata& point = points(start + i + 1);
            prefetch(&points(start + i + ahead + 1));
            const u32 bucket = grid.bucket_of(point.d_x, point.d_y);
            candidates[found] = static_cast<i32>(i);
            buckets[found] = bucket;
            found += occupied[bucket];
        }
        for (i32 c = 0; c < found; ++c) {
            const i64 position = start + candidates[c];
            const t_icdata& point = points(position + 1);
            const circle* m = grid.members.data() + grid.first[buckets[c]];
            const circle* const end = grid.members.data() + grid.first[buckets[c] + 1];
            for (; m != end; ++m)
                if ((m->pass < 0 || m->pass == point.i_passno) &&
                    is_within_circle(grid.radius_squared, m->x, m->y, point.d_x, point.d_y))
                    hit(m->test, static_cast<i32>(position));
        }
    }
}

// The number of matches kept at a time. There are no more than pairs.
i64 capacity_for(const circle_matching& matching) {
    constexpr i64 few = 1 << 16;
    const i64 points = std::max<i64>(matching.points.extent, 1);
    const i64 tests = std::max<i64>(matching.tests.extent, 1);
    return std::min(std::max(points, few), points * tests);
}

// Allocates the table for tests first to last - 1 and sets their starts.
bool prepare_table(const array_view<const i32>& counts, i64 first, i64 last, match_table& table) {
    table.start = work_array<i64>(last - first + 1);
    if (!table.start) return false;
    i64 total = 0;
    for (i64 k = first; k < last; ++k) {
        table.start[k - first] = total;
        total += counts(k + 1);
    }
    table.start[last - first] = total;
    table.positions = work_array<i32>(total);
    if (!table.positions) return false;
    table.first = first;
    table.last = last;
    return true;
}

// Appends positions to the list of each test.
class table_writer {
public:
    explicit table_writer(const match_table& table)
        : next_(table.last - table.first), table_(table) {
        if (next_) std::copy_n(table.start.begin(), next_.size(), next_.begin());
    }
    explicit operator bool() const { return static_cast<bool>(next_); }
    void write(i32 test, i32 position) {
        table_.positions[next_[test - table_.first]++] = position;
    }

private:
    work_array<i64> next_;
    const match_table& table_;
};

} // namespace

bool count_matches(const circle_matching& matching, const array_view<i32>& counts,
                   match_table& table) {
    struct match {
        i32 test, position;
    };
    table.first = table.last = 0;
    for (i64 k = 1; k <= matching.tests.extent; ++k) counts(k) = 0;
    folded_grid grid;
    if (!build_grid(matching, 0, matching.tests.extent, grid)) return false;
    const i64 capacity = capacity_for(matching);
    const work_array<match> matches(capacity); // untouched pages take no memory
    if (!matches) return false;
    i64 total = 0;
    walk(grid, matching.points, [&](i32 test, i32 position) {
        ++counts(test + 1);
        if (total < capacity) matches[total] = {test, position};
        ++total;
    });
    if (total > capacity) return true;
    if (!prepare_table(counts, 0, matching.tests.extent, table)) return false;
    table_writer writer(table);
    if (!writer) return false;
    for (i64 k = 0; k < total; ++k) writer.write(matches[k].test, matches[k].position);
    return true;
}

bool gather_next_matches(const circle_matching& matching, const array_view<const i32>& counts,
                         match_table& table) {
    const i64 first = table.last, tests = matching.tests.extent;
    i64 last = first, total = 0;
    while (last < tests && (last == first || total + counts(last + 1) <= capacity_for(matching)))
        total += counts(++last);
    folded_grid grid;
    if (!build_grid(matching, first, last, grid)) return false;
    if (!prepare_table(counts, first, last, table)) return false;
    table_writer writer(table);
    if (!writer) return false;
    walk(grid, matching.points, [&](i32 test, i32 position) { writer.write(test, position); });
    return true;
}

} // namespace qmx

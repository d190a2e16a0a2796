#include "numeric/statistics/class_search.hpp"

#include "numeric/arithmetic/register_width.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace qmx::numeric {
namespace {

constexpr i32 buckets = 2048;
constexpr i32 most_spread_classes = 256; // up to so many, counts are kept in several sets
constexpr std::size_t sets = 4;
constexpr i64 block = 512;

// Monotone, as rounded subtraction, multiplication and conversion are.
struct bucket_function {
    f32 first;
    f32 scale;

    bucket_function(const f32* cut_points, i32 n) : first(cut_points[0]), scale(0.0F) {
        const f32 width = cut_points[n - 1] - first;
        const f32 guess = static_cast<f32>(buckets - 1) / width;
        // Where no finite scale exists all values share bucket 0.
        if (width > 0.0F && guess > 0.0F && guess <= std::numeric_limits<f32>::max() &&
            first >= -std::numeric_limits<f32>::max())
            scale = guess;
    }
    i32 operator()(f32 x) const {
        const f32 place = (x - first) * scale;
        const f32 above = place > 0.0F ? place : 0.0F; // 0 for a NaN too
        return static_cast<i32>(std::min(above, static_cast<f32>(buckets - 1)));
    }
};

class cut_point_search {
public:
    cut_point_search(const f32* cut_points, i32 n)
        : bucket_(cut_points, n), cut_points_(cut_points) {
        i32 below = 0;
        for (i32 b = 0; b < buckets; ++b) {
            below_[index(b)] = below;
            const i32 before = below;
            while (below < n && bucket_(cut_points[below]) == b) ++below;
            most_in_bucket_ = std::max(most_in_bucket_, below - before);
        }
        below_[buckets] = n;
        // A value in a bucket without cut points is compared with the next cut point above; past
        // the last one infinity stands in.
        for (i32 b = 0; b < buckets; ++b) {
            const i32 next = below_[index(b)];
            next_[index(b)] = next < n ? cut_points[next] : std::numeric_limits<f32>::infinity();
        }
    }

    i32 bucket_of(f32 x) const { return bucket_(x); }
    bool is_single() const { return most_in_bucket_ <= 1; }

    // Number of cut points below x, which lies in the given bucket; with one at most in each.
    i32 below_single(i32 bucket, f32 x) const {
        return below_[index(bucket)] + (next_[index(bucket)] < x ? 1 : 0);
    }
    // With any number in each.
    i32 below(i32 bucket, f32 x) const {
        const f32* from = cut_points_ + below_[index(bucket)];
        const f32* to = cut_points_ + below_[index(bucket + 1)];
        return static_cast<i32>(std::lower_bound(from, to, x) - cut_points_);
    }

private:
    static std::size_t index(i32 bucket) { return static_cast<std::size_t>(bucket); }

    bucket_function bucket_;
    const f32* cut_points_;
    i32 most_in_bucket_ = 0;
    std::array<i32, buckets + 1> below_;
    std::array<f32, buckets> next_;
};

// Calls act(position, number of cut points below) for each observation.
template <class Act>
void for_each_class(const cut_point_search& search, i64 n, const f32* x, Act act) {
    std::array<i32, block> bucket;
    for (i64 start = 0; start < n; start += block) {
        const i64 length = std::min(block, n - start);
        const f32* values = x + start;
        for (i64 i = 0; i < length; ++i)
            bucket[static_cast<std::size_t>(i)] = search.bucket_of(values[i]);
        if (search.is_single())
            for (i64 i = 0; i < length; ++i)
                act(i, search.below_single(bucket[static_cast<std::size_t>(i)], values[i]));
        else
            for (i64 i = 0; i < length; ++i)
                act(i, search.below(bucket[static_cast<std::size_t>(i)], values[i]));
    }
}

// ---- Few classes -------------------------------------------------------------------------------

constexpr i32 few_cut_points = 24;
constexpr i64 few_observations = 64; // too few for vector code

// How many observations lie above each cut point, by vector comparisons. (isless raises no
// exception, which lets compilers vectorize it.)
struct count_above {
    QMX_INLINED static void run(const f32* x, i64 n, const f32* cut_points, i32 number,
                                i64* above) {
        constexpr i64 near_block = 4096; // stays in the first-level cache for all cut points
        for (i64 start = 0; start < n; start += near_block) {
            const i64 length = std::min(near_block, n - start);
            for (i32 j = 0; j < number; ++j)
                above[j] += number_above(cut_points[j], x + start, length);
        }
    }

    // Each lane keeps its own count.
    QMX_INLINED static i64 number_above(f32 cut, const f32* x, i64 n) {
        constexpr i64 lanes = 32;
        i32 count[lanes] = {};
        i64 i = 0;
        for (; i + lanes <= n; i += lanes)
            for (i64 lane = 0; lane < lanes; ++lane)
                count[lane] += std::isless(cut, x[i + lane]) ? 1 : 0;
        for (; i < n; ++i) count[0] += std::isless(cut, x[i]) ? 1 : 0;
        i64 sum = 0;
        for (i64 lane = 0; lane < lanes; ++lane) sum += count[lane];
        return sum;
    }
};

void tally_few_classes(i64 n, const f32* x, i32 k, const f32* cut_points,
                       const class_counts& counts) {
    i64 above[few_cut_points] = {};
    run_loop<count_above>(x, n, cut_points, k - 1, above);
    i64 left = n;
    for (i32 i = 0; i < k - 1; ++i) {
        counts.add(i + 1, static_cast<std::uint32_t>(left - above[i]));
        left = above[i];
    }
    counts.add(k, static_cast<std::uint32_t>(left));
}

} // namespace

void tally_by_cut_points(i64 n, const f32* x, i32 k, const f32* cut_points,
                         const class_counts& counts) {
    if (n >= few_observations && k - 1 <= few_cut_points &&
        registers_in_use() != register_width::narrow) {
        tally_few_classes(n, x, k, cut_points, counts);
        return;
    }
    if (n < buckets) { // too few to pay for the buckets
        for (i64 i = 0; i < n; ++i) {
            const f32* above = std::lower_bound(cut_points, cut_points + (k - 1), x[i]);
            counts.add(static_cast<i32>(above - cut_points) + 1);
        }
        return;
    }
    const cut_point_search search(cut_points, k - 1);
    if (k > most_spread_classes) {
        for_each_class(search, n, x, [&](i64, i32 below) { counts.add(below + 1); });
        return;
    }
    // Consecutive observations often fall in one class; separate counts avoid waiting.
    std::array<std::array<std::uint32_t, most_spread_classes>, sets> spread{};
    for_each_class(search, n, x, [&](i64 i, i32 below) {
        ++spread[static_cast<std::size_t>(i) % sets][static_cast<std::size_t>(below)];
    });
    for (const auto& set : spread)
        for (i32 i = 0; i < k; ++i) counts.add(i + 1, set[static_cast<std::size_t>(i)]);
}

} // namespace qmx::numeric

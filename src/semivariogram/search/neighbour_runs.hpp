// Neighbour search: which points can be in range of a group of points. Called by the pair search.
//
// A grid of square cells covers the points. A run is a sequence of consecutive points in one cell, as
// long as it can be: rollers write one path after the other, so that runs are long and few; in shuffled
// data each point is a run. Points close together share one list of candidates, in ascending order and
// from their own run on: a superset of the points in range.
//
// Memory: 16 bytes a run, and the candidates of one group of points.
#pragma once

#include "base/work_array.hpp"

#include <algorithm>
#include <cstdint>

namespace qmx {

// Candidates that are contiguous in memory.
struct candidate_segment {
    const f32* x;
    const f32* y;
    const f32* value;
    i64 count;
};

struct candidate_place {
    i64 segment;
    i64 offset;
};

class neighbour_runs {
public:
    // Two points are in range if their squared f32 distance is at most dismxs, which is finite. A
    // position that is not finite lies in no cell. The arrays have readable padding on both sides. False
    // when memory ran out.
    bool build(const f32* x, const f32* y, const f32* value, i64 count, f32 dismxs);

    // The end of the group of at most `most` consecutive points that lie close together; the point
    // itself if its position is not finite.
    i64 end_of_group(i64 first_point, i64 most) const;

    // A number for each cell, row by row; `nowhere` for points without a finite position.
    static constexpr std::uint64_t nowhere = ~std::uint64_t{0};
    std::uint64_t cell_of(i64 point) const;
    // Whether testing all points that are left is quicker than a neighbour search, estimated from the
    // last one.
    bool are_few_left(i64 first_point) const;
    f64 reach() const { return reach_; }
    // How many of these consecutive points turn from the way that the two before them took.
    i64 turns(i64 first_point, i64 end_point) const;
    // How many of the listed points, from the first on and at most `most`, lie close together.
    i64 close_together(const i32* points, i64 count, i64 most) const;

    // The candidates of consecutive points with finite positions. The points themselves stand in the
    // first segment, from `offset` on. The list is valid until the next call. False when memory ran out.
    bool gather(i64 first_point, i64 end_point);
    i64 offset() const { return offset_; }
    // The candidates of listed points, in ascending order and at most most_places of them, and where
    // the points themselves stand among them.
    static constexpr i64 most_places = 64;
    bool gather_for(const i32* points, i64 count);
    const candidate_place& place(i64 index) const { return place_[index]; }
    i64 segments() const { return segments_; }
    const candidate_segment& segment(i64 index) const { return segment_[index]; }

private:
    i64 first(i64 run) const { return start_[run]; }
    i64 end(i64 run) const { return start_[run + 1]; }
    struct entry { // a run and its cell, split into row and column: 12 bytes instead of 16
        std::uint32_t row, column;
        i32 run;

        std::uint64_t cell() const { return std::uint64_t{row} << 32 | column; }
    };
    struct box {
        f64 left, right, bottom, top;

        box(f64 x, f64 y) : left(x), right(x), bottom(y), top(y) {}
        void take_in(f64 x, f64 y);
        f64 longest_side() const { return std::max(right - left, top - bottom); }
    };
    std::uint32_t column_of(f64 x) const;
    std::uint32_t row_of(f64 y) const;
    void mark(i64 run);
    bool gather_around(const box& points, i64 first_point, i64 count);
    bool sweeping_pays(i64 first_point, i64 count);
    bool mark_neighbours(const box& points);
    bool list_marked();
    bool make_segments(i64 points);
    void take_places(i64 segment, i64 from, i64 to, i64 offset);
    bool add_in_place(i64 from, i64 length);

    const f32* x_ = nullptr;
    const f32* y_ = nullptr;
    const f32* value_ = nullptr;
    i64 count_ = 0;
    f64 reach_ = 0;
    f64 side_ = 1;
    f64 left_ = 0, bottom_ = 0;
    std::uint32_t last_column_ = 0, last_row_ = 0;
    i64 runs_ = 0, located_ = 0;
    work_array<i32> start_;
    work_array<entry> by_cell_;
    // A bit for each run in the neighbouring cells, and a bit for each word of these: they put the runs
    // in order.
    work_array<std::uint64_t> marked_;
    work_array<std::uint64_t> words_;
    i64 first_word_ = 0, last_word_ = -1; // of words_ with a bit set
    work_array<i32> number_;              // of the marked runs
    i64 numbers_ = 0;
    i64 looked_at_ = 0;    // runs, when neighbours were last marked
    i64 unmarked_ = 0;     // groups since then that took all points
    work_array<f32> copy_; // x, y and value of the candidates copied
    work_array<candidate_segment> segment_;
    i64 segments_ = 0;
    i64 offset_ = 0; // of the first point of the group
    i64 run_ = 0;    // of the first point of the group
    // Points whose places are wanted, and the places found so far.
    const i32* wanted_ = nullptr;
    i64 wanted_places_ = 0, places_ = 0;
    candidate_place place_[most_places] = {};
};

} // namespace qmx

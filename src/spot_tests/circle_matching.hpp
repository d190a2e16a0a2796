// Finds the points around each of many spot tests without testing every point against every test.
// For point_stats.
#pragma once

#include "base/work_array.hpp"
#include "qmx_ic.h"

namespace qmx {

// The input. A point matches a test if it lies within the radius by CIRCLE_CONTAINS_POINT_2D and
// the test's pass is negative or equal to the point's.
struct circle_matching {
    array_view<const t_icdata> points;
    array_view<const t_icdata> tests;
    f64 radius;
};

// The matches of consecutive tests, first to last - 1, counted from 0.
struct match_table {
    i64 first = 0;
    i64 last = 0;
    work_array<i64> start;     // where the positions of test first + k begin
    work_array<i32> positions; // of points, from 0, ascending within each test

    // test from 0, one that the table holds
    array_view<const i32> of(i64 test) const {
        const i64 begin = start[test - first];
        return {positions.data() + begin, start[test - first + 1] - begin};
    }
};

// Counts the matches of each test, in one pass over the points. If all matches together are no more
// than the points (or few), the ordinary case, table receives them; else it is left empty. Returns
// false when memory ran out.
//
// Working storage is linear in points and tests. Finds exactly the matches of the plain double
// loop, for every input; circle_matching.cpp says why.
bool count_matches(const circle_matching& matching, const array_view<i32>& counts,
                   match_table& table);

// Replaces the table by the matches of the next tests: as many tests as together have no more
// matches than there are points, but at least one. counts come from count_matches. Each call passes
// over the points once. Returns false when memory ran out.
bool gather_next_matches(const circle_matching& matching, const array_view<const i32>& counts,
                         match_table& table);

} // namespace qmx

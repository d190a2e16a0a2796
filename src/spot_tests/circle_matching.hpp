// Finds the points around each of many spot tests without asking every point about every test.
#pragma once

#include "base/work_array.hpp"
#include "qmx_ic.h"

namespace qmx {

// What is to be matched. A point matches a test when CIRCLE_CONTAINS_POINT_2D says that it lies
// within the radius of the test, and the test's pass is negative or equal to the point's.
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

// Counts the matches of all tests, in one walk over the points. table receives the matches of all
// tests if they are no more than the points (or few), which is the ordinary case; else it is left
// empty. Returns false when memory ran out.
//
// Working storage grows with points and tests only. Exactly the matches of the plain double loop
// are found, for every input: see the source.
bool count_matches(const circle_matching& matching, const array_view<i32>& counts,
                   match_table& table);

// Replaces the table by the matches of the tests that follow it: as many tests as have together no
// more matches than there are points, but at least one. counts as found by count_matches. All tests
// taken together this walks over the points at most once more, and once for every so many matches
// as there are points. Returns false when memory ran out.
bool gather_next_matches(const circle_matching& matching, const array_view<const i32>& counts,
                         match_table& table);

} // namespace qmx

// Views, work arrays, the defined truncation and the unit table.
#include "base/array_view.hpp"
#include "base/base_types.hpp"
#include "base/work_array.hpp"
#include "events/unit_table.hpp"
#include "qmx_ic.h"
#include "support/scratch_folder.hpp"

#include <cerrno>

using namespace qmx;

namespace {

TEST(Truncation, IsDefinedForEveryReal) {
    constexpr i32 lowest = std::numeric_limits<i32>::min();
    EXPECT_EQ(truncated(2.9), 2);
    EXPECT_EQ(truncated(-2.9), -2);
    EXPECT_EQ(truncated(2147483647.9), 2147483647);
    EXPECT_EQ(truncated(-2147483647.9), -2147483647);
    for (const f64 odd : {2147483648.0, -2147483648.0, -3e9, 1e300, double(INFINITY),
                          -double(INFINITY), std::nan("")})
        EXPECT_EQ(truncated(odd), lowest) << odd;
    EXPECT_EQ(truncated(2147483520.0F), 2147483520);
    EXPECT_EQ(truncated(2147483648.0F), lowest);
}

TEST(View, CountsFromOneAndStepsOverRecords) {
    std::vector<t_icdata> records(3);
    for (int i = 0; i < 3; ++i) records[static_cast<std::size_t>(i)].d_val = 10.0 * (i + 1);
    const t_icdata* const host = records.data();
    const auto values = column_of(host, 3, &t_icdata::d_val);
    EXPECT_EQ(values.stride, 32);
    EXPECT_FALSE(values.is_contiguous());
    EXPECT_EQ(values(1) + values(3), 40.0);
    EXPECT_EQ(column_of(host, -5, &t_icdata::d_val).extent, 0);
    EXPECT_EQ(view_of(host, 0).extent, 0);
}

TEST(WorkArray, IsFalseOnlyWhenMemoryRanOut) {
    EXPECT_TRUE(work_array<f64>(0));
    EXPECT_TRUE(work_array<f64>(-7));
    EXPECT_EQ(work_array<i32>(3, 9)[2], 9);
    EXPECT_FALSE(work_array<f64>(std::numeric_limits<i64>::max()));
}

TEST(Units, LowestFreeNumberIsTakenUntilAllAreConnected) {
    const support::scratch_folder folder;
    const auto path = folder.path() / "units.txt";
    std::vector<i32> taken;
    for (i32 unit = find_free_unit(); unit != no_unit; unit = find_free_unit()) {
        ASSERT_EQ(connect_unit(unit, path.string(), open_status::unknown), 0);
        taken.push_back(unit);
    }
    ASSERT_EQ(taken.size(), 89U);
    EXPECT_EQ(taken.front(), 11);
    EXPECT_EQ(taken.back(), 99);
    EXPECT_EQ(connect_unit(42, path.string(), open_status::unknown), EBUSY);
    close_unit(42);
    EXPECT_EQ(find_free_unit(), 42);
    for (const i32 unit : taken) close_unit(unit);
}

TEST(Units, OldFileMustExistAndAppendKeepsIt) {
    const support::scratch_folder folder;
    const auto path = folder.path() / "append.txt";
    EXPECT_EQ(connect_unit(11, path.string(), open_status::old, open_position::append), ENOENT);
    EXPECT_FALSE(unit_is_connected(11));
    ASSERT_EQ(connect_unit(11, path.string() + "   ", open_status::unknown), 0);
    write_line(11, "one ", "line");
    close_unit(11);
    write_line(11, "lost, and harmless");
    ASSERT_EQ(connect_unit(11, path.string(), open_status::old, open_position::append), 0);
    write_line(11, "two");
    close_unit(11);
    EXPECT_EQ(support::text_in(path), "one line\ntwo\n");
    EXPECT_EQ(connect_unit(10, path.string(), open_status::unknown), EINVAL);
    EXPECT_EQ(connect_unit(11, std::string(5000, 'x'), open_status::unknown), ENAMETOOLONG);
}

} // namespace

// The report behind the switch of gslib_gamv, which is off.
#include "events/event.hpp"
#include "semivariogram/class_report.hpp"
#include "semivariogram/experimental.hpp"
#include "support/scratch_folder.hpp"
#include "support/test.hpp"

using namespace qmx;
namespace fs = std::filesystem;

namespace {

TEST(ClassReport, IsATableInAFileAndIsNotWrittenUnasked) {
    const support::scratch_folder folder;
    const std::string tmp = (folder.path() / "tmp").string();
    support::environment_variable variable("TMP", tmp.c_str());

    const t_icdata points[] = {{0, 0, 10, 1, 0}, {3, 4, 12, 1, 0}, {6, 8, 11, 1, 0}};
    std::vector<f64> table(result_columns * most_lag_classes);
    const auto result = view_of(table.data(), static_cast<i64>(table.size()));
    i32 classes = 0;
    gslib_gamv({-1e21F, 1e21F, 2, 5, 2.5F, 0, 90, 1e9F, 0, 0, 1e9F, 0, 1, 1, 1}, 3,
               view_of<const t_icdata>(points, 3), classes, result);
    EXPECT_FALSE(has_failed());
    EXPECT_TRUE(fs::is_empty(folder.path()));

    write_class_report(classes, result, 0.25);
    EXPECT_FALSE(has_failed());
    std::ifstream file(tmp + "\\gslib_gamv_out.txt");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text, "Elapse time: 0.25\n"
                    "direction 1\n"
                    "  1        0.000      0.00000            6\n"
                    "  2        0.000      0.00000            0\n"
                    "  3        5.000      1.25000            4\n"
                    "  4       10.000      0.50000            2\n"
                    " gamv version: 3.001 finished\n");
}

} // namespace

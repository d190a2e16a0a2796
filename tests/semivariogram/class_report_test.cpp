// The report behind the switch of gslib_gamv, which is off.
#include "semivariogram/class_report.hpp"
#include "semivariogram/gamv_call.hpp"
#include "support/scratch_folder.hpp"

using namespace qmx;
namespace fs = std::filesystem;

namespace {

TEST(ClassReport, IsATableInAFileAndIsNotWrittenUnasked) {
    const support::scratch_folder folder;
#if defined(_WIN32) // a backslash leads into a folder, which has to be there
    const std::string tmp = folder.path().string();
#else
    const std::string tmp = (folder.path() / "tmp").string();
#endif
    support::environment_variable variable("TMP", tmp.c_str());

    gamv_test::table table(gamv_test::settings(2, 5),
                           {{0, 0, 10, 1, 0}, {3, 4, 12, 1, 0}, {6, 8, 11, 1, 0}});
    EXPECT_TRUE(fs::is_empty(folder.path()));

    write_class_report(table.classes, table.view(), 0.25);
    EXPECT_FALSE(has_failed());
    EXPECT_EQ(support::text_in(tmp + "\\gslib_gamv_out.txt"),
              "Elapse time: 0.25\n"
              "direction 1\n"
              "  1        0.000      0.00000            6\n"
              "  2        0.000      0.00000            0\n"
              "  3        5.000      1.25000            4\n"
              "  4       10.000      0.50000            2\n"
              " gamv version: 3.001 finished\n");
}

} // namespace

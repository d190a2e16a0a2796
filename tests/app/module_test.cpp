// The program's module for GDAL: where it is looked for, when it is needed, and what is said where it is
// not there or is another one.
#include "run_program.hpp"

#include <fmt/format.h>

#if QMX_IC_GDAL_ON_DEMAND

namespace {

namespace fs = std::filesystem;
using app_test::outcome;

// The program in a folder of its own, without the module.
class Module : public app_test::Program {
protected:
    void SetUp() override {
        if (!app_test::can_project) GTEST_SKIP() << "the program has no module";
        fs::create_directories(folder / "alone/bin");
        fs::copy_file(QMX_IC_PROGRAM, folder / "alone/bin/qmx-ic");
        write("lot.csv", "x,y,CMV\n1,2,7\n2,3,9\n3,4,8\n");
        std::string features;
        for (int i = 0; i < 5; ++i)
            features += fmt::format(R"({}{{"type":"Feature","geometry":{{"type":"Point",)"
                                    R"("coordinates":[9.{},2]}},"properties":{{"CMV":{}}}}})",
                                    i == 0 ? "" : ",", i, 7 + i);
        write("lot.geojson", R"({"type":"FeatureCollection","features":[)" + features + "]}");
    }
    outcome run_alone(const std::string& arguments, const std::string& before = "") const {
        outcome result;
        const std::string command = fmt::format("cd '{0}' && {1} '{0}/alone/bin/qmx-ic' {2} > "
                                                "out.txt 2> err.txt",
                                                folder.string(), before, arguments);
        const int status = std::system(command.c_str());
        result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.out = app_test::text_of(folder / "out.txt");
        result.err = app_test::text_of(folder / "err.txt");
        return result;
    }
    fs::path module() const { return fs::path(QMX_IC_PROGRAM).parent_path() / name; }
    static constexpr const char* name = "qmx-ic-gdal.so";
};

TEST_F(Module, TextInAPlaneNeedsNone) {
    for (const char* const command :
         {"--version", "stats lot.csv", "columns lot.csv",
          "select lot.csv --circle 1,2,9 --output -", "grid lot.csv --cell 1 --output cells.csv"}) {
        SCOPED_TRACE(command);
        const outcome alone = run_alone(command), ours = run(command);
        EXPECT_EQ(alone.code, ours.code) << alone.err;
        EXPECT_EQ(alone.out, ours.out);
        EXPECT_EQ(alone.err, ours.err);
    }
}

TEST_F(Module, IsFoundBesideTheProgramOrWhereItIsInstalledAndNowhereElse) {
    const auto expect_missing = [&](const std::string& before) {
        for (const char* const command : {"stats lot.geojson", "stats lot.csv --crs EPSG:26915",
                                          "select lot.csv --circle 1,2,9 --output lot.gpkg",
                                          "stats lot.csv --project utm --crs EPSG:4326"}) {
            SCOPED_TRACE(command);
            const outcome result = run_alone(command, before);
            EXPECT_EQ(result.code, 2);
            EXPECT_EQ(result.out, "");
            EXPECT_TRUE(result.says("need the program's module for GDAL, which is missing"));
            EXPECT_TRUE(result.says(path("alone/bin/qmx-ic-gdal.so")));
            EXPECT_TRUE(result.says(path("alone/lib/qmx-ic/qmx-ic-gdal.so")));
        }
        EXPECT_FALSE(fs::exists(folder / "lot.gpkg"));
    };
    expect_missing("");
    // Neither the working folder nor the environment names a place.
    fs::copy_file(module(), folder / name);
    expect_missing(fmt::format("LD_LIBRARY_PATH='{0}' PATH='{0}'", folder.string()));
    const outcome wanted = run("stats lot.geojson --json");
    ASSERT_EQ(wanted.code, 0) << wanted.err;
    fs::create_directories(folder / "alone/lib/qmx-ic");
    for (const char* const place : {"alone/bin", "alone/lib/qmx-ic"}) {
        SCOPED_TRACE(place);
        fs::rename(folder / name, folder / place / name);
        EXPECT_EQ(run_alone("stats lot.geojson --json").out, wanted.out);
        fs::create_symlink(folder / "alone/bin/qmx-ic", folder / "linked");
        EXPECT_EQ(std::system(fmt::format("cd '{}' && ./linked stats lot.geojson --json > out.txt",
                                          folder.string())
                                  .c_str()),
                  0);
        EXPECT_EQ(app_test::text_of(folder / "out.txt"), wanted.out);
        fs::remove(folder / "linked");
        fs::rename(folder / place / name, folder / name);
    }
}

TEST_F(Module, ThatIsAnotherOneIsRefused) {
    const fs::path place = folder / "alone/bin" / name;
    write("alone/bin/qmx-ic-gdal.so", "no library");
    EXPECT_TRUE(run_alone("stats lot.geojson").says("which cannot be loaded"));
    EXPECT_EQ(run_alone("stats lot.csv").code, 0);
    // The mark of another version, in a file that is otherwise ours.
    std::string bytes = app_test::text_of(module());
    const std::string mark = QMX_IC_VERSION_OF_BUILD ", ";
    const std::size_t at = bytes.find(mark);
    ASSERT_NE(at, std::string::npos);
    for (std::size_t i = at; i != std::string::npos; i = bytes.find(mark, i + 1)) bytes[i] = '9';
    write("alone/bin/qmx-ic-gdal.so", bytes);
    const outcome result = run_alone("stats lot.geojson");
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(result.says("belongs to another build of it (9"));
}

} // namespace
#endif

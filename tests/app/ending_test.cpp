// How every run ends: one document with --json, files whole or not at all, names that were meant.
#include "run_program.hpp"

#include <iterator>

namespace {

using app_test::outcome;
using app_test::text_of;
class Ending : public app_test::Program {};

TEST_F(Ending, EveryEndWithJsonPrintsOneDocument) {
    write("lot.csv", "x,y,PassCount,CMV\n1,1,1,5\n2,2,1,6\n3,3,1,7\n");
    write("short.csv", "x,y,CMV\n1,1,5\n2,2,6\n");
    write("huge.csv", "x,y,CMV\n1,1,5\n2,2,1e39\n3,3,5\n");
    struct {
        const char* arguments;
        int code;
        const char* command;
        const char* words;
    } const cases[] = {{"stats missing.csv --json", 2, "stats", "missing.csv"},
                       {"stats short.csv --json", 1, "stats", "Data points are less than 3"},
                       {"stats huge.csv --json", 2, "stats", "32-bit"},
                       {"stats lot.csv --json --target", 2, "stats", "--target"},
                       {"fit lot.csv --json", 2, "fit", "--x"},
                       {"spots lot.csv missing.csv --radius 1 --json", 2, "spots", "missing.csv"},
                       {"generate lot --json --width -1", 2, "generate", "--width"},
                       {"--json", 2, "", "--json"}};
    for (const auto& [arguments, code, command, words] : cases) {
        SCOPED_TRACE(arguments);
        const outcome result = run(arguments);
        EXPECT_EQ(result.code, code);
        const auto document = result.json();
        EXPECT_EQ(document["schema"], "qmx-ic/failure/1");
        EXPECT_EQ(document["exit_code"], code);
        EXPECT_EQ(document["command"].is_null() ? "" : document["command"], command);
        EXPECT_NE(document["failure"]["message"].get<std::string>().find(words), std::string::npos)
            << document["failure"];
        EXPECT_NE(result.err, "");
    }
    const auto wrong = run("stats lot.csv --json --target-percent 3").json();
    EXPECT_EQ(wrong["failure"]["place"]["option"], "--target-percent");
    EXPECT_EQ(run("stats short.csv --json").json()["failure"]["code"], 101);
    // An answer that says itself that it failed is the only document.
    const outcome curve = run("curve lot.csv --json");
    EXPECT_EQ(curve.code, 1);
    EXPECT_EQ(curve.json()["schema"], "qmx-ic/curve/1");
    EXPECT_NE(curve.json()["failure"], nullptr);
}

TEST_F(Ending, AnOutputIsWholeOrNotThere) {
    std::string text = "x,y,PassCount,CMV\n";
    for (int i = 0; i < 400; ++i)
        text += std::to_string(i) + ",0," + std::to_string(1 + i % 4) + "," +
                std::to_string(20 + 8 * (i % 4) - i % 4 * (i % 4)) + "\n";
    write("lot.csv", text);
    write("old.csv", "old\n");
    const auto files = [&] {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    const auto before = files();
    EXPECT_EQ(run("curve lot.csv --max-pass 2 --output old.csv").code, 1);
    EXPECT_EQ(text_of(path("old.csv")), "old\n");
    EXPECT_EQ(run("curve lot.csv --output nowhere/new.csv").code, 2);
    EXPECT_EQ(run("curve lot.csv --output /dev/full").code, 2);
    EXPECT_EQ(run("curve lot.csv --output old.csv").code, 0);
    EXPECT_TRUE(text_of(path("old.csv")).starts_with("pass,CMV\n"));
    write("area.csv", "x,y\n0,-1\n9,-1\n9,1\n");
    for (const char* const input : {"lot.csv", "area.csv"})
        expect_refused("select", {{std::string("lot.csv --polygon area.csv --output ") + input,
                                   "this is the file that is read"}});
    EXPECT_EQ(files(), before + 3); // out.txt, err.txt and the area: nothing unfinished
    for (const char* const asked : {"--version", "--help", "stats lot.csv"})
        EXPECT_EQ(std::system(("cd '" + folder.string() + "' && " + app_test::program() + " " +
                               asked + " > /dev/full 2> err.txt")
                                  .c_str()),
                  2 << 8)
            << asked;

    ASSERT_EQ(run("generate made --length 2").code, 0);
    const std::string made = text_of(path("made.csv"));
    expect_refused("generate", {{"made --length 3", "--force"}});
    EXPECT_EQ(text_of(path("made.csv")), made);
    EXPECT_EQ(run("generate made --length 3 --force").code, 0);
    EXPECT_NE(text_of(path("made.csv")), made);
}

TEST_F(Ending, ExitCodesFollowThePageInEveryCommand) {
    std::string text = "x,y,PassCount,CMV\n";
    for (int i = 0; i < 60; ++i)
        text += std::to_string(i % 10) + "," + std::to_string(i / 10) + ",1," +
                std::to_string(20 + i % 7) + "\n";
    write("lot.csv", text);
    write("area.csv", "x,y\n0,0\n9,0\n9,5\n0,5\n");
    write("far.csv", "x,y,PassCount,CMV\n1,1,1,1\n2,2,1,2\n1e300,-1e300,1,3\n");
    std::filesystem::create_directory(folder / "folder.csv");
    const struct {
        const char* arguments;
        int code;
        const char* words;
    } cases[] = {
        {"stats lot.csv --target 23 --target-percent 50 --exit-code", 0, "MET"},
        {"stats lot.csv --target 23 --target-percent 60 --exit-code", 3, "NOT MET"},
        {"stats lot.csv --target 23 --target-percent 60 --below --exit-code", 0, "or below 23"},
        {"stats lot.csv --target 1e300", 2, "--target"},
        {"stats lot.csv --levels 10", 2, "--levels"},
        {"stats lot.csv --value Nothing", 2, "Nothing"},
        {"stats folder.csv", 2, "folder.csv"},
        {"stats lot.csv --output folder.csv", 2, "directory"},
        {"coverage lot.csv --area folder.csv", 2, "folder.csv"},
        {"coverage lot.csv --area missing.geojson", 2, "missing.geojson"},
        {"coverage lot.csv --area area.csv --target-passes -1", 2, "--target-passes"},
        {"coverage lot.csv --area area.csv --target-passes 1e3", 2, "--target-passes"},
        {"coverage lot.csv --area area.csv --target-passes 2 --exit-code", 3, "NOT MET"},
        {"fit lot.csv --x x --y CMV --degree 10", 2, "--degree"},
        {"fit lot.csv --x x --y CMV --degree -1", 2, "--degree"},
        {"fit lot.csv --x x --y CMV --degree 1.5", 2, "--degree"},
        {"fit lot.csv --x CMV --y CMV --degree 9", 1, "analysis failed"},
        {"curve lot.csv", 1, "analysis failed"},
        {"curve lot.csv --min-points -1 --max-pass -1", 2, "--max-pass"},
        {"select lot.csv --circle 1,1,-1", 2, "--circle"},
        {"select lot.csv --circle 1,1,1e300", 0, "60"},
        {"select far.csv --circle 1,1,2", 0, "2 "},
        {"spots lot.csv area.csv --radius -1", 2, "--radius"},
        {"semivariogram lot.csv --nlag 0", 2, "--nlag"},
        {"grid lot.csv --cell -1", 2, "--cell"},
        {"generate x --passes 1e9", 2, "--passes"},
        {"generate /dev/full/x", 2, "/dev/full"},
        {"stats", 2, "FILE"},
        {"", 2, "a command is wanted"}};
    for (const auto& [arguments, code, words] : cases) {
        SCOPED_TRACE(arguments);
        const outcome result = run(arguments);
        EXPECT_EQ(result.code, code);
        EXPECT_TRUE(result.says(words));
        // No number of three hundred digits.
        EXPECT_EQ((result.out + result.err).find(std::string(40, '0')), std::string::npos);
        const outcome document = run(std::string(arguments) + " --json");
        EXPECT_EQ(document.code, code);
        EXPECT_TRUE(nlohmann::json::accept(document.out)) << document.out;
    }
    for (const char* const asked : {"stats lot.csv", "stats lot.csv --output -", "stats --help",
                                    "fit lot.csv --x x --y y --json", "stats missing.csv --json"})
        EXPECT_EQ(std::system(("cd '" + folder.string() + "' && " + app_test::program() + " " +
                               asked + " > /dev/full 2> err.txt")
                                  .c_str()),
                  2 << 8)
            << asked;
}

TEST_F(Ending, MisspeltNamesGetASuggestion) {
    write("lot.csv", "x,y,CMV\n1,1,5\n2,2,6\n3,3,7\n");
    expect_refused(
        "", {{"stast lot.csv", "did you mean stats?"},
             {"semivar lot.csv", "did you mean semivariogram?"},
             {"stats lot.csv --taget 3", "did you mean --target?"},
             {"stats lot.csv --lastpass", "did you mean --last-pass?"},
             {"coverage lot.csv --area x --target-passs=3", "did you mean --target-passes?"}});
    EXPECT_FALSE(run("zzzz").says("did you mean"));
}

} // namespace

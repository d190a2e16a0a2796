// What `qmx-ic spots` prints, beside closed forms.
#include "run_program.hpp"

#include <cmath>

#include <fmt/format.h>

namespace {

using app_test::expect_numbers;
using app_test::outcome;
class Spots : public app_test::Program {
protected:
    // Round each place (10 k, 0) two IC values mean +- 1 of pass 1, and two 10 higher of pass 2.
    void ic_data(const std::vector<double>& means) const {
        std::string text = "x,y,PassCount,CMV\n";
        for (std::size_t k = 0; k < means.size(); ++k)
            for (const int pass : {1, 2})
                for (const int side : {-1, 1})
                    text += fmt::format("{},{},{},{}\n", 10 * static_cast<int>(k), side, pass,
                                        means[k] + 10 * (pass - 1) + side);
        write("lot.csv", text);
    }
};

TEST_F(Spots, LineAndItsErrorsAreThoseOfThePairs) {
    ic_data({12, 19, 31, 38});
    write("tests.csv", "Spot,x,y,PassCount,Value\nA,0,0,1,1\nB,10,0,1,2\nC,20,0,1,3\nD,30,0,1,4\n");
    const outcome result = run("spots lot.csv tests.csv --radius 1 --json");
    ASSERT_EQ(result.code, 0) << result.err;
    const auto document = result.json();
    EXPECT_EQ(document["schema"], "qmx-ic/spots/1");
    // y = 25 + 9 (x - 2.5): residuals 0.5, -1.5, 1.5, -0.5; SSE 5, Sxx 5, Syy 410
    const auto& line = document["regression"];
    EXPECT_EQ(line["n"], 4);
    expect_numbers(line, {{"intercept", 2.5, 1e-6},
                          {"slope", 9, 1e-6},
                          {"r_squared_percent", 100 * (1 - 5.0 / 410), 1e-5},
                          {"r", std::sqrt(1 - 5.0 / 410), 1e-7},
                          {"standard_error", std::sqrt(2.5), 1e-12},
                          {"slope_standard_error", std::sqrt(2.5 / 5), 1e-12},
                          {"intercept_standard_error", std::sqrt(2.5 * 1.5), 1e-12},
                          {"t", 9 / std::sqrt(0.5), 1e-10}});
    EXPECT_EQ(line["supported"], false); // four pairs
    const double means[] = {12, 19, 31, 38};
    for (int k = 0; k < 4; ++k) {
        const auto& test = document["tests"][static_cast<std::size_t>(k)];
        EXPECT_EQ(test["test"], std::string(1, static_cast<char>('A' + k)));
        EXPECT_EQ(test["line"], 2 + k);
        EXPECT_EQ(test["ic_values"], 2);
        EXPECT_EQ(test["ic_mean"], means[k]);
        EXPECT_NEAR(test["ic_cv_percent"], 100 * std::sqrt(2) / means[k], 1e-5);
        EXPECT_NEAR(test["predicted_ic_mean"], 2.5 + 9 * (k + 1), 1e-5);
    }
    const auto supported = run("spots lot.csv tests.csv --radius 1 --json --min-n 4").json();
    EXPECT_EQ(supported["regression"]["supported"], true);
    EXPECT_TRUE(run("spots lot.csv tests.csv --radius 1").says("rests on 4 pairs only"));
    EXPECT_TRUE(
        run("spots lot.csv tests.csv --radius 1 --min-r 0.999").says("does not support a line"));
    const auto any = run("spots lot.csv tests.csv --radius 1 --any-pass --json").json();
    EXPECT_EQ(any["tests"][0]["ic_values"], 4);
    EXPECT_EQ(any["tests"][0]["ic_mean"], 17);
}

TEST_F(Spots, TestsWithoutDataAreNamedWithTheCause) {
    ic_data({12, 19, 31, 38});
    write("tests.csv", "x,y,PassCount,Value\n0,0,1,1\n10,0,,2\n20,0,3,3\n30,3,1,4\n0,0,2,5\n");
    const outcome result = run("spots lot.csv tests.csv --radius 1 --json");
    ASSERT_EQ(result.code, 0) << result.err;
    const auto tests = result.json()["tests"];
    EXPECT_EQ(tests[0]["state"], "in_line");
    EXPECT_EQ(tests[1]["pass"], nullptr); // an empty cell: all passes
    EXPECT_EQ(tests[1]["ic_values"], 4);
    EXPECT_EQ(tests[2]["state"], "none_of_pass");
    EXPECT_EQ(tests[2]["remark"], "no IC data of pass 3; 4 of other passes in the circle");
    EXPECT_EQ(tests[3]["state"], "none_in_circle");
    EXPECT_EQ(tests[3]["remark"], "no IC data in the circle; the nearest lies 2 away");
    EXPECT_EQ(tests[3]["ic_mean"], nullptr);
    EXPECT_EQ(tests[3]["predicted_ic_mean"], nullptr);
    EXPECT_EQ(tests[4]["ic_mean"], 22);
    EXPECT_TRUE(
        run("spots lot.csv tests.csv --radius 1").says("Without IC data of their pass: 3."));
}

TEST_F(Spots, TestsThatMakeNoLineKeepTheirStatistics) {
    ic_data({12, 19, 31, 38});
    write("equal.csv", "x,y,Value\n0,0,0.1\n10,0,0.1\n20,0,0.1\n30,0,0.1\n");
    const auto equal = run("spots lot.csv equal.csv --radius 1 --json").json();
    EXPECT_EQ(equal["regression"]["slope"], 0);
    EXPECT_EQ(equal["regression"]["p"], nullptr);
    EXPECT_EQ(equal["regression"]["supported"], false);
    EXPECT_NE(equal["notes"].dump().find("do not vary"), std::string::npos);
    write("two.csv", "x,y,Value\n0,0,1\n10,0,2\n");
    write("far.csv", "x,y,Value\n0,0,1\n10,0,2\n500,0,3\n600,0,4\n");
    const std::pair<const char*, const char*> cases[] = {
        {"two.csv", "point tests data is < 3, not sufficient for regression"},
        {"far.csv", "valid point tests data is < 3, not sufficient for regression"}};
    for (const auto& [file, message] : cases) {
        const outcome result = run(fmt::format("spots lot.csv {} --radius 1 --json", file));
        EXPECT_EQ(result.code, 1);
        const auto document = result.json();
        EXPECT_EQ(document["failure"]["message"], message);
        EXPECT_EQ(document["failure"]["path"], "qmx_point_stats_drv/IC_PointsData_stats");
        EXPECT_EQ(document["regression"], nullptr);
        EXPECT_EQ(document["tests"][1]["ic_mean"], 24);
        EXPECT_TRUE(result.says("IC data lie round 2 of"));
    }
}

// The library hands out another test's statistics where a test has one value.
TEST_F(Spots, ASingleValueIsShownAsItselfAndKeptOutOfTheLine) {
    ic_data({12, 19, 31, 38});
    std::string text = app_test::text_of(path("lot.csv"));
    write("lot.csv", text + "40,0,1,500\n");
    write("tests.csv", "x,y,PassCount,Value\n0,0,1,1\n10,0,1,2\n20,0,1,3\n40,0,1,9\n30,0,1,4\n");
    const auto document = run("spots lot.csv tests.csv --radius 1 --json").json();
    const auto& single = document["tests"][3];
    EXPECT_EQ(single["ic_values"], 1);
    EXPECT_EQ(single["ic_mean"], 500);
    EXPECT_EQ(single["ic_cv_percent"], nullptr);
    EXPECT_EQ(single["state"], "too_few_ic_values");
    EXPECT_NEAR(document["regression"]["slope"], 9, 1e-6); // of the other four
    EXPECT_NEAR(document["tests"][4]["predicted_ic_mean"], 38.5, 1e-5);

    const outcome raw = run("spots lot.csv tests.csv --radius 1 --min-ic 1");
    EXPECT_TRUE(raw.says("The line is WRONG for tests with a single IC value"));
    EXPECT_TRUE(raw.says("They are: 4."));
    EXPECT_EQ(
        run("spots lot.csv tests.csv --radius 1 --min-ic 1 --json").json()["tests"][3]["ic_mean"],
        500);
    const outcome strict = run("spots lot.csv tests.csv --radius 1 --min-ic 3 --json");
    EXPECT_EQ(strict.code, 1);
    EXPECT_EQ(strict.json()["failure"]["message"],
              "valid point tests data is < 3, not sufficient for regression");
}

TEST_F(Spots, PlanesAndPassesThatDoNotGoTogetherAreRefused) {
    ic_data({12, 19, 31, 38});
    write("degrees.csv", "Longitude,Latitude,Value\n-93,44,1\n-93.1,44,2\n-93.2,44,3\n");
    write("feet.csv", "Easting_ft,Northing_ft,Value\n0,0,1\n10,0,2\n20,0,3\n");
    write("metres.csv", "Easting_m,Northing_m,CMV\n0,0,1\n10,0,2\n20,0,3\n");
    write("broken.csv", "x,y,PassCount,Value\n0,0,one,1\n10,0,1,2\n20,0,1,3\n30,0,1,4\n");
    write("sound.csv", "x,y,Value\n0,0,1\n10,0,2\n20,0,3\n");
    expect_refused("spots", {{"lot.csv degrees.csv --radius 1", "are degrees"},
                             {"metres.csv feet.csv --radius 1", "positions are in ft"},
                             {"lot.csv broken.csv --radius 1", "line 2, column PassCount: \"one\""},
                             {"lot.csv sound.csv --radius -1", "0 or more"},
                             {"lot.csv sound.csv --radius nan", "0 or more"},
                             {"lot.csv sound.csv", "--radius"},
                             {"lot.csv --radius 1", "TESTS"},
                             {"lot.csv none.csv --radius 1", "none.csv"}});
    if (!app_test::can_project) return;
    // Degrees and the plane they are projected to meet: one place, twice.
    write("track.csv", "Longitude,Latitude,CMV\n-93,44,1\n-93,44,3\n-93.001,44,4\n-93.001,44,6\n"
                       "-93.002,44,5\n-93.002,44,7\n");
    write("spots.csv", "Longitude,Latitude,Value\n-93,44,1\n-93.001,44,2\n-93.002,44,3\n");
    const outcome projected = run("spots track.csv spots.csv --radius 0.1 --project utm --json");
    ASSERT_EQ(projected.code, 0) << projected.err;
    EXPECT_EQ(projected.json()["regression"]["n"], 3);
    EXPECT_NEAR(projected.json()["tests"][0]["x"], 500000, 1e-3);
}

} // namespace

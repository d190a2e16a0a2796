// What `qmx-ic curve` prints, beside closed forms and the truth of a generated lot.
#include "run_program.hpp"

#include <cmath>

#include <fmt/format.h>

namespace {

using app_test::outcome;
class Curve : public app_test::Program {
protected:
    // Pass p gets counts[p - 1] records in cells of their own row; their values are mean(p) - 1 and
    // mean(p) + 1 in turn, so that an even count has that mean and the variance n / (n - 1).
    template <class Mean>
    std::string lot(const std::string& name, const std::vector<int>& counts, Mean mean) const {
        std::string text = "x,y,PassCount,CMV\n";
        for (std::size_t pass = 1; pass <= counts.size(); ++pass)
            for (int i = 0; i < counts[pass - 1]; ++i)
                text += fmt::format("{},5,{},{}\n", i, pass,
                                    mean(static_cast<int>(pass)) + (i % 2 == 0 ? -1 : 1));
        return write(name, text);
    }
};

double bent(int pass) {
    return 20 + 8 * pass - pass * pass;
} // 27, 32, 35, 36

TEST_F(Curve, MeansOnAParabolaGiveThatParabola) {
    lot("lot.csv", {100, 200, 300, 400}, bent);
    const outcome result = run("curve lot.csv --json --output curve.csv");
    ASSERT_EQ(result.code, 0) << result.err;
    const auto document = result.json();
    EXPECT_EQ(document["schema"], "qmx-ic/curve/1");
    EXPECT_EQ(document["failure"], nullptr);
    ASSERT_EQ(document["passes"].size(), 4);
    for (int pass = 1; pass <= 4; ++pass) {
        const auto& row = document["passes"][static_cast<std::size_t>(pass - 1)];
        const double count = 100 * pass;
        EXPECT_EQ(row["points"], count);
        EXPECT_EQ(row["mean"], bent(pass));
        EXPECT_NEAR(row["standard_deviation"], std::sqrt(count / (count - 1)), 1e-6);
        EXPECT_NEAR(row["fitted"], bent(pass), 1e-4);
        const double growth = pass == 1 ? 0 : 100 * (bent(pass) / bent(pass - 1) - 1);
        EXPECT_NEAR(pass == 1 ? 0 : row["growth_percent"].get<double>(), growth, 1e-9);
    }
    const auto& curve = document["curve"];
    EXPECT_NEAR(curve["r_squared_percent"], 100, 1e-4);
    EXPECT_NEAR(curve["coefficients"][0], 20, 1e-4);
    EXPECT_NEAR(curve["coefficients"][1], 8, 1e-4);
    EXPECT_NEAR(curve["coefficients"][2], -1, 1e-5);
    EXPECT_NEAR(curve["pass"][99], 1 + 0.99 * 3, 1e-12);
    // 27 to 32 to 35 to 36: 18.5 %, 9.4 %, 2.9 %
    EXPECT_EQ(document["growth"]["pass"], 3);
    EXPECT_EQ(run("curve lot.csv --json --growth 10").json()["growth"]["pass"], 2);
    EXPECT_EQ(run("curve lot.csv --json --growth 1").json()["growth"]["pass"], nullptr);

    const std::string written = app_test::text_of(path("curve.csv"));
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 101);
    EXPECT_TRUE(written.starts_with("pass,CMV\n1,27"));
    const std::string before = app_test::text_of(path("lot.csv"));
    EXPECT_EQ(run("curve lot.csv --output lot.csv").code, 2);
    EXPECT_EQ(app_test::text_of(path("lot.csv")), before);
}

TEST_F(Curve, SaysWhyAPassIsLeftOut) {
    lot("thin.csv", {100, 100, 100, 99, 500}, bent);
    auto passes = run("curve thin.csv --json").json()["passes"];
    ASSERT_EQ(passes.size(), 5);
    EXPECT_EQ(passes[2]["in_curve"], true);
    EXPECT_EQ(passes[3]["left_out_for"], "too_few_points");
    EXPECT_EQ(passes[4]["left_out_for"], "after_the_end");
    EXPECT_EQ(passes[4]["mean"], bent(5)); // the statistics are told all the same

    lot("gap.csv", {100, 100, 100, 0, 0, 2}, bent);
    passes = run("curve gap.csv --json").json()["passes"];
    ASSERT_EQ(passes.size(), 5);
    EXPECT_EQ(passes[3]["pass"], 4);
    EXPECT_EQ(passes[3]["left_out_for"], "no_points");
    EXPECT_EQ(passes[4]["pass"], 6);
    EXPECT_EQ(passes[4]["mean"], nullptr); // two values
    EXPECT_TRUE(run("curve gap.csv").says("no points: the curve ends before this gap"));
}

TEST_F(Curve, AFailureKeepsTheMeansAndNamesItsCause) {
    lot("two.csv", {100, 100}, bent);
    lot("one.csv", {100, 5}, bent);
    lot("thin.csv", {99, 100}, bent);
    lot("late.csv", {0, 100, 100}, bent);
    lot("line.csv", {100, 100, 100}, [](int pass) { return 10.0 * pass; });
    lot("sound.csv", {100, 100, 100}, bent);
    write("zero.csv", "x,y,PassCount,CMV\n1,1,0,5\n1,2,1,6\n");
    // Arguments, message of the library (null where it succeeded), explanation, passes.
    const std::tuple<const char*, const char*, const char*, int> cases[] = {
        {"two.csv", "error calling imsl drcurv", "a quadratic takes three", 2},
        {"one.csv", nullptr, "Only pass 1", 1},
        {"thin.csv", "No sufficient data existed for any pass no.", "Pass 1 has 99 points", 0},
        {"late.csv", "IC data should always contain pass no. 1", "lowest pass number is 2", 0},
        {"zero.csv --min-points 1", "IC data should always contain pass no. 1", ">= 1", 0},
        {"line.csv", "error calling imsl drcurv", "constant or linear", 3},
        {"sound.csv --max-pass 2", "IC data consist of pass no. > max passes", "--max-pass", 0},
        {"sound.csv --max-pass 1",
         "i_maxpassno should be more than 2 for compaction curve analysis", "--max-pass 2", 0},
        {"sound.csv --min-points 301", "not sufficient data", "300 points", 0}};
    for (const auto& [arguments, message, explanation, passes] : cases) {
        SCOPED_TRACE(arguments);
        const outcome result = run(std::string("curve --json ") + arguments);
        EXPECT_EQ(result.code, 1);
        const auto document = result.json();
        EXPECT_EQ(document["passes_in_curve"], passes);
        EXPECT_EQ(document["curve"], nullptr);
        EXPECT_TRUE(result.says(explanation));
        if (!message) continue;
        EXPECT_EQ(document["failure"]["message"], message);
        EXPECT_EQ(document["failure"]["code"], 101);
        EXPECT_NE(result.err.find("qmx_icdata_cmpcurv_B_drv/IC_compact_curve_b"),
                  std::string::npos);
    }
    EXPECT_EQ(run("curve two.csv --json").json()["passes"][1]["mean"], bent(2));
    EXPECT_EQ(run("curve sound.csv --max-pass 100001").code, 2);
}

TEST_F(Curve, DataOfFinalCoverageAreToldFromThoseOfAllPasses) {
    lot("last.csv", {100}, bent);
    EXPECT_TRUE(run("curve last.csv").says("Every cell holds a single record"));
    lot("all.csv", {100, 100, 100}, bent);
    EXPECT_FALSE(run("curve all.csv").says("final coverage"));
}

} // namespace

// What `qmx-ic fit` prints, beside polynomials that the points were made from.
#include "run_program.hpp"

#include <cmath>

#include <fmt/format.h>

namespace {

using app_test::outcome;
class Fit : public app_test::Program {
protected:
    template <class Function>
    void pairs(const std::string& name, int count, double first, double step, Function f) const {
        std::string text = "name,a,b\n";
        for (int i = 0; i < count; ++i) {
            const double x = first + i * step;
            text += fmt::format("p,{},{}\n", x, f(x));
        }
        write(name, text);
    }
};

// Not a quadratic itself, so that no fit of degree 2 is perfect: alternating misses of 1/4.
double near_parabola(double x) {
    const double miss = std::fmod(std::fabs(x), 2) < 0.5 ? 0.25 : -0.25;
    return 3 + 2 * x + 0.5 * x * x + miss;
}

TEST_F(Fit, CurveRunsThroughTheParabola) {
    pairs("lot.csv", 41, 0, 1, near_parabola);
    const outcome result = run("fit lot.csv --x a --y b --json --output curve.csv");
    ASSERT_EQ(result.code, 0) << result.err;
    const auto document = result.json();
    EXPECT_EQ(document["schema"], "qmx-ic/fit/1");
    EXPECT_EQ(document["points"], 41);
    EXPECT_EQ(document["columns"]["x"]["name"], "a");
    EXPECT_EQ(document["notes"].size(), 0);
    const auto& curve = document["curve"];
    ASSERT_EQ(curve["x"].size(), 100);
    EXPECT_EQ(curve["x"][0], 0);
    EXPECT_EQ(curve["x"][99], 40);
    for (int i = 0; i < 100; ++i) {
        const double x = 40.0 * i / 99;
        EXPECT_NEAR(curve["y"][static_cast<std::size_t>(i)], 3 + 2 * x + 0.5 * x * x, 0.06) << i;
    }
    const std::string written = app_test::text_of(path("curve.csv"));
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 101);
    EXPECT_TRUE(written.starts_with("a,b\n0,"));
    EXPECT_EQ(document["terms"].size(), 3);
    app_test::expect_numbers(document["terms"][1], {{"power", 1, 0}, {"coefficient", 2, 0.02}});
    EXPECT_NEAR(document["r_squared_percent"], 100, 0.01);
    EXPECT_NEAR(document["standard_error"], 0.25, 0.02); // the misses
    EXPECT_TRUE(run("fit lot.csv --x a --y b").says("least squares of the pairs"));
    const auto turned = run("fit lot.csv --json --x b --y a --degree 5").json();
    EXPECT_EQ(turned["curve"]["x"][0], 3.25);
    EXPECT_EQ(run("fit lot.csv --x a --y b").out.find("Position"), std::string::npos);
}

TEST_F(Fit, CentringSavesTheDigitsOfAbscissasFarFromZero) {
    const auto near = [](double x) { return near_parabola(x - 432000); };
    pairs("far.csv", 41, 432000, 1, near);
    pairs("near.csv", 41, 0, 1, near_parabola);
    const outcome plain = run("fit far.csv --x a --y b --degree 4");
    EXPECT_TRUE(plain.says("a lies far from 0 against its range"));
    EXPECT_TRUE(plain.says("which moves the curve by up to"));
    EXPECT_TRUE(plain.says("takes the middle, 432020"));
    EXPECT_GT(run("fit far.csv --x a --y b --degree 4 --json").json()["digits_lost_estimate"], 16);

    const auto centred = run("fit far.csv --x a --y b --degree 4 --centre --json").json();
    const auto truth = run("fit near.csv --x a --y b --degree 4 --centre --json").json();
    EXPECT_EQ(centred["centre"], 432020);
    EXPECT_EQ(centred["digits_lost_estimate"], 0);
    EXPECT_EQ(centred["notes"].size(), 0);
    EXPECT_EQ(centred["curve"]["y"], truth["curve"]["y"]);
    EXPECT_EQ(centred["curve"]["x"][0], 432000);
    EXPECT_EQ(centred["curve"]["x"][99], 432040);
    EXPECT_TRUE(run("fit far.csv --x a --y b --centre").says("a less 432020"));
}

TEST_F(Fit, NegativeOrdinatesAreGivenAsZeroAndSaidSo) {
    pairs("down.csv", 21, 0, 1, [](double x) { return 10 - near_parabola(x) / 10; });
    const auto document = run("fit down.csv --x a --y b --json").json();
    EXPECT_EQ(document["curve"]["y"][99], 0);
    ASSERT_EQ(document["notes"].size(), 1);
    EXPECT_NE(document["notes"][0].get<std::string>().find("a negative ordinate as 0"),
              std::string::npos);
}

TEST_F(Fit, ARefusalIsExplained) {
    pairs("line.csv", 10, 0, 1, [](double x) { return 3 * x; });
    pairs("level.csv", 10, 0, 1, [](double) { return 3.0; });
    pairs("wavy.csv", 40, 0, 1, near_parabola);
    write("upright.csv", "a,b\n5,1\n5,2\n5,3\n5,5\n");
    write("two_x.csv", "a,b\n1,1\n1,2\n2,3\n2,5\n");
    write("one.csv", "a,b\n1,1\n");
    // Thousandths at 432 km are below the step of 32-bit numbers.
    write("merged.csv", "a,b\n432000.001,1\n432000.002,3\n432000.003,2\n432000.004,4\n");
    write("huge.csv", "a,b\n1,1\n2,1e39\n3,2\n");
    write("names.csv", "a,b\nx,1\ny,2\nz,3\n");
    write("track.csv", "Longitude,CMV\n-93.1,20\n-93.2,120\n-93.3,25\n");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"line.csv --degree 3 --x a --y b", 1, "--degree 1"},
        {"level.csv --x a --y b", 1, "b has the same value everywhere, 3"},
        {"wavy.csv --x a --y b --degree 10", 2, "from 0 to 9"},
        {"upright.csv --x a --y b", 1, "a has one value only, 5"},
        {"two_x.csv --x a --y b", 1, "a has 2 distinct values; degree 2 takes at least 3"},
        {"one.csv --x a --y b", 1, "a single point"},
        {"merged.csv --x a --y b", 1, "--centre tells them apart"},
        {"merged.csv --centre --x a --y b", 0, "Centred"},
        {"huge.csv --x a --y b", 2, "line 3, column b"},
        {"names.csv", 2, "name the column of the abscissas with --x"},
        {"wavy.csv", 2, "its columns with numbers: a, b"},
        {"track.csv --x Longitude --y CMV", 2, "degrees"},
        {"wavy.csv --x a --y b --degree -1", 2, "0 to 9"},
        {"wavy.csv --x a", 2, "with --y"},
        {"wavy.csv --x a --y c", 2, "\"c\""}};
    for (const auto& [arguments, code, text] : cases) {
        const outcome result = run(std::string("fit ") + arguments);
        EXPECT_EQ(result.code, code) << arguments << result.err;
        EXPECT_TRUE(result.says(text)) << arguments;
    }
    const auto failed = run("fit line.csv --x a --y b --degree 3 --json").json();
    EXPECT_EQ(failed["curve"], nullptr);
    EXPECT_NE(failed["failure"]["explanation"], nullptr);
}

} // namespace

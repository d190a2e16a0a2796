// The semivariogram command against pairs counted one by one, and against known fields.
#include "run_program.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace {

using app_test::outcome;
using app_test::text_of;
using nlohmann::json;

class Semivariogram : public app_test::Program {
protected:
    // A field of the generator on a square lattice, one record a cell.
    void generate(const std::string& values, int side = 40) const {
        const outcome made = run(fmt::format(
            "generate lot --lattice 0.5 --length {0} --width {0} --passes 1 --overlap 0 --missed 0 "
            "--bad-rows 0 --seed 3 {1}",
            side, values));
        ASSERT_EQ(made.code, 0) << made.err;
    }
};

struct place {
    double x, y, value;
};

std::string csv_of(const std::vector<place>& places) {
    std::string text = "x_m,y_m,CMV\n";
    for (const place& p : places) text += fmt::format("{},{},{}\n", p.x, p.y, p.value);
    return text;
}

std::vector<place> scattered(int count, double extent, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> position(0, extent);
    std::uniform_real_distribution<double> value(20, 80);
    std::vector<place> places;
    for (int i = 0; i < count; ++i) {
        const double x = 432000 + position(random);
        const double y = 4862000 + position(random);
        places.push_back({x, y, value(random)});
    }
    return places;
}

struct search {
    double lag = 1;
    int lags = 10;
    double azimuth = -1; // all directions
    double tolerance = 90;
    double bandwidth = 1e9;
};

struct lag_sums {
    std::int64_t pairs = 0;
    double distance = 0, square = 0;
};

// Every pair of different points once. Class k > 0 reaches from (k - 1.5) to (k - 0.5) lags.
std::vector<lag_sums> count_one_by_one(const std::vector<place>& places, const search& wanted) {
    std::vector<lag_sums> classes(static_cast<std::size_t>(wanted.lags) + 2);
    const double east = std::sin(wanted.azimuth * std::numbers::pi / 180);
    const double north = std::cos(wanted.azimuth * std::numbers::pi / 180);
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t j = i + 1; j < places.size(); ++j) {
            const double dx = places[j].x - places[i].x;
            const double dy = places[j].y - places[i].y;
            const double distance = std::hypot(dx, dy);
            const auto k = static_cast<std::size_t>(
                distance > 0 ? std::floor(distance / wanted.lag + 0.5) + 1 : 0);
            if (k >= classes.size()) continue;
            if (wanted.azimuth >= 0 && distance > 0) {
                const double along = std::fabs(dx * east + dy * north);
                const double across = std::fabs(dy * east - dx * north);
                if (along < distance * std::cos(wanted.tolerance * std::numbers::pi / 180) ||
                    across > wanted.bandwidth)
                    continue;
            }
            ++classes[k].pairs;
            classes[k].distance += distance;
            classes[k].square +=
                (places[j].value - places[i].value) * (places[j].value - places[i].value);
        }
    return classes;
}

void expect_lags(const json& lags, const std::vector<lag_sums>& truth) {
    ASSERT_EQ(lags.size(), truth.size());
    for (std::size_t k = 1; k < truth.size(); ++k) {
        SCOPED_TRACE(fmt::format("lag class {}", k));
        EXPECT_EQ(lags[k]["pairs"], truth[k].pairs);
        EXPECT_EQ(lags[k]["empty"], truth[k].pairs == 0);
        if (truth[k].pairs == 0) {
            EXPECT_EQ(lags[k]["mean_distance"], nullptr);
            EXPECT_EQ(lags[k]["semivariance"], nullptr);
            continue;
        }
        const double count = static_cast<double>(truth[k].pairs);
        const double distance = truth[k].distance / count;
        const double semivariance = truth[k].square / (2 * count);
        EXPECT_NEAR(lags[k]["mean_distance"], distance, 1e-5 * distance);
        EXPECT_NEAR(lags[k]["semivariance"], semivariance, 1e-5 * semivariance);
    }
}

TEST_F(Semivariogram, LagsHoldThePairsThatALoopFinds) {
    std::vector<place> places = scattered(400, 30, 7);
    places.push_back({432100, 4862000, 50}); // farther away than any lag reaches
    write("lot.csv", csv_of(places));
    const std::pair<const char*, search> cases[] = {
        {"", {1, 10}},
        {"", {0.37, 98}},
        {"", {3, 1}},
        {"--azimuth 30 --tolerance 20", {2, 8, 30, 20}},
        {"--azimuth 135", {1.5, 10, 135, 22.5}},
        {"--azimuth 0 --tolerance 90 --bandwidth 2.5", {2, 8, 0, 90, 2.5}},
        {"--azimuth 300 --tolerance 45 --bandwidth 4 --count-pairs", {2, 8, 300, 45, 4}}};
    for (const auto& [options, wanted] : cases) {
        SCOPED_TRACE(fmt::format("lag {} {}", wanted.lag, options));
        const outcome result = run(fmt::format("semivariogram lot.csv --json --lag {} --nlag {} {}",
                                               wanted.lag, wanted.lags, options));
        ASSERT_LE(result.code, 1) << result.err;
        expect_lags(result.json()["lags"], count_one_by_one(places, wanted));
        EXPECT_EQ(result.json()["lags"][0]["pairs"], places.size()); // each point with itself
    }
}

TEST_F(Semivariogram, ALagWithoutPairsIsEmptyAndCoincidentPointsHaveTheirOwn) {
    // Two heaps 10 apart; one place of the first holds two points.
    const std::vector<place> places = {
        {0, 0, 10}, {0, 0, 14}, {1, 0, 11}, {10, 0, 13}, {11, 0, 17}};
    write("lot.csv", csv_of(places));
    const outcome result = run("semivariogram lot.csv --lag 1 --nlag 12 --all-records --json");
    const json lags = result.json()["lags"];
    EXPECT_EQ(lags[0]["pairs"], 6); // five points with themselves, and one pair
    EXPECT_NEAR(lags[0]["semivariance"], 16.0 / 12, 1e-9);
    for (const std::size_t k : {1U, 3U, 4U, 9U}) EXPECT_EQ(lags[k]["empty"], true) << k;
    EXPECT_EQ(lags[11]["empty"], false);
    const outcome shown = run("semivariogram lot.csv --lag 1 --nlag 12 --all-records");
    EXPECT_TRUE(shown.says("empty"));
    EXPECT_TRUE(shown.says("lags are empty"));
    EXPECT_TRUE(shown.says("4 cells, 1 of them with several records"));
    EXPECT_TRUE(run("semivariogram lot.csv --lag 1 --nlag 12")
                    .says("4 cells, the last pass of each; 1 earlier records left out"));
}

TEST_F(Semivariogram, AFieldOfKnownRangeAndSillIsFound) {
    generate("--range 8 --sill 40 --nugget 0", 60);
    const json document = run("semivariogram lot.csv --json --output lags.csv").json();
    EXPECT_EQ(document["schema"], "qmx-ic/semivariogram/1");
    EXPECT_EQ(document["settings"]["omnidirectional"], true);
    EXPECT_EQ(document["model"]["practical_range_on_bound"], nullptr);
    EXPECT_NEAR(document["model"]["practical_range"], 8, 1.6);
    EXPECT_NEAR(document["model"]["sill"], 40, 8);
    // At short distances the field itself is hardly in doubt. On a lattice lag 0 is empty.
    EXPECT_EQ(document["lags"][1]["empty"], true);
    for (std::size_t k = 2; k < 5; ++k) {
        const double distance = document["lags"][k]["mean_distance"];
        const double expected = 40 * (1 - std::exp(-3 * distance / 8));
        EXPECT_NEAR(document["lags"][k]["semivariance"], expected, 0.15 * expected) << k;
    }
    // What is read off the curve lies on it, and the curve is the model's.
    const json& curve = document["curve"];
    const json& reading = document["reading"];
    const auto at = std::find(curve["distance"].begin(), curve["distance"].end(), reading["range"]);
    ASSERT_NE(at, curve["distance"].end());
    EXPECT_EQ(curve["semivariance"][static_cast<std::size_t>(at - curve["distance"].begin())],
              reading["sill"]);
    EXPECT_EQ(reading["nugget"], 0);
    const double range = document["model"]["practical_range"], sill = document["model"]["sill"];
    const double h = curve["distance"][50];
    EXPECT_NEAR(curve["semivariance"][50], sill * (1 - std::exp(-3 * h / range)), 1e-4 * sill);

    std::istringstream csv(text_of(path("lags.csv")));
    std::string line;
    std::getline(csv, line);
    EXPECT_EQ(line, "part,class,lag,pairs,distance,semivariance,model,best_model");
    std::size_t lags = 0, points = 0;
    while (std::getline(csv, line)) (line.starts_with("lag,") ? lags : points) += 1;
    EXPECT_EQ(lags, document["lags"].size());
    EXPECT_EQ(points, 100);
}

TEST_F(Semivariogram, WhereTheOriginLiesDoesNotMatter) {
    std::string near = "x,y,CMV\n", far = near;
    for (int i = 0; i < 900; ++i) {
        const double x = 0.25 * (i % 30), y = 0.25 * (i / 30);
        const int value = 40 + (i * 7919) % 23;
        near += fmt::format("{},{},{}\n", x, y, value);
        far += fmt::format("{},{},{}\n", 432000 + x, 4862000 + y, value);
    }
    write("near.csv", near);
    write("far.csv", far);
    const json here = run("semivariogram near.csv --json").json();
    const json there = run("semivariogram far.csv --json").json();
    EXPECT_EQ(there["origin"]["y"], 4862004);
    EXPECT_EQ(here["lags"], there["lags"]);
    EXPECT_EQ(here["curve"], there["curve"]);
    EXPECT_EQ(here["failure"], there["failure"]);
}

TEST_F(Semivariogram, TheUnitsOfValuesAndPositionsDoNotBindTheModel) {
    generate("--range 8 --sill 0.5 --nugget 0");
    const json freed = run("semivariogram lot.csv --json --lag 0.5").json();
    EXPECT_EQ(freed["model"]["practical_range_on_bound"], nullptr);
    EXPECT_NEAR(freed["model"]["practical_range"], 8, 3);
    EXPECT_NEAR(freed["model"]["sill"], 0.5, 0.15);
    const json standardised = run("semivariogram lot.csv --json --lag 0.5 --standardise").json();
    EXPECT_NEAR(standardised["model"]["practical_range"], freed["model"]["practical_range"], 1e-3);
    EXPECT_TRUE(run("semivariogram lot.csv --lag 0.5").says("the library got values ×"));
    // The same lot in kilometres.
    std::istringstream rows(text_of(path("lot.csv")));
    std::string line, text = "x,y,CMV\n";
    for (std::getline(rows, line); std::getline(rows, line);) {
        std::vector<std::string> fields(1);
        for (const char c : line) c == ',' ? fields.emplace_back() : fields.back() += c;
        text += fmt::format("{:.9f},{:.9f},{}\n", std::stod(fields[2]) / 1000,
                            std::stod(fields[1]) / 1000, fields[8]);
    }
    write("km.csv", text);
    const json far = run("semivariogram km.csv --json --lag 0.0005 --all-records").json();
    EXPECT_EQ(far["model"]["practical_range_on_bound"], nullptr);
    EXPECT_NEAR(1000 * far["model"]["practical_range"].get<double>(),
                freed["model"]["practical_range"], 0.5);
    // Held all the same, it is marked in its own line; a power of two changes no digit of the lags.
    const outcome held = run("semivariogram lot.csv --json --lag 0.5 --value-scale 1");
    EXPECT_EQ(held.json()["model"]["practical_range_on_bound"], "upper");
    EXPECT_TRUE(run("semivariogram lot.csv --lag 0.5 --value-scale 1").says("ON ITS UPPER BOUND"));
    double squares = 0;
    for (std::size_t k = 0; k < freed["lags"].size(); ++k) {
        const json& lag = freed["lags"][k];
        EXPECT_EQ(lag["semivariance"], held.json()["lags"][k]["semivariance"]) << k;
        if (k > 0 && !lag["empty"].get<bool>())
            squares += std::pow(lag["semivariance"].get<double>() - lag["model"].get<double>(), 2);
    }
    EXPECT_NEAR(freed["model"]["residual_norm"], std::sqrt(squares), 1e-6);
}

TEST_F(Semivariogram, ModelsWithANuggetFindTheFieldThatTheLibrarysModelMisses) {
    generate("--range 8 --sill 40 --nugget 20", 60);
    const json document = run("semivariogram lot.csv --json --lag 0.5 --nlag 40").json();
    const json& models = document["models"];
    EXPECT_EQ(models["weights"], "pairs");
    EXPECT_EQ(models["criterion"], "least weighted sum of squares");
    ASSERT_EQ(models["fits"].size(), 15U);
    double least = 1e300;
    json best;
    for (const json& fit : models["fits"]) {
        SCOPED_TRACE(fit.dump());
        // The sums of squares are those of the printed parameters on the printed lags.
        double squares = 0, weights = 0;
        std::size_t lags = 0;
        for (const json& lag : document["lags"]) {
            if (lag["class"] == 0 || lag["empty"].get<bool>()) continue;
            const double pairs = lag["pairs"], h = lag["mean_distance"];
            const double weight = fit["weights"] == "equal"   ? 1
                                  : fit["weights"] == "pairs" ? pairs
                                                              : pairs / (h * h);
            const double nugget = fit["nugget"], rise = fit["partial_sill"], a = fit["scale"];
            const double u = h / a;
            const double share =
                fit["model"] == "exponential"  ? 1 - std::exp(-u)
                : fit["model"] == "gaussian"   ? 1 - std::exp(-u * u)
                : fit["model"] == "spherical"  ? (u < 1 ? 1.5 * u - 0.5 * u * u * u : 1)
                : fit["model"] == "matern_3_2" ? 1 - (1 + u) * std::exp(-u)
                                               : 1 - (1 + u + u * u / 3) * std::exp(-u);
            squares +=
                weight * std::pow(lag["semivariance"].get<double>() - nugget - rise * share, 2);
            weights += weight;
            ++lags;
        }
        EXPECT_EQ(lags, models["lags"]);
        EXPECT_NEAR(fit["sum_of_squares"], squares, 1e-9 * squares);
        const double norm = std::sqrt(squares / weights * static_cast<double>(lags));
        EXPECT_NEAR(fit["residual_norm"], norm, 1e-9 * norm);
        if (fit["weights"] == "pairs" && squares < least) {
            least = squares;
            best = fit;
        }
        if (fit["model"] == "exponential" && fit["weights"] == "pairs") {
            EXPECT_NEAR(fit["nugget"], 20, 5);
            EXPECT_NEAR(fit["sill"], 40, 6);
            EXPECT_NEAR(fit["practical_range"], 8, 3.5);
            EXPECT_LT(fit["residual_norm"], 0.5 * document["model"]["residual_norm"].get<double>());
        }
    }
    EXPECT_EQ(models["best"], best["model"]);
    EXPECT_EQ(best["best_of_its_weights"], true);

    const outcome shown = run("semivariogram lot.csv --lag 0.5 --nlag 40");
    for (const char* const words : {"the library's", "Matérn 5/2", "Best: ", "by pairs"})
        EXPECT_TRUE(shown.says(words));
    EXPECT_TRUE(run("semivariogram lot.csv --lag 0.5 --nlag 40 --weights pairs-by-distance")
                    .says("by pairs / distance²"));
    const json bare = run("semivariogram lot.csv --lag 0.5 --json --no-models").json();
    EXPECT_EQ(bare["models"], nullptr);
    EXPECT_EQ(bare["lags"][3]["best_model"], nullptr);
}

TEST_F(Semivariogram, ARangeThatTheLagsDoNotShowIsMarkedInItsLine) {
    std::vector<place> places;
    for (int i = 0; i < 900; ++i) {
        places.push_back({1.0 * (i % 30), 1.0 * (i / 30), 3.0 * (i % 30) + i / 30});
    }
    write("slope.csv", csv_of(places));
    const json models = run("semivariogram slope.csv --lag 1 --nlag 10 --json").json()["models"];
    for (const json& fit : models["fits"])
        if (fit["model"] == "gaussian") {
            EXPECT_EQ(fit["practical_range_on_bound"], "upper");
            EXPECT_EQ(fit["practical_range"], models["practical_range_bounds"]["most"]);
        }
    const outcome shown = run("semivariogram slope.csv --lag 1 --nlag 10");
    EXPECT_TRUE(shown.says("RANGE ON ITS UPPER BOUND: no result"));
    EXPECT_TRUE(shown.says("these lags show neither range"));
    EXPECT_TRUE(run("semivariogram slope.csv --lag 1 --nlag 2").says("need 4 lags with pairs"));
}

TEST_F(Semivariogram, StandardisedMeansDividedByTheVariance) {
    const std::vector<place> places = scattered(300, 20, 5);
    write("lot.csv", csv_of(places));
    double mean = 0, variance = 0;
    for (const place& p : places) mean += p.value / 300;
    for (const place& p : places) variance += (p.value - mean) * (p.value - mean) / 300;
    const json plain = run("semivariogram lot.csv --json").json()["lags"];
    const json divided = run("semivariogram lot.csv --json --standardize").json()["lags"];
    for (std::size_t k = 1; k < plain.size(); ++k) {
        const double expected = static_cast<double>(plain[k]["semivariance"]) / variance;
        EXPECT_NEAR(divided[k]["semivariance"], expected, 1e-9 * expected) << k;
    }
}

TEST_F(Semivariogram, AFailedFitLeavesTheLags) {
    std::vector<place> places = scattered(50, 10, 2);
    for (place& p : places) p.value = 5;
    write("equal.csv", csv_of(places));
    const outcome result = run("semivariogram equal.csv --lag 1 --nlag 5");
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(result.says("Only the curvefit fails"));
    EXPECT_TRUE(result.says("modelfit_all/modelfit_all/semivariogram_modlefit/"
                            "qmx_icdata_semivgm_drv/IC_semivariogram"));
    EXPECT_TRUE(result.says("the values do not differ"));
    EXPECT_NE(result.out.find("mean distance"), std::string::npos);
    const outcome asked = run("semivariogram equal.csv --lag 1 --nlag 5 --json --output lags.csv");
    EXPECT_EQ(asked.code, 1);
    const json document = asked.json();
    EXPECT_EQ(document["failure"]["message"], "Only the curvefit fails");
    EXPECT_EQ(document["failure"]["code"], 101);
    EXPECT_EQ(document["model"], nullptr);
    expect_lags(document["lags"], count_one_by_one(places, {1, 5}));
    EXPECT_EQ(text_of(path("lags.csv")).find("curve"), std::string::npos);

    const outcome lonely = run("semivariogram equal.csv --lag 0.001 --nlag 1");
    EXPECT_EQ(lonely.code, 1);
    EXPECT_TRUE(lonely.says("No two points in different places"));
}

TEST_F(Semivariogram, WrongUseIsRefusedWithItsRemedy) {
    write("lot.csv", csv_of(scattered(20, 10, 1)));
    write("lonlat.csv", "Longitude,Latitude,CMV\n-93.9,43.9,1\n-93.8,43.9,2\n-93.7,43.8,4\n");
    write("units.csv", "x_m,y_ft,CMV\n1,1,1\n2,5,2\n3,4,4\n");
    write("huge.csv", "x,y,CMV\n1,1,5\n2,2,1e19\n3,3,5\n");
    write("one.csv", "x,y,CMV\n1,1,5\n1,1,6\n1,1,7\n");
    expect_refused("semivariogram",
                   {{"lot.csv --lag 0", "--lag: 0 is no length"},
                    {"lot.csv --lag nan", "is no length"},
                    {"lot.csv --lag -1", "--lag: -1 is no length"},
                    {"lot.csv --nlag 0", "from 1 to 98"},
                    {"lot.csv --nlag 99", "from 1 to 98"},
                    {"lot.csv --tolerance 20", "--tolerance needs --azimuth"},
                    {"lot.csv --bandwidth 20", "--bandwidth needs --azimuth"},
                    {"lot.csv --azimuth 30 --tolerance 0", "half-angle above 0"},
                    {"lot.csv --azimuth 30 --tolerance 360", "90 takes all directions"},
                    {"lot.csv --azimuth 30 --bandwidth 0", "--bandwidth: 0 is no length"},
                    {"lot.csv --azimuth nan", "is no direction"},
                    {"lot.csv --value-scale 0", "--value-scale: 0 is no factor"},

                    {"lot.csv --output lot.csv", "the file that is read"},
                    {"lonlat.csv", "--project"},
                    {"units.csv", "a distance takes both in one unit"},
                    {"huge.csv", "line 3, column CMV"},
                    {"lot.csv --weights some", "--weights"},
                    {"lot.csv --weights pairs --no-models", "--weights excludes --no-models"},
                    {"one.csv --all-records", "the points (3) lie in one place", 1}});
}

class SemivariogramOfATrack : public app_test::RealFiles {};
TEST_F(SemivariogramOfATrack, ShowsWhereTheMachineStood) {
    EXPECT_TRUE(
        run("semivariogram '" + data_folder + "/harvester_track_corn_utm15n.csv' --lag 5 --nlag 12")
            .says("The nearest pairs differ more than those farther apart"));
}

} // namespace

// The regression against a textbook one in fifty digits, and certified lines.
#include "numeric/regression_call.hpp"
#include "support/certified_set.hpp"

#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>

#include <map>

using namespace regression_test;

namespace {

using exact = boost::multiprecision::cpp_bin_float_50;

// ---- The textbook -------------------------------------------------------------------------------

struct exact_line {
    exact n = 0, b0 = 0, b1 = 0;
    exact c00 = 0, c01 = 0, c11 = 0; // inverse of the cross products
    exact sse = 0, ssr = 0, mean = 0, weight = 0;
    int rank = 0;
    exact degrees() const { return n - rank; }
    exact mean_square() const { return sse / degrees(); }
};

exact_line fit_exactly(const std::vector<observation>& data, bool intercept) {
    exact_line line;
    exact sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (const observation& o : data) {
        const exact w = exact(o.frequency) * exact(o.weight), x = o.x, y = o.y;
        line.n += o.frequency;
        line.weight += w;
        sx += w * x;
        sy += w * y;
        sxx += w * x * x;
        sxy += w * x * y;
        syy += w * y * y;
    }
    line.mean = sy / line.weight;
    if (intercept) {
        const exact dxx = sxx - sx * sx / line.weight, dxy = sxy - sx * sy / line.weight;
        line.rank = 2;
        line.b1 = dxy / dxx;
        line.b0 = line.mean - line.b1 * sx / line.weight;
        line.c11 = 1 / dxx;
        line.c01 = -sx / line.weight / dxx;
        line.c00 = 1 / line.weight + sx * sx / (line.weight * line.weight * dxx);
        line.ssr = line.b1 * dxy;
        line.sse = syy - sy * sy / line.weight - line.ssr;
    } else {
        line.rank = 1;
        line.b1 = sxy / sxx;
        line.c11 = 1 / sxx;
        line.ssr = line.b1 * sxy;
        line.sse = syy - line.ssr;
    }
    return line;
}

f64 upper_f(const exact& F, f64 d1, f64 d2) {
    const auto f = static_cast<long double>(F);
    return static_cast<f64>(
        cdf(complement(boost::math::fisher_f_distribution<long double>(d1, d2), f)));
}

f64 root(const exact& value) {
    return static_cast<f64>(sqrt(value));
}

// The error in units of the larger of the truth and a floor.
void expect_digits(f64 found, const exact& truth, f64 digits, const std::string& what,
                   f64 floor = 0.0) {
    const f64 scale = std::max(std::abs(static_cast<f64>(truth)), floor);
    const f64 error = std::abs(static_cast<f64>(exact(found) - truth));
    EXPECT_LE(error, std::pow(10.0, -digits) * scale)
        << what << ": " << found << " instead of " << static_cast<f64>(truth);
}

void expect_table(const regression& found, const exact_line& line, f64 digits) {
    const f64 dfe = static_cast<f64>(line.degrees()), dft = dfe + 1;
    const exact s2 = line.mean_square(), s = sqrt(s2), total = line.ssr + line.sse;
    const exact F = line.ssr / s2, of_total = 100 * line.ssr / total;
    const exact adjusted = 100 * (1 - s2 / (total / dft)), variation = 100 * s / line.mean;
    const exact p = upper_f(F, 1, dfe);
    const exact table[15] = {1, dfe, dft,      line.ssr, line.sse, total,     line.ssr, s2,
                             F, p,   of_total, adjusted, s,        line.mean, variation};
    for (std::size_t k = 0; k < 15; ++k)
        expect_digits(found.AOV[k], table[k], digits - (k == 9), "AOV " + std::to_string(k + 1),
                      k == 9 ? 1e-290 : k == 11);

    const exact estimates[2] = {line.b0, line.b1}, factors[2] = {line.c00, line.c11};
    const exact inflation[2] = {line.weight * line.c00, 1};
    for (std::size_t row = line.rank == 2 ? 0 : 1; row < 2; ++row) {
        const std::string which = "COEF row " + std::to_string(row) + " column ";
        const exact error = sqrt(s2 * factors[row]), t = estimates[row] / error;
        // An estimate near 0 cannot be better than its standard error says.
        expect_digits(found.COEF[row][0], estimates[row], digits, which + "1",
                      1e-2 * static_cast<f64>(error));
        expect_digits(found.COEF[row][1], error, digits, which + "2");
        expect_digits(found.COEF[row][2], t, digits, which + "3", 1e-2);
        expect_digits(found.COEF[row][3], upper_f(t * t, 1, dfe), digits - 1, which + "4", 1e-290);
        expect_digits(found.COEF[row][4], inflation[row], digits, which + "5");
    }
    expect_digits(found.COVB[1][1], s2 * line.c11, digits, "COVB 2 2");
    if (line.rank < 2) return;
    expect_digits(found.COVB[0][0], s2 * line.c00, digits, "COVB 1 1");
    expect_digits(found.COVB[0][1], s2 * line.c01, digits, "COVB 1 2");
    EXPECT_EQ(found.COVB[0][1], found.COVB[1][0]);
}

void expect_lack_of_fit(const regression& found, const exact_line& line,
                        const std::vector<observation>& data, f64 digits) {
    std::map<f64, std::vector<observation>> groups;
    for (const observation& o : data) groups[o.x].push_back(o);
    exact pure_degrees = 0, pure = 0;
    for (const auto& [x, rows] : groups) {
        exact n = 0, weight = 0, sum = 0, squares = 0;
        for (const observation& o : rows) {
            const exact w = exact(o.frequency) * exact(o.weight), y = o.y;
            n += o.frequency;
            weight += w;
            sum += w * y;
            squares += w * y * y;
        }
        pure_degrees += n - 1;
        pure += squares - sum * sum / weight;
    }
    const exact lack_degrees = line.degrees() - pure_degrees, lack = line.sse - pure;
    const exact first[6] = {line.degrees(), lack_degrees, pure_degrees, line.sse, lack, pure};
    for (std::size_t k = 0; k < 6; ++k)
        expect_digits(found.TESTLF[k], first[k], digits, "TESTLF " + std::to_string(k + 1),
                      static_cast<f64>(line.sse));
    // Frequencies alone make replicates without scatter.
    if (!(pure > 1e-30 * line.sse && lack_degrees > 0)) {
        EXPECT_FALSE(std::isfinite(found.TESTLF[8]));
        EXPECT_EQ(std::isnan(found.TESTLF[8]), pure_degrees == 0 || lack_degrees == 0);
        return;
    }
    const exact lack_square = lack / lack_degrees, pure_square = pure / pure_degrees;
    const exact ratio = lack_square / pure_square;
    const f64 above =
        upper_f(ratio, static_cast<f64>(lack_degrees), static_cast<f64>(pure_degrees));
    expect_digits(found.TESTLF[6], lack_square, digits - 1, "TESTLF 7");
    expect_digits(found.TESTLF[7], pure_square, digits - 1, "TESTLF 8");
    expect_digits(found.TESTLF[8], ratio, digits - 1, "TESTLF 9");
    expect_digits(found.TESTLF[9], above, digits - 2, "TESTLF 10");
}

void expect_cases(const regression& found, const exact_line& line,
                  const std::vector<observation>& data, f64 digits) {
    const boost::math::students_t_distribution<long double> student(
        static_cast<long double>(line.degrees()));
    const exact mean_quantile = quantile(student, 0.975L), quantile_90 = quantile(student, 0.95L);
    const exact s2 = line.mean_square();
    for (std::size_t i = 0; i < data.size(); ++i) {
        const observation& o = data[i];
        const exact f = line.b0 + line.b1 * o.x, e = o.y - f, w = o.weight;
        const exact v = line.c00 + 2 * line.c01 * o.x + line.c11 * o.x * o.x, h = w * v;
        // Columns 6 to 8 by their definition: fit again without this observation.
        std::vector<observation> others = data;
        others[i].frequency -= 1;
        const exact_line rest = fit_exactly(others, line.rank == 2);
        const exact f_rest = rest.b0 + rest.b1 * o.x, s_rest = sqrt(rest.mean_square());
        exact moved = 0;
        for (const observation& other : data) {
            const exact d = line.b0 - rest.b0 + (line.b1 - rest.b1) * other.x;
            moved += exact(other.frequency) * exact(other.weight) * d * d;
        }
        const exact margin = mean_quantile * sqrt(s2 * v);
        const exact wide = quantile_90 * sqrt(s2 * (1 / (w * exact(o.future)) + v));
        const exact standardized = e * sqrt(w) / sqrt(s2 * (1 - h));
        const exact studentized = e * sqrt(w) / (s_rest * sqrt(1 - h));
        const exact dffits = h > 0 ? exact((f - f_rest) * sqrt(w) / (s_rest * sqrt(h))) : exact(0);
        const exact cook = moved / (line.rank * s2);
        const exact row[12] = {o.y,  f,      e,          h,          standardized, studentized,
                               cook, dffits, f - margin, f + margin, f - wide,     f + wide};
        const f64 unit = root(s2 / w);
        const f64 floor[12] = {0, unit, unit, 0, 1, 1, 1e-2, 1e-1, unit, unit, unit, unit};
        for (std::size_t k = 0; k < 12; ++k)
            expect_digits(found.CASE[i][k], row[k], digits - 1,
                          "CASE " + std::to_string(i) + " " + std::to_string(k + 1), floor[k]);
    }
}

void expect_textbook(const std::string& name, const std::vector<observation>& data, i32 intercept,
                     f64 digits) {
    SCOPED_TRACE(name + (intercept == 1 ? ", intercept" : ", no intercept"));
    const regression found = regress(data, intercept);
    const exact_line line = fit_exactly(data, intercept == 1);
    EXPECT_EQ(found.type, 0);
    EXPECT_EQ(found.missing, 0);
    expect_table(found, line, digits);
    expect_lack_of_fit(found, line, data, digits);
    expect_cases(found, line, data, digits);
}

TEST(Line, AgreesWithTheTextbookInFiftyDigits) {
    struct {
        const char* name;
        f64 x_offset, x_span, y_offset, noise, digits;
    } const rows[] = {{"plain", 0, 10, 0, 0.3, 13},
                      {"large mean of x", 1e6, 1, 20, 0.3, 13},
                      {"large means", 1e9, 1, -3e8, 1e-2, 12.5},
                      {"little noise", 500, 1e3, 40, 1e-7, 12.5},
                      {"UTM northings", 5.8e6, 900, 0.4, 3, 13},
                      {"nothing but noise", -30, 1, 2e5, 1e4, 12.5},
                      {"huge", 1e180, 1e180, 0, 0.5, 12.5},
                      {"tiny", 0, 1e-170, 0, 0.5, 12.5}};
    unsigned seed = 1;
    for (const auto& row : rows)
        for (const int options : {0, 1, 2, 4, 7})
            for (const i32 intercept : {0, 1}) {
                const auto data = made_up(++seed, 25, row.x_offset, row.x_span, row.y_offset,
                                          row.noise, options & 1, options & 2, options & 4);
                expect_textbook(row.name + std::string(" ") + std::to_string(options), data,
                                intercept, row.digits);
            }
}

TEST(Line, OfExtremeWeightsAndMagnitudesStaysExact) {
    auto data = made_up(77, 20, 3, 4, 5, 0.2, true, true, true);
    const regression plain = regress(data);
    const f64 power = std::ldexp(1.0, 400);
    for (observation& o : data) {
        o.weight *= std::ldexp(1.0, 600);
        o.x *= power;
        o.y /= power;
    }
    const regression scaled = regress(data);
    EXPECT_EQ(scaled.COEF[0][0], plain.COEF[0][0] / power);
    EXPECT_EQ(scaled.COEF[1][2], plain.COEF[1][2]);
    EXPECT_EQ(scaled.AOV[8], plain.AOV[8]);
    EXPECT_DOUBLE_EQ(scaled.AOV[3], plain.AOV[3] / power / power * std::ldexp(1.0, 600));
    for (std::size_t i = 0; i < data.size(); ++i) {
        EXPECT_EQ(scaled.CASE[i][7], plain.CASE[i][7]);
        EXPECT_EQ(scaled.CASE[i][11], plain.CASE[i][11] / power);
    }
}

TEST(Line, OfAFrequencyIsThatOfAsManyRows) {
    auto data = made_up(5, 12, 100, 10, 3, 0.4, true, true, true);
    data[3].frequency = 0;
    data[7].weight = 0;
    std::vector<observation> expanded;
    std::vector<std::size_t> origin;
    for (std::size_t i = 0; i < data.size(); ++i)
        for (int k = 0; k < data[i].frequency && data[i].weight > 0; ++k) {
            expanded.push_back(data[i]);
            expanded.back().frequency = 1;
            origin.push_back(i);
        }
    const regression folded = regress(data), unfolded = regress(expanded);
    for (std::size_t k = 0; k < 15; ++k)
        expect_digits(folded.AOV[k], unfolded.AOV[k], 13, "AOV", k == 9 ? 1e-3 : 0.0);
    for (std::size_t k = 0; k < 10; ++k) EXPECT_NEAR(folded.TESTLF[k], unfolded.TESTLF[k], 1e-10);
    for (std::size_t j = 0; j < expanded.size(); ++j)
        for (std::size_t k = 0; k < 12; ++k)
            EXPECT_NEAR(folded.CASE[origin[j]][k], unfolded.CASE[j][k], 1e-11);
    for (const std::size_t left_out : {3U, 7U}) {
        for (const std::size_t k : {3U, 4U, 5U, 6U, 7U})
            EXPECT_TRUE(std::isnan(folded.CASE[left_out][k])) << k;
        EXPECT_NEAR(folded.CASE[left_out][1] + folded.CASE[left_out][2], data[left_out].y, 1e-12);
        EXPECT_TRUE(std::isfinite(folded.CASE[left_out][8]));
    }
    EXPECT_EQ(folded.CASE[7][11], INFINITY) << "without weight a prediction has no limits";
}

// ---- Certified lines ----------------------------------------------------------------------------

TEST(Line, MatchesTwelveDigitsOfCertifiedSets) {
    if (!support::has_certified_sets()) GTEST_SKIP() << "QMX_IC_DATA is not set";
    for (const char* name : {"Norris", "NoInt1", "NoInt2"}) {
        const support::certified_set set = support::read_certified(name);
        std::vector<observation> data;
        for (const auto& row : set.rows) data.push_back({row.at(1), row.at(0)});
        ASSERT_GT(data.size(), 2U) << name;
        const auto b0 = set.after("B0"), b1 = set.after("B1"), table = set.after("Regression ");
        const regression found = regress(data, b0.empty() ? 0 : 1);
        const auto expect = [&](f64 value, f64 certified, const char* what) {
            expect_digits(value, certified, 12, name + std::string(" ") + what);
        };
        for (std::size_t k = 0; k < 2; ++k) {
            if (!b0.empty()) expect(found.COEF[0][k], b0.at(k), "B0");
            expect(found.COEF[1][k], b1.at(k), "B1");
        }
        expect(found.AOV[12], set.after("Standard Deviation").at(0), "deviation");
        expect(found.AOV[10] / 100, set.after("R-Squared").at(0), "R-squared");
        expect(found.AOV[3], table.at(1), "regression sum");
        expect(found.AOV[4], set.after("Residual ").at(1), "error sum");
        expect(found.AOV[8], table.at(3), "F");
    }
}

} // namespace

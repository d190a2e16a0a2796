// The regression's wrappers: which numerical errors become events, and copies of strided matrices.
#include "numeric/errors/error_stack.hpp"
#include "support/expect_event.hpp"
#include "toolkit/regression.hpp"

using namespace qmx;

namespace {

struct outputs {
    f64 AOV[15], COEF[10], COVB[4], TESTLF[10], CASE[12 * 5];
    i32 missing = -1;
};

TEST(Regression, ErrorsOfTypesOneToFourAreFailures) {
    struct {
        const char* name;
        std::vector<f64> x, y;
        f64 confidence;
        i32 weight_column, leading, status;
    } const rows[] = {{"a line", {1, 2, 3, 4}, {2, 4, 7, 8}, 95, 0, 4, 1},
                      {"missing everywhere", {1, nan64, 3}, {nan64, 2, nan64}, 95, 0, 3, 3},
                      {"a negative weight", {1, -2, 3}, {2, 4, 7}, 95, 1, 3, 3},
                      {"two rows, no error degrees", {1, nan64, 3}, {2, 4, 7}, 95, 0, 3, 1},
                      {"low confidence", {1, 2, 3, 4}, {2, 4, 7, 8}, 20, 0, 4, 1},
                      {"refused arguments", {1, 2, 3, 4}, {2, 4, 7, 8}, 95, 0, 1, 1},
                      {"constant x", {2, 2, 2}, {2, 4, 7}, 95, 0, 3, 1}};
    for (const auto& row : rows) {
        clear_event();
        numeric::ERSET(0, 2, 2); // the wrapper silences what would stop the process
        std::vector<f64> data = row.x;
        data.insert(data.end(), row.y.begin(), row.y.end());
        const i32 n = static_cast<i32>(row.x.size());
        outputs out;
        out.COEF[1] = -7;
        const i32 status = linr_regrs(n, 2, data.data(), row.leading, 1, 2, 1, 0, row.weight_column,
                                      0, row.confidence, 95.0, 0, out.AOV, out.COEF, 2, out.COVB, 2,
                                      out.TESTLF, out.CASE, n, out.missing);
        EXPECT_EQ(status, row.status) << row.name;
        EXPECT_EQ(has_failed(), row.status == 3) << row.name;
        if (row.status == 3)
            support::expect_event("error calling imsl drcurv", "linr_regrs/linr_regrs");
        const bool unwritten = row.status == 3 || row.leading == 1;
        EXPECT_EQ(out.COEF[1] == -7, unwritten) << row.name;
    }
    clear_event();
}

TEST(Regression, OfStridedMatricesEqualsThatOfContiguousOnes) {
    // Rows of four columns, next to each other in memory: y, -, x, -.
    const f64 by_rows[5][4] = {
        {3, 0, 1, 0}, {4.5, 0, 2, 0}, {nan64, 0, 3, 0}, {8.25, 0, 4, 0}, {9, 0, 5.5, 0}};
    const f64 by_columns[10] = {1, 2, 3, 4, 5.5, 3, 4.5, nan64, 8.25, 9};
    outputs plain;
    clear_event();
    ASSERT_EQ(linr_regrs(5, 2, by_columns, 5, 1, 2, 1, 0, 0, 0, 95.0, 95.0, 0, plain.AOV,
                         plain.COEF, 2, plain.COVB, 2, plain.TESTLF, plain.CASE, 5, plain.missing),
              1);
    const matrix_view<const f64> d_x{&by_rows[0][0], 5, 4, sizeof by_rows[0], sizeof(f64)};
    f64 table[5][13];
    for (auto& row : table) std::fill_n(row, 13, -7.0);
    const matrix_view<f64> d_case{&table[0][0], 5, 12, sizeof table[0], sizeof(f64)};
    outputs strided;
    ASSERT_EQ(linr_regrs_simp(d_x, 1, 1, 3, strided.AOV, strided.COEF, d_case, strided.missing), 1);
    EXPECT_EQ(strided.missing, 1);
    for (int k = 0; k < 10; ++k) EXPECT_EQ(strided.COEF[k], plain.COEF[k]);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(table[i][1], plain.CASE[i + 5]);
        EXPECT_EQ(table[i][11], plain.CASE[i + 55]);
        EXPECT_EQ(table[i][12], -7);
    }

    // Refused by a type 5, which the wrapper passes over; INTCEP + 1 would overflow.
    const f64 before = strided.COEF[0];
    EXPECT_EQ(linr_regrs_simp(d_x, std::numeric_limits<i32>::max(), 1, 3, strided.AOV, strided.COEF,
                              d_case, strided.missing),
              1);
    EXPECT_EQ(strided.COEF[0], before);

    const f64 missing[2][2] = {{nan64, 1}, {2, nan64}};
    const matrix_view<const f64> no_row{&missing[0][0], 2, 2, sizeof missing[0], sizeof(f64)};
    table[0][0] = -7;
    EXPECT_EQ(linr_regrs_simp(no_row, 1, 1, 2, strided.AOV, strided.COEF, d_case, strided.missing),
              3);
    EXPECT_EQ(current_event.c_subfunc.trimmed(), "linr_regrs_simp/linr_regrs_simp");
    EXPECT_EQ(table[0][0], -7) << "what is not computed keeps its value";
    clear_event();
}

} // namespace

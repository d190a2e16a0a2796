#include "toolkit/regression.hpp"

#include "base/work_array.hpp"
#include "events/event.hpp"
#include "numeric/regression/simple_regression.hpp"
#include "toolkit/outcome.hpp"

namespace qmx {

namespace {

i32 outcome_of_regression(const routine_text& self) {
    return outcome_of(self, "error calling imsl drcurv", numeric::simple_regression_storage_code);
}

// Copies the rows and columns that both have.
template <class From, class To>
void copy_matrix(const matrix_view<From>& from, const matrix_view<To>& to) {
    const i64 rows = std::min(from.rows, to.rows), columns = std::min(from.columns, to.columns);
    for (i64 k = 1; k <= columns; ++k)
        for (i64 i = 1; i <= rows; ++i) to(i, k) = from(i, k);
}

matrix_view<f64> column_major(f64* base, i64 rows, i64 columns) {
    const i64 bytes_of_column = static_cast<i64>(sizeof(f64)) * rows;
    return {base, rows, columns, sizeof(f64), static_cast<std::ptrdiff_t>(bytes_of_column)};
}

} // namespace

i32 linr_regrs(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
               const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
               const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
               const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
               const i32& LDCASE, i32& NRMISS) {
    static constexpr routine_text self("linr_regrs");
    numeric::ERSET(0, 0, 0);
    numeric::DRONE(NOBS, NCOL, X, LDX, INTCEP, IRSP, IND, IFRQ, IWT, IPRED, CONPCM, CONPCP, IPRINT,
                   AOV, COEF, LDCOEF, COVB, LDCOVB, TESTLF, CASE, LDCASE, NRMISS);
    return outcome_of_regression(self);
}

i32 linr_regrs_simp(const matrix_view<const f64>& d_x, const i32& INTCEP, const i32& IRSP,
                    const i32& IND, f64* AOV, f64* COEF, const matrix_view<f64>& d_case,
                    i32& NRMISS) {
    static constexpr routine_text self("linr_regrs_simp");
    constexpr i32 none = 0;
    constexpr f64 confidence = 95.0;
    const i32 rows = static_cast<i32>(d_x.rows), columns = static_cast<i32>(d_x.columns);
    const i32 coefficients = INTCEP == 1 ? 2 : 1; // any other INTCEP is refused
    const work_array<f64> x(d_x.rows * d_x.columns);
    const work_array<f64> cases(d_x.rows * case_table_columns);
    if (!x || !cases) return fail_out_of_memory(self);
    const auto contiguous_x = column_major(x.data(), d_x.rows, d_x.columns);
    const auto contiguous_case = column_major(cases.data(), d_x.rows, case_table_columns);
    copy_matrix(d_x, contiguous_x);
    copy_matrix(d_case, contiguous_case); // elements that are not computed keep their values
    f64 COVB[4], TESTLF[10];

    numeric::ERSET(0, 0, 0);
    numeric::DRONE(rows, columns, x.data(), rows, INTCEP, IRSP, IND, none, none, none, confidence,
                   confidence, none, AOV, COEF, coefficients, COVB, coefficients, TESTLF,
                   cases.data(), rows, NRMISS);
    const i32 status = outcome_of_regression(self);
    copy_matrix(contiguous_case, d_case);
    return status;
}

} // namespace qmx

#include "numeric/regression/simple_regression.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/regression/case_statistics.hpp"
#include "numeric/regression/coefficient_table.hpp"
#include "numeric/regression/lack_of_fit.hpp"

#include <iterator>
#include <utility>

namespace qmx::numeric {

namespace {

constexpr i64 real_columns = 6;

// The integer arguments.
struct integer_arguments {
    i32 NOBS, NCOL, LDX, INTCEP, IRSP, IND, IFRQ, IWT, IPRED, IPRINT, LDCOEF, LDCOVB, LDCASE;
};

// Accepts all of them or posts the first that fails.
bool accepts(const integer_arguments& a) {
    const i32 coefficients = a.INTCEP == 1 ? 2 : 1;
    const struct {
        bool holds;
        i32 code, value, other; // other: what value is compared with
        std::string_view message;
    } checks[] = {
        {a.NOBS >= 0, 1, a.NOBS, 0,
         "NOBS = %(I1).  The number of observations must be greater than or equal to 0."},
        {a.NCOL >= 1, 2, a.NCOL, 0,
         "NCOL = %(I1).  The number of columns must be greater than or equal to 1."},
        {a.LDX >= a.NOBS, 3, a.LDX, a.NOBS,
         "LDX = %(I1) and NOBS = %(I2).  LDX must be greater than or equal to NOBS."},
        {a.INTCEP == 0 || a.INTCEP == 1, 4, a.INTCEP, 0,
         "INTCEP = %(I1).  INTCEP must be equal to 0 or 1."},
        {a.IRSP >= 1 && a.IRSP <= a.NCOL, 5, a.IRSP, a.NCOL,
         "IRSP = %(I1) and NCOL = %(I2).  IRSP must be between 1 and NCOL, inclusive."},
        {a.IND >= 1 && a.IND <= a.NCOL, 6, a.IND, a.NCOL,
         "IND = %(I1) and NCOL = %(I2).  IND must be between 1 and NCOL, inclusive."},
        {a.IFRQ >= 0 && a.IFRQ <= a.NCOL, 7, a.IFRQ, a.NCOL,
         "IFRQ = %(I1) and NCOL = %(I2).  IFRQ must be between 0 and NCOL, inclusive."},
        {a.IWT >= 0 && a.IWT <= a.NCOL, 8, a.IWT, a.NCOL,
         "IWT = %(I1) and NCOL = %(I2).  IWT must be between 0 and NCOL, inclusive."},
        {a.IPRED >= 0 && a.IPRED <= a.NCOL, 9, a.IPRED, a.NCOL,
         "IPRED = %(I1) and NCOL = %(I2).  IPRED must be between 0 and NCOL, inclusive."},
        {a.IPRINT >= 0 && a.IPRINT <= 3, 12, a.IPRINT, 0,
         "IPRINT = %(I1).  IPRINT must be between 0 and 3, inclusive."},
        {a.LDCOEF >= coefficients, 13, a.LDCOEF, coefficients,
         "LDCOEF = %(I1).  LDCOEF must be greater than or equal to INTCEP + 1 = %(I2)."},
        {a.LDCOVB >= coefficients, 14, a.LDCOVB, coefficients,
         "LDCOVB = %(I1).  LDCOVB must be greater than or equal to INTCEP + 1 = %(I2)."},
        {a.LDCASE >= a.NOBS, 15, a.LDCASE, a.NOBS,
         "LDCASE = %(I1) and NOBS = %(I2).  LDCASE must be greater than or equal to NOBS."},
    };
    for (const auto& check : checks) {
        if (check.holds) continue;
        E1STI(1, check.value);
        E1STI(2, check.other);
        post(type_terminal, check.code, check.message);
        return false;
    }
    return true;
}

bool is_confidence(f64 percent, i32 code, std::string_view refusal, std::string_view warning) {
    const bool in_range = percent >= 0.0 && percent < 100.0;
    if (in_range && percent >= 50.0) return true;
    E1STD(1, percent);
    post(in_range ? type_warning_everywhere : type_terminal, code, in_range ? warning : refusal);
    return in_range;
}

bool accepts_confidences(f64 of_mean, f64 of_prediction) {
    return is_confidence(of_mean, 10,
                         "CONPCM = %(D1).  The confidence percent must be at least 0.0 and less "
                         "than 100.0.",
                         "CONPCM = %(D1).  This is a low level for limits of the mean.  The usual "
                         "confidence percentages are 90.0, 95.0 or 99.0.") &&
           is_confidence(of_prediction, 11,
                         "CONPCP = %(D1).  The confidence percent must be at least 0.0 and less "
                         "than 100.0.",
                         "CONPCP = %(D1).  This is a low level for limits of a prediction.  The "
                         "usual confidence percentages are 90.0, 95.0 or 99.0.");
}

bool accepts_model(const model_columns& model, row_defect defect, i32 row) {
    if (defect == row_defect::none) return true;
    E1STI(1, row);
    if (defect == row_defect::negative_frequency) {
        E1STD(1, model.at(row - 1, model.frequency));
        post(type_fatal, 1,
             "The frequency in row %(I1) of X is %(D1).  Frequencies must not be negative.");
    } else {
        E1STD(1, model.at(row - 1, model.weight));
        post(type_fatal, 2,
             "The weight in row %(I1) of X is %(D1).  Weights must not be negative.");
    }
    return false;
}

// Rows in work space of NOBS elements a column.
regression_rows rows_in(f64* work, i64 NOBS) {
    regression_rows rows;
    f64** const columns[] = {&rows.x, &rows.y, &rows.weight, &rows.frequency, &rows.residual};
    static_assert(std::size(columns) == real_columns - 1); // the last is for sorted abscissas
    for (f64** column : columns) *column = std::exchange(work, work + NOBS);
    return rows;
}

} // namespace

void DR2NE(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
           const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
           const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
           const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
           const i32& LDCASE, i32& NRMISS, f64* WK, i32* IWK) {
    const numeric_frame frame("DR2NE ");
    const integer_arguments given = {NOBS, NCOL,  LDX,    INTCEP, IRSP,   IND,   IFRQ,
                                     IWT,  IPRED, IPRINT, LDCOEF, LDCOVB, LDCASE};
    if (!accepts(given) || !accepts_confidences(CONPCM, CONPCP)) return;

    const model_columns model{X, LDX, NOBS, IRSP, IND, IFRQ, IWT, IPRED};
    regression_rows rows = rows_in(WK, NOBS);
    f64* const sorted = WK + (real_columns - 1) * i64{NOBS};
    i32 defective_row = 0;
    const row_defect defect = collect_rows(model, rows, NRMISS, defective_row);
    if (!accepts_model(model, defect, defective_row)) return;
    if (NRMISS == NOBS) {
        post(type_fatal, 7,
             "Each row of X contains a missing  value.  There are no valid observations.");
        return;
    }
    line_fit fit;
    DR2IVN(rows, INTCEP == 1, 100.0 * DMACH(4), fit);
    if (!(fit.error_degrees() > 0.0)) {
        E1STD(1, fit.error_degrees());
        post(type_warning_everywhere, 4,
             "DFE = %(D1).  Statistical inference is not possible.  More observations are needed.");
    }
    DRSTAT(fit, AOV, COEF, LDCOEF, COVB, LDCOVB);
    fill_lack_of_fit(fit, rows, sorted, IWK, TESTLF);
    fill_case_statistics(fit, model, CONPCM, CONPCP, CASE, LDCASE);
}

void DRONE(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
           const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
           const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
           const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
           const i32& LDCASE, i32& NRMISS) {
    const numeric_frame frame("DRONE ");
    const work_array<f64> reals(real_columns * static_cast<i64>(NOBS));
    const work_array<i32> integers(NOBS);
    if (!reals || !integers) {
        E1STI(1, NOBS);
        post(type_terminal, simple_regression_storage_code,
             "The required storage cannot be allocated.  The specified NOBS may be too large, "
             "where NOBS = %(I1).");
        return;
    }
    DR2NE(NOBS, NCOL, X, LDX, INTCEP, IRSP, IND, IFRQ, IWT, IPRED, CONPCM, CONPCP, IPRINT, AOV,
          COEF, LDCOEF, COVB, LDCOVB, TESTLF, CASE, LDCASE, NRMISS, reals.data(), integers.data());
}

} // namespace qmx::numeric

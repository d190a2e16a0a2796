#include "numeric/regression/simple_regression.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/regression/case_statistics.hpp"
#include "numeric/regression/coefficient_table.hpp"
#include "numeric/regression/lack_of_fit.hpp"

namespace qmx::numeric {

namespace {

constexpr i64 real_columns = 6;

struct integer_check {
    bool holds;
    i32 code;
    i32 value;
    i32 other; // what value is compared with
    std::string_view message;
};

bool pass(const integer_check& check) {
    if (check.holds) return true;
    E1STI(1, check.value);
    E1STI(2, check.other);
    post(type_terminal, check.code, check.message);
    return false;
}

bool is_confidence(f64 percent, i32 code, std::string_view refusal, std::string_view warning) {
    const bool in_range = percent >= 0.0 && percent < 100.0;
    if (in_range && percent >= 50.0) return true;
    E1STD(1, percent);
    post(in_range ? type_warning_everywhere : type_terminal, code, in_range ? warning : refusal);
    return in_range;
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

} // namespace

void DR2NE(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
           const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
           const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
           const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
           const i32& LDCASE, i32& NRMISS, f64* WK, i32* IWK) {
    const numeric_frame frame("DR2NE ");
    const i32 coefficients = INTCEP == 1 ? 2 : 1;
    const integer_check checks[] = {
        {NOBS >= 0, 1, NOBS, 0,
         "NOBS = %(I1).  The number of observations must be greater than or equal to 0."},
        {NCOL >= 1, 2, NCOL, 0,
         "NCOL = %(I1).  The number of columns must be greater than or equal to 1."},
        {LDX >= NOBS, 3, LDX, NOBS,
         "LDX = %(I1) and NOBS = %(I2).  LDX must be greater than or equal to NOBS."},
        {INTCEP == 0 || INTCEP == 1, 4, INTCEP, 0,
         "INTCEP = %(I1).  INTCEP must be equal to 0 or 1."},
        {IRSP >= 1 && IRSP <= NCOL, 5, IRSP, NCOL,
         "IRSP = %(I1) and NCOL = %(I2).  IRSP must be between 1 and NCOL, inclusive."},
        {IND >= 1 && IND <= NCOL, 6, IND, NCOL,
         "IND = %(I1) and NCOL = %(I2).  IND must be between 1 and NCOL, inclusive."},
        {IFRQ >= 0 && IFRQ <= NCOL, 7, IFRQ, NCOL,
         "IFRQ = %(I1) and NCOL = %(I2).  IFRQ must be between 0 and NCOL, inclusive."},
        {IWT >= 0 && IWT <= NCOL, 8, IWT, NCOL,
         "IWT = %(I1) and NCOL = %(I2).  IWT must be between 0 and NCOL, inclusive."},
        {IPRED >= 0 && IPRED <= NCOL, 9, IPRED, NCOL,
         "IPRED = %(I1) and NCOL = %(I2).  IPRED must be between 0 and NCOL, inclusive."},
        {IPRINT >= 0 && IPRINT <= 3, 12, IPRINT, 0,
         "IPRINT = %(I1).  IPRINT must be between 0 and 3, inclusive."},
        {LDCOEF >= coefficients, 13, LDCOEF, coefficients,
         "LDCOEF = %(I1).  LDCOEF must be greater than or equal to INTCEP + 1 = %(I2)."},
        {LDCOVB >= coefficients, 14, LDCOVB, coefficients,
         "LDCOVB = %(I1).  LDCOVB must be greater than or equal to INTCEP + 1 = %(I2)."},
        {LDCASE >= NOBS, 15, LDCASE, NOBS,
         "LDCASE = %(I1) and NOBS = %(I2).  LDCASE must be greater than or equal to NOBS."},
    };
    for (const integer_check& check : checks)
        if (!pass(check)) return;
    if (!is_confidence(CONPCM, 10,
                       "CONPCM = %(D1).  The confidence percent must be at least 0.0 and less "
                       "than 100.0.",
                       "CONPCM = %(D1).  This is a low level for limits of the mean.  The usual "
                       "confidence percentages are 90.0, 95.0 or 99.0.") ||
        !is_confidence(CONPCP, 11,
                       "CONPCP = %(D1).  The confidence percent must be at least 0.0 and less "
                       "than 100.0.",
                       "CONPCP = %(D1).  This is a low level for limits of a prediction.  The "
                       "usual confidence percentages are 90.0, 95.0 or 99.0."))
        return;

    const model_columns model{X, LDX, NOBS, IRSP, IND, IFRQ, IWT, IPRED};
    regression_rows rows;
    f64* columns[real_columns];
    for (i64 k = 0; k < real_columns; ++k) columns[k] = WK + k * NOBS;
    rows.x = columns[0];
    rows.y = columns[1];
    rows.weight = columns[2];
    rows.frequency = columns[3];
    rows.residual = columns[4];
    f64* const sorted = columns[5];

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

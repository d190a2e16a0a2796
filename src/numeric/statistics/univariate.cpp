#include "numeric/statistics/univariate.hpp"

#include "base/work_array.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/statistics/univariate_summary.hpp"

#include <algorithm>

namespace qmx::numeric {
namespace {

constexpr i32 rows_of_stat = 15;

// The data matrix of one call.
struct data_matrix {
    const f32* first;
    i64 rows;
    i64 leading;
    i32 frequency; // column, 0 for none
    i32 weight;

    bool is_plain() const { return frequency == 0 && weight == 0; }
    const f32* column(i32 number) const { return first + i64{number - 1} * leading; }
    const f32* special(i32 number) const { return number > 0 ? column(number) : nullptr; }
    // Column of a variable; variables are numbered without the special columns.
    const f32* variable(i32 number) const {
        const i32 low = std::min(frequency, weight);
        const i32 high = std::max(frequency, weight);
        i32 at = number;
        if (low > 0 && at >= low) ++at;
        if (high > 0 && at >= high) ++at;
        return column(at);
    }
};

struct row_tally {
    i64 missing = 0;
    bool refused = false;
};

row_tally look_at_rows(const data_matrix& data, i32 variables) {
    row_tally tally;
    const f32* frequency = data.special(data.frequency);
    const f32* weight = data.special(data.weight);
    for (i64 i = 0; i < data.rows; ++i) {
        const row_use use =
            C1WFR(frequency != nullptr ? frequency[i] : 1.0F, weight != nullptr ? weight[i] : 1.0F);
        tally.refused = tally.refused || use == row_use::refused;
        bool missing = use == row_use::missing;
        for (i32 variable = 1; variable <= variables && !missing; ++variable) {
            const f32 value = data.variable(variable)[i];
            missing = value != value;
        }
        tally.missing += missing ? 1 : 0;
    }
    return tally;
}

bool refuse_level(f32 level, i32 code, std::string_view message) {
    if (level < 100.0F) return false;
    E1STR(1, level);
    post(type_terminal, code, message);
    return true;
}

bool refuse_column(std::string_view name, i32 column, i32 columns, i32 code) {
    if (column >= 0 && column <= columns) return false;
    E1STL(1, name.data(), static_cast<i32>(name.size()));
    E1STI(1, column);
    E1STI(2, 0);
    E1STI(3, columns);
    post(type_terminal, code,
         "%(L1) = %(I1).  %(L1) must be greater than or equal to %(I2) and less than or equal to "
         "%(I3).");
    return true;
}

bool refuse_columns(i32 variables, i32 frequency, i32 weight) {
    const i64 special = (frequency != 0 ? 1 : 0) + (weight != 0 ? 1 : 0);
    const i32 columns =
        static_cast<i32>(std::min<i64>(variables + special, std::numeric_limits<i32>::max()));
    if (refuse_column("IFRQ", frequency, columns, 4)) return true;
    if (refuse_column("IWT", weight, columns, 5)) return true;
    if (frequency == 0 || frequency != weight) return false;
    E1STI(1, frequency);
    post(type_terminal, 5,
         "IFRQ = IWT = %(I1).  Frequencies and weights must be in different columns.");
    return true;
}

bool refuse_layout(i32 ido, i32 rows, i32 leading) {
    if (leading < rows_of_stat) {
        E1STI(1, leading);
        post(type_terminal, 6,
             "LDSTAT = %(I1).  The leading dimension of STAT must be at least 15.");
        return true;
    }
    if (rows <= 0 && ido < 2) {
        E1STI(1, rows);
        E1STI(2, ido);
        post(type_terminal, 7,
             "NROW = %(I1) and IDO = %(I2).  If NROW is nonpositive, IDO must be equal to 2 or 3.");
        return true;
    }
    return false;
}

bool refuse_levels(f32 of_mean, f32 of_variance) {
    return refuse_level(of_mean, 8,
                        "CONPRM = %(R1).  The confidence level for the mean, CONPRM, must be less "
                        "than 100.0.") ||
           refuse_level(of_variance, 9,
                        "CONPRV = %(R1).  The confidence level for the variance, CONPRV, must be "
                        "less than 100.0.");
}

// Updates the moments of a variable by the rows of this call and returns those of the rows alone.
central_moments take_in(const data_matrix& data, i32 variable, bool are_removed,
                        central_moments& running) {
    const f32* x = data.variable(variable);
    const central_moments block = data.is_plain()
                                      ? moments_of(x, data.rows)
                                      : weighted_moments_of(x, data.special(data.frequency),
                                                            data.special(data.weight), data.rows);
    if (are_removed)
        remove(running, block);
    else
        merge(running, block);
    return block;
}

} // namespace

void U2STA(const i32& IDO, const i32& NROW, const i32& NVAR, const f32* X, const i32& LDX,
           const i32& IFRQ, const i32& IWT, const f32& CONPRM, const f32& CONPRV, f32* STAT,
           const i32& LDSTAT, i32* NRMISS, central_moments* WK) {
    const numeric_frame frame("U2STA ");
    if (refuse_layout(IDO, NROW, LDSTAT) || refuse_levels(CONPRM, CONPRV) ||
        refuse_columns(NVAR, IFRQ, IWT))
        return;

    const bool first = IDO == 0 || IDO == 1;
    const bool last = IDO == 0 || IDO == 3;
    const bool weighted = IWT > 0;
    const bool taken_away = NROW < 0;
    const data_matrix data{X, taken_away ? -i64{NROW} : i64{NROW}, LDX, IFRQ, IWT};

    i64 counting = 0; // rows of the last block
    for (i32 j = 1; j <= NVAR; ++j) {
        central_moments& running = WK[j - 1];
        running = first ? central_moments{} : load_running(weighted, STAT + i64{j - 1} * LDSTAT);
        const central_moments block = take_in(data, j, taken_away, running);
        if (running.count < 0.0) {
            post(type_terminal, 10, "The number of nonmissing observations is less than zero.");
            return;
        }
        if (data.is_plain()) counting = static_cast<i64>(block.count);
    }

    row_tally tally;
    if (data.is_plain() && NVAR == 1)
        tally.missing = data.rows - counting; // known without reading the rows again
    else
        tally = look_at_rows(data, NVAR);
    if (NRMISS != nullptr) {
        const i64 before = first ? 0 : *NRMISS;
        *NRMISS = static_cast<i32>(taken_away ? before - tally.missing : before + tally.missing);
    }

    for (i32 j = 1; j <= NVAR; ++j) {
        f32* stat = STAT + i64{j - 1} * LDSTAT;
        if (last)
            summarize(WK[j - 1], weighted, {CONPRM, CONPRV}, j, stat);
        else
            store_running(WK[j - 1], weighted, stat);
    }
    if (tally.refused)
        post(type_warning, 16,
             "A frequency or a weight is negative.  Rows with such a value are skipped.");
}

void UVSTA(const i32& IDO, const i32& NROW, const i32& NVAR, const f32* X, const i32& LDX,
           const i32& IFRQ, const i32& IWT, const f32& CONPRM, const f32& CONPRV, const i32& IPRINT,
           f32* STAT, const i32& LDSTAT, i32* NRMISS) {
    const numeric_frame frame("UVSTA ");
    if (IDO < 0 || IDO > 3) {
        E1STI(1, IDO);
        post(type_terminal, 2, "IDO = %(I1).  IDO must be either 0, 1, 2, or 3.");
        return;
    }
    if (IPRINT < 0 || IPRINT > 2) {
        E1STI(1, IPRINT);
        post(type_terminal, 3, " IPRINT = %(I1).  IPRINT must be either 0, 1, or 2.");
        return;
    }
    if (NVAR < 1) {
        E1STI(1, NVAR);
        post(type_terminal, 1, "NVAR = %(I1).  The number of variables must be positive.");
        return;
    }
    const work_array<central_moments> running(NVAR);
    if (!running) {
        E1STI(1, NVAR);
        post(type_terminal, univariate_storage_code,
             "The required storage cannot be allocated.  The workspace allocation is based on NVAR "
             "= %(I1).");
        return;
    }
    U2STA(IDO, NROW, NVAR, X, LDX, IFRQ, IWT, CONPRM, CONPRV, STAT, LDSTAT, NRMISS, running.data());
}

} // namespace qmx::numeric

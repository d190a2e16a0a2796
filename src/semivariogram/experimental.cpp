#include "semivariogram/experimental.hpp"

#include "events/event.hpp"
#include "semivariogram/class_report.hpp"
#include "semivariogram/parameters.hpp"
#include "semivariogram/search/pair_search.hpp"

#include <ctime>

namespace qmx {

namespace {

constexpr routine_text self("gslib_gamv");

// Debug switch; off in production.
constexpr bool writes_report = false;

f64 cpu_seconds() { // GCOVR_EXCL_START: for the report alone
    return static_cast<f64>(std::clock()) / CLOCKS_PER_SEC;
} // GCOVR_EXCL_STOP

// Sums over the pairs of each lag class, then their means.
struct lag_tables {
    explicit lag_tables(i64 classes) : np(classes, 0.0), dis(classes, 0.0), gam(classes, 0.0) {}
    bool is_complete() const { return np && dis && gam; }
    work_array<f64> np, dis, gam;
};

// The divisor is the count in 32 bits, rounded above 2^24 pairs.
void make_means(const gamv_variables& variables, const lag_tables& tables) {
    const t_gamvset& set = variables.set;
    const bool standardised = set.isill == 1 && set.ivtail == set.ivhead &&
                              (set.ivtype == 1 || set.ivtype > 8) && variables.sills > 0;
    for (i64 k = 0; k < tables.np.size(); ++k) {
        if (!(tables.np[k] > 0)) continue;
        const f64 number = static_cast<f64>(static_cast<f32>(tables.np[k]));
        tables.dis[k] /= number;
        tables.gam[k] /= number;
        if (standardised) tables.gam[k] /= variables.sills;
        if (set.ivtype == 1 || set.ivtype == 2) tables.gam[k] *= 0.5;
    }
}

bool gamv(gamv_variables& variables, const lag_tables& tables) {
    if (!search_pairs(variables, tables.np.view(), tables.dis.view(), tables.gam.view()))
        return false;
    make_means(variables, tables);
    return true;
}

} // namespace

void gslib_gamv(const t_gamvset& set, const i32& number_of_data,
                const array_view<const t_icdata>& data, i32& i_classes,
                const array_view<f64>& result) {
    i_classes = 0;
    for (i64 k = 1; k <= result.extent; ++k) result(k) = 0;
    gamv_variables variables;
    readparm(set, number_of_data, data, variables);
    if (has_failed()) return;
    const i32 classes = set.nlag + 2;
    const lag_tables tables(classes);
    const f64 start = writes_report ? cpu_seconds() : 0;
    if (!tables.is_complete() || !gamv(variables, tables)) {
        fail_out_of_memory(self);
        return;
    }
    i_classes = classes;
    for (i64 k = 1; k <= classes; ++k) {
        result(result_index(result_column::distance, k)) = tables.dis[k - 1];
        result(result_index(result_column::semivariance, k)) = tables.gam[k - 1];
        result(result_index(result_column::pair_count, k)) = truncated(tables.np[k - 1]);
    }
    if (writes_report) write_class_report(classes, result, cpu_seconds() - start);
}

} // namespace qmx

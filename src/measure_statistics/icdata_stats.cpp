#include "measure_statistics/icdata_stats.hpp"

#include "events/event.hpp"
#include "measure_statistics/statistics.hpp"

namespace qmx {

i32 qmx_icdata_stats_drv(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
                         const array_view<const t_icdata>& t_data, t_statsout& t_out) {
    static constexpr routine_text self("qmx_icdata_stats_drv");
    t_out.i_numdata = 0;
    t_out.i_numbins = 0;
    std::fill_n(t_out.x_stat, std::size(t_out.x_stat), 0.0F);
    std::fill_n(t_out.x_bin, std::size(t_out.x_bin), 0.0F);
    std::fill_n(t_out.x_freq, std::size(t_out.x_freq), 0.0F);

    const array_view<const f64> values = column_of(t_data.base, t_data.extent, &t_icdata::d_val);
    qmx_stats(i_flag_pass, i_flag_below, i_numdata, values, t_out);
    if (has_failed()) return pass_up(self);
    return status_success;
}

} // namespace qmx

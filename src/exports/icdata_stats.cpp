#include "measure_statistics/icdata_stats.hpp"
#include "base/limits.hpp"
#include "exports/export_frame.hpp"

using namespace qmx;

extern "C" int32_t ICdata_stats(int32_t i_flag_pass, int32_t i_flag_below, int32_t i_numdata,
                                const t_icdata* t_data, t_statsout* t_out,
                                t_event* t_evt) noexcept {
    static constexpr routine_text self("ICdata_stats");
    const call_arithmetic arithmetic;
    clear_event();
    if (i_numdata < minimum_data_points) {
        // Ended like a failure of the driver: the name stands twice in the path, which hosts know.
        fail_here(self, "Data points are less than 3. aborted.");
        return finish_export(self, t_evt);
    }
    qmx_icdata_stats_drv(i_flag_pass, i_flag_below, i_numdata, view_of(t_data, i_numdata), *t_out);
    return finish_export(self, t_evt);
}

#include "semivariogram/parameters.hpp"

#include "events/event.hpp"

namespace qmx {

namespace {

constexpr routine_text parent("gslib_gamv");
constexpr routine_text self("readparm");

// The event names the caller; the path then restarts with this routine.
i32 refuse(std::string_view message) {
    fail_here(parent, message);
    restart_path(self);
    return status_failure;
}

f64 population_variance(const array_view<const t_icdata>& data, i64 count) {
    f64 sum = 0;
    f64 sum_of_squares = 0;
    for (i64 i = 1; i <= count; ++i) {
        const f64 value = data(i).d_val;
        sum += value;
        sum_of_squares += value * value;
    }
    const f64 number = static_cast<f64>(count);
    const f64 mean = sum / number;
    return sum_of_squares / number - mean * mean;
}

} // namespace

i32 readparm(const t_gamvset& set, const i32& number_of_data,
             const array_view<const t_icdata>& data, gamv_variables& variables) {
    if (set.ivtype == 9 || set.ivtype == 10)
        return refuse("i_vgmtype_indsemivgmcont and i_vgmtype_indsemivgmcate are not implemented "
                      "yet");
    if (set.nlag < 1) return refuse("nlag is too small: check parameters");
    if (set.xlag < 0) return refuse("xlag is too small: check parameter file");
    if (set.bandwh < 0) return refuse("horizontal bandwidth is too small");
    if (set.bandwd < 0) return refuse("vertical bandwidth is too small");

    variables.set = set;
    if (set.xltol < 0) variables.set.xltol = set.xlag * 0.5F;
    const i64 count = number_of_data > 0 ? number_of_data : 0;
    const i64 room = count + 2 * gamv_variables::padding;
    variables.storage = work_array<f32>(3 * room, 0.0F);
    if (!variables.storage) {
        fail_out_of_memory(parent);
        restart_path(self);
        return status_failure;
    }
    variables.x = variables.storage.data() + gamv_variables::padding;
    variables.y = variables.x + room;
    variables.vr = variables.y + room;
    variables.maxdat = count;
    for (i64 i = 0; i < count; ++i) {
        const t_icdata& record = data(i + 1);
        variables.x[i] = static_cast<f32>(record.d_x);
        variables.y[i] = static_cast<f32>(record.d_y);
        variables.vr[i] = static_cast<f32>(record.d_val);
    }
    variables.sills = count > 0 ? population_variance(data, count) : -999.0;
    return status_success;
}

} // namespace qmx

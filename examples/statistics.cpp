// Statistics of ten points, and the share of them that reached a target: a first call from C++.
// It prints the lines of statistics.c.
#include "qmx_ic.h"

#include <cstdio>
#include <string_view>
#include <vector>

namespace {

// The header has checked every field; these are for whoever copies the records elsewhere.
static_assert(sizeof(t_icdata) == 32 && sizeof(t_statsout) == 2504 && sizeof(t_fitout) == 48);
static_assert(sizeof(t_gamvset_user) == 24 && sizeof(t_passbin) == 8);
static_assert(sizeof(t_areaflt) == 160008 && sizeof(t_binresult) == 12 && sizeof(t_event) == 520);

constexpr const char* names[15] = {"mean",
                                   "variance",
                                   "standard deviation",
                                   "skewness",
                                   "excess kurtosis",
                                   "minimum",
                                   "maximum",
                                   "range",
                                   "coefficient of variation",
                                   "values",
                                   "mean, lower limit",
                                   "mean, upper limit",
                                   "variance, lower limit",
                                   "variance, upper limit",
                                   "unused"};

void print_number(const char* name, float number) {
    std::printf("%-26s%14.4f\n", name, static_cast<double>(number));
}

// The text of an event's field: padded with blanks, without terminator.
template <std::size_t length> std::string_view text_of(const char (&field)[length]) {
    const std::string_view padded(field, length);
    return padded.substr(0, padded.find_last_not_of(' ') + 1);
}

template <std::size_t length> void print_text(const char* title, const char (&field)[length]) {
    const std::string_view text = text_of(field);
    std::printf("%s: %.*s\n", title, static_cast<int>(text.size()), text.data());
}

} // namespace

int main() {
    for (const std::size_t size :
         {sizeof(t_icdata), sizeof(t_statsout), sizeof(t_fitout), sizeof(t_gamvset_user),
          sizeof(t_passbin), sizeof(t_areaflt), sizeof(t_binresult), sizeof(t_event)})
        std::printf(size == sizeof(t_icdata) ? "records %d" : " %d", static_cast<int>(size));
    std::printf("\n");
    // [first call]
    std::vector<t_icdata> points;
    for (const double value : {61.5, 72.0, 70.5, 66.0, 81.0, 75.5, 58.0, 69.5, 77.0, 64.5})
        points.push_back({0.3 * static_cast<double>(points.size()), 0.0, value, 4, 0});

    t_statsout statistics = {};
    statistics.i_flag_target = QMX_IC_YES;
    statistics.x_target = 70.0F;     // unit of the measure
    statistics.x_target_pct = 60.0F; // share of the points that must reach it
    statistics.x_pctlevel[0] = 10.0F;
    statistics.x_pctlevel[1] = 90.0F;

    t_event event;
    if (ICdata_stats(QMX_IC_NO, QMX_IC_NO, static_cast<int32_t>(points.size()), points.data(),
                     &statistics, &event) != QMX_IC_SUCCESS) {
        print_text("failed", event.c_description);
        return 1;
    }
    print_number("mean", statistics.x_stat[0]);
    // [first call]
    for (int i = 1; i < 15; ++i) print_number(names[i], statistics.x_stat[i]);
    print_number("value at 10 %", statistics.x_pctvalue[0]);
    print_number("value at 90 %", statistics.x_pctvalue[1]);
    print_number("above 70, percent", statistics.x_achieved_pct);
    std::printf("target %s\n", statistics.i_target_met == QMX_IC_YES ? "met" : "missed");

    // Two points are too few: the event says so.
    if (ICdata_stats(QMX_IC_NO, QMX_IC_NO, 2, points.data(), &statistics, &event) != QMX_IC_FAILURE)
        return 1;
    print_text("two points", event.c_description);
    print_text("failed in", event.c_subfunc);
    std::printf("code %d, class %d\n", event.i_errcode, event.i_errclass);
}

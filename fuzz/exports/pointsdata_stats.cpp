// IC_PointsData_stats: any points and spot tests, against the plain predicate and textbook statistics.
#include <cmath>
#include <vector>

#include "support/export_call.hpp"
#include "support/statistics_rules.hpp"

using namespace fuzz;

namespace {

struct request {
    int32_t points, tests;
    double radius;
    std::vector<t_icdata> records, spots;
    std::vector<t_statsout> given;
};

void add_records(input_bytes& input, int32_t count, real_kind place, real_kind value,
                 std::vector<t_icdata>& into) {
    for (int32_t i = 0; i < count; ++i) {
        t_icdata record{};
        record.d_x = input.real_or_odd(place, 64);
        record.d_y = input.real_or_odd(place, 64);
        record.d_val = input.real_or_odd(value, 64);
        const std::uint8_t pass = input.byte();
        record.i_passno = pass < 240 ? pass % 4 - 1 : input.whole();
        into.push_back(record);
    }
}

request made_of(input_bytes& input) {
    request made{};
    const real_kind place = input.kind(), value = input.kind();
    made.radius = input.real(input.one_in(4) ? real_kind::odd : place);
    const std::uint8_t tests = input.byte(), points = input.byte();
    made.tests = tests < 248 ? tests % (tests < 40 ? 10 : 4) : std::min(input.whole(), 0);
    add_records(input, made.tests, place, value, made.spots);
    made.points = points < 200 ? points % (points < 48 ? 48 : 16) : 0;
    if (points >= 250) made.points = std::min(input.whole(), 0);
    add_records(input, made.points, place, value, made.records);
    if (points >= 200 && points < 250) { // so many that a table of the matches overflows
        seeded random(input.bits<std::uint32_t>());
        made.points = 1 + random.below(points >= 244 ? 700 : 90);
        const double side = 1 + points % 16;
        for (int32_t i = 0; i < made.points; ++i)
            made.records.push_back({side * random.share(), side * random.share(),
                                    40 + 9 * random.share(), static_cast<int32_t>(random.below(3)),
                                    0});
    }
    t_statsout filled;
    std::memset(&filled, 0x5A, sizeof filled);
    made.given.assign(made.spots.size(), filled);
    return made;
}

struct response {
    guarded<t_statsout> stats;
    guarded<float> line{3};
    guarded<int32_t> valid{1}, list;
    guarded<double> predicted;
    call_event<> event;
    int32_t status = 0;

    explicit response(const request& of)
        : stats(of.given), list(of.spots.size()), predicted(of.spots.size()) {}
    void ask(const request& of, guarded<t_icdata>& records, guarded<t_icdata>& spots) {
        // What a test with one value gets is left over from the analysis before.
        const t_icdata three[] = {{0, 0, 1, 1, 0}, {0, 0, 2, 1, 0}, {0, 0, 4, 1, 0}};
        t_statsout before{};
        ICdata_stats(2, 2, 3, three, &before, nullptr);
        status = IC_PointsData_stats(of.points, of.tests, of.radius, records.data(), spots.data(),
                                     stats.data(), line.data(), valid.data(), list.data(),
                                     predicted.data(), event.record());
        event.settle(status, "IC_PointsData_stats");
        require_guards(stats, line, valid, list, predicted, records, spots);
        require<"inputs are left alone">(records.is_same_as(of.records) &&
                                         spots.is_same_as(of.spots));
    }
};

std::vector<float> matched(const request& of, const t_icdata& test) {
    std::vector<float> values;
    for (const t_icdata& record : of.records) {
        const double dx = record.d_x - test.d_x, dy = record.d_y - test.d_y;
        const bool is_near = dx * dx + dy * dy <= of.radius * of.radius;
        if (is_near && (test.i_passno < 0 || test.i_passno == record.i_passno))
            values.push_back(input_bytes::narrowed(record.d_val));
    }
    return values;
}

void require_unmatched(const t_statsout& out, const t_statsout& given) {
    const auto is_zero = [](const auto& values) {
        return std::all_of(std::begin(values), std::end(values),
                           [](float each) { return each == 0; });
    };
    require<"a spot test without IC data is marked so">(
        out.i_numdata == 0 && out.i_flag_target == 2 && out.i_target_met == 2 &&
        out.i_numbins == 0 && is_zero(out.x_stat) && is_zero(out.x_bin) && is_zero(out.x_freq) &&
        is_zero(out.x_cumfreq) && out.x_target == 0 && out.x_target_pct == 0 &&
        out.x_achieved_pct == 0 && same_bits(out.x_pctlevel, given.x_pctlevel) &&
        same_bits(out.x_pctvalue, given.x_pctvalue));
}

void require_line(const request& of, const response& got, const std::vector<int32_t>& valid) {
    const bool is_refused = of.tests < 3 || valid.size() < 3;
    if (is_refused)
        require<"fewer than three pairs are refused">(
            got.status == QMX_IC_FAILURE &&
            got.event.message() ==
                (of.tests < 3 ? "point tests data is < 3, not sufficient for regression"
                              : "valid point tests data is < 3, not sufficient for regression"));
    if (got.status == QMX_IC_FAILURE) {
        bool is_zero = got.line[0] == 0 && got.line[1] == 0 && got.line[2] == 0;
        for (const double each : got.predicted) is_zero = is_zero && each == 0;
        require<"a failed call gives no line">(is_zero);
        return;
    }
    for (std::size_t i = 0; i < got.predicted.size(); ++i) {
        const bool is_valid =
            std::find(valid.begin(), valid.end(), static_cast<int32_t>(i + 1)) != valid.end();
        if (!is_valid) require<"only matched tests have a prediction">(got.predicted[i] == 0);
    }
    // The textbook line, where the spot values differ well.
    wide mean_x = 0, mean_y = 0, xx = 0, xy = 0, most = 0;
    for (const int32_t place : valid) {
        const auto k = static_cast<std::size_t>(place) - 1;
        const double x = of.spots[k].d_val, y = got.stats[k].x_stat[0];
        if (!(std::fabs(x) < 1e6) || !(std::fabs(y) < 1e6)) return;
        mean_x += x / static_cast<wide>(valid.size());
        mean_y += y / static_cast<wide>(valid.size());
        most = std::max({most, magnitude(x), magnitude(y)});
    }
    for (const int32_t place : valid) {
        const auto k = static_cast<std::size_t>(place) - 1;
        const wide dx = of.spots[k].d_val - mean_x;
        xx += dx * dx;
        xy += dx * (got.stats[k].x_stat[0] - mean_y);
    }
    if (!(xx > 1e-6 * most * most) || most < 1e-30) return; // below, f32 has few digits
    const wide slope = xy / xx, intercept = mean_y - slope * mean_x;
    const wide slack = 1e-5 * (1 + magnitude(slope)) * most;
    require<"the line is that of the textbook">(magnitude(got.line[0] - intercept) <= slack &&
                                                magnitude(got.line[1] - slope) * most <= slack);
    for (const int32_t place : valid) {
        const auto k = static_cast<std::size_t>(place) - 1;
        const wide wanted = intercept + slope * of.spots[k].d_val;
        require<"a prediction lies on the line">(magnitude(got.predicted[k] - wanted) <= slack);
    }
}

void check(const request& of, const response& got) {
    std::vector<int32_t> valid;
    for (std::size_t k = 0; k < of.spots.size(); ++k) {
        const std::vector<float> values = matched(of, of.spots[k]);
        const t_statsout& out = got.stats[k];
        if (values.empty()) {
            require_unmatched(out, of.given[k]);
            continue;
        }
        valid.push_back(static_cast<int32_t>(k + 1));
        require<"each test counts the IC data in its circle">(out.i_numdata ==
                                                              static_cast<int32_t>(values.size()));
        if (values.size() > 1) require_statistics(out, values);
    }
    require<"tests with IC data are listed, ascending">(
        got.valid[0] == static_cast<int32_t>(valid.size()) &&
        std::equal(valid.begin(), valid.end(), got.list.begin()));
    require<"the list behind them is left alone">(got.list.is_untouched(valid.size()));
    require_line(of, got, valid);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const request of = made_of(input);
    guarded<t_icdata> records(of.records), spots(of.spots);
    response first(of);
    first.ask(of, records, spots);
    check(of, first);
    if (!is_repeated(another)) return 0;
    call_another(another);
    response again(of);
    again.ask(of, records, spots);
    bool same = first.status == again.status && first.line.is_same_as(again.line) &&
                first.list.is_same_as(again.list) && first.predicted.is_same_as(again.predicted);
    for (std::size_t k = 0; k < of.spots.size(); ++k)
        same = same && first.stats[k].i_numdata == again.stats[k].i_numdata &&
               same_bits(first.stats[k].x_stat, again.stats[k].x_stat);
    require<"two calls agree bit for bit">(same);
    return 0;
}

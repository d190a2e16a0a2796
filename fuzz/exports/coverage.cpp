// IC_coverage: any bins, points and areas, against plain counts and the shoelace formula.
#include <cmath>
#include <memory>
#include <vector>

#include "support/export_call.hpp"

using namespace fuzz;

namespace {

constexpr int most_areas = 3;

struct request {
    float mesh[2];
    int32_t points, bins, areas;
    std::vector<t_icdata> records;
    std::vector<t_passbin> limits;
};

// Areas are large: one block of them serves all inputs, and so do the guards behind each number of them.
guarded<t_areaflt>& area_block(int32_t count) {
    static std::unique_ptr<guarded<t_areaflt>> blocks[most_areas + 1];
    std::unique_ptr<guarded<t_areaflt>>& block = blocks[std::clamp(count, 0, most_areas)];
    if (!block)
        block = std::make_unique<guarded<t_areaflt>>(static_cast<std::size_t>(std::max(count, 0)));
    return *block;
}

request made_of(input_bytes& input) {
    request made{};
    const real_kind kind = input.kind();
    for (float& side : made.mesh) side = input.real32(kind);
    const std::uint8_t way = input.byte();
    made.areas = way % (most_areas + 1);
    if (way >= 252) made.areas = std::min(input.whole(), 0);
    guarded<t_areaflt>& areas = area_block(made.areas);
    for (std::size_t k = 0; k < areas.size(); ++k) {
        areas[k].i_flag_exclusion = input.flag();
        const std::uint8_t size = input.byte();
        areas[k].i_numvertices = size < 224 ? size % 12 : input.whole();
        const bool is_whole = areas[k].i_numvertices <= 12;
        if (!is_whole && areas[k].i_numvertices <= 10000) areas[k].i_numvertices = 300 + size;
        for (int32_t i = 0; i < std::min(areas[k].i_numvertices, 600); ++i) {
            const auto at = static_cast<std::size_t>(i);
            areas[k].d_vert_x[at] =
                input.left() > 0 || i == 0 ? input.real_or_odd(kind, 64) : i % 17;
            areas[k].d_vert_y[at] =
                input.left() > 0 || i == 0 ? input.real_or_odd(kind, 64) : i % 23;
        }
    }
    made.bins = input.one_in(32) ? std::min(input.whole(), 0) : input.byte() % 9;
    for (int32_t i = 0; i < made.bins; ++i) {
        const int32_t lower = input.one_in(16) ? input.whole() : input.byte() % 32;
        const std::int64_t near = std::int64_t{lower} + input.byte() % 16 - 2;
        const auto held = std::clamp<std::int64_t>(near, INT32_MIN, INT32_MAX);
        const int32_t upper = input.one_in(8) ? input.whole() : static_cast<int32_t>(held);
        made.limits.push_back({lower, input.one_in(8) ? -1 : upper});
    }
    const real_kind counts = input.one_in(4) ? input.kind() : real_kind::whole;
    made.points = input.one_in(32) ? std::min(input.whole(), 0) : input.byte() % 64;
    for (int32_t i = 0; i < made.points; ++i) {
        const double value = input.real_or_odd(counts, 32);
        made.records.push_back({0, 0, counts == real_kind::whole ? std::fabs(value) : value, 1, 0});
    }
    return made;
}

struct response {
    guarded<t_binresult> results;
    call_event<> event;
    int32_t status = 0;
    explicit response(const request& of) : results(of.limits.size()) {}
    void ask(const request& of, guarded<t_icdata>& records, guarded<t_passbin>& bins,
             guarded<t_areaflt>& areas) {
        status = IC_coverage(of.mesh, of.points, of.bins, of.areas, bins.data(), records.data(),
                             areas.data(), results.data(), event.record());
        event.settle(status, "IC_coverage");
        require_guards(results, records, bins, areas);
        require<"inputs are left alone">(records.is_same_as(of.records) &&
                                         bins.is_same_as(of.limits));
    }
};

// The sum over the vertices, counter-clockwise.
double area_of(const t_areaflt& area, bool reversed) {
    const int32_t n = area.i_numvertices;
    if (n < 1) return 0;
    const auto at = [&](int32_t i) {
        return static_cast<std::size_t>(((reversed ? n - 1 - i : i) % n + n) % n);
    };
    double sum = 0;
    for (int32_t i = 0; i < n; ++i)
        sum += area.d_vert_x[at(i)] *
               (area.d_vert_y[at((i + 1) % n)] - area.d_vert_y[at((i + n - 1) % n)]);
    return 0.5 * sum;
}

enum class refusal { none, flag, vertices, sliver };

refusal plain_area(const guarded<t_areaflt>& areas, double& whole) {
    for (const t_areaflt& area : areas) {
        if (area.i_flag_exclusion != 1 && area.i_flag_exclusion != 2) return refusal::flag;
        if (area.i_numvertices > 10000) return refusal::vertices;
    }
    whole = 0;
    for (const t_areaflt& area : areas) {
        double own = area_of(area, false);
        if (own < 0) own = area_of(area, true);
        area.i_flag_exclusion == 2 ? whole += own : whole -= own;
        if (own < 0) return refusal::sliver;
    }
    return refusal::none;
}

int32_t passes_of(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

int32_t points_in(const request& of, std::size_t bin) {
    int32_t count = 0;
    for (const t_icdata& record : of.records) {
        const int32_t passes = passes_of(record.d_val);
        const auto holds = [&](const t_passbin& each) {
            const int32_t upper = each.i_pass_upper == -1 ? 10000 : each.i_pass_upper;
            return each.i_pass_lower <= passes && passes <= upper;
        };
        const auto first = std::find_if(of.limits.begin(), of.limits.end(), holds);
        count += first - of.limits.begin() == static_cast<std::ptrdiff_t>(bin);
    }
    return count;
}

bool same_number(float a, float b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

void check(const request& of, const response& got, const guarded<t_areaflt>& areas) {
    constexpr const char* messages[] = {
        "", "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)",
        "t_areaflt(i)%i_numvertices is greater than allowed maximum 10000",
        "current area is negative"};
    double whole = 0;
    const refusal why = plain_area(areas, whole);
    require<"a call fails where and as its areas say">(
        (got.status == QMX_IC_SUCCESS) == (why == refusal::none) &&
        (why == refusal::none || got.event.message() == messages[static_cast<int>(why)]));
    if (why == refusal::flag || why == refusal::vertices) {
        require<"refused areas leave the results alone">(got.results.is_untouched());
        return;
    }
    const double mesh_area = static_cast<double>(of.mesh[0]) * static_cast<double>(of.mesh[1]);
    bool same = true;
    for (std::size_t k = 0; k < got.results.size(); ++k) {
        const t_binresult& result = got.results[k];
        if (why == refusal::sliver) {
            same = same && result.x_coverage == -99 && result.x_compacted_area == -99 &&
                   result.x_plan_area == -99;
            continue;
        }
        const double compacted = points_in(of, k) * mesh_area;
        same = same && same_number(result.x_compacted_area, static_cast<float>(compacted)) &&
               same_number(result.x_plan_area, static_cast<float>(whole)) &&
               same_number(result.x_coverage, static_cast<float>(compacted / whole * 100.0));
    }
    require<"results are those of plain counts and areas">(same);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const request of = made_of(input);
    guarded<t_icdata> records(of.records);
    guarded<t_passbin> bins(of.limits);
    guarded<t_areaflt>& areas = area_block(of.areas);
    response first(of);
    first.ask(of, records, bins, areas);
    check(of, first, areas);
    if (!is_repeated(another)) return 0;
    call_another(another);
    response again(of);
    again.ask(of, records, bins, areas);
    require<"two calls agree bit for bit">(first.status == again.status &&
                                           first.results.is_same_as(again.results));
    return 0;
}

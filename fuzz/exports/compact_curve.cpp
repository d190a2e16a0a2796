// IC_compact_curve_b: lots of passes, thin ones and missing ones among them, against plain means and rules.
#include <cmath>
#include <vector>

#include "support/export_call.hpp"
#include "support/textbook.hpp"

using namespace fuzz;

namespace {

struct request {
    int32_t most_passes, least_count, count;
    std::vector<t_icdata> records;
};

// A few bytes a pass: how many records, the first value, the step from one to the next.
request made_of(input_bytes& input) {
    request made{};
    const std::uint8_t way = input.byte();
    const int groups = way % 6;
    for (int group = 0; group < groups; ++group) {
        const int pass = input.one_in(8) ? input.whole() : group + 1;
        const std::uint8_t size = input.byte();
        const int count = size < 128 ? 100 + size % 3 : size % 64;
        const real_kind kind = input.kind();
        const double first = input.real(kind), step = input.real(kind);
        const int odd_at = input.one_in(4) ? input.byte() : -1;
        const double odd = odd_at >= 0 ? input.real(real_kind::odd) : 0;
        for (int i = 0; i < count; ++i) {
            const double value = i == odd_at ? odd : first + step * (i % 7);
            made.records.push_back({0, 0, value, static_cast<int32_t>(pass), 0});
        }
    }
    if (way % 64 >= 32 && !made.records.empty()) { // pass after pass becomes cell after cell
        seeded random(way);
        for (std::size_t i = made.records.size(); i > 1; --i)
            std::swap(made.records[i - 1],
                      made.records[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
    }
    made.count = static_cast<int32_t>(made.records.size());
    if (way == 255) {
        made.records.clear();
        made.count = std::min(input.whole(), 0);
    }
    made.most_passes = input.one_in(4) ? std::min(input.whole(), 40) : groups + input.byte() % 3;
    made.least_count = input.one_in(4) ? input.whole() : 0;
    return made;
}

struct response {
    guarded<int32_t> passes{1};
    guarded<double> means, x{100}, y{100};
    guarded<t_fitout> fit{1};
    call_event<> event;
    int32_t status = 0;

    explicit response(const request& of)
        : means(static_cast<std::size_t>(std::max(of.most_passes, 0))) {}
    void ask(const request& of, guarded<t_icdata>& records) {
        status = IC_compact_curve_b(of.most_passes, of.least_count, of.count, records.data(),
                                    passes.data(), means.data(), x.data(), y.data(), fit.data(),
                                    event.record());
        event.settle(status, "IC_compact_curve_b");
        require_guards(passes, means, x, y, fit, records);
        require<"inputs are left alone">(records.is_same_as(of.records));
    }
    bool is_same_as(const response& other) const {
        return status == other.status && passes.is_same_as(other.passes) &&
               means.is_same_as(other.means) && x.is_same_as(other.x) && y.is_same_as(other.y) &&
               fit.is_same_as(other.fit);
    }
};

// The first check that fails, by its message; "" where the fit is reached.
std::string_view plain_refusal(const request& of, int32_t& usable) {
    usable = 0;
    if (of.most_passes < 2)
        return "i_maxpassno should be more than 2 for compaction curve analysis";
    if (of.count < of.least_count) return "not sufficient data";
    int32_t smallest = INT32_MAX, largest = INT32_MIN;
    for (const t_icdata& record : of.records) {
        smallest = std::min(smallest, record.i_passno);
        largest = std::max(largest, record.i_passno);
    }
    if (smallest != 1) return "IC data should always contain pass no. 1";
    if (largest > of.most_passes) return "IC data consist of pass no. > max passes";
    while (usable < of.most_passes &&
           std::count_if(of.records.begin(), of.records.end(),
                         [&](const t_icdata& each) { return each.i_passno == usable + 1; }) >= 100)
        ++usable;
    return usable == 0 ? "No sufficient data existed for any pass no." : "";
}

bool is_zero(const guarded<double>& values, std::size_t from = 0) {
    return std::all_of(values.begin() + from, values.end(), [](double each) { return each == 0; });
}

void require_means(const request& of, const response& got, int32_t usable) {
    for (int32_t pass = 1; pass <= usable; ++pass) {
        std::vector<float> values;
        for (const t_icdata& record : of.records)
            if (record.i_passno == pass) values.push_back(input_bytes::narrowed(record.d_val));
        const moments plain = moments_of(values);
        const auto mean = static_cast<float>(got.means[static_cast<std::size_t>(pass) - 1]);
        if (plain.count == 0) {
            require<"a pass without a number has the mean 0">(mean == 0);
        } else if (plain.are_finite) {
            require<"the mean of a pass is rounded once">(
                is_near32(mean, plain.mean, 0.5, plain.slack));
        }
    }
    require<"means past the last usable pass are 0">(
        is_zero(got.means, static_cast<std::size_t>(usable)));
}

void check(const request& of, const response& got) {
    int32_t usable = 0;
    const std::string_view refusal = plain_refusal(of, usable);
    const bool succeeded = got.status == QMX_IC_SUCCESS;
    if (!refusal.empty()) {
        require<"what is refused is refused with its text">(!succeeded &&
                                                            got.event.message() == refusal);
        const bool counts = refusal.starts_with("No sufficient");
        require<"a refused call gives no passes">(counts ? got.passes[0] == 0
                                                         : got.passes.is_untouched());
    } else {
        require<"a call fails in its fit alone">(
            succeeded || got.event.message() == "x or y data contains NaN" ||
            got.event.message() == "error calling imsl drcurv");
        require<"the passes before the first thin one are used">(got.passes[0] == usable);
        require_means(of, got, usable);
    }
    if (!succeeded) {
        const t_fitout none{};
        require<"a failed call gives no curve">(is_zero(got.x) && is_zero(got.y) &&
                                                same_bits(got.fit[0], none));
        return;
    }
    double lowest = got.means[0], highest = got.means[0];
    for (const double mean : got.means) {
        lowest = std::min(lowest, mean);
        highest = std::max(highest, mean);
    }
    for (std::size_t i = 0; i < 100; ++i) {
        require<"the curve stands at even steps">(
            got.x[i] == 1.0 + static_cast<double>(i) * (static_cast<double>(usable - 1) / 100));
        // A single pass with infinite values has a mean of NaN, and 0 for a curve.
        require<"the curve keeps between the means">(!(got.y[i] < lowest) && !(got.y[i] > highest));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const request of = made_of(input);
    guarded<t_icdata> records(of.records);
    response first(of);
    first.ask(of, records);
    check(of, first);
    if (!is_repeated(another)) return 0;
    call_another(another);
    response again(of);
    again.ask(of, records);
    require<"two calls agree bit for bit">(first.is_same_as(again));
    return 0;
}

// ICdata_stats: any values, any record, against the textbook and a plain histogram.
#include <cstddef>
#include <vector>

#include "support/export_call.hpp"
#include "support/statistics_rules.hpp"

using namespace fuzz;

namespace {

struct request {
    int32_t flag_pass, flag_below, count;
    std::vector<t_icdata> records;
    t_statsout given;
};

request made_of(input_bytes& input) {
    request made{};
    made.flag_pass = input.flag();
    made.flag_below = input.flag();
    const std::uint8_t size = input.byte();
    const real_kind kind = input.kind();
    made.count = size < 200 ? size % 67 : 3 + size;
    if (size == 255) made.count = std::min(input.whole(), 2);
    std::memset(&made.given, 0x5A, sizeof made.given);
    made.given.i_flag_target = input.flag();
    made.given.x_target = input.real32(input.one_in(4) ? real_kind::odd : kind);
    made.given.x_target_pct = input.real32(real_kind::whole);
    for (float& level : made.given.x_pctlevel)
        level = input.real32(input.one_in(4) ? real_kind::odd : real_kind::whole);
    for (int32_t i = 0; i < made.count; ++i) {
        t_icdata record{};
        if (input.left() > 0 || i < 3) {
            record.d_val = input.real_or_odd(kind, 64);
        } else { // what was there, again
            record.d_val = made.records[made.records.size() / 2].d_val + (i % 5);
        }
        made.records.push_back(record);
    }
    if (made.flag_pass == 1 && size % 3 > 0)
        for (t_icdata& record : made.records)
            if (std::fabs(record.d_val) < 1e6)
                record.d_val = std::fmod(std::floor(std::fabs(record.d_val)), 202);
    return made;
}

struct response {
    guarded<t_statsout> out{1};
    call_event<> event;
    int32_t status = 0;

    void ask(const request& of, guarded<t_icdata>& records) {
        out[0] = of.given;
        status = ICdata_stats(of.flag_pass, of.flag_below, of.count, records.data(), out.data(),
                              event.record());
        event.settle(status, "ICdata_stats");
        require_guards(out, records);
        require<"inputs are left alone">(records.is_same_as(of.records));
    }
};

bool is_text_of(std::string_view message) {
    for (const std::string_view known :
         {"Data points are less than 3. aborted.",
          "High pass counts causing histogram intervals exceeding the maximum 200",
          "x_y size is not correct"})
        if (message == known) return true;
    return false;
}

// Of two zeros either may be the smallest value.
bool same_number(float a, float b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

void require_histogram(const request& of, const t_statsout& out, const std::vector<float>& values,
                       bool succeeded) {
    const bool are_passes = of.flag_pass == 1;
    float smallest = std::numeric_limits<float>::infinity(), largest = -smallest;
    for (const float value : values) {
        smallest = value < smallest ? value : smallest;
        largest = value > largest ? value : largest;
    }
    const bool has_numbers = smallest <= largest;
    if (!has_numbers) return;
    if (are_passes) {
        const bool is_too_high = largest >= 200;
        require<"pass counts of 200 and more are refused, below 1 too">(
            succeeded == (!is_too_high && largest >= 1));
        if (is_too_high || !(largest >= 0)) return;
    } else {
        require<"a continuous measure is never refused">(succeeded);
        const float step = (largest - smallest) / 20.0F;
        if (!(step > 1.1920929e-07F)) {
            require<"constant data is one class">(out.i_numbins == 1 && out.x_freq[0] == 100.0F &&
                                                  out.x_cumfreq[0] == 100.0F &&
                                                  out.x_pctvalue[0] == of.given.x_pctvalue[0]);
            return;
        }
    }
    const std::vector<float> limits = plain_limits(are_passes, smallest, largest);
    const std::vector<float> shares = plain_shares(values, limits);
    const std::size_t kept = std::min<std::size_t>(limits.size(), 200);
    bool same = out.i_numbins == static_cast<int32_t>(limits.size()) - are_passes;
    float cumulative = 0;
    for (std::size_t k = 0; k < kept; ++k) {
        cumulative += shares[k];
        same = same && same_number(out.x_bin[k], limits[k]) &&
               same_number(out.x_freq[k], shares[k]) && same_number(out.x_cumfreq[k], cumulative);
    }
    require<"the histogram is that of the plain rule">(same);
    const bool holds_last = limits.size() > 200;
    bool rest = true;
    for (std::size_t k = kept; k < 200; ++k)
        rest = rest && out.x_bin[k] == 0 && out.x_freq[k] == 0 &&
               same_bits(out.x_cumfreq[k], of.given.x_cumfreq[k]);
    require<"classes beyond the last are left alone">(rest);
    require<"the target is kept, but with 200 classes">(
        holds_last ? same_number(out.x_target, cumulative + shares[200])
                   : same_bits(out.x_target, of.given.x_target));
    if (!succeeded || !std::isfinite(largest - smallest)) return;
    for (int i = 0; i < 2; ++i)
        require<"a value at a percent level lies among the classes">(
            out.x_pctvalue[i] >= limits.front() && out.x_pctvalue[i] <= limits.back());
}

void require_target(const request& of, const t_statsout& out, bool constant) {
    if (of.given.i_flag_target != 1 || constant) {
        require<"without a target test its fields stay">(
            out.i_target_met == of.given.i_target_met &&
            same_bits(out.x_achieved_pct, of.given.x_achieved_pct));
        return;
    }
    require<"the target is met where its share is reached">(
        out.i_target_met == (out.x_achieved_pct < out.x_target_pct ? 2 : 1));
}

void check(const request& of, const response& got) {
    const t_statsout& out = got.out[0];
    const bool succeeded = got.status == QMX_IC_SUCCESS;
    if (!succeeded)
        require<"a failure has one of the known texts">(is_text_of(got.event.message()));
    require<"fewer than 3 records are refused">((of.count >= 3) ||
                                                (!succeeded && same_bits(out, of.given)));
    if (of.count < 3) return;
    require<"what the caller sets is kept">(out.i_flag_target == of.given.i_flag_target &&
                                            same_bits(out.x_target_pct, of.given.x_target_pct) &&
                                            same_bits(out.x_pctlevel, of.given.x_pctlevel) &&
                                            out.i_numdata == of.count);
    std::vector<float> values;
    for (const t_icdata& record : of.records) values.push_back(input_bytes::narrowed(record.d_val));
    require_statistics(out, values);
    require_histogram(of, out, values, succeeded);
    if (succeeded) require_target(of, out, out.i_numbins == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const request of = made_of(input);
    guarded<t_icdata> records(of.records);
    response first;
    first.ask(of, records);
    check(of, first);
    if (!is_repeated(another)) return 0;
    call_another(another);
    response again;
    again.ask(of, records);
    require<"two calls agree bit for bit">(first.status == again.status &&
                                           first.out.is_same_as(again.out) &&
                                           same_bits(*first.event.record(), *again.event.record()));
    return 0;
}

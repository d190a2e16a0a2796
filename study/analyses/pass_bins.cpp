#include "study/analyses/pass_bins.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <numeric>
#include <string_view>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

constexpr std::int32_t no_count = std::numeric_limits<std::int32_t>::min();
constexpr std::size_t most_default_bins = 10;

bool read_count(std::string_view text, std::int32_t& count) {
    text = trimmed(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc() && end == text.data() + text.size() && count >= 0;
}

std::int32_t upper_end(const t_passbin& bin) {
    return bin.i_pass_upper == open_end ? highest_pass_count : bin.i_pass_upper;
}

t_passbin read_bin(std::string_view text, const std::string& all) {
    const std::size_t dash = text.find('-');
    const bool has_dash = dash != std::string_view::npos;
    const bool is_open = has_dash && trimmed(text.substr(dash + 1)).empty();
    t_passbin bin{0, open_end};
    if (!read_count(text.substr(0, dash), bin.i_pass_lower) ||
        (has_dash && !is_open && !read_count(text.substr(dash + 1), bin.i_pass_upper)))
        throw usage_error(fmt::format("--bins \"{}\": \"{}\" is no bin; write pass counts like 3, "
                                      "1-2 or 5- (from 5 on), parted by commas",
                                      all, trimmed(text)));
    if (!has_dash) bin.i_pass_upper = bin.i_pass_lower;
    if (bin.i_pass_lower > upper_end(bin))
        throw usage_error(
            fmt::format("--bins \"{}\": {} holds no pass count: its lower end is above its upper "
                        "end{}",
                        all, trimmed(text), is_open ? ", which is 10000 for an open bin" : ""));
    return bin;
}

std::int64_t sum_of(const pass_tally& tally) {
    return std::accumulate(tally.begin(), tally.end(), std::int64_t{0},
                           [](std::int64_t sum, const auto& entry) { return sum + entry.second; });
}

} // namespace

std::vector<t_passbin> read_pass_bins(const std::string& text) {
    std::vector<t_passbin> bins;
    std::string_view rest = text;
    while (true) {
        const std::size_t comma = rest.find(',');
        bins.push_back(read_bin(rest.substr(0, comma), text));
        if (comma == std::string_view::npos) return bins;
        rest.remove_prefix(comma + 1);
    }
}

std::string bin_name(const t_passbin& bin) {
    if (bin.i_pass_upper == open_end) return fmt::format("{}-", bin.i_pass_lower);
    if (bin.i_pass_upper == bin.i_pass_lower) return fmt::format("{}", bin.i_pass_lower);
    return fmt::format("{}-{}", bin.i_pass_lower, bin.i_pass_upper);
}

pass_tally tally_passes(const std::vector<t_icdata>& points) {
    constexpr std::int32_t direct = 1024;
    std::vector<std::int64_t> small(direct, 0);
    pass_tally tally;
    for (const t_icdata& point : points) {
        const double count = point.d_val;
        if (count >= 0 && count < direct) {
            ++small[static_cast<std::size_t>(count)];
        } else {
            const bool fits = count > -2147483648.0 && count < 2147483648.0;
            ++tally[fits ? static_cast<std::int32_t>(count) : no_count];
        }
    }
    for (std::int32_t count = 0; count < direct; ++count)
        if (const std::int64_t points_of = small[static_cast<std::size_t>(count)]; points_of > 0)
            tally[count] += points_of;
    return tally;
}

std::vector<t_passbin> default_pass_bins(const pass_tally& tally, std::int32_t target_passes) {
    if (target_passes == 1) return {{1, open_end}};
    if (target_passes > 1) return {{1, target_passes - 1}, {target_passes, open_end}};
    std::vector<t_passbin> bins;
    for (auto count = tally.upper_bound(0); count != tally.end(); ++count) {
        if (count->first > highest_pass_count) break; // no open bin holds it
        if (bins.size() == most_default_bins) {
            bins.back().i_pass_upper = open_end;
            break;
        }
        bins.push_back({count->first, count->first});
    }
    if (bins.empty()) bins.push_back({1, open_end});
    return bins;
}

std::int64_t bin_counts::total_in_bins() const {
    return std::accumulate(in_bin.begin(), in_bin.end(), std::int64_t{0});
}
std::int64_t bin_counts::total_outside() const {
    return sum_of(outside);
}

bin_counts count_in_bins(const pass_tally& tally, const std::vector<t_passbin>& bins) {
    bin_counts counts;
    counts.in_bin.assign(bins.size(), 0);
    for (const auto& [passes, points] : tally) {
        const auto bin = std::find_if(bins.begin(), bins.end(), [passes = passes](const auto& b) {
            return b.i_pass_lower <= passes && passes <= upper_end(b);
        });
        if (bin == bins.end()) {
            counts.outside[passes] = points;
        } else {
            counts.in_bin[static_cast<std::size_t>(bin - bins.begin())] += points;
        }
    }
    return counts;
}

bool have_overlap(const std::vector<t_passbin>& bins) {
    std::vector<t_passbin> sorted = bins;
    std::sort(sorted.begin(), sorted.end(), [](const t_passbin& a, const t_passbin& b) {
        return a.i_pass_lower < b.i_pass_lower;
    });
    for (std::size_t i = 1; i < sorted.size(); ++i)
        if (sorted[i].i_pass_lower <= upper_end(sorted[i - 1])) return true;
    return false;
}

} // namespace qmx_study

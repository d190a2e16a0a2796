// Bins of pass counts: as a user writes them, as they are shown, and how many points they hold.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

inline constexpr std::int32_t open_end = -1;              // the upper end of "5-"
inline constexpr std::int32_t highest_pass_count = 10000; // which an open end reaches

// Ranges parted by commas: "3" is one pass count, "1-2" both ends included, "5-" from 5 on. Throws
// usage_error.
std::vector<t_passbin> read_pass_bins(const std::string& text);

std::string bin_name(const t_passbin& bin); // "3", "1-2", "5-"

// Points by pass count, truncated toward zero; key INT32_MIN for what is no 32-bit count.
using pass_tally = std::map<std::int32_t, std::int64_t>;
pass_tally tally_passes(const std::vector<t_icdata>& points);

// Bins for data whose user named none: below the target and from the target on; without a target
// (0) one for each count above 0 that there is, at most ten, of which the last then takes the rest.
std::vector<t_passbin> default_pass_bins(const pass_tally& tally, std::int32_t target_passes);

// Points of each bin, the first that holds a count taking it, and those of no bin.
struct bin_counts {
    std::vector<std::int64_t> in_bin;
    pass_tally outside;
    std::int64_t total_in_bins() const;
    std::int64_t total_outside() const;
};
bin_counts count_in_bins(const pass_tally& tally, const std::vector<t_passbin>& bins);

// Some pass count lies in two of the bins.
bool have_overlap(const std::vector<t_passbin>& bins);

} // namespace qmx_study

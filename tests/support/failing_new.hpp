// An allocator that fails when told to: linked into a test program, it replaces operator new.
#pragma once

namespace support {

// From now on the n-th allocation fails (0: none does); counters start at 0.
void fail_allocation(long n);

// Stops failing; says how many allocations were asked for since fail_allocation and how many of
// those granted were not given back.
struct allocation_count {
    long asked;
    long kept;
};
allocation_count stop_failing();

} // namespace support

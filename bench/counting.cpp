// Says to valgrind's callgrind which instructions count; does nothing where it does not watch.
#include <valgrind/callgrind.h>

extern "C" {

void counting_begins() {
    CALLGRIND_ZERO_STATS;
}

void counting_ends(const char* name) {
    CALLGRIND_DUMP_STATS_AT(name);
}
}

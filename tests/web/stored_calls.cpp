// The stored calls without a test framework, for a module of WebAssembly: a line for each export, and exit
// code 1 where a hash differs from the stored one.
#include "support/hashed_calls.hpp"

#include <cinttypes>
#include <cstdio>

int main() {
    bool are_same = true;
    std::size_t i = 0;
    for (const support::hashed_export& row : support::hashed_exports) {
        const std::uint64_t hash = row.hash(1000 + i++, row.times);
        std::printf("%s 0x%016" PRIx64 "%s\n", row.name, hash,
                    hash == row.stored ? "" : " is not the stored one");
        are_same = are_same && hash == row.stored;
    }
    return are_same ? 0 : 1;
}

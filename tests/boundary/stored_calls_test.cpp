// Calls of all eight exports on generated lots, and a stored hash of all that each export returned: the
// library gives the same bits with every compiler, on every processor and platform. The suite runs this
// once more with the C library's variants for newer processors switched off.
//
// Where a change of the library is meant to change bits, the new hashes for the table in
// support/hashed_calls.hpp are printed by
//
//     QMX_IC_PRINT_HASHES=1 build/dev/tests/test_boundary --gtest_filter='StoredCalls.*'
#include "support/hashed_calls.hpp"
#include "support/test.hpp"

#include <cinttypes>

namespace {

TEST(StoredCalls, GiveTheStoredBits) {
    using support::hashed_exports;
    const bool are_printed = std::getenv("QMX_IC_PRINT_HASHES") != nullptr;
    for (std::size_t i = 0; i < std::size(hashed_exports); ++i) {
        const auto& row = hashed_exports[i];
        const std::uint64_t hash = row.hash(1000 + i, row.times);
        if (are_printed)
            std::printf("%s 0x%016" PRIx64 "\n", row.name, hash);
        else
            EXPECT_EQ(hash, row.stored) << row.name;
    }
}

} // namespace

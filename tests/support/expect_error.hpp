// Checks the error that the numerical routine just called has left.
#pragma once

#include "numeric/errors/error_stack.hpp"
#include "support/test.hpp"

namespace support {

// Its type, code and message, where a '|' stands for any text.
inline void expect_error(int type, int code, std::string_view message) {
    using namespace qmx::numeric;
    EXPECT_EQ(N1RTY(1), type) << message;
    EXPECT_EQ(N1RCD(1), code) << message;
    if (type == type_terminal) {
        EXPECT_EQ(IERCD(), 0) << message; // not for callers to see
    }
    const std::string_view found = last_message();
    const auto gap = message.find('|');
    const bool is_whole = gap == message.npos;
    EXPECT_TRUE(is_whole ? found == message
                         : found.starts_with(message.substr(0, gap)) &&
                               found.ends_with(message.substr(gap + 1)))
        << found << " instead of " << message;
    EXPECT_EQ(found.find("%("), found.npos) << found;
}

} // namespace support

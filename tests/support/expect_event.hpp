// Checks the event of a failed routine, and views of vectors for the calls.
#pragma once

#include "base/array_view.hpp"
#include "events/event.hpp"
#include "support/test.hpp"

namespace support {

// Clears the event afterwards.
inline void expect_event(std::string_view description, std::string_view path, int code = 101) {
    using namespace qmx;
    EXPECT_EQ(current_event.c_description.trimmed(), description);
    EXPECT_EQ(current_event.c_subfunc.trimmed(), path) << description;
    EXPECT_EQ(current_event.i_errcode, code);
    EXPECT_EQ(current_event.i_errtype, severity_failed);
    clear_event();
}

template <class T> qmx::array_view<T> view(std::vector<T>& elements) {
    return qmx::view_of(elements.data(), std::ssize(elements));
}
template <class T> qmx::array_view<const T> view(const std::vector<T>& elements) {
    return qmx::view_of(elements.data(), std::ssize(elements));
}

} // namespace support

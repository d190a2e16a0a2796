// What every numerical routine opens with, and how it posts an error in one line.
#pragma once

#include "numeric/errors/error_stack.hpp"

#include <string_view>

namespace qmx::numeric {

// Pushes the routine's name and pops it when the scope ends, so that every early return pops.
// Declare work arrays after it: they then go first.
class numeric_frame {
public:
    explicit numeric_frame(std::string_view name)
        : name_(name), length_(static_cast<i32>(name.size())) {
        E1PSH(name_.data(), length_);
    }
    ~numeric_frame() { E1POP(name_.data(), length_); }
    numeric_frame(const numeric_frame&) = delete;
    numeric_frame& operator=(const numeric_frame&) = delete;

private:
    std::string_view name_;
    i32 length_;
};

inline void post(i32 type, i32 code, std::string_view message) {
    E1MES(type, code, message.data(), static_cast<i32>(message.size()));
}

} // namespace qmx::numeric

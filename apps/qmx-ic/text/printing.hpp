// The answer of a command, printed once.
#pragma once

#include <cstdio>
#include <string_view>

namespace qmx_terminal {

// Throws std::system_error where it cannot be written.
void print_answer(std::string_view text, std::FILE* where = stdout);

// Whether one stands on standard output: a failure behind it prints no second document there.
bool is_answer_printed() noexcept;

} // namespace qmx_terminal

#include "text/printing.hpp"

#include <cerrno>
#include <system_error>

namespace qmx_terminal {

namespace {

bool is_printed = false;

} // namespace

void print_answer(std::string_view text, std::FILE* where) {
    is_printed = is_printed || where == stdout;
    if (std::fwrite(text.data(), 1, text.size(), where) != text.size())
        throw std::system_error(errno, std::generic_category(),
                                where == stdout ? "standard output could not be written"
                                                : "standard error could not be written");
}

bool is_answer_printed() noexcept {
    return is_printed;
}

} // namespace qmx_terminal

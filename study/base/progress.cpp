#include "study/base/progress.hpp"

#include <cstdio>

#include <fmt/format.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qmx_study {

using namespace std::chrono_literals;

progress::progress()
#if defined(_WIN32)
    : is_terminal(_isatty(_fileno(stderr)) != 0)
#else
    : is_terminal(isatty(STDERR_FILENO) != 0)
#endif
{
}

bool progress::is_due() {
    if (!is_terminal) return false;
    const auto now = clock::now();
    if (now - started < 1s || now - shown_last < 200ms) return false;
    shown_last = now;
    return true;
}

void progress::note(std::string_view text) {
    if (!is_due()) return;
    fmt::print(stderr, "\r\033[K{}", text);
    std::fflush(stderr);
    is_shown = true;
}

void progress::note(std::string_view what, double done, double whole) {
    if (!(done > 0) || !(whole > 0) || !is_due()) return;
    const double share = done < whole ? done / whole : 1;
    const double seconds = std::chrono::duration<double>(clock::now() - started).count();
    fmt::print(stderr, "\r\033[K{}: {:.0f} %, {:.0f} s left", what, 100 * share,
               seconds * (1 - share) / share);
    std::fflush(stderr);
    is_shown = true;
}

void progress::clear() {
    if (!is_shown) return;
    fmt::print(stderr, "\r\033[K");
    std::fflush(stderr);
    is_shown = false;
}

} // namespace qmx_study

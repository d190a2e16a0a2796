#include "text/progress_line.hpp"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string_view>

#include <fmt/format.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qmx_terminal {

namespace {

using clock = std::chrono::steady_clock;

bool is_terminal() {
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

class line_on_terminal {
public:
    void text(std::string_view shown) {
        if (shown.empty()) {
            clear();
        } else if (is_due()) {
            put(fmt::format("\r\033[K{}", shown));
        }
    }
    void share(std::string_view what, double done, double whole) {
        if (!is_due()) return;
        const double part = done / whole;
        const double seconds = std::chrono::duration<double>(clock::now() - started).count();
        put(fmt::format("\r\033[K{}: {:.0f} %, {:.0f} s left", what, 100 * part,
                        seconds * (1 - part) / part));
    }

private:
    clock::time_point started = clock::now();
    clock::time_point shown_last = started;
    bool is_shown = false;

    bool is_due() {
        using namespace std::chrono_literals;
        const auto now = clock::now();
        if (now - started < 1s || now - shown_last < 200ms) return false;
        shown_last = now;
        return true;
    }
    void put(const std::string& line) {
        fmt::print(stderr, "{}", line);
        std::fflush(stderr);
        is_shown = true;
    }
    void clear() {
        if (!is_shown) return;
        put("\r\033[K");
        is_shown = false;
    }
};

} // namespace

qmx_study::progress_hook progress_line() {
    if (!is_terminal()) return {};
    const auto line = std::make_shared<line_on_terminal>();
    qmx_study::progress_hook hook;
    hook.note = [line](std::string_view text) { line->text(text); };
    hook.share = [line](std::string_view what, double done, double whole) {
        line->share(what, done, whole);
    };
    return hook;
}

} // namespace qmx_terminal

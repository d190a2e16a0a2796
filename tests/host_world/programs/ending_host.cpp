// A host that calls the library while it starts and ends: before main, from handlers of atexit, and from the
// destructors of a static and of a thread's object. Exit code 0 where every call gave what main was given.
#include "support/hashed_calls.hpp"

#include <thread>
#include <unistd.h>

namespace {

std::vector<std::uint64_t> hashes() {
    return support::hashes_of_all_exports(8, 3);
}

void compare(const char* when);

struct calls_in_its_destructor {
    const char* when;
    ~calls_in_its_destructor() { compare(when); }
};

// Never destroyed: the last destructors read it.
std::vector<std::uint64_t>& expected() {
    static auto* const kept =
        new std::vector<std::uint64_t>(hashes()); // before main, by the next line
    return *kept;
}
const bool is_called_before_main = !expected().empty();
calls_in_its_destructor destroyed_last{"static destructor"};

int calls_at_the_end = 0;

void compare(const char* when) {
    std::printf("%s\n", when);
    std::fflush(stdout);
    if (hashes() != expected()) _exit(1);
    if (++calls_at_the_end == 4) _exit(0); // the static object's is the last
}

} // namespace

int main() {
    if (!is_called_before_main || hashes() != expected()) return 1;
    std::atexit([] { compare("atexit"); });
    std::at_quick_exit([] {});
    std::thread([] {
        thread_local const calls_in_its_destructor of_the_thread{"a thread's end"};
        if (of_the_thread.when == nullptr) _exit(1);
    }).join();
    thread_local const calls_in_its_destructor of_main{"main thread's end"};
    return of_main.when != nullptr ? 2 : 1; // 0 only from the last destructor
}

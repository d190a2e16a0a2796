// Threads that call in turn, threads with a small stack, children of a fork, signals in the middle of a
// call, and a locale that writes a comma: none of them changes a result.
#include "support/hashed_calls.hpp"
#include "support/test.hpp"

#if defined(__unix__)
#include "support/rare_calls.hpp"
#include "support/scratch_folder.hpp"

#include <clocale>
#include <csignal>
#include <locale>
#include <mutex>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#endif

namespace {

#if defined(__unix__)

// Each thread its own calls, one call at a time and the threads in any order.
TEST(HostThreads, TakeTurns) {
    constexpr int threads = 8, calls = 40;
    std::vector<std::vector<std::uint64_t>> expected(threads), hashes(threads);
    const auto call = [](int thread, int i) {
        // A spot test with one value shows what the call before has left; here that is always this call.
        support::hashed_exports[6].hash(1, 3);
        const auto which =
            static_cast<std::size_t>(thread + i) % std::size(support::hashed_exports);
        return support::hashed_exports[which].hash(static_cast<std::uint64_t>(100 * thread + i), 1);
    };
    for (int t = 0; t < threads; ++t)
        for (int i = 0; i < calls; ++i) expected[static_cast<std::size_t>(t)].push_back(call(t, i));
    std::mutex one_at_a_time;
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
        running.emplace_back([&, t] {
            for (int i = 0; i < calls; ++i) {
                const std::lock_guard lock(one_at_a_time);
                hashes[static_cast<std::size_t>(t)].push_back(call(t, i));
            }
        });
    for (std::thread& each : running) each.join();
    EXPECT_EQ(hashes, expected);
}

// ---- A small stack --------------------------------------------------------------------------------

// A sanitizer's frames are several times as large.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QMX_LARGE_FRAMES
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(QMX_LARGE_FRAMES)
constexpr std::size_t stack_bytes = 1 << 20;
#else
constexpr std::size_t stack_bytes = 64 << 10;
#endif

// What a thread runs with no more than stack_bytes of stack left, and how much of that it wrote to.
struct small_stack {
    std::function<void()> run;
    std::size_t used = 0;
};

#if defined(__clang__)
__attribute__((no_sanitize("all")))
#endif
__attribute__((noinline)) void*
run_on_what_is_left(void* given) {
    auto& task = *static_cast<small_stack*>(given);
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    const std::uintptr_t end = (here - stack_bytes) / page * page;
    // Running over ends the test.
    EXPECT_EQ(mprotect(lowest, end - reinterpret_cast<std::uintptr_t>(lowest), PROT_NONE), 0);
    auto* const left = reinterpret_cast<volatile unsigned char*>(end);
    const std::size_t painted = here - end - 2048; // this function's own part aside
    for (std::size_t i = 0; i < painted; ++i) left[i] = 0xA5;
    task.run();
    std::size_t untouched = 0;
    while (untouched < painted && left[untouched] == 0xA5) ++untouched;
    task.used = here - end - untouched;
    mprotect(lowest, end - reinterpret_cast<std::uintptr_t>(lowest), PROT_READ | PROT_WRITE);
    return nullptr;
}

std::size_t on_a_small_stack(const std::function<void()>& run) {
    small_stack task = {run};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    // More than is left to the call: a BLAS may take some of it for each thread.
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, stack_bytes + (512 << 10)), 0);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, run_on_what_is_left, &task), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return task.used;
}

TEST(HostThreads, NeedNoMoreThanASmallStack) {
    support::ordinary_lot large(7, 60000);
    support::rare_lots rare;
    std::vector<support::export_call> calls = large.calls();
    for (const support::export_call& call : rare.calls()) calls.push_back(call);
    std::size_t most = 0;
    for (const support::export_call& call : calls) {
        int32_t status = 0;
        const std::size_t used = on_a_small_stack([&] { status = call.run(); });
        EXPECT_EQ(status, 1) << call.name;
        if (std::getenv("QMX_IC_PRINT_STACK") != nullptr)
            std::printf("%6zu bytes of stack: %s\n", used, call.name.c_str());
        most = std::max(most, used);
    }
    RecordProperty("most_bytes_of_stack", static_cast<int>(most));
    EXPECT_GT(most, 0U);
    EXPECT_LE(most, stack_bytes - (8 << 10)) << "the header promises 64 KiB to suffice";
}

// ---- fork -------------------------------------------------------------------------------------------

// Children call at once and at the same time, after the parent has called and while it goes on.
TEST(HostProcesses, ChildrenOfAForkCall) {
    const auto expected = support::hashes_of_all_exports(5, 4);
    std::vector<pid_t> children;
    for (int i = 0; i < 6; ++i) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) _exit(support::hashes_of_all_exports(5, 4) == expected ? 0 : 1);
        children.push_back(child);
        EXPECT_EQ(support::hashes_of_all_exports(5, 4), expected);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
}

// ---- Signals ----------------------------------------------------------------------------------------

volatile std::sig_atomic_t signals = 0;
volatile double rounded = 0;

// A handler that computes, as hosts' timers do; it calls no function of the library.
void take_signal(int) {
    signals = signals + 1;
    rounded = rounded + 1.0 / 3.0;
}

TEST(HostProcesses, SignalsInTheMiddleOfACallChangeNothing) {
    const auto expected = support::hashes_of_all_exports(6, 10);
    struct sigaction action = {}, before = {};
    action.sa_handler = take_signal; // without SA_RESTART
    sigaction(SIGALRM, &action, &before);
    const itimerval often = {{0, 200}, {0, 200}}, never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    std::vector<std::uint64_t> hashes;
    for (int i = 0; i < 5 || (signals < 50 && i < 500); ++i) {
        hashes = support::hashes_of_all_exports(6, 10);
        if (hashes != expected) break;
    }
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(hashes, expected);
    EXPECT_GE(signals, 50);
}

// ---- A locale with a decimal comma --------------------------------------------------------------------

// In a child, since a locale is the whole process's.
int calls_with_a_comma(const std::vector<std::uint64_t>& expected) {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) return 2;
    if (std::strcmp(std::localeconv()->decimal_point, ",") != 0) return 3;
    std::locale::global(std::locale("de_DE.UTF-8"));
    if (support::hashes_of_all_exports(7, 10) != expected) return 4;
    return std::strcmp(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8") == 0 ? 0 : 5;
}

TEST(HostProcesses, ADecimalCommaChangesNothing) {
    const auto expected = support::hashes_of_all_exports(7, 10);
    const support::scratch_folder folder;
    const std::string place = folder.path().string();
    const std::string make =
        "localedef -i de_DE -f UTF-8 '" + place + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0) GTEST_SKIP() << "no localedef, or no source of a locale";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setenv("LOCPATH", place.c_str(), 1);
        _exit(calls_with_a_comma(expected));
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0)
        << "2, 3: no such locale; 4: other results; 5: another locale";
}
#endif

} // namespace

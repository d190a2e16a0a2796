// A host that loads the library while it runs, and brings its own allocator. Exit code 0 where all is well.
//
//     loading_host reload LIBRARY TIMES    loads, calls and unloads it so often: memory and handles stay
//     loading_host twice LIBRARY FOLDER    loads two copies under two names
//     loading_host allocator LIBRARY       with malloc, free and operator new of its own
#include "qmx_ic.h"

#include <dlfcn.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <thread>
#include <vector>

#if defined(QMX_HOST_HAS_OWN_ALLOCATOR)
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}
#endif

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "not so: %s\n", what);
    ++failures;
}

// ---- The library as this host sees it -----------------------------------------------------------

struct loaded {
    void* handle = nullptr;
    decltype(&ICdata_stats) stats = nullptr;
    decltype(&IC_semivariogram) semivariogram = nullptr;
    decltype(&call_polycurvefit) polynomial = nullptr;
    decltype(&IC_PointsData_stats) spots = nullptr;
};

template <class Function> void find(void* handle, const char* name, Function& function) {
    void* const symbol = dlsym(handle, name);
    static_assert(sizeof function == sizeof symbol);
    std::memcpy(&function, &symbol, sizeof symbol);
    expect(symbol != nullptr, name);
}

loaded load(const std::string& path, int visibility) {
    loaded library;
    library.handle = dlopen(path.c_str(), RTLD_NOW | visibility);
    if (library.handle == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
    find(library.handle, "ICdata_stats", library.stats);
    find(library.handle, "IC_semivariogram", library.semivariogram);
    find(library.handle, "call_polycurvefit", library.polynomial);
    find(library.handle, "IC_PointsData_stats", library.spots);
    return library;
}

std::vector<t_icdata> lot() {
    std::vector<t_icdata> points;
    for (int i = 0; i < 400; ++i)
        points.push_back({double(i % 20), double(i / 20), 40 + i * 7 % 13 / 4.0, 1, 0});
    return points;
}

// What three exports answer, as one list.
struct answers {
    int status[3];
    float mean, summary[4], curve[100];
};

answers ask(const loaded& library) {
    answers all;
    std::memset(&all, 0, sizeof all);
    const auto points = lot();
    t_statsout statistics = {};
    t_event event = {};
    all.status[0] = library.stats(2, 2, 400, points.data(), &statistics, &event);
    all.mean = statistics.x_stat[0];
    const t_gamvset_user set = {6, 2, 0, 90, 100, 2};
    double distance[8], gamma[8], model[2], curve_x[100], curve_y[100];
    all.status[1] = library.semivariogram(400, points.data(), &set, distance, gamma, model, curve_x,
                                          curve_y, all.summary, &event);
    float x[60], y[60], s_curve_x[100];
    for (int i = 0; i < 60; ++i) x[i] = float(i), y[i] = float(i * i % 17);
    all.status[2] = library.polynomial(60, 4, x, y, s_curve_x, all.curve);
    return all;
}

bool are_right(const answers& all) {
    return all.status[0] == 1 && all.status[1] == 1 && all.status[2] == 1 &&
           std::fabs(all.mean - 41.5) < 0.1;
}

// ---- Memory and handles of this process -----------------------------------------------------------

struct usage {
    long kilobytes = 0, mappings = 0, handles = 0;
};

usage of_this_process() {
    usage now;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("RssAnon:")) now.kilobytes = std::atol(line.c_str() + 8);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) ++now.mappings;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd"))
        ++now.handles;
    return now;
}

// The host keeps the BLAS, as one that uses it would: a BLAS of many threads takes its time to start.
void reload(const std::string& path, int times) {
    void* const blas = dlopen("libblas.so.3", RTLD_NOW);
    const int settled = times / 10; // what loading keeps is there by then
    answers first;
    usage before;
    for (int i = 0; i < times; ++i) {
        const loaded library = load(path, RTLD_LOCAL);
        const answers all = ask(library);
        if (i == 0) first = all;
        expect(are_right(all) && std::memcmp(&all, &first, sizeof all) == 0, "answers stay");
        expect(dlclose(library.handle) == 0, "it is unloaded");
        if (i == settled) before = of_this_process();
        if (failures > 0) return;
    }
    const usage after = of_this_process();
    std::printf("%d times: %ld -> %ld KiB, %ld -> %ld mappings, %ld -> %ld handles\n", times,
                before.kilobytes, after.kilobytes, before.mappings, after.mappings, before.handles,
                after.handles);
    expect(after.handles == before.handles, "handles stay");
#if defined(QMX_HOST_HAS_OWN_ALLOCATOR) // that of a sanitizer keeps what is given back
    expect(after.mappings <= before.mappings + 4, "mappings stay");
    expect(after.kilobytes <= before.kilobytes + 512, "memory stays");
#endif
    if (blas != nullptr) dlclose(blas);
}

void load_twice(const std::string& path, const std::string& folder) {
    const std::string names[] = {folder + "/first_copy.so", folder + "/second_copy.so"};
    for (const int visibility : {RTLD_LOCAL, RTLD_GLOBAL}) {
        loaded copies[2];
        for (int i = 0; i < 2; ++i) {
            std::filesystem::copy_file(path, names[i],
                                       std::filesystem::copy_options::overwrite_existing);
            copies[i] = load(names[i], visibility);
        }
        expect(copies[0].stats != copies[1].stats, "two names are two libraries");
        const answers first = ask(copies[0]), second = ask(copies[1]), again = ask(copies[0]);
        expect(are_right(first), "the answers are right");
        expect(std::memcmp(&first, &second, sizeof first) == 0, "both give the same");
        expect(std::memcmp(&first, &again, sizeof first) == 0, "and again");
        // Both at once: each has a state of its own.
        bool are_same[2] = {true, true};
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < 2; ++i)
            threads.emplace_back([&, i] {
                for (int times = 0; times < 100; ++times) {
                    const answers now = ask(copies[i]);
                    if (std::memcmp(&now, &first, sizeof now) != 0) are_same[i] = false;
                }
            });
        for (std::thread& each : threads) each.join();
        expect(are_same[0] && are_same[1], "calls of two copies may overlap");
        for (const loaded& each : copies) dlclose(each.handle);
        for (const std::string& name : names) std::filesystem::remove(name);
    }
}

} // namespace

// ---- An allocator of the host's own ----------------------------------------------------------------

#if defined(QMX_HOST_HAS_OWN_ALLOCATOR)
namespace {

bool is_watching = false;
long asked = 0, kept = 0, failing = 0, by_new = 0;

bool is_refused() {
    const bool refused = is_watching && ++asked == failing;
    if (refused) errno = ENOMEM;
    return refused;
}
void* counted(void* memory) {
    if (is_watching && memory != nullptr) ++kept;
    return memory;
}

} // namespace

extern "C" void* malloc(std::size_t bytes) {
    if (is_refused()) return nullptr;
    return counted(__libc_malloc(bytes));
}
extern "C" void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    if (is_refused()) return nullptr;
    return counted(__libc_memalign(alignment, bytes));
}
extern "C" void free(void* memory) {
    if (is_watching && memory != nullptr) --kept;
    __libc_free(memory);
}
void* operator new(std::size_t bytes) {
    if (is_watching) ++by_new;
    void* const memory = std::malloc(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

int call_watched(const loaded& library, const std::vector<t_icdata>& points, long fail_at,
                 t_event& event) {
    const t_gamvset_user set = {6, 2, 0, 90, 100, 2};
    double distance[8], gamma[8], model[2], curve_x[100], curve_y[100];
    float summary[4];
    asked = kept = by_new = 0;
    failing = fail_at;
    is_watching = true;
    const int status = library.semivariogram(400, points.data(), &set, distance, gamma, model,
                                             curve_x, curve_y, summary, &event);
    is_watching = false;
    return status;
}

void use_own_allocator(const std::string& path) {
    const loaded library = load(path, RTLD_LOCAL);
    const answers before = ask(library);
    expect(are_right(before), "the answers are right");
    const auto points = lot();
    t_event event = {};
    expect(call_watched(library, points, 0, event) == 1, "the call succeeds");
    const long all = asked;
    std::printf("one call asked the host's malloc %ld times, its operator new %ld times\n", asked,
                by_new);
    expect(all > 4, "memory comes from the host's malloc");
    expect(by_new == 0, "operator new of the host stays its own");
    expect(kept == 0, "all of it is given back");
    for (long n = 1; n <= all; ++n) {
        expect(call_watched(library, points, n, event) == 3, "a refusal is a failure");
        expect(std::strncmp(event.c_description, "memory could not be allocated ", 30) == 0,
               "which says so");
        expect(kept == 0, "and keeps nothing");
    }
    const answers after = ask(library);
    expect(std::memcmp(&before, &after, sizeof after) == 0, "the next call is right");
    dlclose(library.handle);
}

} // namespace
#else
namespace {
void use_own_allocator(const std::string&) {
    expect(false, "this build has an allocator of its own");
}
} // namespace
#endif

int main(int argc, char** argv) {
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "reload" && argc == 4)
        reload(argv[2], std::atoi(argv[3]));
    else if (mode == "twice" && argc == 4)
        load_twice(argv[2], argv[3]);
    else if (mode == "allocator" && argc == 3)
        use_own_allocator(argv[2]);
    else
        expect(false, "usage: loading_host reload|twice|allocator LIBRARY ...");
    return failures == 0 ? 0 : 1;
}

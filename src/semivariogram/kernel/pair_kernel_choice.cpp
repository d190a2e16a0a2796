#include "semivariogram/kernel/pair_kernel.hpp"

namespace qmx::pair_kernel {

namespace {

const version* chosen_version = nullptr;

version_list find_versions() {
    version_list list = {{&version_plain}, 1};
#if defined(__x86_64__)
    // GCOVR_EXCL_START: depends on the processor; the tests run each version that it has.
    __builtin_cpu_init();
    const bool has_avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                          __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    if (version_avx2.name != nullptr && has_avx2) list.entries[list.count++] = &version_avx2;
    if (version_avx512.name != nullptr && has_avx2 && __builtin_cpu_supports("avx512f") &&
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512dq"))
        list.entries[list.count++] = &version_avx512;
        // GCOVR_EXCL_STOP
#endif
    return list;
}

} // namespace

version_list available_versions() {
    return find_versions();
}

const version& version_in_use() {
    if (chosen_version != nullptr) return *chosen_version;
    const version_list list = find_versions();
    return *list.entries[list.count - 1];
}

void use_version(const version* chosen) {
    chosen_version = chosen;
}

} // namespace qmx::pair_kernel

#include "semivariogram/pair_kernel.hpp"

#include <algorithm>
#include <memory>

namespace qmx::pair_kernel {

extern const version version_plain;
extern const version version_avx2; // without a name where the compiler's target lacks them
extern const version version_avx512;

namespace {

const version* chosen_version = nullptr;

version_list find_versions() {
    version_list list = {{&version_plain}, 1};
#if defined(__x86_64__)
    __builtin_cpu_init();
    const bool has_avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                          __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    if (version_avx2.name != nullptr && has_avx2) list.entries[list.count++] = &version_avx2;
    if (version_avx512.name != nullptr && has_avx2 && __builtin_cpu_supports("avx512f") &&
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512dq"))
        list.entries[list.count++] = &version_avx512;
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

bool waiting_pairs::reserve(i64 number_of_classes) {
    constexpr i64 line = 64 / sizeof(f32);
    columns = number_of_classes + 1;
    storage_ = work_array<f32>(2 * columns * room_of_class + line);
    if (!storage_) return false;
    void* first = storage_.data();
    std::size_t space = sizeof(f32) * static_cast<std::size_t>(storage_.size());
    cells = static_cast<f32*>(std::align(64, 1, first, space));
    for (i64 k = 0; k < columns; ++k) next[k] = cells + 2 * k * room_of_class;
    return true;
}

i64 waiting_pairs::most_waiting() const {
    i64 found = 0;
    for (i64 k = 0; k < columns; ++k)
        found = std::max<i64>(found, (next[k] - cells) / 2 - k * room_of_class);
    return found;
}

} // namespace qmx::pair_kernel

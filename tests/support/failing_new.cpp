#include "support/failing_new.hpp"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

bool watching = false;
long failing = 0;
long asked = 0;
long kept = 0;

void* allocate(std::size_t bytes) noexcept {
    if (watching && ++asked == failing) return nullptr;
    void* memory = std::malloc(bytes > 0 ? bytes : 1);
    if (watching && memory != nullptr) ++kept;
    return memory;
}

#if !defined(_WIN32)
void* allocate(std::size_t bytes, std::align_val_t alignment) noexcept {
    if (watching && ++asked == failing) return nullptr;
    const auto unit = static_cast<std::size_t>(alignment);
    void* memory = std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit);
    if (watching && memory != nullptr) ++kept;
    return memory;
}
#endif

void release(void* memory) noexcept {
    if (watching && memory != nullptr) --kept;
    std::free(memory);
}

void* allocate_or_throw(std::size_t bytes) {
    void* memory = allocate(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t bytes) {
    return allocate_or_throw(bytes);
}
void* operator new[](std::size_t bytes) {
    return allocate_or_throw(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocate(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocate(bytes);
}
// Windows gives back aligned memory by another function than malloc's: there it is not watched.
#if !defined(_WIN32)
void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(bytes, alignment);
}
void* operator new[](std::size_t bytes, std::align_val_t alignment,
                     const std::nothrow_t&) noexcept {
    return allocate(bytes, alignment);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
#endif
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

namespace support {

void fail_allocation(long n) {
    failing = n;
    asked = kept = 0;
    watching = true;
}

allocation_count stop_failing() {
    watching = false;
    return {asked, kept};
}

} // namespace support

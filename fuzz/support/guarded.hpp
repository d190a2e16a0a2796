// Arrays of exactly the stated length, with a pattern to either side and in what nobody has written yet.
// AddressSanitizer sees each access beyond them; without it the pattern shows what was written there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/property.hpp"

#if QMX_IC_FUZZ_ASAN // the library is watched, this is not
#include <sanitizer/asan_interface.h>
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#define QMX_IC_FUZZ_ASAN 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define QMX_IC_FUZZ_ASAN 1
#endif

namespace fuzz {

template <class Element> class guarded {
public:
    static constexpr std::size_t guard = 64;
    static constexpr int pattern = 0xA5;

    explicit guarded(std::size_t count) : count_(count), bytes_(count * sizeof(Element)) {
        block_ = static_cast<unsigned char*>(std::malloc(bytes_ + 2 * guard));
        std::memset(block_, pattern, bytes_ + 2 * guard);
        close(true);
    }
    explicit guarded(const std::vector<Element>& values) : guarded(values.size()) {
        if (!values.empty()) std::memcpy(data(), values.data(), bytes_);
    }
    ~guarded() {
        close(false);
        std::free(block_);
    }
    guarded(const guarded&) = delete;
    guarded& operator=(const guarded&) = delete;

    Element* data() { return reinterpret_cast<Element*>(block_ + guard); }
    const Element* data() const { return reinterpret_cast<const Element*>(block_ + guard); }
    std::size_t size() const { return count_; }
    Element& operator[](std::size_t i) { return data()[i]; }
    const Element& operator[](std::size_t i) const { return data()[i]; }
    const Element* begin() const { return data(); }
    const Element* end() const { return data() + count_; }

    // Whether the elements from this one on hold the pattern still.
    bool is_untouched(std::size_t from = 0) const {
        for (std::size_t i = from * sizeof(Element); i < bytes_; ++i)
            if (block_[guard + i] != pattern) return false;
        return true;
    }
    bool is_same_as(const guarded& other) const {
        return std::memcmp(data(), other.data(), bytes_) == 0;
    }
    bool is_same_as(const std::vector<Element>& values) const {
        return values.empty() || std::memcmp(data(), values.data(), bytes_) == 0;
    }

    bool are_guards_untouched() {
        close(false);
        bool untouched = true;
        for (std::size_t i = 0; i < guard; ++i)
            untouched = untouched && block_[i] == pattern && block_[guard + bytes_ + i] == pattern;
        close(true);
        return untouched;
    }

private:
    // Opens or closes the guards for all but this class.
    void close([[maybe_unused]] bool closed) {
#if QMX_IC_FUZZ_ASAN
        if (closed) {
            __asan_poison_memory_region(block_, guard);
            __asan_poison_memory_region(block_ + guard + bytes_, guard);
        } else {
            __asan_unpoison_memory_region(block_, bytes_ + 2 * guard);
        }
#endif
    }

    std::size_t count_, bytes_;
    unsigned char* block_;
};

template <class... Arrays> void require_guards(Arrays&... arrays) {
    require<"nothing beyond the arrays is written">((arrays.are_guards_untouched() && ...));
}

} // namespace fuzz

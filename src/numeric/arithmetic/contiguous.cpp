#include "numeric/arithmetic/contiguous.hpp"

#include "blas/blas.hpp"

namespace qmx::numeric {
namespace {

void gather(const array_view<const f32>& view, f32* copy) {
    constexpr std::ptrdiff_t width = sizeof(f32);
    constexpr i64 most = std::numeric_limits<i32>::max();
    const i64 step = view.stride / width;
    // The BLAS counts in 32 bits and whole elements, and reads a falling increment from its far end.
    const bool suits_blas = view.stride % width == 0 && step >= 0 && step <= most &&
                            view.extent <= most && view.extent * step <= most;
    if (suits_blas) {
        const i32 count = static_cast<i32>(view.extent);
        const i32 from = static_cast<i32>(step);
        const i32 to = 1;
        scopy_(&count, view.base, &from, copy, &to);
    } else {
        for (i64 i = 0; i < view.extent; ++i) copy[i] = view(i + 1);
    }
}

} // namespace

contiguous_elements::contiguous_elements(const array_view<const f32>& view)
    : copy_(view.is_contiguous() ? 0 : view.extent), first_(view.base) {
    if (view.is_contiguous() || !copy_) return;
    gather(view, copy_.data());
    first_ = copy_.data();
} // GCOVR_EXCL_LINE: cleans up after a throw, and nothing here throws

} // namespace qmx::numeric

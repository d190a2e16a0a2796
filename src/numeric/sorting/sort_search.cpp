#include "numeric/sorting/sort_search.hpp"

#include "numeric/errors/numeric_frame.hpp"
#include "numeric/sorting/quicksort.hpp"

namespace qmx::numeric {

namespace {

constexpr std::string_view too_few_integers =
    "The length of vectors IA, IB, and IPERM must be greater than or equal to one.  On input the "
    "length, N, is given as %(I1).";
constexpr std::string_view too_few_reals =
    "The length of vectors RA, RB and IPERM must be greater than or equal to one.  On input the "
    "length, N, is given as %(I1).";

template <class Key, class Permutation>
void sorted_copy(std::string_view name, std::string_view too_few, i32 n, const Key* a, Key* b,
                 Permutation permutation) {
    const numeric_frame frame(name);
    if (n < 1) {
        E1STI(1, n);
        post(type_terminal, 1, too_few);
        return;
    }
    if (a != b) std::copy_n(a, n, b);
    quicksort(b, permutation, n);
}

} // namespace

void SVIGP(const i32& N, const i32* IA, i32* IB, i32* IPERM) {
    sorted_copy("SVIGP ", too_few_integers, N, IA, IB, IPERM);
}

void SVRGP(const i32& N, const f32* RA, f32* RB, i32* IPERM) {
    sorted_copy("SVRGP ", too_few_reals, N, RA, RB, IPERM);
}

void DSVRGP(const i32& N, const f64* RA, f64* RB, i32* IPERM) {
    sorted_copy("DSVRGP ", too_few_reals, N, RA, RB, IPERM);
}

void DSVRGN(const i32& N, const f64* RA, f64* RB) {
    sorted_copy("DSVRGN ", too_few_reals, N, RA, RB, no_permutation());
}

void ISRCH(const i32& N, const i32& KEY, const i32* IX, const i32& INCX, i32& INDEX) {
    const numeric_frame frame("ISRCH ");
    if (N < 0) {
        E1STI(1, N);
        post(type_terminal, 1,
             "N = %(I1).  The length of IX, N, must be greater than or equal to 0.");
        return;
    }
    if (INCX < 1) {
        E1STI(1, INCX);
        post(type_terminal, 2,
             "INCX = %(I1).  The displacement between elements of IX, INCX, must be greater than "
             "0.");
        return;
    }
    i64 lower = 1;
    i64 upper = N;
    while (lower <= upper) {
        const i64 middle = (lower + upper) / 2;
        const i32 element = IX[(middle - 1) * INCX];
        if (KEY == element) {
            INDEX = static_cast<i32>(middle);
            return;
        }
        if (KEY < element)
            upper = middle - 1;
        else
            lower = middle + 1;
    }
    INDEX = static_cast<i32>(-lower);
}

} // namespace qmx::numeric

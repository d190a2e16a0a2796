#include "toolkit/sort_wrappers.hpp"

#include "events/event.hpp"
#include "numeric/polynomial/packed_array.hpp"
#include "numeric/sorting/sort_search.hpp"
#include "toolkit/outcome.hpp"

namespace qmx {

namespace {

template <class Key, class Sort>
i32 sort(const routine_text& self, std::string_view message, Sort sort_keys,
         const array_view<const Key>& keys, const array_view<Key>& sorted,
         const array_view<i32>& permutation) {
    numeric::ERSET(0, 0, 0);
    const i32 count = static_cast<i32>(sorted.extent);
    for (i32 i = 1; i <= count; ++i) permutation(i) = i;
    const numeric::packed_array<const Key> packed_keys(keys);
    const numeric::packed_array<Key> packed_sorted(sorted);
    const numeric::packed_array<i32> packed_permutation(permutation);
    if (!packed_keys || !packed_sorted || !packed_permutation) return fail_out_of_memory(self);
    sort_keys(count, packed_keys.data(), packed_sorted.data(), packed_permutation.data());
    packed_sorted.store_back();
    packed_permutation.store_back();
    return outcome_of(self, message);
}

} // namespace

i32 imsl_svigp(const array_view<const i32>& IA, const array_view<i32>& IB,
               const array_view<i32>& IPERM) {
    static constexpr routine_text self("imsl_svigp");
    return sort(self, "error calling imsl SVIGP", numeric::SVIGP, IA, IB, IPERM);
}

i32 imsl_SVRGP(const array_view<const f32>& RA, const array_view<f32>& RB,
               const array_view<i32>& IPERM) {
    static constexpr routine_text self("imsl_SVRGP");
    return sort(self, "error calling imsl SVRGP", numeric::SVRGP, RA, RB, IPERM);
}

i32 imsl_isrch(const i32& key, const array_view<const i32>& vector, i32& index) {
    static constexpr routine_text self("imsl_isrch");
    numeric::ERSET(0, 0, 0);
    const numeric::packed_array<const i32> packed(vector);
    if (!packed) return fail_out_of_memory(self);
    numeric::ISRCH(static_cast<i32>(vector.extent), key, packed.data(), 1, index);
    return outcome_of(self, "error calling imsl ISRCH");
}

} // namespace qmx

// The sorts against a plain transcription of their steps, on patterned and adversarial inputs, and the search.
#include "numeric/sorting/quicksort.hpp"
#include "numeric/sorting/sort_search.hpp"
#include "support/expect_error.hpp"

#include <numeric>

using namespace qmx;
using namespace qmx::numeric;

namespace {

void sort_by_permutation(const std::vector<i32>& a, std::vector<i32>& b, std::vector<i32>& p) {
    SVIGP(static_cast<i32>(a.size()), a.data(), b.data(), p.data());
}
void sort_by_permutation(const std::vector<f32>& a, std::vector<f32>& b, std::vector<i32>& p) {
    SVRGP(static_cast<i32>(a.size()), a.data(), b.data(), p.data());
}
void sort_by_permutation(const std::vector<f64>& a, std::vector<f64>& b, std::vector<i32>& p) {
    DSVRGP(static_cast<i32>(a.size()), a.data(), b.data(), p.data());
}

std::vector<i32> one_to(std::size_t n) {
    std::vector<i32> p(n);
    std::iota(p.begin(), p.end(), 1);
    return p;
}

template <class Key> struct sorted {
    std::vector<Key> keys;
    std::vector<i32> permutation;
};

template <class Key> sorted<Key> sort_of(const std::vector<Key>& keys) {
    sorted<Key> out{std::vector<Key>(keys.size()), one_to(keys.size())};
    sort_by_permutation(keys, out.keys, out.permutation);
    return out;
}

// The steps, on records of key and companion counted from 1, recursive where the routine keeps
// pending ranges.
template <class Key> struct plain_steps {
    std::vector<std::pair<Key, i32>> records;
    std::pair<Key, i32>* a;
    f32 f = 0.375F;

    explicit plain_steps(const std::vector<Key>& keys)
        : records(keys.size() + 1), a(records.data()) {
        for (std::size_t i = 1; i < records.size(); ++i) a[i] = {keys[i - 1], static_cast<i32>(i)};
        sort(1, static_cast<int>(keys.size()));
    }
    void sort(int i, int j) {
        if (j - i < 11 && i != 1) {
            for (int k = i + 1; k <= j; ++k)
                for (int m = k; m > i && a[m - 1].first > a[m].first; --m)
                    std::swap(a[m - 1], a[m]);
            return;
        }
        if (i >= j) return;
        f += f > 0.5898437F ? -0.21875F : 0.0390625F;
        const int ij = static_cast<int>(static_cast<f32>(i) + static_cast<f32>(j - i) * f);
        if (a[i].first > a[ij].first) std::swap(a[i], a[ij]);
        if (a[j].first < a[ij].first) {
            std::swap(a[j], a[ij]);
            if (a[i].first > a[ij].first) std::swap(a[i], a[ij]);
        }
        const Key pivot = a[ij].first;
        int l = j, k = i;
        while (true) {
            do l--;
            while (a[l].first > pivot);
            do k++;
            while (a[k].first < pivot);
            if (k > l) break;
            if (a[k].first != a[l].first) std::swap(a[k], a[l]);
        }
        const bool lower_is_longer = l - i > j - k;
        lower_is_longer ? sort(k, j) : sort(i, l);
        lower_is_longer ? sort(i, l) : sort(k, j);
    }
};

constexpr int many = 200000; // more takes long with sanitizers, and shows nothing new

template <class Key> class Sort : public testing::Test {};
using key_types = testing::Types<i32, f32, f64>;
TYPED_TEST_SUITE(Sort, key_types);

TYPED_TEST(Sort, TakesItsStepsSoThatEqualKeysKeepTheirKnownOrder) {
    std::mt19937 random(11);
    for (int round = 0; round < 1500; ++round) {
        const int n = 1 + static_cast<int>(random() % 400);
        const auto distinct = 1 + random() % 30;
        std::vector<TypeParam> keys(static_cast<std::size_t>(n));
        for (auto& key : keys) key = static_cast<TypeParam>(random() % distinct) - 5;
        const auto got = sort_of(keys);
        const plain_steps<TypeParam> expected(keys);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            ASSERT_EQ(got.keys[i], expected.a[i + 1].first) << "round " << round;
            ASSERT_EQ(got.permutation[i], expected.a[i + 1].second) << "round " << round;
        }
    }
}

TYPED_TEST(Sort, OrdersPatternsThatSlowOtherSorts) {
    const auto make = [](auto rule) {
        std::vector<TypeParam> keys(many);
        for (int i = 0; i < many; ++i)
            keys[static_cast<std::size_t>(i)] = static_cast<TypeParam>(rule(i));
        return keys;
    };
    const std::vector<TypeParam> inputs[] = {
        make([](int i) { return i; }),
        make([](int i) { return -i; }),
        make([](int i) { return i < many / 2 ? i : many - i; }),
        make([](int i) { return i < many / 2 ? -i : i - many; }),
        make([](int i) { return i * 7919LL % 2; }),
        make([](int i) { return i == many - 1 ? -1 : i; }),
        make([](int i) { return i % 1000; })};
    for (const auto& keys : inputs) {
        const auto got = sort_of(keys);
        EXPECT_TRUE(std::is_sorted(got.keys.begin(), got.keys.end()));
        std::vector<bool> seen(many + 1);
        for (std::size_t i = 0; i < many; ++i) {
            const auto from = static_cast<std::size_t>(got.permutation[i]);
            ASSERT_EQ(got.keys[i], keys[from - 1]);
            ASSERT_FALSE(seen[from]);
            seen[from] = true;
        }
    }
}

TYPED_TEST(Sort, LeavesEqualKeysWhereTheyAreAndSortsInPlace) {
    const auto equal = sort_of(std::vector<TypeParam>(5000, TypeParam(3)));
    EXPECT_EQ(equal.permutation, one_to(5000));

    std::vector<TypeParam> keys = {4, 1, 3, 1};
    std::vector<i32> permutation = {10, 20, 30, 40}; // exchanged, whatever it holds
    sort_by_permutation(keys, keys, permutation);
    EXPECT_EQ(keys, (std::vector<TypeParam>{1, 1, 3, 4}));
    EXPECT_EQ(permutation[2], 30);
    EXPECT_EQ(permutation[3], 10);
}

// Keys that decide their order as late as they can (M. D. McIlroy, "A killer adversary for
// quicksort", 1999).
struct adversary {
    static inline int* value; // of each key
    static inline int solid, candidate, gas;
    int id;

    static int rank(int x, int y) {
        if (value[x] == gas && value[y] == gas) value[x == candidate ? x : y] = solid++;
        if (value[x] == gas)
            candidate = x;
        else if (value[y] == gas)
            candidate = y;
        return value[x] - value[y];
    }
    friend bool operator<(adversary a, adversary b) { return rank(a.id, b.id) < 0; }
    friend bool operator>(adversary a, adversary b) { return rank(a.id, b.id) > 0; }
    friend bool operator!=(adversary a, adversary b) { return a.id != b.id; }
};

TEST(SortOf, KeysAgainstItsPivotsIsSlowButSound) {
    constexpr int n = 20000;
    adversary::gas = n;
    adversary::solid = adversary::candidate = 0;
    std::vector<int> values(n, n);
    adversary::value = values.data();
    std::vector<adversary> opponents;
    for (int i = 0; i < n; ++i) opponents.push_back({i});
    quicksort(opponents.data(), no_permutation(), n);

    std::vector<f64> keys(values.begin(), values.end());
    std::vector<f64> expected = keys;
    std::sort(expected.begin(), expected.end());
    DSVRGN(n, keys.data(), keys.data());
    EXPECT_EQ(keys, expected);
}

TEST(SortOf, KeysAloneIsThatOfTheStandardLibrary) {
    std::mt19937 random(6);
    for (i32 n = 1; n <= 300; ++n) {
        std::vector<f64> keys(static_cast<std::size_t>(n)), sorted(keys.size(), -1.0);
        for (f64& key : keys) key = static_cast<f64>(random() % static_cast<unsigned>(3 + n));
        DSVRGN(n, keys.data(), sorted.data());
        std::sort(keys.begin(), keys.end());
        ASSERT_EQ(sorted, keys);
    }
}

TEST(SortOf, KeysThatAreNoNumbersStaysWithinItsArrays) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        std::vector<f64> keys(1 + random() % 300);
        for (auto& key : keys) key = random() % 3 == 0 ? NAN : static_cast<f64>(random() % 50);
        auto permutation = sort_of(keys).permutation;
        std::sort(permutation.begin(), permutation.end());
        ASSERT_EQ(permutation, one_to(keys.size()));
    }
}

TEST(SortOf, NothingIsATerminalErrorAndNothingIsWritten) {
    ERSET(0, 0, 0);
    i32 integer = 7, place = 8;
    f32 single = 7;
    const std::string rest = " and IPERM must be greater than or equal to one.  On input the "
                             "length, N, is given as ";
    SVIGP(0, &integer, &integer, &place);
    support::expect_error(type_terminal, 1, "The length of vectors IA, IB," + rest + "0.");
    SVRGP(-3, &single, &single, &place);
    support::expect_error(type_terminal, 1, "The length of vectors RA, RB" + rest + "-3.");
    EXPECT_EQ(integer, 7);
    EXPECT_EQ(place, 8);
}

TEST(Search, FindsThePositionOrWhereItWouldBe) {
    // Of equal elements it is the first probed.
    const struct {
        std::vector<i32> elements;
        i32 stride, key, index;
    } cases[] = {{{}, 1, 4, -1},
                 {{2, 4, 6}, 1, 2, 1},
                 {{2, 4, 6}, 1, 6, 3},
                 {{2, 4, 6}, 1, 1, -1},
                 {{2, 4, 6}, 1, 5, -3},
                 {{2, 4, 6}, 1, 7, -4},
                 {{1, 9, 3, 9, 5}, 2, 5, 3},
                 {{5, 5, 5, 5}, 1, 5, 2}};
    for (const auto& c : cases) {
        i32 index = 99;
        const i32 n = (static_cast<i32>(c.elements.size()) + c.stride - 1) / c.stride;
        ISRCH(n, c.key, c.elements.data(), c.stride, index);
        EXPECT_EQ(index, c.index) << n << " elements, key " << c.key;
    }
}

TEST(Search, RefusesCountsItCannotUse) {
    ERSET(0, 0, 0);
    const i32 element = 1;
    i32 index = 99;
    ISRCH(-1, 1, &element, 0, index);
    support::expect_error(5, 1,
                          "N = -1.  The length of IX, N, must be greater than or equal to 0.");
    ISRCH(1, 1, &element, 0, index);
    support::expect_error(
        5, 2, "INCX = 0.  The displacement between elements of IX, INCX, must be greater than 0.");
    EXPECT_EQ(index, 99);
}

} // namespace

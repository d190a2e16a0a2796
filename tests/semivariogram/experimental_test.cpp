// The experimental semivariogram: the numbers of the plain loop, bit for bit.
#include "semivariogram/gamv_call.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/literal_loop.hpp"
#include "semivariogram/parameters.hpp"
#include "semivariogram/search/pair_search.hpp"
#include "semivariogram/search/window_search.hpp"
#include "support/expect_event.hpp"

using namespace gamv_test;

namespace {

// ---- Lots --------------------------------------------------------------------------------------

class lot_maker {
public:
    explicit lot_maker(unsigned seed) : generator_(seed) {}

    i32 below(i32 limit) { return static_cast<i32>(generator_() % static_cast<unsigned>(limit)); }
    f64 uniform(f64 low, f64 high) {
        return low + (high - low) * (static_cast<f64>(generator_()) / 4294967296.0);
    }
    template <class T> T one_of(std::initializer_list<T> choices) {
        return choices.begin()[below(static_cast<i32>(choices.size()))];
    }

    lot make() {
        lot data = positions(below(8) == 0 ? below(4) : 2 + below(400));
        const i32 kind = below(14);
        for (t_icdata& point : data) point.d_val = value(kind);
        if (below(6) == 0) spoil(data);
        const i32 seldom = below(3) == 0 ? 5 + below(80) : 0; // no value, or one that is trimmed
        for (t_icdata& point : data)
            if (seldom > 0 && below(seldom) == 0)
                point.d_val = one_of<f64>({nan32, 2.0e21, -inf32, 1.0e300});
        if (below(5) == 0) std::shuffle(data.begin(), data.end(), generator_);
        return data;
    }

    t_gamvset set() {
        t_gamvset set = settings(one_of({1 + below(3), 1 + below(20), 66 + below(33)}), 0);
        set.xlag = one_of(
            {0.3F, 0.6F, 0.15F, 0.5F, 1.0F, 3.0F, 0.1F, 10.0F, static_cast<f32>(uniform(0.01, 8))});
        if (below(25) == 0)
            set.xlag = one_of({0.0F, 1.0e-30F, 1.0e-18F, 1.0e-9F, 1.0e10F, 3.0e16F, 1.0e30F, inf32,
                               nan32, 1.0e-44F});
        set.xltol =
            below(20) == 0 ? set.xlag * static_cast<f32>(uniform(-0.5, 2)) : set.xlag * 0.5F;
        set.azm = one_of({0.0F, 90.0F, 45.0F, static_cast<f32>(uniform(-400, 400))});
        if (below(30) == 0) set.azm = one_of({nan32, inf32, 1.0e9F});
        if (below(2) == 0) {
            set.atol = one_of({0.0F, -1.0F, 1.0F, 10.0F, 22.5F, 45.0F, 60.0F, 89.0F, 89.999F, 90.0F,
                               180.0F, 269.9F, 270.0F, 300.0F, 360.0F, 1.0e6F});
            set.bandwh = set.bandwd =
                one_of({0.0F, 1.0e-7F, 0.15F, 0.3F, 1.0F, 2.5F, 1.0e9F, inf32, nan32});
        }
        if (below(30) == 0) set.dip = static_cast<f32>(uniform(-90, 90));
        if (below(30) == 0) set.dtol = static_cast<f32>(uniform(0, 100));
        if (below(20) == 0) set.bandwd = static_cast<f32>(uniform(0, 1.0e-6));
        if (below(12) == 0) set.tmin = one_of({70.0F, 79.0F, 80.0F, nan32});
        if (below(12) == 0) set.tmax = one_of({81.0F, 85.0F, 95.0F, nan32});
        set.isill = below(2);
        return set;
    }

private:
    lot positions(i32 count) {
        lot data;
        const f64 east = one_of({0.0, 0.0, 1000.0, 500123.4});
        const f64 north = one_of({0.0, 0.0, 2000.0, 4401234.5});
        const i32 across = 1 + below(24);
        const i32 passes = 1 + below(5);
        const i32 kind = below(10);
        const f64 scale = below(30) == 0 ? one_of({1.0e-21, 1.0e-19, 1.0e-9, 1.0e8, 1.0e18}) : 1.0;
        for (i32 i = 0; i < count; ++i) {
            f64 x = 0, y = 0;
            const i32 cell = i / passes;
            const i32 cells = std::max(1, count / passes);
            const i32 later = i % cells; // pass after pass over the same cells
            switch (kind) {
            case 0: x = 0.3 * (i / across), y = 0.5 * (i % across); break;
            case 1: x = 0.3 * (cell / across), y = 0.3 * (cell % across); break;
            case 2: x = 0.3 * (later / across), y = 0.3 * (later % across); break;
            case 3: x = 0.3 * (i % 40) + uniform(-0.02, 0.02), y = 0.5 * (i / 40); break;
            case 4: x = uniform(0, 20), y = uniform(0, 12); break;
            case 5: x = 1.0 * below(6), y = 0.5 * below(4); break;
            case 6: x = 0.25 * i, y = 0; break;
            case 7: x = y = 0; break;
            case 8: // up one path and down the next
                x = 0.3 * (i / 40 % 2 == 0 ? i % 40 : 39 - i % 40), y = 0.5 * (i / 40);
                break;
            default: x = uniform(0, 5) + (below(40) == 0 ? 4.0e6 : 0), y = uniform(0, 3); break;
            }
            data.push_back({east + scale * x, north + scale * y, 0, 1, 0});
        }
        return data;
    }

    f64 value(i32 kind) {
        switch (kind) {
        case 0: return 80.0 + below(10);
        case 1: return 80.0;
        case 2: return below(20) == 0 ? one_of<f64>({nan32, -nan32}) : uniform(60, 100);
        case 3:
            return below(10) == 0 ? one_of({1.0e21, -1.0e21, 2.0e21, -3.0e30}) : uniform(60, 100);
        case 4: return uniform(-1.0e20, 1.0e20);
        case 5: return below(15) == 0 ? one_of<f64>({inf32, -inf32, nan32}) : below(100);
        case 6: return std::ldexp(below(4), below(40)); // sums that round, many a one at a tie
        case 7: return below(9) == 0 ? std::ldexp(1, 10 * below(6)) : uniform(0, 1.0e-4);
        default: return uniform(60, 100);
        }
    }

    void spoil(lot& data) {
        for (t_icdata& point : data) {
            if (below(12) == 0) point.d_x = one_of<f64>({nan32, inf32, -inf32, 1.0e300, 3.0e38});
            if (below(12) == 0) point.d_y = one_of<f64>({nan32, inf32, -inf32, -3.0e38, 0});
        }
    }

    std::mt19937 generator_;
};

// ---- Comparison --------------------------------------------------------------------------------

bool same(f64 a, f64 b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

std::string text_of(const t_gamvset& set, const lot& data) {
    std::ostringstream text;
    text << "n " << data.size() << " nlag " << set.nlag << " xlag " << set.xlag << " xltol "
         << set.xltol << " azm " << set.azm << " atol " << set.atol << " bandwh " << set.bandwh
         << " bandwd " << set.bandwd << " dip " << set.dip << " dtol " << set.dtol << " limits "
         << set.tmin << " " << set.tmax;
    return text.str();
}

void expect_literal(const t_gamvset& set, const lot& data) {
    const auto truth = literal::accumulate(set, data);
    const auto means = literal::means(set, truth);
    const i32 count = static_cast<i32>(data.size());
    const array_view<const t_icdata> view(data.data(), count);
    const pair_kernel::version_list versions = pair_kernel::available_versions();
    for (i32 v = 0; v < versions.count; ++v) {
        pair_kernel::use_version(versions.entries[v]);
        SCOPED_TRACE(std::string(versions.entries[v]->name) + ": " + text_of(set, data));
        clear_event();
        gamv_variables variables;
        ASSERT_EQ(readparm(set, count, view, variables), 1);
        std::vector<f64> np(truth.np.size() - 1), dis(np), gam(np);
        ASSERT_TRUE(search_pairs(variables, view_of(np.data(), std::ssize(np)),
                                 view_of(dis.data(), std::ssize(np)),
                                 view_of(gam.data(), std::ssize(np))));
        const table results(set, data);
        EXPECT_EQ(results.classes, set.nlag + 2);
        EXPECT_TRUE(same(variables.sills, truth.sill));
        for (std::size_t k = 1; k < truth.np.size(); ++k) {
            SCOPED_TRACE(k);
            ASSERT_EQ(np[k - 1], truth.np[k]);
            ASSERT_TRUE(same(dis[k - 1], truth.dis[k])) << dis[k - 1] << " for " << truth.dis[k];
            ASSERT_TRUE(same(gam[k - 1], truth.gam[k])) << gam[k - 1] << " for " << truth.gam[k];
            ASSERT_TRUE(same(results.values[k - 1], means.dis[k]));
            ASSERT_TRUE(same(results.values[99 + k], means.gam[k]));
            ASSERT_EQ(results.values[199 + k], truth.np[k]);
        }
    }
    pair_kernel::use_version(nullptr);
}

void expect_literal_for_random_lots() {
    const unsigned lots = 1500;
    for (unsigned seed = 1; seed <= lots && !testing::Test::HasFatalFailure(); ++seed) {
        lot_maker maker(seed);
        const lot data = maker.make();
        SCOPED_TRACE(seed);
        expect_literal(maker.set(), data);
    }
}

TEST(PairSearch, GivesTheNumbersOfThePlainLoop) {
    expect_literal_for_random_lots();
}

// Short as they are, few of these lots would be searched window by window.
TEST(PairSearch, WindowsGiveTheNumbersOfThePlainLoop) {
    use_windows_everywhere(true);
    expect_literal_for_random_lots();
    use_windows_everywhere(false);
}

// Lots whose sums pass many powers of two, and rows that go side by side.
struct large_lot {
    const char* name;
    i32 count;
    i32 across; // points side by side; 0 puts all on one place
    i32 passes;
    bool pass_by_pass;
    bool shuffled;
    t_gamvset set;
    i32 along = 0;   // points of a path, up one and down the next; 0: none
    i32 rollers = 1; // that write in turn
    f64 odd = 0;     // value of every 70th point, unless 0
};

t_gamvset directed(t_gamvset set, f32 azm, f32 atol) {
    set.azm = azm;
    set.atol = atol;
    return set;
}

const large_lot large_lots[] = {
    {"global", 3000, 24, 1, false, false, settings(20, 1.0F)},
    {"few_classes", 2500, 24, 1, false, false, settings(1, 30.0F)},
    {"many_classes", 2500, 24, 1, false, false, settings(98, 0.15F)},
    {"directed", 2500, 24, 1, false, false, directed(settings(20, 1.0F), 30, 20)},
    {"all_on_one_place", 2500, 0, 1, false, false, settings(5, 1.0F)},
    {"passes_of_each_cell", 2800, 24, 4, false, false, settings(20, 0.6F)},
    {"cells_of_each_pass", 2800, 24, 4, true, false, settings(20, 0.6F)},
    // Distances on the borders of classes: which class depends on the pair before in the data.
    {"cells_under_the_drum", 3500, 7, 1, false, false, settings(10, 0.6F)},
    {"cells_under_the_drum_far", 3500, 40, 1, false, false, settings(40, 0.2F)},
    {"cells_shuffled", 4000, 7, 1, false, true, settings(10, 0.6F)},
    {"local_of_a_long_strip", 4000, 4, 1, false, false, settings(10, 0.3F)},
    {"local_shuffled", 4000, 4, 1, false, true, settings(10, 0.3F)},
    {"paths", 4000, 1, 1, false, false, settings(20, 0.5F), 200},
    {"paths_directed", 4000, 1, 1, false, false, directed(settings(20, 0.5F), 80, 45), 200},
    {"passes_of_paths", 4000, 1, 4, false, false, settings(20, 0.5F), 200},
    {"rollers", 6000, 1, 1, false, false, settings(10, 0.5F), 1000, 2},
    {"rollers_directed", 6000, 1, 1, false, false, directed(settings(10, 0.5F), 80, 45), 1000, 3},
    {"long_strip_shuffled", 6000, 4, 1, false, true, settings(20, 0.1F)},
    {"passes_shuffled", 6000, 2, 4, true, true, settings(5, 0.6F)},
    {"without_value", 3000, 24, 1, false, false, settings(20, 1.0F), 0, 1, nan32},
    {"without_value_directed", 3000, 24, 1, false, false, directed(settings(80, 0.4F), 30, 40), 0,
     1, nan32},
    {"without_value_shuffled", 5000, 4, 1, false, true, settings(70, 0.1F), 0, 1, nan32},
    {"trimmed", 3000, 24, 4, false, false, settings(98, 0.15F), 0, 1, 2.0e21},
    {"trimmed_shuffled", 5000, 4, 1, false, true, settings(20, 0.1F), 0, 1, -2.0e21}};

class LargeLot : public testing::TestWithParam<large_lot> {};

TEST_P(LargeLot, GivesTheNumbersOfThePlainLoop) {
    const large_lot& row = GetParam();
    std::mt19937 generator(11);
    lot data;
    const i32 cells = row.count / row.passes;
    for (i32 i = 0; i < row.count; ++i) {
        const i32 cell = row.pass_by_pass ? i % cells : i / row.passes;
        f64 x = row.across == 0 ? 3.0 : 0.3 * (cell / row.across);
        f64 y = row.across == 0 ? 4.0 : 0.3 * (cell % row.across);
        if (row.along > 0) {
            const i32 path = cell / row.along;
            const i32 place = cell % row.along;
            x = 0.3 * (path % 2 == 0 ? place : row.along - 1 - place);
            y = 0.5 * path;
        }
        const f64 value = 60 + static_cast<f64>(generator()) / 1.0e8;
        data.push_back({x, y, row.odd != 0 && i % 70 == 3 ? row.odd : value, 1, 0});
    }
    if (row.rollers > 1) {
        const lot by_roller = data;
        const auto each = data.size() / static_cast<std::size_t>(row.rollers);
        for (std::size_t i = 0; i < data.size(); ++i)
            data[i] = by_roller[i % static_cast<std::size_t>(row.rollers) * each +
                                i / static_cast<std::size_t>(row.rollers)];
    }
    if (row.shuffled) std::shuffle(data.begin(), data.end(), generator);
    expect_literal(row.set, data);
}

INSTANTIATE_TEST_SUITE_P(PairSearch, LargeLot, testing::ValuesIn(large_lots),
                         [](const auto& row) { return std::string(row.param.name); });

// Long stretches of points in range, with points far away between them, and values and settings that the
// kernel leaves to the plain rule.
TEST(PairSearch, LongStretchesGiveTheNumbersOfThePlainLoop) {
    std::mt19937 generator(12);
    lot data;
    for (const i32 length : {1150, 800, 1100})
        for (i32 i = 0; i < length; ++i)
            data.push_back({(length == 800 ? 1.0e4 : 0.01 * length) + 0.3 * (i / 24),
                            0.3 * (i % 24), 60 + static_cast<f64>(generator()) / 1.0e8, 1, 0});
    const t_gamvset usual = settings(20, 1.5F);
    expect_literal(usual, data);
    use_windows_everywhere(true);
    expect_literal(usual, data);
    use_windows_everywhere(false);
    expect_literal(directed(usual, 30, 20), data);
    t_gamvset set = usual;
    set.dtol = nan32; // accepts coincident points alone
    expect_literal(set, data);
    lot odd = data;
    odd[7].d_val = static_cast<f64>(std::bit_cast<f32>(pair_kernel::trimmed_bits)); // a NaN
    expect_literal(usual, odd);
    set = usual;
    set.tmin = -inf32;
    odd[7].d_val = -inf64;
    expect_literal(set, odd);
}

// ---- Known numbers -----------------------------------------------------------------------------

TEST(LagClasses, BorderBelongsToTheLowerClass) {
    const t_gamvset set = settings(3, 1.0F);
    const lot data = {{0, 0, 0, 1, 0}, {1.5, 0, 1, 1, 0}};
    const table result(set, data);
    EXPECT_EQ(result.pairs(3), 2);
    EXPECT_EQ(result.pairs(4), 0);
    const lot longest = {{0, 0, 0, 1, 0}, {3.5, 0, 1, 1, 0}};
    EXPECT_EQ(table(set, longest).pairs(5), 2);
}

TEST(LagClasses, CoincidentPairAfterAFarOneLosesTheRestOfItsRow) {
    // Row 1 meets a point 3 lags away, then its own place again, then points 1 and 2 lags away.
    const t_gamvset set = settings(4, 1.0F);
    const lot data = {{0, 0, 0, 1, 0}, {3, 0, 0, 1, 0}, {0, 0, 0, 1, 0}, {1, 0, 0, 1, 0}};
    const table result(set, data);
    EXPECT_EQ(result.pairs(1), 2 * 5); // itself, and one coincident pair
    EXPECT_EQ(result.pairs(3), 2);     // of points 3 and 4; that of 1 and 4 is lost
    EXPECT_EQ(result.pairs(4), 2);     // of points 2 and 4
    EXPECT_EQ(result.pairs(5), 4);     // of points 1 and 2, 2 and 3
    lot reordered = {data[0], data[2], data[1], data[3]};
    EXPECT_EQ(table(set, reordered).pairs(3), 4);
}

TEST(Parameters, KindsAreHalvedAndStandardisedOrRefused) {
    const lot data = {{0, 0, 1, 1, 0}, {1, 0, 4, 1, 0}, {2, 0, 2, 1, 0}};
    const f64 variance = 14.0 / 9.0, mean_square = (9.0 + 4.0) / 2; // of neighbours
    const struct {
        i32 kind, isill, head;
        f64 expected;
    } rows[] = {{1, 0, 1, 0.5 * mean_square},
                {1, 1, 1, 0.5 * mean_square / variance},
                {1, 1, 2, 0.5 * mean_square},
                {2, 1, 1, 0.5 * mean_square},
                {3, 0, 1, mean_square}};
    for (const auto& row : rows) {
        t_gamvset set = settings(2, 1.0F);
        set.ivtype = row.kind;
        set.isill = row.isill;
        set.ivhead = row.head;
        EXPECT_NEAR(table(set, data).semivariance(3), row.expected, 1e-14) << row.kind;
    }
    for (const i32 kind : {9, 10, 1}) {
        t_gamvset set = settings(2, 1.0F);
        set.ivtype = kind;
        if (kind == 1) set.bandwd = -1;
        clear_event();
        gamv_variables variables;
        EXPECT_EQ(readparm(set, 3, view_of(data.data(), 3), variables), 3);
        support::expect_event(kind == 1 ? "vertical bandwidth is too small"
                                        : "i_vgmtype_indsemivgmcont and i_vgmtype_indsemivgmcate "
                                          "are not implemented yet",
                              "readparm");
    }
}

TEST(LagClasses, PlacesThatCollapseIn32BitsCoincide) {
    const lot data = {{4401234.51, 0, 1, 1, 0}, {4401234.55, 0, 3, 1, 0}};
    const table result(settings(2, 0.1F), data);
    EXPECT_EQ(result.pairs(1), 6);
    EXPECT_EQ(result.semivariance(1), 8.0 / 12);
}

} // namespace

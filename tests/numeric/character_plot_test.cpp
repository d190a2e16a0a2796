// The drawn plot is parsed: which characters stand at which labels.
#include "numeric/errors/print_options.hpp"
#include "numeric/plot/character_plot.hpp"
#include "support/expect_error.hpp"

#include <clocale>

using namespace qmx;
using namespace qmx::numeric;

namespace {

using plot_lines = std::vector<std::string>;

plot_lines plot(const std::vector<f32>& x, const std::vector<f32>& y) {
    plot_lines drawn;
    const auto collect = [](void* context, std::string_view line) {
        static_cast<plot_lines*>(context)->emplace_back(line);
    };
    ERSET(0, 0, 0);
    SCTP(static_cast<i32>(x.size()), x.data(), y.data(), "Title", "Across", "Upwards",
         {collect, &drawn});
    return drawn;
}

constexpr std::size_t header_lines = 3, other_lines = 6, left = 14;

std::size_t field_lines(const plot_lines& drawn) {
    return drawn.size() - other_lines;
}

struct point {
    std::size_t line, column;
    char symbol;
    bool operator==(const point&) const = default;
};

// What stands inside the frame; line 0 and column 0 are at the lower left corner.
std::vector<point> points_in(const plot_lines& drawn) {
    std::vector<point> found;
    for (std::size_t i = 0; i < field_lines(drawn); ++i) {
        const std::string& text = drawn.at(header_lines + i);
        for (std::size_t j = left; j + 1 < text.size(); ++j)
            if (text[j] != ' ') found.push_back({field_lines(drawn) - 1 - i, j - left, text[j]});
    }
    return found;
}

std::vector<f64> numbers_in(const std::string& text) {
    std::vector<f64> numbers;
    std::size_t used = 0;
    for (std::size_t at = text.find_first_not_of(' '); at != std::string::npos;
         at = text.find_first_not_of(' ', at + used))
        numbers.push_back(std::stod(text.substr(at), &used));
    return numbers;
}

TEST(CharacterPlot, PointsStandAtTheirLabels) {
    const plot_lines drawn = plot({0, 1, 3, 6, 6}, {-10, 20, 50, -10, 50});
    ASSERT_EQ(drawn.size(), 25U + other_lines);
    EXPECT_EQ(drawn[0], std::string(42, ' ').append("Title"));
    EXPECT_EQ(drawn[1], "Upwards");
    EXPECT_EQ(drawn[2], std::string(left, ' ').append(
                            "+---------+---------+---------+---------+---------+---------+"));
    EXPECT_EQ(drawn[header_lines + field_lines(drawn)], drawn[2]);
    EXPECT_EQ(drawn.back(), std::string(41, ' ').append("Across"));
    EXPECT_EQ(numbers_in(drawn[header_lines + field_lines(drawn) + 1]),
              (std::vector<f64>{0, 1, 2, 3, 4, 5, 6}));
    std::vector<f64> upwards;
    for (std::size_t i = 0; i < field_lines(drawn); i += 4)
        upwards.push_back(std::stod(drawn[header_lines + i]));
    EXPECT_EQ(upwards, (std::vector<f64>{50, 40, 30, 20, 10, 0, -10}));

    EXPECT_EQ(points_in(drawn),
              (std::vector<point>{
                  {24, 30, '*'}, {24, 60, '*'}, {12, 10, '*'}, {0, 0, '*'}, {0, 60, '*'}}));
}

TEST(CharacterPlot, CountsPointsAtOnePlace) {
    std::vector<f32> x = {0, 5, 5}, y = {0, 5, 5};
    for (int i = 0; i < 9; ++i) x.push_back(10), y.push_back(10);
    EXPECT_EQ(points_in(plot(x, y)).at(0).symbol, '9');
    x.push_back(10), y.push_back(10);
    const std::vector<point> found = points_in(plot(x, y));
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].symbol, '#');
    EXPECT_EQ(found[1].symbol, '2');
    EXPECT_EQ(found[2].symbol, '*');
}

TEST(CharacterPlot, EveryRangeGetsAnAxisThatHoldsIt) {
    constexpr f32 most = std::numeric_limits<f32>::max();
    const std::vector<f32> rows[] = {{7},
                                     {0},
                                     {-3, -3, -3},
                                     {1, std::nextafter(1.0F, 2.0F)},
                                     {0, 1e-45F},
                                     {-most, most},
                                     {0.1F, 0.3F, 0.7F},
                                     {-0.001F, 2.9F},
                                     {123456.7F, 123457.9F}};
    for (const auto& values : rows) {
        SCOPED_TRACE(testing::PrintToString(values));
        const plot_lines drawn = plot(values, values);
        ASSERT_GT(drawn.size(), other_lines);
        EXPECT_FALSE(points_in(drawn).empty());
        std::vector<f64> labels = numbers_in(drawn[header_lines + field_lines(drawn) + 1]);
        const f64 slack = 1e-6 * std::max(std::abs(labels.front()), std::abs(labels.back()));
        for (const f32 value : values) {
            EXPECT_GE(f64{value}, labels.front() - slack);
            EXPECT_LE(f64{value}, labels.back() + slack);
        }
        for (const std::string& line : drawn) EXPECT_LE(line.size(), 78U);
    }
}

TEST(CharacterPlot, IsTheSameInEveryLocale) {
    const plot_lines usual = plot({0.5F, 1.25F}, {0.1F, 0.7F});
    const char* found = nullptr; // one that writes decimal commas
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"})
        if (found == nullptr) found = std::setlocale(LC_NUMERIC, name);
    if (found == nullptr) GTEST_SKIP() << "no locale with decimal commas is installed";
    const plot_lines elsewhere = plot({0.5F, 1.25F}, {0.1F, 0.7F});
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(elsewhere, usual);
}

TEST(CharacterPlot, FillsThePageWidth) {
    const i32 usual = page_width();
    for (const auto& [width, columns] : {std::pair(47, 31U), std::pair(140, 121U)}) {
        i32 page = width;
        PGOPT(-1, page);
        const plot_lines drawn = plot({0, width == 47 ? 3.0F : 6.0F}, {0, 1});
        EXPECT_EQ(drawn[2].size(), left + columns) << width;
        EXPECT_EQ(points_in(drawn).size(), 2U);
    }
    i32 back = usual;
    PGOPT(-1, back);
}

TEST(CharacterPlot, LeavesOutWhatIsNotFiniteAndRefusesToDrawNothing) {
    EXPECT_EQ(points_in(plot({0, nan32, 2, inf32, 4}, {0, 1, nan32, 3, 4})).size(), 2U);
    EXPECT_EQ(N1RTY(1), 0);
    EXPECT_TRUE(plot({}, {}).empty());
    support::expect_error(type_terminal, 1, "NOBS = 0.  There must be at least one point.");
    EXPECT_TRUE(plot({1, inf32}, {nan32, 1}).empty());
    support::expect_error(type_terminal, 2, "None of the 2 points has finite coordinates.");
}

} // namespace

// Texts of fixed size: what numbers look like in them, in the C locale and in one with a decimal comma.
#include "base/bounded_text.hpp"
#include "support/scratch_folder.hpp"
#include "support/test.hpp"

#include <clocale>

using namespace qmx;

namespace {

std::string field(f64 value, int width, int decimals) {
    bounded_text<512> text;
    text.append_field(value, width, decimals);
    return std::string(text.view());
}

std::string significant(f64 value, int width, int digits) {
    bounded_text<512> text;
    text.append_significant(value, width, digits);
    return std::string(text.view());
}

template <class... Arguments> std::string printed(const char* format, Arguments... arguments) {
    char text[512];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

TEST(BoundedText, WritesNumbersAsTheCLibraryDoesInTheCLocale) {
    std::vector<f64> values = {0.0,          -0.0,      0.5,
                               1.5,          2.5,       999999.5,
                               999999.4,     1e-4,      9.9999949e-5,
                               9.9999951e-5, 1e5,       123456,
                               1e300,        -1e-300,   5e-324,
                               INFINITY,     -INFINITY, std::numeric_limits<f64>::max(),
                               std::nan("")};
    std::mt19937_64 random(8);
    for (int i = 0; i < 20000; ++i) values.push_back(std::bit_cast<f64>(random()));
    for (int i = 0; i < 20000; ++i)
        values.push_back(static_cast<f64>(i64(random() % 2000001) - 1000000) / 64);
#if defined(_WIN32) // where a NaN has no sign
    std::erase_if(values, [](f64 value) { return std::isnan(value) && std::signbit(value); });
#endif
    for (const f64 value : values) {
        EXPECT_EQ(field(value, 13, 3), printed("%13.3f", value));
        EXPECT_EQ(field(value, 12, 0), printed("%12.0f", value));
        const std::string expected = printed("%#12.6g", value);
        if (expected.find(".e") == std::string::npos) { // glibc drops zeros of a rounded-up 9
            EXPECT_EQ(significant(value, 12, 6), expected);
        }
    }
    EXPECT_EQ(significant(999999.5, 12, 6), " 1.00000e+06");
    bounded_text<64> text;
    for (const i32 value : {0, 7, -12345, std::numeric_limits<i32>::min()})
        text.append_field(value, 5);
    EXPECT_EQ(text.view(), printed("%5d%5d%5d%5d", 0, 7, -12345, std::numeric_limits<i32>::min()));
}

TEST(BoundedText, CutsWhatDoesNotFit) {
    bounded_text<4> text;
    text.append_field(-2.25, 6, 2);
    EXPECT_EQ(text.view(), " -2.");
}

#if defined(__GLIBC__)
TEST(BoundedText, KeepsTheDecimalPointInEveryLocale) {
    const support::scratch_folder folder;
    const std::string locale = (folder.path() / "comma").string();
    if (std::system(("localedef -i de_DE -f UTF-8 " + locale + " 2> /dev/null").c_str()) != 0)
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    const support::environment_variable place("LOCPATH", folder.path().c_str());
    const std::string before = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "comma"), nullptr);
    const std::string by_library = printed("%.1f", 0.5);
    const std::string fixed = field(1234.5, 0, 2), digits = significant(1234.5, 0, 6);
    std::setlocale(LC_ALL, before.c_str());
    ASSERT_EQ(by_library, "0,5");
    EXPECT_EQ(fixed, "1234.50");
    EXPECT_EQ(digits, "1234.50");
}
#endif

} // namespace

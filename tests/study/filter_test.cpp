// The conditions of --where: by a table of answers, and against the filter language of GDAL.
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/lot/filter_expression.hpp"

#if QMX_IC_WITH_GDAL
#include <ogrsf_frmts.h>
#endif

namespace {

using namespace qmx_study;

// Columns: x and CMV hold numbers, g and "a b" texts. FID is the number of the row, from 1.
struct row {
    double x, cmv;       // NaN: missing
    const char *g, *a_b; // null: missing
};
const row rows[] = {{1, 3, "a", "North"},    {2, NAN, "B", "it's"},      {5, 4, "ab", "50%"},
                    {6, NAN, nullptr, ""},   {7, 9, "A_b", "Nord-West"}, {-2.5, 0, "é", "a%b"},
                    {0, 1e6, "abc", nullptr}};
const char* const names[] = {"x", "CMV", "g", "a b"};

filter_expression::column column_named(std::string_view name) {
    for (int i = 0; i < 4; ++i)
        if (name == names[i]) return {i, i < 2};
    return {-1, false};
}

std::string kept(const std::string& text) {
    const filter_expression filter(text, column_named);
    std::string numbers;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const bool holds = filter.holds([&](int column) -> filter_value {
            if (column == filter_expression::record_number)
                return {false, static_cast<double>(i + 1), {}};
            if (column < 2) {
                const double number = column == 0 ? rows[i].x : rows[i].cmv;
                return {std::isnan(number), number, {}};
            }
            const char* const field = column == 2 ? rows[i].g : rows[i].a_b;
            return {field == nullptr, 0, field ? field : ""};
        });
        if (holds) numbers += static_cast<char>('1' + i);
    }
    return numbers;
}

struct filter_case {
    const char *text, *rows;
};
const filter_case cases[] = {{"CMV > 3", "357"},
                             {"NOT CMV > 3", "1246"}, // a comparison with a missing field fails
                             {"CMV > 3 OR x = 2", "2357"},
                             {"NOT (CMV > 3 AND x > 0)", "12467"},
                             {"CMV IS NULL", "24"},
                             {"NOT CMV IS NULL", "13567"},
                             {"g IS NOT NULL AND CMV IS NULL", "2"},
                             {"CMV <> 3", "3567"},
                             {"CMV NOT IN (3, 4)", "24567"},
                             {"CMV IN (3, NULL)", ""},
                             {"CMV NOT BETWEEN 3 AND 4", "24567"},
                             {"g = 'b'", "2"},
                             {"g < 'B'", "1357"},
                             {"g LIKE 'a%'", "137"},
                             {"g LIKE 'A!_b' ESCAPE '!'", "5"},
                             {"g ILIKE 'A%'", "1357"},
                             {"g LIKE '_'", "126"},
                             {"\"a b\" LIKE '%!%%' ESCAPE '!'", "36"},
                             {"\"a b\" = 'it''s' OR `a b` = ''", "24"},
                             {"x BETWEEN 2 AND '6'", "234"},
                             {"x IN (1, '2', .5)", "12"},
                             {"x = 1 OR x = 2 AND g = 'q'", "1"},
                             {"NOT x = 1 AND x < 3", "267"},
                             {"-x < -5 and x % 2 = 1", "5"},
                             {"(x + 1) * 2 >= 3e0 - 1 - 1", "123457"},
                             {"x / 0 > 1 OR FID => 6", "67"},
                             {"not not fid != 1", "234567"}};

TEST(Filter, KeepsTheRowsOfItsCondition) {
    for (const filter_case& each : cases) EXPECT_EQ(kept(each.text), each.rows) << each.text;
    const filter_expression filter("CMV > x AND (g = 'a' OR CMV < 3) AND FID > 1", column_named);
    EXPECT_EQ(filter.columns(), (std::vector<int>{0, 1, 2}));
}

TEST(Filter, RefusesWhatItCannotAnswer) {
    const std::pair<const char*, const char*> faults[] = {
        {"Gaer = 'On'", "\"Gaer\" is not one of the columns"},
        {"CMV >", "a column, a number or a text is wanted at its end"},
        {"CMV", "a condition is wanted"},
        {"1", "a condition is wanted"},
        {"CMV > 1 > 2", "AND, OR or nothing is wanted behind \"CMV > 1\""},
        {"(CMV > 1) = (x = 2)", "not conditions"},
        {"g = 3", "a column of texts is compared with a number"},
        {"CMV = 'high'", "'high' is no number"},
        {"CMV LIKE '3%'", "LIKE compares texts"},
        {"g + 1 = 2", "arithmetic takes numbers"},
        {"CMV IS 3", "NULL is wanted"},
        {"CMV NOT 3", "IN, BETWEEN or LIKE is wanted"},
        {"CMV IN 3", "a list in parentheses is wanted"},
        {"(CMV > 3", "\")\" is wanted"},
        {"g = 'On", "is not closed"},
        {"x = 0x1", "\"0x1\" is not a number"},
        {"x > 1 ; DROP", "AND, OR or nothing"}};
    for (const auto& [text, message] : faults) {
        try {
            kept(text);
            ADD_FAILURE() << text;
        } catch (const usage_error& error) {
            EXPECT_NE(std::string(error.what()).find(message), std::string::npos)
                << text << ": " << error.what();
            EXPECT_EQ(error.place.option, "--where");
        }
    }
    EXPECT_THROW(kept(std::string(100000, '(')), usage_error);
    std::string nots;
    for (int i = 0; i < 10000; ++i) nots += "NOT ";
    EXPECT_THROW(kept(nots + "x = 1"), usage_error);
}

#if QMX_IC_WITH_GDAL
// Random conditions. GDAL takes FID for 0 within lists and
// ranges, and a byte for a character in LIKE: both are left out.
class random_condition {
public:
    explicit random_condition(unsigned seed) : generator(seed) {}

    std::string condition(int depth) {
        const unsigned kind = pick(depth > 0 ? 10 : 7);
        switch (kind) {
        case 0:
            return one_of({"FID", number(), number()}) +
                   one_of({" = ", " <> ", " < ", " <= ", " > ", " >= "}) + number();
        case 1: return text() + one_of({" = ", " <> ", " < ", " <= ", " > ", " >= "}) + text();
        case 2: return number() + denied() + " BETWEEN " + number() + " AND " + number();
        case 3: return text() + denied() + " IN (" + text() + ", " + text() + ")";
        case 4: return number() + denied() + " IN (" + number() + ", " + number() + ")";
        case 5:
            return one_of({"g", "\"a b\""}) + denied() + one_of({" LIKE ", " ILIKE "}) +
                   one_of({"'a%'", "'%b'", "'a_'", "'%A%'", "'n%t'", "'%'", "'%_b%'", "''"});
        case 6: return one_of({"x", "CMV", "g", "\"a b\""}) + one_of({" IS NULL", " IS NOT NULL"});
        case 7: return "NOT " + text() + " = " + text();
        case 8: return "NOT (" + condition(depth - 1) + ")";
        default:
            return "(" + condition(depth - 1) + ")" + one_of({" AND ", " OR "}) +
                   condition(depth - 1);
        }
    }

private:
    std::mt19937 generator;
    unsigned pick(unsigned count) { return static_cast<unsigned>(generator() % count); }
    std::string one_of(const std::vector<std::string>& texts) {
        return texts[pick(static_cast<unsigned>(texts.size()))];
    }
    std::string denied() { return one_of({"", " NOT"}); }
    std::string number() {
        return one_of({"x", "CMV", "x", "CMV", "3", "5.5", "-2.5", "0", "x + 1", "CMV * 2",
                       "x - CMV", "7 - x", "x % 3", "-x"});
    }
    std::string text() {
        return one_of({"g", "\"a b\"", "g", "'a'", "'B'", "'ab'", "'north'", "''", "'it''s'"});
    }
};

TEST(Filter, AnswersAsThatOfGdalDoes) {
    OGRFeatureDefn definition("rows");
    definition.Reference();
    for (int i = 0; i < 4; ++i) {
        OGRFieldDefn field(names[i], i < 2 ? OFTReal : OFTString);
        definition.AddFieldDefn(&field);
    }
    random_condition random(5);
    for (int round = 0; round < 20000; ++round) {
        const std::string text = random.condition(2);
        OGRFeatureQuery query;
        ASSERT_EQ(query.Compile(&definition, text.c_str()), OGRERR_NONE) << text;
        std::string wanted;
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            OGRFeature feature(&definition);
            feature.SetFID(static_cast<GIntBig>(i + 1));
            std::isnan(rows[i].x) ? feature.SetFieldNull(0) : feature.SetField(0, rows[i].x);
            std::isnan(rows[i].cmv) ? feature.SetFieldNull(1) : feature.SetField(1, rows[i].cmv);
            rows[i].g ? feature.SetField(2, rows[i].g) : feature.SetFieldNull(2);
            rows[i].a_b ? feature.SetField(3, rows[i].a_b) : feature.SetFieldNull(3);
            if (query.Evaluate(&feature)) wanted += static_cast<char>('1' + i);
        }
        ASSERT_EQ(kept(text), wanted) << text;
    }
}
#endif

} // namespace

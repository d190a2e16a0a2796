// Rows taken straight out of the text are the rows that the careful reader reads: same points, same account,
// same words, wherever blocks of the text end and however many threads there are.
#include <charconv>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/base/short_number.hpp"
#include "study/document/answer_parts.hpp"
#include "study/document/json.hpp"
#include "study/lot/load.hpp"
#include "study/table/text_records.hpp"
#include "support/case_count.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::gzipped;
using study_test::temporary_file;

// Everything that a reading tells, the bits of the points too.
std::string outcome(const reading_options& options, const reading_needs& needs) {
    progress quiet;
    try {
        const loaded_lot lot = load(options, needs, quiet);
        json document;
        add_reading(document, account_of(lot));
        std::string told = text_of(document);
        for (std::size_t i = 0; i < lot.data.points.size(); ++i) {
            t_icdata point = lot.data.points[i];
            if (std::isnan(point.d_x)) point.d_x = std::nan("");
            if (std::isnan(point.d_y)) point.d_y = std::nan("");
            if (std::isnan(point.d_val)) point.d_val = std::nan("");
            char bits[sizeof point];
            std::memcpy(bits, &point, sizeof point);
            told.append(bits, sizeof bits);
            told += lot.place(lot.data.records[i]);
        }
        const table_source& source = lot.source();
        return told + fmt::format("{} rows, {} odd", source.rows, source.part(0).lines.odd.size());
    } catch (const usage_error& error) {
        return fmt::format("{} [{} {} {}]", error.what(), error.place.option, error.place.file,
                           error.place.line);
    }
}

class pieces_for_a_test {
public:
    pieces_for_a_test() : before(pieces_of_text()) {}
    ~pieces_for_a_test() { pieces_of_text() = before; }
    pieces_for_a_test(const pieces_for_a_test&) = delete;
    pieces_for_a_test& operator=(const pieces_for_a_test&) = delete;

private:
    text_pieces before;
};

class text_maker {
public:
    explicit text_maker(unsigned seed) : random(seed) {}

    std::size_t below(std::size_t count) { return random() % count; }
    bool once_in(std::size_t count) { return below(count) == 0; }

    std::string number(double least, double most) {
        const double share = static_cast<double>(random()) / 4294967296.0;
        const double value = least + share * (most - least);
        return fmt::format("{:.{}f}", value, below(5));
    }

    std::string odd_field() {
        const char* const fields[] = {"",
                                      "-9999",
                                      "NA",
                                      "1e5",
                                      "+5",
                                      "5.",
                                      ".5",
                                      " 7 ",
                                      "\"8\"",
                                      "\"a,b\"",
                                      "x",
                                      "3 m",
                                      "12 km/h",
                                      "low (4)",
                                      "-",
                                      "1e400",
                                      "3e38",
                                      "1.7e38",
                                      "\t2",
                                      "é",
                                      "\xA0 9",
                                      "4O.2",
                                      "\"",
                                      "a\"b",
                                      "12345678901234567890.5",
                                      "-0.0",
                                      "1,5",
                                      "\"two\nlines\"",
                                      "0x1F",
                                      "-999",
                                      "9007199254740993",
                                      "1.2.3",
                                      "2025-10-01",
                                      "361",
                                      "1e13"};
        return fields[below(std::size(fields))];
    }

    // dirt: of so many fields one is odd.
    std::string text(std::size_t rows, std::size_t dirt) {
        const char separator = ",;\t"[below(3)];
        const std::string end = once_in(3) ? "\r\n" : "\n";
        const bool has_time = once_in(2), has_two = once_in(2), has_label = once_in(4);
        std::string text;
        const auto add = [&](const std::string& field) { text += field + separator; };
        const auto end_row = [&] {
            if (!once_in(8 * dirt)) text.pop_back();
            text += once_in(dirt * 8) ? "\r\r\n" : end;
            if (once_in(dirt * 4))
                text += once_in(2) ? end : "#" + std::string(below(9), '"') + end;
        };
        for (const char* const name : {"x", "y", "PassCount", "CMV"}) add(name);
        if (has_two) add("RMV");
        if (has_time) add("Time");
        if (has_label) add("State");
        text.pop_back();
        text += end;
        const bool fills_first = !once_in(3);
        for (std::size_t i = 0; i < rows; ++i) {
            const auto field = [&](const std::string& sound) {
                add(once_in(dirt) ? odd_field() : sound);
            };
            field(number(1000, 1300));
            field(number(-20, 20));
            field(fmt::format("{}", below(7)));
            field(fills_first || once_in(3) ? number(0, 90) : "");
            if (has_two) field(number(5, 50));
            if (has_time) field(fmt::format("2025-10-01 {:02}:{:02}", below(24), below(60)));
            if (has_label) field(once_in(2) ? "On" : "Off");
            if (once_in(8 * dirt)) text.erase(text.size() - 1 - below(3));
            end_row();
        }
        if (once_in(4)) text.resize(text.size() - end.size());
        return text;
    }

private:
    std::mt19937 random;
};

reading_needs needs_for(text_maker& made) {
    reading_needs needs;
    constexpr need kinds[] = {need::unused, need::taken, need::complete, need::required};
    needs.position = kinds[made.below(4)];
    needs.value = kinds[made.below(4)];
    needs.pass = kinds[made.below(4)];
    needs.allow_empty = made.once_in(2);
    needs.keep_rows_without_value = made.once_in(5);
    needs.mark_missing_passes = made.once_in(3);
    needs.are_pairs = made.once_in(8);
    return needs;
}

reading_options options_for(text_maker& made, const std::string& file) {
    reading_options options;
    options.file = file;
    if (made.once_in(8)) options.comment = "#";
    if (made.once_in(12)) options.where = "CMV > 20";
    if (made.once_in(12)) options.value = "x";
    if (made.once_in(12)) options.x = "nowhere";
    if (made.once_in(12)) options.missing = {"7", "12.5"};
    if (made.once_in(12)) options.decimal = "comma";
    return options;
}

TEST(PlainReading, IsThatOfTheCarefulReader) {
    const pieces_for_a_test restored;
    const temporary_file file(".csv", ""), packed(".csv.gz", ""), second(".csv", "");
    for (unsigned seed = 0; seed < support::cases(3000); ++seed) {
        text_maker made(seed);
        constexpr std::size_t dirt[] = {3, 12, 60, 1000, 100000};
        const std::string text = made.text(made.below(90), dirt[made.below(5)]);
        const bool is_packed = made.once_in(8);
        if (is_packed)
            packed.write(gzipped(text));
        else
            file.write(text);
        reading_options options = options_for(made, is_packed ? packed.name() : file.name());
        if (made.once_in(10)) {
            second.write(made.text(made.below(40), 60));
            options.further_files = {second.name()};
        }
        const reading_needs needs = needs_for(made);
        options.is_careful = true;
        pieces_of_text() = {};
        const std::string careful = outcome(options, needs);
        options.is_careful = false;
        ASSERT_EQ(outcome(options, needs), careful) << "seed " << seed;
        pieces_of_text() = {64 + made.below(300), 1 + made.below(200), made.below(400)};
        ASSERT_EQ(outcome(options, needs), careful) << "small blocks, seed " << seed;
        options.threads = 2 + static_cast<int>(made.below(3));
        ASSERT_EQ(outcome(options, needs), careful) << "small blocks, threads, seed " << seed;
    }
}

TEST(PlainReading, MeetsBordersOfBlocksAtEachByte) {
    const pieces_for_a_test restored;
    const temporary_file file(".csv", "");
    for (unsigned seed = 0; seed < 3; ++seed) {
        text_maker made(seed);
        const std::string text = made.text(12, 15);
        file.write(text);
        reading_options options;
        options.file = file.name();
        options.is_careful = true;
        pieces_of_text() = {};
        const std::string careful = outcome(options, {});
        options.is_careful = false;
        const std::size_t head = text.find('\n') + 1;
        for (std::size_t size = 1; size < text.size() + 2; ++size) {
            pieces_of_text() = {std::max(head, size), size, 0};
            options.threads = 1 + static_cast<int>(size % 3);
            ASSERT_EQ(outcome(options, {}), careful) << "seed " << seed << ", blocks of " << size;
        }
    }
}

// More rows than are surveyed, so that the rest is counted while it is read, and large blocks.
TEST(PlainReading, OfLongFilesTellsOfTheTextBeforeAllElse) {
    const pieces_for_a_test restored;
    const temporary_file file(".csv", "");
    for (unsigned seed = 0; seed < support::cases(24, 4); ++seed) {
        text_maker made(seed);
        std::string text = made.text(14000, 500);
        std::erase(text, '"');
        if (made.once_in(3)) text += "1,2,\"3\n4,5,6,7\n" + std::string(seed, '\n');
        file.write(text);
        reading_options options = options_for(made, file.name());
        const reading_needs needs = needs_for(made);
        options.is_careful = true;
        pieces_of_text() = {};
        const std::string careful = outcome(options, needs);
        options.is_careful = false;
        for (const int threads : {1, 4}) {
            options.threads = threads;
            pieces_of_text() = {1 << 20, 5000 + made.below(5000), 20000};
            ASSERT_EQ(outcome(options, needs), careful) << "seed " << seed << ", " << threads;
        }
    }
}

TEST(ShortNumber, IsThatOfTheLongWay) {
    std::mt19937_64 random(1);
    std::int64_t taken = 0;
    for (unsigned i = 0; i < support::cases(2'000'000); ++i) {
        std::string text = fmt::format("{}", random() >> random() % 64);
        if (i % 2 == 0) text.insert(1 + random() % text.size(), ".");
        if (i % 3 == 0) text.insert(0, "-");
        if (i % 50 == 0) text[random() % text.size()] = "e+-. x"[random() % 6];
        double quick = 0, slow = 0;
        if (!read_short_number(text.data(), text.data() + text.size(), '.', quick)) continue;
        ++taken;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slow);
        ASSERT_EQ(end, text.data() + text.size()) << text;
        ASSERT_EQ(std::memcmp(&quick, &slow, sizeof slow), 0) << text;
    }
    EXPECT_GT(taken, support::cases(1'000'000));
}

} // namespace

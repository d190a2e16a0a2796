#include "study/table/plain_reading.hpp"

#include "study/table/row_crew.hpp"

namespace qmx_study {

namespace {

// A text goes on by itself when the crew has ended, however that comes about.
struct further_text {
    text_records& text;
    ~further_text() { text.further = nullptr; }
};

class row_reading {
public:
    row_reading(table_file& from, const plain_layout& wanted, const row_takers& given)
        : file(from), text(from.text_ahead()), layout(wanted), takers(given) {}

    // Ends early where so much is read. False at the end of the file.
    bool by_one(std::size_t most_bytes) {
        std::size_t bytes = 0;
        while (bytes < most_bytes) {
            const plain_run run = take_plain(text.ahead());
            bytes += run.bytes;
            if (!run.is_broken) takers.on(text.share_read());
            const bool reads_on = !run.is_broken && run.rows > 0;
            if (!reads_on && !take_odd()) return false;
        }
        return true;
    }

    void by_crew(int threads) {
        row_crew crew(text, layout, threads - 1);
        const further_text end_of_crew{text};
        bool was_joined = false; // a row went on in a further block
        text.further = [&](std::string& block) {
            was_joined = true;
            const taken_block* const further = crew.next();
            block = further ? further->text : std::string();
        };
        while (taken_block* const block = crew.next()) {
            was_joined = false;
            takers.on(text.share_read());
            take_block(*block, was_joined);
        }
        take_odd(); // at the end, whose words it has
    }

private:
    table_file& file;
    text_records& text;
    const plain_layout& layout;
    const row_takers& takers;
    row_numbers numbers;

    plain_run take_plain(std::string_view ahead) {
        numbers.used = 0;
        const plain_run run = take_plain_rows(ahead, layout, numbers);
        text.pass_over(run.bytes, run.rows);
        hand_over(numbers.values.data(), run.rows);
        return run;
    }

    void hand_over(const double* first, std::int64_t rows) {
        if (rows == 0) return;
        file.take_plain(rows);
        takers.plain(first, rows);
    }

    bool take_odd() {
        if (!file.next()) return false;
        takers.odd();
        return true;
    }

    void take_block(taken_block& block, const bool& was_joined) {
        const std::size_t width = layout.numbers.size();
        const std::string_view whole = block.text;
        std::int64_t row = 0;
        const auto take_rows_before = [&](std::int64_t end) {
            text.pass_over(0, end - row);
            hand_over(block.numbers.values.data() + width * static_cast<std::size_t>(row),
                      end - row);
            row = end;
        };
        for (const taken_block::odd_row& odd : block.odd) {
            take_rows_before(odd.rows_before);
            text.go_on_in(whole.substr(odd.start));
            if (!take_odd()) return;
            if (!was_joined && text.left().size() == whole.size() - odd.end) continue;
            return take_left(); // it was longer than its first line
        }
        text.go_on_in({});
        take_rows_before(block.rows);
    }

    // What is in memory, without reading on as long as there is a whole line.
    void take_left() {
        while (!text.left().empty()) {
            take_plain(text.left());
            if (!text.left().empty() && !take_odd()) return;
        }
    }
};

} // namespace

void read_rows(table_file& file, const plain_layout& layout, int threads,
               const row_takers& takers) {
    row_reading reading(file, layout, takers);
    constexpr auto all = static_cast<std::size_t>(-1);
    const std::size_t alone = threads > 1 ? pieces_of_text().before_threads : all;
    if (reading.by_one(alone)) reading.by_crew(threads);
}

} // namespace qmx_study

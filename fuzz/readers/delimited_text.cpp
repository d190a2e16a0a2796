// A delimited text as a lot: any bytes, against a plain reading of the records, and the account of the rows.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "study/lot/load.hpp"
#include "study/table/text_records.hpp"
#include "support/input_bytes.hpp"
#include "support/plain_records.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace {

const memory_file& file() {
    static const memory_file made("");
    return made;
}

bool is_plain_text(std::string_view text) { // neither packed nor of two bytes a character
    return !text.starts_with("\x1F\x8B") && !text.starts_with("\xFF\xFE") &&
           !text.starts_with("\xFE\xFF");
}

void require_records(std::string_view text, char separator, const std::string& comment) {
    bool is_whole = false;
    const std::vector<plain_record> plain = plain_records(text, separator, comment, is_whole);
    text_records source(file().name());
    source.separator = separator;
    source.comment = comment;
    source.rewind();
    std::string scratch;
    std::vector<std::string_view> fields;
    std::size_t count = 0;
    bool same = true;
    for (; source.next(); ++count) {
        split_fields(source.text, separator, source.has_quotes, scratch, fields);
        same = same && count < plain.size() &&
               static_cast<std::size_t>(source.first_line) == plain[count].line &&
               std::equal(fields.begin(), fields.end(), plain[count].fields.begin(),
                          plain[count].fields.end());
    }
    require<"records are those of a plain reading">(same && count == plain.size());
    require<"a stray quotation mark is told">(source.failure().empty() == is_whole);
}

struct request {
    reading_options reading;
    reading_needs needs;
};

request request_of(input_bytes& input) {
    request made;
    const std::uint8_t way = input.byte(), more = input.byte();
    constexpr const char* decimals[] = {"auto", "auto", "point", "comma"};
    made.reading.decimal = decimals[way % 4];
    made.reading.comment = way % 16 == 15 ? "#" : "";
    made.reading.header_line = way >= 240 ? way % 8 : 0;
    constexpr const char* wheres[] = {
        "", "", "", "", "FID > 1", "1 = 1 AND NOT FID IN (2, 3)", "CMV > 3", "g LIKE 'a%'"};
    made.reading.where = wheres[more % 8];
    made.reading.file = file().name();
    made.needs.position = more % 64 >= 32 ? need::required : need::taken;
    made.needs.value = more >= 192 ? need::taken : need::required;
    made.needs.keep_rows_without_value = more >= 128 && more < 160;
    made.needs.allow_empty = true;
    return made;
}

// A row is used, or dropped with a reason, or left out by a filter.
void require_account(const loaded_lot& lot) {
    const reading_account account = account_of(lot);
    require<"used, dropped and filtered rows are all rows">(
        account.rows_read ==
        account.rows_used - lot.data.without_value + account.rows_dropped + account.rows_filtered);
    bool sound = true;
    for (const dropped_account& each : account.dropped)
        sound = sound && each.rows.count > 0 && !is_blank(each.rows.text) &&
                !each.rows.reason.empty() && each.rows.first_record >= 1 &&
                each.rows.first_record <= account.rows_read && each.first_line >= 1;
    require<"a dropped row has a reason and a line">(sound);
    std::int64_t filtered = 0;
    for (const filtered_rows& each : account.filters) filtered += each.rows;
    require<"filtered rows are those of the filters">(filtered == account.rows_filtered);
    std::int64_t read = 0, used = 0, dropped = 0, left_out = 0;
    for (const file_account& each : account.files) {
        read += each.read;
        used += each.used;
        dropped += each.dropped;
        left_out += each.filtered;
    }
    require<"the accounts of the files add up">(
        read == account.rows_read && used == account.rows_used &&
        left_out == account.rows_filtered &&
        dropped == account.rows_dropped - lot.data.without_value);
}

bool same_number(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

// What stands in a point is what stands in its row.
void require_points(loaded_lot& lot) {
    table_source& source = *lot.table.source;
    const auto& data = lot.data;
    std::size_t at = 0;
    bool same = true;
    std::int64_t rows = 0;
    source.rewind();
    while (source.next()) {
        ++rows;
        for (; at < data.records.size() && data.records[at] == source.record(); ++at) {
            const t_icdata& point = data.points[at];
            const auto is_field = [&](const used_column& column, double number) {
                if (column.index < 0 || std::isnan(number)) return true;
                return same_number(lot.table.survey.read(source, column.index).value, number);
            };
            same = same && is_field(data.x, point.d_x) && is_field(data.y, point.d_y) &&
                   is_field(data.value, point.d_val);
        }
    }
    require<"points are of ascending rows that there are">(at == data.records.size());
    require<"points hold what stands in their rows">(same);
    if (!source.has_geometry())
        require<"all rows are read">(rows == data.rows_read && rows == source.rows);
}

void require_sound_lines(const loaded_lot& lot, std::string_view text) {
    const auto lines = static_cast<std::int64_t>(std::count(text.begin(), text.end(), '\n') +
                                                 std::count(text.begin(), text.end(), '\r')) +
                       1;
    std::int64_t before = 0;
    bool sound = true;
    for (const std::int64_t record : lot.data.records) {
        const std::int64_t line = lot.source().line_of(record);
        sound = sound && line > 0 && line <= lines && line >= before;
        before = line;
    }
    require<"rows stand on lines of the file">(sound);
}

bool is_same_lot(const qmx_study::lot& a, const qmx_study::lot& b) {
    return a.records == b.records && a.points.size() == b.points.size() &&
           a.rows_dropped() == b.rows_dropped() &&
           (a.points.empty() ||
            std::memcmp(a.points.data(), b.points.data(), a.points.size() * sizeof(t_icdata)) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const request of = request_of(input);
    const std::uint8_t way = input.byte();
    const std::string_view text = text_of(input.rest(), input.left());
    file().write(text);
    constexpr char separators[] = {',', ';', '\t', '|'};
    if (is_plain_text(text)) require_records(text, separators[way % 4], of.reading.comment);
    progress quiet;
    std::string first_error, second_error;
    loaded_lot lot;
    const bool is_read = reads([&] { lot = load(of.reading, of.needs, quiet); }, &first_error);
    if (is_read) {
        require_account(lot);
        require_points(lot);
        if (is_plain_text(text)) require_sound_lines(lot, text);
    }
    if (way < 192) return 0;
    loaded_lot again;
    const bool is_read_again =
        reads([&] { again = load(of.reading, of.needs, quiet); }, &second_error);
    require<"two readings agree">(is_read == is_read_again && first_error == second_error &&
                                  (!is_read || is_same_lot(lot.data, again.data)));
    return 0;
}

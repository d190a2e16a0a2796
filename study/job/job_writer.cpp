#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/job/job_file.hpp"
#include "study/job/job_keys.hpp"

namespace qmx_study {

namespace {

// How many bytes a character of UTF-8 at the front of a text has; 0 where it is none.
std::size_t character_length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    const bool is_short = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool is_surrogate = first == 0xED && byte(1) >= 0xA0;
    const bool is_beyond = first == 0xF4 && byte(1) >= 0x90;
    return is_short || is_surrogate || is_beyond ? 0 : length;
}

bool is_control(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

std::string in_marks(std::string_view text) {
    const bool is_plain = std::none_of(text.begin(), text.end(), is_control);
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = character_length(rest);
        if (length == 0)
            throw usage_error(
                fmt::format("\"{}\" is no UTF-8 and cannot stand in a job file; rename "
                            "it",
                            text));
        rest.remove_prefix(length);
    }
    // What holds marks or backslashes reads better without doubling them.
    const bool has_marks = text.find_first_of("\"\\") != std::string_view::npos;
    if (is_plain && has_marks && text.find('\'') == std::string_view::npos)
        return fmt::format("'{}'", text);
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (is_control(c)) {
            result += fmt::format("\\u{:04X}", static_cast<unsigned char>(c));
        } else {
            result += c;
        }
    }
    return result + '"';
}

std::string in_marks(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + in_marks(text);
    return "[" + list + "]";
}

std::string bound(const std::optional<double>& value, const char* open) {
    return value ? fmt::format("{}", *value) : open;
}

std::string written(const job_value& value) {
    struct writer {
        std::string operator()(std::monostate) const { return {}; }
        std::string operator()(bool flag) const { return flag ? "true" : "false"; }
        std::string operator()(double number) const { return fmt::format("{}", number); }
        std::string operator()(const std::string& text) const { return in_marks(text); }
        std::string operator()(const std::vector<std::string>& texts) const {
            return in_marks(texts);
        }
        std::string operator()(const number_range& range) const {
            return fmt::format("[{}, {}]", bound(range.least, "-inf"), bound(range.most, "inf"));
        }
    };
    return std::visit(writer{}, value);
}

// Nothing of a remark may end its line, and nothing in it is more than a comment.
std::string comment(std::string_view text) {
    std::string line = "# ";
    while (!text.empty()) {
        const std::size_t length = character_length(text);
        if (length == 0 || is_control(text.front())) {
            line += '?';
        } else {
            line += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return line + "\n";
}

} // namespace

std::string job_text(const job_settings& settings, const std::vector<std::string>& head,
                     const job_remarks& remarks) {
    std::string text;
    for (const std::string& line : head) text += comment(line);
    for (const job_table& table : job_tables()) {
        text += fmt::format("\n# {}\n[{}]\n", table.what, table.name);
        for (const job_key& key : job_keys()) {
            if (key.table != table.name) continue;
            text += comment(key.what);
            if (const auto said = remarks.find(key.table + "." + key.key); said != remarks.end())
                for (const std::string& line : said->second) text += comment(line);
            const std::string value = written(value_of(settings, key));
            const bool is_asked_for = key.table == "texts"; // to be filled in
            text += value.empty() && !is_asked_for
                        ? fmt::format("#{} = {}\n", key.key, key.sample)
                        : fmt::format("{} = {}\n", key.key, value.empty() ? "\"\"" : value);
        }
    }
    return text;
}

} // namespace qmx_study

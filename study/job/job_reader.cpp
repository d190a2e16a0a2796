// The one file that sees the parser of TOML.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include <fmt/format.h>
// The parser asserts what a text such as "[é]" does not keep, behind which it refuses that text in words. With
// NDEBUG clang would even take the assertion for the truth.
#pragma push_macro("NDEBUG")
#undef NDEBUG
#define TOML_ASSERT(expression) static_cast<void>(0)
#include <toml++/toml.h>
#pragma pop_macro("NDEBUG")

#include "study/base/errors.hpp"
#include "study/base/near_name.hpp"
#include "study/base/number_text.hpp"
#include "study/base/open_file.hpp"
#include "study/job/job_file.hpp"
#include "study/job/job_keys.hpp"

namespace qmx_study {

namespace {

std::string contents_of(const std::string& file) {
    struct closer {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };
    const std::unique_ptr<std::FILE, closer> opened(open_file(file, 'r'));
    std::string text;
    char piece[65536];
    std::size_t length = 0;
    while (opened && (length = std::fread(piece, 1, sizeof piece, opened.get())) > 0)
        text.append(piece, length);
    if (!opened || std::ferror(opened.get()))
        throw usage_error(
            fmt::format("{}: the job file cannot be read ({})", file, std::strerror(errno)),
            {"--job", file, 0, {}});
    return text;
}

// A name as it stands: absolute, a stream, or an address; otherwise it starts at the job's folder.
std::string placed(const std::string& name, const std::string& job_file) {
    const bool is_absolute = name.starts_with('/') || name.starts_with('\\') ||
                             (name.size() > 1 && name[1] == ':') || name == "-" ||
                             name.find("://") != std::string::npos;
    const std::size_t end = job_file.find_last_of("/\\");
    if (name.empty() || is_absolute || end == std::string::npos) return name;
    return job_file.substr(0, end + 1) + name;
}

const char* kind_name(toml::node_type type) {
    switch (type) {
    case toml::node_type::table: return "a table";
    case toml::node_type::array: return "a list";
    case toml::node_type::string: return "a text";
    case toml::node_type::integer: return "a whole number";
    case toml::node_type::floating_point: return "a number";
    case toml::node_type::boolean: return "true or false";
    case toml::node_type::date: return "a date";
    case toml::node_type::time: return "a time of day";
    case toml::node_type::date_time: return "a time";
    case toml::node_type::none: break;
    }
    return "nothing";
}

std::string meant(const std::string& name, const char* before = "", const char* behind = "") {
    if (name.empty()) return {};
    return fmt::format("; did you mean {}{}{}?", before, name, behind);
}

class job_parser {
public:
    job_parser(const std::string& text, const std::string& job_file) : file(job_file) {
        try {
            root = toml::parse(text, file);
        } catch (const toml::parse_error& error) {
            std::string message(error.description());
            if (message.find("escape") != std::string::npos)
                message += "; a text with backslashes stands between single quotation marks: "
                           "'C:\\data\\lot.csv'";
            refuse(error.source().begin.line, message);
        }
    }

    job_settings settings() {
        refuse_unknown();
        job_settings result;
        result.job_file = file;
        result.thresholds = thresholds_of(result.preset);
        for (const job_key& key : job_keys()) {
            const toml::table* const table = root[key.table].as_table();
            const toml::node* const node = table ? table->get(key.key) : nullptr;
            if (node) take(result, key, *node);
        }
        return result;
    }

private:
    const std::string& file;
    toml::table root;

    [[noreturn]] void refuse(std::int64_t line, const std::string& message,
                             const std::string& key = {}) const {
        throw usage_error(fmt::format("{}, line {}: {}", file, line, message),
                          {"--job", file, line, key});
    }
    static std::int64_t line_of(const toml::node& node) { return node.source().begin.line; }
    std::string place_of(const toml::node& node) const {
        return fmt::format("{}, line {}", file, line_of(node));
    }

    // The first thing in the file that no key and no table is named like.
    void refuse_unknown() const {
        std::int64_t first = std::numeric_limits<std::int64_t>::max();
        std::string message, name;
        const auto note = [&](const toml::key& key, std::string text) {
            if (key.source().begin.line >= first) return;
            first = key.source().begin.line;
            message = std::move(text);
            name = key.str();
        };
        for (const auto& [table, node] : root) {
            if (!is_table(table.str())) {
                note(table, unknown_table(table.str(), node.is_table()));
            } else if (!node.is_table()) {
                note(table,
                     fmt::format("{0} is a table: write [{0}] and its keys below", table.str()));
            } else {
                for (const auto& [key, value] : *node.as_table())
                    if (!is_key(table.str(), key.str()))
                        note(key, unknown_key(table.str(), key.str()));
            }
        }
        if (!message.empty()) refuse(first, message, name);
    }

    static bool is_table(std::string_view name) {
        return std::any_of(job_tables().begin(), job_tables().end(),
                           [&](const job_table& table) { return table.name == name; });
    }
    static bool is_key(std::string_view table, std::string_view name) {
        return std::any_of(job_keys().begin(), job_keys().end(), [&](const job_key& key) {
            return key.table == table && key.key == name;
        });
    }

    // "[analysis]", "[columns] or [filter]"; "" where no table has such a key.
    static std::string tables_with(std::string_view key) {
        std::string tables;
        for (const job_key& each : job_keys())
            if (each.key == key)
                tables += fmt::format("{}[{}]", tables.empty() ? "" : " or ", each.table);
        return tables;
    }

    static std::string unknown_table(std::string_view name, bool is_written_as_table) {
        if (!is_written_as_table) {
            if (const std::string tables = tables_with(name); !tables.empty())
                return fmt::format("the key \"{}\" stands in no table; it belongs to {}", name,
                                   tables);
        }
        std::vector<std::string> tables;
        for (const job_table& table : job_tables()) tables.emplace_back(table.name);
        return fmt::format("there is no {} \"{}\"{}\n  the tables are: {}",
                           is_written_as_table ? "table" : "table or key", name,
                           meant(nearest_name(name, tables), "[", "]"), fmt::join(tables, ", "));
    }

    static std::string unknown_key(std::string_view table, std::string_view name) {
        std::vector<std::string> keys;
        for (const job_key& key : job_keys())
            if (key.table == table) keys.push_back(key.key);
        std::string near = meant(nearest_name(name, keys));
        if (const std::string others = tables_with(name); !others.empty())
            near = fmt::format("; it belongs to {}", others);
        return fmt::format("there is no key \"{}\" in [{}]{}\n  its keys are: {}", name, table,
                           near, fmt::join(keys, ", "));
    }

    [[noreturn]] void refuse_type(const job_key& key, const toml::node& node,
                                  const char* wanted) const {
        refuse(line_of(node),
               fmt::format("{} is {}, not {}; write it like: {} = {}", key.key,
                           kind_name(node.type()), wanted, key.key, key.sample),
               key.key);
    }

    template <class Value>
    Value sound(const job_key& key, const toml::node& node, const Value& value) const {
        if (const std::string problem = problem_of(key, value); !problem.empty())
            refuse(line_of(node), problem, key.key);
        return value;
    }

    void take(job_settings& settings, const job_key& key, const toml::node& node) const {
        switch (key.kind) {
        case job_kind::text: return key.set(settings, text(key, node));
        case job_kind::file: return key.set(settings, file_name(key, node));
        case job_kind::text_list:
        case job_kind::file_list: return key.set(settings, list(key, node));
        case job_kind::flag:
            if (!node.is_boolean()) refuse_type(key, node, "true or false");
            return key.set(settings, *node.value<bool>());
        case job_kind::number:
        case job_kind::whole: return key.set(settings, number(key, node));
        case job_kind::range: return key.set(settings, range(key, node));
        case job_kind::times: return key.set(settings, times(key, node));
        case job_kind::preset: return take_preset(settings, key, node);
        case job_kind::threshold: return take_threshold(settings, key, node);
        }
    }

    // Numbers stand for their digits: a lot or a lift may be called 7.
    std::string any_text(const job_key& key, const toml::node& node, const char* wanted) const {
        if (const auto number = node.value_exact<std::int64_t>()) return fmt::format("{}", *number);
        if (const auto number = node.value_exact<double>(); number && std::isfinite(*number))
            return fmt::format("{}", *number);
        const auto text = node.value_exact<std::string>();
        if (!text) refuse_type(key, node, wanted);
        return *text;
    }

    std::string text(const job_key& key, const toml::node& node) const {
        return sound(key, node, any_text(key, node, "a text"));
    }

    std::string file_name(const job_key& key, const toml::node& node) const {
        const auto name = node.value_exact<std::string>();
        if (!name) refuse_type(key, node, "the name of a file");
        return placed(sound(key, node, *name), file);
    }

    std::vector<std::string> list(const job_key& key, const toml::node& node) const {
        const bool are_files = key.kind == job_kind::file_list;
        const auto one = [&](const toml::node& each) {
            return are_files ? file_name(key, each) : any_text(key, each, "a list of texts");
        };
        const toml::array* const array = node.as_array();
        if (!array) return {one(node)};
        std::vector<std::string> texts;
        for (const toml::node& each : *array) texts.push_back(one(each));
        return texts;
    }

    double number(const job_key& key, const toml::node& node) const {
        const bool is_whole = key.kind == job_kind::whole;
        if (is_whole ? !node.is_integer() : !node.is_number())
            refuse_type(key, node, is_whole ? "a whole number" : "a number");
        return sound(key, node, *node.value<double>());
    }

    number_range range(const job_key& key, const toml::node& node) const {
        const toml::array* const array = node.as_array();
        if (!array || array->size() != 2 || !array->get(0)->is_number() ||
            !array->get(1)->is_number())
            refuse_type(key, node, "a list of two numbers");
        const double least = *array->get(0)->value<double>();
        const double most = *array->get(1)->value<double>();
        number_range result{least, most};
        sound(key, node, result);
        if (std::isinf(least)) result.least.reset();
        if (std::isinf(most)) result.most.reset();
        return result;
    }

    std::vector<std::string> times(const job_key& key, const toml::node& node) const {
        const toml::array* const array = node.as_array();
        if (!array || array->size() != 2) refuse_type(key, node, "a list of two times");
        std::vector<std::string> texts;
        for (const toml::node& each : *array) {
            texts.push_back(time(key, each));
            sound(key, each, std::vector<std::string>{texts.back(), ""});
        }
        return sound(key, node, texts);
    }

    std::string time(const job_key& key, const toml::node& node) const {
        const auto day = [](const toml::date& date) {
            return fmt::format("{:04}-{:02}-{:02}", date.year, date.month, date.day);
        };
        if (const auto date = node.value_exact<toml::date>()) return day(*date);
        if (const auto moment = node.value_exact<toml::date_time>()) {
            const toml::time& at = moment->time;
            std::string text = fmt::format("{}T{:02}:{:02}:{:02}", day(moment->date), at.hour,
                                           at.minute, at.second);
            if (at.nanosecond > 0) text += fmt::format(".{:03}", at.nanosecond / 1'000'000);
            return text;
        }
        const auto text = node.value_exact<std::string>();
        if (!text) refuse_type(key, node, "a list of two times");
        return *text;
    }

    void take_preset(job_settings& settings, const job_key& key, const toml::node& node) const {
        const std::string name = text(key, node);
        try {
            settings.thresholds = thresholds_of(name);
        } catch (const usage_error& error) {
            refuse(line_of(node), error.what(), key.key);
        }
        settings.preset = name;
    }

    void take_threshold(job_settings& settings, const job_key& key, const toml::node& node) const {
        if (const auto word = node.value_exact<std::string>(); word && *word == "off")
            return drop_threshold(settings.thresholds, key.key);
        if (!node.is_number()) refuse_type(key, node, "a number or \"off\"");
        try {
            set_threshold(settings.thresholds, key.key, *node.value<double>(), place_of(node));
        } catch (const usage_error& error) {
            refuse(line_of(node), error.what(), key.key);
        }
    }
};

} // namespace

job_settings job_from_text(const std::string& text, const std::string& file) {
    return job_parser(text, file).settings();
}

job_settings read_job(const std::string& file) {
    const file_stamp before = stamp_of_file(file);
    job_settings settings = job_from_text(contents_of(file), file);
    settings.job_stamp = before;
    return settings;
}

} // namespace qmx_study

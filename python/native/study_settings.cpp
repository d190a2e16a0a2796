#include "study_settings.hpp"

#include <cmath>
#include <limits>
#include <vector>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/near_name.hpp"
#include "study/job/job_file.hpp"
#include "study/job/job_keys.hpp"
#include "study_work.hpp"

namespace qmx_python {

using namespace qmx_study;

namespace {

std::string name_of(const job_key& key) {
    return key.table + "." + key.key;
}

[[noreturn]] void refuse(const job_key& key, const std::string& message) {
    throw usage_error(message, {key.key, {}, 0, {}});
}

[[noreturn]] void refuse_type(const job_key& key, nb::handle value, const char* wanted) {
    refuse(key, fmt::format("{} is of the type {}, not {}", key.key, Py_TYPE(value.ptr())->tp_name,
                            wanted));
}

bool is_text(nb::handle value) {
    return PyUnicode_Check(value.ptr());
}

// A number of Python or NumPy; True is none.
double number_of(const job_key& key, nb::handle value) {
    const bool is_whole = key.kind == job_kind::whole;
    const char* const wanted = is_whole ? "a whole number" : "a number";
    if (PyBool_Check(value.ptr()) || is_text(value)) refuse_type(key, value, wanted);
    if (is_whole && !PyIndex_Check(value.ptr())) refuse_type(key, value, wanted);
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1 && PyErr_Occurred()) {
        PyErr_Clear();
        refuse_type(key, value, wanted);
    }
    return number;
}

std::vector<std::string> texts_of(const job_key& key, nb::handle value) {
    if (is_text(value)) return {text_of_python(value)};
    std::vector<std::string> texts;
    if (!nb::isinstance<nb::list>(value) && !nb::isinstance<nb::tuple>(value))
        refuse_type(key, value, "a list of texts");
    for (const nb::handle each : value) {
        if (!is_text(each)) refuse_type(key, each, "a text");
        texts.push_back(text_of_python(each));
    }
    return texts;
}

number_range range_of(const job_key& key, nb::handle value) {
    if ((!nb::isinstance<nb::list>(value) && !nb::isinstance<nb::tuple>(value)) ||
        nb::len(value) != 2)
        refuse_type(key, value, "a pair of numbers, None where one is open");
    number_range range;
    if (!value[0].is_none()) range.least = number_of(key, value[0]);
    if (!value[1].is_none()) range.most = number_of(key, value[1]);
    return range;
}

job_value value_of(const job_key& key, nb::handle value) {
    switch (key.kind) {
    case job_kind::text:
    case job_kind::file:
    case job_kind::preset:
        if (!is_text(value)) refuse_type(key, value, "a text");
        return text_of_python(value);
    case job_kind::text_list:
    case job_kind::file_list: return texts_of(key, value);
    case job_kind::flag:
        if (!PyBool_Check(value.ptr())) refuse_type(key, value, "True or False");
        return value.ptr() == Py_True;
    case job_kind::number:
    case job_kind::whole:
    case job_kind::threshold: return number_of(key, value);
    case job_kind::range: return range_of(key, value);
    case job_kind::times: {
        std::vector<std::string> both = texts_of(key, value);
        if (both.size() != 2) refuse_type(key, value, "a pair of times, \"\" where one is open");
        return both;
    }
    }
    return {};
}

void lay_over(job_settings& settings, const job_key& key, nb::handle value) {
    try {
        if (key.kind == job_kind::threshold) {
            if (is_text(value) && text_of_python(value) == "off")
                return drop_threshold(settings.thresholds, key.key);
            if (is_text(value)) refuse_type(key, value, "a number or \"off\"");
            return set_threshold(settings.thresholds, key.key, number_of(key, value), "argument");
        }
        const job_value made = value_of(key, value);
        if (const std::string problem = problem_of(key, made); !problem.empty())
            refuse(key, problem);
        if (key.kind == job_kind::preset)
            choose_preset(settings.thresholds, std::get<std::string>(made));
        if (key.kind == job_kind::preset) settings.preset = std::get<std::string>(made);
        if (key.kind != job_kind::preset) key.set(settings, made);
    } catch (const usage_error& error) {
        if (!error.place.option.empty()) throw;
        throw usage_error(error.what(), {key.key, {}, 0, {}});
    }
}

void refuse_unknown(const nb::dict& given) {
    std::vector<std::string> names;
    for (const job_key& key : job_keys()) names.push_back(name_of(key));
    for (const auto& [given_name, value] : given) {
        const std::string name = text_of_python(given_name);
        if (std::find(names.begin(), names.end(), name) != names.end()) continue;
        const std::string near = nearest_name(name, names);
        throw usage_error(fmt::format("there is no setting \"{}\"{}", name,
                                      near.empty() ? "" : fmt::format("; did you mean {}?", near)),
                          {name, {}, 0, {}});
    }
}

nb::object number_or_none(const std::optional<double>& number) {
    return number ? nb::object(nb::float_(*number)) : nb::none();
}

nb::object as_python(const job_key& key, const job_value& value) {
    if (const auto* const flag = std::get_if<bool>(&value)) return nb::bool_(*flag);
    if (const auto* const number = std::get_if<double>(&value)) {
        if (key.kind == job_kind::whole) return nb::int_(static_cast<std::int64_t>(*number));
        return nb::float_(*number);
    }
    if (const auto* const text = std::get_if<std::string>(&value)) return text_or_none(*text);
    if (const auto* const range = std::get_if<number_range>(&value))
        return nb::make_tuple(number_or_none(range->least), number_or_none(range->most));
    nb::list texts;
    for (const std::string& text : std::get<std::vector<std::string>>(value)) {
        if (text.empty()) texts.append("");
        if (!text.empty()) texts.append(text_or_none(text));
    }
    return texts;
}

} // namespace

job_settings settings_from(const std::string& job, const nb::dict& given) {
    job_settings settings;
    if (job.empty()) {
        settings.thresholds = thresholds_of(settings.preset);
    } else {
        settings = read_job(job);
    }
    refuse_unknown(given);
    for (const bool is_preset : {true, false})
        for (const job_key& key : job_keys()) {
            const std::string name = name_of(key);
            if (is_preset == (key.kind == job_kind::preset) && given.contains(name.c_str()))
                lay_over(settings, key, given[name.c_str()]);
        }
    if (settings.reading.file.empty())
        throw usage_error("a file is required: name the points, or a job file that does",
                          {"file", {}, 0, {}});
    return settings;
}

nb::dict settings_as_dict(const job_settings& settings) {
    nb::dict tables;
    for (const job_key& key : job_keys()) {
        const job_value value = qmx_study::value_of(settings, key);
        if (std::holds_alternative<std::monostate>(value)) continue;
        if (!tables.contains(key.table.c_str())) tables[key.table.c_str()] = nb::dict();
        tables[key.table.c_str()][key.key.c_str()] = as_python(key, value);
    }
    return tables;
}

nb::dict presets_as_dict() {
    nb::dict all;
    for (const preset& each : presets()) {
        nb::dict thresholds;
        for (const threshold& one : each.thresholds) thresholds[one.key.c_str()] = one.value;
        nb::dict about;
        about["what"] = each.what;
        about["thresholds"] = thresholds;
        all[each.name] = about;
    }
    return all;
}

} // namespace qmx_python

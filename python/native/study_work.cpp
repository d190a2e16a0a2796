#include "study_work.hpp"

#include <chrono>
#include <exception>
#include <filesystem>
#include <new>
#include <string>

#include "study/analyses/library_events.hpp"
#include "study/base/errors.hpp"

namespace qmx_python {

using namespace qmx_study;

namespace {

constexpr double seconds_between_looks = 0.05;

double now() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since).count();
}

[[noreturn]] void raise(const char* code, const std::string& message, const error_place& place = {},
                        const library_failure* event = nullptr, bool may_be_missing = false) {
    std::error_code unknown;
    const bool is_missing =
        may_be_missing && !place.file.empty() && !std::filesystem::exists(place.file, unknown);
    const nb::object type = nb::module_::import_("qmx_ic.errors")
                                .attr(is_missing ? "StudyFileNotFoundError" : "StudyError");
    nb::object line = nb::none();
    if (place.line > 0) line = nb::int_(place.line);
    nb::dict details;
    details["code"] = code;
    details["file"] = text_or_none(place.file);
    details["line"] = line;
    details["option"] = text_or_none(place.option);
    details["column"] = text_or_none(place.column);
    details["path"] = text_or_none(event ? event->path : std::string());
    details["event_code"] = event ? nb::object(nb::int_(event->code)) : nb::none();
    const nb::object error = type(text_or_none(message), **details);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw nb::python_error();
}

} // namespace

nb::object text_or_none(const std::string& text) {
    if (text.empty()) return nb::none();
    return nb::steal(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
}

std::string text_of_python(nb::handle text) {
    const nb::object bytes =
        nb::steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes.is_valid()) throw nb::python_error();
    return {PyBytes_AS_STRING(bytes.ptr()),
            static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr()))};
}

bool interruption::is_wanted() {
    if (raised) return true;
    const double at = now();
    if (at < next_look) return false;
    next_look = at + seconds_between_looks;
    const nb::gil_scoped_acquire held;
    if (PyErr_CheckSignals() == 0) return false;
    raised.emplace();
    return true;
}

progress_hook interruption::hook() {
    progress_hook made;
    made.cancelled = [this] { return is_wanted(); };
    return made;
}

void interruption::raise_kept() {
    if (raised) throw nb::python_error(*raised);
}

void raise_as_python(direction way) {
    try {
        throw;
    } catch (const nb::python_error&) {
        throw;
    } catch (const nb::builtin_exception&) {
        throw;
    } catch (const usage_error& error) {
        raise("wrong_usage", error.what(), error.place, nullptr, way == direction::reads);
    } catch (const library_error& error) {
        raise("analysis_failed", error.what(), {}, &error.event);
    } catch (const analysis_error& error) {
        raise("analysis_failed", error.what());
    } catch (const std::bad_alloc&) {
        PyErr_SetString(PyExc_MemoryError,
                        "there is not enough memory for so many rows; divide the file");
        throw nb::python_error();
    } catch (const std::exception& error) {
        raise("failed", error.what());
    } catch (...) {
        raise("failed", "the study ended for a reason that is not known");
    }
}

} // namespace qmx_python

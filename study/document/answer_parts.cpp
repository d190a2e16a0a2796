#include "study/document/failure_report.hpp"

#include "study/base/errors.hpp"
#include "study/base/value_text.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

std::string explanation_of_memory(const library_failure& failure) {
    if (failure.message != "memory could not be allocated") return {};
    return "The lot is too large for the memory of this machine; divide it.";
}

json failure_json(const std::optional<library_failure>& failure, const std::string& explanation) {
    if (explanation.empty()) return nullptr;
    json document{{"message", nullptr}, {"code", nullptr}, {"class", nullptr}, {"path", nullptr}};
    if (failure)
        document = {{"message", failure->message},
                    {"code", failure->code},
                    {"class", failure->severity},
                    {"path", failure->path}};
    document["explanation"] = explanation;
    return document;
}

void end_failed(const std::optional<library_failure>& failure, const std::string& explanation) {
    if (explanation.empty()) return;
    if (!failure) throw analysis_error(wrapped(explanation, 2));
    throw analysis_error(failure->text() + "\n  " + wrapped(explanation, 2));
}

} // namespace qmx_study

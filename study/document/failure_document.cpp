#include "study/document/failure_document.hpp"

namespace qmx_study {

json failure_document(const std::string& command, int exit_code, const std::string& message,
                      const library_failure* event, const error_place& place) {
    json document = new_document("failure");
    document["command"] = text_or_null(command);
    document["exit_code"] = exit_code;
    json failure{{"message", message},
                 {"code", nullptr},
                 {"class", nullptr},
                 {"path", nullptr},
                 {"explanation", nullptr}};
    if (event) {
        failure["message"] = event->message;
        failure["code"] = event->code;
        failure["class"] = event->severity;
        failure["path"] = event->path;
    }
    failure["place"] = {{"option", text_or_null(place.option)},
                        {"file", text_or_null(place.file)},
                        {"line", place.line > 0 ? json(place.line) : json(nullptr)},
                        {"column", text_or_null(place.column)}};
    document["failure"] = failure;
    return document;
}

} // namespace qmx_study

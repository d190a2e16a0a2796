#include "study/document/json.hpp"

#include <cmath>
#include <cstdlib>

#include <fmt/format.h>
#include <qmx_ic.h>

#include "study/base/number_text.hpp"

namespace qmx_study {

json number_or_null(double value) {
    if (!std::isfinite(value)) return nullptr;
    return value;
}

json number_or_null(float value) {
    if (!std::isfinite(value)) return nullptr;
    double digits = 0; // the shortest text that reads back as this 32-bit number, as a double
    read_plain_number(fmt::format("{}", value), digits);
    return digits;
}

json text_or_null(const std::string& text) {
    if (text.empty()) return nullptr;
    return text;
}

json new_document(const std::string& command, int version) {
    json document;
    document["schema"] = fmt::format("qmx-ic/{}/{}", command, version);
    document["program"] = "qmx-ic " QMX_IC_VERSION;
    return document;
}

std::string text_of(const json& document) {
    return document.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace qmx_study

// JSON that keeps its keys in order and never holds a NaN or an infinity.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace qmx_study {

using json = nlohmann::ordered_json;

json number_or_null(double value);
json number_or_null(float value); // with the digits that a 32-bit number has
json text_or_null(const std::string& text);

// A new document: {"schema": "qmx-ic/<command>/<version>", "program": "qmx-ic <version>"}. The number
// behind the command rises whenever a key changes its name, place or meaning; keys may be added
// without.
json new_document(const std::string& command, int version = 1);

// Indented. Bytes of a file that are no UTF-8 become the replacement character.
std::string text_of(const json& document);

} // namespace qmx_study

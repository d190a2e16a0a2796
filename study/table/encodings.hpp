// Text in one byte a character, as older programs write it.
#pragma once

#include <string>
#include <string_view>

namespace qmx_study {

bool is_utf8(std::string_view text);

// Latin-1 to UTF-8. Bytes that Latin-1 leaves to control characters are read as Windows-1252 has
// them: dashes, quotation marks, the euro.
void decode_latin1(std::string_view bytes, std::string& text);

// Behind the text, a character as UTF-8.
void append_utf8(std::string& text, char32_t c);

} // namespace qmx_study

// Texts of the error stack: the values for a message's placeholders, the message built from them,
// and its printed form. Everything is of fixed size, since the error may be that memory ran out.
#pragma once

#include "base/bounded_text.hpp"
#include "base/padded_text.hpp"

#include <cstdint>
#include <string_view>

namespace qmx::numeric {

using message_text = bounded_text<1024>;

// A C-style pair of pointer and length; a length below 1 is no text.
constexpr std::string_view text_of(const char* characters, i32 length) {
    return {characters, length > 0 ? static_cast<std::size_t>(length) : 0};
}

// Values for the placeholders %(I1) to %(I9), and the same for R (f32), D (f64) and L (text). A
// value with an index outside 1 to 9 is dropped, as no placeholder can name it.
class message_values {
public:
    void store(i32 index, i32 value);
    void store(i32 index, f32 value);
    void store(i32 index, f64 value);
    void store(i32 index, std::string_view value);
    void clear() { stored_integers_ = stored_singles_ = stored_doubles_ = stored_texts_ = 0; }

    // Appends the value of a placeholder, reals by the shortest decimal that reads back as the same
    // value; false if none is stored.
    bool append_to(message_text& text, char letter, i32 index) const;

private:
    static constexpr i32 most = 9;
    using index_set = std::uint16_t; // bit i: the value of index i + 1 is stored

    static bool take(index_set& stored, i32 index);
    static bool has(index_set stored, i32 index);

    index_set stored_integers_ = 0, stored_singles_ = 0, stored_doubles_ = 0, stored_texts_ = 0;
    i32 integers_[most] = {};
    f32 singles_[most] = {};
    f64 doubles_[most] = {};
    bounded_text<128> texts_[most] = {};
};

// Builds a message: %(I1) and its like (a letter of ACDIKLRSZ in either case and a digit from 1)
// become their values, %/ a line break. A keyword that is malformed or has no value stays as it is
// and is reported at the end of the message.
void build_message(std::string_view form, const message_values& values, message_text& message);

// Writes "LABEL code from ROUTINE" and the message below it to the error console, broken at blanks
// into lines of at most width characters. One write, so that threads do not mix their lines.
void print_error(std::string_view label, i32 code, std::string_view routine,
                 std::string_view message, i32 width);

} // namespace qmx::numeric

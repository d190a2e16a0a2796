// The bytes of a text file as UTF-8: unpacked where they are packed by gzip, transcoded where a byte
// order mark says UTF-16.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "study/base/file_hash.hpp"

namespace qmx_study {

class text_input {
public:
    // "-" is standard input. What cannot be read twice, such as a pipe, is kept in a temporary file.
    explicit text_input(const std::string& path);
    ~text_input();
    text_input(text_input&&) noexcept;

    bool is_open() const;
    void rewind();
    // Reads up to `size` bytes; fewer only at the end, or after a failure. A mark at the start of the
    // file is not handed out.
    std::size_t read(char* to, std::size_t size);
    // Of the bytes as they came, packed or not. Afterwards the text starts anew. file: for messages.
    file_mark mark(const std::string& file);
    // Reading to the end tells so by itself; for who stops before. Throws usage_error.
    void refuse_if_changed(const std::string& file) const;

    // How much of the file has been read, packed or not: 0 to 1, 0 where it is not known.
    double share_read() const;

    std::string failure; // why reading ended before the end of the file; empty if it did not

private:
    struct state;
    std::unique_ptr<state> now;
};

// All of a text. Throws usage_error when the file cannot be read to its end.
std::string whole_text(const std::string& file);

// Throws usage_error for a file packed by gzip that cannot be unpacked to its end: of such a file other
// readers may see a part that looks whole.
void refuse_damaged_gzip(const std::string& file);

} // namespace qmx_study

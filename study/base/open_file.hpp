// Files by names in UTF-8 on every system. Windows takes such names only by functions of its own.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace qmx_study {

// Opens a file for binary access; mode: "r", "w", or "x" for a file that must not be there yet. On
// failure null, with the reason in errno.
std::FILE* open_file(const std::string& name, char mode);

// A file without a name that goes when it is closed, in the folder that TMPDIR names where that takes
// one; null on failure, with the reason in errno.
std::FILE* open_temporary_file();

// The error number of a file that is there and may not be written; 0 for any other.
int refusal_to_write(const std::string& name) noexcept;

// Removes a file, also one that is open. Allocates nothing: a signal handler may call it.
void remove_file(const char* name) noexcept;

// The name as a path. Given a plain text, std::filesystem takes it for letters of the code page there.
std::filesystem::path path_of(std::string_view name);

// Standard input, output and error as they are, without line ends changed. One that is closed gets a
// place of its own: otherwise the next file that is opened would take it, and get what is printed.
void use_binary_streams();

} // namespace qmx_study

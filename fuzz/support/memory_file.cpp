#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <sys/mman.h>
#include <unistd.h>

#include "support/reader_input.hpp"

namespace fuzz {

namespace {

void stop_unless(bool succeeded, const char* what) {
    if (succeeded) return;
    std::perror(what);
    std::abort();
}

} // namespace

memory_file::memory_file(const std::string& ending) : handle_(::memfd_create("lot", MFD_CLOEXEC)) {
    stop_unless(handle_ >= 0, "memfd_create");
    name_ = "/proc/self/fd/" + std::to_string(handle_);
    if (ending.empty()) return;
    // The name of a link has the ending; the readers follow it.
    std::string pattern = (std::filesystem::temp_directory_path() / "qmx-fuzz-XXXXXX").string();
    stop_unless(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
    folder_ = pattern;
    const std::string link = folder_ + "/lot" + ending;
    stop_unless(::symlink(name_.c_str(), link.c_str()) == 0, "symlink");
    name_ = link;
}

memory_file::~memory_file() {
    ::close(handle_);
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

void memory_file::write(std::string_view text) const {
    stop_unless(::ftruncate(handle_, 0) == 0, "ftruncate");
    stop_unless(::pwrite(handle_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
                "pwrite");
}

} // namespace fuzz

#include "study/base/file_hash.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <fmt/format.h>
#include <sys/stat.h>

#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"
#include "study/base/sha256.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;

[[noreturn]] void refuse(const std::string& file, const char* reason) {
    throw usage_error(fmt::format("{}: the file cannot be read: {}", file, reason),
                      {{}, file, 0, {}});
}

} // namespace

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) text += fmt::format("{:02x}", bytes[i]);
    return text;
}

file_stamp stamp_of_stream(std::FILE* opened) {
#if defined(_WIN32)
    struct _stat64 found {};
    if (_fstat64(_fileno(opened), &found) != 0) return {};
    return {found.st_size, found.st_mtime, 0};
#else
    struct stat found {};
    if (::fstat(::fileno(opened), &found) != 0 || !S_ISREG(found.st_mode)) return {};
    return {found.st_size, found.st_mtim.tv_sec, found.st_mtim.tv_nsec};
#endif
}

file_stamp stamp_of_file(const std::string& file) {
    std::error_code problem;
    const std::filesystem::path path = path_of(file);
    const auto bytes = std::filesystem::file_size(path, problem);
    if (problem) return {};
    const auto written = std::filesystem::last_write_time(path, problem);
    return {static_cast<std::int64_t>(bytes), 0,
            static_cast<std::int64_t>(written.time_since_epoch().count())};
}

void refuse_if_changed(const std::string& file, const file_stamp& before) {
    if (stamp_of_file(file) != before) refuse(file, changed_while_read);
}

file_mark mark_of_stream(std::FILE* opened, const std::string& file) {
    const file_stamp before = stamp_of_stream(opened);
    std::rewind(opened);
    sha256 sum;
    file_mark mark;
    std::string block(block_size, '\0');
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), opened)) {
        sum.add(block.data(), got);
        mark.bytes += static_cast<std::int64_t>(got);
    }
    if (std::ferror(opened)) refuse(file, std::strerror(errno));
    if (stamp_of_stream(opened) != before) refuse(file, changed_while_read);
    mark.sha256 = sum.hexadecimal();
    return mark;
}

file_mark mark_of_file(const std::string& file) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(open_file(file, 'r'),
                                                                 &std::fclose);
    if (!opened) refuse(file, std::strerror(errno));
    return mark_of_stream(opened.get(), file);
}

} // namespace qmx_study

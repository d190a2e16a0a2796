#include "study/base/file_hash.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <type_traits>

#include <fmt/format.h>
#include <gcrypt.h>
#include <sys/stat.h>

#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;

[[noreturn]] void refuse(const std::string& file, const char* reason) {
    throw usage_error(fmt::format("{}: the file cannot be read: {}", file, reason),
                      {{}, file, 0, {}});
}

// The library ends the program where it cannot read this; that there is no such file is all right.
void refuse_unreadable_system() {
    std::FILE* const file = open_file("/proc/sys/crypto/fips_enabled", 'r');
    const int error = errno;
    if (file) {
        std::fclose(file);
    } else if (error != ENOENT && error != EACCES) {
        throw analysis_error(fmt::format("the library of hashes (libgcrypt) cannot be set up: {}",
                                         std::strerror(error)));
    }
}

// The library wants to be set up once; without its secure memory, since nothing here is secret.
bool is_ready() {
    static const bool ready = [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0) return true;
        refuse_unreadable_system();
        if (!gcry_check_version(nullptr)) return false;
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    return ready;
}

struct digest_closer {
    void operator()(gcry_md_hd_t digest) const { gcry_md_close(digest); }
};
using digest = std::unique_ptr<std::remove_pointer_t<gcry_md_hd_t>, digest_closer>;

digest new_digest() {
    gcry_md_hd_t opened = nullptr;
    const gcry_error_t error = is_ready() ? gcry_md_open(&opened, GCRY_MD_SHA256, 0) : 1;
    if (gcry_err_code(error) == GPG_ERR_ENOMEM) throw std::bad_alloc();
    if (error != 0) throw analysis_error("the library of hashes (libgcrypt) does not work here");
    return digest(opened);
}

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) text += fmt::format("{:02x}", bytes[i]);
    return text;
}

} // namespace

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
    return {static_cast<std::int64_t>(bytes), 0, written.time_since_epoch().count()};
}

void refuse_if_changed(const std::string& file, const file_stamp& before) {
    if (stamp_of_file(file) != before) refuse(file, changed_while_read);
}

file_mark mark_of_stream(std::FILE* opened, const std::string& file) {
    const file_stamp before = stamp_of_stream(opened);
    std::rewind(opened);
    const digest sum = new_digest();
    file_mark mark;
    std::string block(block_size, '\0');
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), opened)) {
        gcry_md_write(sum.get(), block.data(), got);
        mark.bytes += static_cast<std::int64_t>(got);
    }
    if (std::ferror(opened)) refuse(file, std::strerror(errno));
    if (stamp_of_stream(opened) != before) refuse(file, changed_while_read);
    mark.sha256 =
        hexadecimal(gcry_md_read(sum.get(), GCRY_MD_SHA256), gcry_md_get_algo_dlen(GCRY_MD_SHA256));
    return mark;
}

file_mark mark_of_file(const std::string& file) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(open_file(file, 'r'),
                                                                 &std::fclose);
    if (!opened) refuse(file, std::strerror(errno));
    return mark_of_stream(opened.get(), file);
}

} // namespace qmx_study

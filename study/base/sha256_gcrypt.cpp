#include "study/base/sha256.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include <fmt/format.h>
#include <gcrypt.h>

#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"

namespace qmx_study {

namespace {

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

} // namespace

struct sha256::state {
    gcry_md_hd_t digest = nullptr;
    ~state() { gcry_md_close(digest); }
};

sha256::sha256() : sum(std::make_unique<state>()) {
    const gcry_error_t error = is_ready() ? gcry_md_open(&sum->digest, GCRY_MD_SHA256, 0) : 1;
    if (gcry_err_code(error) == GPG_ERR_ENOMEM) throw std::bad_alloc();
    if (error != 0) throw analysis_error("the library of hashes (libgcrypt) does not work here");
}

sha256::~sha256() = default;

void sha256::add(const char* bytes, std::size_t size) {
    gcry_md_write(sum->digest, bytes, size);
}

std::string sha256::hexadecimal() {
    return qmx_study::hexadecimal(gcry_md_read(sum->digest, GCRY_MD_SHA256),
                                  gcry_md_get_algo_dlen(GCRY_MD_SHA256));
}

} // namespace qmx_study

#include "study/base/sha256.hpp"

#include <sys/types.h>

#include <sha2.h>

namespace qmx_study {

struct sha256::state {
    SHA2_CTX context{};
};

sha256::sha256() : sum(std::make_unique<state>()) {
    SHA256Init(&sum->context);
}

sha256::~sha256() = default;

void sha256::add(const char* bytes, std::size_t size) {
    SHA256Update(&sum->context, reinterpret_cast<const unsigned char*>(bytes), size);
}

std::string sha256::hexadecimal() {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256Final(digest, &sum->context);
    return qmx_study::hexadecimal(digest, sizeof digest);
}

} // namespace qmx_study

// The build knows none: zlib unpacks.
#include "study/table/quick_unpacker.hpp"

namespace qmx_study {

struct quick_unpacker::state {};

quick_unpacker::quick_unpacker(std::unique_ptr<state> made) : now(std::move(made)) {}
quick_unpacker::~quick_unpacker() = default;

std::unique_ptr<quick_unpacker> quick_unpacker::made() {
    return nullptr;
}

void quick_unpacker::start_member() {}

quick_unpacker::outcome quick_unpacker::unpack(const char*&, std::size_t&, char*&, std::size_t&) {
    return outcome::trouble;
}

} // namespace qmx_study

#include "study/table/text_input.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#if defined(__unix__) || defined(__APPLE__)
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/base/open_file.hpp"
#include "study/table/encodings.hpp"
#include "study/table/gzip_unpacker.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

} // namespace

struct text_input::state {
    enum class encoding { bytes, utf16_little, utf16_big };
    struct closer {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };
    std::unique_ptr<std::FILE, closer> file;
    file_stamp stamp;                      // of the file as it was opened
    std::string refusal;                   // why nothing of it can be read
    std::optional<gzip_unpacker> unpacker; // of a packed file

    encoding written = encoding::bytes;
    std::string waiting; // text that was made but not handed out
    std::size_t handed = 0;
    std::uint32_t lead = 0; // the first half of a surrogate pair

    std::size_t raw(char* to, std::size_t size, std::string& trouble) {
        return unpacker ? unpacker->unpack(to, size, trouble) : plain(to, size, trouble);
    }

    std::size_t plain(char* to, std::size_t size, std::string& trouble) const {
        const std::size_t got = std::fread(to, 1, size, file.get());
        if (got < size && std::ferror(file.get()))
            trouble = std::strerror(errno);
        else if (got < size && stamp_of_stream(file.get()) != stamp)
            trouble = changed_while_read;
        return got;
    }

    // Pairs of bytes to UTF-8, behind `waiting`. A surrogate without its partner becomes U+FFFD.
    void take_pairs(std::string_view bytes) {
        constexpr std::uint32_t unknown = 0xFFFD;
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            const auto first = static_cast<unsigned char>(bytes[i]);
            const auto second = static_cast<unsigned char>(bytes[i + 1]);
            const std::uint32_t unit = written == encoding::utf16_little
                                           ? static_cast<std::uint32_t>(second << 8 | first)
                                           : static_cast<std::uint32_t>(first << 8 | second);
            if (lead != 0 && unit >= 0xDC00 && unit < 0xE000) {
                append_utf8(waiting, 0x10000 + ((lead - 0xD800) << 10) + (unit - 0xDC00));
                lead = 0;
                continue;
            }
            if (lead != 0) append_utf8(waiting, unknown);
            lead = unit >= 0xD800 && unit < 0xDC00 ? unit : 0;
            if (lead == 0) append_utf8(waiting, unit >= 0xDC00 && unit < 0xE000 ? unknown : unit);
        }
    }

    void start(std::string& trouble) {
        std::rewind(file.get());
        waiting.clear();
        handed = 0;
        lead = 0;
        if (unpacker) unpacker->start();
        char mark[4];
        std::size_t got = raw(mark, 3, trouble);
        const std::string_view seen(mark, got);
        written = encoding::bytes;
        if (seen == "\xEF\xBB\xBF") return;
        if (seen.starts_with("\xFF\xFE")) written = encoding::utf16_little;
        if (seen.starts_with("\xFE\xFF")) written = encoding::utf16_big;
        if (written == encoding::bytes) {
            waiting.assign(seen);
        } else {
            mark[0] = mark[2];
            got = raw(mark + 1, 1, trouble) + 1;
            take_pairs({mark, got});
        }
    }
};

namespace {

// A pipe cannot be read twice: its bytes are kept in a file that goes when it is closed.
std::FILE* spooled(std::FILE* pipe, std::string& trouble) {
    constexpr const char* full =
        "the disk is full where temporary files are kept; name a folder with "
        "more space in the environment variable TMPDIR";
    std::string block(block_size, '\0');
    std::FILE* const kept = open_temporary_file();
    const char* reason =
        kept ? nullptr
             : "there is no place for a temporary file to keep it in; name a folder "
               "in the environment variable TMPDIR";
    while (const std::size_t got = reason ? 0 : std::fread(block.data(), 1, block.size(), pipe))
        if (std::fwrite(block.data(), 1, got, kept) != got) reason = full;
    if (!reason && std::ferror(pipe)) reason = "it could not be read to its end";
    if (!reason && std::fflush(kept) != 0) reason = full;
    if (!reason) return kept;
    trouble = reason;
    if (kept) std::fclose(kept);
    return nullptr;
}

// Opens a file; a named pipe only where some program writes to it, or comes to within some seconds.
// Waiting for one that has gone already would never end.
std::FILE* opened(const std::string& path, std::string& trouble) {
#if defined(__unix__) || defined(__APPLE__)
    struct stat kind {};
    if (::stat(path.c_str(), &kind) == 0 && S_ISFIFO(kind.st_mode)) {
        constexpr int longest_wait = 5000; // milliseconds
        const int pipe = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (pipe >= 0) {
            pollfd wait{pipe, POLLIN, 0};
            if (::poll(&wait, 1, longest_wait) > 0) {
                ::fcntl(pipe, F_SETFL, ::fcntl(pipe, F_GETFL) & ~O_NONBLOCK);
                return ::fdopen(pipe, "rb");
            }
            ::close(pipe);
            trouble = "no program writes to this pipe; start the one that does before";
            return nullptr;
        }
    }
#endif
    std::FILE* const file = open_file(path, 'r');
    if (!file) trouble = std::strerror(errno);
    return file;
}

[[noreturn]] void refuse_changed(const std::string& file) {
    throw usage_error(fmt::format("{}: {}", file, changed_while_read), {{}, file, 0, {}});
}

// A packed file whose first two bytes are damaged would be taken for a text.
bool is_damaged_start(const std::string& path, std::string_view start) {
    return path.size() > 3 && path.ends_with(".gz") &&
           std::any_of(start.begin(), start.end(), [](char c) {
               const auto code = static_cast<unsigned char>(c);
               return code < 0x20 && c != '\t' && c != '\n' && c != '\r';
           });
}

} // namespace

text_input::text_input(const std::string& path) : now(std::make_unique<state>()) {
    const bool is_standard = path == "-";
    if (!is_standard) now->file.reset(opened(path, failure));
    std::FILE* const source = is_standard ? stdin : now->file.get();
    if (source && (is_standard || std::fseek(source, 0, SEEK_CUR) != 0))
        now->file.reset(spooled(source, failure));
    if (!now->file) return;
    std::rewind(now->file.get());
    char first[64];
    const std::string_view start(first, std::fread(first, 1, sizeof first, now->file.get()));
    if (std::ferror(now->file.get()))
        now->refusal = std::strerror(errno); // packed or not: not known
    now->stamp = stamp_of_stream(now->file.get());
    const bool is_packed = start.starts_with("\x1F\x8B");
    if (!is_packed && is_damaged_start(path, start)) now->refusal = damaged_gzip;
    if (is_packed) {
        state* const its = now.get(); // stays where it is, wherever this object goes
        now->unpacker.emplace(
            gzip_unpacker::packed_bytes{[its](char* to, std::size_t size, std::string& trouble) {
                                            return its->plain(to, size, trouble);
                                        },
                                        [its] { std::rewind(its->file.get()); }});
        if (!now->unpacker->has_memory()) now->refusal = "there is no memory to unpack it";
    }
    rewind();
}

text_input::~text_input() = default;
text_input::text_input(text_input&&) noexcept = default;

bool text_input::is_open() const {
    return now->file != nullptr;
}

void text_input::rewind() {
    if (!is_open()) return;
    failure = now->refusal;
    if (failure.empty()) now->start(failure);
}

std::size_t text_input::read(char* to, std::size_t size) {
    std::size_t given = 0;
    while (given < size && failure.empty()) {
        if (now->handed < now->waiting.size()) {
            const std::size_t part = std::min(size - given, now->waiting.size() - now->handed);
            // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes with their count, no C string
            std::memcpy(to + given, now->waiting.data() + now->handed, part);
            now->handed += part;
            given += part;
            continue;
        }
        if (now->written == state::encoding::bytes)
            return given + now->raw(to + given, size - given, failure);
        now->waiting.clear();
        now->handed = 0;
        std::string pairs(block_size, '\0');
        pairs.resize(now->raw(pairs.data(), pairs.size(), failure));
        if (pairs.empty()) {
            if (now->lead != 0) append_utf8(now->waiting, 0xFFFD);
            now->lead = 0;
            if (now->waiting.empty()) break;
        }
        now->take_pairs(pairs);
    }
    return given;
}

file_mark text_input::mark(const std::string& file) {
    file_mark found = mark_of_stream(now->file.get(), file);
    if (stamp_of_stream(now->file.get()) != now->stamp) refuse_changed(file);
    rewind();
    return found;
}

void text_input::refuse_if_changed(const std::string& file) const {
    if (is_open() && stamp_of_stream(now->file.get()) != now->stamp) refuse_changed(file);
}

double text_input::share_read() const {
    if (!is_open() || now->stamp.bytes <= 0) return 0;
    const auto taken = static_cast<double>(std::ftell(now->file.get()));
    const auto waiting = static_cast<double>(now->unpacker ? now->unpacker->waiting() : 0);
    return std::max(0.0, taken - waiting) / static_cast<double>(now->stamp.bytes);
}

std::string whole_text(const std::string& file) {
    text_input input(file);
    if (!input.is_open())
        throw usage_error(fmt::format("{}: the file cannot be opened: {}", file, input.failure),
                          {{}, file, 0, {}});
    std::string text;
    std::string block(block_size, '\0');
    while (const std::size_t got = input.read(block.data(), block.size()))
        text.append(block, 0, got);
    if (!input.failure.empty())
        throw usage_error(fmt::format("{}: reading stopped: {}", file, input.failure),
                          {{}, file, 0, {}});
    return text;
}

void refuse_damaged_gzip(const std::string& file) {
    if (!lower_case(file).ends_with(".gz") || file.starts_with("/vsi")) return;
    text_input packed(file);
    std::string block(std::size_t{1} << 16, '\0');
    while (packed.read(block.data(), block.size()) > 0) {}
    if (packed.failure.empty()) return;
    throw usage_error(fmt::format("{}: reading stopped: {}", file, packed.failure),
                      {{}, file, 0, {}});
}

} // namespace qmx_study

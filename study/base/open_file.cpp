#include "study/base/open_file.hpp"

#if defined(_WIN32)

#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>

namespace qmx_study {

namespace {

constexpr int longest_name = 4096;

// False where the name is no UTF-8 or too long.
bool widen(const char* name, wchar_t (&wide)[longest_name]) noexcept {
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, wide, longest_name) > 0;
}

int error_of(DWORD code) {
    const std::error_code from_system(static_cast<int>(code), std::system_category());
    const std::error_condition known = from_system.default_error_condition();
    return known.category() == std::generic_category() ? known.value() : EIO;
}

// A stream over the handle, which goes with it.
std::FILE* stream_of(HANDLE handle, bool reads, bool writes) {
    const int flags = _O_BINARY | (reads ? (writes ? _O_RDWR : _O_RDONLY) : _O_WRONLY);
    const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), flags);
    if (number < 0) {
        CloseHandle(handle);
        errno = EMFILE;
        return nullptr;
    }
    std::FILE* const stream = _fdopen(number, reads ? (writes ? "w+b" : "rb") : "wb");
    if (!stream) _close(number);
    return stream;
}

} // namespace

std::FILE* open_file(const std::string& name, char mode) {
    const auto wide = std::make_unique<wchar_t[][longest_name]>(1);
    if (!widen(name.c_str(), wide[0])) {
        errno = ENOENT;
        return nullptr;
    }
    const bool reads = mode == 'r';
    // With leave to delete, so that an unfinished file can be removed while it is open.
    const HANDLE handle =
        CreateFileW(wide[0], reads ? GENERIC_READ : GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    reads ? OPEN_EXISTING : (mode == 'x' ? CREATE_NEW : CREATE_ALWAYS),
                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = error_of(GetLastError());
        return nullptr;
    }
    return stream_of(handle, reads, !reads);
}

std::FILE* open_temporary_file() {
    wchar_t folder[MAX_PATH + 1], name[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"qmx", 0, name) == 0)
        return nullptr;
    const HANDLE handle =
        CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    return handle == INVALID_HANDLE_VALUE ? nullptr : stream_of(handle, true, true);
}

int refusal_to_write(const std::string& name) noexcept {
    wchar_t wide[longest_name];
    if (!widen(name.c_str(), wide)) return ENOENT;
    const DWORD found = GetFileAttributesW(wide);
    return found != INVALID_FILE_ATTRIBUTES && (found & FILE_ATTRIBUTE_READONLY) != 0 ? EACCES : 0;
}

void remove_file(const char* name) noexcept {
    wchar_t wide[longest_name];
    if (widen(name, wide)) DeleteFileW(wide);
}

void use_binary_streams() {
    for (std::FILE* const stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
}

} // namespace qmx_study

#else

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace qmx_study {

namespace {

#if defined(__wasi__)
// Nobody else is there who would take the name.
std::FILE* temporary_file_in(const char* folder) {
    const std::string name = std::string(folder) + "/qmx-ic";
    std::FILE* const stream = std::fopen(name.c_str(), "w+bx");
    if (stream) ::unlink(name.c_str());
    return stream;
}
#else
std::FILE* temporary_file_in(const char* folder) {
    int file = -1;
#if defined(O_TMPFILE)
    file = ::open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600); // never has a name
#endif
    std::string name = std::string(folder) + "/qmx-ic-XXXXXX";
    if (file < 0 && (file = ::mkstemp(name.data())) >= 0) ::unlink(name.c_str());
    if (file < 0) return nullptr;
    std::FILE* const stream = ::fdopen(file, "w+b");
    if (!stream) ::close(file);
    return stream;
}
#endif

} // namespace

std::FILE* open_file(const std::string& name, char mode) {
    return std::fopen(name.c_str(), mode == 'r' ? "rb" : (mode == 'x' ? "wbx" : "wb"));
}

std::FILE* open_temporary_file() {
    const char* const named = std::getenv("TMPDIR");
    std::FILE* const file = named && *named ? temporary_file_in(named) : nullptr;
    return file ? file : temporary_file_in("/tmp");
}

int refusal_to_write(const std::string& name) noexcept {
    return ::access(name.c_str(), F_OK) == 0 && ::access(name.c_str(), W_OK) != 0 ? errno : 0;
}

void remove_file(const char* name) noexcept {
    std::remove(name);
}

void use_binary_streams() {
    for (int stream = 0; stream < 3; ++stream)
        if (::fcntl(stream, F_GETFD) == -1 && errno == EBADF)
            ::open("/dev/null", stream == 1 ? O_RDONLY : O_WRONLY); // printing the answer fails
}

} // namespace qmx_study

#endif

namespace qmx_study {

std::filesystem::path path_of(std::string_view name) {
    return std::u8string(name.begin(), name.end());
}

} // namespace qmx_study

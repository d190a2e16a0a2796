// A file that lives as long as the object.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>
#include <zlib.h>

namespace study_test {

class temporary_file {
public:
    // ending: of the name, ".csv"
    temporary_file(const std::string& ending, const std::string& text) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / ("qmx-study-XXXXXX" + ending)).string();
        close(mkstemps(pattern.data(), static_cast<int>(ending.size())));
        name_ = pattern;
        write(text);
    }
    ~temporary_file() { std::filesystem::remove(name_); }
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;

    const std::string& name() const { return name_; }
    void write(const std::string& text) const { std::ofstream(name_, std::ios::binary) << text; }

private:
    std::string name_;
};

inline std::string gzipped(const std::string& text) {
    z_stream packer{};
    deflateInit2(&packer, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&packer, text.size()) + 64, '\0');
    packer.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    packer.avail_in = static_cast<uInt>(text.size());
    packer.next_out = reinterpret_cast<Bytef*>(packed.data());
    packer.avail_out = static_cast<uInt>(packed.size());
    deflate(&packer, Z_FINISH);
    packed.resize(packer.total_out);
    deflateEnd(&packer);
    return packed;
}

} // namespace study_test

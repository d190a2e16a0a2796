// Runs the built program on files in a folder of the test's own.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace app_test {

struct outcome {
    int code = -1;
    std::string out, err;
    nlohmann::json json() const { return nlohmann::json::parse(out); }
    // A test that looks for a text shows everything when it is not there.
    // A sentence may be broken into lines.
    testing::AssertionResult says(const std::string& text) const {
        const std::string all = out + err;
        const std::string in_one_line = std::regex_replace(all, std::regex("\\n +"), " ");
        if (all.find(text) != std::string::npos || in_one_line.find(text) != std::string::npos)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "\"" << text << "\" is missing; exit code " << code << "\n"
               << out << err;
    }
};

// A command line that is refused, and words of the message.
struct refusal {
    std::string arguments;
    std::string message;
    int code = 2;
};

// The program under test: that of this build, or the one that an environment variable names, which
// knows no GDAL.
inline std::string program() {
    const char* const named = std::getenv("QMX_IC_PROGRAM");
    return std::string("'") + (named ? named : QMX_IC_PROGRAM) + "'";
}

// Whether it was built with GDAL and PROJ, which projecting needs.
#if QMX_IC_WITH_GDAL
inline const bool can_project = std::getenv("QMX_IC_PROGRAM") == nullptr;
#else
inline const bool can_project = false;
#endif

struct wanted_number {
    const char* key;
    double value, tolerance;
};
inline void expect_numbers(const nlohmann::json& object, const std::vector<wanted_number>& wanted) {
    for (const auto& [key, value, tolerance] : wanted)
        EXPECT_NEAR(object[key].get<double>(), value, tolerance) << key;
}

inline std::string text_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

// A folder that lives as long as the test.
class Program : public testing::Test {
protected:
    Program() {
        std::string name = (std::filesystem::temp_directory_path() / "qmx-ic-test-XXXXXX").string();
        folder = mkdtemp(name.data());
    }
    ~Program() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
        return path(name);
    }

    // arguments: as a shell reads them; files by their names in the folder.
    outcome run(const std::string& arguments) const {
        outcome result;
        const std::string command = "cd '" + folder.string() + "' && " + program() + " " +
                                    arguments + " > out.txt 2> err.txt";
        const int status = std::system(command.c_str());
        result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.out = text_of(folder / "out.txt");
        result.err = text_of(folder / "err.txt");
        return result;
    }

    // Each is refused with nothing on standard output.
    void expect_refused(const std::string& command, const std::vector<refusal>& refusals) const {
        for (const auto& [arguments, message, code] : refusals) {
            SCOPED_TRACE(command + " " + arguments);
            const outcome result = run(command + " " + arguments);
            EXPECT_EQ(result.code, code);
            EXPECT_EQ(result.out, "");
            EXPECT_TRUE(result.says(message));
        }
    }

    std::filesystem::path folder;
};

// The folder of the real files, which the environment variable QMX_IC_DATA names.
class RealFiles : public Program {
protected:
    void SetUp() override {
        const char* const data = std::getenv("QMX_IC_DATA");
        if (!data) GTEST_SKIP() << "QMX_IC_DATA does not name the folder of the real files";
        data_folder = data;
    }
    std::string data_folder;
};

} // namespace app_test

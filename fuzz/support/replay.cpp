// A target without libFuzzer: replays the inputs of folders, and a number of seeded changes of each.
//
//     fuzz_X [--changes N] [--seed S] [--list] [--notices] FOLDER...
//
// Ends with 0 when all properties held, each of the target's properties was looked at, and there were inputs.
// --list: says how often each was looked at. --notices: sees instead, in processes of its own, that each
// property ends the run when it is broken.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "support/input_bytes.hpp"
#include "support/property.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int*, char***);

namespace {

using input = std::vector<std::uint8_t>;

constexpr std::size_t longest = 4096;

std::vector<input> inputs_of(const std::vector<std::string>& folders) {
    std::vector<std::filesystem::path> files;
    for (const std::string& folder : folders)
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<input> all;
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        all.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return all;
}

// A few bytes other, gone, doubled, or taken from another input.
input changed(const input& from, const std::vector<input>& all, fuzz::seeded& random) {
    input made = from;
    for (int left = 1 + random.below(4); left > 0; --left) {
        const auto place = [&] { return random.bits() % (made.size() + 1); };
        const std::size_t at = place(), length = 1 + random.bits() % 8;
        const input& other = all[random.bits() % all.size()];
        switch (random.below(6)) {
        case 0:
            if (at < made.size()) made[at] = static_cast<std::uint8_t>(random.bits());
            break;
        case 1:
            if (at < made.size()) made[at] ^= static_cast<std::uint8_t>(1U << random.below(8));
            break;
        case 2:
            made.erase(made.begin() + static_cast<std::ptrdiff_t>(at),
                       made.begin() +
                           static_cast<std::ptrdiff_t>(std::min(made.size(), at + length)));
            break;
        case 3:
            made.insert(made.begin() + static_cast<std::ptrdiff_t>(at), length,
                        static_cast<std::uint8_t>(random.bits()));
            break;
        case 4:
            for (std::size_t i = 0; i < length && at + i < made.size() && at + i < other.size();
                 ++i)
                made[at + i] = other[at + i];
            break;
        default: {
            const std::size_t cut = random.bits() % (other.size() + 1);
            made.resize(at);
            made.insert(made.end(), other.begin() + static_cast<std::ptrdiff_t>(cut), other.end());
        }
        }
    }
    made.resize(std::min(made.size(), longest));
    return made;
}

void run(const input& bytes) {
    // In a block of its own, so that reading behind it shows.
    const input exact(bytes);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

std::uint64_t run_all(const std::vector<input>& all, int changes, std::uint64_t seed) {
    fuzz::seeded random(seed);
    for (const input& each : all) {
        run(each);
        for (int i = 0; i < changes; ++i) run(changed(each, all, random));
    }
    return all.size() * (1 + static_cast<std::uint64_t>(changes));
}

bool is_noticed(const char* name, const std::vector<input>& all) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        if (!std::freopen("/dev/null", "w", stderr)) ::_exit(1);
        std::signal(SIGABRT, SIG_DFL);
        fuzz::lie_about(name);
        for (const input& each : all) run(each);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const bool noticed = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
    if (!noticed) std::printf("broken, and not noticed: %s\n", name);
    return noticed;
}

bool are_noticed(const std::vector<input>& all) {
    bool noticed = true;
    int count = 0;
    for (const fuzz::property* each = fuzz::property::first; each; each = each->next, ++count)
        noticed = is_noticed(each->name, all) && noticed;
    if (noticed) std::printf("each of %d properties is noticed when it is broken\n", count);
    return noticed && count > 0;
}

} // namespace

int main(int argc, char** argv) {
    int changes = 0;
    std::uint64_t seed = 1;
    bool lists = false, notices = false;
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--changes" && i + 1 < argc)
            changes = std::stoi(argv[++i]);
        else if (word == "--seed" && i + 1 < argc)
            seed = std::stoull(argv[++i]);
        else if (word == "--list")
            lists = true;
        else if (word == "--notices")
            notices = true;
        else
            folders.push_back(word);
    }
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
    const std::vector<input> all = inputs_of(folders);
    if (all.empty()) {
        std::fprintf(stderr, "there are no inputs\n");
        return 1;
    }
    if (notices) return are_noticed(all) ? 0 : 1;
    fuzz::lie_about(std::getenv("QMX_IC_FUZZ_LIE"));
    const std::uint64_t runs = run_all(all, changes, seed);
    std::printf("%llu runs, of %zu inputs\n", static_cast<unsigned long long>(runs), all.size());
    int unseen = 0;
    for (const fuzz::property* each = fuzz::property::first; each; each = each->next) {
        if (lists)
            std::printf("%12llu  %s\n", static_cast<unsigned long long>(each->looked_at),
                        each->name);
        if (each->looked_at > 0) continue;
        ++unseen;
        std::printf("no input looks at: %s\n", each->name);
    }
    return unseen > 0 ? 1 : 0;
}

// Runs a fuzz target over files, and over those of folders. Usage: NAME_fuzz FILE-OR-FOLDER...
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz.hpp"

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    vrx::fuzz::require(file.good(), "every file of the corpus can be read");
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    std::printf("%s, %zu bytes\n", path.c_str(), input.size());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
    unsigned count = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            replay(argv[i]);
            ++count;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            replay(entry.path());
            ++count;
        }
    }
    vrx::fuzz::require(count != 0, "there are inputs");
}

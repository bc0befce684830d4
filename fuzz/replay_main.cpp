// Replays inputs on a fuzz target. Usage: NAME_fuzz FILE... A .hex file has one input per line in hexadecimal; any
// other file is one input.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz.hpp"

namespace {

void run(const std::string& name, const std::vector<std::uint8_t>& input) {
    std::printf("%s, %zu bytes\n", name.c_str(), input.size());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

std::vector<std::uint8_t> from_hex(const std::string& line) {
    constexpr const char* only_hex = "a corpus holds pairs of hex digits";
    vrx::fuzz::require(line.size() % 2 == 0, only_hex);
    std::vector<std::uint8_t> input;
    for (std::size_t i = 0; i < line.size(); i += 2) {
        std::size_t read = 0;
        input.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(i, 2), &read, 16)));
        vrx::fuzz::require(read == 2, only_hex);
    }
    return input;
}

/** Runs all inputs of a file and returns their number. */
unsigned replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    vrx::fuzz::require(file.good(), "every file can be read");
    if (path.extension() != ".hex") {
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        run(path, {bytes.begin(), bytes.end()});
        return 1;
    }
    unsigned count = 0;
    for (std::string line; std::getline(file, line);)
        run(path.string() + ":" + std::to_string(++count), from_hex(line));
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    unsigned count = 0;
    for (int i = 1; i < argc; ++i) count += replay(argv[i]);
    vrx::fuzz::require(count != 0, "there are inputs");
    std::printf("%u inputs\n", count);
}

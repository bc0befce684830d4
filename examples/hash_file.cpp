// Prints the GOST R 34.11-94 digests of files, as `vrx hash` does. Usage: hash_file FILE...
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vrx.hpp>

namespace {

// Hashes a file piece by piece, so that the file may be larger than memory.
bool hash_file(const char *name, vrx::Digest &digest) {
    std::FILE *const file = std::fopen(name, "rb");
    if (file == nullptr) return false;
    vrx::Hash hash;
    std::uint8_t piece[65536];
    while (const std::size_t got = std::fread(piece, 1, sizeof piece, file)) hash.update({piece, got});
    const bool all = std::ferror(file) == 0;
    std::fclose(file);
    digest = hash.finish();
    return all;
}

}  // namespace

int main(int argc, char **argv) {
    int code = 0;
    for (int i = 1; i < argc; i++) {
        vrx::Digest digest;
        if (hash_file(argv[i], digest)) {
            std::printf("%s  %s\n", vrx::to_hex(digest).c_str(), argv[i]);
        } else {
            std::fprintf(stderr, "hash_file: cannot read '%s': %s\n", argv[i], std::strerror(errno));
            code = 2;
        }
    }
    return code;
}

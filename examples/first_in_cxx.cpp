// The example first.c in C++20. Keys and IVs have types of their own, a result is a value or an error, and destructors
// zero secrets.
#include <cstdio>
#include <vrx.hpp>

int main() {
    const vrx::Key key(std::array<std::uint32_t, 8>{1, 2, 3, 4, 5, 6, 7, 8});  // in real use: vrx::Key::random()
    const vrx::Iv iv;                                                          // in real use: vrx::Iv::random()
    std::uint8_t text[64];
    std::size_t done = 0;

    vrx::Encryptor cipher(key, iv);
    for (const char *piece : {"Attack ", "at ", "dawn."}) {
        const auto written = cipher.update(vrx::bytes_of(piece), vrx::MutableBytes(text).subspan(done));
        if (!written) {
            std::fprintf(stderr, "%s: %s\n", vrx::name(written.error()), vrx::text(written.error()));
            return 1;
        }
        done += *written;
    }
    std::puts(vrx::to_hex({text, done}).c_str());

    if (!vrx::decrypt(key, iv, {text, done}, text)) return 1;
    std::printf("%.*s\n", static_cast<int>(done), reinterpret_cast<const char *>(text));
    return 0;
}

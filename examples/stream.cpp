// Encrypts a file piece by piece, appends a MAC, and decrypts the result. Usage: stream FILE
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vrx.hpp>

namespace {

constexpr std::size_t mac_size = vrx::MacValue::extent;

bool write(vrx::Bytes bytes, std::FILE *to) { return std::fwrite(bytes.data(), 1, bytes.size(), to) == bytes.size(); }

// Writes the IV, the ciphertext, and the MAC of both. The MAC detects changes. Encryption and MAC use separate keys.
bool encrypt(std::FILE *from, std::FILE *to, const vrx::Key &key, const vrx::Key &mac_key) {
    const auto iv = vrx::Iv::random();
    if (!iv || !write(*iv, to)) return false;
    vrx::Encryptor cipher(key, *iv);
    vrx::Mac mac(mac_key);
    if (!mac.update(*iv)) return false;
    std::uint8_t piece[4096];
    while (const std::size_t got = std::fread(piece, 1, sizeof piece, from)) {
        const vrx::MutableBytes bytes(piece, got);
        if (!cipher.update(bytes) || !mac.update(bytes) || !write(bytes, to)) return false;
    }
    const auto tag = mac.finish();
    return std::ferror(from) == 0 && cipher.finish() && tag && write(*tag, to);
}

// Returns whether the MAC is valid. Do not use any plaintext until this has returned true.
bool decrypt(std::FILE *from, std::FILE *to, const vrx::Key &key, const vrx::Key &mac_key) {
    vrx::Iv iv;
    if (std::fread(iv.data(), 1, iv.size(), from) != iv.size()) return false;
    vrx::Decryptor cipher(key, iv);
    vrx::Mac mac(mac_key);
    if (!mac.update(iv)) return false;
    std::uint8_t piece[4096];
    std::size_t held = 0;  // bytes not decrypted yet, because the last 8 bytes of the file are the MAC
    while (const std::size_t got = std::fread(piece + held, 1, sizeof piece - held, from)) {
        const std::size_t there = held + got;
        const vrx::MutableBytes text(piece, there - std::min(there, mac_size));
        if (!mac.update(text) || !cipher.update(text) || !write(text, to)) return false;
        held = there - text.size();
        std::memmove(piece, piece + text.size(), held);
    }
    const auto tag = vrx::MacValue::from({piece, held});
    const auto expected = mac.finish();
    return std::ferror(from) == 0 && tag && expected && *tag == *expected;
}

}  // namespace

int main(int argc, char **argv) {
    std::FILE *const plain = argc == 2 ? std::fopen(argv[1], "rb") : nullptr;
    std::FILE *const secret = std::tmpfile();
    std::FILE *const again = std::tmpfile();
    const auto key = vrx::Key::random();
    const auto mac_key = vrx::Key::random();
    if (plain == nullptr || secret == nullptr || again == nullptr || !key || !mac_key) {
        std::fputs("stream: cannot open the files, or no random numbers are available\n", stderr);
        return 2;
    }
    if (!encrypt(plain, secret, *key, *mac_key)) return 1;
    std::printf("%ld bytes of plaintext, %ld bytes encrypted\n", std::ftell(plain), std::ftell(secret));

    std::rewind(secret);
    std::puts(decrypt(secret, again, *key, *mac_key) ? "decrypted, the MAC is valid" : "the MAC is NOT valid");
    std::fseek(secret, 10, SEEK_SET);
    const int byte = std::fgetc(secret);
    std::fseek(secret, 10, SEEK_SET);
    std::fputc(byte ^ 1, secret);
    std::rewind(secret);
    std::rewind(again);
    std::puts(decrypt(secret, again, *key, *mac_key) ? "decrypted, the MAC is valid" : "the MAC is NOT valid");
    return 0;
}

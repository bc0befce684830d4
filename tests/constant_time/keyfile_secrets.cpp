// Reads, checks and writes private keys with vrx/keyfile.h. The keys are marked as uninitialised memory, so valgrind
// reports every branch and address that depends on them. Usage: keyfile_secrets clean | control. "control" compares a
// key with the order of its curve by memcmp(), which valgrind must report.
#include <valgrind/memcheck.h>
#include <vrx.h>
#include <vrx/keyfile.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

void hide(void* memory, std::size_t size) { static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(memory, size)); }

/** Makes memory public. @return true if at least one bit of every octet was secret, or if valgrind does not run. */
bool reveal(const void* memory, std::size_t size) {
    std::array<unsigned char, 512> bits{};
    const bool traced = size <= bits.size() && VALGRIND_GET_VBITS(memory, bits.data(), size) == 1;
    static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(memory, size));
    return !traced || std::all_of(bits.begin(), bits.begin() + static_cast<std::ptrdiff_t>(size),
                                  [](unsigned char b) { return b != 0; });
}

/** A number below the order of every built-in curve. Its octets are all different, and none of them is zero. */
Bytes number() {
    Bytes octets(VRX_PRIVATE_KEY_SIZE);
    for (std::size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<std::uint8_t>(7 * i + 33);
    octets.back() = 0x11;
    return octets;
}

/** A file with a private key. */
struct File {
    Bytes der;
    std::size_t at;    // where the number begins
    std::size_t size;  // of the number
};

/** PKCS #8 with these octets before the number. */
File file(std::initializer_list<std::uint8_t> head, const Bytes& value) {
    const Bytes start{0x30, 0,    0x02, 0x01, 0x00, 0x30, 0x13, 0x06, 0x06, 0x2a, 0x85, 0x03, 0x02, 0x02,
                      0x13, 0x30, 0x09, 0x06, 0x07, 0x2a, 0x85, 0x03, 0x02, 0x02, 0x23, 0x01, 0x04};
    Bytes der = start;
    der.push_back(static_cast<std::uint8_t>(head.size() + value.size()));
    der.insert(der.end(), head);
    const std::size_t at = der.size();
    der.insert(der.end(), value.begin(), value.end());
    der[1] = static_cast<std::uint8_t>(der.size() - 2);
    return {der, at, value.size()};
}

std::vector<File> files() {
    const Bytes octets = number();
    const Bytes digits(octets.rbegin(), octets.rend());
    const Bytes part(octets.begin(), octets.begin() + 20);
    return {file({}, octets), file({0x04, 0x20}, octets), file({0x02, 0x20}, digits), file({0x04, 0x14}, part),
            file({0x02, 0x14}, Bytes(digits.begin(), digits.begin() + 20))};
}

/** Reads a file whose number is secret, and compares the key with that of the public file. */
bool is_read(void* secret, std::size_t size, const Bytes& der, bool all_octets) {
    vrx_private_key expected, key;
    if (vrx_read_private_key(der.data(), der.size(), &expected) != VRX_OK) return false;
    if (vrx_read_private_key(secret, size, &key) != VRX_OK) return false;
    const bool is_secret = reveal(key.d, all_octets ? 20 : 1) || !all_octets;
    static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(&key, sizeof key));
    return is_secret && std::ranges::equal(key.d, expected.d);
}

bool reads_der() {
    return std::ranges::all_of(files(), [](const File& file) {
        Bytes secret = file.der;
        hide(secret.data() + file.at, file.size);
        return is_read(secret.data(), secret.size(), file.der, true);
    });
}

bool reads_pem() {
    return std::ranges::all_of(files(), [](const File& file) {
        std::array<char, VRX_KEY_FILE_SIZE> text;
        std::size_t size = 0;
        if (vrx_encode_pem("PRIVATE KEY", file.der.data(), file.der.size(), text.data(), text.size(), &size) != VRX_OK)
            return false;
        // Marks characters of base64 as secret, but only those that encode nothing except octets of the number.
        std::size_t character = 0;
        const auto body = std::find(text.begin(), text.end(), '\n');
        for (auto at = body; character / 4 * 3 < file.der.size(); ++at) {
            if (*at == '\n') continue;
            const std::size_t group = character++ / 4 * 3;
            if (group >= file.at && group + 3 <= file.at + file.size) hide(&*at, 1);
        }
        return is_read(text.data(), size, file.der, false);
    });
}

bool writes() {
    for (const int form : {VRX_KEY_DER, VRX_KEY_PEM}) {
        vrx_private_key key;
        const Bytes der = files().front().der;
        if (vrx_read_private_key(der.data(), der.size(), &key) != VRX_OK) return false;
        const vrx_private_key expected = key;
        hide(key.d, VRX_PRIVATE_KEY_SIZE);
        std::array<std::uint8_t, VRX_KEY_FILE_SIZE> file;
        std::size_t size = 0;
        if (vrx_write_private_key(&key, form, file.data(), file.size(), &size) != VRX_OK) return false;
        if (form == VRX_KEY_DER && !reveal(file.data() + size - VRX_PRIVATE_KEY_SIZE, VRX_PRIVATE_KEY_SIZE))
            return false;
        static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(file.data(), file.size()));
        if (vrx_read_private_key(file.data(), size, &key) != VRX_OK || !std::ranges::equal(key.d, expected.d))
            return false;
    }
    return true;
}

/** Checks numbers in and out of range, and malformed ones, whose refusal is public. */
bool refuses() {
    const EcParamSet& set = *get_GOSTR3410_par(1);
    for (const bool valid : {true, false}) {
        std::array<std::uint32_t, VRX_ECC_DIGITS> d;
        std::ranges::copy(set.q, d.begin());
        if (valid) --d[0];
        hide(d.data(), sizeof d);
        if ((vrx_check_private_key(&set, d.data()) == VRX_OK) != valid) return false;
    }
    const Bytes zero_at_end = {1, 2, 0};
    for (File file : {file({0x02, 0x03}, {0, 0x7F, 1}), file({0x02, 0x03}, {0x80, 1, 1}),
                      file({0x04, 0x03}, zero_at_end), file({}, Bytes(VRX_PRIVATE_KEY_SIZE, 0))}) {
        vrx_private_key key;
        hide(file.der.data() + file.at, file.size);
        const int rc = vrx_read_private_key(file.der.data(), file.der.size(), &key);
        if (rc != (file.size == VRX_PRIVATE_KEY_SIZE ? VRX_ERR_KEY_NUMBER : VRX_ERR_KEY_DER)) return false;
    }
    return true;
}

bool control() {
    Bytes octets = number();
    hide(octets.data(), octets.size());
    return std::memcmp(octets.data(), get_GOSTR3410_par(1)->q, octets.size()) != 0;
}

}  // namespace

int main(int, char** argv) {
    const bool good =
        std::string_view(argv[1]) == "control" ? control() : reads_der() && reads_pem() && writes() && refuses();
    if (!good) std::fputs("unexpected result\n", stderr);
    return good ? 0 : 1;
}

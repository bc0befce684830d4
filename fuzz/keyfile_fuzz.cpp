// Fuzz target: key files. Every key that is read is valid, and is the same after it is written and read again, in both
// forms. A PEM file gives the same result as the DER inside it.
#include <vrx/keyfile.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz.hpp"

namespace {

using vrx::fuzz::require;
using Bytes = std::vector<std::uint8_t>;

bool same(const vrx_public_key& a, const vrx_public_key& b) {
    return a.curve == b.curve && a.hash == b.hash && a.cipher == b.cipher && std::ranges::equal(a.Q.x, b.Q.x) &&
           std::ranges::equal(a.Q.y, b.Q.y);
}
bool same(const vrx_private_key& a, const vrx_private_key& b) {
    return a.curve == b.curve && a.hash == b.hash && a.cipher == b.cipher && std::ranges::equal(a.d, b.d);
}

void require_valid(const vrx_public_key& key) {
    require(vrx_check_public_key(key.curve, &key.Q) == VRX_OK, "a public key that is read is a point");
}
void require_valid(const vrx_private_key& key) {
    require(mpIsZero(key.d, VRX_ECC_DIGITS) == 0 && mpCompare(key.d, key.curve->q, VRX_ECC_DIGITS) < 0,
            "a private key that is read is in range");
}

template <typename Key>
bool is_zero(const Key& key) {
    const auto* const octets = reinterpret_cast<const std::uint8_t*>(&key);
    return std::all_of(octets, octets + sizeof key, [](std::uint8_t octet) { return octet == 0; });
}

template <typename Key, typename Read, typename Write>
void check(const Bytes& file, const char* label, Read read, Write write) {
    Key key, again;
    const int rc = read(file.data(), file.size(), &key);
    require(std::strcmp(vrx_key_error_name(rc), "VRX_ERR_?") != 0, "each code has a name");

    // The same octets in PEM.
    std::string text(2 * file.size() + 100, '\0');
    std::size_t size = 0;
    require(vrx_encode_pem(label, file.data(), file.size(), text.data(), text.size(), &size) == VRX_OK,
            "PEM is written");
    const int of_pem = read(text.data(), size, &again);
    if (rc == VRX_OK && file.front() == 0x30) {
        if (file.size() > VRX_KEY_DER_LIMIT) return require(of_pem == VRX_ERR_KEY_LENGTH, "a long block is refused");
        require(of_pem == VRX_OK && same(key, again), "a key in PEM is the one in DER");
    }
    if (rc != VRX_OK) return require(is_zero(key), "a failure leaves no key");

    require_valid(key);
    require(key.hash != nullptr && key.cipher != nullptr, "each key has its sets");
    for (const int form : {VRX_KEY_DER, VRX_KEY_PEM}) {
        Bytes written(VRX_KEY_FILE_SIZE);
        require(write(&key, form, written.data(), written.size(), &size) == VRX_OK, "a key that is read is written");
        require(read(written.data(), size, &again) == VRX_OK && same(key, again), "and is the same again");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Bytes file(data, data + size);
    check<vrx_public_key>(file, "PUBLIC KEY", vrx_read_public_key, vrx_write_public_key);
    check<vrx_private_key>(file, "PRIVATE KEY", vrx_read_private_key, vrx_write_private_key);
    return 0;
}

// Reads a private key that another program encrypted with a password (PKCS #8, PBES2).
#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vrx.hpp>

namespace {

template <std::size_t size>
std::array<std::uint8_t, size> octets(std::string_view hex) {
    std::array<std::uint8_t, size> result;
    vrx::from_hex(hex, result).value();
    return result;
}

// Returns the octets that follow `start` in a DER encoding. This suffices for a known layout, but it is not a DER
// parser.
vrx::Bytes after(vrx::Bytes der, vrx::Bytes start) {
    const auto at = std::search(der.begin(), der.end(), start.begin(), start.end());
    return der.subspan(std::min(der.size(), static_cast<std::size_t>(at - der.begin()) + start.size()));
}

}  // namespace

int main() {
    // These values are in the file: the parameters of PBKDF2 and of the cipher, and the encrypted key.
    const auto salt = octets<32>("ba6e1a22b5dcc4d361c9630aefb7a7d2f8943f5051c89d7f4ba89811fca745f8");
    const std::uint64_t iterations = 2000;
    const vrx::Iv iv(octets<8>("962a6f78c3c8232c"));
    auto key_info = octets<71>(
        "738528bbbf5bcbeec519a5c4129a6a734c28fe4e091f7f8b8ba7a847947736df124e17a7"
        "5c3ef5655cfb6245498da65e7a06ab95468ec66f4bf1ea928b811f1e24d99b59da06b4");
    const std::string_view password = "\u041f\u0430\u0440\u043e\u043b\u044c \u0434\u043b\u044f PFX";  // in UTF-8

    const auto key = vrx::pbkdf2(vrx::bytes_of(password), salt, iterations, vrx::oid::hash_cryptopro);
    if (!key || !vrx::decrypt(*key, iv, key_info, key_info, *vrx::cipher_set(1))) return 1;

    // PrivateKeyInfo: after the identifier of the algorithm, a SEQUENCE of parameters begins with the identifier of the
    // curve.
    const auto algorithm = octets<10>("06062a85030202133012");
    const vrx::Bytes parameters = after(key_info, algorithm);
    const vrx::Curve *curve = nullptr;
    if (parameters.size() > VRX_ECC_OID_SIZE) curve = vrx::find_curve(parameters.first(VRX_ECC_OID_SIZE));
    if (curve == nullptr) {
        std::fputs("legacy_key: invalid password, or unknown curve\n", stderr);
        return 1;
    }
    // The private key is an OCTET STRING at the end, least significant octet first. Some files contain an INTEGER (tag
    // 02) instead, whose octets are in the opposite order.
    const auto own = vrx::PrivateKey::from_octets(vrx::Bytes(key_info).last(32), *curve);
    if (!own) return 1;
    const auto public_key = own->public_key();
    if (!public_key) return 1;
    std::printf("curve      %s\npublic key %s\n", curve->str_oid, vrx::to_hex(public_key->octets()).c_str());
    return 0;
}

#include "keys/key_format.hpp"

#include <vrx/keyfile.h>

#include <algorithm>

#include "io/failure.hpp"
#include "keys/der.hpp"

namespace vrx::app {
namespace {

using documents::Part;

// id-Gost28147-89 (RFC 4357, section 4)
constexpr std::uint8_t cipher_oid[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x15};
constexpr std::uint8_t version_zero[] = {0x02, 0x01, 0x00};

/** The result of a function that parses a key, and the algorithm that it found. */
Content content(int rc, const vrx_key_algorithm& found, Algorithm& algorithm) {
    algorithm = {};
    algorithm.oid = gost_key_oid;
    if (rc == VRX_ERR_KEY_PARAMETERS) return Content::foreign;
    if (rc == VRX_ERR_KEY_ALGORITHM) {
        der::Reader identifier(Part(found.oid, found.oid_length));
        const auto dotted = der::dotted(identifier.next(der::object_identifier).value_or(Part{}));
        algorithm.oid = dotted.value_or("");
        return dotted ? Content::foreign : Content::other;
    }
    if (rc != VRX_OK) return Content::other;
    algorithm.known = true;
    algorithm.curve = found.curve;
    algorithm.hash = found.hash;
    algorithm.cipher = found.cipher;
    return Content::known;
}

/** Append the file that a function of the library writes. */
template <typename Key>
void append_file(SecretBytes& out, const Key& key, int (&write)(const Key*, int, void*, std::size_t, std::size_t*)) {
    const std::size_t start = out.bytes().size();
    for (std::size_t i = 0; i < VRX_KEY_FILE_SIZE; ++i) out.push_back(0);
    std::size_t size = 0;
    check("the key", write(&key, VRX_KEY_DER, out.bytes().data() + start, VRX_KEY_FILE_SIZE, &size));
    out.truncate(start + size);
}

}  // namespace

Content read_private_key(Part octets, Algorithm& algorithm, PrivateOctets& value) {
    vrx_key_algorithm found;
    const int rc = vrx_parse_private_key(octets.data(), octets.size(), &found, value.data());
    return content(rc, found, algorithm);
}

Content read_public_key(Part octets, Algorithm& algorithm, PublicOctets& value) {
    vrx_key_algorithm found;
    const int rc = vrx_parse_public_key(octets.data(), octets.size(), &found, value.data());
    return content(rc, found, algorithm);
}

void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value) {
    Secret<vrx_private_key> key;
    key->curve = &curve;
    check("the key", ecLoadPrivateKeyValue(value.data(), key->d));
    append_file(out, *key, vrx_write_private_key);
}

void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value) {
    vrx_public_key key{};
    key.curve = &curve;
    check("the key", ecLoadPublicKeyValue(value.data(), &key.Q));
    append_file(out, key, vrx_write_public_key);
}

bool read_cipher_key(Part octets, std::span<std::uint8_t, VRX_KEY_SIZE> value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return false;
    der::Reader fields(*contents);
    const auto version = fields.next_whole(der::integer);
    const auto algorithm = fields.next(der::sequence);
    const auto key = fields.next(der::octet_string);
    if (!version || !std::ranges::equal(*version, version_zero) || !algorithm ||
        !std::ranges::equal(*algorithm, cipher_oid) || !key || key->size() != value.size() || !fields.at_end())
        return false;
    std::ranges::copy(*key, value.begin());
    return true;
}

void append_cipher_key_info(SecretBytes& out, std::span<const std::uint8_t, VRX_KEY_SIZE> value) {
    SecretBytes algorithm;
    der::append(algorithm, der::sequence, {cipher_oid});
    SecretBytes key;
    der::append(key, der::octet_string, {value});
    der::append(out, der::sequence, {version_zero, algorithm.bytes(), key.bytes()});
}

}  // namespace vrx::app

#include "keys/key_format.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "keys/der.hpp"

namespace vrx::app {
namespace {

using documents::Part;

// id-GostR3410-2001 (RFC 4491, section 2.3.2)
constexpr std::uint8_t algorithm_oid[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
// id-Gost28147-89 (RFC 4357, section 4)
constexpr std::uint8_t cipher_oid[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x15};
constexpr std::uint8_t version_zero[] = {0x02, 0x01, 0x00};
constexpr std::uint8_t no_unused_bits[] = {0};

/** Read the number of a private key: octets, an OCTET STRING (perhaps without trailing zeros), or an INTEGER. */
bool read_private_value(Part value, PrivateOctets& octets) {
    der::Reader reader(value);
    if (value.size() == octets.size()) {
        std::ranges::copy(value, octets.begin());
        return true;
    }
    if (reader.tag() == der::octet_string) {
        const auto inner = reader.next(der::octet_string);
        if (!inner || inner->empty() || inner->size() > octets.size() || !reader.at_end()) return false;
        if (inner->size() < octets.size() && inner->back() == 0) return false;
        std::ranges::fill(std::ranges::copy(*inner, octets.begin()).out, octets.end(), std::uint8_t{0});
        return true;
    }
    auto number = reader.next(der::integer);
    if (!number || number->empty() || !reader.at_end()) return false;
    const bool zero_first = number->front() == 0;
    if (zero_first) number = number->subspan(1);
    // A leading zero octet is allowed only where the number would otherwise be negative.
    if (number->empty() || number->size() > octets.size() || zero_first != (number->front() >= 0x80)) return false;
    std::ranges::fill(octets, std::uint8_t{0});
    std::reverse_copy(number->begin(), number->end(), octets.begin());
    return true;
}

void append_algorithm(SecretBytes& out, const EcParamSet& set) {
    SecretBytes parameters;
    der::append(parameters, der::sequence, {{set.oid, set.oid_len}, VRX_PAR_HASH_1_OID});
    der::append(out, der::sequence, {algorithm_oid, parameters.bytes()});
}

}  // namespace

Content read_private_key(Part octets, Algorithm& algorithm, PrivateOctets& value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    der::Reader fields(*contents);
    const auto version = fields.next_whole(der::integer);
    if (!version || !std::ranges::equal(*version, version_zero) || !documents::read_algorithm(fields, algorithm))
        return Content::other;
    const auto key = fields.next(der::octet_string);
    // Attributes may follow (RFC 5208).
    if (!key || !(fields.at_end() || (fields.next(der::context_0) && fields.at_end()))) return Content::other;
    if (!algorithm.known) return Content::foreign;
    return read_private_value(*key, value) ? Content::known : Content::other;
}

Content read_public_key(Part octets, Algorithm& algorithm, PublicOctets& value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    return documents::read_key_fields(der::Reader(*contents), algorithm, value);
}

void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value) {
    SecretBytes algorithm;
    append_algorithm(algorithm, curve);
    SecretBytes key;
    der::append(key, der::octet_string, {value});
    der::append(out, der::sequence, {version_zero, algorithm.bytes(), key.bytes()});
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

void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value) {
    SecretBytes algorithm;
    append_algorithm(algorithm, curve);
    SecretBytes point;
    der::append(point, der::octet_string, {value});
    SecretBytes bits;
    der::append(bits, der::bit_string, {no_unused_bits, point.bytes()});
    der::append(out, der::sequence, {algorithm.bytes(), bits.bytes()});
}

}  // namespace vrx::app

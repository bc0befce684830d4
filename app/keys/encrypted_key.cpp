#include "keys/encrypted_key.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "io/failure.hpp"
#include "keys/der.hpp"
#include "keys/random.hpp"

namespace vrx::app {
namespace {

using documents::Content;
using documents::Part;

// Identifiers of RFC 8018, appendices A.4 and A.2, and of RFC 4357, section 4, with tag and length.
constexpr std::uint8_t pbes2[] = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x05, 0x0D};
constexpr std::uint8_t pbkdf2[] = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x05, 0x0C};
constexpr std::uint8_t hmac_gost[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x0A};
constexpr std::uint8_t cipher_gost[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x15};
constexpr std::uint8_t no_parameters[] = {der::null, 0x00};
constexpr std::uint8_t version_zero[] = {der::integer, 0x01, 0x00};
constexpr std::uint8_t version_one[] = {der::integer, 0x01, 0x01};  // with a public key, RFC 5958

constexpr std::size_t salt_size = 32;

/** True if the next field of a sequence is this object identifier. */
bool starts_with(der::Reader& fields, Part identifier) {
    const auto found = fields.next_whole(der::object_identifier);
    return found && std::ranges::equal(*found, identifier);
}

/** Finds a parameter set that RFC 4357 defines. For other sets, it is uncertain which S-boxes a file means. */
const vrx_gost28147_par* set_of(Part identifier) {
    for (std::uint32_t i = 0; i < VRX_TZ_28147_89_COUNT; ++i) {
        const vrx_gost28147_par& set = *get_GOST28147_par(i);
        if (std::ranges::equal(identifier, Part(set.oid, set.oid_length))) return &set;
    }
    return nullptr;
}

/** Read PBKDF2-params. The pseudorandom function must be present, because its default is HMAC-SHA-1. */
Content read_derivation(Part contents, EncryptedKey& key) {
    der::Reader fields(contents);
    const auto salt = fields.next(der::octet_string);
    const auto iterations = fields.next(der::integer);
    if (!salt || salt->empty() || !iterations) return Content::other;
    if (!der::is_integer(*iterations) || iterations->front() >= 0x80) return Content::other;
    key.salt = *salt;
    key.iterations = der::small_number(*iterations).value_or(uncounted_iterations);
    if (key.iterations == 0) return Content::other;
    if (fields.tag() == der::integer) {
        const auto length = fields.next(der::integer);
        if (!length || der::small_number(*length) != VRX_KEY_SIZE) return Content::other;
    }
    const auto function = fields.next(der::sequence);
    if (!function) return fields.at_end() ? Content::foreign : Content::other;
    if (!fields.at_end()) return Content::other;
    der::Reader parts(*function);
    if (!starts_with(parts, hmac_gost)) return Content::foreign;
    const bool null = parts.tag() == der::null;
    if (null && !std::ranges::equal(parts.next_whole(der::null).value_or(Part{}), no_parameters)) return Content::other;
    return parts.at_end() ? Content::known : Content::foreign;
}

/** Read Gost28147-89-Parameters (RFC 4490, section 4.1): the IV and the parameter set. */
Content read_cipher(Part contents, EncryptedKey& key) {
    der::Reader fields(contents);
    if (!starts_with(fields, cipher_gost)) return Content::foreign;
    const auto parameters = fields.next(der::sequence);
    if (!parameters || !fields.at_end()) return Content::other;
    der::Reader parts(*parameters);
    const auto iv = parts.next(der::octet_string);
    const auto set = parts.next_whole(der::object_identifier);
    if (!iv || iv->size() != VRX_BLOCK_SIZE || !set || !parts.at_end()) return Content::other;
    key.iv = *iv;
    key.cipher = set_of(*set);
    return key.cipher != nullptr ? Content::known : Content::foreign;
}

/** Append a non-negative INTEGER. */
void append_number(SecretBytes& out, std::uint32_t number) {
    std::array<std::uint8_t, 5> octets{};
    std::size_t first = octets.size();
    do octets[--first] = static_cast<std::uint8_t>(number);
    while ((number >>= 8) != 0);
    if (octets[first] >= 0x80) --first;
    der::append(out, der::integer, {std::span(octets).subspan(first)});
}

/** Encrypt or decrypt in place. */
void run_cipher(bool encrypt, const EncryptedKey& how, std::span<const std::uint8_t> password,
                std::span<std::uint8_t> data) {
    struct State {
        alignas(std::uint32_t) std::array<std::uint8_t, VRX_KEY_SIZE> octets;
        Key key;
        vrx_crpt_ctx context;
    };
    Secret<State> state;
    check("the derivation", GOSTR3411_PKCS5_PBKDF2(password.data(), static_cast<std::uint32_t>(password.size()),
                                                   how.salt.data(), how.salt.size(), how.iterations, VRX_PAR_HASH_1_OID,
                                                   VRX_PAR_OID_SIZE, state->octets.data(), state->octets.size()));
    std::memcpy(state->key.data(), state->octets.data(), VRX_KEY_SIZE);
    check("the cipher",
          vrx_crpt_init_context(&state->context, encrypt ? 1 : 0, how.cipher->tz, VRX_MODE_GFB, 0,
                                how.cipher->key_meshing == 1 ? 1 : 0, 0, how.iv.data(), state->key.data()));
    const vrx_data in{static_cast<std::uint32_t>(data.size()), data.data()};
    vrx_data out = in;
    check("the cipher", vrx_crpt_update(&state->context, &in, &out));
}

}  // namespace

Content read_encrypted_key(Part octets, EncryptedKey& key) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    der::Reader fields(*contents);
    const auto scheme = fields.next(der::sequence);
    const auto ciphertext = fields.next(der::octet_string);
    if (!scheme || !ciphertext || ciphertext->empty() || !fields.at_end()) return Content::other;
    key.ciphertext = *ciphertext;
    der::Reader named(*scheme);
    if (named.tag() != der::object_identifier) return Content::other;
    if (!starts_with(named, pbes2)) return Content::foreign;
    const auto parameters = named.next(der::sequence);
    if (!parameters || !named.at_end()) return Content::other;
    der::Reader both(*parameters);
    const auto derivation = both.next(der::sequence);
    const auto cipher = both.next(der::sequence);
    if (!derivation || !cipher || !both.at_end()) return Content::other;
    der::Reader function(*derivation);
    if (!starts_with(function, pbkdf2)) return Content::foreign;
    const auto choices = function.next(der::sequence);
    if (!choices || !function.at_end()) return Content::other;
    const Content of_derivation = read_derivation(*choices, key);
    return of_derivation == Content::known ? read_cipher(*cipher, key) : of_derivation;
}

bool resembles_encrypted_key(Part octets) {
    der::Reader outer(octets);
    der::Reader fields(outer.next(der::sequence).value_or(Part{}));
    const auto scheme = fields.next(der::sequence);
    if (!scheme) return false;
    der::Reader named(*scheme);
    return starts_with(named, pbes2) || (fields.next(der::octet_string) && fields.at_end());
}

std::string iterations_of(const EncryptedKey& key) {
    return key.iterations == uncounted_iterations ? "more than 2147483647" : std::to_string(key.iterations);
}

bool decrypt_key(const EncryptedKey& key, std::span<const std::uint8_t> password, SecretBytes& plain) {
    for (const std::uint8_t octet : key.ciphertext) plain.push_back(octet);
    run_cipher(false, key, password, plain.bytes());
    if (!der::is_one_element(plain.bytes(), der::sequence)) return false;
    der::Reader outer(plain.bytes());
    der::Reader fields(*outer.next(der::sequence));
    const Part version = fields.next_whole(der::integer).value_or(Part{});
    return std::ranges::equal(version, version_zero) || std::ranges::equal(version, version_one);
}

void append_encrypted_key(SecretBytes& out, std::span<const std::uint8_t> plain, std::span<const std::uint8_t> password,
                          std::uint32_t iterations) {
    std::array<std::uint8_t, salt_size> salt;
    std::array<std::uint8_t, VRX_BLOCK_SIZE> iv;
    fill_random(salt);
    fill_random(iv);
    SecretBytes ciphertext;
    for (const std::uint8_t octet : plain) ciphertext.push_back(octet);
    const EncryptedKey how{salt, iterations, iv, get_GOST28147_default_par(), {}};
    run_cipher(true, how, password, ciphertext.bytes());

    SecretBytes number, function, choices, derivation, parameters, cipher, both, scheme, octets;
    append_number(number, iterations);
    der::append(function, der::sequence, {hmac_gost, no_parameters});
    der::append(octets, der::octet_string, {salt});
    der::append(choices, der::sequence, {octets.bytes(), number.bytes(), function.bytes()});
    der::append(derivation, der::sequence, {pbkdf2, choices.bytes()});
    octets.truncate(0);
    der::append(octets, der::octet_string, {iv});
    der::append(parameters, der::sequence, {octets.bytes(), {how.cipher->oid, how.cipher->oid_length}});
    der::append(cipher, der::sequence, {cipher_gost, parameters.bytes()});
    der::append(both, der::sequence, {derivation.bytes(), cipher.bytes()});
    der::append(scheme, der::sequence, {pbes2, both.bytes()});
    octets.truncate(0);
    der::append(octets, der::octet_string, {ciphertext.bytes()});
    der::append(out, der::sequence, {scheme.bytes(), octets.bytes()});
}

}  // namespace vrx::app

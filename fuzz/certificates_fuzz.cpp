// Fuzz target: keys, encrypted keys, certificates, chains and revocation lists in DER. Every input that the program
// accepts is consistent, and gives the same result after it is written and read again.
#include <algorithm>
#include <array>
#include <span>

#include "documents/certificate.hpp"
#include "documents/chain.hpp"
#include "documents/revocation.hpp"
#include "fuzz.hpp"
#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/encrypted_key.hpp"
#include "keys/key_files.hpp"
#include "keys/key_format.hpp"

namespace {

using namespace vrx::app;
using vrx::fuzz::require;
using Part = std::span<const std::uint8_t>;

bool within(Part part, Part whole) {
    return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

template <typename Set>
void require_built_in(const Set* set, const Set* first, std::size_t count) {
    require(set == nullptr || (set >= first && set < first + count), "parameter sets are built in");
}

void require_sound(const Algorithm& algorithm, Content found) {
    require(found == Content::other || !algorithm.oid.empty(), "what is read has an algorithm");
    if (found != Content::other)
        require((found == Content::known) == algorithm.known, "known keys are of known algorithms");
    require_built_in<EcParamSet>(algorithm.curve, get_GOSTR3410_par(0), VRX_ECC_SET_COUNT);
    require_built_in(algorithm.hash, get_GOSTR3411_par(0), VRX_GOSTR3411_PAR_COUNT);
}

/** Returns whether text is safe for a terminal: UTF-8 without control characters. */
void require_printable(const std::string& text) {
    for (const char32_t c : from_utf8(text))
        require(c >= 0x20 && !(c >= 0x7F && c < 0xA0), "names have no control characters");
}

template <typename Octets>
void require_same_again(const EcParamSet& curve, const Octets& value,
                        void (*append)(SecretBytes&, const EcParamSet&, const Octets&),
                        Content (*read)(Part, Algorithm&, Octets&)) {
    SecretBytes out;
    append(out, curve, value);
    Algorithm algorithm;
    Octets again{};
    require(read(out.bytes(), algorithm, again) == Content::known, "what is written is read");
    require(algorithm.curve == &curve && algorithm.hash != nullptr && again == value, "and is the same");
}

void cipher_key(Part octets) {
    std::array<std::uint8_t, VRX_KEY_SIZE> value{};
    if (!read_cipher_key(octets, value)) return;
    SecretBytes out;
    append_cipher_key_info(out, value);
    require(std::ranges::equal(out.bytes(), octets), "a key of the cipher has one encoding");
}

void encrypted_key(Part octets) {
    EncryptedKey key{};
    if (read_encrypted_key(octets, key) != Content::known) return;
    for (const Part part : {key.salt, key.iv, key.ciphertext}) require(within(part, octets), "parts lie in the file");
    require(key.iterations > 0 && !key.salt.empty() && !key.ciphertext.empty() && key.iv.size() == VRX_BLOCK_SIZE &&
                key.cipher != nullptr,
            "the fields of an encrypted key are sound");
    require_built_in(key.cipher, get_GOST28147_par(0), VRX_TZ_28147_89_COUNT);
    if (key.iterations > 100) return;
    SecretBytes plain;
    const bool opened = decrypt_key(key, octets.first(1), plain);
    require(plain.bytes().size() == key.ciphertext.size(), "plaintext and ciphertext have the same size");
    require(!opened || plain.bytes().front() == der::sequence, "what opens is a sequence");
}

/** Use a certificate as its own authority, and twice in a chain. */
void chain(const vrx::documents::Certificate& certificate) {
    const vrx::documents::Authorities authorities{{certificate, certificate}, {}, false};
    const vrx::documents::Chain found = vrx::documents::check_chain(certificate, authorities, std::nullopt);
    if (!found.fault.none())
        return require(!found.fault.word.empty() && !found.fault.sentence.empty(), "a fault has a text");
    require(!found.links.empty() && found.links.back()->self_issued, "a chain ends at a trusted certificate");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Part octets(data, size);
    {
        Algorithm algorithm;
        PrivateOctets value{};
        const Content found = read_private_key(octets, algorithm, value);
        require_sound(algorithm, found);
        PrivateKey key;
        if (found == Content::known && algorithm.curve != nullptr && make_private_key(*algorithm.curve, value, key))
            require_same_again(*algorithm.curve, value, append_private_key_info, read_private_key);
    }
    {
        Algorithm algorithm;
        PublicOctets value{};
        const Content found = read_public_key(octets, algorithm, value);
        require_sound(algorithm, found);
        PublicKey key;
        if (found == Content::known && algorithm.curve != nullptr && make_public_key(*algorithm.curve, value, key))
            require_same_again(*algorithm.curve, value, append_public_key_info, read_public_key);
    }
    cipher_key(octets);
    encrypted_key(octets);
    vrx::documents::RevocationList list;
    if (vrx::documents::read_revocation_list(octets, list)) {
        require_printable(list.issuer);
        for (const auto& revoked : list.revoked)
            require(within(revoked.serial, octets), "serial numbers lie in the list");
    }
    vrx::documents::Certificate certificate;
    const Content found = vrx::documents::read_certificate(octets, certificate);
    if (found == Content::other) return 0;
    require_sound(certificate.algorithm, found);
    for (const Part part : {certificate.signed_part, certificate.serial, certificate.signature})
        require(within(part, octets), "parts lie in the certificate");
    require(certificate.version >= 1 && certificate.version <= 3 && !certificate.serial.empty(),
            "versions and serial numbers are sound");
    require(!certificate.self_issued || certificate.issuer == certificate.subject, "the same name reads the same");
    for (const std::string& text : {certificate.issuer, certificate.subject}) require_printable(text);
    for (const std::string& time : {certificate.not_before, certificate.not_after})
        require(time.size() == 19, "times have a form");
    if (found == Content::known) chain(certificate);
    PublicKey key;
    if (found == Content::known && certificate.algorithm.curve != nullptr &&
        make_public_key(*certificate.algorithm.curve, certificate.key, key))
        require_same_again(*certificate.algorithm.curve, certificate.key, append_public_key_info, read_public_key);
    return 0;
}

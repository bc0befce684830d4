// Keys and certificates in the encodings that the program vrx reads and writes.
#ifndef VRX_TESTS_INTEROP_WRITTEN_KEYS_HPP
#define VRX_TESTS_INTEROP_WRITTEN_KEYS_HPP

#include "documents/certificate.hpp"
#include "interop.hpp"
#include "keys/der.hpp"
#include "keys/key_format.hpp"

namespace vrx::interop {

inline std::string pem(std::string_view label, std::span<const std::uint8_t> octets) {
    app::SecretBytes text;
    app::der::append_pem(text, label, octets);
    return std::string(text.text());
}

/** Decodes a PEM block with this label. */
inline Bytes pem_contents(std::string_view label, std::string_view text) {
    app::SecretBytes octets;
    for (const char c : text) octets.push_back(static_cast<std::uint8_t>(c));
    EXPECT_EQ(app::der::decode_pem(octets), label) << text;
    return {octets.bytes().begin(), octets.bytes().end()};
}

/** The private key in PKCS #8. */
inline Bytes private_key_info(const Pair& pair) {
    app::PrivateOctets value;
    std::ranges::copy(pair.private_octets(), value.begin());
    app::SecretBytes out;
    app::append_private_key_info(out, *pair.set, value);
    return {out.bytes().begin(), out.bytes().end()};
}

/** The public key in SubjectPublicKeyInfo. */
inline Bytes public_key_info(const Pair& pair) {
    app::PublicOctets value;
    std::ranges::copy(pair.public_octets(), value.begin());
    app::SecretBytes out;
    app::append_public_key_info(out, *pair.set, value);
    return {out.bytes().begin(), out.bytes().end()};
}

/** Returns whether octets of another library contain the keys of this pair, on its curve. */
inline void expect_private_key(const Pair& pair, std::span<const std::uint8_t> octets) {
    app::Algorithm algorithm;
    app::PrivateOctets value{};
    ASSERT_EQ(app::read_private_key(octets, algorithm, value), app::Content::known) << hex(octets);
    EXPECT_STREQ(algorithm.curve->str_oid, pair.set->str_oid);
    EXPECT_EQ(hex(value), hex(pair.private_octets()));
}
inline void expect_public_key(const Pair& pair, std::span<const std::uint8_t> octets) {
    app::Algorithm algorithm;
    app::PublicOctets value{};
    ASSERT_EQ(app::read_public_key(octets, algorithm, value), app::Content::known) << hex(octets);
    EXPECT_STREQ(algorithm.curve->str_oid, pair.set->str_oid);
    EXPECT_EQ(hex(value), hex(pair.public_octets()));
}

/**
 * Checks a certificate of another library: the key of `subject`, signed by `issuer`. @return the same certificate with
 * a new signature by this library.
 */
inline Bytes signed_anew(Random& random, Bytes certificate, const Pair& subject, const Pair& issuer) {
    documents::Certificate fields;
    EXPECT_EQ(documents::read_certificate(certificate, fields), documents::Content::known) << hex(certificate);
    EXPECT_EQ(fields.signature_oid, app::gost_signature_oid);
    EXPECT_STREQ(fields.algorithm.curve->str_oid, subject.set->str_oid);
    EXPECT_EQ(hex(fields.key), hex(subject.public_octets()));
    const Digest digest = our_digest(random, cryptopro(), Bytes(fields.signed_part.begin(), fields.signed_part.end()));
    EXPECT_TRUE(verifies(issuer, digest, signature(fields.signature)));
    const Bytes mine = octets(our_signature(issuer, digest));
    std::ranges::copy(mine, certificate.end() - VRX_SIGNATURE_SIZE);  // the last field
    return certificate;
}

}  // namespace vrx::interop

#endif

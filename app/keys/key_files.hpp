// Keys of GOST R 34.10-2001 in files: PEM or DER with the identifiers of RFC 4491, or raw octets; and in certificates.
#ifndef VRX_APP_KEY_FILES_HPP
#define VRX_APP_KEY_FILES_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/certificate.hpp"
#include "io/text.hpp"
#include "keys/key_format.hpp"
#include "keys/keys.hpp"

namespace vrx::app {

/** A private key d, 0 < d < q, and its curve. */
struct PrivateKey {
    const EcParamSet* set;
    std::uint32_t d[VRX_ECC_DIGITS];
};

/** A public key: a point of its curve, not infinity, with coordinates below p. */
struct PublicKey {
    const EcParamSet* set;
    EcPoint point;
};

/** How keys are written: --format (pem, der or raw) and, where the file does not name it, --curve. */
struct KeyForm {
    std::string format = "pem";
    std::optional<std::string> curve;
};

/** Read and check a key. Every fault of the file is a Failure. @return the identity of the file. */
FileId load_private_key(const std::string& path, const KeyForm& form, PrivateKey& key);
FileId load_public_key(const std::string& path, const KeyForm& form, PublicKey& key);

/** What a certificate says about its owner's key. */
struct CertifiedKey {
    documents::Certificate certificate;
    PublicKey key;
    const vrx_gostr3411_par* hash;  // that the owner signs with; nullptr when it names none
};

/**
 * Read an X.509 certificate, in PEM or DER, and its public key. Nothing is checked but its form.
 *
 * @param curve    that of a certificate which names none.
 * @param content  out: the octets of the certificate, which `result` refers to.
 */
void load_certified_key(const std::string& path, const std::optional<std::string>& curve, Octets& content,
                        CertifiedKey& result);

/** Read all certificates (PEM, any number, or one in DER), or all revocation lists, of a file. */
void load_certificates(const std::string& path, std::vector<Octets>& contents);
void load_revocation_lists(const std::string& path, std::vector<Octets>& contents);

/** Replace what a file holds, PEM or DER, by DER. @return the label of the PEM block, "" for DER; nothing for others.
 */
std::optional<std::string> decode_key_file(SecretBytes& content);

// The labels of PEM blocks (RFC 7468).
inline constexpr const char* private_label = "PRIVATE KEY";
inline constexpr const char* encrypted_label = "ENCRYPTED PRIVATE KEY";
inline constexpr const char* public_label = "PUBLIC KEY";
inline constexpr const char* certificate_label = "CERTIFICATE";
inline constexpr const char* revocation_label = "X509 CRL";

/** The key of its octets, least significant first; false when they are none on the curve. */
[[nodiscard]] bool make_private_key(const EcParamSet& curve, const PrivateOctets& octets, PrivateKey& key);
[[nodiscard]] bool make_public_key(const EcParamSet& curve, const PublicOctets& octets, PublicKey& key);

/** The public key that belongs to a private one. */
PublicKey public_key_of(const PrivateKey& key);

/** The contents of a key file. */
void append_private_key(SecretBytes& out, const KeyForm& form, const PrivateKey& key);
void append_public_key(SecretBytes& out, const KeyForm& form, const PublicKey& key);

}  // namespace vrx::app

#endif

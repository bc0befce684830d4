// Reads and writes files of GOST R 34.10-2001 keys (PEM, DER or raw octets), and reads certificates.
#ifndef VRX_APP_KEY_FILES_HPP
#define VRX_APP_KEY_FILES_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/certificate.hpp"
#include "io/text.hpp"
#include "keys/key_format.hpp"
#include "keys/keys.hpp"
#include "keys/unlock.hpp"

namespace vrx::app {

/** A private key d, 0 < d < q, and its curve. */
struct PrivateKey {
    const EcParamSet* set;
    std::uint32_t d[VRX_ECC_DIGITS];
};

/** A public key: a point of its curve, not the point at infinity, with coordinates below p. */
struct PublicKey {
    const EcParamSet* set;
    EcPoint point;
};

/** The format of keys: --format (pem, der or raw), and --curve for files that do not name their curve. */
struct KeyForm {
    std::string format = "pem";
    std::optional<std::string> curve;
};

/**
 * Read and check a private key, which may be encrypted with a password. Throws a Failure for an invalid file.
 *
 * @return the identity of the file.
 */
FileId load_private_key(const std::string& path, const KeyForm& form, const PasswordOptions& password, PrivateKey& key);
FileId load_public_key(const std::string& path, const KeyForm& form, PublicKey& key);

/** A certificate, and the public key that it certifies. */
struct CertifiedKey {
    documents::Certificate certificate;
    PublicKey key;
    const vrx_gostr3411_par* hash;  // the hash parameter set of its owner's signatures; nullptr if not named
};

/**
 * Read an X.509 certificate, in PEM or DER, and its public key. Only its structure is checked.
 *
 * @param curve    the curve to use if the certificate names none.
 * @param content  out: the octets of the certificate, which `result` refers to.
 */
void load_certified_key(const std::string& path, const std::optional<std::string>& curve, Octets& content,
                        CertifiedKey& result);

/** Read all certificates or all revocation lists in a file, which may have any number of them in PEM, or one in DER. */
void load_certificates(const std::string& path, std::vector<Octets>& contents);
void load_revocation_lists(const std::string& path, std::vector<Octets>& contents);

// The labels of PEM blocks (RFC 7468).
inline constexpr const char* private_label = "PRIVATE KEY";
inline constexpr const char* public_label = "PUBLIC KEY";
inline constexpr const char* certificate_label = "CERTIFICATE";
inline constexpr const char* revocation_label = "X509 CRL";

/** Make a key from its octets, least significant first; false if it is not a valid key on the curve. */
[[nodiscard]] bool make_private_key(const EcParamSet& curve, const PrivateOctets& octets, PrivateKey& key);
[[nodiscard]] bool make_public_key(const EcParamSet& curve, const PublicOctets& octets, PublicKey& key);

/** Compute the public key of a private key. */
PublicKey public_key_of(const PrivateKey& key);

/** Append the contents of a key file. */
void append_private_key(SecretBytes& out, const KeyForm& form, const PrivateKey& key);
void append_public_key(SecretBytes& out, const KeyForm& form, const PublicKey& key);

}  // namespace vrx::app

#endif

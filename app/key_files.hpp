// Key pairs of GOST R 34.10-2001 in files: PEM with the identifiers of RFC 4491, or raw octets.
#ifndef VRX_APP_KEY_FILES_HPP
#define VRX_APP_KEY_FILES_HPP

#include <optional>
#include <string>
#include <vector>

#include "keys.hpp"
#include "options.hpp"

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

/** How keys are written: --format and, where the file does not name it, --curve. */
struct KeyForm {
    std::string format = "pem";
    std::optional<std::string> curve;
};

std::vector<Option> key_form_options(KeyForm& form, const char* curve_help);

/** Read and check a key. Every fault of the file is a Failure. @return the identity of the file. */
FileId load_private_key(const std::string& path, const KeyForm& form, PrivateKey& key);
FileId load_public_key(const std::string& path, const KeyForm& form, PublicKey& key);

/** The contents of a key file. */
void append_private_key(SecretBytes& out, const KeyForm& form, const PrivateKey& key);
void append_public_key(SecretBytes& out, const KeyForm& form, const PublicKey& key);

}  // namespace vrx::app

#endif

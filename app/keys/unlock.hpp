// Reads and writes key files that are encrypted with a password.
#ifndef VRX_APP_UNLOCK_HPP
#define VRX_APP_UNLOCK_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "io/files.hpp"
#include "keys/keys.hpp"
#include "keys/password.hpp"

namespace vrx::app {

inline constexpr const char* encrypted_label = "ENCRYPTED PRIVATE KEY";

/** Convert the contents of a PEM or DER file to DER. @return the PEM label, "" for DER, or std::nullopt for neither. */
std::optional<std::string> decode_key_file(SecretBytes& content);

/**
 * Decrypt a key if it is encrypted.
 *
 * @param content   in: DER. out: PrivateKeyInfo, if it was an encrypted key.
 * @param label     the PEM label; "" for DER.
 * @param shown     the file's name in messages.
 * @param password  the source of the password; used only for encrypted keys.
 * @return true if the key was encrypted. Throws a Failure if the key cannot be decrypted.
 */
bool unlock(SecretBytes& content, std::string_view label, const std::string& shown, const PasswordOptions& password);

/** The encryption of a new key file. */
struct Lock {
    bool wanted = false;  // --password: ask on the terminal
    PasswordOptions source;
    std::optional<std::string> iterations_text;
    std::uint32_t iterations = advised_iterations;
    [[nodiscard]] bool on() const { return wanted || source.file || source.fd; }
};

/** Ask for the password of a new key, and append the encrypted key in PEM, or in DER. */
void append_locked(SecretBytes& out, SecretBytes& plain, const Lock& lock, bool pem, const std::string& path);

/**
 * Read a key file: 32 bytes, 64 hexadecimal digits with an optional newline, or a key encrypted with a password. Prints
 * a warning if anyone except the owner can read the file.
 *
 * @param path  "-" is standard input.
 * @return the identity of the file.
 */
FileId load_key(const std::string& path, const PasswordOptions& password, Key& key);

}  // namespace vrx::app

#endif

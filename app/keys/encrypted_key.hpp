// Reads and writes keys that are encrypted with a password: EncryptedPrivateKeyInfo (RFC 5958) with PBES2 (RFC 8018).
// The scheme is PBKDF2 with HMAC GOST R 34.11-94, then GOST 28147-89 in CFB mode, as in OpenSSL's GOST engine.
#ifndef VRX_APP_ENCRYPTED_KEY_HPP
#define VRX_APP_ENCRYPTED_KEY_HPP

#include <vrx.h>

#include <cstdint>
#include <span>
#include <string>

#include "documents/algorithm.hpp"
#include "keys/keys.hpp"

namespace vrx::app {

/** The fields of an encrypted key. The spans point into the octets that were read. */
struct EncryptedKey {
    std::span<const std::uint8_t> salt;
    std::uint32_t iterations;
    std::span<const std::uint8_t> iv;  // VRX_BLOCK_SIZE octets
    const vrx_gost28147_par* cipher;
    std::span<const std::uint8_t> ciphertext;
};

/** The highest iteration count that is accepted. It takes about 10 seconds, which a hostile file can therefore cost. */
inline constexpr std::uint32_t most_iterations = 10'000'000;

/** Stands for an iteration count of more than 31 bits. */
inline constexpr std::uint32_t uncounted_iterations = 0xFFFFFFFF;

/**
 * Read EncryptedPrivateKeyInfo. The result is Content::foreign if the scheme, the cipher or its parameter set is not
 * supported.
 */
documents::Content read_encrypted_key(std::span<const std::uint8_t> octets, EncryptedKey& key);

/** True if a DER file that cannot be read is an encrypted key, not a file of another kind. */
bool resembles_encrypted_key(std::span<const std::uint8_t> octets);

/** The iteration count as text. */
std::string iterations_of(const EncryptedKey& key);

/**
 * Decrypt a key.
 *
 * @param plain  out: PrivateKeyInfo, appended; unspecified if the password is wrong.
 * @return true if the result is PrivateKeyInfo. There is no MAC, so a wrong password is noticed only by the structure
 *         of the result.
 */
[[nodiscard]] bool decrypt_key(const EncryptedKey& key, std::span<const std::uint8_t> password, SecretBytes& plain);

/** Encrypt PrivateKeyInfo with a new salt and IV, and append EncryptedPrivateKeyInfo. */
void append_encrypted_key(SecretBytes& out, std::span<const std::uint8_t> plain, std::span<const std::uint8_t> password,
                          std::uint32_t iterations);

}  // namespace vrx::app

#endif

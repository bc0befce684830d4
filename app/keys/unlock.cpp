#include "keys/unlock.hpp"

#include <bit>
#include <cstring>
#include <span>

#include "io/failure.hpp"
#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/encrypted_key.hpp"
#include "keys/key_format.hpp"

namespace vrx::app {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::size_t hex_key_size = 2 * VRX_KEY_SIZE;
constexpr std::size_t longest_key_text = hex_key_size + 2;  // the digits, CR and LF

/**
 * Read a key that is not encrypted. @param size  the size of the file. `content` may be shorter, because it may be
 * decoded already.
 */
void read_plain_key(SecretBytes& content, std::size_t size, const std::string& shown,
                    std::span<std::uint8_t, VRX_KEY_SIZE> octets) {
    if (size == octets.size()) {
        std::memcpy(octets.data(), content.bytes().data(), size);
    } else if (size <= longest_key_text && without_line_end(content.text()).size() == hex_key_size) {
        if (!from_hex(without_line_end(content.text()), octets))
            throw Failure("the key file " + shown +
                          " holds a character that is not a hexadecimal digit; a key is 32 bytes, or 64 such digits");
    } else {
        throw Failure(
            "the key file " + shown + " holds " +
            (size > longest_key_text ? "more than " + std::to_string(longest_key_text) : std::to_string(size)) +
            " bytes; a key is 32 bytes, 64 hexadecimal digits with an optional newline, or an encrypted key in PEM or "
            "DER");
    }
}

}  // namespace

std::optional<std::string> decode_key_file(SecretBytes& content) {
    if (der::is_one_element(content.bytes(), der::sequence)) return "";
    // An empty label stands for DER.
    const std::optional<std::string> label = der::decode_pem(content);
    return label && !label->empty() ? label : std::nullopt;
}

bool unlock(SecretBytes& content, std::string_view label, const std::string& shown, const PasswordOptions& password) {
    if (!label.empty() && label != encrypted_label) return false;
    EncryptedKey key;
    const documents::Content found = read_encrypted_key(content.bytes(), key);
    if (found == documents::Content::other && label.empty() && !resembles_encrypted_key(content.bytes())) return false;
    if (found == documents::Content::other)
        throw Failure(shown + " is an encrypted key, but damaged; take a copy of it");
    if (found == documents::Content::foreign)
        throw Failure(shown +
                      " uses an unsupported encryption; supported is PBES2 with PBKDF2, HMAC GOST R 34.11-94 and "
                      "GOST 28147-89");
    if (key.iterations > most_iterations)
        throw Failure(shown + " asks for " + iterations_of(key) + " iterations; this program does at most " +
                      std::to_string(most_iterations));
    SecretBytes given;
    get_password(password, given, "Password of " + shown + ": ");
    SecretBytes plain;
    if (!decrypt_key(key, given.bytes(), plain))
        throw Failure("the password does not open " + shown + "; type it again, or name the right file");
    content.truncate(0);
    for (const std::uint8_t octet : plain.bytes()) content.push_back(octet);
    return true;
}

void append_locked(SecretBytes& out, SecretBytes& plain, const Lock& lock, bool pem, const std::string& path) {
    PasswordOptions source = lock.source;
    source.confirm = !source.file && !source.fd;
    SecretBytes password;
    get_password(source, password, "New password of " + in_quotes(path) + ": ");
    SecretBytes encrypted;
    append_encrypted_key(encrypted, plain.bytes(), password.bytes(), lock.iterations);
    if (pem) return der::append_pem(out, encrypted_label, encrypted.bytes());
    for (const std::uint8_t octet : encrypted.bytes()) out.push_back(octet);
}

FileId load_key(const std::string& path, const PasswordOptions& password, Key& key) {
    Input file(path);
    SecretBytes content;
    const std::span<std::uint8_t, VRX_KEY_SIZE> octets(reinterpret_cast<std::uint8_t*>(key.data()), VRX_KEY_SIZE);
    constexpr std::size_t longest = 64 * 1024;  // the size of an encrypted key with comments
    while (content.bytes().size() <= longest && content.append_from(file)) {
    }
    const std::size_t size = content.bytes().size();
    bool locked = false;
    if (size > longest_key_text && size <= longest)
        if (const auto label = decode_key_file(content)) locked = unlock(content, *label, file.shown(), password);
    if (!locked)
        read_plain_key(content, size, file.shown(), octets);
    else if (!read_cipher_key(content.bytes(), octets))
        throw Failure(file.shown() + " holds an encrypted key that is not of the cipher; 'vrx keygen' makes those");
    warn_if_others_can_read(file, "key");
    return file.id();
}

}  // namespace vrx::app

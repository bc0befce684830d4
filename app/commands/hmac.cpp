// vrx hmac
#include <algorithm>

#include "commands/commands.hpp"
#include "digest.hpp"
#include "io/pieces.hpp"
#include "key_options.hpp"
#include "keys/key_format.hpp"
#include "keys/unlock.hpp"

namespace vrx::app {
namespace {

/**
 * If the file is an encrypted key of the cipher, replace its content with the 32 bytes of the key. Any other content is
 * unchanged, because any bytes can be an HMAC key.
 */
void take_encrypted_key(SecretBytes& key, const std::string& shown, const PasswordOptions& password) {
    SecretBytes content;
    for (const std::uint8_t octet : key.bytes()) content.push_back(octet);
    const auto label = decode_key_file(content);
    if (!label || !unlock(content, *label, shown, password)) return;
    Secret<std::array<std::uint8_t, VRX_KEY_SIZE>> octets;
    if (!read_cipher_key(content.bytes(), *octets))
        throw Failure(shown + " holds an encrypted key that is not of the cipher; 'vrx keygen' makes those");
    key.truncate(0);
    for (const std::uint8_t octet : *octets) key.push_back(octet);
}

FileId load_hmac_key(const std::string& path, bool hex, const PasswordOptions& password, SecretBytes& key) {
    Input file(path);
    read_secret(file, key);
    if (!hex) take_encrypted_key(key, file.shown(), password);
    if (hex) decode_hex(key, "what the key file " + file.shown() + " holds");
    if (key.bytes().empty())
        throw Failure("the key file " + file.shown() +
                      " holds no key; anyone could forge MACs made with an empty key, so use another file");
    warn_if_others_can_read(file, "key");
    return file.id();
}

Octets hmac_of(const vrx_gostr3411_par& set, SecretBytes& key, Input& input, Piece& piece) {
    Secret<GOSTR3411_HMAC_CTX> context;
    check("the HMAC", GOSTR3411_HMAC_Init(&*context, set.oid, set.oid_length, key.bytes().data(),
                                          static_cast<std::uint32_t>(key.bytes().size())));
    for_each_piece(input, piece, [&](std::span<const std::uint8_t> data) {
        check("the HMAC", GOSTR3411_HMAC_Update(&*context, data.data(), static_cast<std::uint32_t>(data.size())));
    });
    Octets mac(VRX_HMAC_SIZE);
    std::uint32_t size = 0;
    check("the HMAC", GOSTR3411_HMAC_Final(&*context, mac.data(), &size));
    return mac;
}

int run(const Command& self, int argc, char** argv) {
    std::optional<std::string> key_path;
    bool hex_key = false;
    std::string set = "cryptopro";
    ListOptions lists;
    std::vector<Option> options{
        input_option("key", 'k', "the key: all bytes of the file, including any newline", key_path),
        flag_option("hex-key", 'x', "the file holds the key as hexadecimal digits, with an optional newline", hex_key)};
    for (Option& option : digest_options(set, lists, "read lists of MACs from the FILEs and verify them"))
        options.push_back(std::move(option));
    PasswordOptions password;
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    const auto files = parse_with_lists(self, options, lists, argc, argv);
    if (!files) return exit_done;
    if (!key_path) throw WrongUse(self, "a key is needed, --key FILE");
    if (key_path == "-" && std::find(files->begin(), files->end(), "-") != files->end())
        throw WrongUse(self, "standard input cannot be both the key and the data");
    std::vector<std::string> read = *files;
    read.push_back(*key_path);
    check_usage(self, password, read);

    SecretBytes key;
    Piece piece(piece_size);
    const auto kinds = kinds_by_set(set, "MAC", "HMAC-", [&](const vrx_gostr3411_par& chosen, Input& input) {
        return hmac_of(chosen, key, input, piece);
    });
    const FileId key_file = load_hmac_key(*key_path, hex_key, password, key);
    return run_lists(kinds, *files, lists, {key_file});
}

}  // namespace

const Command hmac_command{
    "hmac",
    "[FILE]...",
    "authenticate files with HMAC GOST R 34.11-94",
    R"(Print the HMAC (RFC 2104) with GOST R 34.11-94 of each FILE, or of standard input, in the format of
sha256sum; or verify such lists.

A key has one byte or more; more than 32 bytes add no security. With --check the exit code is 1 if a file differs
or a line is malformed, and 2 if a file cannot be read.)",
    R"(vrx hmac --key mac.key *.iso > macs
vrx hmac --key mac.key --check macs)",
    run};

}  // namespace vrx::app

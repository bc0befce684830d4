// vrx sign
#include <vrx/hedged.h>

#include <array>

#include "commands/commands.hpp"
#include "digest.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/der.hpp"
#include "keys/key_files.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    PasswordOptions password;
    std::optional<std::string> key_path;
    std::string set = default_hash_set;
    std::string out = "-";
    bool hex = false;
    bool base64 = false;
    std::vector<Option> options{input_option("key", 'k', "the private key", key_path)};
    for (Option& option : key_form_options(form, "the curve of a raw key")) options.push_back(std::move(option));
    options.push_back(
        text_option("set", 's', "SET", "parameter set of the hash: cryptopro or test; default: cryptopro", set));
    options.push_back(
        output_option("out", 'o', "FILE", "output file for the signature; default: standard output", out));
    options.push_back(flag_option("hex", 'x', "write hexadecimal digits and a newline", hex));
    options.push_back(flag_option("base64", 0, "write base64 and a newline", base64));
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    if (!key_path) throw WrongUse(self, "a private key is needed, --key FILE");
    if (hex && base64) throw WrongUse(self, "--hex and --base64 exclude each other");
    const std::string in = operands->empty() ? "-" : operands->front();
    if (in == "-" && key_path == "-") throw WrongUse(self, "standard input cannot be both the key and the data");
    check_usage(self, password, {in, *key_path});

    Secret<PrivateKey> key;
    const FileId key_file = load_private_key(*key_path, form, password, *key);
    Input input(in);
    Output output(out, {key_file, input.id()});
    const SignedDigest digest = signed_digest(set, input);
    EcSignature signature;
    std::array<std::uint8_t, VRX_SIGNATURE_SIZE> octets;
    const int code = vrx_hedged_sign(key->set, digest.data(), key->d, &signature);
    if (code == VRX_ERR_FAILED)
        throw Failure(
            "the new signature did not verify and was discarded; the CPU or memory may be faulty, check the machine");
    check("the signature", code);
    check("the signature", ecUnloadSignValue(&signature, octets.data()));
    if (hex) {
        output.write(to_hex(octets) + "\n");
    } else if (base64) {
        SecretBytes text;
        der::append_base64(text, octets, 4 * VRX_SIGNATURE_SIZE);
        output.write(text.text());
    } else {
        output.write(octets);
    }
    output.commit();
    return exit_done;
}

}  // namespace

const Command sign_command{
    "sign",
    "[FILE]",
    "sign a file with GOST R 34.10-2001",
    R"(Sign the GOST R 34.11-94 digest of FILE, or of standard input. The signature is 64 bytes: s, then r, each most
significant byte first.)",
    R"(vrx keypair --curve A --out my.pem
vrx sign --key my.pem -o letter.sig letter.txt)",
    run};

}  // namespace vrx::app

// vrx verify
#include <algorithm>
#include <array>

#include "commands/commands.hpp"
#include "digest.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/der.hpp"
#include "keys/key_files.hpp"

namespace vrx::app {
namespace {

/** Of a signature file in bytes: base64 with room for newlines. */
constexpr std::size_t longest_signature = 1024;

/** A signature file in one of the three forms, which its length tells apart. */
EcSignature load_signature(const std::string& path) {
    Input file(path);
    const auto other_form = [&file] {
        return Failure(file.shown() +
                       " is not a signature: 64 bytes, or the same as hexadecimal digits or base64; 'vrx inspect' says "
                       "what it is");
    };
    SecretBytes content;
    while (content.append_from(file))
        if (content.bytes().size() > longest_signature) throw other_form();
    const std::string_view text = without_line_end(content.text());
    std::array<std::uint8_t, VRX_SIGNATURE_SIZE> octets;
    if (content.bytes().size() == octets.size()) {
        std::copy(content.bytes().begin(), content.bytes().end(), octets.begin());
    } else if (text.size() != 2 * octets.size() || !from_hex(text, octets)) {
        if (!der::decode_base64(content) || content.bytes().size() != octets.size()) throw other_form();
        std::copy(content.bytes().begin(), content.bytes().end(), octets.begin());
    }
    EcSignature signature;
    check("the signature", ecLoadSignValue(octets.data(), &signature));
    return signature;
}

bool in_range(const std::uint32_t* number, const EcParamSet& set) {
    return mpIsZero(number, VRX_ECC_DIGITS) == 0 && mpCompare(number, set.q, VRX_ECC_DIGITS) < 0;
}

/** The signer's key, and the parameter set of the hash. */
struct Signer {
    PublicKey key;
    std::string set;
};

/** Read the key from a key file or from a certificate, which may name the parameter set. */
Signer load_signer(const std::optional<std::string>& key_path, const std::optional<std::string>& certificate_path,
                   const KeyForm& form, const std::optional<std::string>& set) {
    Signer signer{{}, set.value_or(default_hash_set)};
    if (key_path) {
        load_public_key(*key_path, form, signer.key);
        return signer;
    }
    CertifiedKey certified;
    load_certified_key(*certificate_path, form.curve, certified);
    signer.key = certified.key;
    if (!set && certified.hash != nullptr) signer.set = certified.hash->str_oid;
    return signer;
}

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    std::optional<std::string> key_path;
    std::optional<std::string> certificate_path;
    std::optional<std::string> signature_path;
    std::optional<std::string> set;
    std::vector<Option> options{
        text_option("key", 'k', "FILE", "the public key", key_path),
        text_option("cert", 'C', "FILE", "the signer's X.509 certificate, in place of a public key", certificate_path),
        text_option("signature", 'S', "FILE", "the signature", signature_path)};
    for (Option& option : key_form_options(form, "the curve of a raw key")) options.push_back(std::move(option));
    options.push_back(text_option("set", 's', "SET",
                                  "parameter set of the hash: cryptopro or test; without it the one that the\n"
                                  "certificate names, or cryptopro",
                                  set));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    if (!key_path && !certificate_path)
        throw WrongUse(self, "a public key is needed, --key FILE, or a certificate, --cert FILE");
    if (key_path && certificate_path) throw WrongUse(self, "--key and --cert exclude each other");
    if (!signature_path) throw WrongUse(self, "a signature is needed, --signature FILE");
    const std::string in = operands->empty() ? "-" : operands->front();
    if ((in == "-") + (key_path == "-") + (certificate_path == "-") + (signature_path == "-") > 1)
        throw WrongUse(self, "standard input can be only one of key, signature and data");

    const Signer signer = load_signer(key_path, certificate_path, form, set);
    const EcParamSet& curve = *signer.key.set;
    const EcSignature signature = load_signature(*signature_path);
    Input input(in);
    const SignedDigest digest = signed_digest(signer.set, input);
    const bool valid = in_range(signature.r, curve) && in_range(signature.s, curve) &&
                       ecVerify(&curve, digest.data(), &signer.key.point, &signature) == VRX_OK;
    Output output("-");
    output.write(input.shown() + (valid ? ": the signature is valid\n" : ": the signature is NOT valid\n"));
    output.commit();
    return valid ? exit_done : exit_check_failed;
}

}  // namespace

const Command verify_command{
    "verify",
    "[FILE]",
    "verify a signature of GOST R 34.10-2001",
    R"(Verify the signature of FILE, or of standard input, by the signer's public key. The signature file is 64 bytes, or
the same as hexadecimal digits or base64. Prints one line; the exit code is 0 when the signature is valid, and 1
when it is not.

With --cert the key, its curve and the parameter set of the hash come from an X.509 certificate (RFC 4491), PEM or
DER. WARNING: the certificate itself is NOT checked: not its signature, not its dates, not its revocation. Check it
first with 'openssl verify -engine gost', or trust it for other reasons.)",
    R"(vrx keypair --curve A --out my.pem
vrx pubkey -o my.pub my.pem
vrx sign --key my.pem -o letter.sig letter.txt
vrx verify --key my.pub --signature letter.sig letter.txt)",
    run};

}  // namespace vrx::app

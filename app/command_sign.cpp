// vrx sign, vrx verify
#include <algorithm>
#include <array>
#include <cstring>

#include "commands.hpp"
#include "der.hpp"
#include "digest.hpp"
#include "key_files.hpp"
#include "parameters.hpp"
#include "random.hpp"
#include "text.hpp"

namespace vrx::app {
namespace {

using Digest = std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS>;

constexpr const char* default_set = "cryptopro";
constexpr const char* set_help = "parameter set of the hash: cryptopro or test; without it cryptopro";

/** Of a signature file in bytes: base64 with room for line ends. */
constexpr std::size_t longest_signature = 1024;

/** The digest of a file as the number that is signed: its first octet is the least significant. */
Digest digest_of(const std::string& set, Input& input) {
    Piece piece(piece_size);
    const Octets octets = gost_digest(*get_GOSTR3411_par(hash_set_index(set)), input, piece);
    Digest digest;
    static_assert(sizeof digest == VRX_HASH_SIZE);
    std::memcpy(digest.data(), octets.data(), sizeof digest);
    return digest;
}

int run_sign(const Command& self, int argc, char** argv) {
    KeyForm form;
    std::optional<std::string> key_path;
    std::string set = default_set;
    std::string out = "-";
    bool hex = false;
    bool base64 = false;
    std::vector<Option> options{text_option("key", 'k', "FILE", "the private key", key_path)};
    for (Option& option : key_form_options(form, "the curve of a raw key")) options.push_back(std::move(option));
    options.push_back(text_option("set", 's', "SET", set_help, set));
    options.push_back(text_option("out", 'o', "FILE", "where the signature goes; without it to standard output", out));
    options.push_back(flag_option("hex", 'x', "write hexadecimal digits and a line end", hex));
    options.push_back(flag_option("base64", 0, "write base64 and a line end", base64));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    if (!key_path) throw WrongUse(self, "a private key is needed, --key FILE");
    if (hex && base64) throw WrongUse(self, "--hex and --base64 exclude each other");
    const std::string in = operands->empty() ? "-" : operands->front();
    if (in == "-" && key_path == "-") throw WrongUse(self, "standard input cannot be both the key and the data");

    Secret<PrivateKey> key;
    const FileId key_file = load_private_key(*key_path, form, *key);
    Input input(in);
    Output output(out, {key_file, input.id()});
    const Digest digest = digest_of(set, input);
    EcSignature signature;
    std::array<std::uint8_t, VRX_SIGNATURE_SIZE> octets;
    do check("the signature", ecSign(key->set, digest.data(), system_random, key->d, &signature));
    while (mpIsZero(signature.r, VRX_ECC_DIGITS) == 1 || mpIsZero(signature.s, VRX_ECC_DIGITS) == 1);
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
    Signer signer{{}, set.value_or(default_set)};
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

int run_verify(const Command& self, int argc, char** argv) {
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
    const Digest digest = digest_of(signer.set, input);
    const bool valid = in_range(signature.r, curve) && in_range(signature.s, curve) &&
                       ecVerify(&curve, digest.data(), &signer.key.point, &signature) == VRX_OK;
    Output output("-");
    output.write(input.shown() + (valid ? ": the signature is valid\n" : ": the signature is NOT valid\n"));
    output.commit();
    return valid ? exit_done : exit_check_failed;
}

}  // namespace

const Command sign_command{"sign",
                           "[FILE]",
                           "sign a file with GOST R 34.10-2001",
                           "Sign the GOST R 34.11-94 digest of FILE, or of standard input. The signature is 64 bytes: "
                           "s and then r, each most\n"
                           "significant byte first.",
                           "vrx genkey --curve A --out my.pem\n"
                           "vrx sign --key my.pem -o letter.sig letter.txt",
                           run_sign};

const Command verify_command{
    "verify",
    "[FILE]",
    "verify a signature of GOST R 34.10-2001",
    "Verify the signature of FILE, or of standard input, by the signer's public key. The signature file is 64 bytes, "
    "or\n"
    "the same as hexadecimal digits or base64. Prints one line; the exit code is 0 when the signature is valid, and 1\n"
    "when it is not.\n"
    "\n"
    "With --cert the key, its curve and the parameter set of the hash come from an X.509 certificate (RFC 4491), PEM "
    "or\n"
    "DER. The certificate itself is NOT checked: neither its signature nor its dates, and nobody asks whether it was\n"
    "revoked. Trust it for other reasons, or check it with a program for certificates first.",
    "vrx genkey --curve A --out my.pem\n"
    "vrx pubkey -o my.pub my.pem\n"
    "vrx sign --key my.pem -o letter.sig letter.txt\n"
    "vrx verify --key my.pub --signature letter.sig letter.txt",
    run_verify};

}  // namespace vrx::app

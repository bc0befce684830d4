// vrx verify
#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "commands/commands.hpp"
#include "digest.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/der.hpp"
#include "keys/key_files.hpp"
#include "trust.hpp"

namespace vrx::app {
namespace {

/** The maximum size of a signature file in bytes: base64, with room for newlines. */
constexpr std::size_t longest_signature = 1024;

/** Load a signature file. Its length distinguishes the three formats. */
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

/** The signer's key, the certificate with this key if there is one, and the parameter set of the hash. */
struct Signer {
    CertifiedKey certified;
    Octets octets;
    std::string set;
};

/** Load the key from a key file or a certificate; a certificate may also name the parameter set of the hash. */
void load_signer(const std::optional<std::string>& key_path, const std::optional<std::string>& certificate_path,
                 const KeyForm& form, const std::optional<std::string>& set, Signer& signer) {
    signer.set = set.value_or(default_hash_set);
    if (key_path) {
        load_public_key(*key_path, form, signer.certified.key);
        return;
    }
    load_certified_key(*certificate_path, form.curve, signer.octets, signer.certified);
    if (!set && signer.certified.hash != nullptr) signer.set = signer.certified.hash->str_oid;
}

/** Format the machine-readable status: in each line a keyword, a blank and a value. */
std::string status_text(bool signature, const Signer& signer, bool is_certified, const Trusted& trusted,
                        const std::optional<documents::Time>& time) {
    const auto word = [](bool valid) { return valid ? "valid" : "not-valid"; };
    std::string text = std::string("signature ") + word(signature) + "\n";
    if (!is_certified) return text + "certificate none\n";
    text += std::string("certificate ") + word(trusted.fault.none()) + "\n";
    if (!trusted.fault.none()) text += "reason " + trusted.fault.word + "\n";
    text += "chain " + trusted.chain + "\ntime " + time.value_or("any") + "\n";
    for (const auto& [name, value] : certificate_lines(signer.certified.certificate, signer.octets))
        text.append(name).append(" ").append(value).append("\n");
    return text;
}

std::string plain_text(bool signature, const Input& input, const Signer& signer, bool is_certified,
                       const Trusted& trusted) {
    std::string text =
        input.shown() + ": the signature is " + (signature && trusted.fault.none() ? "valid" : "NOT valid");
    if (signature && !trusted.fault.none()) text += ": " + trusted.fault.sentence;
    text += "\n";
    if (!is_certified) return text;
    text += lines_text(certificate_lines(signer.certified.certificate, signer.octets));
    if (!trusted.root.empty()) text += lines_text({{"trusted", "through " + trusted.root}});
    return text;
}

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    std::optional<std::string> key_path;
    std::optional<std::string> certificate_path;
    TrustOptions trust;
    bool status = false;
    std::optional<std::string> signature_path;
    std::optional<std::string> set;
    std::vector<Option> options{
        input_option("key", 'k', "the public key", key_path),
        input_option("cert", 'C', "the signer's X.509 certificate, in place of a public key", certificate_path),
        input_option("signature", 'S', "the signature", signature_path)};
    for (Option& option : key_form_options(form, "the curve of a raw key")) options.push_back(std::move(option));
    options.push_back(text_option("set", 's', "SET",
                                  "parameter set of the hash: cryptopro or test; default: the one that the\n"
                                  "certificate names, or cryptopro",
                                  set));
    for (Option& option : trust_options(trust,
                                        "time of signing in UTC, like 2026-02-28 or '2026-02-28 23:59:59';\n"
                                        "default: now. With 'any', dates are not checked"))
        options.push_back(std::move(option));
    options.push_back(flag_option("status", 0, "for programs: print a keyword and a value in each line", status));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    if (!key_path && !certificate_path)
        throw WrongUse(self, "a public key is needed, --key FILE, or a certificate, --cert FILE");
    if (key_path && certificate_path) throw WrongUse(self, "--key and --cert exclude each other");
    if (!signature_path) throw WrongUse(self, "a signature is needed, --signature FILE");
    const std::string in = operands->empty() ? "-" : operands->front();
    if ((in == "-") + (key_path == "-") + (certificate_path == "-") + (signature_path == "-") > 1)
        throw WrongUse(self, "standard input can be only one of key, signature and data");

    if (!certificate_path && (!trust.authorities.empty() || trust.time))
        throw WrongUse(self, "--ca and --time belong to --cert");
    if (trust.authorities.empty() && !trust.lists.empty()) throw WrongUse(self, "--crl belongs to --ca");
    const std::optional<documents::Time> time = time_of(self, trust);

    Signer signer;
    load_signer(key_path, certificate_path, form, set, signer);
    const EcParamSet& curve = *signer.certified.key.set;
    Trusted trusted;
    if (certificate_path) trusted = check_certificate(signer.certified.certificate, TrustStore(trust), time);
    const EcSignature signature = load_signature(*signature_path);
    Input input(in);
    const SignedDigest digest = signed_digest(signer.set, input);
    const bool valid = in_range(signature.r, curve) && in_range(signature.s, curve) &&
                       ecVerify(&curve, digest.data(), &signer.certified.key.point, &signature) == VRX_OK;
    if (certificate_path && trust.authorities.empty()) warn_of_missing_authority();
    Output output("-");
    output.write(status ? status_text(valid, signer, certificate_path.has_value(), trusted, time)
                        : plain_text(valid, input, signer, certificate_path.has_value(), trusted));
    output.commit();
    return valid && trusted.fault.none() ? exit_done : exit_check_failed;
}

}  // namespace

const Command verify_command{
    "verify",
    "[FILE]",
    "verify a GOST R 34.10-2001 signature",
    R"(Verify the signature of FILE, or of standard input, with the signer's public key. The signature file holds 64
bytes, or the same as hexadecimal digits or base64. The command prints one line. The exit code is 0 if the signature
is valid, and 1 if it is not.

With --cert, the key, its curve and the parameter set of the hash come from an X.509 certificate (RFC 4491) in PEM or
DER. The certificate must be valid at the time of signing, must allow signatures, and must not have an unsupported
critical extension. With --ca, the command also checks the certificate chain (RFC 5280): names, dates, constraints,
key usage and signatures. With --crl, it also checks that no certificate of the chain was revoked. Without --ca,
anyone may have made the certificate.)",
    R"(vrx keypair --curve A --out my.pem
vrx pubkey -o my.pub my.pem
vrx sign --key my.pem -o letter.sig letter.txt
vrx verify --key my.pub --signature letter.sig letter.txt)",
    run};

}  // namespace vrx::app

// vrx cms sign
#include <vrx/hedged.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "commands/commands.hpp"
#include "documents/signed_data.hpp"
#include "documents/signed_data_writer.hpp"
#include "documents/transport_writer.hpp"
#include "io/pieces.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/key_files.hpp"
#include "keys/random.hpp"
#include "messages.hpp"

namespace vrx::app {
namespace {

/** The user's options. */
struct SignOptions {
    std::optional<std::string> key;
    std::optional<std::string> certificate;
    std::vector<std::string> chain;
    bool detached = false;
    bool no_attributes = false;
    bool pem = false;
    bool smime = false;
    std::string out = "-";
};

/** Sign a digest, and check the signature. */
Octets sign_digest(const PrivateKey& key, const documents::Digest& digest) {
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words;
    static_assert(sizeof words == sizeof digest);
    std::memcpy(words.data(), digest.data(), sizeof words);
    EcSignature signature;
    const int code = vrx_hedged_sign(key.set, words.data(), key.d, &signature);
    if (code == VRX_ERR_FAILED)
        throw Failure(
            "the new signature did not verify and was discarded; the CPU or memory may be faulty, check the machine");
    check("the signature", code);
    Octets octets(VRX_SIGNATURE_SIZE);
    check("the signature", ecUnloadSignValue(&signature, octets.data()));
    return octets;
}

bool is_pair(const PrivateKey& key, const PublicKey& certified) {
    const PublicKey own = public_key_of(key);
    return own.set == certified.set && std::ranges::equal(own.point.x, certified.point.x) &&
           std::ranges::equal(own.point.y, certified.point.y);
}

/** Returns a random boundary that separates the parts of a mail. It does not occur in the parts. */
std::string new_boundary() {
    std::array<std::uint8_t, 16> random;
    fill_random(random);
    return "----" + to_hex(random);
}

int run(const Command& self, int argc, char** argv) {
    SignOptions given;
    KeyForm form;
    PasswordOptions password;
    std::vector<Option> options{
        input_option("key", 'k', "the private key", given.key),
        input_option("cert", 'C', "the certificate of the key", given.certificate),
        input_option("chain", 0,
                     "more certificates to enclose, PEM or DER, such as that of the issuer;\n"
                     "may be repeated",
                     given.chain),
        flag_option("detached", 'd', "leave the content out of the message", given.detached),
        flag_option("no-attributes", 0, "sign the content itself, without attributes such as the time",
                    given.no_attributes),
        flag_option("pem", 0, "write PEM instead of DER", given.pem),
        flag_option("smime", 0, "write a mail (S/MIME); with --detached, a readable one", given.smime),
        output_option("out", 'o', "FILE", "output file; default: standard output", given.out)};
    for (Option& option : key_form_options(form, "the curve of a raw key")) options.push_back(std::move(option));
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    if (!given.key) throw WrongUse(self, "a private key is needed, --key FILE");
    if (!given.certificate) throw WrongUse(self, "the certificate of the key is needed, --cert FILE");
    if (given.pem && given.smime) throw WrongUse(self, "--pem and --smime exclude each other");
    const std::string in = operands->empty() ? "-" : operands->front();
    if ((in == "-") + (given.key == "-") + (given.certificate == "-") > 1)
        throw WrongUse(self, "standard input can be only one of key, certificate and content");
    check_usage(self, password, {in, *given.key, *given.certificate});

    Octets octets;
    CertifiedKey certified;
    load_certified_key(*given.certificate, form.curve, octets, certified);
    std::vector<Octets> chain;
    for (const std::string& path : given.chain) load_certificates(path, chain);
    Secret<PrivateKey> key;
    const FileId key_file = load_private_key(*given.key, form, password, *key);
    if (!is_pair(*key, certified.key))
        throw Failure("the certificate in " + in_quotes(*given.certificate) + " is not for the key in " +
                      in_quotes(*given.key) + "; 'vrx inspect' prints the fingerprint of each");

    Input input(in);
    Output output(given.out, {key_file, input.id()});
    documents::SigningPlan plan;
    plan.certificate = &certified.certificate;
    plan.detached = given.detached;
    plan.certificates.emplace_back(octets);
    for (const Octets& other : chain)
        if (other != octets) plan.certificates.emplace_back(other);
    if (!given.no_attributes) plan.attributes_time = documents::now();
    plan.size = input.remaining();

    using Form = documents::Transport::Form;
    const bool is_mail = given.smime && given.detached;
    documents::TransportWriter writer(
        given.smime ? (given.detached ? Form::multipart : Form::mime)
        : given.pem ? Form::pem
                    : Form::binary,
        [&](documents::Part data) { output.write(data); }, is_mail ? new_boundary() : "");
    documents::SignedDataWriter message(plan, [&](documents::Part data) { writer.write(data); });
    read_document(input, "the content of a message", [&] {
        Piece piece(piece_size);
        documents::Canonical canonical([&](documents::Part data) {
            message.content(data);
            writer.write_content(data);
        });
        for_each_piece(input, piece, [&](std::span<const std::uint8_t> data) {
            if (is_mail)
                canonical.write(data);
            else
                message.content(data);
        });
        if (is_mail) canonical.finish();
        if (is_mail) writer.begin_signature();
        message.finish([&](const documents::Digest& digest) { return sign_digest(*key, digest); });
    });
    writer.finish();
    output.commit();
    return exit_done;
}

}  // namespace

const Command cms_sign_command{
    "cms sign",
    "[FILE]",
    "sign a file as a message",
    R"(Sign FILE, or standard input, as a message (SignedData, RFC 5652 and RFC 4490) with GOST R 34.10-2001. The message
contains the content and the certificate of the signer. With --detached it does not contain the content.

The signature also covers the type of the content and the current time, unless --no-attributes is given. With --smime,
the message is a mail: application/pkcs7-mime, or with --detached multipart/signed. In the latter, FILE becomes the
first part, with CRLF at the end of each line. FILE must then begin with the headers of that part, or with an empty
line.)",
    R"(vrx cms sign --key my.pem --cert my.crt -o letter.p7m letter.txt
vrx cms sign --key my.pem --cert my.crt --detached -o letter.p7s letter.txt)",
    run};

}  // namespace vrx::app

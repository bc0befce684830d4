// vrx genkey, vrx pubkey
#include "commands.hpp"
#include "files.hpp"
#include "key_files.hpp"
#include "parameters.hpp"
#include "random.hpp"

namespace vrx::app {
namespace {

int run_genkey(const Command& self, int argc, char** argv) {
    KeyForm form;
    std::optional<std::string> out;
    std::vector<Option> options = key_form_options(form, "the curve: A, B, C, XchA, XchB or Test");
    options.push_back(text_option("out", 'o', "FILE", "the new key file; it must not exist yet", out));
    const auto operands = parse(self, options, 0, argc, argv);
    if (!operands) return exit_done;
    if (!form.curve) throw WrongUse(self, "a curve is needed, --curve NAME");
    if (!out || *out == "-") throw WrongUse(self, "a name for the key file is needed, --out FILE");

    Secret<PrivateKey> key;
    EcPoint point;
    key->set = &curve_by_name(*form.curve);
    check("the key generator", ecGenerateKeyPair(key->set, system_random, key->d, &point));
    SecretBytes content;
    append_private_key(content, form, *key);
    Output output(*out, NewPrivateFile{});
    output.write(content.bytes());
    output.commit();
    return exit_done;
}

int run_pubkey(const Command& self, int argc, char** argv) {
    KeyForm form;
    std::string out = "-";
    std::vector<Option> options = key_form_options(form, "the curve of a raw key");
    options.push_back(text_option("out", 'o', "FILE", "where the public key goes; without it to standard output", out));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;

    Secret<PrivateKey> key;
    const FileId read = load_private_key(operands->empty() ? "-" : operands->front(), form, *key);
    SecretBytes content;
    append_public_key(content, form, public_key_of(*key));
    Output output(out, {read});
    output.write(content.bytes());
    output.commit();
    return exit_done;
}

}  // namespace

const Command genkey_command{"genkey",
                             "",
                             "make a private key for signatures and key agreement",
                             "Write a new private key of GOST R 34.10-2001 to a file that only its owner can read "
                             "(permissions 600). A file that\n"
                             "exists is never overwritten. The file is PEM, PKCS #8 with the identifiers of RFC 4491, "
                             "and names the curve; with\n"
                             "--format der it is the same in DER, with --format raw the 32 octets of the number alone, "
                             "least significant\n"
                             "first.",
                             "vrx genkey --curve A --out my.pem",
                             run_genkey};

const Command pubkey_command{
    "pubkey",
    "[FILE]",
    "print the public key of a private key",
    "Print the public key that belongs to the private key in FILE, in the same form: PEM "
    "or DER\n"
    "(SubjectPublicKeyInfo), or 64 raw octets, x and then y, each least significant octet first. "
    "PEM and DER are told\n"
    "apart when the key is read; --format says how the result is written.",
    "vrx genkey --curve A --out my.pem\n"
    "vrx pubkey -o my.pub my.pem",
    run_pubkey};

}  // namespace vrx::app

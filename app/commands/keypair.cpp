// vrx keypair
#include "commands/commands.hpp"
#include "io/files.hpp"
#include "key_options.hpp"
#include "keys/key_files.hpp"
#include "keys/parameters.hpp"
#include "keys/random.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    Lock lock;
    std::optional<std::string> out;
    std::vector<Option> options = key_form_options(form, "the curve: A, B, C, XchA, XchB or Test");
    options.push_back(output_option("out", 'o', "FILE", "the new key file; it must not exist yet", out));
    for (Option& option : lock_options(lock)) options.push_back(std::move(option));
    const auto operands = parse(self, options, 0, argc, argv);
    if (!operands) return exit_done;
    if (!form.curve) throw WrongUse(self, "a curve is needed, --curve NAME");
    if (!out || *out == "-") throw WrongUse(self, "a name for the key file is needed, --out FILE");
    check_usage(self, lock);
    if (lock.on() && form.format == "raw")
        throw WrongUse(self, "a raw key cannot be encrypted; use --format pem or der");

    Secret<PrivateKey> key;
    EcPoint point;
    key->set = &curve_by_name(*form.curve);
    check("the key generator", ecGenerateKeyPair(key->set, vrx_system_random, key->d, &point));
    Output output(*out, NewPrivateFile{});  // first, so that a failure is reported before the user types a password
    SecretBytes content;
    if (lock.on()) {
        SecretBytes plain;
        append_private_key(plain, {"der", {}}, *key);
        append_locked(content, plain, lock, form.format == "pem", *out);
    } else {
        append_private_key(content, form, *key);
    }
    output.write(content.bytes());
    output.commit();
    return exit_done;
}

}  // namespace

const Command keypair_command{
    "keypair",
    "",
    "make a key pair for signatures and key agreement",
    R"(Write a new private key of GOST R 34.10-2001 to a file that only its owner can read (permissions 600). An
existing file is never overwritten. The key is written as PKCS #8 with the identifiers of RFC 4491, which names the
curve: in PEM, or in DER with --format der. With --format raw, it is only the 32 octets of the number, least
significant first. 'vrx pubkey' prints the public key of the pair.

'vrx genkey' is the earlier name of this command and still works. 'vrx keygen' makes keys of the cipher.)",
    R"(vrx keypair --curve A --out my.pem)",
    run};

}  // namespace vrx::app

// vrx pubkey
#include "commands/commands.hpp"
#include "io/files.hpp"
#include "key_options.hpp"
#include "keys/key_files.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    PasswordOptions password;
    std::string out = "-";
    std::vector<Option> options = key_form_options(form, "the curve of a raw key");
    options.push_back(
        output_option("out", 'o', "FILE", "output file for the public key; default: standard output", out));
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    const std::string in = operands->empty() ? "-" : operands->front();
    check_usage(self, password, {in});

    Secret<PrivateKey> key;
    const FileId read = load_private_key(in, form, password, *key);
    SecretBytes content;
    append_public_key(content, form, public_key_of(*key));
    Output output(out, {read});
    output.write(content.bytes());
    output.commit();
    return exit_done;
}

}  // namespace

const Command pubkey_command{
    "pubkey",
    "[FILE]",
    "print the public key of a private key",
    R"(Print the public key that belongs to the private key in FILE. The result is SubjectPublicKeyInfo in PEM or DER,
or 64 raw octets: x and then y, each least significant octet first. The command detects whether FILE is PEM or DER;
--format chooses the format of the result.)",
    R"(vrx keypair --curve A --out my.pem
vrx pubkey -o my.pub my.pem)",
    run};

}  // namespace vrx::app

// vrx keygen
#include "commands/commands.hpp"
#include "io/files.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/key_format.hpp"
#include "keys/keys.hpp"
#include "keys/random.hpp"

namespace vrx::app {
namespace {

struct NewKey {
    std::array<std::uint8_t, VRX_KEY_SIZE> octets;
    std::array<char, 2 * VRX_KEY_SIZE + 1> line;
};

int run(const Command& self, int argc, char** argv) {
    std::optional<std::string> out;
    bool hex = false;
    Lock lock;
    std::vector<Option> options{
        output_option("out", 'o', "FILE", "the new key file; it must not exist yet", out),
        flag_option("hex", 'x', "write 64 hexadecimal digits and a newline instead of 32 bytes", hex)};
    for (Option& option : lock_options(lock)) options.push_back(std::move(option));
    const auto operands = parse(self, options, 0, argc, argv);
    if (!operands) return exit_done;
    if (!out || *out == "-") throw WrongUse(self, "a name for the key file is needed, --out FILE");
    check_usage(self, lock);
    if (lock.on() && hex) throw WrongUse(self, "--hex and --password exclude each other");

    Secret<NewKey> key;
    fill_random(key->octets);
    Output output(*out, NewPrivateFile{});
    if (lock.on()) {
        SecretBytes plain;
        append_cipher_key_info(plain, key->octets);
        SecretBytes content;
        append_locked(content, plain, lock, true, *out);
        output.write(content.bytes());
    } else if (hex) {
        to_hex(key->octets, key->line);
        key->line.back() = '\n';
        output.write({key->line.data(), key->line.size()});
    } else {
        output.write(key->octets);
    }
    output.commit();
    return exit_done;
}

}  // namespace

const Command keygen_command{"keygen",
                             "",
                             "make a key for the cipher",
                             R"(Write 32 random bytes from the operating system to a new file that only its owner can
read (permissions 600). An existing file is never overwritten. 'vrx keypair' makes keys for signatures.)",
                             R"(vrx keygen --out my.key)",
                             run};

}  // namespace vrx::app

// vrx derive
#include <limits>

#include "commands/commands.hpp"
#include "io/text.hpp"
#include "key_options.hpp"
#include "keys/keys.hpp"
#include "keys/password.hpp"

namespace vrx::app {
namespace {

// RFC 8018, section 4.1, asks for salts of at least eight bytes.
constexpr std::size_t shortest_salt = 8;

/** The parameters of a derivation, without the password. */
struct Derivation {
    bool pkcs12;  // PKCS #12 if true, PBKDF2 otherwise
    Octets salt;
    std::uint64_t iterations;
    std::int32_t id;
    std::size_t length;
};

std::uint64_t number(const Command& self, const char* option, const std::string& text, std::uint64_t least,
                     std::uint64_t most) {
    const auto value = to_number(text);
    if (!value || *value < least || *value > most)
        throw WrongUse(self, std::string(option) + " takes a number from " + std::to_string(least) + " to " +
                                 std::to_string(most) + ", not " + in_quotes(text));
    return *value;
}

struct Choice {
    std::optional<std::string> kdf;
    std::optional<std::string> salt;
    std::optional<std::string> iterations;
    std::optional<std::string> id;
    std::optional<std::string> length;
};

Derivation derivation(const Command& self, const Choice& choice) {
    if (!choice.kdf) throw WrongUse(self, "a derivation is needed, --kdf pbkdf2 or --kdf pba");
    if (!choice.salt) throw WrongUse(self, "a salt is needed, --salt HEX");
    if (!choice.iterations) throw WrongUse(self, "a number of iterations is needed, --iterations N");
    if (choice.kdf != "pbkdf2" && choice.kdf != "pba")
        throw WrongUse(self, "--kdf takes pbkdf2 or pba, not " + in_quotes(*choice.kdf));

    Derivation result{};
    result.pkcs12 = choice.kdf == "pba";
    result.salt.resize(choice.salt->size() / 2);
    if (result.salt.empty() || !from_hex(*choice.salt, result.salt))
        throw WrongUse(self, "--salt takes an even number of hexadecimal digits, not " + in_quotes(*choice.salt));
    result.iterations = number(self, "--iterations", *choice.iterations, 1, std::numeric_limits<std::uint64_t>::max());
    if (choice.id && !result.pkcs12) throw WrongUse(self, "--id belongs to --kdf pba");
    result.id = static_cast<std::int32_t>(number(self, "--id", choice.id.value_or("1"), 0, 255));
    result.length = number(self, "--length", choice.length.value_or("32"), 1, std::numeric_limits<std::int32_t>::max());
    if (!result.pkcs12 && result.length != VRX_PBKDF2_SIZE)
        throw WrongUse(self, "pbkdf2 derives exactly 32 bytes; for more, derive again with another salt");
    return result;
}

void warn_of_weak_choices(const Derivation& choice) {
    warn_of_few_iterations(choice.iterations);
    if (choice.salt.size() < shortest_salt)
        say("warning: a salt of " + std::to_string(8 * choice.salt.size()) +
            " bits is so short that attackers can precompute keys for it; use 64 random bits or more");
    if (choice.pkcs12 && choice.length > VRX_HASH_SIZE)
        say("warning: a result longer than 32 bytes is not compatible with PKCS #12");
}

void derive(const Derivation& choice, SecretBytes& password, std::span<std::uint8_t> out) {
    const std::span<const std::uint8_t> given = password.bytes();
    if (choice.pkcs12)
        // The function needs an identifier, but always uses the default parameter set.
        check("the derivation", GOSTR3411_PBA_Derive(given.data(), static_cast<std::int32_t>(given.size()),
                                                     choice.salt.data(), static_cast<std::int32_t>(choice.salt.size()),
                                                     choice.iterations, choice.id, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE,
                                                     out.data(), static_cast<std::int32_t>(out.size())));
    else
        check("the derivation", GOSTR3411_PKCS5_PBKDF2(given.data(), static_cast<std::uint32_t>(given.size()),
                                                       choice.salt.data(), choice.salt.size(), choice.iterations,
                                                       VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, out.data(), out.size()));
}

/** Write the key in hexadecimal with a newline. The digits are as secret as the key. */
void write_hex(Output& output, std::span<const std::uint8_t> key) {
    const std::size_t size = 2 * key.size() + 1;
    const SecretPages pages(size);
    const std::span line(static_cast<char*>(pages.get()), size);
    to_hex(key, line);
    line.back() = '\n';
    output.write({line.data(), line.size()});
}

int run(const Command& self, int argc, char** argv) {
    Choice choice;
    PasswordOptions password_choice;
    std::string out = "-";
    bool raw = false;
    std::vector<Option> options{
        text_option("kdf", 0, "KDF", "pbkdf2 (PKCS #5, RFC 8018) or pba (PKCS #12, RFC 7292, appendix B)", choice.kdf),
        text_option("salt", 0, "HEX", "the salt, in hexadecimal", choice.salt),
        text_option("iterations", 'n', "N", "the iteration count", choice.iterations),
        text_option("id", 0, "N", "the purpose for pba: 1 a key (the default), 2 an IV, 3 a MAC key", choice.id),
        text_option("length", 'l', "N", "bytes to derive; default: 32, which is the only size of pbkdf2",
                    choice.length)};
    for (Option& option : password_options(password_choice)) options.push_back(std::move(option));
    options.push_back(output_option("out", 'o', "FILE",
                                    "a new file, readable by its owner only, for the result; default: standard\n"
                                    "output",
                                    out));
    options.push_back(flag_option("raw", 0, "write bytes instead of hexadecimal digits and a newline", raw));
    if (!parse(self, options, 0, argc, argv)) return exit_done;

    const Derivation derivation = app::derivation(self, choice);
    check_usage(self, password_choice);
    warn_of_weak_choices(derivation);
    Output output =
        out == "-"
            ? Output(out)
            : Output(
                  out,
                  NewPrivateFile{});  // first, so that an error is reported before the user is asked for the password
    SecretBytes password;
    get_password(password_choice, password);
    const SecretPages pages(derivation.length);
    const std::span key(static_cast<std::uint8_t*>(pages.get()), derivation.length);
    derive(derivation, password, key);
    if (raw)
        output.write(key);
    else
        write_hex(output, key);
    output.commit();
    return exit_done;
}

}  // namespace

const Command derive_command{
    "derive",
    "",
    "derive a key from a password",
    R"(Derive a key from a password with GOST R 34.11-94 (parameter set cryptopro), and print its hexadecimal digits.

The program asks for the password on the terminal, which does not show it, or reads it from a file or a descriptor.
The password is never an argument, because every user of the system can see arguments. To derive the same key
again you need the same password, salt and iteration count: store the salt and the count, and remember the password.)",
    R"(od -An -N16 -tx1 /dev/urandom | tr -d ' \n' > salt
vrx derive --kdf pbkdf2 --salt $(cat salt) --iterations 600000 --out my.key)",
    run};

}  // namespace vrx::app

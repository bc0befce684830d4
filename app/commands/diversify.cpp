// vrx diversify
#include <cstring>

#include "commands/commands.hpp"
#include "derived_key.hpp"
#include "key_options.hpp"
#include "keys/keys.hpp"
#include "keys/parameters.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    std::optional<std::string> key_path;
    std::optional<std::string> ukm_text;
    std::string params = "A";
    std::string out = "-";
    PasswordOptions password;
    std::vector<Option> options{
        input_option("key", 'k', "the key: 32 bytes, or 64 hexadecimal digits", key_path), ukm_option(ukm_text),
        text_option("params", 'p', "SET", "parameter set of the cipher; default: CryptoPro-A", params),
        derived_key_option(out)};
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    if (!parse(self, options, 0, argc, argv)) return exit_done;
    if (!key_path) throw WrongUse(self, "a key is needed, --key FILE");
    const Ukm ukm = ukm_of(self, ukm_text);
    check_usage(self, password, {*key_path});

    Secret<DerivedKey> result;
    Secret<Key> key;
    load_key(*key_path, password, *key);
    std::memcpy(result->octets.data(), key->data(), VRX_KEY_SIZE);
    check("the diversification", ecDiversifyKEK(cipher_parameters(params).tz, result->octets.data(), ukm.data()));
    write_derived_key(out, *result);
    return exit_done;
}

}  // namespace

const Command diversify_command{
    "diversify",
    "",
    "derive another key from a key",
    R"(Diversify a 32-byte key with user keying material: CryptoPro KEK diversification (RFC 4357, section 6.5).

Each value of the user keying material gives another key. The values are public. To derive two keys from one secret,
one for encryption and one for MACs, use two different values, as in the example.)",
    R"(vrx keygen --out my.key
vrx diversify --key my.key --ukm 0000000000000001 --out cipher.key
vrx diversify --key my.key --ukm 0000000000000002 --out mac.key)",
    run};

}  // namespace vrx::app

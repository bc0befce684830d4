// vrx agree
#include "commands/commands.hpp"
#include "derived_key.hpp"
#include "key_options.hpp"
#include "keys/key_files.hpp"
#include "keys/parameters.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    KeyForm form;
    PasswordOptions password;
    std::optional<std::string> key_path;
    std::optional<std::string> peer_path;
    std::optional<std::string> ukm_text;
    std::string set = "cryptopro";
    std::string out = "-";
    std::vector<Option> options{input_option("key", 'k', "your private key", key_path),
                                input_option("peer", 'p', "the peer's public key", peer_path), ukm_option(ukm_text)};
    for (Option& option : key_form_options(form, "the curve of raw keys")) options.push_back(std::move(option));
    options.push_back(
        text_option("set", 's', "SET", "parameter set of the hash: cryptopro or test; default: cryptopro", set));
    options.push_back(derived_key_option(out));
    for (Option& option : key_password_options(password)) options.push_back(std::move(option));
    if (!parse(self, options, 0, argc, argv)) return exit_done;
    if (!key_path) throw WrongUse(self, "your private key is needed, --key FILE");
    if (!peer_path) throw WrongUse(self, "the peer's public key is needed, --peer FILE");
    if (key_path == "-" && peer_path == "-") throw WrongUse(self, "standard input cannot be both keys");
    const Ukm ukm = ukm_of(self, ukm_text);
    if (ukm == Ukm{}) throw WrongUse(self, "the user keying material may not be all zeros");
    check_usage(self, password, {*key_path, *peer_path});

    Secret<PrivateKey> key;
    PublicKey peer;
    load_private_key(*key_path, form, password, *key);
    load_public_key(*peer_path, form, peer);
    if (key->set != peer.set)
        throw Failure(std::string("the keys are on different curves, ") + curve_name(*key->set) + " and " +
                      curve_name(*peer.set) + "; make a key on the peer's curve with 'vrx keypair'");
    const vrx_gostr3411_par& hash = *get_GOSTR3411_par(hash_set_index(set));
    const vrx_data oid{hash.oid_length, const_cast<std::uint8_t*>(hash.oid)};
    Secret<DerivedKey> agreed;
    check("the key agreement", ecMakeKEK(key->set, &oid, ukm.data(), key->d, &peer.point, agreed->octets.data()));
    write_derived_key(out, *agreed);
    return exit_done;
}

}  // namespace

const Command agree_command{
    "agree",
    "",
    "derive a key that you share with a peer",
    R"(Derive a 32-byte key from your private key and a peer's public key, by VKO GOST R 34.10-2001 (RFC 4357, section
5.2). The peer derives the same key from your public key and its private key. Both sides must use the same user
keying material, which is 8 public bytes. Use new bytes for each agreement.)",
    R"(vrx keypair --curve XchA --out mine.pem
vrx keypair --curve XchA --out theirs.pem
vrx pubkey -o theirs.pub theirs.pem
vrx agree --key mine.pem --peer theirs.pub --ukm 5172be25f852a233)",
    run};

}  // namespace vrx::app

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
    std::optional<std::string> key_path;
    std::optional<std::string> peer_path;
    std::optional<std::string> ukm_text;
    std::string set = "cryptopro";
    std::string out = "-";
    std::vector<Option> options{text_option("key", 'k', "FILE", "your private key", key_path),
                                text_option("peer", 'p', "FILE", "the other's public key", peer_path),
                                ukm_option(ukm_text)};
    for (Option& option : key_form_options(form, "the curve of raw keys")) options.push_back(std::move(option));
    options.push_back(
        text_option("set", 's', "SET", "parameter set of the hash: cryptopro or test; default: cryptopro", set));
    options.push_back(derived_key_option(out));
    if (!parse(self, options, 0, argc, argv)) return exit_done;
    if (!key_path) throw WrongUse(self, "your private key is needed, --key FILE");
    if (!peer_path) throw WrongUse(self, "the other's public key is needed, --peer FILE");
    if (key_path == "-" && peer_path == "-") throw WrongUse(self, "standard input cannot be both keys");
    const Ukm ukm = ukm_of(self, ukm_text);
    if (ukm == Ukm{}) throw WrongUse(self, "user keying material of zeros is not allowed");

    Secret<PrivateKey> key;
    PublicKey peer;
    load_private_key(*key_path, form, *key);
    load_public_key(*peer_path, form, peer);
    if (key->set != peer.set)
        throw Failure(std::string("the keys are on different curves, ") + curve_name(*key->set) + " and " +
                      curve_name(*peer.set) + "; make a key on the other's curve with 'vrx keypair'");
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
    "agree on a key with somebody",
    R"(Make the 32-byte key that you and the owner of another key pair share: VKO GOST R 34.10-2001 (RFC 4357, section
5.2). Both sides need the same user keying material, which is public and best never the same twice.)",
    R"(vrx keypair --curve XchA --out mine.pem
vrx keypair --curve XchA --out theirs.pem
vrx pubkey -o theirs.pub theirs.pem
vrx agree --key mine.pem --peer theirs.pub --ukm 5172be25f852a233)",
    run};

}  // namespace vrx::app

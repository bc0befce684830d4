// vrx agree, vrx diversify
#include <array>
#include <cstring>

#include "commands.hpp"
#include "key_files.hpp"
#include "parameters.hpp"
#include "text.hpp"

namespace vrx::app {
namespace {

using Ukm = std::array<std::uint8_t, VRX_UKM_SIZE>;

/** The result of both commands. */
struct Agreed {
    std::array<std::uint8_t, VRX_KEK_SIZE> octets;
    std::array<char, 2 * VRX_KEK_SIZE + 1> line;
};

Ukm ukm_of(const Command& self, const std::optional<std::string>& text) {
    if (!text) throw WrongUse(self, "the user keying material is needed, --ukm HEX");
    Ukm ukm;
    if (!from_hex(*text, ukm)) throw WrongUse(self, "--ukm takes 16 hexadecimal digits, not " + in_quotes(*text));
    return ukm;
}

Option ukm_option(std::optional<std::string>& ukm) {
    return text_option("ukm", 'u', "HEX", "the user keying material, 16 digits", ukm);
}

Option out_option(std::string& out) {
    return text_option("out", 'o', "FILE",
                       "a new file, readable by its owner alone, for the 32 bytes; without it\n"
                       "hexadecimal digits go to standard output",
                       out);
}

void write_key(const std::string& out, Agreed& key) {
    if (out != "-") {
        Output output(out, NewPrivateFile{});
        output.write(key.octets);
        return output.commit();
    }
    to_hex(key.octets, key.line);
    key.line.back() = '\n';
    Output output(out);
    output.write({key.line.data(), key.line.size()});
    output.commit();
}

int run_agree(const Command& self, int argc, char** argv) {
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
        text_option("set", 's', "SET", "parameter set of the hash: cryptopro or test; without it cryptopro", set));
    options.push_back(out_option(out));
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
                      curve_name(*peer.set) + "; make a key on the other's curve with 'vrx genkey'");
    const vrx_gostr3411_par& hash = *get_GOSTR3411_par(hash_set_index(set));
    const vrx_data oid{hash.oid_length, const_cast<std::uint8_t*>(hash.oid)};
    Secret<Agreed> agreed;
    check("the key agreement", ecMakeKEK(key->set, &oid, ukm.data(), key->d, &peer.point, agreed->octets.data()));
    write_key(out, *agreed);
    return exit_done;
}

int run_diversify(const Command& self, int argc, char** argv) {
    std::optional<std::string> key_path;
    std::optional<std::string> ukm_text;
    std::string params = "A";
    std::string out = "-";
    const std::vector<Option> options{
        text_option("key", 'k', "FILE", "the key: 32 bytes, or 64 hexadecimal digits", key_path), ukm_option(ukm_text),
        text_option("params", 'p', "SET", "parameter set of the cipher; without it CryptoPro-A", params),
        out_option(out)};
    if (!parse(self, options, 0, argc, argv)) return exit_done;
    if (!key_path) throw WrongUse(self, "a key is needed, --key FILE");
    const Ukm ukm = ukm_of(self, ukm_text);

    Secret<Agreed> result;
    Secret<Key> key;
    load_key(*key_path, *key);
    std::memcpy(result->octets.data(), key->data(), VRX_KEY_SIZE);
    check("the diversification", ecDiversifyKEK(cipher_parameters(params).tz, result->octets.data(), ukm.data()));
    write_key(out, *result);
    return exit_done;
}

}  // namespace

const Command agree_command{
    "agree",
    "",
    "agree on a key with somebody",
    "Make the 32-byte key that you and the owner of another key pair share: VKO GOST R 34.10-2001 (RFC 4357, section\n"
    "5.2). Both sides need the same user keying material, which is public and best never the same twice.",
    "vrx genkey --curve XchA --out mine.pem\n"
    "vrx genkey --curve XchA --out theirs.pem\n"
    "vrx pubkey -o theirs.pub theirs.pem\n"
    "vrx agree --key mine.pem --peer theirs.pub --ukm 5172be25f852a233",
    run_agree};

const Command diversify_command{
    "diversify",
    "",
    "make another key of a key",
    "Diversify a 32-byte key with user keying material: CryptoPro KEK diversification (RFC 4357, section 6.5).",
    "vrx keygen --out my.key\n"
    "vrx diversify --key my.key --ukm 5172be25f852a233 --out other.key",
    run_diversify};

}  // namespace vrx::app

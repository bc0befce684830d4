// vrx mac
#include <algorithm>

#include "checklist.hpp"
#include "cipher.hpp"
#include "commands/commands.hpp"
#include "io/pieces.hpp"
#include "key_options.hpp"

namespace vrx::app {
namespace {

Octets mac_of(Cipher& cipher, Input& input, Piece& piece) {
    bool empty = true;
    cipher.start_mac();
    for_each_piece(input, piece, [&](std::span<std::uint8_t> data) {
        cipher.absorb(data);
        empty = false;
    });
    // Before the first block the state does not depend on the key, so anyone could forge this MAC.
    if (empty) throw NoValue(input.shown() + " is empty, and an empty message has no MAC");
    const Block mac = cipher.finish_mac();
    return {mac.begin(), mac.end()};
}

int run(const Command& self, int argc, char** argv) {
    CipherOptions cipher_choice;
    ListOptions list_choice;
    std::vector<Option> options = cipher_options(cipher_choice);
    options.push_back(
        text_option("iv", 0, "HEX", "the initial value of the MAC, 16 digits; default: zero", cipher_choice.iv));
    for (Option& option : list_options(list_choice, "read lists of MACs from the FILEs and verify them"))
        options.push_back(std::move(option));

    const auto files = parse_with_lists(self, options, list_choice, argc, argv);
    if (!files) return exit_done;
    if (cipher_choice.key == "-" && std::find(files->begin(), files->end(), "-") != files->end())
        throw WrongUse(self, "standard input cannot be both the key and the data");
    std::vector<std::string> read = *files;
    read.push_back(cipher_choice.key.value_or(""));
    check_usage(self, cipher_choice.password, read);

    Cipher cipher(self, cipher_choice);
    Piece piece(piece_size);
    const CheckValue mac{"MAC", "", VRX_BLOCK_SIZE, [&](Input& input) { return mac_of(cipher, input, piece); }};
    return run_lists({&mac, 1}, *files, list_choice, cipher.files());
}

}  // namespace

const Command mac_command{
    "mac",
    "[FILE]...",
    "authenticate files with the GOST 28147-89 MAC",
    R"(Print the 8-byte MAC of each FILE, or of standard input, in the format of sha256sum; or verify such lists.

A message is padded with zero bytes to whole blocks, so the MAC may not detect zero bytes that are added at its
end: store the length of the message, too. An empty file has no MAC and is refused. With --check the exit code is 1 if
a file differs or a line is malformed, and 2 if a file cannot be read.)",
    R"(vrx keygen --out mac.key
vrx mac --key mac.key *.enc > macs
vrx mac --key mac.key --check macs)",
    run};

}  // namespace vrx::app

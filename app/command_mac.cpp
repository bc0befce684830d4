// vrx mac
#include <algorithm>

#include "checklist.hpp"
#include "cipher.hpp"
#include "commands.hpp"
#include "progress.hpp"

namespace vrx::app {
namespace {

Octets mac_of(Cipher& cipher, Input& input, Piece& piece) {
    Progress progress(input);
    bool empty = true;
    cipher.start_mac();
    while (const std::size_t got = input.read(piece)) {
        cipher.absorb({piece.data(), got});
        progress.advance(got);
        empty = false;
    }
    // With no block processed the state does not depend on the key, so anybody could make this MAC.
    if (empty) throw NoValue(input.shown() + " is empty, and an empty message has no MAC");
    const Block mac = cipher.finish_mac();
    return {mac.begin(), mac.end()};
}

int run(const Command& self, int argc, char** argv) {
    CipherOptions cipher_choice;
    CheckOptions check_choice;
    bool check = false;
    std::string out = "-";
    std::vector<Option> options = cipher_options(cipher_choice);
    options.push_back(text_option("iv", 0, "HEX", "the value that the MAC starts from, 16 digits; without it zero",
                                  cipher_choice.iv));
    options.push_back(text_option("out", 'o', "OUT", "where the list goes; without it to standard output", out));
    options.push_back(flag_option("check", 'c', "read lists of MACs from the FILEs and verify them", check));
    for (Option& option : check_options(check_choice)) options.push_back(std::move(option));

    auto files = parse(self, options, std::string::npos, argc, argv);
    if (!files) return exit_done;
    if (files->empty()) files->push_back("-");
    if (cipher_choice.key == "-" && std::find(files->begin(), files->end(), "-") != files->end())
        throw WrongUse(self, "standard input cannot be both the key and the data");
    if (check && out != "-") throw WrongUse(self, "--out has no meaning with --check");
    if (!check && (check_choice.quiet || check_choice.status || check_choice.ignore_missing))
        throw WrongUse(self, "--quiet, --status and --ignore-missing belong to --check");

    Cipher cipher(self, cipher_choice);
    Piece piece(piece_size);
    const CheckValue value{"MAC", VRX_BLOCK_SIZE, [&](Input& input) { return mac_of(cipher, input, piece); }};
    if (check) return check_lists(value, *files, check_choice);

    Output output(out, cipher.files());
    const int code = write_list(value, *files, output);
    output.commit();
    return code;
}

}  // namespace

const Command mac_command{"mac",
                          "[FILE]...",
                          "authenticate files with the GOST 28147-89 MAC",
                          "Print the 8-byte MAC of each FILE, or of standard input, in lines as sha256sum writes them; "
                          "or verify such lines.\n"
                          "\n"
                          "A message is padded with zero bytes to whole blocks, so its length should be known from "
                          "elsewhere. An empty file has\n"
                          "no MAC and is refused. With --check the exit code is 1 when a file differs or a line is not "
                          "understood, and 2 when\n"
                          "a file cannot be read.",
                          "vrx mac --key my.key *.enc > macs\n"
                          "vrx mac --key my.key --check macs",
                          run};

}  // namespace vrx::app

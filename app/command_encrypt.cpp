// vrx encrypt, vrx decrypt
#include <algorithm>
#include <cstring>

#include "cipher.hpp"
#include "commands.hpp"
#include "progress.hpp"
#include "random.hpp"

namespace vrx::app {
namespace {

std::string not_whole_blocks(const Input& input, const Mode& mode) {
    return input.shown() + " is not a multiple of 8 bytes long, which mode " + mode.name +
           " needs; use --mode gamm or --mode gfb";
}

/** Refuse, before anything is written, a file whose length tells already that it cannot be processed. */
void check_length(const Input& input, const Mode& mode) {
    if (mode.whole_blocks && input.remaining().value_or(0) % VRX_BLOCK_SIZE != 0)
        throw Failure(not_whole_blocks(input, mode));
}

/** The IV of a message: given by the user, else drawn and written before the data, or read from there. */
std::optional<Block> message_iv(const Cipher& cipher, bool encrypt, Input& input, Output& output) {
    if (!cipher.mode().takes_iv) return std::nullopt;
    if (cipher.iv()) return cipher.iv();
    Block iv;
    if (encrypt) {
        fill_random(iv);
        output.write(iv);
    } else if (input.read_full(iv) < iv.size()) {
        throw Failure(input.shown() + " is too short to begin with an IV; give the one it was encrypted with by --iv");
    }
    return iv;
}

/** Pass the input through the cipher in place, as it comes; bytes that do not fill a block wait for more. */
void transform(Cipher& cipher, Input& input, Output& output) {
    Piece piece(piece_size);
    Progress progress(input);
    std::size_t held = 0;
    const auto process = [&](std::size_t size) {
        cipher.process({piece.data(), size});
        output.write({piece.data(), size});
        progress.advance(size);
    };
    while (const std::size_t got = input.read(std::span(piece).subspan(held))) {
        const std::size_t available = held + got;
        const std::size_t whole = available - available % VRX_BLOCK_SIZE;
        held = available - whole;
        if (whole == 0) continue;
        process(whole);
        std::memmove(piece.data(), piece.data() + whole, held);
    }
    if (held == 0) return;
    if (cipher.mode().whole_blocks) throw Failure(not_whole_blocks(input, cipher.mode()));
    process(held);
}

int run(const Command& self, int argc, char** argv) {
    const bool encrypt = &self == &encrypt_command;
    CipherOptions cipher_choice;
    std::string out = "-";
    std::vector<Option> options = cipher_options(cipher_choice);
    options.insert(options.begin() + 2,
                   text_option("mode", 'm', "MODE", "ss, gamm, gfb or cbc; without it as the parameter set says",
                               cipher_choice.mode));
    options.push_back(text_option("iv", 0, "HEX",
                                  encrypt ? "the IV, 16 digits; nothing is then written before the data"
                                          : "the IV, 16 digits; the input is then the data alone",
                                  cipher_choice.iv));
    options.push_back(text_option("out", 'o', "OUT", "where the result goes; without it to standard output", out));

    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    const std::string in = operands->empty() ? "-" : operands->front();
    if (in == "-" && cipher_choice.key == "-")
        throw WrongUse(self, "standard input cannot be both the key and the data");

    Cipher cipher(self, cipher_choice);
    if (cipher.iv() && !cipher.mode().takes_iv) say("warning: mode ss has no IV; the value of --iv is not used");
    Input input(in);
    check_length(input, cipher.mode());
    std::vector<FileId> read = cipher.files();
    read.push_back(input.id());
    Output output(out, read);

    cipher.start(encrypt, message_iv(cipher, encrypt, input, output));
    transform(cipher, input, output);
    output.commit();
    return exit_done;
}

}  // namespace

const Command encrypt_command{"encrypt",
                              "[FILE]",
                              "encrypt a file with GOST 28147-89",
                              "Encrypt FILE, or standard input, with GOST 28147-89.\n"
                              "\n"
                              "Without --iv an IV of 8 bytes is drawn at random and written before the data, where "
                              "'vrx decrypt' reads it. Mode ss\n"
                              "has no IV and writes none. Modes ss and cbc take data of a multiple of 8 bytes only; "
                              "nothing is padded. The result\n"
                              "carries no check of its own: protect it with 'vrx mac'.",
                              "vrx keygen --out my.key\n"
                              "vrx encrypt --key my.key -o letter.enc letter.txt",
                              run};

const Command decrypt_command{
    "decrypt",
    "[FILE]",
    "decrypt what 'vrx encrypt' wrote",
    "Decrypt FILE, or standard input, with GOST 28147-89. All options must be those of the encryption.\n"
    "\n"
    "Without --iv the first 8 bytes of the input are the IV (but in mode ss, which has none). A wrong key or option "
    "is\n"
    "not noticed, the result is then random bytes.",
    "vrx decrypt --key my.key -o letter.txt letter.enc\n"
    "tar c folder | vrx encrypt --key my.key | vrx decrypt --key my.key | tar t",
    run};

}  // namespace vrx::app

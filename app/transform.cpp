#include "transform.hpp"

#include <algorithm>
#include <cstring>

#include "cipher.hpp"
#include "io/progress.hpp"
#include "key_options.hpp"
#include "keys/random.hpp"

namespace vrx::app {
namespace {

std::string not_whole_blocks(const Input& input, const Mode& mode) {
    return input.shown() + " is not a multiple of 8 bytes long, which mode " + mode.name +
           " needs; use --mode gamm or --mode gfb";
}

/** Reject a file whose length is invalid for the mode, before anything is written. */
void check_length(const Input& input, const Mode& mode) {
    if (mode.whole_blocks && input.remaining().value_or(0) % VRX_BLOCK_SIZE != 0)
        throw Failure(not_whole_blocks(input, mode));
}

/**
 * The IV of a message. Without --iv, encryption generates the IV and writes it before the ciphertext, and decryption
 * reads it from there.
 */
std::optional<Block> message_iv(const Cipher& cipher, bool encrypt, Input& input, Output& output) {
    if (!cipher.mode().takes_iv) return std::nullopt;
    if (cipher.iv()) return cipher.iv();
    Block iv;
    if (encrypt) {
        fill_random(iv);
        output.write(iv);
    } else if (input.read_full(iv) < iv.size()) {
        throw Failure(input.shown() +
                      " is too short to begin with an IV; if the IV is stored elsewhere, give it with --iv");
    }
    return iv;
}

/** Process the input as it arrives. Bytes that do not fill a block are held until more arrive. */
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

}  // namespace

int run_transform(const Command& self, bool encrypt, int argc, char** argv) {
    CipherOptions cipher_choice;
    std::string out = "-";
    std::vector<Option> options = cipher_options(cipher_choice);
    options.insert(
        options.begin() + 2,
        text_option("mode", 'm', "MODE", "ss (ecb), gamm (ctr), gfb (cfb) or cbc; default: that of the parameter set",
                    cipher_choice.mode));
    options.push_back(text_option("iv", 0, "HEX",
                                  encrypt ? "the IV, 16 digits; the output is then the ciphertext alone"
                                          : "the IV, 16 digits; the input is then the ciphertext alone",
                                  cipher_choice.iv));
    options.push_back(output_option("out", 'o', "OUT", "output file; default: standard output", out));

    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    const std::string in = operands->empty() ? "-" : operands->front();
    if (in == "-" && cipher_choice.key == "-")
        throw WrongUse(self, "standard input cannot be both the key and the data");
    check_usage(self, cipher_choice.password, {in, cipher_choice.key.value_or("")});

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

}  // namespace vrx::app

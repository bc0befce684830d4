// Fuzz target: a context gives the same ciphertext for any split of the message, in place or not, and decryption
// returns the message. With key meshing off, the one-shot function of the mode gives the same result.
#include <array>

#include "fuzz.hpp"
#include "vrx.h"

namespace {

using vrx::fuzz::Input;
using vrx::fuzz::require;
using Bytes = std::vector<std::uint8_t>;

struct Setting {
    const vrx_tz* table;
    std::uint32_t mode;
    std::uint32_t key_meshing;
    std::array<std::uint32_t, VRX_KEY_WORDS> key;
    std::array<std::uint8_t, VRX_BLOCK_SIZE> iv;
};

/** The output for a message, and the final state of the context. */
struct Result {
    Bytes text;
    vrx_crpt_ctx ctx;
};

vrx_data record(Bytes& bytes) { return {static_cast<std::uint32_t>(bytes.size()), bytes.data()}; }

/** Processes a message in pieces. next_piece(left) returns the length of the next piece, at least 1. */
template <typename NextPiece>
Result run(const Setting& s, int direction, const Bytes& message, NextPiece next_piece) {
    Result result{Bytes(message.size() + VRX_BLOCK_SIZE), {}};
    vrx_crpt_ctx& ctx = result.ctx;
    require(vrx_crpt_init_context(&ctx, direction, s.table, s.mode, 0, s.key_meshing, 0, s.iv.data(), s.key.data()) ==
                VRX_OK,
            "a context opens");
    std::size_t written = 0;
    for (std::size_t done = 0; done < message.size();) {
        const std::size_t size = next_piece(message.size() - done);
        // On the heap with its exact size, so that AddressSanitizer detects overruns.
        Bytes piece(message.begin() + static_cast<std::ptrdiff_t>(done),
                    message.begin() + static_cast<std::ptrdiff_t>(done + size));
        const vrx_data in = record(piece);
        vrx_data out{static_cast<std::uint32_t>(result.text.size() - written), result.text.data() + written};
        require(vrx_crpt_update(&ctx, &in, &out) == VRX_OK, "a piece is processed");
        if (s.mode != VRX_MODE_IMITO) written += out.length;
        done += size;
    }
    const bool streams = s.mode == VRX_MODE_GAMM || s.mode == VRX_MODE_GFB || s.mode == VRX_MODE_IMITO;
    require(vrx_crpt_final(&ctx) == (streams || message.size() % VRX_BLOCK_SIZE == 0 ? VRX_OK : VRX_ERR_BLOCK_MULTIPLE),
            "a message ends well when it may end there");
    result.text.resize(written);
    return result;
}

bool same_mac(const Result& a, const Result& b) {
    return std::equal(std::begin(a.ctx.mac), std::end(a.ctx.mac), std::begin(b.ctx.mac));
}

Setting read_setting(Input& input, vrx_tz& table) {
    const std::uint8_t choice = input.byte();
    Setting s{&TZ_28147_89[choice % 5], 1U + (choice >> 3) % 5U, (choice & 128) != 0, {}, {}};
    for (std::uint32_t& word : s.key) word = input.byte() * 0x01010101U;
    input.fill(s.iv);
    if (choice % 8 == 7) {
        std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric;
        input.fill(numeric);
        require(vrx_crpt_deploy_TZ(numeric.data(), &table) == VRX_OK, "any S-boxes are deployed");
        s.table = &table;
    }
    return s;
}

void compare_with_one_shot(const Setting& s, Bytes message, const Result& whole) {
    auto iv = s.iv;
    const std::size_t size = message.size();
    Bytes result(s.mode == VRX_MODE_IMITO ? VRX_BLOCK_SIZE : size);
    const vrx_data in = record(message);
    vrx_data out = record(result);
    if (s.mode == VRX_MODE_IMITO) {
        std::copy(iv.begin(), iv.end(), result.begin());
        require(VRX_Gost_Imito_m(s.table, &in, &out, s.key.data(), VRX_FLAG_PAD) == VRX_OK, "one call makes a MAC");
        require(std::equal(result.begin(), result.end(), std::begin(whole.ctx.mac)), "a context makes the same MAC");
        return;
    }
    require(do_cipher_low(s.table, static_cast<int>(s.mode), &in, &out, iv.data(), s.key.data(), 1,
                          VRX_FLAG_FIRST | VRX_FLAG_PAD) == VRX_OK,
            "one call encrypts the message");
    require(result == whole.text, "a context encrypts the message to the same");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    vrx_tz table;
    const Setting s = read_setting(input, table);
    const Bytes cuts = input.take(input.byte());
    // A short input expands to a long message, so that key meshing happens soon.
    const unsigned repeat = 1U + input.byte() % 64;
    const Bytes unit = input.rest();
    Bytes message;
    for (unsigned i = 0; i < repeat; ++i) message.insert(message.end(), unit.begin(), unit.end());

    const auto all_at_once = [](std::size_t left) { return left; };
    std::size_t next = 0;
    const auto as_the_input_says = [&](std::size_t left) {
        const std::size_t cut = next < cuts.size() ? cuts[next++] : left;
        return std::clamp<std::size_t>(cut, 1, left);
    };
    const Result whole = run(s, 1, message, all_at_once);
    const Result pieces = run(s, 1, message, as_the_input_says);
    require(whole.text == pieces.text, "the pieces of a message do not matter");
    require(same_mac(whole, pieces), "the pieces of a message do not matter to its MAC");

    const bool whole_blocks = s.mode == VRX_MODE_SS || s.mode == VRX_MODE_CBC;
    const Bytes processed(message.begin(),
                          message.end() - static_cast<std::ptrdiff_t>(whole_blocks ? message.size() % 8 : 0));
    if (s.mode != VRX_MODE_IMITO) {
        next = 0;
        require(run(s, 0, whole.text, as_the_input_says).text == processed, "decryption gives the message back");
    }
    if (s.key_meshing == 0 && !processed.empty()) compare_with_one_shot(s, processed, whole);
    return 0;
}

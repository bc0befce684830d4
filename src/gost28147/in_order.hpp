// The modes block by block, as templates over an implementation of the cipher for one block.
//
// An engine includes this inside its region, like engine/parallel.hpp: everything is a template over a type of the
// including file.
#ifndef VRX_GOST28147_IN_ORDER_HPP
#define VRX_GOST28147_IN_ORDER_HPP

#include <utility>

#include "gost28147/mode.hpp"

namespace vrx::gost28147 {

/** The cipher for one block, in terms of the function rounds.run<order>(b) of an engine. */
template <typename Rounds>
struct BlockBy {
    const Rounds& rounds;

    [[nodiscard]] Block encrypt(Block b) const { return swapped(rounds.template run<encryption_order>(b)); }
    [[nodiscard]] Block decrypt(Block b) const { return swapped(rounds.template run<decryption_order>(b)); }
    [[nodiscard]] Block mac(Block b) const { return rounds.template run<mac_order>(b); }

private:
    static Block swapped(Block b) { return {b.n2, b.n1}; }
};

// Text is loaded after the call that generates the key stream. If it were loaded before, the compiler would spill it to
// the stack and leave it there.

/** Computes out = f(in) for each block. */
template <typename Function>
void codebook(const Run& run, Function f) {
    const std::uint8_t* in = run.in;
    std::uint8_t* out = run.out;
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) store_block(out, f(in));
}

/**
 * Computes out = f(in, register) for each block, where f updates the register. The register is written back after the
 * last block.
 */
template <typename Function>
void with_register(const Run& run, Function f) {
    Block reg = load_block(run.reg);
    codebook(run, [&](const std::uint8_t* in) { return f(in, reg); });
    store_block(run.reg, reg);
}

template <typename Cipher>
void cfb_decrypt_rereading(const Run& run, const Cipher& c) {
    const std::uint8_t* in = run.in;
    std::uint8_t* out = run.out;
    Block reg = load_block(run.reg);
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) {
        const Block stream = c.encrypt(reg);
        store_block(out, load_block(in) ^ stream);
        reg = load_block(in);
    }
    store_block(run.reg, reg);
}

template <typename Cipher>
void mac(const Run& run, const Cipher& c) {
    const std::uint8_t* in = run.in;
    Block state = load_block(run.reg);
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE) state = c.mac(state ^ load_block(in));
    store_block(run.reg, state);
}

/**
 * Processes the blocks in order, and reads each block completely before its output is written. `c` has the functions of
 * BlockBy.
 */
template <typename Cipher>
void in_order(Mode mode, const Run& run, const Cipher& c) {
    switch (mode) {
        case Mode::ecb_encrypt:
            return codebook(run, [c](const std::uint8_t* in) { return c.encrypt(load_block(in)); });
        case Mode::ecb_decrypt:
            return codebook(run, [c](const std::uint8_t* in) { return c.decrypt(load_block(in)); });
        case Mode::cbc_encrypt:
            return with_register(
                run, [c](const std::uint8_t* in, Block& reg) { return reg = c.encrypt(load_block(in) ^ reg); });
        case Mode::cbc_decrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block ciphertext = load_block(in);
                return c.decrypt(ciphertext) ^ std::exchange(reg, ciphertext);
            });
        case Mode::counter:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                reg = step_counter(reg);
                const Block stream = c.encrypt(reg);
                return load_block(in) ^ stream;
            });
        case Mode::cfb_encrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block stream = c.encrypt(reg);
                return reg = load_block(in) ^ stream;
            });
        case Mode::cfb_decrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block stream = c.encrypt(reg);
                reg = load_block(in);
                return reg ^ stream;
            });
        case Mode::mac:
            return mac(run, c);
        case Mode::cfb_decrypt_rereading:
            return cfb_decrypt_rereading(run, c);
    }
}

}  // namespace vrx::gost28147

#endif

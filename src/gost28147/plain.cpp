#include "gost28147/plain.hpp"

namespace vrx::gost28147::plain {
namespace {

// Text is loaded after the call that generates the key stream. If it were loaded before, the compiler would spill it to
// the stack and leave it there.

/** out = f(in) for each block. */
template <typename Function>
void codebook(const Run& run, Function f) {
    const std::uint8_t* in = run.in;
    std::uint8_t* out = run.out;
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) store_block(out, f(in));
}

/** out = f(in, register) for each block, where f updates the register. It is written back after the last block. */
template <typename Function>
void with_register(const Run& run, Function f) {
    Block reg = load_block(run.reg);
    codebook(run, [&](const std::uint8_t* in) { return f(in, reg); });
    store_block(run.reg, reg);
}

void cfb_decrypt_rereading(const Run& run) {
    const auto [table, key] = run.cipher;
    const std::uint8_t* in = run.in;
    std::uint8_t* out = run.out;
    Block reg = load_block(run.reg);
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) {
        const Block stream = encrypt(reg, key, table);
        store_block(out, load_block(in) ^ stream);
        reg = load_block(in);
    }
    store_block(run.reg, reg);
}

void mac(const Run& run) {
    const auto [table, key] = run.cipher;
    const std::uint8_t* in = run.in;
    Block state = load_block(run.reg);
    for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE)
        state = mac_rounds(state ^ load_block(in), key, table);
    store_block(run.reg, state);
}

}  // namespace

void run(Mode mode, const Run& run) {
    const Cipher c = run.cipher;
    switch (mode) {
        case Mode::ecb_encrypt:
            return codebook(run, [c](const std::uint8_t* in) { return encrypt(load_block(in), c.key, c.table); });
        case Mode::ecb_decrypt:
            return codebook(run, [c](const std::uint8_t* in) { return decrypt(load_block(in), c.key, c.table); });
        case Mode::cbc_encrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                return reg = encrypt(load_block(in) ^ reg, c.key, c.table);
            });
        case Mode::cbc_decrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block ciphertext = load_block(in);
                return decrypt(ciphertext, c.key, c.table) ^ std::exchange(reg, ciphertext);
            });
        case Mode::counter:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                reg = step_counter(reg);
                const Block stream = encrypt(reg, c.key, c.table);
                return load_block(in) ^ stream;
            });
        case Mode::cfb_encrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block stream = encrypt(reg, c.key, c.table);
                return reg = load_block(in) ^ stream;
            });
        case Mode::cfb_decrypt:
            return with_register(run, [c](const std::uint8_t* in, Block& reg) {
                const Block stream = encrypt(reg, c.key, c.table);
                reg = load_block(in);
                return reg ^ stream;
            });
        case Mode::mac:
            return mac(run);
        case Mode::cfb_decrypt_rereading:
            return cfb_decrypt_rereading(run);
    }
}

}  // namespace vrx::gost28147::plain

#include "gost28147/plain.hpp"

#include "frame/wipe.hpp"
#include "gost28147/mesh.hpp"

namespace vrx::gost28147::plain {
namespace {

/** Calls step(in, out) for each block. */
template <typename Step>
void for_each_block(const std::uint8_t* in, std::uint8_t* out, std::size_t blocks, Step step) {
    for (; blocks != 0; --blocks, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) step(in, out);
}

/** The same with a register: step(in, out, register) changes it, and it is written back behind the last block. */
template <typename Step>
void for_each_block(std::uint8_t* reg, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks, Step step) {
    Block r = load_block(reg);
    for_each_block(in, out, blocks, [&](const std::uint8_t* i, std::uint8_t* o) { step(i, o, r); });
    store_block(reg, r);
}

}  // namespace

void ecb_encrypt(Cipher c, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o) {
        store_block(o, encrypt(load_block(i), c.key, c.table));
    });
}

void ecb_decrypt(Cipher c, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o) {
        store_block(o, decrypt(load_block(i), c.key, c.table));
    });
}

void cbc_encrypt(Cipher c, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(chain, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        r = encrypt(load_block(i) ^ r, c.key, c.table);
        store_block(o, r);
    });
}

void cbc_decrypt(Cipher c, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(chain, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        const Block ciphertext = load_block(i);
        store_block(o, decrypt(ciphertext, c.key, c.table) ^ r);
        r = ciphertext;
    });
}

void counter(Cipher c, std::uint8_t* counter, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(counter, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        r = step_counter(r);
        store_block(o, load_block(i) ^ encrypt(r, c.key, c.table));
    });
}

void cfb_encrypt(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(feedback, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        r = load_block(i) ^ encrypt(r, c.key, c.table);
        store_block(o, r);
    });
}

void cfb_decrypt(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    for_each_block(feedback, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        const Block ciphertext = load_block(i);
        store_block(o, ciphertext ^ encrypt(r, c.key, c.table));
        r = ciphertext;
    });
}

void cfb_decrypt_rereading(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out,
                           std::size_t blocks) {
    for_each_block(feedback, in, out, blocks, [c](const std::uint8_t* i, std::uint8_t* o, Block& r) {
        store_block(o, load_block(i) ^ encrypt(r, c.key, c.table));
        r = load_block(i);
    });
}

void mac(Cipher c, std::uint8_t* state, const std::uint8_t* in, std::size_t blocks) {
    Block s = load_block(state);
    for (; blocks != 0; --blocks, in += VRX_BLOCK_SIZE) s = mac_rounds(s ^ load_block(in), c.key, c.table);
    store_block(state, s);
}

void run(Mode mode, Cipher c, std::uint8_t* reg, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    switch (mode) {
        case Mode::ecb_encrypt:
            return plain::ecb_encrypt(c, in, out, blocks);
        case Mode::ecb_decrypt:
            return plain::ecb_decrypt(c, in, out, blocks);
        case Mode::cbc_decrypt:
            return plain::cbc_decrypt(c, reg, in, out, blocks);
        case Mode::counter:
            return plain::counter(c, reg, in, out, blocks);
        case Mode::cfb_decrypt:
            return plain::cfb_decrypt(c, reg, in, out, blocks);
    }
}

void mesh(const vrx_tz& table, std::uint32_t* key, std::uint8_t* reg) {
    Secret<std::uint8_t[VRX_KEY_SIZE]> next;
    plain::ecb_decrypt({table, Key(key)}, meshing_constant, next.value, VRX_KEY_SIZE / VRX_BLOCK_SIZE);
    std::memcpy(key, next.value, VRX_KEY_SIZE);
    plain::ecb_encrypt({table, Key(key)}, reg, reg, 1);
}

}  // namespace vrx::gost28147::plain

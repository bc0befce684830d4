// Which way a run of blocks goes: through the engine, or block by block.
#include "gost28147/bulk.hpp"

#include "gost28147/engine/list.hpp"
#include "gost28147/plain.hpp"

namespace vrx::gost28147 {
namespace {

/**
 * Whether blocks may be read before earlier ones are written. A step of an engine reads all its input first, so that is
 * the same as block by block unless a block's output falls on input of the same step that stands behind it: out is past
 * in, by less than the widest step and less than the run.
 */
bool may_run_side_by_side(const std::uint8_t* in, const std::uint8_t* out, std::size_t blocks) {
    const auto ahead = reinterpret_cast<std::uintptr_t>(out) - reinterpret_cast<std::uintptr_t>(in);
    return ahead == 0 || ahead >= VRX_BLOCK_SIZE * std::min(blocks, widest_step);
}

[[gnu::noinline]] void parallel(Mode mode, Cipher c, std::uint8_t* reg, const std::uint8_t* in, std::uint8_t* out,
                                std::size_t blocks) {
    if (blocks > 1 && may_run_side_by_side(in, out, blocks))
        static_cast<void>(engine().parallel(mode, {c.table, c.key, reg, in, out, blocks}));
    else
        plain::run(mode, c, reg, in, out, blocks);
}

/** Fewer blocks do not pay for what an engine prepares. */
constexpr std::size_t shortest_chain = 4;

}  // namespace

void ecb_encrypt(Cipher c, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    parallel(Mode::ecb_encrypt, c, nullptr, in, out, blocks);
}

void ecb_decrypt(Cipher c, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    parallel(Mode::ecb_decrypt, c, nullptr, in, out, blocks);
}

void cbc_encrypt(Cipher c, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    if (blocks < shortest_chain) return plain::cbc_encrypt(c, chain, in, out, blocks);
    engine().chain(Chain::cbc_encrypt, {c.table, c.key, chain, in, out, blocks});
}

void cbc_decrypt(Cipher c, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    parallel(Mode::cbc_decrypt, c, chain, in, out, blocks);
}

void counter(Cipher c, std::uint8_t* counter, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    parallel(Mode::counter, c, counter, in, out, blocks);
}

void cfb_encrypt(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    if (blocks < shortest_chain) return plain::cfb_encrypt(c, feedback, in, out, blocks);
    engine().chain(Chain::cfb_encrypt, {c.table, c.key, feedback, in, out, blocks});
}

void cfb_decrypt(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) {
    parallel(Mode::cfb_decrypt, c, feedback, in, out, blocks);
}

void cfb_decrypt_rereading(Cipher c, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out,
                           std::size_t blocks) {
    // In place the feedback is the output, as in encryption. Where a block's output does not touch its input, what is
    // read again is the ciphertext.
    if (in == out) return cfb_encrypt(c, feedback, in, out, blocks);
    const auto distance = out - in;
    if (distance >= VRX_BLOCK_SIZE || distance <= -VRX_BLOCK_SIZE) return cfb_decrypt(c, feedback, in, out, blocks);
    plain::cfb_decrypt_rereading(c, feedback, in, out, blocks);
}

void mac(Cipher c, std::uint8_t* state, const std::uint8_t* in, std::size_t blocks) {
    if (blocks < shortest_chain) return plain::mac(c, state, in, blocks);
    engine().chain(Chain::mac, {c.table, c.key, state, in, nullptr, blocks});
}

void meshed_sections(Mode mode, const vrx_tz& table, std::uint32_t* key, std::uint8_t* reg, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t sections) {
    if (may_run_side_by_side(in, out, sections * section_blocks)) {
        static_cast<void>(engine().sections(mode, {table, Key(key), reg, in, out, sections * section_blocks}, key));
        return;
    }
    for (; sections != 0; --sections, in += VRX_MESHING_SECTION, out += VRX_MESHING_SECTION) {
        plain::mesh(table, key, reg);
        plain::run(mode, {table, Key(key)}, reg, in, out, section_blocks);
    }
}

}  // namespace vrx::gost28147

// The chained modes, with table look-ups optimised for the shortest dependency chain or with other rounds.
//
// Everything is a template over a type of the including file: `Bytes` extracts byte 2 of a word, and `Rounds` is
// EarlyRounds or has the same run().
#ifndef VRX_GOST28147_ENGINE_CHAIN_HPP
#define VRX_GOST28147_ENGINE_CHAIN_HPP

#include "frame/wipe.hpp"
#include "gost28147/mode.hpp"

namespace vrx::gost28147 {

/**
 * A chain of rounds with one of the four look-ups a step ahead. The low byte of x + K needs no addition where table 0
 * stands twice in a row: it is entry (byte of x) of the 256 that begin at entry (byte of K). So it has arrived when the
 * other three come, and only two exclusive-ors follow them:
 *
 *     x + K (1 cycle), byte (1), load (5), exclusive-or (2)
 *
 * nine cycles a round instead of ten. Cost: a copy of 2 KiB, which pays from four blocks.
 */
template <typename Bytes>
class EarlyRounds {
public:
    EarlyRounds(Key key, const vrx_tz& table) : key_(key), table_(table) {
        std::memcpy(twice_, table.t[0], sizeof table.t[0]);
        std::memcpy(twice_ + 256, table.t[0], sizeof table.t[0]);
    }

    /** The rounds, joined with what comes next: half of it before the last round, where the chain does not see it. */
    template <const auto& order>
    [[gnu::always_inline]] Block run(Block b, Block next = {0, 0}) const {
        constexpr std::size_t last = order.size() - 1;
        [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
            ((i % 2 == 0 ? b.n2 = mixed(b.n2, b.n1, key_[order[i]]) : b.n1 = mixed(b.n1, b.n2, key_[order[i]])), ...);
        }
        (std::make_index_sequence<last>{});
        return {mixed(b.n1 ^ next.n1, b.n2, key_[order[last]]), b.n2 ^ next.n2};
    }

private:
    [[gnu::always_inline]] std::uint32_t mixed(std::uint32_t half, std::uint32_t x, std::uint32_t k) const {
        // The empty statements keep the compilers from ordering the terms anew.
        const std::uint32_t* row = twice_ + (k & 255);
        asm("" : "+r"(row));
        std::uint32_t early = half ^ row[x & 255];
        asm("" : "+r"(early));
        const std::uint32_t t = x + k;
        early ^= table_.t[3][t >> 24];
        std::uint32_t late = table_.t[1][t >> 8 & 255] ^ table_.t[2][Bytes::byte2(t)];
        asm("" : "+r"(early), "+r"(late));
        return early ^ late;
    }

    Key key_;
    const vrx_tz& table_;
    alignas(64) std::uint32_t twice_[512];
};

/** A chained mode, at least one block. Words of the key are left on the stack, as many as the compiler kept there. */
template <typename Rounds>
[[gnu::noinline]] void chain_blocks(const Rounds& rounds, Mode mode, const Run& run) {
    Block r = load_block(run.reg);
    const std::uint8_t* in = run.in;
    std::uint8_t* out = run.out;
    const auto encrypt = [&](Block b) __attribute__((always_inline)) {
        const Block x = rounds.template run<encryption_order>(b);
        return Block{x.n2, x.n1};
    };
    switch (mode) {
        case Mode::cbc_encrypt:
            for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) {
                r = encrypt(load_block(in) ^ r);
                store_block(out, r);
            }
            break;
        case Mode::cfb_encrypt:
            for (std::size_t n = run.blocks; n != 0; --n, in += VRX_BLOCK_SIZE, out += VRX_BLOCK_SIZE) {
                r = load_block(in) ^ encrypt(r);
                store_block(out, r);
            }
            break;
        case Mode::mac:
            r = r ^ load_block(in);
            for (std::size_t n = run.blocks; n != 1; --n, in += VRX_BLOCK_SIZE)
                r = rounds.template run<mac_order>(r, load_block(in + VRX_BLOCK_SIZE));
            r = rounds.template run<mac_order>(r);
            break;
        default:
            break;
    }
    store_register(run.reg, r);
}

/** At least one block. The table of the early rounds is public, and lies above what is wiped. */
template <typename Bytes>
void run_chain(Mode mode, const Run& run) {
    constexpr std::size_t deepest = 512;
    const EarlyRounds<Bytes> rounds(run.cipher.key, run.cipher.table);
    chain_blocks(rounds, mode, run);
    wipe_stack<deepest>();
}

}  // namespace vrx::gost28147

#endif

// The chained modes, and rounds with table look-ups whose dependency chain is as short as possible.
//
// Everything is a template over a type of the including file. `Bytes` extracts byte 2 of a word. `Rounds` is
// EarlyRounds or another type with the same run().
#ifndef VRX_GOST28147_ENGINE_CHAIN_HPP
#define VRX_GOST28147_ENGINE_CHAIN_HPP

#include "frame/secret_work.hpp"
#include "gost28147/mode.hpp"

namespace vrx::gost28147 {

/**
 * A chain of rounds in which one of the four look-ups does not wait for the addition x + K. `twice_` holds two copies
 * of table 0, one after the other. Let k0 and x0 be the low bytes of K and x. Then entry k0 + x0 of `twice_` is the
 * entry of table 0 for the low byte of x + K. This look-up finishes before the other three look-ups, so only two XORs
 * follow after them. The latency of a round is
 *
 *     x + K (1 cycle), byte (1), load (5), XOR (2)
 *
 * which is nine cycles instead of ten. Cost: a copy of 2 KiB, which is worthwhile for four or more blocks.
 */
template <typename Bytes>
class EarlyRounds {
public:
    EarlyRounds(Key key, const vrx_tz& table) : key_(key), table_(table) {
        std::memcpy(twice_, table.t[0], sizeof table.t[0]);
        std::memcpy(twice_ + 256, table.t[0], sizeof table.t[0]);
    }

    /**
     * Performs the rounds, and the XOR with `next`. One half is XORed before the last round, so that this XOR adds no
     * latency.
     */
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
        // The empty asm statements keep compilers from reordering the terms.
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

/** Runs a chained mode on at least one block. The compiler may leave words of the key on the stack. */
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

/** Runs a chained mode on at least one block, and erases the stack below the caller. Does not erase the table in
 * `rounds`, because the table is public.
 */
template <typename Bytes>
void run_chain(Mode mode, const Run& run) {
    const EarlyRounds<Bytes> rounds(run.cipher.key, run.cipher.table);
    secret_work<depth::chain, Registers::low>([&] { chain_blocks(rounds, mode, run); });
}

}  // namespace vrx::gost28147

#endif

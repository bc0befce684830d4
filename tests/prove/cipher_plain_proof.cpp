// Proves that the rounds with look-ups agree with those of the standard, for all keys, blocks and tables.
#include "prove/assembly.hpp"
#include "prove/blocks.hpp"

#include "gost28147/engine/baseline.cpp"

namespace vrx::gost28147 {
namespace {

using prove::Bit;
using prove::conjunction;
using prove::same;
using prove::Word32;

/** run(block, key, table) performs `count` rounds. After 32 rounds, the halves are exchanged. */
template <typename Run>
void prove_rounds(const std::string& what, unsigned count, bool decrypting, const Run& run) {
    prove::circuit_theorem("look-ups, any table: " + what, 10, [&] {
        prove::circuit::keep_tables_closed();
        const prove::UnknownTable<vrx_tz> unknown;
        const prove::UnknownKey key;
        const Block in{Word32::unknown(), Word32::unknown()};
        const Block out = run(in, Key(key.word), unknown.table);
        const auto expected = prove::rounds_of_standard({in.n1, in.n2}, key.word, unknown, decrypting, count);
        return count == 32 ? conjunction(same(out.n2, expected.n1), same(out.n1, expected.n2))
                           : conjunction(same(out.n1, expected.n1), same(out.n2, expected.n2));
    });
}

TEST(cipher_plain, rounds_of_one_block_are_those_of_the_standard_for_all_tables) {
    VRX_NEEDS_SOLVER();
    prove_rounds("E of one block", 32, false,
                 [](Block b, Key k, const vrx_tz& t) { return rounds<encryption_order>(b, k, t); });
    prove_rounds("D of one block", 32, true,
                 [](Block b, Key k, const vrx_tz& t) { return rounds<decryption_order>(b, k, t); });
    prove_rounds("the MAC's 16 rounds", 16, false,
                 [](Block b, Key k, const vrx_tz& t) { return rounds<mac_order>(b, k, t); });
    prove_rounds("E of chained blocks", 32, false, [](Block b, Key k, const vrx_tz& t) {
        return EarlyRounds<Bytes>(k, t).template run<encryption_order>(b);
    });
    prove_rounds("the MAC's 16 rounds of chained blocks", 16, false,
                 [](Block b, Key k, const vrx_tz& t) { return EarlyRounds<Bytes>(k, t).template run<mac_order>(b); });
}

TEST(cipher_plain, interleaved_rounds_are_those_of_the_standard_for_all_tables) {
    VRX_NEEDS_SOLVER();
    for (const bool decrypting : {false, true})
        prove::circuit_theorem(
            std::string("baseline, two interleaved blocks, any table: ") + (decrypting ? "D" : "E"), 10, [&] {
                prove::circuit::keep_tables_closed();
                const prove::UnknownTable<vrx_tz> unknown;
                const prove::UnknownKey key;
                const Schedule schedule(Key(key.word));
                Vector v[2];
                for (Vector& each : v) each = {{Word32::unknown(), Word32::unknown()}};
                const Vector in[2] = {v[0], v[1]};
                Interleaved{unknown.table, schedule, decrypting}.run(v);
                Bit all = prove::one;
                for (unsigned i = 0; i < 2; ++i) {
                    const auto expected =
                        prove::rounds_of_standard({in[i].b.n1, in[i].b.n2}, key.word, unknown, decrypting);
                    all = conjunction(all, same(v[i].b.n1, expected.n1));
                    all = conjunction(all, same(v[i].b.n2, expected.n2));
                }
                return all;
            });
}

}  // namespace
}  // namespace vrx::gost28147

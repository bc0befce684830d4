// Proves that the engine with VBMI permutes agrees with the standard, for all keys, blocks and S-boxes.
#include "prove/planes.hpp"

#include "gost28147/engine/vbmi.cpp"

namespace vrx::gost28147 {
namespace {

using prove::Bit;
using prove::conjunction;
using prove::same;
using prove::Word32;

TEST(cipher_vbmi, rounds_are_those_of_the_standard_for_all_s_boxes) {
    VRX_NEEDS_SOLVER();
    for (const bool decrypting : {false, true})
        prove::circuit_theorem(std::string("vbmi, 16 blocks: ") + (decrypting ? "D" : "E"), 100, [&] {
            prove::circuit::keep_tables_closed();
            const prove::UnknownBoxes boxes;
            const prove::UnknownKey key;
            const Tables tables(tz::sboxes(tz::Numeric(boxes.num)));
            const Schedule schedule(Key(key.word));
            Vector in[2], out[2];
            prove::fill<8>(in);
            std::copy_n(in, 2, out);
            rounds(tables, schedule, decrypting, out, nullptr, nullptr);
            return prove::are_processed<8>(in, out, key, boxes, decrypting);
        });
}

TEST(cipher_vbmi, rounds_with_a_meshing_are_those_of_the_standard_for_all_s_boxes) {
    VRX_NEEDS_SOLVER();
    prove::circuit_theorem("vbmi: a meshing beside 16 blocks, K' = D(K, C) and E(K, register)", 100, [&] {
        prove::circuit::keep_tables_closed();
        const prove::UnknownBoxes boxes;
        const prove::UnknownKey key, of_meshing;
        const Tables tables(tz::sboxes(tz::Numeric(boxes.num)));
        const Schedule schedule(Key(key.word)), meshing_schedule(Key(of_meshing.word));
        Vector in[2], out[2];
        prove::fill<8>(in);
        std::copy_n(in, 2, out);
        const Block reg{Word32::unknown(), Word32::unknown()};
        Meshing meshing(meshing_schedule, reg);
        rounds(tables, schedule, false, out, nullptr, &meshing);
        Bit all = prove::are_processed<8>(in, out, key, boxes, false);
        Schedule next(Key(key.word));
        Block made;
        meshing.finish(next, made);
        for (unsigned i = 0; i < 4; ++i) {
            const Block c = load_block(meshing_constant + 8 * i);
            const auto expected = prove::rounds_of_standard({c.n1, c.n2}, of_meshing.word, boxes, true);
            all = conjunction(all, same(next.pass(0, false)[2 * i], expected.n1));
            all = conjunction(all, same(next.pass(0, false)[2 * i + 1], expected.n2));
        }
        const auto expected = prove::rounds_of_standard({reg.n1, reg.n2}, of_meshing.word, boxes, false);
        return conjunction(all, conjunction(same(made.n1, expected.n1), same(made.n2, expected.n2)));
    });
}

TEST(cipher_vbmi, rounds_of_one_chained_block_are_those_of_the_standard_for_all_s_boxes) {
    VRX_NEEDS_SOLVER();
    for (const unsigned count : {32U, 16U})
        prove::circuit_theorem(
            std::string("vbmi_chain: ") + (count == 32 ? "E" : "the MAC's 16 rounds") + ", and the sum with a block",
            10, [&] {
                prove::circuit::keep_tables_closed();
                const prove::UnknownBoxes boxes;
                const prove::UnknownKey key;
                const Tables tables(tz::sboxes(tz::Numeric(boxes.num)));
                const Schedule schedule(Key(key.word));
                const Block in{Word32::unknown(), Word32::unknown()}, next{Word32::unknown(), Word32::unknown()};
                const OneBlock rounds{tables, schedule};
                const auto expected = prove::rounds_of_standard({in.n1, in.n2}, key.word, boxes, false, count);
                if (count == 32) {
                    const Block out = rounds.run<encryption_order>(in, next);
                    return conjunction(same(out.n2, expected.n1 ^ next.n2), same(out.n1, expected.n2 ^ next.n1));
                }
                const Block out = rounds.run<mac_order>(in, next);
                return conjunction(same(out.n1, expected.n1 ^ next.n1), same(out.n2, expected.n2 ^ next.n2));
            });
}

TEST(cipher_vbmi, counters_are_sums_with_steps_from_zero) {
    VRX_NEEDS_SOLVER();
    prove::prove_counters<Vector>("vbmi");
}

}  // namespace
}  // namespace vrx::gost28147

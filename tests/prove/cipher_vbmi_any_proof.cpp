// Proves that the engine with VBMI permutes for any table equals the standard, for all keys, blocks and tables.
#include "prove/planes.hpp"

#include "gost28147/engine/vbmi_any.cpp"

namespace vrx::gost28147 {
namespace {

using prove::Bit;
using prove::Bits;
using prove::Word32;

Bits bits_of_byte(const Word32& w, unsigned m) {
    const Bits all = w.bits();
    return {all.begin() + 8 * m, all.begin() + 8 * m + 8};
}

/** A byte of a table of 256 bytes, made of look-ups in its lower and in its upper half. */
Bits looked_up_in_halves(const std::vector<Bits>& table, const Bits& index) {
    const Bits low_index(index.begin(), index.end() - 1);
    Bits r;
    for (const bool upper : {false, true}) {
        const auto begin = table.begin() + (upper ? 128 : 0);
        Bits half = prove::circuit::entry({begin, begin + 128}, low_index);
        for (Bit& bit : half) bit = prove::conjunction(bit, upper ? index[7] : index[7] ^ 1);
        r = upper ? prove::circuit::differing(std::move(r), half) : half;
    }
    return r;
}

/** A table with unknown content that is read in halves. */
struct TableInHalves : prove::UnknownTable<vrx_tz> {
    [[nodiscard]] Word32 f(const Word32& x) const {
        Word32 sum = 0;
        for (unsigned k = 0; k < 4; ++k) {
            Bits word;
            for (unsigned m = 0; m < 4; ++m) {
                std::vector<Bits> bytes;
                for (const Word32& entry : table.t[k].entry) bytes.push_back(bits_of_byte(entry, m));
                const Bits byte = looked_up_in_halves(bytes, bits_of_byte(x, k));
                word.insert(word.end(), byte.begin(), byte.end());
            }
            sum ^= Word32::of(word);
        }
        return sum;
    }
};

TEST(cipher_vbmi_any, sums_of_planes_are_those_of_words) {
    VRX_NEEDS_SOLVER();
    prove::prove_sum_of_planes<Plane>("vbmi, any table");
}

TEST(cipher_vbmi_any, look_ups_in_halves_are_those_in_the_whole_table) {
    VRX_NEEDS_SOLVER();
    prove::circuit_theorem("vbmi, any table: look-ups in halves, for a table of 256 bytes", 1, [] {
        std::vector<Bits> table;
        for (unsigned i = 0; i < 256; ++i) table.push_back(prove::U<8>::unknown().bits());
        Bits index = prove::U<8>::unknown().bits();
        const Bits whole = prove::circuit::entry(table, index);
        if (prove::circuit::is_faulty()) index[7] ^= 1;
        return prove::circuit::equal(looked_up_in_halves(table, index), whole);
    });
}

// With the theorem above, the rounds are those of the standard for all tables.
TEST(cipher_vbmi_any, rounds_are_those_of_the_standard_for_all_tables) {
    VRX_NEEDS_SOLVER();
    if (!prove::all_proofs()) GTEST_SKIP() << "this proof takes a minute; ./dev prove --all runs it";
    for (const bool decrypting : {false, true})
        prove::prove_planes<8, Plane, Vector, TableInHalves>(
            "vbmi, any table", decrypting,
            [&](Vector(&v)[8], const KeyPlanes<Plane>& key, const TableInHalves& unknown) {
                const TableBytes tables(unknown.table);
                Permuted{tables, key, decrypting}.run(v);
            });
}

}  // namespace
}  // namespace vrx::gost28147

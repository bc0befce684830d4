// Proves that masks, comparisons, selections and look-ups without branches equal their definitions by branches.
#include "prove/blocks.hpp"

using prove_uint128 = vrx::prove::U<128>;
__extension__ using prove_int128 = __int128;
/** A vector that takes this many bytes of memory. A symbolic byte takes four. */
template <std::size_t bytes>
using prove_vector = vrx::prove::U<bytes / 4 * 8>;

#include "ecc/field/lookup.hpp"
#include "ecc/field/recode.hpp"

namespace vrx::field {
namespace {

using prove::Bit;
using prove::Bits;
using prove::circuit_theorem;
using prove::conjunction;
using prove::same;
using Word = prove::U<64>;

Words any() { return {Word::unknown(), Word::unknown(), Word::unknown(), Word::unknown()}; }
Bits bits(const Words& a) {
    Bits r;
    for (const Word& w : a)
        for (const Bit b : w.bits()) r.push_back(b);
    return r;
}
/** condition ? a : b */
Word chosen(Bit condition, const Word& a, const Word& b) {
    return Word::of(prove::circuit::choice(condition, a.bits(), b.bits()));
}
const Word all_ones = ~std::uint64_t{0};

TEST(helpers, with_masks_equal_their_definitions_with_branches) {
    VRX_NEEDS_SOLVER();
    circuit_theorem("mask(bit) = bit ? all ones : 0", 1, [] {
        const Bit bit = prove::unknown_bit();
        Bits only(64, prove::zero);
        only[0] = bit;
        return same(mask(Word::of(only)), chosen(bit, all_ones, 0));
    });
    circuit_theorem("conditional_move(m, a, b) = m ? a : b, for m all ones or 0", 2, [] {
        const Words a = any(), b = any();
        const Bit bit = prove::unknown_bit();
        const Words r = conditional_move(chosen(bit, all_ones, 0), a, b);
        Bit all = prove::one;
        for (unsigned i = 0; i < 4; ++i) all = conjunction(all, same(r[i], chosen(bit, a[i], b[i])));
        return all;
    });
    circuit_theorem("is_zero(a) = a == 0 ? 1 : 0", 4, [] {
        const Words a = any();
        const Bit is = prove::circuit::equal(bits(a), Bits(256, prove::zero));
        return same(is_zero(a), chosen(is, 1, 0));
    });
    circuit_theorem("equal_mask(a, b) = a == b ? all ones : 0, for a, b below 2^63", 3, [] {
        Word a = Word::unknown(), b = Word::unknown();
        a = a & (~std::uint64_t{0} >> 1);
        b = b & (~std::uint64_t{0} >> 1);
        return same(equal_mask(a, b), chosen(prove::circuit::equal(a.bits(), b.bits()), all_ones, 0));
    });
}

TEST(helpers, that_look_up_entries_equal_an_index) {
    VRX_NEEDS_SOLVER();
    struct Entry {
        Words x;
    };
    circuit_theorem("constant_time_lookup: entry i of 8, or zero from 8 on", 2, [] {
        Entry table[8];
        for (Entry& e : table) e.x = any();
        Word index = Word::unknown();
        index = index & (~std::uint64_t{0} >> 1);
        const Entry r = constant_time_lookup<16, Entry, 8>(table, index);
        const Bits at = index.bits();
        const Bit is_in = prove::circuit::equal({at.begin() + 3, at.end()}, Bits(61, prove::zero));
        Bit all = prove::one;
        for (unsigned i = 0; i < 4; ++i) {
            std::vector<Bits> entries;
            for (const Entry& e : table) entries.push_back(e.x[i].bits());
            const Word expected = Word::of(prove::circuit::entry(entries, {at.begin(), at.begin() + 3}));
            all = conjunction(all, same(r.x[i], chosen(is_in, expected, 0)));
        }
        return all;
    });
}

TEST(helpers, that_halve_equal_a_shift) {
    VRX_NEEDS_SOLVER();
    circuit_theorem("halved(k, high) = floor(k / 2) + high 2^255", 1, [] {
        const Words k = any();
        const Bit high = prove::unknown_bit();
        Bits only(64, prove::zero);
        only[0] = high;
        Bits expected = bits(k);
        expected.erase(expected.begin());
        expected.push_back(high);
        return prove::circuit::equal(bits(halved(k, Word::of(only))), expected);
    });
}

}  // namespace
}  // namespace vrx::field

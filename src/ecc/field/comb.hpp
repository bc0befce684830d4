// Comb multiplication k G in eight lanes, from a table of multiples of G. Each round adds one table point in each lane.
// After the last round, the points of all lanes are added up.
#ifndef VRX_ECC_FIELD_COMB_HPP
#define VRX_ECC_FIELD_COMB_HPP

#include "ecc/field/comb_tables.hpp"
#include "ecc/field/lane_points.hpp"
#include "ecc/field/points.hpp"
#include "ecc/field/recode.hpp"

namespace vrx::field {

/**
 * Looks up the table points for the digits of a round. Returns a mask of the lanes with negative digits. Constant-time:
 * reads all entries of the round.
 */
template <typename V>
V lookup(const std::uint64_t (&round)[comb_entries][2][limb_count][lane_count], const V& nibble, Element<V>& x,
         Element<V>& y) {
    // The nibbles 8 to 15 mean the digits 1, 3, ..., 15. The nibbles 0 to 7 mean -15, ..., -1, so they are
    // complemented.
    const V negative = V::opaque(V::shift_right_signed(nibble - V::all(8), 63));
    const V index = V::opaque(V::exclusive_or(nibble, negative) & V::all(7));
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) {
        x.limb[i] = V::load(round[0][0][i]);
        y.limb[i] = V::load(round[0][1][i]);
    }
#pragma GCC unroll 10
    for (std::size_t e = 1; e < comb_entries; ++e)
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) {
            x.limb[i] = V::conditional_move(x.limb[i], index, e, round[e][0][i]);
            y.limb[i] = V::conditional_move(y.limb[i], index, e, round[e][1][i]);
        }
    return negative;
}

/**
 * Computes k G for 1 <= k < q. Sets zz to 0 if the formulas cannot handle k. Cost: 7 mixed additions in eight lanes,
 * and 3 to add up the lanes.
 */
template <typename V, typename Curve>
XyzzPoint comb_multiply(const Words& k) {
    using S = typename Curve::Field;
    using F = LaneField<V, S>;
    std::uint64_t even = 0;
    const Words digits = halved(odd_one(k, Curve::q, even), 1);
    std::uint64_t chunks[lane_count];
    // The barrier prevents a gather, as in packed().
    for (std::size_t i = 0; i < lane_count; ++i) chunks[i] = value_barrier(digits[i / 2]) >> 32 * (i % 2) & 0xFFFFFFFF;
    V left = V::load(chunks);

    const LaneTable& table = comb_tables(Curve{}).lanes;
    LanePoints<V> p;
    Element<V> x;
    Element<V> y;
    V negative = lookup(table.word[0], left & V::all(15), x, y);
    p.x = x;
    p.y = F::carry(negated_where(negative, y));
    p.zz = p.zzz = broadcast<V>(LaneForm<S>::to_lane(S::one));
    for (std::size_t round = 1; round < comb_rounds; ++round) {
        left = V::shift_right_signed(left, 4);
        negative = lookup(table.word[round], left & V::all(15), x, y);
        p = plus_affine<F>(p, x, y, negative);
    }
    constexpr std::uint64_t lane_numbers[lane_count] = {0, 1, 2, 3, 4, 5, 6, 7};
    for (std::uint64_t distance = lane_count / 2; distance != 0; distance /= 2)
        p = plus_partner<F>(p, V::exclusive_or(V::load(lane_numbers), V::all(distance)));

    XyzzPoint r = {scalar_lane<S>(p.x, 0), scalar_lane<S>(p.y, 0), scalar_lane<S>(p.zz, 0), scalar_lane<S>(p.zzz, 0)};
    r.y = conditional_move(even, S::sub(Words{}, r.y), r.y);
    return r;
}

}  // namespace vrx::field

#endif

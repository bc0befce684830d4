// k G from a table of multiples of the base point G.
//
// An odd k below 2^256 is a sum of 64 odd digits d_i 16^i with d_i from -15 to 15: with k' = (k - 1) / 2 + 2^255 and n_i the
// nibbles of k', d_i = 2 n_i - 15. For an even k the digits are those of q - k, and the result is negated. Lane l takes the digits
// 8l to 8l + 7, one a round, so that a round adds one table point in each of eight lanes; at the end the lanes are added up.
#ifndef VRX_ECC_FIELD_COMB_HPP
#define VRX_ECC_FIELD_COMB_HPP

#include "ecc/field/lane_points.hpp"

namespace vrx::field {

inline constexpr std::size_t comb_rounds = 8;
inline constexpr std::size_t comb_entries = 8;

/** [r][e][0 for x, 1 for y][limb][l] is of (2e + 1) 16^(8l + r) G, in the form of LaneField. */
struct CombTable {
    std::uint64_t word[comb_rounds][comb_entries][2][limb_count][lane_count];
};

/** A Jacobian point of scalar elements. */
struct ScalarPoint {
    Words x, y, z;
};

/** k' of k or of q - k; `even` is all ones for an even k. */
constexpr Words recoded(const Words& k, const Words& q, std::uint64_t& even) {
    even = mask(1 ^ (k[0] & 1));
    Words other{};
    sub(other, q, k);
    const Words odd = select(even, other, k);
    Words r{};
    for (std::size_t i = 0; i < 3; ++i) r[i] = odd[i] >> 1 | odd[i + 1] << 63;
    r[3] = odd[3] >> 1 | std::uint64_t{1} << 63;
    return r;
}

/** The table entry of every lane's digit, and where it is negative. Reads the whole round: no address depends on the digits. */
template <typename V>
V pick(const std::uint64_t (&round)[comb_entries][2][limb_count][lane_count], const V& nibble, Element<V>& x,
       Element<V>& y) {
    // Nibbles from 8 on are the digits 1, 3, ..., 15; those below are -15, ..., -1: their complement counts.
    const V negative = V::shift_right_signed(nibble - V::all(8), 63);
    const V index = V::exclusive_or(nibble, negative) & V::all(7);
    for (std::size_t i = 0; i < limb_count; ++i) {
        x.limb[i] = V::load(round[0][0][i]);
        y.limb[i] = V::load(round[0][1][i]);
    }
    for (std::size_t e = 1; e < comb_entries; ++e)
        for (std::size_t i = 0; i < limb_count; ++i) {
            x.limb[i] = V::picked(x.limb[i], index, e, round[e][0][i]);
            y.limb[i] = V::picked(y.limb[i], index, e, round[e][1][i]);
        }
    return negative;
}

/**
 * k G for 1 <= k < q. Z = 0 means that an addition met a case it does not cover; the product is then unknown.
 * Cost: 7 mixed additions in eight lanes, and 36 multiplications to add the lanes up.
 */
template <typename V, typename Curve>
[[gnu::flatten]] ScalarPoint comb_multiply(const Words& k, const CombTable& table) {
    using F = LaneField<V, typename Curve::Field>;
    std::uint64_t even = 0;
    const Words digits = recoded(k, Curve::q, even);
    std::uint64_t chunks[lane_count];
    for (std::size_t i = 0; i < lane_count; ++i) chunks[i] = digits[i / 2] >> 32 * (i % 2) & 0xFFFFFFFF;
    V left = V::load(chunks);

    LanePoints<V> p;
    Element<V> x;
    Element<V> y;
    V negative = pick(table.word[0], left & V::all(15), x, y);
    p.x = x;
    p.y = F::carry(negated_where(negative, y));
    p.z = broadcast<V>(F::enter(Curve::Field::one));
    for (std::size_t round = 1; round < comb_rounds; ++round) {
        left = V::shift_right_signed(left, 4);
        negative = pick(table.word[round], left & V::all(15), x, y);
        p = plus_affine<F>(p, x, y, negative);
    }
    p = plus_partner<F, 4>(p);
    p = plus_partner<F, 2>(p);
    p = plus_partner<F, 1>(p);

    ScalarPoint r = {scalar_lane<F, 0>(p.x), scalar_lane<F, 0>(p.y), scalar_lane<F, 0>(p.z)};
    r.y = select(even, Curve::Field::sub(Words{}, r.y), r.y);
    return r;
}

}  // namespace vrx::field

#endif

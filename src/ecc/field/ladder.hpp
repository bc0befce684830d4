// Montgomery ladder in eight lanes: k Q for any point Q. It uses x-coordinates alone, and each step processes one bit
// of k.
//
// A step maps (X0 : Z0) of n Q and (X1 : Z1) of (n + 1) Q to those of 2n Q and (2n + 1) Q, or of (2n + 1) Q and
// (2n + 2) Q. It uses these formulas for sum and double, where x is the x-coordinate of the difference Q (E. Brier,
// M. Joye, "Weierstrass elliptic curves and side-channel attacks", 2002):
//     D = X0 Z1 - X1 Z0
//     sum:     X = 2 (X0 Z1 + X1 Z0)(X0 X1 + a Z0 Z1) + 4b (Z0 Z1)^2 - x D^2         Z = D^2
//     double:  X = (X^2 - a Z^2)^2 - 8b X Z Z^2          Z = 4 X Z (X^2 + a Z^2) + 4b Z^4
// Both formulas also hold for the point at infinity (1 : 0) and for x = 0. The products of a step fit in three batches
// of eight lanes.
#ifndef VRX_ECC_FIELD_LADDER_HPP
#define VRX_ECC_FIELD_LADDER_HPP

#include "ecc/field/lane_points.hpp"
#include "ecc/field/points.hpp"

namespace vrx::field {

template <typename V, int l0, int l1, int l2, int l3, int l4, int l5, int l6, int l7>
Element<V> arranged(const Element<V>& a) {
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i)
        r.limb[i] = V::template permuted<l0, l1, l2, l3, l4, l5, l6, l7>(a.limb[i]);
    return r;
}

/** Takes the lanes whose bits are set from b, and the other lanes from a. */
template <unsigned bits, typename V>
Element<V> blended(const Element<V>& a, const Element<V>& b) {
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = V::template blended<bits>(a.limb[i], b.limb[i]);
    return r;
}

/** Computes n a, limb by limb, for a small n of any sign. */
template <int n, typename V>
Element<V> times(const Element<V>& a) {
    if constexpr (n < 0) {
        return Element<V>(times<0>(a)) - times<-n>(a);
    } else {
        Element<V> r;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) {
            r.limb[i] = V::all(0);
            if constexpr ((n & 1) != 0) r.limb[i] = r.limb[i] + a.limb[i];
            if constexpr ((n & 2) != 0) r.limb[i] = r.limb[i] + V::shift_left(a.limb[i], 1);
            if constexpr ((n & 4) != 0) r.limb[i] = r.limb[i] + V::shift_left(a.limb[i], 2);
        }
        return r;
    }
}

/** Eight scalar elements as lanes. */
template <typename S, typename V>
Element<V> packed(const Words (&values)[lane_count]) {
    Limbs52 limbs[lane_count];
    for (std::size_t l = 0; l < lane_count; ++l) limbs[l] = LaneForm<S>::to_lane(values[l]);
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) {
        // The barrier keeps clang -Os from vectorising the loop with a gather. A test could not tell such a gather from
        // a table look-up by a secret index.
        std::uint64_t words[lane_count];
        for (std::size_t l = 0; l < lane_count; ++l) words[l] = value_barrier(limbs[l].limb[i]);
        r.limb[i] = V::load(words);
    }
    return r;
}

/** Returns (X : Z) of k Q and of (k + 1) Q, for a point Q of the curve whose x-coordinate is the scalar element x. */
template <typename V, typename Curve, typename F = LaneField<V, typename Curve::Field>>
[[gnu::flatten]] LadderResult ladder(const Words& k, const Words& x) {
    using S = typename Curve::Field;
    constexpr int a = Curve::a;
    const Words b4 = times<S>(S::to_montgomery(Curve::b), 4);
    const Words zero{};
    const Element<V> constants = packed<S, V>({x, b4, S::add(b4, b4), b4, zero, zero, zero, zero});

    // Lanes 0 to 3 are X0, Z0, X1 and Z1. The other lanes are unused.
    Element<V> state = packed<S, V>({S::one, zero, x, S::one, zero, zero, zero, zero});
    std::uint64_t swapped = 0;
    for (int bit = 255; bit >= 0; --bit) {
        const std::uint64_t now = mask(k[static_cast<std::size_t>(bit) / 64] >> (bit % 64) & 1);
        const V swap = V::all(now ^ swapped);
        swapped = now;
        const Element<V> other = arranged<V, 2, 3, 0, 1, 4, 5, 6, 7>(state);
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i)
            state.limb[i] = V::exclusive_or(state.limb[i], V::exclusive_or(state.limb[i], other.limb[i]) & swap);

        // Lanes 0 to 6: X0 Z1, X1 Z0, X0 X1, Z0 Z1, X0^2, Z0^2, X0 Z0
        const Element<V> first =
            F::mul_loose(arranged<V, 0, 2, 0, 1, 0, 1, 0, 0>(state), arranged<V, 3, 1, 2, 3, 0, 1, 1, 0>(state));
        // Lane 0: X0 Z1 + X1 Z0; 1: D; 2: X0 X1 + a Z0 Z1; 3: Z0 Z1; 4: X^2 - a Z^2; 5: X^2 + a Z^2; 6: X Z; 7: Z^2
        const Element<V> left = arranged<V, 0, 0, 2, 3, 4, 4, 6, 5>(first);
        const Element<V> right = arranged<V, 1, 1, 3, 3, 5, 5, 6, 6>(first);
        const Element<V> scaled = blended<0b00110100>(right, times<a>(right));
        const Element<V> none = times<0>(right);
        const Element<V> second =
            F::carry(left + blended<0b00100101>(none, scaled) - blended<0b00010010>(none, scaled));
        // 0: (X0 Z1 + X1 Z0)(X0 X1 + a Z0 Z1); 1: D^2; 2: (Z0 Z1)^2; 3: X Z Z^2; 4: Z^4; 5: (X^2 - a Z^2)^2; 6: X Z
        // (X^2 + a Z^2)
        const Element<V> third =
            F::mul_loose(arranged<V, 0, 1, 3, 6, 7, 4, 6, 0>(second), arranged<V, 2, 1, 3, 7, 7, 4, 5, 2>(second));
        // Lane 0: x D^2; 1: 4b (Z0 Z1)^2; 2: 8b X Z Z^2; 3: 4b Z^4
        const Element<V> fourth = F::mul_loose(carried(arranged<V, 1, 2, 3, 4, 0, 0, 0, 0>(third)), constants);
        // Lane 0: X and 1: Z of the double; 2: X and 3: Z of the sum
        const Element<V> sums = arranged<V, 5, 6, 0, 1, 0, 0, 0, 0>(third);
        const Element<V> whole = blended<0b0110>(sums, blended<0b0010>(times<2>(sums), times<4>(sums)));
        const Element<V> plus = blended<0b0110>(none, arranged<V, 0, 3, 1, 0, 0, 0, 0, 0>(fourth));
        const Element<V> minus = blended<0b0101>(none, arranged<V, 2, 0, 0, 0, 0, 0, 0, 0>(fourth));
        state = F::carry(whole + plus - minus);
    }
    LadderResult r = {scalar_lane<S>(state, 0), scalar_lane<S>(state, 1), scalar_lane<S>(state, 2),
                      scalar_lane<S>(state, 3)};
    const LadderResult s = r;
    r.x0 = conditional_move(swapped, s.x1, s.x0);
    r.z0 = conditional_move(swapped, s.z1, s.z0);
    r.x1 = conditional_move(swapped, s.x0, s.x1);
    r.z1 = conditional_move(swapped, s.z0, s.z1);
    return r;
}

}  // namespace vrx::field

#endif

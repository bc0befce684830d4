// 256-bit numbers as five 52-bit limbs: the representation of a field element in a vector lane.
#ifndef VRX_ECC_FIELD_LIMBS52_HPP
#define VRX_ECC_FIELD_LIMBS52_HPP

#include "ecc/field/modulus.hpp"

namespace vrx::field {

inline constexpr std::size_t lane_count = 8;
inline constexpr std::size_t limb_count = 5;
inline constexpr std::uint64_t mask52 = (std::uint64_t{1} << 52) - 1;

struct Limbs52 {
    std::uint64_t limb[limb_count];
};

/** Returns the limbs of any number below 2^256. Each limb is below 2^52, and the last one below 2^48. */
constexpr Limbs52 to_limbs52(const Words& a) {
    return {{a[0] & mask52, (a[0] >> 52 | a[1] << 12) & mask52, (a[1] >> 40 | a[2] << 24) & mask52,
             (a[2] >> 28 | a[3] << 36) & mask52, a[3] >> 16}};
}

/** Returns the number, modulo 2^256, that carried limbs represent. */
constexpr Words from_limbs52(const Limbs52& a) {
    return {a.limb[0] | a.limb[1] << 52, a.limb[1] >> 12 | a.limb[2] << 40, a.limb[2] >> 24 | a.limb[3] << 28,
            a.limb[3] >> 36 | a.limb[4] << 16};
}

/** Returns n times a 256-bit number, limb by limb without carries. The limbs fit 64 bits for n up to 2^12. */
constexpr Limbs52 multiple(const Words& a, std::uint64_t n) {
    Limbs52 r = to_limbs52(a);
    for (std::uint64_t& limb : r.limb) limb *= n;
    return r;
}

/**
 * Conversion between a scalar element of the field S and its representation in a lane. By default, both are the same
 * number.
 */
template <typename S>
struct LaneForm {
    static constexpr Limbs52 to_lane(const Words& a) { return to_limbs52(a); }
    static constexpr Words from_lane(const Words& a) { return a; }
};

/** Montgomery form: the factor is 2^260 in a lane, and 2^256 for scalar elements. */
template <Words m>
struct LaneForm<Montgomery<m>> {
    using Scalar = Montgomery<m>;

    static constexpr Limbs52 to_lane(Words a) {
        for (int i = 0; i < 4; ++i) a = Scalar::add(a, a);
        return to_limbs52(a);
    }
    static constexpr Words from_lane(const Words& a) { return Scalar::mul(a, one_sixteenth); }

private:
    /** 2^252: a Montgomery product with it divides by 16. */
    static constexpr Words one_sixteenth = {0, 0, 0, std::uint64_t{1} << 60};
};

/**
 * Returns the scalar element that the carried limbs of a lane represent. Their value must be below 2.1 p, so it is
 * below 2.1 * 2^256.
 */
template <typename S>
constexpr Words scalar_of(const Limbs52& a) {
    const Words low = from_limbs52(a);
    // 2^256 modulo p. It is added once for each 2^256 in the value, which the last limb shows: at most twice.
    constexpr Words power = [] {
        Words r{};
        sub(r, Words{}, S::modulus);
        return reduce_once(r, S::modulus);
    }();
    const std::uint64_t over = a.limb[4] >> 48;
    Words sum = reduce_once(low, S::modulus);
    sum = S::add(sum, conditional_move(mask((over & 1) | over >> 1), power, Words{}));
    sum = S::add(sum, conditional_move(mask(over >> 1), power, Words{}));
    return LaneForm<S>::from_lane(sum);
}

}  // namespace vrx::field

#endif

// Eight 64-bit lanes as a plain array: runs the vector code on any CPU, and under tools without AVX-512.
#ifndef VRX_ECC_FIELD_PLAIN_LANES_HPP
#define VRX_ECC_FIELD_PLAIN_LANES_HPP

#include <cstddef>
#include <cstdint>

#include "ecc/field/words.hpp"

namespace vrx::field {

struct PlainLanes {
    std::uint64_t lane[8];

    static PlainLanes all(std::uint64_t value) {
        PlainLanes r;
        for (std::uint64_t& l : r.lane) l = value;
        return r;
    }
    static PlainLanes load(const std::uint64_t* from) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = from[i];
        return r;
    }
    void store(std::uint64_t* to) const {
        for (std::size_t i = 0; i < 8; ++i) to[i] = lane[i];
    }

    PlainLanes operator+(const PlainLanes& b) const {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = lane[i] + b.lane[i];
        return r;
    }
    PlainLanes operator-(const PlainLanes& b) const {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = lane[i] - b.lane[i];
        return r;
    }
    PlainLanes operator&(const PlainLanes& b) const {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = lane[i] & b.lane[i];
        return r;
    }
    static PlainLanes exclusive_or(const PlainLanes& a, const PlainLanes& b) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = a.lane[i] ^ b.lane[i];
        return r;
    }
    static PlainLanes shift_left(const PlainLanes& a, unsigned bits) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = a.lane[i] << bits;
        return r;
    }
    static PlainLanes shift_right_signed(const PlainLanes& a, unsigned bits) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i)
            r.lane[i] = static_cast<std::uint64_t>(static_cast<std::int64_t>(a.lane[i]) >> bits);
        return r;
    }

    /** Value barrier: see frame/barrier.hpp. */
    static PlainLanes opaque(PlainLanes a) {
        for (std::uint64_t& l : a.lane) l = value_barrier(l);
        return a;
    }

    /**
     * Multiplies the low 52 bits of a and b, and adds the low half (52 bits) of the product to `sum`.
     * add_high_product() adds the high half.
     */
    static PlainLanes add_low_product(const PlainLanes& sum, const PlainLanes& a, const PlainLanes& b) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = sum.lane[i] + (product(a.lane[i], b.lane[i], 0) & bits52);
        return r;
    }
    static PlainLanes add_high_product(const PlainLanes& sum, const PlainLanes& a, const PlainLanes& b) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = sum.lane[i] + product(a.lane[i], b.lane[i], 52);
        return r;
    }

    /** Returns lanes of which lane i is lane from[i] of a. */
    template <int... from>
    static PlainLanes permuted(const PlainLanes& a) {
        return {{a.lane[from]...}};
    }

    /** Does the same with indices from a vector, taken modulo 8. The indices are public. */
    static PlainLanes taken(const PlainLanes& a, const PlainLanes& from) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = a.lane[from.lane[i] & 7];
        return r;
    }

    /** Takes the lanes whose bits are set from b, and the other lanes from a. */
    template <unsigned bits>
    static PlainLanes blended(const PlainLanes& a, const PlainLanes& b) {
        PlainLanes r;
        for (unsigned i = 0; i < 8; ++i) r.lane[i] = (bits >> i & 1) != 0 ? b.lane[i] : a.lane[i];
        return r;
    }

    /** Conditional move: takes the words at `from` in the lanes whose index is `wanted`, and a in the other lanes. */
    static PlainLanes conditional_move(const PlainLanes& a, const PlainLanes& index, std::uint64_t wanted,
                                       const std::uint64_t* from) {
        PlainLanes r;
        for (std::size_t i = 0; i < 8; ++i) {
            const std::uint64_t other = index.lane[i] ^ wanted;
            const std::uint64_t keep = mask((other | (std::uint64_t{0} - other)) >> 63);
            r.lane[i] = (a.lane[i] & keep) | (from[i] & ~keep);
        }
        return r;
    }

private:
    static constexpr std::uint64_t bits52 = (std::uint64_t{1} << 52) - 1;
    static std::uint64_t product(std::uint64_t a, std::uint64_t b, int shift) {
        return static_cast<std::uint64_t>(u128{a & bits52} * (b & bits52) >> shift);
    }
};

}  // namespace vrx::field

#endif

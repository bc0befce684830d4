// Eight 64-bit lanes in an AVX-512 register, with the 52-bit multiply-add of AVX-512 IFMA. Include this file inside
// frame/region_ifma.hpp.
#ifndef VRX_ECC_FIELD_IFMA_LANES_HPP
#define VRX_ECC_FIELD_IFMA_LANES_HPP

#include <immintrin.h>

#include <cstdint>

namespace vrx::field {

struct IfmaLanes {
    __m512i v;

    static IfmaLanes all(std::uint64_t value) { return {_mm512_set1_epi64(static_cast<long long>(value))}; }
    static IfmaLanes load(const std::uint64_t* from) { return {_mm512_loadu_si512(from)}; }
    void store(std::uint64_t* to) const { _mm512_storeu_si512(to, v); }

    IfmaLanes operator+(const IfmaLanes& b) const { return {_mm512_add_epi64(v, b.v)}; }
    IfmaLanes operator-(const IfmaLanes& b) const { return {_mm512_sub_epi64(v, b.v)}; }
    IfmaLanes operator&(const IfmaLanes& b) const { return {_mm512_and_si512(v, b.v)}; }
    static IfmaLanes exclusive_or(const IfmaLanes& a, const IfmaLanes& b) { return {_mm512_xor_si512(a.v, b.v)}; }
    static IfmaLanes shift_left(const IfmaLanes& a, unsigned bits) {
        return {_mm512_maskz_slli_epi64(whole, a.v, bits)};
    }
    static IfmaLanes shift_right_signed(const IfmaLanes& a, unsigned bits) {
        return {_mm512_maskz_srai_epi64(whole, a.v, bits)};
    }

    /** Value barrier: see frame/barrier.hpp. */
    static IfmaLanes opaque(IfmaLanes a) {
        asm("" : "+v"(a.v));
        return a;
    }

    static IfmaLanes add_low_product(const IfmaLanes& sum, const IfmaLanes& a, const IfmaLanes& b) {
        return {_mm512_madd52lo_epu64(sum.v, a.v, b.v)};
    }
    static IfmaLanes add_high_product(const IfmaLanes& sum, const IfmaLanes& a, const IfmaLanes& b) {
        return {_mm512_madd52hi_epu64(sum.v, a.v, b.v)};
    }

    template <int... from>
    static IfmaLanes permuted(const IfmaLanes& a) {
        return {_mm512_maskz_permutexvar_epi64(whole, __m512i{from...}, a.v)};
    }
    static IfmaLanes taken(const IfmaLanes& a, const IfmaLanes& from) {
        return {_mm512_maskz_permutexvar_epi64(whole, from.v, a.v)};
    }
    template <unsigned bits>
    static IfmaLanes blended(const IfmaLanes& a, const IfmaLanes& b) {
        return {_mm512_mask_blend_epi64(bits, a.v, b.v)};
    }
    static IfmaLanes conditional_move(const IfmaLanes& a, const IfmaLanes& index, std::uint64_t wanted,
                                      const std::uint64_t* from) {
        return {_mm512_mask_loadu_epi64(a.v, _mm512_cmpeq_epi64_mask(index.v, all(wanted).v), from)};
    }

private:
    // A mask of all lanes. g++ 12 warns about its own intrinsics without a mask, because they start from an undefined
    // register.
    static constexpr __mmask8 whole = 0xFF;
};

}  // namespace vrx::field

#endif

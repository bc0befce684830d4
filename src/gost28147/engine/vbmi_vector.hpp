// A vector of eight blocks in a 512-bit register. Include this inside a region of frame/region_avx512.hpp.
#ifndef VRX_GOST28147_ENGINE_VBMI_VECTOR_HPP
#define VRX_GOST28147_ENGINE_VBMI_VECTOR_HPP

#include "gost28147/engine/parallel.hpp"

namespace vrx::gost28147::vbmi {

/** Eight blocks in memory order. A partial vector reads and writes only its first `left` blocks. */
struct Vector {
    static constexpr std::size_t blocks = 8;
    static constexpr bool partial = true;
    __m512i v;

    static __mmask8 mask(std::ptrdiff_t left) {
        return static_cast<__mmask8>(left >= 8 ? 0xff : left <= 0 ? 0 : (1U << left) - 1);
    }
    static Vector load(const std::uint8_t* from, std::ptrdiff_t left) {
        return {_mm512_maskz_loadu_epi64(mask(left), from)};
    }
    /** Loads `first`, followed by the blocks at `from`. */
    static Vector load_after(Block first, const std::uint8_t* from, std::ptrdiff_t left) {
        return {_mm512_mask_loadu_epi64(repeated(first), mask(left) & 0xfe, from - VRX_BLOCK_SIZE)};
    }
    void store(std::uint8_t* to, std::ptrdiff_t left) const { _mm512_mask_storeu_epi64(to, mask(left), v); }

    /**
     * Returns the counters after n + 1 to n + 8 more steps. If the sum of word 1 is less than its second operand, the
     * addition has overflowed.
     */
    static Vector counters(Block reg, std::size_t n) {
        const __m512i steps = _mm512_load_si512(&counter_steps.words[2 * n]);
        const __m512i sum = _mm512_add_epi32(repeated(reg), steps);
        const __mmask16 carry = _mm512_mask_cmplt_epu32_mask(0xaaaa, sum, steps);
        return {_mm512_mask_sub_epi32(sum, carry, sum, _mm512_set1_epi32(-1))};
    }
    Vector& operator^=(Vector other) {
        v = _mm512_xor_si512(v, other.v);
        return *this;
    }

private:
    static __m512i repeated(Block b) { return _mm512_set1_epi64(static_cast<long long>(joined(b))); }
};

}  // namespace vrx::gost28147::vbmi

#endif

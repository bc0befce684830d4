// The vector instructions that the engines use, on registers of symbolic bits, according to the CPU manuals.
#ifndef VRX_TESTS_PROVE_IMMINTRIN_H
#define VRX_TESTS_PROVE_IMMINTRIN_H

#include <cstring>

#include "prove/bits.hpp"

namespace vrx::prove {

/** A register of `size` bytes. */
template <unsigned bytes>
struct Register {
    Byte byte[bytes] = {};

    [[nodiscard]] Bits bits(unsigned from, unsigned count) const { return circuit::bits(byte + from, count); }
    void set(unsigned from, const Bits& bits) { circuit::store(byte + from, bits); }
};
/** A register of floating-point numbers. No arithmetic uses them. */
struct Floats : Register<64> {};

template <unsigned count>
struct Mask {
    Bit bit[count] = {};

    constexpr Mask() = default;
    template <std::integral N>
    constexpr Mask(N value) {
        for (unsigned i = 0; i < count; ++i) bit[i] = static_cast<std::uint64_t>(value) >> i & 1;
    }
    friend Mask operator~(Mask a) {
        for (Bit& b : a.bit) b ^= 1;
        return a;
    }
    friend Mask operator&(Mask a, const Mask& b) {
        for (unsigned i = 0; i < count; ++i) a.bit[i] = conjunction(a.bit[i], b.bit[i]);
        return a;
    }
    friend bool operator==(const Mask& a, const Mask& b) {
        return circuit::decide(circuit::equal({a.bit, a.bit + count}, {b.bit, b.bit + count}));
    }
};

/** Computes r = operation(a, b) for each element of `size` bytes. */
template <unsigned size, unsigned n, typename Operation>
Register<n> by_element(const Register<n>& a, const Register<n>& b, const Operation& operation) {
    Register<n> r;
    const bool faulty = circuit::is_faulty();
    for (unsigned i = 0; i < n; i += size) {
        Bits bits = operation(a.bits(i, size), b.bits(i, size));
        if (faulty) bits[0] ^= 1;
        r.set(i, bits);
    }
    return r;
}
template <unsigned size, unsigned n, typename Operation>
Register<n> by_element(const Register<n>& a, const Operation& operation) {
    return by_element<size>(a, a, [&](const Bits& x, const Bits&) { return operation(x); });
}

template <unsigned n>
Register<n> load(const void* from) {
    Register<n> r;
    std::memcpy(r.byte, from, sizeof r.byte);
    return r;
}
template <unsigned n>
void store(void* to, const Register<n>& a) {
    std::memcpy(to, a.byte, sizeof a.byte);
}
/** Elements of `size` bytes that the mask excludes are not read. */
template <unsigned size, unsigned n>
Register<n> load(Register<n> r, const Mask<n / size>& mask, const void* from) {
    for (unsigned i = 0; i < n / size; ++i) {
        if (mask.bit[i] > one) throw "an unknown mask of a load";
        if (mask.bit[i] == one)
            std::memcpy(r.byte + size * i, static_cast<const Byte*>(from) + size * i, size * sizeof(Byte));
    }
    return r;
}

template <unsigned n, unsigned m>
Register<n> repeated(const U<m>& value) {
    Register<n> r;
    for (unsigned i = 0; i < n; ++i) r.byte[i] = value.byte[i % (m / 8)];
    return r;
}
/** Returns the lower part of a register. The upper part is zero. */
template <unsigned n, unsigned m>
Register<n> resized(const Register<m>& a) {
    Register<n> r;
    for (unsigned i = 0; i < n && i < m; ++i) r.byte[i] = a.byte[i];
    return r;
}

template <unsigned n>
Register<n> exclusive_or(const Register<n>& a, const Register<n>& b) {
    return by_element<1>(a, b, circuit::differing);
}
template <unsigned n>
Register<n> both(const Register<n>& a, const Register<n>& b) {
    return by_element<1>(a, b, circuit::both);
}
template <unsigned n>
Register<n> and_not(const Register<n>& a, const Register<n>& b) {
    return by_element<1>(a, b, [](const Bits& x, const Bits& y) { return circuit::both(circuit::inverted(x), y); });
}
template <unsigned n>
Register<n> either(const Register<n>& a, const Register<n>& b) {
    return by_element<1>(a, b, circuit::either);
}
template <unsigned size, unsigned n>
Register<n> sum(const Register<n>& a, const Register<n>& b) {
    return by_element<size>(a, b, [](const Bits& x, const Bits& y) { return circuit::sum(x, y, zero); });
}
template <unsigned size, unsigned n>
Register<n> difference(const Register<n>& a, const Register<n>& b) {
    return by_element<size>(a, b, circuit::difference);
}
/** Sets an element to all ones if the two elements are equal, otherwise to zero. */
template <unsigned size, unsigned n>
Register<n> equal(const Register<n>& a, const Register<n>& b) {
    return by_element<size>(a, b, [](const Bits& x, const Bits& y) { return Bits(x.size(), circuit::equal(x, y)); });
}
template <unsigned size, unsigned n>
Register<n> larger(const Register<n>& a, const Register<n>& b) {
    return by_element<size>(a, b,
                            [](const Bits& x, const Bits& y) { return circuit::choice(circuit::less(x, y), y, x); });
}
template <unsigned size, unsigned n>
Register<n> shifted(const Register<n>& a, int left) {
    return by_element<size>(a, [left](const Bits& x) { return circuit::shifted(x, left); });
}
template <unsigned size, unsigned n>
Register<n> rotated(const Register<n>& a, int left) {
    return by_element<size>(a, [left](const Bits& x) { return circuit::rotated(x, left); });
}
/** Interleaves the elements of one half of a and b, in each lane of 16 bytes. */
template <unsigned size, unsigned n>
Register<n> unpacked(const Register<n>& a, const Register<n>& b, bool high) {
    Register<n> r;
    for (unsigned i = 0; i < n; ++i) {
        const unsigned element = i % 16 / size;
        const unsigned from = i / 16 * 16 + (high ? 8 : 0) + element / 2 * size + i % size;
        r.byte[i] = (element % 2 == 0 ? a : b).byte[from];
    }
    return r;
}
/** Looks up bytes of the same lane by the lower four bits of each index; 0 if the highest bit is set. */
template <unsigned n>
Register<n> shuffled(const Register<n>& a, const Register<n>& index) {
    Register<n> r;
    const bool faulty = circuit::is_faulty();
    for (unsigned i = 0; i < n; ++i) {
        std::vector<Bits> lane;
        for (unsigned j = 0; j < 16; ++j) lane.push_back(a.bits(i / 16 * 16 + j, 1));
        const Bits at = index.bits(i, 1);
        Bits bits = circuit::entry(lane, {at.begin(), at.begin() + 4});
        for (Bit& b : bits) b = conjunction(b, at[7] ^ 1);
        if (faulty) bits[0] ^= 1;
        r.set(i, bits);
    }
    return r;
}
/** Looks up bytes of a table by the lower bits of each index. */
template <unsigned n>
Register<n> permuted(const std::vector<Bits>& table, const Register<n>& index) {
    return by_element<1>(index, [&](const Bits& at) {
        return circuit::entry(table, {at.begin(), at.begin() + std::bit_width(table.size()) - 1});
    });
}
template <unsigned n>
std::vector<Bits> bytes_of(const Register<n>& a, std::vector<Bits> r = {}) {
    for (unsigned i = 0; i < n; ++i) r.push_back(a.bits(i, 1));
    return r;
}
template <unsigned n>
Register<n> ternary(const Register<n>& a, const Register<n>& b, const Register<n>& c, int truth) {
    Register<n> r;
    const bool faulty = circuit::is_faulty();
    for (unsigned i = 0; i < n; ++i) {
        const Bits x = a.bits(i, 1), y = b.bits(i, 1), z = c.bits(i, 1);
        Bits bits(8);
        for (unsigned k = 0; k < 8; ++k) {
            if (truth == 0x96) {
                bits[k] = exclusive_or(exclusive_or(x[k], y[k]), z[k]);
                continue;
            }
            std::vector<Bits> table;
            for (int j = 0; j < 8; ++j) table.push_back({static_cast<Bit>(truth >> j & 1)});
            bits[k] = circuit::entry(table, {z[k], y[k], x[k]})[0];
        }
        if (faulty) bits[0] ^= 1;
        r.set(i, bits);
    }
    return r;
}
/** Returns a where the bit of the mask is set, otherwise b. */
template <unsigned size, unsigned n>
Register<n> blended(const Mask<n / size>& mask, const Register<n>& a, const Register<n>& b) {
    Register<n> r;
    for (unsigned i = 0; i < n; i += size)
        r.set(i, circuit::choice(mask.bit[i / size], a.bits(i, size), b.bits(i, size)));
    return r;
}
template <unsigned size, unsigned n>
Mask<n / size> is_less(const Register<n>& a, const Register<n>& b) {
    Mask<n / size> r;
    for (unsigned i = 0; i < n / size; ++i) r.bit[i] = circuit::less(a.bits(size * i, size), b.bits(size * i, size));
    return r;
}
/** Returns the lower parts of elements. */
template <unsigned from, unsigned to, unsigned n>
auto narrowed(const Register<n>& a) {
    Register<n / from * to> r;
    for (unsigned i = 0; i < n / from * to; ++i) r.byte[i] = a.byte[i / to * from + i % to];
    return r;
}

}  // namespace vrx::prove

using __m128i = vrx::prove::Register<16>;
using __m256i = vrx::prove::Register<32>;
using __m512i = vrx::prove::Register<64>;
using __m512 = vrx::prove::Floats;
using __mmask8 = vrx::prove::Mask<8>;
using __mmask16 = vrx::prove::Mask<16>;
using __mmask64 = vrx::prove::Mask<64>;

// NOLINTBEGIN
#define VRX_SHIM(n, name, size) \
    inline vrx::prove::Register<n> _mm##name(const vrx::prove::Register<n>& a, const vrx::prove::Register<n>& b)
#define VRX_SHIM_BOTH(name, expression)                                                                 \
    inline __m256i _mm256_##name(const __m256i& a, const __m256i& b) { return vrx::prove::expression; } \
    inline __m512i _mm512_##name(const __m512i& a, const __m512i& b) { return vrx::prove::expression; } \
    inline __m128i _mm_##name(const __m128i& a, const __m128i& b) { return vrx::prove::expression; }
VRX_SHIM_BOTH(add_epi8, sum<1>(a, b))
VRX_SHIM_BOTH(add_epi32, sum<4>(a, b))
VRX_SHIM_BOTH(sub_epi8, difference<1>(a, b))
VRX_SHIM_BOTH(unpacklo_epi8, unpacked<1>(a, b, false))
VRX_SHIM_BOTH(unpackhi_epi8, unpacked<1>(a, b, true))
VRX_SHIM_BOTH(unpacklo_epi16, unpacked<2>(a, b, false))
VRX_SHIM_BOTH(unpackhi_epi16, unpacked<2>(a, b, true))
VRX_SHIM_BOTH(unpacklo_epi32, unpacked<4>(a, b, false))
VRX_SHIM_BOTH(unpackhi_epi32, unpacked<4>(a, b, true))
VRX_SHIM_BOTH(unpacklo_epi64, unpacked<8>(a, b, false))
VRX_SHIM_BOTH(unpackhi_epi64, unpacked<8>(a, b, true))
VRX_SHIM_BOTH(shuffle_epi8, shuffled(a, b))
VRX_SHIM_BOTH(cmpeq_epi8, equal<1>(a, b))
VRX_SHIM_BOTH(cmpeq_epi32, equal<4>(a, b))
VRX_SHIM_BOTH(max_epu8, larger<1>(a, b))
VRX_SHIM_BOTH(max_epu32, larger<4>(a, b))
#undef VRX_SHIM_BOTH
#undef VRX_SHIM
#define VRX_SHIM_EACH(n)                                                                                            \
    inline __m##n##i _mm##n##_xor_si##n(const __m##n##i& a, const __m##n##i& b) {                                   \
        return vrx::prove::exclusive_or(a, b);                                                                      \
    }                                                                                                               \
    inline __m##n##i _mm##n##_and_si##n(const __m##n##i& a, const __m##n##i& b) { return vrx::prove::both(a, b); }  \
    inline __m##n##i _mm##n##_andnot_si##n(const __m##n##i& a, const __m##n##i& b) {                                \
        return vrx::prove::and_not(a, b);                                                                           \
    }                                                                                                               \
    inline __m##n##i _mm##n##_or_si##n(const __m##n##i& a, const __m##n##i& b) { return vrx::prove::either(a, b); } \
    inline __m##n##i _mm##n##_setzero_si##n() { return {}; }                                                        \
    inline __m##n##i _mm##n##_set1_epi8(const vrx::prove::U<8>& v) { return vrx::prove::repeated<n / 8>(v); }       \
    inline __m##n##i _mm##n##_set1_epi32(const vrx::prove::U<32>& v) { return vrx::prove::repeated<n / 8>(v); }     \
    inline __m##n##i _mm##n##_set1_epi64x(const vrx::prove::U<64>& v) { return vrx::prove::repeated<n / 8>(v); }    \
    inline __m##n##i _mm##n##_loadu_si##n(const void* from) { return vrx::prove::load<n / 8>(from); }               \
    inline __m##n##i _mm##n##_load_si##n(const void* from) { return vrx::prove::load<n / 8>(from); }                \
    inline void _mm##n##_storeu_si##n(void* to, const __m##n##i& a) { vrx::prove::store(to, a); }                   \
    inline void _mm##n##_store_si##n(void* to, const __m##n##i& a) { vrx::prove::store(to, a); }                    \
    inline __m##n##i _mm##n##_slli_epi32(const __m##n##i& a, int by) { return vrx::prove::shifted<4>(a, by); }      \
    inline __m##n##i _mm##n##_srli_epi32(const __m##n##i& a, int by) { return vrx::prove::shifted<4>(a, -by); }     \
    inline __m##n##i _mm##n##_srli_epi64(const __m##n##i& a, int by) { return vrx::prove::shifted<8>(a, -by); }     \
    inline __m##n##i _mm##n##_slli_epi16(const __m##n##i& a, int by) { return vrx::prove::shifted<2>(a, by); }      \
    inline __m##n##i _mm##n##_srli_epi16(const __m##n##i& a, int by) { return vrx::prove::shifted<2>(a, -by); }     \
    inline __m##n##i _mm##n##_rol_epi32(const __m##n##i& a, int by) { return vrx::prove::rotated<4>(a, by); }       \
    inline __m##n##i _mm##n##_ror_epi32(const __m##n##i& a, int by) { return vrx::prove::rotated<4>(a, 32 - by); }  \
    inline __m##n##i _mm##n##_ternarylogic_epi32(const __m##n##i& a, const __m##n##i& b, const __m##n##i& c,        \
                                                 int truth) {                                                       \
        return vrx::prove::ternary(a, b, c, truth);                                                                 \
    }
VRX_SHIM_EACH(256)
VRX_SHIM_EACH(512)
#undef VRX_SHIM_EACH
inline __m512i _mm512_set1_epi64(const vrx::prove::U<64>& v) { return vrx::prove::repeated<64>(v); }
inline __m128i _mm_set1_epi32(const vrx::prove::U<32>& v) { return vrx::prove::repeated<16>(v); }
inline __m128i _mm_loadu_si128(const void* from) { return vrx::prove::load<16>(from); }
inline __m128i _mm_load_si128(const void* from) { return vrx::prove::load<16>(from); }
inline void _mm_store_si128(void* to, const __m128i& a) { vrx::prove::store(to, a); }
inline void _mm_storeu_si128(void* to, const __m128i& a) { vrx::prove::store(to, a); }
inline __m128i _mm_srli_epi32(const __m128i& a, int by) { return vrx::prove::shifted<4>(a, -by); }
inline __m128i _mm_rol_epi32(const __m128i& a, int by) { return vrx::prove::rotated<4>(a, by); }
inline __m128i _mm_ror_epi32(const __m128i& a, int by) { return vrx::prove::rotated<4>(a, 32 - by); }
inline __m128i _mm_ternarylogic_epi32(const __m128i& a, const __m128i& b, const __m128i& c, int truth) {
    return vrx::prove::ternary(a, b, c, truth);
}
template <typename... Bytes>
__m128i _mm_setr_epi8(Bytes... bytes) {
    static_assert(sizeof...(bytes) == 16);
    return {{static_cast<vrx::prove::Byte>(bytes)...}};
}
inline __m128i _mm_set_epi64x(const vrx::prove::U<64>& high, const vrx::prove::U<64>& low) {
    __m128i r;
    for (unsigned i = 0; i < 16; ++i) r.byte[i] = (i < 8 ? low : high).byte[i % 8];
    return r;
}
inline __m128i _mm_cvtsi32_si128(const vrx::prove::U<32>& v) { return _mm_set_epi64x(0, vrx::prove::U<64>(v)); }
inline vrx::prove::U<32> _mm_cvtsi128_si32(const __m128i& a) { return vrx::prove::U<32>::of(a.bits(0, 4)); }
inline __m128i _mm_cvtsi64_si128(const vrx::prove::U<64>& v) { return _mm_set_epi64x(0, v); }
inline __m256i _mm256_broadcastsi128_si256(const __m128i& a) {
    __m256i r;
    for (unsigned i = 0; i < 32; ++i) r.byte[i] = a.byte[i % 16];
    return r;
}
inline __m512i _mm512_broadcast_i32x4(const __m128i& a) {
    __m512i r;
    for (unsigned i = 0; i < 64; ++i) r.byte[i] = a.byte[i % 16];
    return r;
}
inline __m256i _mm256_permute4x64_epi64(const __m256i& a, int order) {
    __m256i r;
    for (unsigned i = 0; i < 32; ++i) r.byte[i] = a.byte[8 * (static_cast<unsigned>(order) >> i / 8 * 2 & 3) + i % 8];
    return r;
}
inline __m256i _mm256_blend_epi32(const __m256i& a, const __m256i& b, int mask) {
    return vrx::prove::blended<4>(vrx::prove::Mask<8>(mask), b, a);
}
inline vrx::prove::U<32> _mm256_testz_si256(const __m256i& a, const __m256i& b) {
    const vrx::prove::Bits bits = vrx::prove::both(a, b).bits(0, 32);
    vrx::prove::Bits r(32, vrx::prove::zero);
    r[0] = vrx::prove::circuit::equal(bits, vrx::prove::Bits(256, vrx::prove::zero));
    return vrx::prove::U<32>::of(r);
}
inline __m128i _mm256_cvtepi64_epi32(const __m256i& a) { return vrx::prove::narrowed<8, 4>(a); }
inline __m128i _mm512_cvtepi32_epi8(const __m512i& a) { return vrx::prove::narrowed<4, 1>(a); }
inline __m512i _mm512_mask_loadu_epi32(const __m512i& a, const __mmask16& mask, const void* from) {
    return vrx::prove::load<4>(a, mask, from);
}
inline __m512i _mm512_mask_loadu_epi64(const __m512i& a, const __mmask8& mask, const void* from) {
    return vrx::prove::load<8>(a, mask, from);
}
inline __m512i _mm512_maskz_loadu_epi64(const __mmask8& mask, const void* from) {
    return vrx::prove::load<8>(__m512i{}, mask, from);
}
inline void _mm512_mask_storeu_epi64(void* to, const __mmask8& mask, const __m512i& a) {
    for (unsigned i = 0; i < 8; ++i)
        if (mask.bit[i] == vrx::prove::one)
            std::memcpy(static_cast<vrx::prove::Byte*>(to) + 8 * i, a.byte + 8 * i, 8 * sizeof(vrx::prove::Byte));
}
inline __m512i _mm512_permutexvar_epi8(const __m512i& index, const __m512i& a) {
    return vrx::prove::permuted(vrx::prove::bytes_of(a), index);
}
inline __m512i _mm512_maskz_permutex2var_epi8(const __mmask64& mask, const __m512i& a, const __m512i& index,
                                              const __m512i& b) {
    return vrx::prove::blended<1>(mask, vrx::prove::permuted(vrx::prove::bytes_of(b, vrx::prove::bytes_of(a)), index),
                                  __m512i{});
}
inline __mmask64 _mm512_movepi8_mask(const __m512i& a) {
    __mmask64 r;
    for (unsigned i = 0; i < 64; ++i) r.bit[i] = a.bits(i, 1)[7];
    return r;
}
inline __m512i _mm512_movm_epi8(const __mmask64& mask) {
    return vrx::prove::blended<1>(mask, vrx::prove::repeated<64>(vrx::prove::U<8>(255)), __m512i{});
}
inline __mmask64 _mm512_cmpge_epu8_mask(const __m512i& a, const __m512i& b) { return ~vrx::prove::is_less<1>(a, b); }
inline __mmask16 _mm512_mask_cmplt_epu32_mask(const __mmask16& mask, const __m512i& a, const __m512i& b) {
    return mask & vrx::prove::is_less<4>(a, b);
}
inline __mmask16 _mm512_test_epi32_mask(const __m512i& a, const __m512i& b) {
    const __m512i bits = vrx::prove::both(a, b);
    __mmask16 r;
    for (unsigned i = 0; i < 16; ++i)
        r.bit[i] = vrx::prove::circuit::equal(bits.bits(4 * i, 4), vrx::prove::Bits(32, vrx::prove::zero)) ^ 1;
    return r;
}
inline __m512i _mm512_mask_sub_epi32(const __m512i& otherwise, const __mmask16& mask, const __m512i& a,
                                     const __m512i& b) {
    return vrx::prove::blended<4>(mask, vrx::prove::difference<4>(a, b), otherwise);
}
inline __m512i _mm512_mask_mov_epi32(const __m512i& otherwise, const __mmask16& mask, const __m512i& a) {
    return vrx::prove::blended<4>(mask, a, otherwise);
}
inline __m512i _mm512_mask_set1_epi64(const __m512i& otherwise, const __mmask8& mask, const vrx::prove::U<64>& v) {
    return vrx::prove::blended<8>(mask, vrx::prove::repeated<64>(v), otherwise);
}
inline __m512 _mm512_castsi512_ps(const __m512i& a) { return {a}; }
inline __m512i _mm512_castps_si512(const __m512& a) { return a; }
/** Selects two words of a, then two of b, in each lane. */
inline __m512 _mm512_shuffle_ps(const __m512& a, const __m512& b, int order) {
    __m512 r;
    for (unsigned i = 0; i < 64; ++i) {
        const unsigned word = i % 16 / 4;
        r.byte[i] = (word < 2 ? a : b).byte[i / 16 * 16 + 4 * (static_cast<unsigned>(order) >> 2 * word & 3) + i % 4];
    }
    return r;
}
/** Bytes that the cast leaves undefined are all the same unknown byte. */
inline __m512i _mm512_castsi128_si512(const __m128i& a) {
    __m512i r = vrx::prove::resized<64>(a);
    for (unsigned i = 16; i < 64; ++i) r.byte[i] = vrx::prove::circuit::undefined();
    return r;
}
inline __m512i _mm512_zextsi128_si512(const __m128i& a) { return vrx::prove::resized<64>(a); }
inline __m512i _mm512_zextsi256_si512(const __m256i& a) { return vrx::prove::resized<64>(a); }
inline __m128i _mm512_castsi512_si128(const __m512i& a) { return vrx::prove::resized<16>(a); }
inline __m256i _mm512_castsi512_si256(const __m512i& a) { return vrx::prove::resized<32>(a); }
inline __m256i _mm512_extracti64x4_epi64(const __m512i& a, int half) {
    __m256i r;
    for (unsigned i = 0; i < 32; ++i) r.byte[i] = a.byte[32 * static_cast<unsigned>(half) + i];
    return r;
}
inline vrx::prove::U<32> _bextr_u32(const vrx::prove::U<32>& a, unsigned from, unsigned count) {
    return a >> from & ((1U << count) - 1);
}
inline vrx::prove::U<64> _bextr_u64(const vrx::prove::U<64>& a, unsigned from, unsigned count) {
    return a >> from & ((std::uint64_t{1} << count) - 1);
}
// NOLINTEND

#endif

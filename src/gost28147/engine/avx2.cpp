// AVX2 engine: S-box look-ups with VPSHUFB on planes of bytes. A step processes 32 or 64 blocks.
#include <immintrin.h>

#include <algorithm>

#include "frame/secret_work.hpp"
#include "gost28147/engine/list.hpp"
#include "tz/sboxes.hpp"

#include "frame/region_avx2.hpp"

#include "gost28147/engine/chain.hpp"
#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/planes.hpp"

namespace vrx::gost28147 {
namespace {

__m256i load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
void store(void* to, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(to), v); }
__m256i twice(const void* from) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(from)));
}

/** Four blocks in memory order. */
struct Vector {
    static constexpr std::size_t blocks = 4;
    static constexpr bool partial = false;
    __m256i v;

    static Vector load(const std::uint8_t* from, std::ptrdiff_t) { return {gost28147::load(from)}; }
    static Vector load_after(Block first, const std::uint8_t* from, std::ptrdiff_t) {
        const __m256i later = _mm256_permute4x64_epi64(gost28147::load(from), 0x90);
        return {_mm256_blend_epi32(later, repeated(first), 0x03)};
    }
    void store(std::uint8_t* to, std::ptrdiff_t) const { gost28147::store(to, v); }

    /**
     * Returns the counters after n + 1 to n + 4 steps. If the sum of word 1 is less than its second operand, the
     * addition has overflowed.
     */
    static Vector counters(Block reg, std::size_t n) {
        const __m256i steps = gost28147::load(&counter_steps.words[2 * n]);
        const __m256i sum = _mm256_add_epi32(repeated(reg), steps);
        const __m256i no_carry = _mm256_cmpeq_epi32(_mm256_max_epu32(sum, steps), sum);
        const __m256i carry = _mm256_andnot_si256(no_carry, _mm256_set1_epi64x(static_cast<long long>(1ULL << 32)));
        return {_mm256_add_epi32(sum, carry)};
    }
    Vector& operator^=(Vector other) {
        v = _mm256_xor_si256(v, other.v);
        return *this;
    }

private:
    static __m256i repeated(Block b) { return _mm256_set1_epi64x(static_cast<long long>(joined(b))); }
};

/** A register of 32 bytes. */
struct Plane {
    __m256i v;

    static Plane repeated(std::uint8_t byte) { return {_mm256_set1_epi8(static_cast<char>(byte))}; }
    /** Interleaves the bytes of the two blocks in each lane: 0 8 1 9 ... */
    [[nodiscard]] Plane pairs() const {
        const __m128i order = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
        return {_mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(order))};
    }
    template <unsigned bits>
    static void unpack(Plane a, Plane b, Plane& low, Plane& high) {
        if constexpr (bits == 8) {
            low.v = _mm256_unpacklo_epi8(a.v, b.v);
            high.v = _mm256_unpackhi_epi8(a.v, b.v);
        } else if constexpr (bits == 16) {
            low.v = _mm256_unpacklo_epi16(a.v, b.v);
            high.v = _mm256_unpackhi_epi16(a.v, b.v);
        } else if constexpr (bits == 32) {
            low.v = _mm256_unpacklo_epi32(a.v, b.v);
            high.v = _mm256_unpackhi_epi32(a.v, b.v);
        } else {
            low.v = _mm256_unpacklo_epi64(a.v, b.v);
            high.v = _mm256_unpackhi_epi64(a.v, b.v);
        }
    }
    [[nodiscard]] Plane not_less(Plane b) const { return {_mm256_cmpeq_epi8(_mm256_max_epu8(v, b.v), v)}; }
};

Plane operator+(Plane a, Plane b) { return {_mm256_add_epi8(a.v, b.v)}; }
Plane operator-(Plane a, Plane b) { return {_mm256_sub_epi8(a.v, b.v)}; }
Plane operator&(Plane a, Plane b) { return {_mm256_and_si256(a.v, b.v)}; }
Plane operator|(Plane a, Plane b) { return {_mm256_or_si256(a.v, b.v)}; }
Plane operator^(Plane a, Plane b) { return {_mm256_xor_si256(a.v, b.v)}; }

/**
 * The S-boxes as operands of shuffles. The rotation by 11 bits moves byte m to byte m + 1 and shifts its bits left by
 * 3, so that the upper three bits move to byte m + 2. In the comments, a is an output of S-box 2m, and b is an output
 * of S-box 2m + 1.
 */
struct Shuffles {
    __m256i even[4];      // a << 3
    __m256i odd_low[4];   // b << 7: one bit stays in the byte
    __m256i odd_high[4];  // b >> 1

    explicit Shuffles(const tz::SBoxes& s) {
        for (unsigned m = 0; m < 4; ++m) {
            const __m256i a = twice(s.even + 16 * m);
            const __m256i b = twice(s.odd + 16 * m);  // in the high nibble
            even[m] = _mm256_slli_epi16(a, 3);
            odd_low[m] = _mm256_and_si256(_mm256_slli_epi16(b, 3), _mm256_set1_epi8(-128));
            odd_high[m] = _mm256_and_si256(_mm256_srli_epi16(b, 5), _mm256_set1_epi8(7));
        }
    }
};

/**
 * Performs the rounds on planes of bytes, where a shuffle looks up 32 bytes in one S-box. A round of 32 blocks takes 54
 * instructions: 18 for the addition, 12 that extract nibbles, 12 shuffles and 12 XORs. A CPU can start four of them in
 * a cycle. Two interleaved groups of 32 blocks hide the latency of the carries.
 */
struct Shuffled {
    using Vector = gost28147::Vector;
    const Shuffles& shuffles;
    const KeyPlanes<Plane>& key;
    bool decrypting;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        const Plane nibble = Plane::repeated(0x0f);
        rounds_on_planes<Plane>(
            v, key, decrypting, [&](Plane * half, const Plane(&t)[4]) __attribute__((always_inline)) {
#pragma GCC unroll 4
                for (unsigned m = 0; m < 4; ++m) {
                    const Plane low = t[m] & nibble;
                    const Plane high = Plane{_mm256_srli_epi16(t[m].v, 4)} & nibble;
                    Plane& next = half[(m + 1) % 4];
                    Plane& after = half[(m + 2) % 4];
                    next = next ^ looked_up(shuffles.even[m], low) ^ looked_up(shuffles.odd_low[m], high);
                    after = after ^ looked_up(shuffles.odd_high[m], high);
                }
            });
    }

private:
    static Plane looked_up(__m256i sbox, Plane nibbles) { return {_mm256_shuffle_epi8(sbox, nibbles.v)}; }
};

#ifndef VRX_CONSTANT_TIME
struct Bytes {
    static std::uint32_t byte2(std::uint32_t word) { return _bextr_u32(word, 16, 8); }
};
constexpr auto finish = look_up;
#else
constexpr auto finish = shuffle_words;
#endif

[[gnu::noinline]] bool side_by_side(Mode mode, const Run& run) {
    tz::SBoxes room{};
    const tz::SBoxes* sboxes = tz::built_in_sboxes(run.cipher.table);
    if (sboxes == nullptr) {
        if (!tz::recover_avx2(run.cipher.table, room)) return false;
        sboxes = &room;
    }
    const Shuffles shuffles(*sboxes);
    const KeyPlanes<Plane> key(run.cipher.key);
    const Run rest = in_steps<16, 8>(Shuffled{shuffles, key, decrypts(mode)}, mode, run);
    return rest.blocks == 0 || finish(mode, rest);
}

}  // namespace

bool shuffle_planes(Mode mode, const Run& run) noexcept {
    // There are more planes than registers, so plaintext or ciphertext is spilled to the stack.
    return secret_work<depth::shuffled_planes, Registers::low>([&] { return side_by_side(mode, run); });
}

#ifndef VRX_CONSTANT_TIME
void chain_bmi(Mode mode, const Run& run) noexcept { run_chain<Bytes>(mode, run); }
#endif

}  // namespace vrx::gost28147

#include "frame/region_end.hpp"

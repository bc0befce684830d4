// AVX-512 VBMI engine: S-box look-ups with VPERMB on 16 blocks in two registers.
#include <immintrin.h>

#include <algorithm>
#include <bit>

#include "frame/wipe.hpp"
#include "gost28147/engine/list.hpp"
#include "gost28147/engine/schedule.hpp"
#include "gost28147/mesh.hpp"
#include "tz/sboxes.hpp"

#include "frame/region_avx512.hpp"

#include "gost28147/engine/chain.hpp"
#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/vbmi_vector.hpp"
#include "gost28147/in_order.hpp"
#include "tz/recover_avx512.hpp"

namespace vrx::gost28147 {
namespace {

using tz::repeated;
using tz::Tables;
using vbmi::Vector;

// Truth tables for the ternary-logic instruction:
constexpr int and_or = 0xea;        // a & b | c
constexpr int exclusive_or = 0x96;  // a ^ b ^ c

/**
 * A meshing that is computed together with a section. The first four blocks become D(K, C), which is the key after K.
 * The fifth block becomes E(K, register).
 */
struct Meshing {
    const Schedule& schedule;
    Vector v[2];

    Meshing(const Schedule& key, Block reg)
        : schedule(key), v{Vector::load(meshing_constant, 4), {_mm512_setzero_si512()}} {
        v[0].v = _mm512_mask_set1_epi64(v[0].v, 1U << 4, static_cast<long long>(joined(reg)));
    }
    Meshing(const Meshing&) = delete;
    Meshing& operator=(const Meshing&) = delete;
    ~Meshing() { wipe(v, sizeof v); }

    /** Stores the new key and the new register. */
    void finish(Schedule& next, Block& reg) const {
        Secret<std::uint8_t[64]> bytes;
        v[0].store(bytes.value, 8);
        next.set(Key(reinterpret_cast<const std::uint32_t*>(bytes.value)));
        reg = load_block(bytes.value + VRX_KEY_SIZE);
    }
};

/**
 * The 32 rounds. A permute looks up 64 bytes at once in a table of 64: the index of byte j of a word is one of its
 * nibbles plus 16j. So one permute looks up the four even S-boxes, and one the four odd S-boxes. The halves are stored
 * rotated right by 11 bits: u = ror(x, 11). A round is then
 *
 *     t  = rol(u, 11) + K
 *     u' = u' ^ even[t & 0f0f0f0f | 30201000] ^ odd[t >> 4 & 0f0f0f0f | 30201000]
 *
 * It consists of eight instructions for 16 blocks: a rotation, an addition, a shift, two permutes, and three
 * ternary-logic instructions. Two of the ternary-logic instructions compute the indices, and one computes the result.
 * Four of the eight instructions are shifts, rotations or permutes, and a CPU starts one or two of these in a cycle. A
 * round of 16 blocks therefore takes two to four cycles, if enough vectors are interleaved to hide a latency of 8 to 15
 * cycles. The table check of `claim` and the meshing are interleaved with the rounds, where they cost little or
 * nothing.
 */
template <std::size_t count>
[[gnu::always_inline]] inline void rounds(const Tables& tables, const Schedule& schedule, bool decrypting,
                                          Vector (&v)[count], tz::Claim* claim, Meshing* meshing) {
    constexpr std::size_t pairs = count / 2;
    __m512i n1[pairs + 1];
    __m512i n2[pairs + 1];
    const auto split = [&](std::size_t i, const Vector* pair) __attribute__((always_inline)) {
        const __m512 a = _mm512_castsi512_ps(pair[0].v);
        const __m512 b = _mm512_castsi512_ps(pair[1].v);
        n1[i] = _mm512_ror_epi32(_mm512_castps_si512(_mm512_shuffle_ps(a, b, 0x88)), 11);
        n2[i] = _mm512_ror_epi32(_mm512_castps_si512(_mm512_shuffle_ps(a, b, 0xdd)), 11);
    };
    // The last round does not swap the halves, so n1 and n2 are exchanged.
    const auto join = [&](std::size_t i, Vector * pair) __attribute__((always_inline)) {
        n1[i] = _mm512_rol_epi32(n1[i], 11);
        n2[i] = _mm512_rol_epi32(n2[i], 11);
        pair[0].v = _mm512_unpacklo_epi32(n2[i], n1[i]);
        pair[1].v = _mm512_unpackhi_epi32(n2[i], n1[i]);
    };
    const __m512i nibbles = repeated(0x0f0f0f0f);
    const __m512i places = repeated(0x30201000);
    const auto round = [&](__m512i half, __m512i other, __m512i key) __attribute__((always_inline)) {
        const __m512i t = _mm512_add_epi32(_mm512_rol_epi32(other, 11), key);
        const __m512i even = _mm512_ternarylogic_epi32(t, nibbles, places, and_or);
        const __m512i odd = _mm512_ternarylogic_epi32(_mm512_srli_epi32(t, 4), nibbles, places, and_or);
        return _mm512_ternarylogic_epi32(half, _mm512_permutexvar_epi8(even, tables.even),
                                         _mm512_permutexvar_epi8(odd, tables.odd), exclusive_or);
    };

#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) split(i, v + 2 * i);
    if (meshing != nullptr) split(pairs, meshing->v);
    for (unsigned pass = 0; pass < 4; ++pass) {
        const std::uint32_t* const words = schedule.pass(pass, decrypting);
        if (claim != nullptr) claim->check(pass);
#pragma GCC unroll 8
        for (unsigned k = 0; k < 8; k += 2) {
#pragma GCC unroll 8
            for (std::size_t i = 0; i < pairs; ++i) n2[i] = round(n2[i], n1[i], repeated(words[k]));
#pragma GCC unroll 8
            for (std::size_t i = 0; i < pairs; ++i) n1[i] = round(n1[i], n2[i], repeated(words[k + 1]));
            if (meshing != nullptr) {
                // Block 4 of the first vector is encrypted; all other blocks are decrypted. After the split, the halves
                // of block 4 are word 8 of n1 and word 8 of n2.
                const std::uint32_t* const down = meshing->schedule.pass(pass, true);
                const std::uint32_t* const up = meshing->schedule.pass(pass, false);
                const auto key = [&](unsigned j) __attribute__((always_inline)) {
                    return _mm512_mask_mov_epi32(repeated(down[j]), 1U << 8, repeated(up[j]));
                };
                n2[pairs] = round(n2[pairs], n1[pairs], key(k));
                n1[pairs] = round(n1[pairs], n2[pairs], key(k + 1));
            }
        }
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) join(i, v + 2 * i);
    if (meshing != nullptr) join(pairs, meshing->v);
}

/** Encrypts or decrypts the blocks of one step. */
struct Permutes {
    using Vector = vbmi::Vector;
    const Tables& tables;
    const Schedule& schedule;
    bool decrypting;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        rounds(tables, schedule, decrypting, v, nullptr, nullptr);
    }
};

/** Does the same, and also computes a meshing. */
struct MeshingPermutes {
    using Vector = vbmi::Vector;
    const Tables& tables;
    const Schedule& schedule;
    bool decrypting;
    Meshing& meshing;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        rounds(tables, schedule, decrypting, v, nullptr, &meshing);
    }
};

/**
 * Finds the S-boxes of a table: uses `known` if it is not nullptr, and recovers them otherwise. Returns false if no
 * S-boxes expand to the table.
 */
bool find_tables(const vrx_tz& table, const tz::SBoxes* known, Tables& out) {
    if (known != nullptr) {
        out = Tables(*known);
        return true;
    }
    tz::Claim claim(table);
    out = claim.tables();
    for (unsigned m = 0; m < 4; ++m) claim.check(m);
    return claim.holds();
}

/**
 * Performs a step that checks the table between its rounds. Returns false, with nothing written, if no S-boxes expand
 * to the table.
 */
template <std::size_t count>
[[gnu::always_inline]] inline bool claimed_step(Mode mode, const Run& run) {
    const Schedule schedule(run.cipher.key);
    tz::Claim claim(run.cipher.table);
    const Tables tables = claim.tables();
    const std::uint64_t reg = has_register(mode) ? joined(load_block(run.reg)) : 0;
    Block r = parted(reg);
    Vector v[count];
    load_step(v, mode, r, run, run.blocks);
    rounds(tables, schedule, decrypts(mode), v, &claim, nullptr);
    if (!claim.holds()) return false;
    r = parted(reg);
    finish_step(v, mode, r, run, run.blocks);
    if (has_register(mode)) store_register(run.reg, r);
    return true;
}

/** Performs the rounds of one block, in the first words of two registers, for chained modes. */
struct OneBlock {
    const Tables& tables;
    const Schedule& schedule;

    /** Performs the rounds with one of the orders of key words, and the XOR with `next`. */
    template <const auto& order>
    [[gnu::always_inline]] Block run(Block b, Block next = {0, 0}) const {
        __m128i n1 = _mm_ror_epi32(_mm_cvtsi32_si128(static_cast<int>(b.n1)), 11);
        __m128i n2 = _mm_ror_epi32(_mm_cvtsi32_si128(static_cast<int>(b.n2)), 11);
#pragma GCC unroll 1
        for (unsigned pass = 0; pass < order.size() / VRX_KEY_WORDS; ++pass) {
            const std::uint32_t* const words = schedule.pass(pass, backward<order>);
#pragma GCC unroll 4
            for (unsigned k = 0; k < VRX_KEY_WORDS; k += 2) {
                n2 = round(n2, n1, words[k]);
                n1 = round(n1, n2, words[k + 1]);
            }
        }
        return Block{word(n1), word(n2)} ^ next;
    }

private:
    static std::uint32_t word(__m128i rotated) {
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_rol_epi32(rotated, 11)));
    }
    [[gnu::always_inline]] static __m128i looked_up(__m512i table, __m128i index) {
        return _mm512_castsi512_si128(_mm512_permutexvar_epi8(_mm512_castsi128_si512(index), table));
    }

    /** Performs a round as explained at rounds(). */
    [[gnu::always_inline]] __m128i round(__m128i half, __m128i other, std::uint32_t key) const {
        const __m128i nibbles = _mm_set1_epi32(0x0f0f0f0f);
        const __m128i places = _mm_set1_epi32(0x30201000);
        const __m128i t = _mm_add_epi32(_mm_rol_epi32(other, 11), _mm_set1_epi32(static_cast<int>(key)));
        const __m128i even = _mm_ternarylogic_epi32(t, nibbles, places, and_or);
        const __m128i odd = _mm_ternarylogic_epi32(_mm_srli_epi32(t, 4), nibbles, places, and_or);
        return _mm_ternarylogic_epi32(half, looked_up(tables.even, even), looked_up(tables.odd, odd), exclusive_or);
    }
};

}  // namespace

#ifndef VRX_CONSTANT_TIME
void chain_permutes(Mode mode, const Run& run) noexcept {
    Tables tables;
    if (!find_tables(run.cipher.table, tz::built_in_sboxes(run.cipher.table), tables)) return chain_bmi(mode, run);
    const Schedule schedule(run.cipher.key);
    chain_blocks(OneBlock{tables, schedule}, mode, run);
}
#else
void chain_permutes(Mode mode, const Run& run) noexcept {
    Tables tables;
    if (!find_tables(run.cipher.table, tz::built_in_sboxes(run.cipher.table), tables))
        return chain_scan_table(mode, run);
    secret_work<depth::lanes>([&] {
        const Schedule schedule(run.cipher.key);
        const OneBlock rounds{tables, schedule};
        in_order(mode, run, BlockBy<OneBlock>{rounds});
    });
}

bool permute_in_order(Mode mode, const Run& run) noexcept {
    chain_permutes(mode, run);
    return true;
}
#endif

bool permute_words(Mode mode, const Run& run) noexcept {
    const tz::SBoxes* const known = tz::built_in_sboxes(run.cipher.table);
    if (run.blocks <= 32 && known == nullptr)
        return run.blocks <= 16 ? claimed_step<2>(mode, run) : claimed_step<4>(mode, run);
    Tables tables;
    if (!find_tables(run.cipher.table, known, tables)) return false;
    const Schedule schedule(run.cipher.key);
    in_steps<16, 8, 4, 2>(Permutes{tables, schedule, decrypts(mode)}, mode, run);
    return true;
}

bool permute_sections(Mode mode, const Run& run, std::uint32_t* key) noexcept {
    Tables tables;
    if (!find_tables(run.cipher.table, tz::built_in_sboxes(run.cipher.table), tables)) return false;
    Schedule schedule(run.cipher.key);
    Schedule next(run.cipher.key);
    Block reg = load_block(run.reg);
    // The first two meshings cannot be computed together with a section. The first one computes K(1), and the second
    // one computes E(K(1), register) and K(2).
    const auto mesh_alone = [&](Schedule& to, Block& r) {
        Meshing meshing(schedule, reg);
        Vector nothing[2] = {};
        rounds(tables, schedule, false, nothing, nullptr, &meshing);
        meshing.finish(to, r);
    };
    Block unused;
    mesh_alone(next, unused);
    schedule.set(next);
    mesh_alone(next, reg);
    for (Run rest = run;;) {
        const Block end = mode == Mode::counter    ? step_counter(reg, section_blocks)
                          : keeps_ciphertext(mode) ? load_block(rest.in + VRX_MESHING_SECTION - VRX_BLOCK_SIZE)
                                                   : reg;
        Meshing meshing(next, end);
        std::uint64_t words = joined(reg);
        step<16>(MeshingPermutes{tables, schedule, decrypts(mode), meshing}, mode, words, rest, section_blocks);
        reg = parted(words);
        rest.skip(section_blocks);
        if (rest.blocks == 0) break;
        schedule.set(next);
        meshing.finish(next, reg);
    }
    schedule.store(key);
    store_register(run.reg, reg);
    return true;
}

}  // namespace vrx::gost28147

#include "frame/region_end.hpp"

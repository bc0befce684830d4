// Common parts of the proofs of the cipher's vector engines: blocks in vectors, sums of planes, counters.
//
// Include this before the engine's source, because the translated source calls prove_sum().
#ifndef VRX_TESTS_PROVE_PLANES_HPP
#define VRX_TESTS_PROVE_PLANES_HPP

#include "prove/blocks.hpp"

namespace vrx::prove {

template <typename Vector>
Word32 word_at(const Vector& v, unsigned i) {
    Word32 r;
    std::copy_n(v.v.byte + 4 * i, 4, r.byte);
    return r;
}

/** Returns 1 if each block in the vectors `out` is the result of the standard's rounds for the block in `in`. */
template <unsigned per_vector, typename Vector, std::size_t count, typename Function>
Bit are_processed(const Vector (&in)[count], const Vector (&out)[count], const UnknownKey& key,
                  const Function& function, bool decrypting) {
    Bit all = one;
    for (std::size_t v = 0; v < count; ++v)
        for (unsigned b = 0; b < per_vector; ++b) {
            const auto expected =
                rounds_of_standard({word_at(in[v], 2 * b), word_at(in[v], 2 * b + 1)}, key.word, function, decrypting);
            all = conjunction(all, same(word_at(out[v], 2 * b), expected.n1));
            all = conjunction(all, same(word_at(out[v], 2 * b + 1), expected.n2));
        }
    return all;
}

/** Fills vectors with unknown blocks. */
template <unsigned per_vector, typename Vector, std::size_t count>
void fill(Vector (&v)[count]) {
    for (Vector& each : v)
        for (unsigned i = 0; i < 8 * per_vector; ++i) each.v.byte[i] = U<8>::unknown().byte[0];
}

/** Returns word i of four planes. */
template <typename Plane>
Word32 word_of_planes(const Plane* planes, unsigned i) {
    Word32 r;
    for (unsigned k = 0; k < 4; ++k) r.byte[k] = planes[k].v.byte[i];
    return r;
}

/**
 * Computes the sum that replaces a sum of planes: see prove_sum(). If it is empty, the sums are those that the engine
 * computes.
 */
inline std::function<Word32(const void* planes_of_key, const Word32& x)> sum_of_words;

}  // namespace vrx::prove

/**
 * The engine calls this after it has computed a sum t = x + K of planes. The function replaces t by the same sum,
 * computed from whole words. A separate theorem states that the two are equal.
 */
template <typename Plane, typename KeyWord>
void prove_sum(Plane (&t)[4], const Plane* x, const KeyWord& key) {
    using namespace vrx::prove;
    if (!sum_of_words) return;
    for (unsigned i = 0; i < sizeof t[0] / sizeof(Byte); ++i) {
        const Word32 sum = sum_of_words(&key, word_of_planes(x, i));
        for (unsigned k = 0; k < 4; ++k) t[k].v.byte[i] = sum.byte[k];
    }
}

#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/planes.hpp"

namespace vrx::prove {

/**
 * The theorem is proved for the first place of the planes, because each place of the result depends only on the same
 * place of the operands. It is proved for the first word of a key, and the function checks that the planes of each
 * other word are those of a key that begins with this word.
 */
template <typename Plane>
void prove_sum_of_planes(const std::string& engine) {
    circuit_theorem(engine + ": a sum of planes is that of words", 40, [&] {
        const UnknownKey key;
        const gost28147::KeyPlanes<Plane> planes{gost28147::Key(key.word)};
        Plane x[4], t[4];
        for (Plane& p : x)
            for (unsigned i = 0; i < sizeof p / sizeof(Byte); ++i) p.v.byte[i] = i == 0 ? U<8>::unknown().byte[0] : 0;
        gost28147::add(t, x, planes.of_round(0, false));
        const Bit is_sum = same(word_of_planes(t, 0), word_of_planes(x, 0) + key.word[0]);
        for (unsigned i = 1; i < 8; ++i) {
            const Word32 others[8] = {key.word[i]};
            const gost28147::KeyPlanes<Plane> first{gost28147::Key(others)};
            if (std::memcmp(&first.of_round(0, false), &planes.of_round(i, false), sizeof first.of_round(0, false)) !=
                0)
                return zero;
        }
        return is_sum;
    });
}

/**
 * Proves that run(vectors, key, S-boxes or tables) performs the 32 rounds on 8 vectors, if sums of planes are sums of
 * words.
 */
template <unsigned per_vector, typename Plane, typename Vector, typename Function, typename Run>
void prove_planes(const std::string& engine, bool decrypting, const Run& run) {
    circuit_theorem(engine + ", 8 vectors: " + (decrypting ? "D" : "E"), 2000, [&] {
        circuit::keep_tables_closed();
        const Function function;
        const UnknownKey key;
        const gost28147::KeyPlanes<Plane> planes{gost28147::Key(key.word)};
        sum_of_words = [&](const void* planes_of_key, const Word32& x) {
            for (unsigned i = 0; i < 8; ++i)
                if (planes_of_key == &planes.of_round(i, false)) return x + key.word[i];
            throw "planes of no word of the key";
        };
        Vector in[8], out[8];
        fill<per_vector>(in);
        std::copy_n(in, 8, out);
        run(out, planes, function);
        sum_of_words = nullptr;
        return are_processed<per_vector>(in, out, key, function, decrypting);
    });
}

/**
 * Proves the counters of a step for any content of the library's table of steps from zero: word 0 is a sum modulo 2^32,
 * and word 1 is a sum modulo 2^32 - 1. counter_proof.cpp proves the content of the table.
 */
template <typename Vector>
void prove_counters(const std::string& engine) {
    circuit_theorem(engine + ": counters of a step, for any steps", 2, [&] {
        auto& words = gost28147::counter_steps.words;
        for (unsigned i = 0; i < 2 * Vector::blocks; ++i) words[i] = Word32::unknown();
        const gost28147::Block reg{Word32::unknown(), Word32::unknown()};
        const Vector v = Vector::counters(reg, 0);
        Bit all = one;
        for (unsigned i = 0; i < Vector::blocks; ++i) {
            const U<64> sum = U<64>(reg.n2) + words[2 * i + 1];
            all = conjunction(all, same(word_at(v, 2 * i), reg.n1 + words[2 * i]));
            all = conjunction(all, same(word_at(v, 2 * i + 1), Word32(sum) + Word32(sum >> 32)));
        }
        return all;
    });
}

}  // namespace vrx::prove

#endif

// The parallelizable modes in terms of an engine's rounds: steps of several blocks, and the selection of step sizes.
//
// An engine includes this inside the region of its file that enables its instructions. All functions are templates over
// a type of that file, so the linker cannot share their code with another file. This type, `Rounds`, has a member type
// `Vector` for several blocks, and a function run(v) that encrypts or decrypts an array of vectors.
#ifndef VRX_GOST28147_ENGINE_PARALLEL_HPP
#define VRX_GOST28147_ENGINE_PARALLEL_HPP

#include <algorithm>

#include "gost28147/engine/list.hpp"

namespace vrx::gost28147 {

/**
 * The counters after 1 to 128 steps, starting from 0. The sum of a counter and entry n - 1 is the counter after n more
 * steps.
 */
struct CounterSteps {
    alignas(64) std::uint32_t words[2 * widest_step];
};
inline constexpr CounterSteps counter_steps = [] {
    CounterSteps steps{};
    for (std::size_t i = 0; i < widest_step; ++i) {
        const Block b = step_counter({0, 0}, i + 1);
        steps.words[2 * i] = b.n1;
        steps.words[2 * i + 1] = b.n2;
    }
    return steps;
}();

/**
 * offset() is the distance of vector i from the beginning of the run. left() is the number of blocks from vector i to
 * the end, which a partial vector loads or stores.
 */
template <typename Vector>
constexpr std::size_t offset(std::size_t i) {
    return i * Vector::blocks * VRX_BLOCK_SIZE;
}
template <typename Vector>
constexpr std::ptrdiff_t left(std::size_t blocks, std::size_t i) {
    return static_cast<std::ptrdiff_t>(blocks - i * Vector::blocks);
}

/**
 * input() loads input vector i. earlier_input() loads the vector that starts one block earlier, where the register
 * precedes the first block.
 */
template <typename Vector>
[[gnu::always_inline]] inline Vector input(const Run& run, std::size_t blocks, std::size_t i) {
    return Vector::load(run.in + offset<Vector>(i), left<Vector>(blocks, i));
}
template <typename Vector>
[[gnu::always_inline]] inline Vector earlier_input(const Run& run, const Block& reg, std::size_t blocks,
                                                   std::size_t i) {
    return i == 0 ? Vector::load_after(reg, run.in, left<Vector>(blocks, i))
                  : Vector::load(run.in + offset<Vector>(i) - VRX_BLOCK_SIZE, left<Vector>(blocks, i));
}

/**
 * A step computes C(X) ^ Y for the first `blocks` blocks of a run, which fit in `count` vectors:
 *
 *     codebook         X = input                        Y = 0
 *     CBC decryption   X = input                        Y = input one block earlier
 *     counter          X = register + 1, + 2, ...       Y = input
 *     CFB decryption   X = input one block earlier      Y = input
 *
 * load_step() computes X. finish_step() receives C(X), updates the register and writes the output. All input is read
 * before the first byte is written.
 */
template <typename Vector, std::size_t count>
[[gnu::always_inline]] inline void load_step(Vector (&v)[count], Mode mode, const Block& reg, const Run& run,
                                             std::size_t blocks) {
    if (mode == Mode::counter) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = Vector::counters(reg, i * Vector::blocks);
    } else if (mode == Mode::cfb_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = earlier_input<Vector>(run, reg, blocks, i);
    } else {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = input<Vector>(run, blocks, i);
    }
}

template <typename Vector, std::size_t count>
[[gnu::always_inline]] inline void finish_step(Vector (&v)[count], Mode mode, Block& reg, const Run& run,
                                               std::size_t blocks) {
    if (mode == Mode::counter || mode == Mode::cfb_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] ^= input<Vector>(run, blocks, i);
    } else if (mode == Mode::cbc_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] ^= earlier_input<Vector>(run, reg, blocks, i);
    }
    if (mode == Mode::counter)
        reg = step_counter(reg, blocks);
    else if (keeps_ciphertext(mode))
        reg = load_block(run.in + (blocks - 1) * VRX_BLOCK_SIZE);

#pragma GCC unroll 16
    for (std::size_t i = 0; i < count; ++i) v[i].store(run.out + offset<Vector>(i), left<Vector>(blocks, i));
}

/**
 * Performs one step. Between steps, the register is stored as one 64-bit word. If it were two words in memory, a
 * compiler might load both words at once, which would prevent store forwarding.
 */
template <std::size_t count, typename Rounds>
[[gnu::always_inline]] inline void step(const Rounds& rounds, Mode mode, std::uint64_t& reg, const Run& run,
                                        std::size_t blocks) {
    typename Rounds::Vector v[count];
    Block r = parted(reg);
    load_step(v, mode, r, run, blocks);
    rounds.run(v);
    finish_step(v, mode, r, run, blocks);
    reg = joined(r);
}

/** The first of a list of step sizes, or 0 if the list is empty. */
template <std::size_t size = 0, std::size_t...>
inline constexpr std::size_t first_of = size;

/** Processes the remaining blocks with partial vectors, in one step of the smallest size that is large enough. */
template <std::size_t count, std::size_t... smaller, typename Rounds>
[[gnu::always_inline]] inline void last_step(const Rounds& rounds, Mode mode, std::uint64_t& reg, const Run& rest) {
    if (rest.blocks > first_of<smaller...> * Rounds::Vector::blocks)
        step<count>(rounds, mode, reg, rest, rest.blocks);
    else if constexpr (sizeof...(smaller) != 0)
        last_step<smaller...>(rounds, mode, reg, rest);
}

/** Performs full steps of `count` vectors as long as possible, and then smaller steps. */
template <std::size_t count, std::size_t... smaller, typename Rounds>
[[gnu::always_inline]] inline void full_steps(const Rounds& rounds, Mode mode, std::uint64_t& reg, Run& rest) {
    constexpr std::size_t full = count * Rounds::Vector::blocks;
    for (; rest.blocks >= full; rest.skip(full)) step<count>(rounds, mode, reg, rest, full);
    if constexpr (sizeof...(smaller) != 0) full_steps<smaller...>(rounds, mode, reg, rest);
}

/**
 * Processes a run in steps of the given numbers of vectors, the widest first. The register is loaded before the first
 * step and stored after the last step.
 *
 * @return the part of the run that is left: no blocks if Vector supports partial vectors; otherwise, fewer blocks than
 *         the smallest step.
 */
template <std::size_t count, std::size_t... smaller, typename Rounds>
[[gnu::always_inline]] inline Run in_steps(const Rounds& rounds, Mode mode, const Run& run) {
    using Vector = typename Rounds::Vector;
    std::uint64_t reg = has_register(mode) ? joined(load_block(run.reg)) : 0;
    Run rest = run;
    if constexpr (Vector::partial) {
        // Perform a step of this size, which may be partial, as long as the remaining blocks do not fit in the next
        // smaller step.
        for (std::size_t n; rest.blocks > first_of<smaller...> * Vector::blocks; rest.skip(n)) {
            n = std::min(rest.blocks, count * Vector::blocks);
            step<count>(rounds, mode, reg, rest, n);
        }
        last_step<smaller...>(rounds, mode, reg, rest);
    } else {
        full_steps<count, smaller...>(rounds, mode, reg, rest);
    }
    if (has_register(mode)) store_register(run.reg, parted(reg));
    return rest;
}

}  // namespace vrx::gost28147

#endif

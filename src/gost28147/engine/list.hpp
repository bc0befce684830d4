// Engines: whole buffers at a time, each engine in a file of its own.
#ifndef VRX_GOST28147_ENGINE_LIST_HPP
#define VRX_GOST28147_ENGINE_LIST_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "frame/wipe.hpp"
#include "gost28147/bulk.hpp"

namespace vrx::gost28147 {

constexpr bool decrypts(Mode mode) { return mode == Mode::ecb_decrypt || mode == Mode::cbc_decrypt; }
constexpr bool has_register(Mode mode) { return mode > Mode::ecb_decrypt; }
/** The register becomes the last ciphertext block. */
constexpr bool chains(Mode mode) { return mode == Mode::cbc_decrypt || mode == Mode::cfb_decrypt; }

/** The modes in which each block waits for the one before it. */
enum class Chain { cbc_encrypt, cfb_encrypt, mac };

/** A run of blocks. `reg` is the chaining value, counter, feedback or MAC state; the codebook has none. */
struct Run {
    const vrx_tz& table;
    Key key;
    std::uint8_t* reg;
    const std::uint8_t* in;
    std::uint8_t* out;
    std::size_t blocks;

    void skip(std::size_t n) {
        in += n * VRX_BLOCK_SIZE;
        out += n * VRX_BLOCK_SIZE;
        blocks -= n;
    }
};

/**
 * Both words in one store: the next call may load them together, and would wait for two stores to leave the processor
 * where it can look into one.
 */
inline void store_register(std::uint8_t* reg, Block b) {
    const std::uint64_t words = std::uint64_t{b.n2} << 32 | b.n1;
    std::memcpy(reg, &words, sizeof words);
}

/** How an engine did its substitutions: tests ask. The bytes are the same. */
enum class Way {
    lookups,       // four table look-ups a round
    byte_planes,   // shuffles of planes of bytes
    byte_permutes  // permutes of the bytes of words
};

struct Engine : cpu::EngineInfo {
    /** `out` is `in`, lies before it, or at least widest_step blocks behind it. */
    Way (*parallel)(Mode mode, const Run& run) noexcept;
    /** Sections of 128 blocks; before each, `key` and the register are meshed. `out` as above. */
    Way (*sections)(Mode mode, const Run& run, std::uint32_t* key) noexcept;
    /** `out` is anywhere; the MAC has none. */
    void (*chain)(Chain mode, const Run& run) noexcept;
};

/** No engine reads more blocks than these before it writes the first of them. */
inline constexpr std::size_t widest_step = 128;

Way parallel_lookups(Mode mode, const Run& run) noexcept;
Way parallel_avx2(Mode mode, const Run& run) noexcept;
Way parallel_vbmi_any(Mode mode, const Run& run) noexcept;
Way parallel_vbmi(Mode mode, const Run& run) noexcept;
Way sections_alone(Mode mode, const Run& run, std::uint32_t* key) noexcept;
Way sections_vbmi(Mode mode, const Run& run, std::uint32_t* key) noexcept;
void chain_baseline(Chain mode, const Run& run) noexcept;
void chain_bmi(Chain mode, const Run& run) noexcept;

inline constexpr std::array<Engine, 3> engines{{
    {cpu::named(cpu::cipher_engines, "vbmi"), parallel_vbmi, sections_vbmi, chain_bmi},
    {cpu::named(cpu::cipher_engines, "avx2"), parallel_avx2, sections_alone, chain_bmi},
    {cpu::named(cpu::cipher_engines, "baseline"), parallel_lookups, sections_alone, chain_baseline},
}};

extern cpu::Choice<engines> choice;
/** The engine that runs. */
inline const Engine& engine() noexcept { return choice(); }

/** The key words of eight rounds in the order of a pass and in the opposite order; four passes are the 32 rounds. */
class Schedule {
public:
    explicit Schedule(Key key) { set(key); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
    ~Schedule() { wipe(this, sizeof *this); }

    void set(Key key) {
        for (unsigned i = 0; i < VRX_KEY_WORDS; ++i) forward_[i] = backward_[VRX_KEY_WORDS - 1 - i] = key[i];
    }
    void set(const Schedule& other) { set(Key(other.forward_)); }
    void store(std::uint32_t* words) const { std::memcpy(words, forward_, sizeof forward_); }

    /** The words of pass 0 to 3. Encryption turns the order round before its last pass, decryption after its first. */
    [[nodiscard]] const std::uint32_t* pass(unsigned number, bool decrypting) const {
        return number < (decrypting ? 1U : 3U) ? forward_ : backward_;
    }

private:
    std::uint32_t forward_[VRX_KEY_WORDS];
    std::uint32_t backward_[VRX_KEY_WORDS];
};

/**
 * The counter after n > 0 steps. Word 1 is a sum modulo 2^32 - 1 that is never 0: the carries out of 32 bits are added
 * until none is left. n is less than 2^32.
 */
constexpr Block stepped_counter(Block c, std::uint64_t n) {
    std::uint64_t n2 = c.n2 + n * 0x01010104U;
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    return {c.n1 + static_cast<std::uint32_t>(n) * 0x01010101U, static_cast<std::uint32_t>(n2)};
}

/** 1 to 128 steps from the counter 0: the counter after n more steps is the sum with entry n - 1. */
struct CounterSteps {
    alignas(64) std::uint32_t words[2 * widest_step];
};
inline constexpr CounterSteps counter_steps = [] {
    CounterSteps steps{};
    for (std::size_t i = 0; i < widest_step; ++i) {
        const Block b = stepped_counter({0, 0}, i + 1);
        steps.words[2 * i] = b.n1;
        steps.words[2 * i + 1] = b.n2;
    }
    return steps;
}();

}  // namespace vrx::gost28147

#endif

// Engines of the step function, each in a file of its own.
#ifndef VRX_GOSTR3411_ENGINE_HPP
#define VRX_GOSTR3411_ENGINE_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/cpu.hpp"
#include "gostr3411/step.hpp"
#include "tz/sboxes.hpp"

namespace vrx::gostr3411 {

class Substitution;

/** Takes in blocks, a step each. Working values are left on the stack. */
using Steps = void (*)(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;

struct Engine {
    const char* name;
    /** The instructions that it consists of. */
    std::uint32_t needs;
    /** What a processor must offer besides for the engine to be the best choice. */
    std::uint32_t wants;
    /** Looks at the table, once for all steps. @return what runs them */
    Steps (*prepare)(Substitution& s) noexcept;

    [[nodiscard]] constexpr std::uint32_t suits() const { return needs | wants; }
};

/** The one that runs: the best that this processor offers. */
const Engine& engine() noexcept;
/** For tests and benchmarks: run this one from now on. */
void use(const Engine& other) noexcept;

/** A table as an engine reads it. It is looked at once a call, and must then stay as it is. */
class Substitution {
public:
    explicit Substitution(const vrx_tz& t) : table(t), steps_(engine().prepare(*this)) {}
    Substitution(const Substitution&) = delete;
    Substitution& operator=(const Substitution&) = delete;

    /** h = f(... f(h, first block) ..., last block) */
    void steps(Number& h, const std::uint8_t* blocks, std::size_t count) const { steps_(h, blocks, count, *this); }
    /** Which of them runs: tests ask. */
    [[nodiscard]] Steps way() const { return steps_; }

    const vrx_tz& table;
    /** Where an engine found S-boxes: the library's own, or in `found`. */
    const tz::SBoxes* sboxes = nullptr;
    tz::SBoxes found;
    /** The library's own table for three look-ups, where an engine found it to fit. */
    const tz::Wide* wide = nullptr;

private:
    Steps steps_;
};

void steps_baseline(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_avx2(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_avx2_wide(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_vbmi(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;

Steps prepare_baseline(Substitution& s) noexcept;
Steps prepare_avx2(Substitution& s) noexcept;
Steps prepare_avx2_wide(Substitution& s) noexcept;
Steps prepare_vbmi(Substitution& s) noexcept;

inline constexpr std::uint32_t avx2_features = cpu::avx2 | cpu::bmi1;
inline constexpr std::uint32_t vbmi_features =
    avx2_features | cpu::bmi2 | cpu::avx512f | cpu::avx512bw | cpu::avx512vl | cpu::avx512vbmi;

/** Best first; the last one runs everywhere. */
inline constexpr std::array<Engine, 4> engines{{
    // One chain of 32 rounds on vectors: where each of its instructions takes two cycles, four chains of look-ups in
    // the other registers are faster.
    {"vbmi", vbmi_features, cpu::prompt_vectors, prepare_vbmi},
    // Built-in tables as 33 KiB, for fewer look-ups: they have to stay in the cache.
    {"avx2_wide", avx2_features, cpu::large_l1, prepare_avx2_wide},
    {"avx2", avx2_features, cpu::baseline, prepare_avx2},
    {"baseline", cpu::baseline, cpu::baseline, prepare_baseline},
}};

}  // namespace vrx::gostr3411

#endif

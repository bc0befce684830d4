// The engines of the step function, and the choice of one.
#ifndef VRX_GOSTR3411_ENGINE_HPP
#define VRX_GOSTR3411_ENGINE_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "gostr3411/step.hpp"
#include "gostr3411/wide_table.hpp"
#include "tz/sboxes.hpp"

namespace vrx::gostr3411 {

class Substitution;

/** Absorbs blocks, one step each. Leaves working values on the stack. */
using Steps = void (*)(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;

Steps prepare_baseline(Substitution& s) noexcept;
Steps prepare_avx2(Substitution& s) noexcept;
Steps prepare_avx2_wide(Substitution& s) noexcept;
Steps prepare_vbmi(Substitution& s) noexcept;

struct Engine : cpu::EngineInfo {
    /** Inspects the table, once for all steps. @return the function that runs the steps */
    Steps (*prepare)(Substitution& s) noexcept;
};

#ifndef VRX_CONSTANT_TIME

inline constexpr std::array<Engine, 4> engines{{
    {cpu::named(cpu::hash_engines, "vbmi"), prepare_vbmi},
    {cpu::named(cpu::hash_engines, "avx2_wide"), prepare_avx2_wide},
    {cpu::named(cpu::hash_engines, "avx2"), prepare_avx2},
    {cpu::named(cpu::hash_engines, "baseline"), prepare_baseline},
}};

#else

// In these engines, no address depends on a secret.

Steps prepare_ssse3(Substitution& s) noexcept;
Steps prepare_scan(Substitution& s) noexcept;

inline constexpr std::array<Engine, 3> engines{{
    {cpu::named(cpu::hash_engines, "vbmi"), prepare_vbmi},
    {cpu::named(cpu::hash_engines, "ssse3"), prepare_ssse3},
    {cpu::named(cpu::hash_engines, "baseline"), prepare_scan},
}};

#endif

extern cpu::Choice<engines> choice;
/** The engine that runs. */
inline const Engine& engine() noexcept { return choice(); }

/** A table as an engine reads it. The engine inspects it once a call, so it must not change during the call. */
class Substitution {
public:
    explicit Substitution(const vrx_tz& t) : table(t), steps_(engine().prepare(*this)) {}
    Substitution(const Substitution&) = delete;
    Substitution& operator=(const Substitution&) = delete;

    /** h = f(... f(h, first block) ..., last block) */
    void steps(Uint256& h, const std::uint8_t* blocks, std::size_t count) const { steps_(h, blocks, count, *this); }
    /** The function that runs, for tests. */
    [[nodiscard]] Steps way() const { return steps_; }

    const vrx_tz& table;
    /** The S-boxes that an engine found: the library's own, or those in `found`. */
    const tz::SBoxes* sboxes = nullptr;
    tz::SBoxes found;
    /** The library's own table for three look-ups, if it is equivalent. */
    const WideTable* wide = nullptr;

private:
    Steps steps_;
};

void steps_baseline(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_avx2(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_avx2_wide(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_vbmi(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_ssse3(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_scan(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;
void steps_scan_table(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;

}  // namespace vrx::gostr3411

#endif

// The engines of the step function. The library selects one of them.
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

/** Processes blocks, one step for each block. Leaves working values on the stack. */
using Steps = void (*)(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept;

Steps prepare_baseline(Substitution& s) noexcept;
Steps prepare_avx2(Substitution& s) noexcept;
Steps prepare_avx2_wide(Substitution& s) noexcept;
Steps prepare_vbmi(Substitution& s) noexcept;

struct Engine : cpu::EngineInfo {
    /** Inspects the table once for all steps. @return the function that performs the steps */
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
/** Returns the selected engine. */
inline const Engine& engine() noexcept { return choice(); }

/**
 * A table in the form that the engine reads. The engine inspects the table once for each call of the library, so the
 * table must not change during the call.
 */
class Substitution {
public:
    explicit Substitution(const vrx_tz& t) : table(t), steps_(engine().prepare(*this)) {}
    Substitution(const Substitution&) = delete;
    Substitution& operator=(const Substitution&) = delete;

    /** Computes h = f(... f(h, first block) ..., last block). */
    void steps(Uint256& h, const std::uint8_t* blocks, std::size_t count) const { steps_(h, blocks, count, *this); }
    /** Returns the function that performs the steps. For tests. */
    [[nodiscard]] Steps way() const { return steps_; }

    const vrx_tz& table;
    /** The S-boxes of the table: nullptr, the library's own S-boxes, or `found`. */
    const tz::SBoxes* sboxes = nullptr;
    tz::SBoxes found;
    /** The built-in table for three look-ups that is equivalent to `table`; nullptr if there is none. */
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

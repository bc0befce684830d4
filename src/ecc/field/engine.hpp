// Multiples of points of the four curves, by the fastest engine that the processor runs.
//
// Scalars and points that are multiplied are secret: no branch and no address depends on them. What an engine leaves on
// the stack is not wiped; that is the caller's (see multiple_stack). All numbers are plain, k and z from 1 to q - 1,
// points on the curve.
#ifndef VRX_ECC_FIELD_ENGINE_HPP
#define VRX_ECC_FIELD_ENGINE_HPP

#include "ecc/field/points.hpp"
#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx::field {

struct Engine : cpu::EngineInfo {
    /** r = k G. False where the formulas do not cover k, and r is then nothing. */
    bool (*multiply_base)(CurveId curve, const Words& k, AffinePoint& r);

    /** r = k Q, as above. */
    bool (*multiply)(CurveId curve, const Words& k, const AffinePoint& q, AffinePoint& r);

    /** Whether x(z1 G + z2 Q) mod q = r, for 0 < r < q; z1 may be 0. Everything is public. */
    Answer (*sum_has_remainder)(CurveId curve, const Words& z1, const Words& z2, const AffinePoint& q, const Words& r);
};

extern const Engine engine_ifma;
extern const Engine engine_adx;
extern const Engine engine_words;

inline constexpr const Engine* engines[] = {&engine_ifma, &engine_adx, &engine_words};

extern cpu::Choice<engines> choice;
/** The engine that runs. */
inline const Engine& engine() noexcept { return choice(); }

}  // namespace vrx::field

#endif

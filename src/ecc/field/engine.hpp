// The engines for point multiplication on the four curves. The library selects the fastest one that this CPU supports.
//
// The engines are constant-time in scalars and points. Numbers are not in Montgomery form, k and z are from 1 to q - 1,
// and points are on the curve. Engines do not erase the stack; their callers do (see depth::curves).
#ifndef VRX_ECC_FIELD_ENGINE_HPP
#define VRX_ECC_FIELD_ENGINE_HPP

#include "ecc/field/points.hpp"
#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx::field {

struct Engine : cpu::EngineInfo {
    /** Computes r = k G. Returns false if the formulas cannot handle k; r is then undefined. */
    bool (*multiply_base)(CurveId curve, const Words& k, AffinePoint& r);

    /** Computes r = k Q. Returns false if the formulas cannot handle k and Q; r is then undefined. */
    bool (*multiply)(CurveId curve, const Words& k, const AffinePoint& q, AffinePoint& r);

    /** True if x(z1 G + z2 Q) mod q = r, for 0 < r < q. z1 may be 0. For public operands: not constant-time. */
    Answer (*sum_has_remainder)(CurveId curve, const Words& z1, const Words& z2, const AffinePoint& q, const Words& r);
};

extern const Engine engine_ifma;
extern const Engine engine_adx;
extern const Engine engine_words;

inline constexpr const Engine* engines[] = {&engine_ifma, &engine_adx, &engine_words};

extern cpu::Choice<engines> choice;
/** The engine in use. */
inline const Engine& engine() noexcept { return choice(); }

}  // namespace vrx::field

#endif

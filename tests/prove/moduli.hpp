// The built-in moduli: p and q of every curve, as types for typed tests.
//
// Include this after the names that translate.py inserts have been defined.
#ifndef VRX_TESTS_PROVE_MODULI_HPP
#define VRX_TESTS_PROVE_MODULI_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "prove/integers.hpp"

#include "ecc/field/curves.hpp"

namespace vrx::prove {

template <typename Curve>
inline constexpr char letter = '?';
template <>
inline constexpr char letter<field::CurveTest> = 'T';
template <>
inline constexpr char letter<field::CurveA> = 'A';
template <>
inline constexpr char letter<field::CurveB> = 'B';
template <>
inline constexpr char letter<field::CurveC> = 'C';

template <typename Curve, bool is_order>
struct ModulusOf {
    static constexpr auto modulus = [] {
        if constexpr (is_order)
            return Curve::q;
        else
            return Curve::Field::modulus;
    }();
    static std::string name() {
        return std::string(is_order ? "q of " : "p of ") +
               (letter<Curve> == 'T' ? "Test" : std::string(1, letter<Curve>));
    }
};
using Moduli =
    testing::Types<ModulusOf<field::CurveTest, false>, ModulusOf<field::CurveA, false>, ModulusOf<field::CurveB, false>,
                   ModulusOf<field::CurveC, false>, ModulusOf<field::CurveTest, true>, ModulusOf<field::CurveA, true>,
                   ModulusOf<field::CurveB, true>, ModulusOf<field::CurveC, true>>;
struct ModulusNames {
    template <typename Modulus>
    static std::string GetName(int /*index*/) {
        std::string r = Modulus::name();
        std::replace(r.begin(), r.end(), ' ', '_');
        return r;
    }
};

}  // namespace vrx::prove

#endif

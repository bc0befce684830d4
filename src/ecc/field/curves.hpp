// Compile-time constants of the four curves of RFC 4357, section 11.4. XchA has the curve of A, XchB that of C.
#ifndef VRX_ECC_FIELD_CURVES_HPP
#define VRX_ECC_FIELD_CURVES_HPP

#include "ecc/field/modulus.hpp"

namespace vrx::field {

enum class CurveId : std::uint8_t { test, a, b, c };

/**
 * y^2 = x^3 + a x + b over Field, with a small a. The base point (x, y) has the prime order q. The constants are plain
 * numbers, not field elements.
 */
struct CurveTest {
    static constexpr CurveId id = CurveId::test;
    using Field = PseudoMersennePlus<0x431>;
    static constexpr int a = 7;
    static constexpr Words b = {0x514C0CE9DAE23B7E, 0x563F6E6A3472FC2A, 0x39B8E022FBAFEF40, 0x5FBFF498AA938CE7};
    static constexpr Words q = {0xC59CFC193ACCF5B3, 0x50FE8A1892976154, 0x0000000000000001, 0x8000000000000000};
    static constexpr Words x = {0x0000000000000002, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words y = {0x2B96ABBCEA7E8FC8, 0x85C97F0A9CA26712, 0xBD6316030E16D19C, 0x08E2A8A0E65147D4};
};

struct CurveA {
    static constexpr CurveId id = CurveId::a;
    using Field = PseudoMersenneMinus<617>;
    static constexpr int a = -3;
    static constexpr Words b = {0x00000000000000A6, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words q = {0x45841B09B761B893, 0x6C611070995AD100, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF};
    static constexpr Words x = {0x0000000000000001, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words y = {0x22ACC99C9E9F1E14, 0x35294F2DDF23E3B1, 0x27DF505A453F2B76, 0x8D91E471E0989CDA};
};

struct CurveB {
    static constexpr CurveId id = CurveId::b;
    using Field = PseudoMersennePlus<0xC99>;
    static constexpr int a = -3;
    static constexpr Words b = {0x2F49D4CE7E1BBC8B, 0xE979259373FF2B18, 0x66A7D3C25C3DF80A, 0x3E1AF419A269A5F8};
    static constexpr Words q = {0xE497161BCC8A198F, 0x5F700CFFF1A624E5, 0x0000000000000001, 0x8000000000000000};
    static constexpr Words x = {0x0000000000000001, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words y = {0x744BF8D717717EFC, 0xC545C9858D03ECFB, 0xB83D1C3EB2C070E5, 0x3FA8124359F96680};
};

struct CurveC {
    static constexpr CurveId id = CurveId::c;
    using Field = Montgomery<Words{0x7998F7B9022D759B, 0xCF846E86789051D3, 0xAB1EC85E6B41C8AA, 0x9B9F605F5A858107}>;
    static constexpr int a = -3;
    static constexpr Words b = {0x000000000000805A, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words q = {0xF02F3A6598980BB9, 0x582CA3511EDDFB74, 0xAB1EC85E6B41C8AA, 0x9B9F605F5A858107};
    static constexpr Words x = {0x0000000000000000, 0x0000000000000000, 0x0000000000000000, 0x0000000000000000};
    static constexpr Words y = {0x366E550DFDB3BB67, 0x4D4DC440D4641A8F, 0x3CBF3783CD08C0EE, 0x41ECE55743711A8C};
};

/** Calls use() with the constants of a curve, such as use(CurveA{}) for CurveId::a. */
template <typename Use>
constexpr auto with_curve(CurveId id, const Use& use) {
    switch (id) {
        case CurveId::test:
            return use(CurveTest{});
        case CurveId::a:
            return use(CurveA{});
        case CurveId::b:
            return use(CurveB{});
        default:
            return use(CurveC{});
    }
}

}  // namespace vrx::field

#endif

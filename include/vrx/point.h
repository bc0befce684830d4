/**
 * @file point.h  Sums of points on the curve of a parameter set.
 *
 * Nothing is checked, neither pointers nor numbers: points may lie off the curve, and coordinates may be p or more. The
 * results are defined by the formulas below and reduced modulo p, except where a point is copied. Where a formula needs
 * the inverse of a number that has none, 0 takes its place.
 *
 * The general rules of curve.h apply; in particular a result may not overlap an operand. Source: RFC 5832, section 5.1.
 *
 * Running times depend on the values: do not use these functions on secrets where an attacker can measure.
 */
#ifndef VRX_POINT_H
#define VRX_POINT_H

#include "vrx/curve.h"

VRX_BEGIN_DECLS

/** The point (x / z^2, y / z^3). x = y = 0 stands for the point at infinity, whatever z is. */
typedef struct EcPointJ {
    uint32_t x[VRX_ECC_DIGITS]; /**< X */
    uint32_t y[VRX_ECC_DIGITS]; /**< Y */
    uint32_t z[VRX_ECC_DIGITS]; /**< Z */
} EcPointJ;

/** @return 1 when P and Q are equal digit for digit (not only modulo p), else 0. */
VRX_API uint32_t epIsEqual(const EcPoint *P, const EcPoint *Q);

/** @return 1 when all digits of P are 0, else 0. */
VRX_API uint32_t epIsZero(const EcPoint *P);

/** Set a point to the point at infinity. @param P  out: the point. @return 0. */
VRX_API uint32_t epSetZero(EcPoint *P);

/** R = P, digit for digit. @return 0. */
VRX_API uint32_t epSetEqual(EcPoint *R, const EcPoint *P);

/** R = P with z = 1; x and y are copied digit for digit. @return 0. */
VRX_API uint32_t epA2J(EcPointJ *R, const EcPoint *P);

/** R = P. For z = 0 modulo p the result is (0, 0). @return 0. */
VRX_API uint32_t epJ2A(EcPoint *R, const EcPointJ *P, const EcParamSet *set);

/**
 * R = 2P, on curves with a = p - 3 only; the a of the set is not read. The point at infinity gives all zeros.
 *
 *     S = 4 X Y^2      M = 3 (X - Z^2)(X + Z^2)
 *     X' = M^2 - 2 S   Y' = M (S - X') - 8 Y^4   Z' = 2 Y Z
 *
 * @return 0.
 */
VRX_API uint32_t epDublJ(EcPointJ *R, const EcPointJ *P, const EcParamSet *set);

/**
 * R = P + Q, for Q not at infinity and not equal to P or -P; otherwise what the formulas give. P at infinity gives Q
 * with z = 1, copied digit for digit. With (X1, Y1, Z1) = P and (x2, y2) = Q:
 *
 *     H = x2 Z1^2 - X1                r = y2 Z1^3 - Y1
 *     X' = r^2 - H^3 - 2 X1 H^2       Y' = r (X1 H^2 - X') - Y1 H^3      Z' = Z1 H
 *
 * @return 0.
 */
VRX_API uint32_t epAddJA(EcPointJ *R, const EcPointJ *P, const EcPoint *Q, const EcParamSet *set);

/**
 * R = P + Q, for Q not equal to P or -P; otherwise what the formulas give. When P is infinity R is Q, and else when Q is
 * infinity R is P, all three coordinates copied digit for digit.
 *
 *     U1 = X1 Z2^2    S1 = Y1 Z2^3    H = X2 Z1^2 - U1    r = Y2 Z1^3 - S1
 *     X' = r^2 - H^3 - 2 U1 H^2       Y' = r (U1 H^2 - X') - S1 H^3      Z' = Z1 Z2 H
 *
 * @return 0.
 */
VRX_API uint32_t epAddJChud(EcPointJ *R, const EcPointJ *P, const EcPointJ *Q, const EcParamSet *set);

/**
 * R = P + Q on the curve of the set, whatever its a is. When Q is infinity R is P, and else when P is infinity R is Q,
 * copied digit for digit. With L the slope:
 *
 *     x1 = x2, digit for digit:  (0, 0) when y1 + y2 = 0 modulo p, else L = (3 x1^2 + a) / (2 y1)
 *     otherwise:                 L = (y2 - y1) / (x2 - x1)
 *     x3 = L^2 - x1 - x2         y3 = L (x1 - x3) - y1
 *
 * The two differences of the second slope are taken before the reduction, as signed numbers of nine digits; that
 * matters to coordinates of 2^287 and more.
 *
 * @return 0.
 */
VRX_API uint32_t epAdd(EcPoint *R, const EcPoint *P, const EcPoint *Q, const EcParamSet *set);

VRX_END_DECLS

#endif

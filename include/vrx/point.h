/**
 * @file point.h  Addition of points on the curve of a parameter set.
 *
 * The functions check nothing, neither pointers nor numbers. Points need not be on the curve, and coordinates may be
 * greater than or equal to p. The formulas below define the results, which are reduced modulo p except where a point is
 * copied. Where a formula needs the inverse of a number that has no inverse, the functions use 0 instead.
 *
 * A result may not overlap an operand. The functions allocate nothing. Any number of threads may share a set as long as
 * no thread changes it.
 *
 * **Warning:** running times depend on the values. Do not use these functions on secrets that an attacker could learn
 * by measuring time.
 *
 * Source: RFC 5832, section 5.1.
 */
#ifndef VRX_POINT_H
#define VRX_POINT_H

#include "vrx/curve.h"

VRX_BEGIN_DECLS

/** A point in Jacobian coordinates: (x / z^2, y / z^3). x = y = 0 is the point at infinity, whatever z is. */
typedef struct EcPointJ {
    uint32_t x[VRX_ECC_DIGITS]; /**< coordinate X */
    uint32_t y[VRX_ECC_DIGITS]; /**< coordinate Y */
    uint32_t z[VRX_ECC_DIGITS]; /**< coordinate Z */
} EcPointJ;

/* ---- Building blocks: points ------------------------------------------------------------------------------------- */

/**
 * Compare two points.
 *
 * @param P  in: a point.
 * @param Q  in: a point.
 * @return 1 if all digits of P and Q are equal, otherwise 0. Coordinates that are equal only modulo p are not equal
 *         here.
 */
VRX_API uint32_t epIsEqual(const EcPoint *P, const EcPoint *Q);

/**
 * Test for the point at infinity.
 *
 * @param P  in: a point.
 * @return 1 if all digits of P are 0, otherwise 0.
 */
VRX_API uint32_t epIsZero(const EcPoint *P);

/**
 * Set a point to the point at infinity.
 *
 * @param P  out: the point.
 * @return always 0.
 */
VRX_API uint32_t epSetZero(EcPoint *P);

/**
 * Copy a point digit for digit: R = P.
 *
 * @param R  out: the copy.
 * @param P  in: a point.
 * @return always 0.
 */
VRX_API uint32_t epSetEqual(EcPoint *R, const EcPoint *P);

/**
 * Convert a point to Jacobian coordinates with z = 1. x and y are copied digit for digit.
 *
 * @param R  out: the converted point.
 * @param P  in: a point.
 * @return always 0.
 */
VRX_API uint32_t epA2J(EcPointJ *R, const EcPoint *P);

/**
 * Convert a point to affine coordinates. If z = 0 modulo p, the result is (0, 0).
 *
 * @param R    out: the converted point.
 * @param P    in: a point.
 * @param set  in: the curve.
 * @return always 0.
 */
VRX_API uint32_t epJ2A(EcPoint *R, const EcPointJ *P, const EcParamSet *set);

/**
 * Double a point on a curve with a = p - 3: R = 2P. The function does not read the a of the set. The double of the
 * point at infinity is all zeros.
 *
 *     S = 4 X Y^2      M = 3 (X - Z^2)(X + Z^2)
 *     X' = M^2 - 2 S   Y' = M (S - X') - 8 Y^4   Z' = 2 Y Z
 *
 * @param R    out: the double.
 * @param P    in: a point.
 * @param set  in: the curve.
 * @return always 0.
 */
VRX_API uint32_t epDublJ(EcPointJ *R, const EcPointJ *P, const EcParamSet *set);

/**
 * Add a Jacobian and an affine point: R = P + Q.
 *
 * Q must not be the point at infinity, P or -P, because the formulas then do not give the sum. If P is the point at
 * infinity, R is Q with z = 1, copied digit for digit. With (X1, Y1, Z1) = P and (x2, y2) = Q:
 *
 *     H = x2 Z1^2 - X1                r = y2 Z1^3 - Y1
 *     X' = r^2 - H^3 - 2 X1 H^2       Y' = r (X1 H^2 - X') - Y1 H^3      Z' = Z1 H
 *
 * @param R    out: the sum.
 * @param P    in: a point.
 * @param Q    in: a point.
 * @param set  in: the curve.
 * @return always 0.
 */
VRX_API uint32_t epAddJA(EcPointJ *R, const EcPointJ *P, const EcPoint *Q, const EcParamSet *set);

/**
 * Add two Jacobian points: R = P + Q.
 *
 * Q must not be P or -P, because the formulas then do not give the sum. If P is the point at infinity, R is Q;
 * otherwise, if Q is the point at infinity, R is P. All three coordinates are then copied digit for digit.
 *
 *     U1 = X1 Z2^2    S1 = Y1 Z2^3    H = X2 Z1^2 - U1    r = Y2 Z1^3 - S1
 *     X' = r^2 - H^3 - 2 U1 H^2       Y' = r (U1 H^2 - X') - S1 H^3      Z' = Z1 Z2 H
 *
 * @param R    out: the sum.
 * @param P    in: a point.
 * @param Q    in: a point.
 * @param set  in: the curve.
 * @return always 0.
 */
VRX_API uint32_t epAddJChud(EcPointJ *R, const EcPointJ *P, const EcPointJ *Q, const EcParamSet *set);

/**
 * Add two affine points on any curve: R = P + Q.
 *
 * If Q is the point at infinity, R is P; otherwise, if P is the point at infinity, R is Q. The point is then copied
 * digit for digit. In the formulas, L is the slope:
 *
 *     x1 = x2, digit for digit:  (0, 0) if y1 + y2 = 0 modulo p, otherwise L = (3 x1^2 + a) / (2 y1)
 *     all other cases:           L = (y2 - y1) / (x2 - x1)
 *     x3 = L^2 - x1 - x2         y3 = L (x1 - x3) - y1
 *
 * The two differences in the second formula for L are computed as signed numbers of nine digits, and reduced
 * afterwards. This affects the result only for coordinates of 2^287 or more.
 *
 * @param R    out: the sum.
 * @param P    in: a point.
 * @param Q    in: a point.
 * @param set  in: the curve.
 * @return always 0.
 */
VRX_API uint32_t epAdd(EcPoint *R, const EcPoint *P, const EcPoint *Q, const EcParamSet *set);

VRX_END_DECLS

#endif

/**
 * @file multiply.h  Multiples of points.
 *
 * Three functions compute multiples: epMultPP() of the base point, epMultJ() of any point on a curve with a = p - 3,
 * and epMult() of any point on any curve. On a set with a = p - 3 and a filled table, the results of the three
 * functions agree for every k from 1 to q - 1 and every point of the curve. A scalar k is a number of nine digits and
 * is never reduced modulo q. The coordinates of a result are reduced modulo p, except if epMult() is called with k = 1
 * or k = -1.
 *
 * A result may not overlap another argument. The functions allocate nothing. Any number of threads may share a set as
 * long as no thread changes it.
 *
 * Source: RFC 5832, section 5.1.
 */
#ifndef VRX_MULTIPLY_H
#define VRX_MULTIPLY_H

#include "vrx/point.h"

VRX_BEGIN_DECLS

/* ---- Building blocks: multiples ---------------------------------------------------------------------------------- */

/**
 * Multiply the base point: R = k G. If hexadecimal digit m of k has the value v, the function adds the table entry
 * pp[m] v times. It reads pp whatever has_precomp says, and it does not read G.
 *
 * @param R    out: the multiple; (0, 0) for k = 0 and k = q.
 * @param k    in: a number of nine digits.
 * @param set  in: a set whose table pp is filled.
 * @return always 0.
 */
VRX_API int epMultPP(EcPoint *R, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

/**
 * Multiply a point on a curve with a = p - 3: R = k P. The function processes the bits of k from the highest to the
 * lowest, with epDublJ() and epAddJA().
 *
 * **Warning:** use k below q. For larger k the function may return 0 with a wrong point: k = 2q + 1, for example, gives
 * the point at infinity instead of P.
 *
 * @param R    out: the multiple; unchanged if k = 0.
 * @param P    in: a point.
 * @param k    in: a number of nine digits, from 1 to q - 1.
 * @param set  in: the curve.
 * @return 0, or -1 if k = 0 (not logged).
 */
VRX_API int epMultJ(EcPoint *R, const EcPoint *P, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

/**
 * Multiply a point on any curve: R = |k| P. The function processes the bits of k from the lowest to the highest, with
 * epAdd().
 *
 * @param R    out: the multiple; (0, 0) for k = 0. For k = 1 and -1, P is copied digit for digit.
 * @param P    in: a point.
 * @param k    in: a signed number of 288 bits, in two's complement.
 * @param set  in: the curve.
 * @return 0, or -1 if a pointer is NULL. In that case, the function prints a line to standard output, not to the log.
 */
VRX_API int epMult(EcPoint *R, const EcPoint *P, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

VRX_END_DECLS

#endif

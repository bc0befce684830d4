/**
 * @file multiply.h  Multiples of points.
 *
 * Three methods, which agree on a set with a = p - 3 and a filled table for every k from 1 to q - 1 and every point of
 * the curve: epMultPP() for the base point, epMultJ() for any point, epMult() for any point of any set. A scalar k is a
 * number of nine digits and is never reduced modulo q. Coordinates of the result are reduced modulo p, with the one
 * exception at epMult().
 *
 * The general rules of curve.h apply. Source: RFC 5832, section 5.1.
 */
#ifndef VRX_MULTIPLY_H
#define VRX_MULTIPLY_H

#include "vrx/point.h"

VRX_BEGIN_DECLS

/**
 * R = k G, as the sum of table entries: pp[m] as often as the m-th hexadecimal digit of k says. The table is read
 * whatever has_precomp says; G is not read.
 *
 * @return 0. k = 0 and k = q give (0, 0).
 */
VRX_API int epMultPP(EcPoint *R, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

/**
 * R = k P by doubling and adding from the top bit of k down, with epDublJ() and epAddJA(): on curves with a = p - 3
 * only.
 *
 * @return 0; -1 when k = 0 (not logged; R is then untouched).
 */
VRX_API int epMultJ(EcPoint *R, const EcPoint *P, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

/**
 * R = |k| P by doubling and adding from the lowest bit of k up, with epAdd().
 *
 * @param k  in: read as a signed number of 288 bits. k = 0 gives (0, 0); k = 1 and -1 copy P digit for digit.
 * @return 0; -1 when a pointer is NULL, which prints a line to the standard output, not to the log.
 */
VRX_API int epMult(EcPoint *R, const EcPoint *P, const uint32_t k[VRX_ECC_DIGITS], const EcParamSet *set);

VRX_END_DECLS

#endif

/**
 * @file curve.h  Curve parameter sets of GOST R 34.10-2001 (RFC 4357, section 11.4).
 *
 * A set is a curve y^2 = x^3 + a x + b over the prime field of p, with a base point G of prime order q. Every number on
 * a curve has VRX_ECC_DIGITS digits of 32 bits, least significant first, as in bigdigits.h: one digit more than the 256
 * bits of the built-in sets need.
 *
 * All functions of the family, those of point.h, multiply.h, sign.h, agree.h and octets.h included, read what they need
 * from the record that they are given. It may be a built-in one, a changed built-in one, or the caller's own with p
 * below 2^287; for signatures, keys and key agreement p and q of at most 256 bits.
 *
 * Common arguments:
 * - set  in: the parameter set, which is only read.
 * - P, Q, point  in: a point.
 * - R, Q, point  out: the resulting point.
 * - k  in: a number of nine digits.
 * - d  in: a private key, nine digits.
 * - index  in: place among the built-in sets, from 0.
 * - len  in: bytes in oid.
 *
 * Unless said otherwise pointers may not be NULL, and a result may not overlap another argument. Nothing is allocated.
 *
 * Threads: the records are read without locks. Any number of threads may share a set as long as none changes it.
 */
#ifndef VRX_CURVE_H
#define VRX_CURVE_H

#include <stdint.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_ECC_DIGITS 9        /**< digits in every number on a curve */
#define VRX_ECC_PP_COUNT 72     /**< precomputed multiples of a base point */
#define VRX_ECC_SET_COUNT 6     /**< built-in sets */
#define VRX_ECC_OID_SIZE 9      /**< bytes in each of the built-in identifiers */
#define VRX_ECC_STR_OID_SIZE 17 /**< characters in each of the dotted ones, the closing zero included */

/** An affine point. x = y = 0 stands for the point at infinity. */
typedef struct EcPoint {
    uint32_t x[VRX_ECC_DIGITS]; /**< abscissa */
    uint32_t y[VRX_ECC_DIGITS]; /**< ordinate */
} EcPoint;

/** A parameter set. */
typedef struct EcParamSet {
    uint32_t a[VRX_ECC_DIGITS]; /**< coefficient of x */
    uint32_t b[VRX_ECC_DIGITS]; /**< constant */
    uint32_t p[VRX_ECC_DIGITS]; /**< modulus of the field */
    uint32_t q[VRX_ECC_DIGITS]; /**< order of G */
    EcPoint G;                  /**< base point */
    uint64_t oid_len;           /**< bytes in oid */
    const uint8_t *oid;         /**< DER */
    const char *str_oid;        /**< dotted */
    uint32_t has_precomp; /**< 1: a = p - 3, and pp is filled; else neither is taken for granted, and pp not read */
    EcPoint pp[VRX_ECC_PP_COUNT]; /**< pp[i] = 2^(4i) G, reduced modulo p */
} EcParamSet;

VRX_API extern const uint8_t ecc_Test_oid[VRX_ECC_OID_SIZE]; /**< 1.2.643.2.2.35.0 */
VRX_API extern const uint8_t ecc_A_oid[VRX_ECC_OID_SIZE];    /**< 1.2.643.2.2.35.1 */
VRX_API extern const uint8_t ecc_B_oid[VRX_ECC_OID_SIZE];    /**< 1.2.643.2.2.35.2 */
VRX_API extern const uint8_t ecc_C_oid[VRX_ECC_OID_SIZE];    /**< 1.2.643.2.2.35.3 */
VRX_API extern const uint8_t ecc_XchA_oid[VRX_ECC_OID_SIZE]; /**< 1.2.643.2.2.36.0 */
VRX_API extern const uint8_t ecc_XchB_oid[VRX_ECC_OID_SIZE]; /**< 1.2.643.2.2.36.1 */

VRX_API extern const char ecc_Test_str_oid[VRX_ECC_STR_OID_SIZE]; /**< "1.2.643.2.2.35.0" */
VRX_API extern const char ecc_A_str_oid[VRX_ECC_STR_OID_SIZE];    /**< "1.2.643.2.2.35.1" */
VRX_API extern const char ecc_B_str_oid[VRX_ECC_STR_OID_SIZE];    /**< "1.2.643.2.2.35.2" */
VRX_API extern const char ecc_C_str_oid[VRX_ECC_STR_OID_SIZE];    /**< "1.2.643.2.2.35.3" */
VRX_API extern const char ecc_XchA_str_oid[VRX_ECC_STR_OID_SIZE]; /**< "1.2.643.2.2.36.0" */
VRX_API extern const char ecc_XchB_str_oid[VRX_ECC_STR_OID_SIZE]; /**< "1.2.643.2.2.36.1" */

/**
 * The built-in sets: Test, CryptoPro-A, -B, -C, -XchA (the curve of A), -XchB (the curve of C). Complete as soon as the
 * library is loaded, and writable: a changed record is what every function then works with. The Test set has a = 7,
 * has_precomp 0 and zeros in pp.
 */
VRX_API extern EcParamSet cp_ecc_par[VRX_ECC_SET_COUNT];

/** The names of the built-in sets, in the order of cp_ecc_par, as RFC 4357 writes them. */
VRX_API extern const char *const cp_ecc_par_name[VRX_ECC_SET_COUNT];

/** The default set, at first cp_ecc_par[1] (CryptoPro-A). A host may assign it; the library does not read it. */
VRX_API extern EcParamSet *default_cp_ecc_par;

/** @return the built-in set of an index, or NULL when index is above 5. */
VRX_API EcParamSet *get_GOSTR3410_par(uint32_t index);

/** @return cp_ecc_par[1] (CryptoPro-A), whatever default_cp_ecc_par points at. */
VRX_API EcParamSet *get_GOSTR3410_default_par(void);

/** @return the name of the built-in set of an index, or NULL when index is above 5. */
VRX_API const char *get_GOSTR3410_oid_name(uint32_t index);

/**
 * Find a built-in set by its object identifier.
 *
 * @param oid  in: DER identifier of len bytes.
 * @param out  out: the first record, from index 0 on, whose identifier has the same length and bytes; NULL when there
 *             is none.
 * @return VRX_OK, or VRX_ERR_FAILED when there is none (not logged).
 */
VRX_API int epFindParByOid(const uint8_t *oid, uint32_t len, EcParamSet **out);

/**
 * As epFindParByOid(), by the dotted identifier.
 *
 * @param str_oid  in: a text that ends with a zero, the same to the last character.
 * @param out      out: as there.
 * @return as there.
 */
VRX_API int epFindParByStrOid(const char *str_oid, EcParamSet **out);

/**
 * Set a point's coordinates from decimal texts, each as by mpConvFromDecimal().
 *
 * @param x  in: digits and a closing zero, like y.
 * @param y  in: the other coordinate.
 * @return 0.
 */
VRX_API int epConvFromDecimal(EcPoint *point, const char *x, const char *y);

/**
 * Write a point's coordinates as decimal texts, each as by mpConvToDecimal().
 *
 * @param x         out: capacity characters, all of which are written, like y.
 * @param y         out: the other coordinate.
 * @param capacity  in: of each of the two texts, the closing zero included.
 * @return 0.
 */
VRX_API int epConvToDecimal(const EcPoint *point, char *x, char *y, uint64_t capacity);

/**
 * Maintenance: set a, b, p, q and G of the built-in sets anew from the decimal numbers of RFC 4357, and print them to
 * the standard output, decimal and as digits. The library's notice is printed first.
 *
 * @return 0, or -1 when a base point is not on its curve.
 *
 * Threads: writes to cp_ecc_par; nothing else of the family may run at the same time.
 */
VRX_API int epInitParams(void);

/**
 * Maintenance: compute pp of a set, by epMultJ(), and print it to the standard output as source text. For a = p - 3
 * that is the table of multiples; for another a the entries behind pp[0] are not multiples of G.
 *
 * @param set  in-out: pp is written, whatever has_precomp says.
 * @return 0.
 */
VRX_API int epCalcPP(EcParamSet *set);

VRX_END_DECLS

#endif

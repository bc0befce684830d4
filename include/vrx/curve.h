/**
 * @file curve.h  Curve parameter sets of GOST R 34.10-2001 (RFC 4357, section 11.4).
 *
 * A set is a curve y^2 = x^3 + a x + b over the prime field of p, with a base point G of prime order q. Every number
 * has VRX_ECC_DIGITS digits of 32 bits, least significant first. This is one digit more than the 256-bit numbers of the
 * built-in sets need.
 *
 * Every function that takes a set reads the numbers from the record, which may be built-in, changed or custom. The
 * prime p must be below 2^287; for signatures, keys and key agreement, p and q must have at most 256 bits.
 *
 * **Warning:** only the unchanged built-in sets are processed in constant time. With a changed or custom set, running
 * times depend on private keys.
 *
 * Unless a function says otherwise, pointers may not be NULL, and a result may not overlap another argument. Records
 * and arrays of digits must be aligned for uint32_t; only octets may lie at any address. The functions allocate
 * nothing.
 *
 * Threads: the functions read the records without locks. Any number of threads may share a set as long as no thread
 * changes it.
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
#define VRX_ECC_STR_OID_SIZE 17 /**< characters in each of the dotted identifiers, with the NUL */

/** A point in affine coordinates. x = y = 0 is the point at infinity. */
typedef struct EcPoint {
    uint32_t x[VRX_ECC_DIGITS]; /**< abscissa */
    uint32_t y[VRX_ECC_DIGITS]; /**< ordinate */
} EcPoint;

/** A curve parameter set. */
typedef struct EcParamSet {
    uint32_t a[VRX_ECC_DIGITS];   /**< coefficient of x */
    uint32_t b[VRX_ECC_DIGITS];   /**< constant term */
    uint32_t p[VRX_ECC_DIGITS];   /**< modulus of the field */
    uint32_t q[VRX_ECC_DIGITS];   /**< order of G */
    EcPoint G;                    /**< base point */
    uint64_t oid_len;             /**< bytes in oid */
    const uint8_t *oid;           /**< identifier, DER */
    const char *str_oid;          /**< identifier, dotted decimal */
    uint32_t has_precomp;         /**< 1: a = p - 3, and pp is filled. Any other value: signatures, keys and key
                                       agreement assume neither. epMultPP() always reads pp, and epMultJ() always
                                       assumes a = p - 3 */
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
 * The built-in sets: Test, CryptoPro-A, -B, -C, -XchA (the curve of A) and -XchB (the curve of C). They are complete
 * when the library is loaded. The array is writable: if you change a record, every function uses the changed record. In
 * the Test set, a is 7, has_precomp is 0, and pp contains only zeros.
 */
VRX_API extern EcParamSet cp_ecc_par[VRX_ECC_SET_COUNT];

/** The names of the built-in sets as in RFC 4357, in the order of cp_ecc_par. */
VRX_API extern const char *const cp_ecc_par_name[VRX_ECC_SET_COUNT];

/**
 * The default set, initially cp_ecc_par[1] (CryptoPro-A). Programs may assign another set. The library does not read
 * this pointer.
 */
VRX_API extern EcParamSet *default_cp_ecc_par;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Get a built-in set by index.
 *
 * @param index  in: index into cp_ecc_par.
 * @return the set, or NULL if the index is above 5.
 */
VRX_API EcParamSet *get_GOSTR3410_par(uint32_t index);

/**
 * Get the set CryptoPro-A, cp_ecc_par[1], whatever default_cp_ecc_par points to.
 *
 * @return the set.
 */
VRX_API EcParamSet *get_GOSTR3410_default_par(void);

/**
 * Get the name of a built-in set by index.
 *
 * @param index  in: index into cp_ecc_par.
 * @return the name as in RFC 4357, or NULL if the index is above 5.
 */
VRX_API const char *get_GOSTR3410_oid_name(uint32_t index);

/**
 * Find a built-in set by its object identifier.
 *
 * @param oid  in: DER identifier.
 * @param len  in: bytes in oid.
 * @param out  out: the first set whose identifier has the same length and bytes, or NULL if there is none.
 * @return VRX_OK, or VRX_ERR_FAILED if there is none (not logged).
 */
VRX_API int epFindParByOid(const uint8_t *oid, uint32_t len, EcParamSet **out);

/**
 * Find a built-in set by its dotted object identifier.
 *
 * @param str_oid  in: the identifier, such as "1.2.643.2.2.35.1", NUL-terminated.
 * @param out      out: the first set that has exactly this identifier, or NULL if there is none.
 * @return VRX_OK, or VRX_ERR_FAILED if there is none (not logged).
 */
VRX_API int epFindParByStrOid(const char *str_oid, EcParamSet **out);

/* ---- Building blocks: decimal coordinates ------------------------------------------------------------------------ */

/**
 * Set the coordinates of a point from decimal strings, as mpConvFromDecimal() does.
 *
 * @param point  out: the point.
 * @param x      in: decimal digits, NUL-terminated.
 * @param y      in: decimal digits, NUL-terminated.
 * @return always 0.
 */
VRX_API int epConvFromDecimal(EcPoint *point, const char *x, const char *y);

/**
 * Write the coordinates of a point as decimal strings, as mpConvToDecimal() does.
 *
 * @param point     in: the point.
 * @param x         out: a buffer of capacity characters; all of them are written.
 * @param y         out: a buffer of capacity characters; all of them are written.
 * @param capacity  in: size of each buffer, including the NUL. 79 is enough for 256 bits.
 * @return always 0.
 */
VRX_API int epConvToDecimal(const EcPoint *point, char *x, char *y, uint64_t capacity);

/* ---- Building blocks: maintenance of the built-in sets ----------------------------------------------------------- */

/**
 * Set a, b, p, q and G of the built-in sets again from the decimal numbers of RFC 4357. Print the copyright notice and
 * these numbers, in decimal and as digits, to standard output.
 *
 * @return 0, or -1 if a base point is not on its curve.
 *
 * Threads: this function writes cp_ecc_par. Call it while no other thread uses any function that takes a set.
 */
VRX_API int epInitParams(void);

/**
 * Compute the table pp of a set with epMultJ() and print it to standard output as source code. The table is correct
 * only if a = p - 3; otherwise the entries after pp[0] are not multiples of G.
 *
 * @param set  in-out: the set; pp is written whatever has_precomp says.
 * @return always 0.
 *
 * Threads: this function writes the set. Call it while no other thread uses the set.
 */
VRX_API int epCalcPP(EcParamSet *set);

VRX_END_DECLS

#endif

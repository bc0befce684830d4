/**
 * @file bigdigits.h  Multiple-precision arithmetic on arrays of 32-bit digits.
 *
 * A number is a plain array of `ndigits` digits, least significant digit first, unsigned; leading zero digits are
 * normal. Nothing but the digits is stored. Only mpIsNegative(), mpChs() and mpAbs() read an array as a
 * two's-complement number of 32 ndigits bits.
 *
 * Common arguments:
 * - ndigits  in: digits in each number.
 * - udigits  in: digits in u.
 * - vdigits  in: digits in v.
 * - a, b, c, e, m, n, u, v, w, x, y  in: an operand: digits, least significant first.
 * - a, g, inv, p, q, r, s, w, y  out: the result: digits, least significant first.
 * - d  in: a digit.
 * - x, y  in: a digit.
 *
 * Unless said otherwise:
 * - Results come first in the argument list, then operands, then digit counts. Counts are of digits; a result has
 *   exactly `ndigits` digits (a product twice as many), and nothing behind them is touched.
 * - At most VRX_MP_MAX_DIGITS digits are supported; what larger counts do is not defined.
 * - Every array belongs to the caller and may not be NULL. Operands may be one and the same array, and a result may be
 *   the same array as an operand; arrays that overlap in another way are not supported.
 * - A count of 0 is defined where it is mentioned, or where no digit would have to be read.
 * - Nothing is logged and nothing is allocated. Temporaries live on the stack and are wiped before return.
 * - Operands, moduli and divisors are only read, so that any number of threads may share them; there is no shared
 *   state. Running times depend on the values.
 *
 * Sources: Knuth, The Art of Computer Programming, volume 2, section 4.3.1 (algorithms M and D); Moeller and Granlund,
 * "Improved division by invariant integers" (the reciprocals within the division).
 */
#ifndef VRX_BIGDIGITS_H
#define VRX_BIGDIGITS_H

#include <stdint.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_MP_MAX_DIGITS 256 /**< digits in the longest number: 8192 bits */

/** The arithmetic module's attribution. @return one line of constant text, without a line end. */
VRX_API const char *bigdigits_copyright_notice(void);

/** The version number of the arithmetic module. @return 2205. */
VRX_API int mpVersion(void);

/* ---- Single digits ---------------------------------------------------------------------------------------------- */

/**
 * p = x y
 *
 * @param p  out: the product, low digit first.
 * @param x  in: a digit.
 * @param y  in: a digit.
 * @return 0.
 */
VRX_API int spMultiply(uint32_t p[2], uint32_t x, uint32_t y);

/**
 * Divide a double digit by a digit whose top bit is set.
 *
 * @param q  out: the quotient modulo 2^32.
 * @param r  out: the remainder.
 * @param u  in: the dividend, low digit first.
 * @param d  in: the divisor, 2^31 or more.
 * @return bit 32 of the quotient, 0 or 1; -1 when the top bit of d is clear (q and r are then 0).
 */
VRX_API int spDivide(uint32_t *q, uint32_t *r, const uint32_t u[2], uint32_t d);

/* ---- Addition and multiplication -------------------------------------------------------------------------------- */

/** w = u + v. @return the carry, 0 or 1. */
VRX_API uint32_t mpAdd(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/** w = u - v. @return the borrow, 0 or 1. */
VRX_API uint32_t mpSubtract(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/**
 * w = u v.
 *
 * @param w  out: 2 ndigits digits. May NOT be the array of an operand.
 * @return 0.
 */
VRX_API int mpMultiply(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/** w = u^2, 2 ndigits digits. w may NOT be the array u. @return 0. */
VRX_API int mpSquare(uint32_t *w, const uint32_t *u, uint64_t ndigits);

/* ---- Comparison and size ---------------------------------------------------------------------------------------- */

/** @return 1 when a = b, else 0; -1 for 0 digits. */
VRX_API int mpEqual(const uint32_t *a, const uint32_t *b, uint64_t ndigits);

/** @return 1 when a > b, 0 when a = b, -1 when a < b; 0 for 0 digits. */
VRX_API int mpCompare(const uint32_t *a, const uint32_t *b, uint64_t ndigits);

/** @return 1 when a = 0, else 0; -1 for 0 digits. */
VRX_API int mpIsZero(const uint32_t *a, uint64_t ndigits);

/** @return the number of significant digits: the index of the highest non-zero digit plus 1, or 0 when a = 0. */
VRX_API uint64_t mpSizeof(const uint32_t *a, uint64_t ndigits);

/** @return the number of significant bits; 0 when a = 0, for 0 digits, and when a is NULL. */
VRX_API uint64_t mpBitLength(const uint32_t *a, uint64_t ndigits);

/* ---- Copy and clear --------------------------------------------------------------------------------------------- */

/** a = b. */
VRX_API void mpSetEqual(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/** a = 0. Wipes a secret for good: no optimisation removes it. */
VRX_API void mpSetZero(uint32_t *a, uint64_t ndigits);

/** a = d. The lowest digit is written even when ndigits is 0. */
VRX_API void mpSetDigit(uint32_t *a, uint32_t d, uint64_t ndigits);

/* ---- Bits ------------------------------------------------------------------------------------------------------- */

/**
 * a = b 2^shift, cut to ndigits digits.
 *
 * @param shift  in: any number of bits; 32 ndigits and more give a = 0. For fewer than 32, a may also begin below b and
 *               overlap it.
 * @return the lowest digit of what was shifted out (digit ndigits of the whole product); 0 for a shift of 0 and for
 *         0 digits.
 */
VRX_API uint32_t mpShiftLeft(uint32_t *a, const uint32_t *b, uint64_t shift, uint64_t ndigits);

/**
 * a = floor(b / 2^shift).
 *
 * @param shift  in: any number of bits; 32 ndigits and more give a = 0. For fewer than 32, a may also begin above b and
 *               overlap it.
 * @return the highest 32 of the bits shifted out, left-aligned: a shift by 1 returns bit 0 of b as bit 31; 0 for a
 *         shift of 0 and for 0 digits.
 */
VRX_API uint32_t mpShiftRight(uint32_t *a, const uint32_t *b, uint64_t shift, uint64_t ndigits);

/**
 * Set or clear a bit of a.
 *
 * @param ibit   in: 0 is the least significant bit.
 * @param value  in: 0 clears the bit, everything else sets it.
 * @return 0; -1 when a has no such bit (a is then untouched).
 */
VRX_API int mpSetBit(uint32_t *a, uint64_t ndigits, uint64_t ibit, int value);

/** A bit of a. @param ibit  in: 0 is the least significant bit. @return 1 or 0; -1 when a has no such bit. */
VRX_API int mpGetBit(const uint32_t *a, uint64_t ndigits, uint64_t ibit);

/** a = a mod 2^L, in place. @param L  in: bits that stay; nothing changes when L is 32 ndigits or more. */
VRX_API void mpModPowerOf2(uint32_t *a, uint64_t ndigits, uint64_t L);

/** a = b exclusive-or c. */
VRX_API void mpXorBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/** a = b or c. */
VRX_API void mpOrBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/** a = b and c. */
VRX_API void mpAndBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/** a = the complement of b. */
VRX_API void mpNotBits(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/* ---- A number and a digit --------------------------------------------------------------------------------------- */

/** w = u + d. @return the carry, 0 or 1. */
VRX_API uint32_t mpShortAdd(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/** w = u - d. @return the borrow, 0 or 1. */
VRX_API uint32_t mpShortSub(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/** w = u d, cut to ndigits digits. @return the digit cut off. */
VRX_API uint32_t mpShortMult(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/** The same as mpShortMult(). @param m  in: not read, may be anything; the product is not reduced. @return as there. */
VRX_API uint32_t mpShortModMult(uint32_t *w, const uint32_t *u, uint32_t d, const uint32_t *m, uint64_t ndigits);

/**
 * q = floor(u / d).
 *
 * @return u mod d; 0 when d = 0 or for 0 digits (q is then untouched).
 */
VRX_API uint32_t mpShortDiv(uint32_t *q, const uint32_t *u, uint32_t d, uint64_t ndigits);

/** @return u mod d; 0 when d = 0 or for 0 digits. */
VRX_API uint32_t mpShortMod(const uint32_t *u, uint32_t d, uint64_t ndigits);

/** @return 1 when a > d, 0 when a = d, -1 when a < d; a has the value 0 for 0 digits. */
VRX_API int mpShortCmp(const uint32_t *a, uint32_t d, uint64_t ndigits);

/* ---- Division --------------------------------------------------------------------------------------------------- */

/**
 * q = floor(u / v), r = u mod v.
 *
 * @param q  out: udigits digits. May NOT be the array u, v or r.
 * @param r  out: udigits digits. May NOT be the array u, v or q.
 * @param u  in: the dividend, udigits digits.
 * @param v  in: the divisor, vdigits digits; vdigits may be larger or smaller than udigits.
 * @return 0; -1 when v = 0 (q and r are then 0).
 */
VRX_API int mpDivide(uint32_t *q, uint32_t *r, const uint32_t *u, uint64_t udigits, const uint32_t *v,
                     uint64_t vdigits);

/* ---- Signed view ------------------------------------------------------------------------------------------------ */

/** @return 1 when the top bit of a is set, else 0. */
VRX_API int mpIsNegative(const uint32_t *a, uint64_t ndigits);

/** a = -b in two's complement. @return 1 when b was negative, else 0. */
VRX_API int mpChs(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/** a = |b|; the most negative number stays as it is. @return 1 when b was negative, else 0. */
VRX_API int mpAbs(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/* ---- Modular arithmetic ----------------------------------------------------------------------------------------- */
/* Every result here is written last: its array may also be that of the modulus or the exponent. A modulus of 0 is not
   refused; every remainder is then 0. */

/**
 * r = u mod v.
 *
 * @param r  out: vdigits digits, also when udigits is smaller.
 * @param u  in: udigits digits.
 * @param v  in: vdigits digits.
 * @return 0.
 */
VRX_API int mpModulo(uint32_t *r, const uint32_t *u, uint64_t udigits, const uint32_t *v, uint64_t vdigits);

/**
 * w = (u + v) mod m.
 *
 * Needs 2 m <= 2^(32 ndigits), one spare bit: the carry out of the sum of the two reduced operands is dropped.
 *
 * @return 0.
 */
VRX_API int mpModAdd(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/**
 * w = (u - v) mod m.
 *
 * Needs 2 m <= 2^(32 ndigits), one spare bit: m is added when the top bit of the difference of the two reduced
 * operands is set. At least one digit.
 *
 * @return 0.
 */
VRX_API int mpModSub(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/** w = u v mod m, for at most 128 digits. @return 0. */
VRX_API int mpModMult(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/**
 * inv = u^-1 mod m. u need not be below m.
 *
 * @return 0; 1 (not -1) when u and m have a common factor: inv is then 0.
 *
 * Modulo 1 everything, 0 included, has the inverse 1. Modulo 0 only 1 has an inverse, 1.
 */
VRX_API int mpModInv(uint32_t *inv, const uint32_t *u, const uint32_t *m, uint64_t ndigits);

/** g = the greatest common divisor of x and y, where that of 0 and y is y. @return 0. */
VRX_API int mpGcd(uint32_t *g, const uint32_t *x, const uint32_t *y, uint64_t ndigits);

/** s = floor of the square root of the integer x. @return 0. */
VRX_API int mpSqrt(uint32_t *s, const uint32_t *x, uint64_t ndigits);

/** The Jacobi symbol (a/n) for odd n; a need not be below n. @return 1, 0 or -1; 0 for a = 0, n = 1 included. */
VRX_API int mpJacobi(const uint32_t *a, const uint32_t *n, uint64_t ndigits);

/**
 * y = x^e mod m.
 *
 * The exponent 0 gives 1 (also modulo 1), and the exponent 1 gives x as it is, not reduced modulo m.
 *
 * @return 0.
 */
VRX_API int mpModExp(uint32_t *y, const uint32_t *x, const uint32_t *e, const uint32_t *m, uint64_t ndigits);

/* ---- Random digits and primality -------------------------------------------------------------------------------- */
/* These draw from the C library's rand(), whose state belongs to the whole process: two threads at once may see
   correlated values. Good enough for test data and for the bases of a primality test. NEVER make keys, nonces or
   anything else secret with them. */

/**
 * A digit drawn evenly from lower to upper, both included.
 *
 * The first call in the process seeds the C library's generator from the clock.
 *
 * @param lower  in: the least digit.
 * @param upper  in: the largest digit.
 * @return the digit; lower when lower >= upper.
 */
VRX_API uint32_t spSimpleRand(uint32_t lower, uint32_t upper);

/**
 * t rounds of the Rabin-Miller test (FIPS 186) with random bases of one digit.
 *
 * @param t  in: rounds.
 * @return 0 when w is composite, 0 or 1; 1 when it passes all rounds (always for t = 0 and w > 1, and for w = 2).
 *
 * Seeds the C library's generator from the clock on every call. A composite number passes one round with a probability
 * below 1/4; a number chosen by an adversary who knows the clock may do worse.
 */
VRX_API int mpRabinMiller(const uint32_t *w, uint64_t ndigits, uint64_t t);

/**
 * A primality test: exact for w up to 997; above, trial division by the primes up to 997 and then mpRabinMiller().
 *
 * @param t  in: rounds of it.
 * @return 1 when w is prime or passes, else 0.
 */
VRX_API int mpIsPrime(const uint32_t *w, uint64_t ndigits, uint64_t t);

/**
 * End the process: print the message, ": " and the text of the system's last error to the standard error stream and
 * exit with status 1. The conversions do it when memory runs out.
 *
 * @param message  in: a text that ends with a zero.
 */
VRX_API __attribute__((noreturn)) void mpFail(const char *message);

/* ---- Conversions ------------------------------------------------------------------------------------------------ */
/* Octets are big-endian: a number's least significant byte is the last one of its buffer. No limit of digits here.
   Only mpConvToDecimal() of more than VRX_MP_MAX_DIGITS digits allocates memory; when there is none, the process ends
   through mpFail(). Input and output may not overlap. */

/**
 * a = the number in nbytes bytes. Bytes that a has no room for, the most significant ones, are ignored.
 *
 * @param c       in: nbytes bytes, the most significant first.
 * @param nbytes  in: a count from 2^31 on is negative and taken as 0.
 * @return the number of digits that took bytes: nbytes / 4 rounded up, at most ndigits. a = 0 and 0 for no bytes.
 */
VRX_API uint64_t mpConvFromOctets(uint32_t *a, uint64_t ndigits, const uint8_t *c, uint32_t nbytes);

/**
 * c = a in nbytes bytes, zeros in front. A number too long for the buffer loses its most significant bytes.
 *
 * @param c       out: nbytes bytes, the most significant first; not written, and may be NULL, when nbytes is 0.
 * @param nbytes  in: a count from 2^31 on is negative and taken as 0.
 * @return the number of significant bytes of a, whatever nbytes is.
 */
VRX_API uint64_t mpConvToOctets(const uint32_t *a, uint64_t ndigits, uint8_t *c, uint32_t nbytes);

/**
 * a = the hexadecimal number in a text; what a has no room for, the most significant part, is lost.
 *
 * @param s  in: characters 0 to 9, a to f, A to F and a closing zero; every other character is skipped ("0x" counts
 *           as the digit 0).
 * @return the number of digits that the text may need at its full length, skipped characters included: as
 *         mpConvFromOctets() for one byte per two characters, rounded up.
 */
VRX_API uint64_t mpConvFromHex(uint32_t *a, uint64_t ndigits, const char *s);

/**
 * a = the decimal number in a text; what a has no room for, the most significant part, is lost.
 *
 * @param s  in: characters 0 to 9 and a closing zero; every other character is skipped, a sign included.
 * @return as mpConvFromOctets() for 0.41524 bytes per character, rounded up, skipped characters included. That is a
 *         shade less than the binary logarithm asks for: the rare number that needs one byte more loses it.
 */
VRX_API uint64_t mpConvFromDecimal(uint32_t *a, uint64_t ndigits, const char *s);

/**
 * s = a in lower-case hexadecimal, without leading zeros ("0" for 0).
 *
 * @param s     out: smax characters, ALL of which are written: the text, its closing zero, then characters '0', and a
 *              zero as the last. A text too long keeps its leading characters. May be NULL: nothing is then written.
 * @param smax  in: the capacity, the closing zero included.
 * @return the number of characters that a needs without the closing zero, also when they do not fit.
 */
VRX_API uint64_t mpConvToHex(const uint32_t *a, uint64_t ndigits, char *s, uint64_t smax);

/**
 * s = a in decimal; otherwise as mpConvToHex().
 *
 * @param s     out: smax characters, as there.
 * @param smax  in: the capacity, the closing zero included.
 * @return as there.
 */
VRX_API uint64_t mpConvToDecimal(const uint32_t *a, uint64_t ndigits, char *s, uint64_t smax);

/* ---- Printing to the C library's standard output ---------------------------------------------------------------- */

/** Print a, most significant digit first, each as eight hexadecimal digits and a blank. No line end. */
VRX_API void mpPrint(const uint32_t *a, uint64_t ndigits);

/** As mpPrint(), with a line end after every eighth digit that others follow and at the very end. */
VRX_API void mpPrintNL(const uint32_t *a, uint64_t ndigits);

/** As mpPrint() without the leading zero digits; 0 is printed as one digit. */
VRX_API void mpPrintTrim(const uint32_t *a, uint64_t ndigits);

/** As mpPrintNL() without the leading zero digits; 0 is printed as one digit. */
VRX_API void mpPrintTrimNL(const uint32_t *a, uint64_t ndigits);

VRX_END_DECLS

#endif

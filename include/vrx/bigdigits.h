/**
 * @file bigdigits.h  Multiple-precision arithmetic on arrays of 32-bit digits.
 *
 * A number is an array of `ndigits` unsigned digits, least significant digit first. It may have leading zero digits.
 * Only mpIsNegative(), mpChs() and mpAbs() read an array as a two's-complement number of 32 ndigits bits.
 *
 * Unless a function says otherwise:
 *
 * - A result has exactly `ndigits` digits, and a product has twice as many. No function writes beyond these digits.
 * - At most VRX_MP_MAX_DIGITS digits are supported. With larger counts, the behaviour is undefined.
 * - Every array belongs to the caller, is aligned for uint32_t and may not be NULL. Two operands may be the same array,
 *   and a result may be the same array as an operand. Arrays may not overlap in another way.
 * - A count of 0 is valid only if the description of the function says so, or if the function has no digit to read.
 * - The functions log nothing and allocate nothing. They wipe their temporaries on the stack.
 *
 * Threads: no shared state. Several threads may use the same operands, moduli and divisors at the same time, because
 * the functions only read them.
 *
 * **Warning:** running times depend on the values. Do not use these functions on secrets that an attacker could learn
 * by measuring time.
 *
 * Sources: Knuth, The Art of Computer Programming, volume 2, section 4.3.1 (algorithms M and D); Moeller and Granlund,
 * "Improved division by invariant integers" (the reciprocals in the division).
 */
#ifndef VRX_BIGDIGITS_H
#define VRX_BIGDIGITS_H

#include <stdint.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_MP_MAX_DIGITS 256 /**< digits in the longest number: 8192 bits */

/* ---- Building blocks: about the module --------------------------------------------------------------------------- */

/**
 * Get the copyright notice of the arithmetic module.
 *
 * @return one line of constant text, without a newline.
 */
VRX_API const char *bigdigits_copyright_notice(void);

/**
 * Get the version number of the arithmetic module.
 *
 * @return 2205.
 */
VRX_API int mpVersion(void);

/* ---- Building blocks: single digits ------------------------------------------------------------------------------ */

/**
 * Multiply two digits: p = x y.
 *
 * @param p  out: the product, low digit first.
 * @param x  in: a digit.
 * @param y  in: a digit.
 * @return always 0.
 */
VRX_API int spMultiply(uint32_t p[2], uint32_t x, uint32_t y);

/**
 * Divide two digits by a digit whose top bit is set.
 *
 * @param q  out: the quotient modulo 2^32.
 * @param r  out: the remainder.
 * @param u  in: the dividend, low digit first.
 * @param d  in: the divisor, at least 2^31.
 * @return bit 32 of the quotient, 0 or 1; -1 if the top bit of d is clear (q and r are then 0).
 */
VRX_API int spDivide(uint32_t *q, uint32_t *r, const uint32_t u[2], uint32_t d);

/* ---- Building blocks: addition and multiplication ---------------------------------------------------------------- */

/**
 * Add: w = u + v.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return the carry, 0 or 1.
 */
VRX_API uint32_t mpAdd(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/**
 * Subtract: w = u - v.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return the borrow, 0 or 1.
 */
VRX_API uint32_t mpSubtract(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/**
 * Multiply: w = u v.
 *
 * @param w        out: 2 ndigits digits. It may NOT be the array of an operand.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return always 0.
 */
VRX_API int mpMultiply(uint32_t *w, const uint32_t *u, const uint32_t *v, uint64_t ndigits);

/**
 * Square: w = u^2.
 *
 * @param w        out: 2 ndigits digits. It may NOT be the array u.
 * @param u        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return always 0.
 */
VRX_API int mpSquare(uint32_t *w, const uint32_t *u, uint64_t ndigits);

/* ---- Building blocks: comparison and size ------------------------------------------------------------------------ */

/**
 * Compare two numbers for equality.
 *
 * @param a        in: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 1 if a = b, otherwise 0; -1 if ndigits is 0.
 */
VRX_API int mpEqual(const uint32_t *a, const uint32_t *b, uint64_t ndigits);

/**
 * Compare two numbers.
 *
 * @param a        in: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 1 if a > b, 0 if a = b, -1 if a < b; 0 if ndigits is 0.
 */
VRX_API int mpCompare(const uint32_t *a, const uint32_t *b, uint64_t ndigits);

/**
 * Test whether a number is 0.
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @return 1 if a = 0, otherwise 0; -1 if ndigits is 0.
 */
VRX_API int mpIsZero(const uint32_t *a, uint64_t ndigits);

/**
 * Count the significant digits of a number.
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @return the index of the highest non-zero digit plus 1, or 0 if a = 0.
 */
VRX_API uint64_t mpSizeof(const uint32_t *a, uint64_t ndigits);

/**
 * Count the significant bits of a number.
 *
 * @param a        in: ndigits digits; may be NULL.
 * @param ndigits  in: digits in a.
 * @return the number of bits; 0 if a = 0, ndigits is 0 or a is NULL.
 */
VRX_API uint64_t mpBitLength(const uint32_t *a, uint64_t ndigits);

/* ---- Building blocks: copy and clear ----------------------------------------------------------------------------- */

/**
 * Copy: a = b.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 */
VRX_API void mpSetEqual(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/**
 * Set a number to zero: a = 0. Use this function to wipe secrets: the compiler never removes its writes.
 *
 * @param a        out: ndigits digits.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpSetZero(uint32_t *a, uint64_t ndigits);

/**
 * Set a number to a digit: a = d.
 *
 * @param a        out: ndigits digits. The lowest digit is written even if ndigits is 0.
 * @param d        in: a digit.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpSetDigit(uint32_t *a, uint32_t d, uint64_t ndigits);

/* ---- Building blocks: bits --------------------------------------------------------------------------------------- */

/**
 * Shift left: a = b 2^shift, truncated to ndigits digits.
 *
 * @param a        out: ndigits digits. If shift is below 32, a may also begin below b and overlap it.
 * @param b        in: ndigits digits.
 * @param shift    in: any number of bits. If shift is at least 32 * ndigits, a becomes 0.
 * @param ndigits  in: digits in each number.
 * @return the lowest digit that was shifted out, which is digit ndigits of b 2^shift; 0 if shift or ndigits is 0.
 */
VRX_API uint32_t mpShiftLeft(uint32_t *a, const uint32_t *b, uint64_t shift, uint64_t ndigits);

/**
 * Shift right: a = floor(b / 2^shift).
 *
 * @param a        out: ndigits digits. If shift is below 32, a may also begin above b and overlap it.
 * @param b        in: ndigits digits.
 * @param shift    in: any number of bits. If shift is at least 32 * ndigits, a becomes 0.
 * @param ndigits  in: digits in each number.
 * @return the highest 32 of the bits that were shifted out, left-aligned; 0 if shift or ndigits is 0. For example, a
 *         shift by 1 returns bit 0 of b as bit 31.
 */
VRX_API uint32_t mpShiftRight(uint32_t *a, const uint32_t *b, uint64_t shift, uint64_t ndigits);

/**
 * Set or clear a bit.
 *
 * @param a        in-out: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param ibit     in: index of the bit; 0 is the least significant.
 * @param value    in: 0 clears the bit, any other value sets it.
 * @return 0, or -1 if a has no such bit (a is then unchanged).
 */
VRX_API int mpSetBit(uint32_t *a, uint64_t ndigits, uint64_t ibit, int value);

/**
 * Get a bit.
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param ibit     in: index of the bit; 0 is the least significant.
 * @return 0 or 1, or -1 if a has no such bit.
 */
VRX_API int mpGetBit(const uint32_t *a, uint64_t ndigits, uint64_t ibit);

/**
 * Reduce modulo a power of two, in place: a = a mod 2^L.
 *
 * @param a        in-out: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param L        in: number of bits to keep. If L is at least 32 * ndigits, a is unchanged.
 */
VRX_API void mpModPowerOf2(uint32_t *a, uint64_t ndigits, uint64_t L);

/**
 * Exclusive-or: a = b ^ c.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param c        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 */
VRX_API void mpXorBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/**
 * Bitwise or: a = b | c.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param c        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 */
VRX_API void mpOrBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/**
 * Bitwise and: a = b & c.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param c        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 */
VRX_API void mpAndBits(uint32_t *a, const uint32_t *b, const uint32_t *c, uint64_t ndigits);

/**
 * Bitwise complement: a = ~b.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 */
VRX_API void mpNotBits(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/* ---- Building blocks: a number and a digit ----------------------------------------------------------------------- */

/**
 * Add a digit: w = u + d.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param ndigits  in: digits in each number.
 * @return the carry, 0 or 1; d if ndigits is 0.
 */
VRX_API uint32_t mpShortAdd(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/**
 * Subtract a digit: w = u - d.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param ndigits  in: digits in each number.
 * @return the borrow, 0 or 1; d if ndigits is 0.
 */
VRX_API uint32_t mpShortSub(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/**
 * Multiply by a digit: w = u d, truncated to ndigits digits.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param ndigits  in: digits in each number.
 * @return the digit that was cut off.
 */
VRX_API uint32_t mpShortMult(uint32_t *w, const uint32_t *u, uint32_t d, uint64_t ndigits);

/**
 * Multiply by a digit without reduction: an older name of mpShortMult().
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param m        in: not used; may be any pointer. The product is not reduced.
 * @param ndigits  in: digits in each number.
 * @return the digit that was cut off.
 */
VRX_API uint32_t mpShortModMult(uint32_t *w, const uint32_t *u, uint32_t d, const uint32_t *m, uint64_t ndigits);

/**
 * Divide by a digit: q = floor(u / d).
 *
 * @param q        out: ndigits digits; unchanged if d is 0.
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param ndigits  in: digits in each number.
 * @return u mod d; 0 if d or ndigits is 0.
 */
VRX_API uint32_t mpShortDiv(uint32_t *q, const uint32_t *u, uint32_t d, uint64_t ndigits);

/**
 * Compute the remainder of a division by a digit.
 *
 * @param u        in: ndigits digits.
 * @param d        in: a digit.
 * @param ndigits  in: digits in u.
 * @return u mod d; 0 if d or ndigits is 0.
 */
VRX_API uint32_t mpShortMod(const uint32_t *u, uint32_t d, uint64_t ndigits);

/**
 * Compare a number with a digit.
 *
 * @param a        in: ndigits digits; the value is 0 if ndigits is 0.
 * @param d        in: a digit.
 * @param ndigits  in: digits in a.
 * @return 1 if a > d, 0 if a = d, -1 if a < d.
 */
VRX_API int mpShortCmp(const uint32_t *a, uint32_t d, uint64_t ndigits);

/* ---- Building blocks: division ----------------------------------------------------------------------------------- */

/**
 * Divide with remainder: q = floor(u / v), r = u mod v.
 *
 * @param q        out: udigits digits. It may NOT be the array u, v or r.
 * @param r        out: udigits digits. It may NOT be the array u, v or q.
 * @param u        in: the dividend, udigits digits.
 * @param udigits  in: digits in u, q and r.
 * @param v        in: the divisor, vdigits digits.
 * @param vdigits  in: digits in v; may be more or fewer than udigits.
 * @return 0, or -1 if v = 0 (q and r are then 0).
 */
VRX_API int mpDivide(uint32_t *q, uint32_t *r, const uint32_t *u, uint64_t udigits, const uint32_t *v,
                     uint64_t vdigits);

/* ---- Building blocks: signed numbers ----------------------------------------------------------------------------- */

/**
 * Test the sign of a number in two's complement.
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @return 1 if the top bit of a is set, otherwise 0.
 */
VRX_API int mpIsNegative(const uint32_t *a, uint64_t ndigits);

/**
 * Negate in two's complement: a = -b.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 1 if b was negative, otherwise 0.
 */
VRX_API int mpChs(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/**
 * Compute the absolute value in two's complement: a = |b|. The most negative number stays unchanged.
 *
 * @param a        out: ndigits digits.
 * @param b        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 1 if b was negative, otherwise 0.
 */
VRX_API int mpAbs(uint32_t *a, const uint32_t *b, uint64_t ndigits);

/* ---- Building blocks: modular arithmetic ------------------------------------------------------------------------- */
/* Each function writes its result last, so the result may also be the array of the modulus or the exponent. A modulus
   of 0 is accepted; every remainder is then 0. */

/**
 * Reduce: r = u mod v.
 *
 * @param r        out: vdigits digits, even if udigits is smaller.
 * @param u        in: udigits digits.
 * @param udigits  in: digits in u.
 * @param v        in: the modulus, vdigits digits.
 * @param vdigits  in: digits in v and r.
 * @return always 0.
 */
VRX_API int mpModulo(uint32_t *r, const uint32_t *u, uint64_t udigits, const uint32_t *v, uint64_t vdigits);

/**
 * Add modulo m: w = (u + v) mod m.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param m        in: the modulus, ndigits digits. Its top bit must be clear or it must be 2^(32 ndigits - 1).
 * @param ndigits  in: digits in each number.
 * @return always 0.
 *
 * The function drops the carry of the sum of the reduced operands. With a larger modulus, the result is wrong.
 */
VRX_API int mpModAdd(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/**
 * Subtract modulo m: w = (u - v) mod m. ndigits must be at least 1.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param m        in: the modulus, ndigits digits. Its top bit must be clear or it must be 2^(32 ndigits - 1).
 * @param ndigits  in: digits in each number.
 * @return always 0.
 *
 * The function adds m if the top bit of the difference of the reduced operands is set. With a larger modulus, the
 * result is wrong.
 */
VRX_API int mpModSub(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/**
 * Multiply modulo m: w = u v mod m.
 *
 * @param w        out: ndigits digits.
 * @param u        in: ndigits digits.
 * @param v        in: ndigits digits.
 * @param m        in: the modulus, ndigits digits.
 * @param ndigits  in: digits in each number, at most 128.
 * @return always 0.
 */
VRX_API int mpModMult(uint32_t *w, const uint32_t *u, const uint32_t *v, const uint32_t *m, uint64_t ndigits);

/**
 * Compute an inverse: inv = u^-1 mod m.
 *
 * @param inv      out: ndigits digits; 0 if there is no inverse.
 * @param u        in: ndigits digits; need not be below m.
 * @param m        in: the modulus, ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 0, or 1 (not -1) if u and m have a common factor.
 *
 * Modulo 1, the inverse of every number, including 0, is 1. Modulo 0, only 1 has an inverse, which is 1.
 */
VRX_API int mpModInv(uint32_t *inv, const uint32_t *u, const uint32_t *m, uint64_t ndigits);

/**
 * Compute the greatest common divisor: g = gcd(x, y). If x is 0, g is y.
 *
 * @param g        out: ndigits digits.
 * @param x        in: ndigits digits.
 * @param y        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return always 0.
 */
VRX_API int mpGcd(uint32_t *g, const uint32_t *x, const uint32_t *y, uint64_t ndigits);

/**
 * Compute an integer square root: s is the largest integer whose square is at most x.
 *
 * @param s        out: ndigits digits.
 * @param x        in: ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return always 0.
 */
VRX_API int mpSqrt(uint32_t *s, const uint32_t *x, uint64_t ndigits);

/**
 * Compute the Jacobi symbol (a/n).
 *
 * @param a        in: ndigits digits; need not be below n.
 * @param n        in: an odd number, ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return 1, 0 or -1; 0 if a = 0, even if n = 1.
 */
VRX_API int mpJacobi(const uint32_t *a, const uint32_t *n, uint64_t ndigits);

/**
 * Compute a power modulo m: y = x^e mod m.
 *
 * @param y        out: ndigits digits.
 * @param x        in: ndigits digits.
 * @param e        in: the exponent, ndigits digits.
 * @param m        in: the modulus, ndigits digits.
 * @param ndigits  in: digits in each number.
 * @return always 0.
 *
 * Two exponents are special cases. If e = 0, the result is 1, even if m = 1. If e = 1, the result is x itself, not
 * reduced modulo m.
 */
VRX_API int mpModExp(uint32_t *y, const uint32_t *x, const uint32_t *e, const uint32_t *m, uint64_t ndigits);

/* ---- Building blocks: random digits and primality ---------------------------------------------------------------- */
/* WARNING: never make keys, nonces or other secrets with these functions. They draw from the C library's rand(), which
   is predictable. Its state belongs to the whole process, so two threads may get correlated values. Use them for test
   data and for the bases of a primality test only. */

/**
 * Draw a uniformly random digit from lower to upper, inclusive. The first call in the process seeds the C library's
 * generator from the clock.
 *
 * @param lower  in: the smallest digit.
 * @param upper  in: the largest digit.
 * @return the digit; lower if lower >= upper.
 */
VRX_API uint32_t spSimpleRand(uint32_t lower, uint32_t upper);

/**
 * Run t rounds of the Rabin-Miller primality test (FIPS 186) with random bases of one digit.
 *
 * @param w        in: ndigits digits.
 * @param ndigits  in: digits in w.
 * @param t        in: number of rounds.
 * @return 1 if w passes all rounds; 0 if w fails a round, or if w is 0 or 1. For t = 0, every w above 1 passes. The
 *         number 2 always passes.
 *
 * Every call with w above 1 seeds the C library's generator from the clock. If bases were uniformly random numbers
 * below w, a composite w would pass a round with probability below 1/4. Here, bases have only one digit, so this bound
 * does not hold for every w. An adversary who knows the clock can choose composite numbers that pass.
 */
VRX_API int mpRabinMiller(const uint32_t *w, uint64_t ndigits, uint64_t t);

/**
 * Test a number for primality. The result is exact for w up to 997. For a larger w, the function divides by the primes
 * up to 997 and then calls mpRabinMiller().
 *
 * @param w        in: ndigits digits.
 * @param ndigits  in: digits in w.
 * @param t        in: number of rounds of mpRabinMiller().
 * @return 1 if w is prime or passes the test, otherwise 0.
 */
VRX_API int mpIsPrime(const uint32_t *w, uint64_t ndigits, uint64_t t);

/**
 * End the process: print the message, ": " and the text of errno to standard error, then exit with status 1. The
 * conversions call this function if memory is exhausted.
 *
 * @param message  in: the message, NUL-terminated.
 */
VRX_API __attribute__((noreturn)) void mpFail(const char *message);

/* ---- Building blocks: conversions -------------------------------------------------------------------------------- */
/* Octets are big-endian: the least significant octet comes last. There is no limit on the number of digits. Only
   mpConvToDecimal() with more than VRX_MP_MAX_DIGITS digits allocates memory; if memory is exhausted, it ends the
   process with mpFail(). Input and output may not overlap. */

/**
 * Convert from big-endian octets: a = the number in nbytes octets. The most significant octets are ignored if they do
 * not fit in a.
 *
 * @param a        out: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param c        in: nbytes octets, most significant first.
 * @param nbytes   in: octets in c. A count of 2^31 or more is treated as 0.
 * @return the number of digits that received octets: nbytes / 4 rounded up, at most ndigits. If nbytes is 0, a is set
 *         to 0 and the function returns 0.
 */
VRX_API uint64_t mpConvFromOctets(uint32_t *a, uint64_t ndigits, const uint8_t *c, uint32_t nbytes);

/**
 * Convert to big-endian octets: c = a in nbytes octets, with leading zeros. If a is too long, its most significant
 * octets are lost.
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param c        out: nbytes octets, most significant first; may be NULL if nbytes is 0.
 * @param nbytes   in: octets in c. A count of 2^31 or more is treated as 0.
 * @return the number of significant octets of a, whatever nbytes is.
 */
VRX_API uint64_t mpConvToOctets(const uint32_t *a, uint64_t ndigits, uint8_t *c, uint32_t nbytes);

/**
 * Convert from hexadecimal. If the number does not fit in a, its most significant part is lost.
 *
 * @param a        out: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param s        in: hexadecimal digits of either case, NUL-terminated. Other characters are skipped, so "0x" is read
 *                 as the digit 0.
 * @return the number of digits that a string of this length may need, at most ndigits. The length includes skipped
 *         characters.
 */
VRX_API uint64_t mpConvFromHex(uint32_t *a, uint64_t ndigits, const char *s);

/**
 * Convert from decimal. If the number does not fit in a, its most significant part is lost.
 *
 * @param a        out: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param s        in: decimal digits, NUL-terminated. Other characters, including signs, are skipped.
 * @return the number of digits that a string of this length may need, at most ndigits. The length includes skipped
 *         characters.
 *
 * **Warning:** the function reserves 0.41524 octets for each character, which is slightly less than log(10)/log(256).
 * For rare numbers, this is one octet too few, and the result then lacks the most significant octet.
 */
VRX_API uint64_t mpConvFromDecimal(uint32_t *a, uint64_t ndigits, const char *s);

/**
 * Convert to lower-case hexadecimal, without leading zeros; 0 becomes "0".
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param s        out: smax characters, ALL of which are written: the string, its NUL, then filler characters '0' and a
 *                 final NUL. If the string does not fit, only its leading characters are written. s may be NULL;
 *                 nothing is then written.
 * @param smax     in: capacity of s, including the NUL.
 * @return the length of the full string without the NUL, even if it does not fit.
 */
VRX_API uint64_t mpConvToHex(const uint32_t *a, uint64_t ndigits, char *s, uint64_t smax);

/**
 * Convert to decimal, without leading zeros; 0 becomes "0".
 *
 * @param a        in: ndigits digits.
 * @param ndigits  in: digits in a.
 * @param s        out: smax characters, ALL of which are written: the string, its NUL, then filler characters '0' and a
 *                 final NUL. If the string does not fit, only its leading characters are written. s may be NULL;
 *                 nothing is then written.
 * @param smax     in: capacity of s, including the NUL.
 * @return the length of the full string without the NUL, even if it does not fit.
 */
VRX_API uint64_t mpConvToDecimal(const uint32_t *a, uint64_t ndigits, char *s, uint64_t smax);

/* ---- Building blocks: printing to standard output ---------------------------------------------------------------- */

/**
 * Print a number to standard output, each digit as eight hexadecimal characters and a space, without a newline.
 *
 * @param a        in: ndigits digits, printed most significant first.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpPrint(const uint32_t *a, uint64_t ndigits);

/**
 * Print a number as mpPrint() does, with a newline at the end and after every eighth digit.
 *
 * @param a        in: ndigits digits, printed most significant first.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpPrintNL(const uint32_t *a, uint64_t ndigits);

/**
 * Print a number as mpPrint() does, without leading zero digits. 0 is printed as one digit.
 *
 * @param a        in: ndigits digits, printed most significant first.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpPrintTrim(const uint32_t *a, uint64_t ndigits);

/**
 * Print a number as mpPrintNL() does, without leading zero digits. 0 is printed as one digit.
 *
 * @param a        in: ndigits digits, printed most significant first.
 * @param ndigits  in: digits in a.
 */
VRX_API void mpPrintTrimNL(const uint32_t *a, uint64_t ndigits);

VRX_END_DECLS

#endif

// Nine-digit numbers, and arithmetic on them modulo p or q. Not constant-time.
#ifndef VRX_ECC_RESIDUE_HPP
#define VRX_ECC_RESIDUE_HPP

#include <cstdint>
#include <cstring>

#include "frame/platform.hpp"
#include "vrx/bigdigits.h"
#include "vrx/curve.h"

namespace vrx::ecc {

inline constexpr unsigned digit_count = VRX_ECC_DIGITS;
inline constexpr unsigned digit_bits = 32;

/** A number of nine digits, least significant first. */
struct Number {
    std::uint32_t digits[digit_count];
};

constexpr Number small(std::uint32_t value) { return {{value}}; }

inline Number load(const std::uint32_t* digits) {
    Number n;
    std::memcpy(n.digits, digits, sizeof n.digits);
    return n;
}

inline void store(std::uint32_t* digits, const Number& n) { std::memcpy(digits, n.digits, sizeof n.digits); }

inline constexpr std::uint32_t octet_count = 32;  // length of a number in a key or a signature

/** Stores the octets of a number, least significant first. Its low digits have the same layout in memory. */
inline void store_octets(std::uint8_t* octets, const std::uint32_t* digits) {
    std::memcpy(octets, digits, octet_count);
}

inline void load_octets(std::uint32_t* digits, const std::uint8_t* octets) {
    std::memcpy(digits, octets, octet_count);
    digits[digit_count - 1] = 0;
}

inline bool is_zero(const Number& n) { return mpIsZero(n.digits, digit_count) != 0; }

/** Returns bit i of a number. Bit 0 is the lowest. */
constexpr unsigned bit(const Number& n, unsigned i) { return n.digits[i / digit_bits] >> i % digit_bits & 1; }

/**
 * A number and its modulus. The number need not be reduced, and the modulus must outlive the residue. Sums, differences
 * and products are reduced, and are defined for moduli below 2^287. is_zero() and == compare digits, even if the number
 * is not reduced.
 */
class Residue {
public:
    Residue(const Number& number, const std::uint32_t* modulus) : number_(number), modulus_(modulus) {}
    Residue(const std::uint32_t* digits, const std::uint32_t* modulus) : Residue(load(digits), modulus) {}

    [[nodiscard]] const Number& number() const { return number_; }
    [[nodiscard]] bool is_zero() const { return ecc::is_zero(number_); }

    /** Returns a small number with the same modulus. */
    [[nodiscard]] Residue small(std::uint32_t value) const { return {ecc::small(value), modulus_}; }

    /** Returns the reduced residue. */
    [[nodiscard]] Residue reduced() const {
        Residue r = *this;
        mpModulo(r.number_.digits, number_.digits, digit_count, modulus_, digit_count);
        return r;
    }

    /** Returns the inverse of a public number, or 0 if there is none. */
    [[nodiscard]] Residue inverse_vartime() const { return inverse(); }

    /** Returns the inverse, or 0 if there is none. */
    [[nodiscard]] Residue inverse() const {
        Residue r = *this;
        mpModInv(r.number_.digits, number_.digits, modulus_, digit_count);
        return r;
    }

    /**
     * Returns u - v, reduced. The function first subtracts the digits as signed numbers, and then reduces the absolute
     * value w of the difference. If the difference is negative, the result is the modulus minus the reduced w.
     */
    friend Residue signed_difference(const Residue& u, const Residue& v) {
        Residue r = u;
        std::uint32_t* const digits = r.number_.digits;
        mpSubtract(digits, u.number_.digits, v.number_.digits, digit_count);
        if (mpAbs(digits, digits, digit_count) == 0) return r.reduced();
        return u.small(0) - r;
    }

    friend Residue operator+(const Residue& u, const Residue& v) { return u.apply(mpModAdd, v); }
    friend Residue operator-(const Residue& u, const Residue& v) { return u.apply(mpModSub, v); }
    friend Residue operator*(const Residue& u, const Residue& v) { return u.apply(mpModMult, v); }
    friend Residue operator-(const Residue& u) { return u.small(0) - u; }
    friend Residue operator*(std::uint32_t k, const Residue& u) { return u.small(k) * u; }
    friend Residue sum_of_products(const Residue& a, const Residue& b, const Residue& u, const Residue& v) {
        return a * b + u * v;
    }
    /** Returns a or b. The choice is a branch, so it is not constant-time. */
    friend Residue conditional_move(bool a_is_wanted, const Residue& a, const Residue& b) {
        return a_is_wanted ? a : b;
    }
    friend bool operator==(const Residue& u, const Residue& v) {
        return mpEqual(u.number_.digits, v.number_.digits, digit_count) != 0;
    }

private:
    using Operation = int(std::uint32_t*, const std::uint32_t*, const std::uint32_t*, const std::uint32_t*,
                          std::uint64_t);
    [[nodiscard]] Residue apply(Operation operation, const Residue& v) const {
        Residue r = *this;
        operation(r.number_.digits, number_.digits, v.number_.digits, modulus_, digit_count);
        return r;
    }

    Number number_;
    const std::uint32_t* modulus_;
};

}  // namespace vrx::ecc

#endif

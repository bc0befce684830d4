// Reference implementation of the arithmetic on 32-bit digits, the baseline of the benchmark.
#ifndef VRX_BENCH_ECC_PLAIN_DIGITS_HPP
#define VRX_BENCH_ECC_PLAIN_DIGITS_HPP

#include <bit>
#include <cstdint>
#include <cstring>

namespace plain {

using Digit = std::uint32_t;
using Double = std::uint64_t;

inline void multiply(Digit* w, const Digit* u, const Digit* v, std::size_t n) {
    for (std::size_t i = 0; i < 2 * n; ++i) w[i] = 0;
    for (std::size_t j = 0; j < n; ++j) {
        Double carry = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const Double t = Double{u[i]} * v[j] + w[i + j] + carry;
            w[i + j] = static_cast<Digit>(t);
            carry = t >> 32;
        }
        w[j + n] = static_cast<Digit>(carry);
    }
}

inline void square(Digit* w, const Digit* u, std::size_t n) {
    for (std::size_t i = 0; i < 2 * n; ++i) w[i] = 0;
    for (std::size_t i = 0; i < n; ++i) {
        Double carry = 0;
        for (std::size_t j = i + 1; j < n; ++j) {
            const Double t = Double{u[i]} * u[j] + w[i + j] + carry;
            w[i + j] = static_cast<Digit>(t);
            carry = t >> 32;
        }
        w[i + n] = static_cast<Digit>(carry);
    }
    Digit top = 0;
    Double carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Double s = Double{u[i]} * u[i];
        const Double low = Double{w[2 * i] << 1 | top} + static_cast<Digit>(s) + carry;
        const Double high = Double{w[2 * i + 1] << 1 | w[2 * i] >> 31} + (s >> 32) + (low >> 32);
        top = w[2 * i + 1] >> 31;
        w[2 * i] = static_cast<Digit>(low);
        w[2 * i + 1] = static_cast<Digit>(high);
        carry = high >> 32;
    }
}

inline std::size_t significant(const Digit* a, std::size_t n) {
    while (n != 0 && a[n - 1] == 0) --n;
    return n;
}

/** Algorithm D (Knuth), with the contract of mpDivide(). */
inline int divide(Digit* q, Digit* r, const Digit* u, std::size_t udigits, const Digit* v, std::size_t vdigits) {
    std::memset(q, 0, udigits * sizeof *q);
    std::memset(r, 0, udigits * sizeof *r);
    const std::size_t n = significant(v, vdigits);
    const std::size_t m = significant(u, udigits);
    if (n == 0) return -1;
    if (m < n) {
        std::memcpy(r, u, udigits * sizeof *r);
        return 0;
    }
    if (n == 1) {
        Double rest = 0;
        for (std::size_t i = m; i-- != 0;) {
            rest = rest << 32 | u[i];
            q[i] = static_cast<Digit>(rest / v[0]);
            rest %= v[0];
        }
        r[0] = static_cast<Digit>(rest);
        return 0;
    }
    Digit d[256];
    Digit rest[513];
    const auto k = static_cast<unsigned>(std::countl_zero(v[n - 1]));
    for (std::size_t i = n; i-- != 0;)
        d[i] = v[i] << k | (i != 0 ? static_cast<Digit>(Double{v[i - 1]} << k >> 32) : 0);
    rest[m] = static_cast<Digit>(Double{u[m - 1]} << k >> 32);
    for (std::size_t i = m; i-- != 0;)
        rest[i] = u[i] << k | (i != 0 ? static_cast<Digit>(Double{u[i - 1]} << k >> 32) : 0);
    for (std::size_t j = m - n + 1; j-- != 0;) {
        const Double top = Double{rest[j + n]} << 32 | rest[j + n - 1];
        Double estimate = top / d[n - 1];
        Double left = top % d[n - 1];
        while (estimate >> 32 != 0 || estimate * d[n - 2] > (left << 32 | rest[j + n - 2])) {
            --estimate;
            left += d[n - 1];
            if (left >> 32 != 0) break;
        }
        Double carry = 0;
        Double borrow = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const Double t = estimate * d[i] + carry;
            const Double difference = Double{rest[i + j]} - static_cast<Digit>(t) - borrow;
            rest[i + j] = static_cast<Digit>(difference);
            borrow = difference >> 63;
            carry = t >> 32;
        }
        const Double difference = Double{rest[j + n]} - carry - borrow;
        rest[j + n] = static_cast<Digit>(difference);
        if (difference >> 63 != 0) {
            --estimate;
            carry = 0;
            for (std::size_t i = 0; i < n; ++i) {
                const Double t = Double{rest[i + j]} + d[i] + carry;
                rest[i + j] = static_cast<Digit>(t);
                carry = t >> 32;
            }
            rest[j + n] += static_cast<Digit>(carry);
        }
        q[j] = static_cast<Digit>(estimate);
    }
    for (std::size_t i = 0; i < n; ++i) r[i] = static_cast<Digit>((Double{rest[i + 1]} << 32 | rest[i]) >> k);
    // Wipes operands from the stack, as the contract of the library requires.
    std::memset(d, 0, n * sizeof *d);
    std::memset(rest, 0, (m + 1) * sizeof *rest);
    asm volatile("" : : "r"(d), "r"(rest) : "memory");
    return 0;
}

}  // namespace plain

#endif

// Slow reference arithmetic on natural numbers, stored as bytes. The schoolbook methods differ from the methods under
// test.
#ifndef VRX_TESTS_ECC_BIGDIGITS_SLOW_INTEGER_HPP
#define VRX_TESTS_ECC_BIGDIGITS_SLOW_INTEGER_HPP

#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vrx::test {

class Slow {
public:
    Slow() = default;
    Slow(std::uint64_t value) {  // NOLINT: implicit, like an integer
        for (; value != 0; value >>= 8) bytes_.push_back(static_cast<std::uint8_t>(value));
    }
    explicit Slow(std::span<const std::uint32_t> digits) {
        for (const std::uint32_t digit : digits)
            for (unsigned i = 0; i < 32; i += 8) bytes_.push_back(static_cast<std::uint8_t>(digit >> i));
        trim();
    }
    static Slow power_of_2(std::size_t exponent) {
        Slow x;
        x.bytes_.assign(exponent / 8 + 1, 0);
        x.bytes_.back() = static_cast<std::uint8_t>(1U << exponent % 8);
        return x;
    }

    /** Returns the lowest n digits, which are the number modulo 2^(32 n). */
    [[nodiscard]] std::vector<std::uint32_t> digits(std::size_t n) const {
        std::vector<std::uint32_t> out(n);
        for (std::size_t i = 0; i < std::min(4 * n, bytes_.size()); ++i)
            out[i / 4] |= std::uint32_t{bytes_[i]} << 8 * (i % 4);
        return out;
    }
    [[nodiscard]] bool is_zero() const { return bytes_.empty(); }
    [[nodiscard]] bool bit(std::size_t i) const { return i / 8 < bytes_.size() && (bytes_[i / 8] >> i % 8 & 1) != 0; }
    [[nodiscard]] std::size_t bits() const {
        std::size_t n = 8 * bytes_.size();
        while (n != 0 && !bit(n - 1)) --n;
        return n;
    }
    /** Returns the digits in any base up to 16, most significant first. 0 yields "0". */
    [[nodiscard]] std::string text(unsigned base) const {
        std::string out;
        for (Slow rest = *this; !rest.is_zero();) {
            unsigned carry = 0;
            for (std::size_t i = rest.bytes_.size(); i-- != 0;) {
                carry = carry * 256 + rest.bytes_[i];
                rest.bytes_[i] = static_cast<std::uint8_t>(carry / base);
                carry %= base;
            }
            rest.trim();
            out += "0123456789abcdef"[carry];
        }
        std::reverse(out.begin(), out.end());
        return out.empty() ? "0" : out;
    }

    friend bool operator==(const Slow& a, const Slow& b) { return a.bytes_ == b.bytes_; }
    friend bool operator<(const Slow& a, const Slow& b) {
        if (a.bytes_.size() != b.bytes_.size()) return a.bytes_.size() < b.bytes_.size();
        return std::lexicographical_compare(a.bytes_.rbegin(), a.bytes_.rend(), b.bytes_.rbegin(), b.bytes_.rend());
    }
    friend bool operator>=(const Slow& a, const Slow& b) { return !(a < b); }

    friend Slow operator+(const Slow& a, const Slow& b) {
        Slow sum;
        unsigned carry = 0;
        for (std::size_t i = 0; i < std::max(a.bytes_.size(), b.bytes_.size()) || carry != 0; ++i) {
            carry += a.at(i) + b.at(i);
            sum.bytes_.push_back(static_cast<std::uint8_t>(carry));
            carry >>= 8;
        }
        return sum;
    }
    friend Slow operator-(Slow a, const Slow& b) {
        if (a < b) throw std::invalid_argument("a negative difference");
        a.subtract(b);
        return a;
    }
    friend Slow operator*(const Slow& a, const Slow& b) {
        Slow product;
        product.bytes_.assign(a.bytes_.size() + b.bytes_.size(), 0);
        for (std::size_t i = 0; i < a.bytes_.size(); ++i) {
            unsigned carry = 0;
            for (std::size_t j = 0; j < b.bytes_.size() || carry != 0; ++j) {
                carry += product.bytes_[i + j] + unsigned{a.bytes_[i]} * b.at(j);
                product.bytes_[i + j] = static_cast<std::uint8_t>(carry);
                carry >>= 8;
            }
        }
        product.trim();
        return product;
    }
    /** Quotient and remainder, bit by bit. */
    static std::pair<Slow, Slow> divide(const Slow& u, const Slow& v) {
        if (v.is_zero()) throw std::invalid_argument("a division by zero");
        Slow quotient, rest;
        quotient.bytes_.assign(u.bytes_.size(), 0);
        for (std::size_t i = u.bits(); i-- != 0;) {
            rest.twice_plus(u.bit(i));
            if (rest < v) continue;
            rest.subtract(v);
            quotient.bytes_[i / 8] = static_cast<std::uint8_t>(quotient.bytes_[i / 8] | 1U << i % 8);
        }
        quotient.trim();
        return {quotient, rest};
    }
    friend Slow operator/(const Slow& u, const Slow& v) { return divide(u, v).first; }
    friend Slow operator%(const Slow& u, const Slow& v) { return divide(u, v).second; }

    static Slow gcd(Slow a, Slow b) {
        while (!a.is_zero()) a = std::exchange(b, a) % a;
        return b;
    }
    static Slow power(const Slow& x, const Slow& e, const Slow& m) {
        Slow y = Slow(1) % m;
        for (std::size_t i = e.bits(); i-- != 0;) {
            y = y * y % m;
            if (e.bit(i)) y = y * x % m;
        }
        return y;
    }

private:
    [[nodiscard]] unsigned at(std::size_t i) const { return i < bytes_.size() ? bytes_[i] : 0U; }
    void trim() {
        while (!bytes_.empty() && bytes_.back() == 0) bytes_.pop_back();
    }
    void subtract(const Slow& b) {
        int borrow = 0;
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            const int t = static_cast<int>(at(i)) - static_cast<int>(b.at(i)) - borrow;
            bytes_[i] = static_cast<std::uint8_t>(t);
            borrow = t < 0 ? 1 : 0;
        }
        trim();
    }
    void twice_plus(bool low) {
        unsigned carry = low ? 1 : 0;
        for (std::uint8_t& byte : bytes_) {
            carry += 2U * byte;
            byte = static_cast<std::uint8_t>(carry);
            carry >>= 8;
        }
        if (carry != 0) bytes_.push_back(static_cast<std::uint8_t>(carry));
    }

    std::vector<std::uint8_t> bytes_;  // least significant first, the last one not 0
};

}  // namespace vrx::test

#endif

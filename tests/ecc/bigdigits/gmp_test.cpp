// Compares the arithmetic with GMP, on more and larger numbers than the slow reference arithmetic.
#include <gmp.h>
#include <gtest/gtest.h>

#include "digits.hpp"
#include "vrx/bigdigits.h"

namespace vrx::test {
namespace {

class Mpz {
public:
    Mpz() { mpz_init(z_); }
    explicit Mpz(const DigitVector& a) : Mpz() { mpz_import(z_, a.size(), -1, sizeof(Digit), 0, 0, a.data()); }
    Mpz(const Mpz&) = delete;
    Mpz& operator=(const Mpz&) = delete;
    ~Mpz() { mpz_clear(z_); }
    operator mpz_ptr() { return z_; }  // NOLINT: used in place of the number
    [[nodiscard]] DigitVector digits(std::size_t n) const {
        DigitVector out(n + mpz_size(z_) * 2);
        mpz_export(out.data(), nullptr, -1, sizeof(Digit), 0, 0, z_);
        out.resize(n);
        return out;
    }

private:
    mpz_t z_;
};

/** Compares all functions on random numbers of many lengths, each the given number of times. */
void compare(int times) {
    Numbers numbers;
    for (std::size_t n = 1; n <= 256; n += n < 40 ? 1 : 27)
        for (int i = 0; i < times; ++i) {
            const DigitVector u = numbers(n), v = numbers(n), m = numbers.not_zero(n), wide = numbers(2 * n);
            Mpz x(u), y(v), z(m), big(wide), a, b;
            Guarded w(n), w2(2 * n), q(2 * n), r(2 * n);
            const std::string trace = show(u) + " " + show(v) + " " + show(m) + " " + std::to_string(n);

            mpMultiply(w2, u.data(), v.data(), n);
            mpz_mul(a, x, y);
            ASSERT_EQ(w2.value(), a.digits(2 * n)) << trace;
            mpSquare(w2, u.data(), n);
            mpz_mul(a, x, x);
            ASSERT_EQ(w2.value(), a.digits(2 * n)) << trace;
            mpDivide(q, r, wide.data(), 2 * n, m.data(), n);
            mpz_tdiv_qr(a, b, big, z);
            ASSERT_EQ(q.value(), a.digits(2 * n)) << show(wide) << " / " << trace;
            ASSERT_EQ(r.value(), b.digits(2 * n)) << show(wide) << " / " << trace;
            mpSqrt(w, u.data(), n);
            mpz_sqrt(a, x);
            ASSERT_EQ(w.value(), a.digits(n)) << trace;
            if (n > 128) continue;
            mpModMult(w, u.data(), v.data(), m.data(), n);
            mpz_mul(a, x, y);
            mpz_mod(a, a, z);
            ASSERT_EQ(w.value(), a.digits(n)) << trace;
            mpGcd(w, u.data(), v.data(), n);
            mpz_gcd(a, x, y);
            ASSERT_EQ(w.value(), a.digits(n)) << trace;
            if (Slow(m) >= Slow(2)) {
                const bool exists = mpz_invert(a, x, z) != 0;
                if (!exists) mpz_set_ui(a, 0);
                ASSERT_EQ(mpModInv(w, u.data(), m.data(), n), exists ? 0 : 1) << trace;
                ASSERT_EQ(w.value(), a.digits(n)) << trace;
            }
            if (m[0] % 2 == 1 && !Slow(u).is_zero()) {
                ASSERT_EQ(mpJacobi(u.data(), m.data(), n), mpz_jacobi(x, z)) << trace;
            }
            if (i < 5 && n <= 40 && Slow(v) >= Slow(2)) {
                mpModExp(w, u.data(), v.data(), m.data(), n);
                mpz_powm(a, x, y, z);
                ASSERT_EQ(w.value(), a.digits(n)) << trace;
            }
        }
}

TEST(Gmp, agrees) { compare(10); }
TEST(Gmp, agrees_many_times) { compare(100); }

}  // namespace
}  // namespace vrx::test

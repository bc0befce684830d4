// Fuzz target: all arithmetic operations on arbitrary operands, compared with schoolbook arithmetic on bytes.
//
// Input: one byte for the digit count of u, v and m, one byte for the digit count of the dividend, and one byte for
// shifts and short operands. The digits follow. Missing digits are zeros.
#include "ecc/bigdigits/slow_integer.hpp"
#include "fuzz.hpp"
#include "vrx/bigdigits.h"

namespace {

using vrx::fuzz::Input;
using vrx::fuzz::require;
using vrx::test::Slow;
using DigitVector = std::vector<std::uint32_t>;

DigitVector number(Input& input, std::size_t n) {
    DigitVector x(n);
    for (std::uint32_t& digit : x)
        for (unsigned i = 0; i < 32; i += 8) digit |= std::uint32_t{input.byte()} << i;
    return x;
}

void check_division(const DigitVector& u, const DigitVector& v) {
    DigitVector q(u.size(), 1), r(u.size(), 1), w(v.size(), 1);
    const bool by_zero = Slow(v).is_zero();
    const auto [quotient, rest] = by_zero ? std::pair<Slow, Slow>{} : Slow::divide(Slow(u), Slow(v));
    require(mpDivide(q.data(), r.data(), u.data(), u.size(), v.data(), v.size()) == (by_zero ? -1 : 0),
            "mpDivide's value");
    require(q == quotient.digits(u.size()) && r == rest.digits(u.size()), "mpDivide");
    mpModulo(w.data(), u.data(), u.size(), v.data(), v.size());
    require(w == rest.digits(v.size()), "mpModulo");
}

void check_basics(const DigitVector& u, const DigitVector& v, std::uint32_t d, std::uint64_t shift) {
    const std::size_t n = u.size();
    const Slow x(u), y(v), all = Slow::power_of_2(32 * n);
    DigitVector w(n), product(2 * n);
    require(mpAdd(w.data(), u.data(), v.data(), n) == (x + y >= all) && w == (x + y).digits(n), "mpAdd");
    require(mpSubtract(w.data(), u.data(), v.data(), n) == (x < y) && w == (x + all - y).digits(n), "mpSubtract");
    mpMultiply(product.data(), u.data(), v.data(), n);
    require(product == (x * y).digits(2 * n), "mpMultiply");
    mpSquare(product.data(), u.data(), n);
    require(product == (x * x).digits(2 * n), "mpSquare");
    require(mpCompare(u.data(), v.data(), n) == (x < y ? -1 : x == y ? 0 : 1), "mpCompare");
    require(mpBitLength(u.data(), n) == x.bits(), "mpBitLength");
    require(mpShortMult(w.data(), u.data(), d, n) == (x * Slow(d) / all).digits(1)[0] && w == (x * Slow(d)).digits(n),
            "mpShortMult");
    if (d != 0) {
        require(mpShortDiv(w.data(), u.data(), d, n) == (x % Slow(d)).digits(1)[0] && w == (x / Slow(d)).digits(n),
                "mpShortDiv");
    }
    mpShiftLeft(w.data(), u.data(), shift, n);
    require(w == (x * Slow::power_of_2(shift)).digits(n), "mpShiftLeft");
    mpShiftRight(w.data(), u.data(), shift, n);
    require(w == (x / Slow::power_of_2(shift)).digits(n), "mpShiftRight");
    const bool negative = x.bit(32 * n - 1);
    require(mpAbs(w.data(), u.data(), n) == negative && w == (negative ? all - x : x).digits(n), "mpAbs");
    mpSqrt(w.data(), u.data(), n);
    const Slow root(w);
    require(x >= root * root && x < (root + Slow(1)) * (root + Slow(1)), "mpSqrt");
}

void check_bits(const DigitVector& u, const DigitVector& v, std::uint64_t bit) {
    const std::size_t n = u.size();
    const Slow x(u), all = Slow::power_of_2(32 * n);
    DigitVector both(n), either(n), one(n), none(n), w = u;
    mpAndBits(both.data(), u.data(), v.data(), n);
    mpOrBits(either.data(), u.data(), v.data(), n);
    mpXorBits(one.data(), u.data(), v.data(), n);
    mpNotBits(none.data(), u.data(), n);
    for (std::size_t i = 0; i < n; ++i)
        require(both[i] == (u[i] & v[i]) && either[i] == (u[i] | v[i]) && one[i] == (u[i] ^ v[i]) && none[i] == ~u[i],
                "operations on bits");
    require(mpGetBit(u.data(), n, bit) == (bit >= 32 * n ? -1 : x.bit(bit) ? 1 : 0), "mpGetBit");
    for (const int value : {0, 1, -1}) {
        require(mpSetBit(w.data(), n, bit, value) == (bit >= 32 * n ? -1 : 0), "mpSetBit's value");
        DigitVector expected = u;
        if (bit < 32 * n) {
            const std::uint32_t mask = 1U << bit % 32;
            expected[bit / 32] = value != 0 ? expected[bit / 32] | mask : expected[bit / 32] & ~mask;
        }
        require(w == expected, "mpSetBit");
        w = u;
    }
    mpModPowerOf2(w.data(), n, bit);
    require(w == (bit >= 32 * n ? x : x % Slow::power_of_2(bit)).digits(n), "mpModPowerOf2");
    const bool negative = x.bit(32 * n - 1);
    require(mpIsNegative(u.data(), n) == (negative ? 1 : 0), "mpIsNegative");
    require(mpChs(w.data(), u.data(), n) == (negative ? 1 : 0) && w == ((all - x) % all).digits(n), "mpChs");
    require(mpIsZero(u.data(), n) == (x.is_zero() ? 1 : 0) && mpSizeof(u.data(), n) == (x.bits() + 31) / 32,
            "the size");
    require(mpEqual(u.data(), v.data(), n) == (u == v ? 1 : 0), "mpEqual");
    mpSetEqual(w.data(), v.data(), n);
    require(w == v, "mpSetEqual");
    mpSetDigit(w.data(), u[0], n);
    require(w == Slow(u[0]).digits(n), "mpSetDigit");
    mpSetZero(w.data(), n);
    require(w == DigitVector(n), "mpSetZero");
}

/** Returns whether n is prime, by trial division. */
bool is_prime(std::uint32_t w) {
    if (w < 2) return false;
    for (std::uint64_t d = 2; d * d <= w; ++d)
        if (w % d == 0) return false;
    return true;
}

void check_digits(const DigitVector& u, const DigitVector& v, std::uint32_t d) {
    const std::size_t n = u.size();
    const Slow x(u), all = Slow::power_of_2(32 * n), digit(d);
    DigitVector w(n);
    require(mpShortAdd(w.data(), u.data(), d, n) == (x + digit >= all) && w == (x + digit).digits(n), "mpShortAdd");
    require(mpShortSub(w.data(), u.data(), d, n) == (x < digit) && w == (x + all - digit).digits(n), "mpShortSub");
    require(mpShortModMult(w.data(), u.data(), d, nullptr, n) == (x * digit / all).digits(1)[0] &&
                w == (x * digit).digits(n),
            "mpShortModMult");
    require(mpShortMod(u.data(), d, n) == (d == 0 ? 0 : (x % digit).digits(1)[0]), "mpShortMod");
    require(mpShortCmp(u.data(), d, n) == (x < digit ? -1 : x == digit ? 0 : 1), "mpShortCmp");
    std::uint32_t pair[2], q = 0, r = 0;
    require(spMultiply(pair, u[0], v[0]) == 0 && (pair[0] | std::uint64_t{pair[1]} << 32) == std::uint64_t{u[0]} * v[0],
            "spMultiply");
    const std::uint32_t words[2] = {v[0], u[0]};
    const std::uint64_t dividend = v[0] | std::uint64_t{u[0]} << 32;
    const bool normal = d >= 0x80000000U;
    const std::uint64_t quotient = normal ? dividend / d : 0;
    require(spDivide(&q, &r, words, d) == (normal ? static_cast<int>(quotient >> 32) : -1), "spDivide's value");
    require(q == static_cast<std::uint32_t>(quotient) && r == (normal ? dividend % d : 0), "spDivide");
    // Small enough for trial division. Twenty rounds accept a composite number with a probability below 2^-40.
    const std::uint32_t small = d % 1000003;
    require(mpIsPrime(&small, 1, 20) == (is_prime(small) ? 1 : 0), "mpIsPrime");
}

/** Checks that a result is the same if it overwrites an operand. */
void check_shared(const DigitVector& u, const DigitVector& v, const DigitVector& m) {
    const std::size_t n = u.size();
    const auto same = [&](auto f, const char* name) {
        DigitVector apart(n), first = u, second = v;
        f(apart.data(), u.data(), v.data());
        f(first.data(), first.data(), v.data());
        f(second.data(), u.data(), second.data());
        require(first == apart && second == apart, name);
    };
    same([&](auto* w, auto* a, auto* b) { mpAdd(w, a, b, n); }, "mpAdd in place");
    same([&](auto* w, auto* a, auto* b) { mpSubtract(w, a, b, n); }, "mpSubtract in place");
    same([&](auto* w, auto* a, auto* b) { mpGcd(w, a, b, n); }, "mpGcd in place");
    same([&](auto* w, auto* a, auto* b) { mpXorBits(w, a, b, n); }, "mpXorBits in place");
    same([&](auto* w, auto* a, auto* b) { mpModInv(w, a, b, n); }, "mpModInv in place");
    same([&](auto* w, auto* a, auto* b) { mpModulo(w, a, n, b, n); }, "mpModulo in place");
    if (Slow(m) < Slow(2)) return;
    same([&](auto* w, auto* a, auto* b) { mpModMult(w, a, b, m.data(), n); }, "mpModMult in place");
    DigitVector product(n), modulus = m;
    mpModMult(product.data(), u.data(), v.data(), m.data(), n);
    mpModMult(modulus.data(), u.data(), v.data(), modulus.data(), n);
    require(product == modulus, "mpModMult in the array of the modulus");
}

/** The Jacobi symbol (a/n) for odd n, by quadratic reciprocity. */
int jacobi(Slow a, Slow n) {
    int sign = 1;
    for (a = a % n; !a.is_zero(); a = a % n) {
        while (!a.bit(0)) {
            a = a / Slow(2);
            if (n.bit(0) && (n.bit(1) != n.bit(2))) sign = -sign;  // n = 3 or 5 modulo 8
        }
        std::swap(a, n);
        if (a.bit(1) && n.bit(1)) sign = -sign;  // both 3 modulo 4
    }
    return n == Slow(1) ? sign : 0;
}

void check_modular(const DigitVector& u, const DigitVector& v, const DigitVector& m, std::uint32_t e) {
    const std::size_t n = u.size();
    const Slow x(u), y(v), mod(m);
    DigitVector w(n);
    mpGcd(w.data(), u.data(), m.data(), n);
    const Slow gcd = Slow::gcd(x, mod);
    require(w == gcd.digits(n), "mpGcd");
    if (mod < Slow(2)) return;
    mpModMult(w.data(), u.data(), v.data(), m.data(), n);
    require(w == (x * y % mod).digits(n), "mpModMult");
    if (!mod.bit(32 * n - 1)) {
        mpModAdd(w.data(), u.data(), v.data(), m.data(), n);
        require(w == ((x + y) % mod).digits(n), "mpModAdd");
        mpModSub(w.data(), u.data(), v.data(), m.data(), n);
        require(w == ((x % mod + mod - y % mod) % mod).digits(n), "mpModSub");
    }
    const bool exists = gcd == Slow(1);
    require(mpModInv(w.data(), u.data(), m.data(), n) == (exists ? 0 : 1), "mpModInv's value");
    require(Slow(w) < mod && x * Slow(w) % mod == Slow(exists ? 1 : 0), "mpModInv");
    mpModExp(w.data(), u.data(), Slow(e).digits(n).data(), m.data(), n);
    require(w == (e == 0 ? Slow(1) : e == 1 ? x : Slow::power(x, Slow(e), mod)).digits(n), "mpModExp");
    if (mod.bit(0)) require((mpJacobi(u.data(), m.data(), n) == 0) == !exists, "mpJacobi");
    if (mod.bit(0) && n <= 4) require(mpJacobi(u.data(), m.data(), n) == jacobi(x, mod), "mpJacobi's sign");
}

void check_text(const DigitVector& u) {
    const std::size_t n = u.size();
    std::vector<char> text(10 * n + 2);
    DigitVector back(n);
    const std::string decimal = Slow(u).text(10), hex = Slow(u).text(16);
    require(mpConvToDecimal(u.data(), n, text.data(), text.size()) == decimal.size() && decimal == text.data(),
            "mpConvToDecimal");
    mpConvFromDecimal(back.data(), n, text.data());
    require(back == u, "mpConvFromDecimal");
    require(mpConvToHex(u.data(), n, text.data(), text.size()) == hex.size() && hex == text.data(), "mpConvToHex");
    mpConvFromHex(back.data(), n, text.data());
    require(back == u, "mpConvFromHex");
    std::vector<std::uint8_t> octets(4 * n);
    require(mpConvToOctets(u.data(), n, octets.data(), static_cast<std::uint32_t>(4 * n)) == (Slow(u).bits() + 7) / 8,
            "mpConvToOctets");
    mpConvFromOctets(back.data(), n, octets.data(), static_cast<std::uint32_t>(4 * n));
    require(back == u, "mpConvFromOctets");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::size_t n = 1 + input.byte() % 24;
    const std::size_t dividend = 1 + input.byte() % 48;
    const std::uint8_t small = input.byte();
    const DigitVector m = number(input, n), u = number(input, n), v = number(input, n), wide = number(input, dividend);
    check_division(wide, m);
    check_basics(u, v, v[0], std::uint64_t{small} * 4);
    check_bits(u, v, std::uint64_t{small} * 3 + v[0] % 32);
    check_digits(u, v, v[0]);
    check_shared(u, v, m);
    check_modular(u, v, m, small);
    check_text(u);
    return 0;
}

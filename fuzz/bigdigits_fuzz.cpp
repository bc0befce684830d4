// Every operation of the arithmetic on the same arbitrary operands, against school arithmetic on bytes.
//
// Input: a byte for the digit count of u, v and m, one for that of the dividend, one for shifts and short operands;
// then the digits, as long as there are bytes, afterwards zeros.
#include "ecc/bigdigits/slow_integer.hpp"
#include "fuzz.hpp"
#include "vrx/bigdigits.h"

namespace {

using vrx::fuzz::Input;
using vrx::fuzz::require;
using vrx::test::Slow;
using Number = std::vector<std::uint32_t>;

Number number(Input& input, std::size_t n) {
    Number x(n);
    for (std::uint32_t& digit : x)
        for (unsigned i = 0; i < 32; i += 8) digit |= std::uint32_t{input.byte()} << i;
    return x;
}

void check_division(const Number& u, const Number& v) {
    Number q(u.size(), 1), r(u.size(), 1), w(v.size(), 1);
    const bool by_zero = Slow(v).is_zero();
    const auto [quotient, rest] = by_zero ? std::pair<Slow, Slow>{} : Slow::divide(Slow(u), Slow(v));
    require(mpDivide(q.data(), r.data(), u.data(), u.size(), v.data(), v.size()) == (by_zero ? -1 : 0),
            "mpDivide's value");
    require(q == quotient.digits(u.size()) && r == rest.digits(u.size()), "mpDivide");
    mpModulo(w.data(), u.data(), u.size(), v.data(), v.size());
    require(w == rest.digits(v.size()), "mpModulo");
}

void check_basics(const Number& u, const Number& v, std::uint32_t d, std::uint64_t shift) {
    const std::size_t n = u.size();
    const Slow x(u), y(v), all = Slow::power_of_2(32 * n);
    Number w(n), product(2 * n);
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

void check_modular(const Number& u, const Number& v, const Number& m, std::uint32_t e) {
    const std::size_t n = u.size();
    const Slow x(u), y(v), mod(m);
    Number w(n);
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
}

void check_text(const Number& u) {
    const std::size_t n = u.size();
    std::vector<char> text(10 * n + 2);
    Number back(n);
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
    const Number m = number(input, n), u = number(input, n), v = number(input, n), wide = number(input, dividend);
    check_division(wide, m);
    check_basics(u, v, v[0], std::uint64_t{small} * 4);
    check_modular(u, v, m, small);
    check_text(u);
    return 0;
}

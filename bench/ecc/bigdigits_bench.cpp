// Multiple-precision arithmetic compared with a reference implementation on 32-bit digits and with GMP. The argument is
// the number of digits. Every version cycles through the same 16 sets of random operands. Results are compared before
// the measurement starts.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "ecc/plain_digits.hpp"
#include "vrx/bigdigits.h"

#ifdef VRX_WITH_GMP
#include <gmp.h>
#endif

namespace {

using DigitVector = std::vector<std::uint32_t>;

constexpr std::size_t sets = 16;

DigitVector random_number(std::size_t n) {
    static std::mt19937 engine(1);
    DigitVector number(n);
    for (auto& digit : number) digit = static_cast<std::uint32_t>(engine());
    return number;
}

/** An odd modulus of n digits with the top bit set. */
DigitVector random_modulus(std::size_t n) {
    DigitVector m = random_number(n);
    m.front() |= 1;
    m.back() |= 0x80000000;
    return m;
}

void check(bool same, const char* what) {
    if (same) return;
    std::fprintf(stderr, "%s: the versions give different results\n", what);
    std::abort();
}

struct Case {
    std::size_t n;
    DigitVector u, v, m, wide;  // wide: dividend of 2n digits
    mutable DigitVector w, q, r;
    explicit Case(std::size_t digits)
        : n(digits),
          u(random_number(n)),
          v(random_number(n)),
          m(random_modulus(n)),
          wide(random_number(2 * n)),
          w(2 * n),
          q(2 * n),
          r(2 * n) {}
};

#ifdef VRX_WITH_GMP
struct Mpz {
    mpz_t z;
    Mpz() { mpz_init(z); }
    explicit Mpz(const DigitVector& a) : Mpz() { mpz_import(z, a.size(), -1, 4, 0, 0, a.data()); }
    Mpz(const Mpz& other) { mpz_init_set(z, other.z); }
    Mpz& operator=(const Mpz&) = delete;
    ~Mpz() { mpz_clear(z); }
    [[nodiscard]] bool is(const DigitVector& a) const { return mpz_cmp(z, Mpz(a).z) == 0; }
};
struct GmpCase {
    Mpz u, v, m, wide;
    mutable Mpz w, q, r;
    explicit GmpCase(const Case& c) : u(c.u), v(c.v), m(c.m), wide(c.wide) {}
};
#endif

template <typename C>
using Task = void (*)(const C&);

template <typename C>
void measure(benchmark::State& state, const std::vector<C>& cases, Task<C> run) {
    std::size_t i = 0;
    for (auto _ : state) {
        run(cases[i++ % sets]);
        benchmark::ClobberMemory();
    }
}

struct Operation {
    const char* name;
    std::vector<std::size_t> digits;
    Task<Case> vrx;
    Task<Case> plain;  // NULL: not measured
#ifdef VRX_WITH_GMP
    Task<GmpCase> gmp;
#endif
};

#ifdef VRX_WITH_GMP
#define GMP(run) , run
#else
#define GMP(run)
#endif

const Operation operations[] = {
    {"mpMultiply",
     {9, 16, 32, 64, 128},
     [](const Case& c) { mpMultiply(c.w.data(), c.u.data(), c.v.data(), c.n); },
     [](const Case& c) {
         plain::multiply(c.w.data(), c.u.data(), c.v.data(), c.n);
     } GMP([](const GmpCase& c) { mpz_mul(c.w.z, c.u.z, c.v.z); })},
    {"mpSquare",
     {9, 16, 32, 64, 128},
     [](const Case& c) { mpSquare(c.w.data(), c.u.data(), c.n); },
     [](const Case& c) {
         plain::square(c.w.data(), c.u.data(), c.n);
     } GMP([](const GmpCase& c) { mpz_mul(c.w.z, c.u.z, c.u.z); })},
    {"mpDivide",
     {9, 16, 32, 64, 128},
     [](const Case& c) { mpDivide(c.q.data(), c.w.data(), c.wide.data(), 2 * c.n, c.m.data(), c.n); },
     [](const Case& c) {
         plain::divide(c.q.data(), c.w.data(), c.wide.data(), 2 * c.n, c.m.data(), c.n);
     } GMP([](const GmpCase& c) { mpz_tdiv_qr(c.q.z, c.w.z, c.wide.z, c.m.z); })},
    {"mpModMult",
     {8, 9, 32, 64, 128},
     [](const Case& c) { mpModMult(c.w.data(), c.u.data(), c.v.data(), c.m.data(), c.n); },
     [](const Case& c) {
         DigitVector& t = c.r;
         plain::multiply(t.data(), c.u.data(), c.v.data(), c.n);
         plain::divide(c.q.data(), c.w.data(), t.data(), 2 * c.n, c.m.data(), c.n);
     } GMP([](const GmpCase& c) {
         mpz_mul(c.r.z, c.u.z, c.v.z);
         mpz_mod(c.w.z, c.r.z, c.m.z);
     })},
    {"mpModExp",
     {9, 32, 64},
     [](const Case& c) { mpModExp(c.w.data(), c.u.data(), c.v.data(), c.m.data(), c.n); },
     nullptr GMP([](const GmpCase& c) { mpz_powm(c.w.z, c.u.z, c.v.z, c.m.z); })},
    {"mpModInv",
     {8, 9, 32, 64},
     [](const Case& c) { mpModInv(c.w.data(), c.u.data(), c.m.data(), c.n); },
     nullptr GMP([](const GmpCase& c) {
         if (mpz_invert(c.w.z, c.u.z, c.m.z) == 0) mpz_set_ui(c.w.z, 0);
     })},
};

const auto registered = [] {
    for (const Operation& op : operations)
        for (const std::size_t n : op.digits) {
            const std::string size = "/" + std::to_string(n);
            const std::vector<Case> cases = [n] {
                std::vector<Case> made;
                for (std::size_t i = 0; i < sets; ++i) made.emplace_back(n);
                return made;
            }();
            std::vector<DigitVector> expected;
            for (const Case& c : cases) {
                std::fill(c.w.begin(), c.w.end(), 0);
                op.vrx(c);
                expected.push_back(c.w);
            }
            benchmark::RegisterBenchmark((op.name + size + "/vrx").c_str(),
                                         [cases, &op](auto& state) { measure(state, cases, op.vrx); });
            if (op.plain != nullptr) {
                for (std::size_t i = 0; i < sets; ++i) {
                    op.plain(cases[i]);
                    check(cases[i].w == expected[i], op.name);
                }
                benchmark::RegisterBenchmark((op.name + size + "/plain").c_str(),
                                             [cases, &op](auto& state) { measure(state, cases, op.plain); });
            }
#ifdef VRX_WITH_GMP
            const std::vector<GmpCase> peers(cases.begin(), cases.end());
            for (std::size_t i = 0; i < sets; ++i) {
                op.gmp(peers[i]);
                check(peers[i].w.is(expected[i]), op.name);
            }
            benchmark::RegisterBenchmark((op.name + size + "/gmp").c_str(),
                                         [peers, &op](auto& state) { measure(state, peers, op.gmp); });
#endif
        }
    return true;
}();

}  // namespace

// The exported functions for random digits and primality tests. They use the C library's rand(): not for keys.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "ecc/bigdigits/words.hpp"
#include "vrx/bigdigits.h"

using namespace vrx::bigdigits;

namespace {

constexpr unsigned greatest_small_prime = 997;

constexpr bool is_small_prime(unsigned x) {
    for (unsigned d = 2; d * d <= x; ++d)
        if (x % d == 0) return false;
    return x >= 2;
}

/** The odd primes below 1000. */
constexpr auto small_primes = [] {
    std::array<Digit, 167> primes{};
    std::size_t count = 0;
    for (unsigned x = 3; x <= greatest_small_prime; x += 2)
        if (is_small_prime(x)) primes.at(count++) = x;
    return primes;
}();
static_assert(small_primes.back() == greatest_small_prime);

void seed_from_clock() { std::srand(static_cast<unsigned>(std::time(nullptr)) ^ static_cast<unsigned>(std::clock())); }

/** Four bytes from rand(), the first one lowest. Deliberate: the contract promises no better generator. */
Digit draw() {
    Digit value = 0;
    for (unsigned shift = 0; shift < 32; shift += 8)
        value |= (static_cast<Digit>(std::rand()) & 0xff) << shift;  // NOLINT(cert-msc30-c,cert-msc50-cpp)
    return value;
}

/** A uniform digit from 0 to range, by rejection sampling. range is not 0. */
Digit draw_up_to(Digit range) {
    const Digit mask = ~Digit{0} >> std::countl_zero(range);
    Digit value;
    do value = draw() & mask;
    while (value > range);
    return value;
}

/** The temporaries of a test, wiped by the destructor. */
struct Numbers {
    Digit minus_one[max_digits], odd[max_digits], base[max_digits], z[max_digits];
    std::uint64_t ndigits;

    explicit Numbers(std::uint64_t n) : ndigits(n) {}
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;
    ~Numbers() {
        for (Digit* number : {minus_one, odd, base, z}) mpSetZero(number, ndigits);
    }
};

/** One round of the Rabin-Miller test, for w - 1 = 2^a odd and the base in t. */
bool passes(const Digit* w, std::uint64_t a, Numbers& t) {
    mpModExp(t.z, t.base, t.odd, w, t.ndigits);
    if (mpShortCmp(t.z, 1, t.ndigits) == 0) return true;
    for (std::uint64_t j = 0;;) {
        if (mpEqual(t.z, t.minus_one, t.ndigits) == 1) return true;
        if (j > 0 && mpShortCmp(t.z, 1, t.ndigits) == 0) return false;
        if (++j >= a) return false;
        mpModMult(t.z, t.z, t.z, w, t.ndigits);
    }
}

}  // namespace

std::uint32_t spSimpleRand(std::uint32_t lower, std::uint32_t upper) {
    static std::atomic<bool> seeded{false};
    if (!seeded.exchange(true, std::memory_order_relaxed)) seed_from_clock();
    return lower >= upper ? lower : lower + draw_up_to(upper - lower);
}

int mpRabinMiller(const std::uint32_t* w, std::uint64_t ndigits, std::uint64_t t) {
    if (mpShortCmp(w, 1, ndigits) <= 0) return 0;
    seed_from_clock();
    if (mpShortCmp(w, 2, ndigits) == 0) return 1;  // there is no base between 1 and w
    Numbers numbers(ndigits);
    mpShortSub(numbers.minus_one, w, 1, ndigits);
    std::uint64_t a = 0;
    while (mpGetBit(numbers.minus_one, ndigits, a) == 0) ++a;
    mpShiftRight(numbers.odd, numbers.minus_one, a, ndigits);
    const Digit limit = mpSizeof(w, ndigits) == 1 ? w[0] - 2 : ~Digit{0};
    for (std::uint64_t round = 0; round < t; ++round) {
        // The base is from 2 to limit, so it is below w.
        mpSetDigit(numbers.base, limit > 2 ? draw_up_to(limit - 2) + 2 : 2, ndigits);
        if (!passes(w, a, numbers)) return 0;
    }
    return 1;
}

int mpIsPrime(const std::uint32_t* w, std::uint64_t ndigits, std::uint64_t t) {
    if (mpShortCmp(w, 2, ndigits) <= 0) return mpShortCmp(w, 2, ndigits) == 0;
    if (w[0] % 2 == 0) return 0;
    if (mpShortCmp(w, greatest_small_prime, ndigits) <= 0)
        return std::find(small_primes.begin(), small_primes.end(), w[0]) != small_primes.end();
    for (const Digit prime : small_primes)
        if (mpShortMod(w, prime, ndigits) == 0) return 0;
    return mpRabinMiller(w, ndigits, t);
}

void mpFail(const char* message) {
    std::perror(message);
    std::exit(1);
}

// Tests of random digits and primality. They replace rand() and srand(), and so observe every draw and seed.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "digits.hpp"
#include "support/child_process.hpp"
#include "vrx/bigdigits.h"

namespace {

std::deque<int> script;  // the next results of rand(); after them, any numbers
int calls_of_rand = 0;
int calls_of_srand = 0;
std::mt19937 engine(1);

}  // namespace

extern "C" int rand() {
    ++calls_of_rand;
    if (script.empty()) return static_cast<int>(engine() >> 1);
    const int next = script.front();
    script.pop_front();
    return next;
}
extern "C" void srand(unsigned) { ++calls_of_srand; }

namespace vrx::test {
namespace {

/**
 * Scripts the results of the four calls of rand() for a digit. The first call yields the lowest byte. The bits above
 * each byte are garbage.
 */
void will_draw(Digit digit) {
    for (unsigned shift = 0; shift < 32; shift += 8)
        script.push_back(static_cast<int>(0x5a00 | (digit >> shift & 0xff)));
}

class Draws : public testing::Test {
protected:
    Draws() {
        spSimpleRand(0, 1);  // seeds the generator
        script.clear();
        calls_of_rand = 0;
        calls_of_srand = 0;
    }
};

TEST_F(Draws, a_digit_is_four_bytes_lowest_first) {
    will_draw(0x44332211);
    EXPECT_EQ(spSimpleRand(0, 0xffffffff), 0x44332211U);
    EXPECT_EQ(calls_of_rand, 4);
}

TEST_F(Draws, bits_above_the_range_are_masked) {
    will_draw(0xfffffff5);
    EXPECT_EQ(spSimpleRand(10, 20), 15U);  // range 10, mask 15
    EXPECT_EQ(calls_of_rand, 4);
    will_draw(0xffffffff);
    EXPECT_EQ(spSimpleRand(0, 1), 1U);
    will_draw(0xffffffff);
    EXPECT_EQ(spSimpleRand(0, 0x7fffffff), 0x7fffffffU);
}

TEST_F(Draws, a_value_above_the_range_is_drawn_again) {
    will_draw(0x0000000f);
    will_draw(0xabcdef0b);
    will_draw(0x0000000a);
    EXPECT_EQ(spSimpleRand(10, 20), 20U);
    EXPECT_EQ(calls_of_rand, 12);
    will_draw(0x80000001);  // range 2^31: no bit is masked
    will_draw(0x80000000);
    EXPECT_EQ(spSimpleRand(0, 0x80000000), 0x80000000U);
}

TEST_F(Draws, an_empty_range_yields_the_lower_bound_and_draws_nothing) {
    EXPECT_EQ(spSimpleRand(5, 5), 5U);
    EXPECT_EQ(spSimpleRand(9, 3), 9U);
    EXPECT_EQ(spSimpleRand(0xffffffff, 0), 0xffffffffU);
    EXPECT_EQ(calls_of_rand, 0);
}

TEST_F(Draws, exactly_the_values_of_the_range_occur) {
    std::vector<int> seen(11);
    for (int i = 0; i < 2000; ++i) ++seen.at(spSimpleRand(100, 110) - 100);
    for (const int times : seen) EXPECT_GT(times, 100);
}

TEST_F(Draws, the_generator_is_not_seeded_again) {
    spSimpleRand(1, 100);
    EXPECT_EQ(calls_of_srand, 0);
}

// ctest runs each test in a process of its own. If all tests run in one process, an earlier test may have seeded the
// generator.
TEST(Seeding, happens_on_the_first_call_even_of_an_empty_range) {
    static bool first = true;
    if (calls_of_srand != 0 || calls_of_rand != 0) first = false;
    calls_of_srand = 0;
    EXPECT_EQ(spSimpleRand(9, 3), 9U);
    EXPECT_EQ(calls_of_srand, first ? 1 : 0);
    spSimpleRand(9, 3);
    EXPECT_EQ(calls_of_srand, first ? 1 : 0);
}

int rabin_miller(const Slow& w, std::uint64_t t, std::size_t n = 9) { return mpRabinMiller(w.digits(n).data(), n, t); }
int is_prime(const Slow& w, std::uint64_t t = 10, std::size_t n = 9) { return mpIsPrime(w.digits(n).data(), n, t); }

TEST_F(Draws, each_test_seeds_the_generator_after_the_smallest_numbers) {
    rabin_miller(Slow(), 5);
    rabin_miller(Slow(1), 5);
    EXPECT_EQ(calls_of_srand, 0);
    rabin_miller(Slow(11), 0);
    EXPECT_EQ(calls_of_srand, 1);
    rabin_miller(Slow(11), 3);
    EXPECT_EQ(calls_of_srand, 2);
}

TEST_F(Draws, bases_go_from_2_to_w_minus_2) {
    // 2047 = 23 * 89 passes with base 2 and fails with base 3.
    will_draw(0);
    EXPECT_EQ(rabin_miller(Slow(2047), 1), 1);
    will_draw(1);
    EXPECT_EQ(rabin_miller(Slow(2047), 1), 0);
    // The limit is 2045, the range 2043, and the mask 2047. The random number 2044 is rejected. 2043 yields the base
    // 2045 = -2, for which 2047 passes, as it does for 2.
    script.clear();
    calls_of_rand = 0;
    will_draw(2044);
    will_draw(2043);
    EXPECT_EQ(rabin_miller(Slow(2047), 1), 1);
    EXPECT_EQ(calls_of_rand, 8);
}

TEST_F(Draws, the_limit_depends_on_significant_digits_only) {
    // One significant digit in an array of nine: the base is below w.
    will_draw(0xffffffff);  // masked to 2047, which is above the range
    will_draw(0);
    EXPECT_EQ(rabin_miller(Slow(2047), 1, 9), 1);
    EXPECT_EQ(calls_of_rand, 8);
    // Two significant digits: bases up to 2^32 - 1.
    script.clear();
    calls_of_rand = 0;
    will_draw(0xfffffffe);
    will_draw(0xfffffffd);
    EXPECT_EQ(rabin_miller(Slow::power_of_2(61) - Slow(1), 1, 2), 1);
    EXPECT_EQ(calls_of_rand, 8);
}

TEST_F(Draws, the_smallest_numbers_take_the_base_2_without_a_draw) {
    EXPECT_EQ(rabin_miller(Slow(3), 5), 1);
    EXPECT_EQ(rabin_miller(Slow(4), 5), 0);
    EXPECT_EQ(calls_of_rand, 0);
}

TEST(RabinMiller, without_rounds_passes_everything_above_1) {
    for (const std::uint64_t w : {2U, 3U, 4U, 9U, 15U, 100U}) EXPECT_EQ(rabin_miller(Slow(w), 0), 1) << w;
    EXPECT_EQ(rabin_miller(Slow::power_of_2(200), 0), 1);
    EXPECT_EQ(rabin_miller(Slow(), 0), 0);
    EXPECT_EQ(rabin_miller(Slow(1), 0), 0);
}

TEST(RabinMiller, passes_2) { EXPECT_EQ(rabin_miller(Slow(2), 10), 1); }

bool is_prime_plainly(Digit x) {
    for (Digit d = 2; d * d <= x; ++d)
        if (x % d == 0) return false;
    return x >= 2;
}

TEST(RabinMiller, decides_all_small_numbers) {
    for (Digit w = 0; w < 1500; ++w) EXPECT_EQ(rabin_miller(Slow(w), 12, 1), is_prime_plainly(w)) << w;
}

TEST(Prime, decides_all_small_numbers) {
    for (Digit w = 0; w < 12000; ++w) EXPECT_EQ(is_prime(Slow(w), 10, 1 + w % 3), is_prime_plainly(w)) << w;
}

TEST_F(Draws, numbers_up_to_997_and_small_factors_need_no_round) {
    EXPECT_EQ(is_prime(Slow(997)), 1);
    EXPECT_EQ(is_prime(Slow(999)), 0);
    EXPECT_EQ(is_prime(Slow(2)), 1);
    EXPECT_EQ(is_prime(Slow(4)), 0);
    EXPECT_EQ(is_prime(Slow(997) * Slow(997)), 0);
    EXPECT_EQ(is_prime(Slow::power_of_2(100)), 0);
    EXPECT_EQ(calls_of_rand + calls_of_srand, 0);
    EXPECT_EQ(is_prime(Slow(1009), 3), 1);
    EXPECT_EQ(calls_of_srand, 1);
    EXPECT_GE(calls_of_rand, 12);
}

TEST(Prime, carmichael_numbers_are_composite) {
    for (const std::uint64_t w : {561U, 1105U, 1729U, 2465U, 2821U, 6601U, 8911U, 41041U, 825265U, 321197185U}) {
        EXPECT_EQ(is_prime(Slow(w), 20), 0) << w;
        EXPECT_EQ(rabin_miller(Slow(w), 20), 0) << w;
    }
    // Numbers (6k + 1)(12k + 1)(18k + 1) whose three factors are primes and not small.
    const std::uint64_t k = 380;
    const Slow w = Slow(6 * k + 1) * Slow(12 * k + 1) * Slow(18 * k + 1);
    ASSERT_TRUE(is_prime_plainly(6 * k + 1) && is_prime_plainly(12 * k + 1) && is_prime_plainly(18 * k + 1));
    EXPECT_EQ(is_prime(w, 20), 0);
}

TEST(Prime, large_primes_pass_and_their_products_do_not) {
    const Slow m61 = Slow::power_of_2(61) - Slow(1), m127 = Slow::power_of_2(127) - Slow(1);
    const Slow p255 = Slow::power_of_2(255) - Slow(19), p256 = Slow::power_of_2(256) - Slow(617);
    for (const Slow& p : {m61, m127, p255, p256}) EXPECT_EQ(is_prime(p), 1) << p.text(16);
    for (const Slow& p : {m61 * m61, m61 * m127, m127 * m127, p255 + Slow(2), p256 - Slow(2)})
        EXPECT_EQ(is_prime(p), 0) << p.text(16);
    EXPECT_EQ(is_prime(Slow::power_of_2(521) - Slow(1), 3, 17), 1);
    EXPECT_EQ(is_prime(p255 * p256, 3, 16), 0);
}

TEST(Fail, prints_the_system_error_and_ends_the_process_with_1) {
    const ChildRun run = run_in_child([] {
        errno = ENOMEM;
        mpFail("out of words");
    });
    EXPECT_TRUE(WIFEXITED(run.status));
    EXPECT_EQ(WEXITSTATUS(run.status), 1);
    EXPECT_EQ(run.err, std::string("out of words: ") + std::strerror(ENOMEM) + "\n");
    EXPECT_EQ(run.out, "");
}

}  // namespace
}  // namespace vrx::test

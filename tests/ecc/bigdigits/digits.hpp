// Digit arrays between guards, and test numbers of every shape.
#ifndef VRX_TESTS_ECC_BIGDIGITS_DIGITS_HPP
#define VRX_TESTS_ECC_BIGDIGITS_DIGITS_HPP

#include <gtest/gtest.h>

#include <vector>

#include "slow_integer.hpp"
#include "support/random.hpp"

namespace vrx::test {

using Digit = std::uint32_t;
using DigitVector = std::vector<Digit>;

using Counts = std::initializer_list<std::size_t>;

/** The digit counts that every operation is tested with. */
inline constexpr std::size_t counts[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 16, 17, 31, 32, 33, 64, 128, 256};

/** A digit array between guard digits, which the destructor checks. */
class Guarded {
public:
    explicit Guarded(const DigitVector& value) : n_(value.size()), memory_(n_ + 2 * width, guard) {
        std::copy(value.begin(), value.end(), data());
    }
    /** An output array, filled with garbage. */
    explicit Guarded(std::size_t n) : Guarded(DigitVector(n, 0x55aa55aa)) {}
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    ~Guarded() {
        for (std::size_t i = 0; i < width; ++i) {
            EXPECT_EQ(memory_[i], guard) << "a digit before the array was written";
            EXPECT_EQ(memory_[width + n_ + i], guard) << "a digit behind the array was written";
        }
    }

    Digit* data() { return memory_.data() + width; }
    operator Digit*() { return data(); }  // NOLINT: used in place of the array
    [[nodiscard]] DigitVector value() const { return {memory_.begin() + width, memory_.end() - width}; }

private:
    static constexpr Digit guard = 0xfeedface;
    static constexpr std::size_t width = 4;
    std::size_t n_;
    std::vector<Digit> memory_;
};

/** Numbers of n digits: edge cases, numbers whose digits are edge cases, and random numbers of every length. */
class Numbers {
public:
    DigitVector operator()(std::size_t n) {
        DigitVector x(n);
        if (n == 0) return x;
        switch (random_.below(8)) {
            case 0:
                return DigitVector(n, 0xffffffff);
            case 1:
                x[random_.below(static_cast<std::uint32_t>(n))] = Digit{1} << random_.below(32);
                return x;
            case 2:
                x[0] = edge();
                return x;
            case 3:
            case 4:
                for (Digit& digit : x) digit = edge();
                return x;
            case 5:
                for (std::size_t i = random_.below(static_cast<std::uint32_t>(n)) + 1; i-- != 0;) x[i] = random_.word();
                return x;
            default:
                for (Digit& digit : x) digit = random_.word();
                return x;
        }
    }
    DigitVector not_zero(std::size_t n) {
        DigitVector x = (*this)(n);
        while (std::all_of(x.begin(), x.end(), [](Digit digit) { return digit == 0; })) x = (*this)(n);
        return x;
    }
    Digit edge() {
        constexpr Digit edges[] = {0, 0, 1, 2, 0x7fffffff, 0x80000000, 0x80000001, 0xfffffffe, 0xffffffff, 0xffffffff};
        const std::uint32_t i = random_.below(std::size(edges) + 1);
        return i < std::size(edges) ? edges[i] : random_.word();
    }
    Random& random() { return random_; }

private:
    Random random_;
};

/** The number of random operands: fewer for long numbers, because the reference arithmetic is slow. */
inline int draws(std::size_t n) { return n <= 12 ? 200 : n <= 33 ? 40 : n <= 64 ? 10 : 3; }

inline std::string show(const DigitVector& x) { return Slow(x).text(16); }

}  // namespace vrx::test

#endif

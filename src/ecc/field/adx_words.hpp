// Word operations with BMI2, ADX and AVX2. A product uses MULX, which does not change the flags, and two independent
// carry chains: ADCX uses the carry flag, and ADOX uses the overflow flag. Compilers use only one chain, and their code
// takes up to twice as long.
#ifndef VRX_ECC_FIELD_ADX_WORDS_HPP
#define VRX_ECC_FIELD_ADX_WORDS_HPP

#include "ecc/field/modulus.hpp"

namespace vrx::field {

// The following macros are steps of the assembly below. Their arguments are names of registers and pointers in that
// assembly. `at` is an offset in bytes.

// Loads rdx, the factor of a row, with the word of a number at an offset.
#define FACTOR(number, at) "movq " #at "(%[" #number "]), %%rdx\n\t"

// Zeroes a register and clears both carry chains.
#define CLEAR(r) "xorl %k[" #r "], %k[" #r "]\n\t"

// Adds rdx times a word to two registers: the low half with the carry flag, the high half with the overflow flag.
#define ADD_PRODUCT(number, at, r_low, r_high) \
    "mulxq " #at "(%[" #number                 \
    "]), %[low], %[high]\n\t"                  \
    "adcxq %[low], %[" #r_low                  \
    "]\n\t"                                    \
    "adoxq %[high], %[" #r_high "]\n\t"

// Adds rdx times four words to five registers. Leaves carries in both chains.
#define ADD_ROW(number, r0, r1, r2, r3, r4) \
    ADD_PRODUCT(number, 0, r0, r1)          \
    ADD_PRODUCT(number, 8, r1, r2)          \
    ADD_PRODUCT(number, 16, r2, r3)         \
    ADD_PRODUCT(number, 24, r3, r4)

// Adds the carry flag to a register: the end of a row.
#define ADD_CARRY(r) "adcq $0, %[" #r "]\n\t"

// Sets five registers to a[0] b. One chain suffices, because there is no earlier row to add to.
#define FIRST_ROW(r0, r1, r2, r3, r4)  \
    FACTOR(a, 0)                       \
    "mulxq (%[b]), %[" #r0 "], %[" #r1 \
    "]\n\t"                            \
    "mulxq 8(%[b]), %[low], %[" #r2    \
    "]\n\t"                            \
    "addq %[low], %[" #r1              \
    "]\n\t"                            \
    "mulxq 16(%[b]), %[low], %[" #r3   \
    "]\n\t"                            \
    "adcq %[low], %[" #r2              \
    "]\n\t"                            \
    "mulxq 24(%[b]), %[low], %[" #r4   \
    "]\n\t"                            \
    "adcq %[low], %[" #r3 "]\n\t" ADD_CARRY(r4)

// Row of a product: clears r4, and adds a[at] b to the five registers.
#define PRODUCT_ROW(at, r0, r1, r2, r3, r4) \
    FACTOR(a, at)                           \
    CLEAR(r4)                               \
    ADD_ROW(b, r0, r1, r2, r3, r4)          \
    ADD_CARRY(r4)

// Row of a square: doubles r in the chain of the overflow flag, and adds `half`, one word of a square, in the other
// chain.
#define DOUBLE_AND_ADD(r, half) \
    "adoxq %[" #r "], %[" #r    \
    "]\n\t"                     \
    "adcxq %[" #half "], %[" #r "]\n\t"

// low and high = a[at]^2
#define SQUARE_WORD(at) FACTOR(a, at) "mulxq %%rdx, %[low], %[high]\n\t"

// Row of a Montgomery product: clears t5, and adds a[at] b to the registers t0 to t4. The carries go to t5.
#define MONTGOMERY_ROW(at, t0, t1, t2, t3, t4, t5) \
    FACTOR(a, at)                                  \
    CLEAR(t5)                                      \
    ADD_ROW(b, t0, t1, t2, t3, t4)                 \
    "adcxq %[" #t5 "], %[" #t4                     \
    "]\n\t"                                        \
    "adoxq %[" #t5 "], %[" #t5 "]\n\t" ADD_CARRY(t5)

// Like ADD_PRODUCT, for a word in a register.
#define ADD_REGISTER_PRODUCT(word, r_low, r_high) \
    "mulxq %[" #word                              \
    "], %[low], %[high]\n\t"                      \
    "adcxq %[low], %[" #r_low                     \
    "]\n\t"                                       \
    "adoxq %[high], %[" #r_high "]\n\t"

// Adds u m, where u = -t0 / m modulo 2^64. This sets t0 to 0. Carries go to t4 and t5.
#define MONTGOMERY_REDUCE(t0, t1, t2, t3, t4, t5) \
    "movabsq %[inverse], %%rdx\n\t"              \
    "imulq %[" #t0 "], %%rdx\n\t"                \
    CLEAR(low)                                    \
    ADD_ROW(m, t0, t1, t2, t3, t4)                \
    "movl $0, %k[low]\n\t"                       \
    "adcxq %[low], %[" #t4 "]\n\t"               \
    "adoxq %[low], %[" #t5 "]\n\t"               \
    ADD_CARRY(t5)

/** The operations of PlainWordsOf, with the same operands and results. */
struct AdxWords {
    using Word = std::uint64_t;
    using Words = field::Words;
    using WideWords = field::WideWords;

    template <typename Entry, std::size_t count>
    [[gnu::target("avx2")]] static Entry lookup(const void* table, std::uint64_t index) {
        return constant_time_lookup<32, Entry, count>(table, index);
    }

    /** Computes a b, row by row. Each row adds the product of one word of a and b. */
    static WideWords multiply(const Words& a, const Words& b) {
        std::uint64_t r0, r1, r2, r3, r4, r5, r6, r7, low, high;
        asm(FIRST_ROW(r0, r1, r2, r3, r4)        // a[0] b
            PRODUCT_ROW(8, r1, r2, r3, r4, r5)   // + a[1] b
            PRODUCT_ROW(16, r2, r3, r4, r5, r6)  // + a[2] b
            PRODUCT_ROW(24, r3, r4, r5, r6, r7)  // + a[3] b
            : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5),
              [r6] "=&r"(r6), [r7] "=&r"(r7), [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data()), [b] "r"(b.data())
            : "cc", "rdx", "memory");
        return {r0, r1, r2, r3, r4, r5, r6, r7};
    }

    /**
     * Computes a^2. First adds up the products of different words. Then one chain doubles this sum while the other adds
     * the squares.
     */
    static WideWords square(const Words& a) {
        std::uint64_t r0, r1, r2, r3, r4, r5, r6, r7, low, high;
        asm(// a[0] times a[1], a[2] and a[3]
            FACTOR(a, 0)
            "mulxq 8(%[a]), %[r1], %[r2]\n\t"
            "mulxq 16(%[a]), %[low], %[r3]\n\t"
            "addq %[low], %[r2]\n\t"
            "mulxq 24(%[a]), %[low], %[r4]\n\t"
            "adcq %[low], %[r3]\n\t"
            ADD_CARRY(r4)
            // a[1] times a[2] and a[3]
            FACTOR(a, 8)
            CLEAR(r5)
            ADD_PRODUCT(a, 16, r3, r4)
            ADD_PRODUCT(a, 24, r4, r5)
            ADD_CARRY(r5)
            // a[2] times a[3]
            FACTOR(a, 16)
            "mulxq 24(%[a]), %[low], %[r6]\n\t"
            "addq %[low], %[r5]\n\t"
            ADD_CARRY(r6)
            // Doubles the sum, and adds the squares of the words.
            CLEAR(r7)
            FACTOR(a, 0)
            "mulxq %%rdx, %[r0], %[high]\n\t"
            DOUBLE_AND_ADD(r1, high)
            SQUARE_WORD(8)
            DOUBLE_AND_ADD(r2, low)
            DOUBLE_AND_ADD(r3, high)
            SQUARE_WORD(16)
            DOUBLE_AND_ADD(r4, low)
            DOUBLE_AND_ADD(r5, high)
            SQUARE_WORD(24)
            DOUBLE_AND_ADD(r6, low)
            DOUBLE_AND_ADD(r7, high)
            : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5),
              [r6] "=&r"(r6), [r7] "=&r"(r7), [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data())
            : "cc", "rdx", "memory");
        return {r0, r1, r2, r3, r4, r5, r6, r7};
    }

    /** r = the low half of v plus factor times the high half, modulo 2^256. Returns the carry, which is <= factor. */
    static std::uint64_t add_multiple(Words& r, const WideWords& v, std::uint64_t factor) {
        std::uint64_t r0 = v[0], r1 = v[1], r2 = v[2], r3 = v[3], low, high;
        asm(CLEAR(low) ADD_REGISTER_PRODUCT(v4, r0, r1) ADD_REGISTER_PRODUCT(v5, r1, r2)
                ADD_REGISTER_PRODUCT(v6, r2, r3)
            // The high half of the last product, plus the carries of both chains, is the carry out.
            "mulxq %[v7], %[low], %[high]\n\t"
            "adcxq %[low], %[r3]\n\t"
            "movl $0, %k[low]\n\t"
            "adcxq %[low], %[high]\n\t"
            "adoxq %[low], %[high]"
            : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [low] "=&r"(low), [high] "=&r"(high)
            : [v4] "r"(v[4]), [v5] "r"(v[5]), [v6] "r"(v[6]), [v7] "r"(v[7]), "d"(factor)
            : "cc");
        r = {r0, r1, r2, r3};
        return high;
    }

    /**
     * Computes the Montgomery product. Each of four rounds adds a row of a b, then the multiple of m that sets the
     * lowest word to 0. After each round the sum is below b + m, so five words and a carry hold it.
     */
    template <const Words& m, std::uint64_t inverse>
    static std::array<std::uint64_t, 5> montgomery(const Words& a, const Words& b) {
        std::uint64_t t0, t1, t2, t3, t4, t5, low, high;
        asm(FIRST_ROW(t0, t1, t2, t3, t4)  // a[0] b
            CLEAR(t5)                      // the top register
            MONTGOMERY_REDUCE(t0, t1, t2, t3, t4, t5)
            // From here on, the register cleared last becomes the top register.
            MONTGOMERY_ROW(8, t1, t2, t3, t4, t5, t0)   // + a[1] b
            MONTGOMERY_REDUCE(t1, t2, t3, t4, t5, t0)   // / 2^64
            MONTGOMERY_ROW(16, t2, t3, t4, t5, t0, t1)  // + a[2] b
            MONTGOMERY_REDUCE(t2, t3, t4, t5, t0, t1)   // / 2^64
            MONTGOMERY_ROW(24, t3, t4, t5, t0, t1, t2)  // + a[3] b
            MONTGOMERY_REDUCE(t3, t4, t5, t0, t1, t2)   // / 2^64
            : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5),
              [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data()), [b] "r"(b.data()), [m] "r"(m.data()), [inverse] "i"(inverse)
            : "cc", "rdx", "memory");
        return {t4, t5, t0, t1, t2};
    }
};

#undef FACTOR
#undef CLEAR
#undef ADD_PRODUCT
#undef ADD_ROW
#undef ADD_CARRY
#undef FIRST_ROW
#undef PRODUCT_ROW
#undef DOUBLE_AND_ADD
#undef SQUARE_WORD
#undef MONTGOMERY_ROW
#undef ADD_REGISTER_PRODUCT
#undef MONTGOMERY_REDUCE

}  // namespace vrx::field

#endif

// Work on words by BMI2, ADX and AVX2. Products have multiplications that leave the flags alone, and two chains of
// carries side by side, one in the carry flag and one in the overflow flag; compilers make one of them, in up to twice
// the time.
#ifndef VRX_ECC_FIELD_ADX_WORDS_HPP
#define VRX_ECC_FIELD_ADX_WORDS_HPP

#include "ecc/field/modulus.hpp"

namespace vrx::field {

/** Each function takes and yields what that of PlainWordsOf does: any numbers, unless it says otherwise. */
struct AdxWords {
    using Word = std::uint64_t;
    using Words = field::Words;
    using WideWords = field::WideWords;

    template <typename Entry, std::size_t count>
    [[gnu::target("avx2")]] static Entry lookup(const void* table, std::uint64_t index) {
        return constant_time_lookup<32, Entry, count>(table, index);
    }

    /** Row by row: the products of a word of a with b are added where they belong. */
    static WideWords multiply(const Words& a, const Words& b) {
        std::uint64_t r0, r1, r2, r3, r4, r5, r6, r7, low, high;
        asm("movq (%[a]), %%rdx\n\t"
            "mulxq (%[b]), %[r0], %[r1]\n\t"
            "mulxq 8(%[b]), %[low], %[r2]\n\t"
            "addq %[low], %[r1]\n\t"
            "mulxq 16(%[b]), %[low], %[r3]\n\t"
            "adcq %[low], %[r2]\n\t"
            "mulxq 24(%[b]), %[low], %[r4]\n\t"
            "adcq %[low], %[r3]\n\t"
            "adcq $0, %[r4]\n\t"
            "movq 8(%[a]), %%rdx\n\t"
            "xorl %k[r5], %k[r5]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r1]\n\t"
            "adoxq %[high], %[r2]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r2]\n\t"
            "adoxq %[high], %[r3]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r3]\n\t"
            "adoxq %[high], %[r4]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r4]\n\t"
            "adoxq %[high], %[r5]\n\t"
            "adcq $0, %[r5]\n\t"
            "movq 16(%[a]), %%rdx\n\t"
            "xorl %k[r6], %k[r6]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r2]\n\t"
            "adoxq %[high], %[r3]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r3]\n\t"
            "adoxq %[high], %[r4]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r4]\n\t"
            "adoxq %[high], %[r5]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r5]\n\t"
            "adoxq %[high], %[r6]\n\t"
            "adcq $0, %[r6]\n\t"
            "movq 24(%[a]), %%rdx\n\t"
            "xorl %k[r7], %k[r7]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r3]\n\t"
            "adoxq %[high], %[r4]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r4]\n\t"
            "adoxq %[high], %[r5]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r5]\n\t"
            "adoxq %[high], %[r6]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[r6]\n\t"
            "adoxq %[high], %[r7]\n\t"
            "adcq $0, %[r7]"
            : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5),
              [r6] "=&r"(r6), [r7] "=&r"(r7), [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data()), [b] "r"(b.data())
            : "cc", "rdx", "memory");
        return {r0, r1, r2, r3, r4, r5, r6, r7};
    }

    /** The products of unequal words; then one chain doubles them while the other adds the squares of the words. */
    static WideWords square(const Words& a) {
        std::uint64_t r0, r1, r2, r3, r4, r5, r6, r7, low, high;
        asm("movq (%[a]), %%rdx\n\t"
            "mulxq 8(%[a]), %[r1], %[r2]\n\t"
            "mulxq 16(%[a]), %[low], %[r3]\n\t"
            "addq %[low], %[r2]\n\t"
            "mulxq 24(%[a]), %[low], %[r4]\n\t"
            "adcq %[low], %[r3]\n\t"
            "adcq $0, %[r4]\n\t"
            "movq 8(%[a]), %%rdx\n\t"
            "xorl %k[r5], %k[r5]\n\t"
            "mulxq 16(%[a]), %[low], %[high]\n\t"
            "adcxq %[low], %[r3]\n\t"
            "adoxq %[high], %[r4]\n\t"
            "mulxq 24(%[a]), %[low], %[high]\n\t"
            "adcxq %[low], %[r4]\n\t"
            "adoxq %[high], %[r5]\n\t"
            "adcq $0, %[r5]\n\t"
            "movq 16(%[a]), %%rdx\n\t"
            "mulxq 24(%[a]), %[low], %[r6]\n\t"
            "addq %[low], %[r5]\n\t"
            "adcq $0, %[r6]\n\t"
            "xorl %k[r7], %k[r7]\n\t"
            "movq (%[a]), %%rdx\n\t"
            "mulxq %%rdx, %[r0], %[high]\n\t"
            "adoxq %[r1], %[r1]\n\t"
            "adcxq %[high], %[r1]\n\t"
            "movq 8(%[a]), %%rdx\n\t"
            "mulxq %%rdx, %[low], %[high]\n\t"
            "adoxq %[r2], %[r2]\n\t"
            "adcxq %[low], %[r2]\n\t"
            "adoxq %[r3], %[r3]\n\t"
            "adcxq %[high], %[r3]\n\t"
            "movq 16(%[a]), %%rdx\n\t"
            "mulxq %%rdx, %[low], %[high]\n\t"
            "adoxq %[r4], %[r4]\n\t"
            "adcxq %[low], %[r4]\n\t"
            "adoxq %[r5], %[r5]\n\t"
            "adcxq %[high], %[r5]\n\t"
            "movq 24(%[a]), %%rdx\n\t"
            "mulxq %%rdx, %[low], %[high]\n\t"
            "adoxq %[r6], %[r6]\n\t"
            "adcxq %[low], %[r6]\n\t"
            "adoxq %[r7], %[r7]\n\t"
            "adcxq %[high], %[r7]"
            : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5),
              [r6] "=&r"(r6), [r7] "=&r"(r7), [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data())
            : "cc", "rdx", "memory");
        return {r0, r1, r2, r3, r4, r5, r6, r7};
    }

    /** r = the low half of v plus factor times the high half, modulo 2^256; what is carried out, at most factor. */
    static std::uint64_t add_multiple(Words& r, const WideWords& v, std::uint64_t factor) {
        std::uint64_t r0 = v[0], r1 = v[1], r2 = v[2], r3 = v[3], low, high;
        asm("xorl %k[low], %k[low]\n\t"
            "mulxq %[v4], %[low], %[high]\n\t"
            "adcxq %[low], %[r0]\n\t"
            "adoxq %[high], %[r1]\n\t"
            "mulxq %[v5], %[low], %[high]\n\t"
            "adcxq %[low], %[r1]\n\t"
            "adoxq %[high], %[r2]\n\t"
            "mulxq %[v6], %[low], %[high]\n\t"
            "adcxq %[low], %[r2]\n\t"
            "adoxq %[high], %[r3]\n\t"
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
     * A row of a b, then the multiple of m that clears the lowest word, four times over; in between the sum is below b
     * + m, so that five words and a carry hold it.
     */
    template <const Words& m, std::uint64_t inverse>
    static std::array<std::uint64_t, 5> montgomery(const Words& a, const Words& b) {
        std::uint64_t t0, t1, t2, t3, t4, t5, low, high;
        asm("movq (%[a]), %%rdx\n\t"
            "mulxq (%[b]), %[t0], %[t1]\n\t"
            "mulxq 8(%[b]), %[low], %[t2]\n\t"
            "addq %[low], %[t1]\n\t"
            "mulxq 16(%[b]), %[low], %[t3]\n\t"
            "adcq %[low], %[t2]\n\t"
            "mulxq 24(%[b]), %[low], %[t4]\n\t"
            "adcq %[low], %[t3]\n\t"
            "adcq $0, %[t4]\n\t"
            "xorl %k[t5], %k[t5]\n\t"
            "movabsq %[inverse], %%rdx\n\t"
            "imulq %[t0], %%rdx\n\t"
            "xorl %k[low], %k[low]\n\t"
            "mulxq (%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t0]\n\t"
            "adoxq %[high], %[t1]\n\t"
            "mulxq 8(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t1]\n\t"
            "adoxq %[high], %[t2]\n\t"
            "mulxq 16(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t2]\n\t"
            "adoxq %[high], %[t3]\n\t"
            "mulxq 24(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "movl $0, %k[low]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[low], %[t5]\n\t"
            "adcq $0, %[t5]\n\t"
            "movq 8(%[a]), %%rdx\n\t"
            "xorl %k[t0], %k[t0]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t1]\n\t"
            "adoxq %[high], %[t2]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t2]\n\t"
            "adoxq %[high], %[t3]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "adcxq %[t0], %[t5]\n\t"
            "adoxq %[t0], %[t0]\n\t"
            "adcq $0, %[t0]\n\t"
            "movabsq %[inverse], %%rdx\n\t"
            "imulq %[t1], %%rdx\n\t"
            "xorl %k[low], %k[low]\n\t"
            "mulxq (%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t1]\n\t"
            "adoxq %[high], %[t2]\n\t"
            "mulxq 8(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t2]\n\t"
            "adoxq %[high], %[t3]\n\t"
            "mulxq 16(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 24(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "movl $0, %k[low]\n\t"
            "adcxq %[low], %[t5]\n\t"
            "adoxq %[low], %[t0]\n\t"
            "adcq $0, %[t0]\n\t"
            "movq 16(%[a]), %%rdx\n\t"
            "xorl %k[t1], %k[t1]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t2]\n\t"
            "adoxq %[high], %[t3]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t5]\n\t"
            "adoxq %[high], %[t0]\n\t"
            "adcxq %[t1], %[t0]\n\t"
            "adoxq %[t1], %[t1]\n\t"
            "adcq $0, %[t1]\n\t"
            "movabsq %[inverse], %%rdx\n\t"
            "imulq %[t2], %%rdx\n\t"
            "xorl %k[low], %k[low]\n\t"
            "mulxq (%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t2]\n\t"
            "adoxq %[high], %[t3]\n\t"
            "mulxq 8(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 16(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "mulxq 24(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t5]\n\t"
            "adoxq %[high], %[t0]\n\t"
            "movl $0, %k[low]\n\t"
            "adcxq %[low], %[t0]\n\t"
            "adoxq %[low], %[t1]\n\t"
            "adcq $0, %[t1]\n\t"
            "movq 24(%[a]), %%rdx\n\t"
            "xorl %k[t2], %k[t2]\n\t"
            "mulxq (%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 8(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "mulxq 16(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t5]\n\t"
            "adoxq %[high], %[t0]\n\t"
            "mulxq 24(%[b]), %[low], %[high]\n\t"
            "adcxq %[low], %[t0]\n\t"
            "adoxq %[high], %[t1]\n\t"
            "adcxq %[t2], %[t1]\n\t"
            "adoxq %[t2], %[t2]\n\t"
            "adcq $0, %[t2]\n\t"
            "movabsq %[inverse], %%rdx\n\t"
            "imulq %[t3], %%rdx\n\t"
            "xorl %k[low], %k[low]\n\t"
            "mulxq (%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t3]\n\t"
            "adoxq %[high], %[t4]\n\t"
            "mulxq 8(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t4]\n\t"
            "adoxq %[high], %[t5]\n\t"
            "mulxq 16(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t5]\n\t"
            "adoxq %[high], %[t0]\n\t"
            "mulxq 24(%[m]), %[low], %[high]\n\t"
            "adcxq %[low], %[t0]\n\t"
            "adoxq %[high], %[t1]\n\t"
            "movl $0, %k[low]\n\t"
            "adcxq %[low], %[t1]\n\t"
            "adoxq %[low], %[t2]\n\t"
            "adcq $0, %[t2]"
            : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5),
              [low] "=&r"(low), [high] "=&r"(high)
            : [a] "r"(a.data()), [b] "r"(b.data()), [m] "r"(m.data()), [inverse] "i"(inverse)
            : "cc", "rdx", "memory");
        return {t4, t5, t0, t1, t2};
    }
};

}  // namespace vrx::field

#endif

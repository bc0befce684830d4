// Baseline engine: table look-ups on up to eight interleaved blocks, for any table and any CPU.
#include "gost28147/engine/chain.hpp"
#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/schedule.hpp"

namespace vrx::gost28147 {
namespace {

/** A vector of one block. */
struct Vector {
    static constexpr std::size_t blocks = 1;
    static constexpr bool partial = false;
    Block b;

    static Vector load(const std::uint8_t* from, std::ptrdiff_t) { return {load_block(from)}; }
    static Vector load_after(Block first, const std::uint8_t*, std::ptrdiff_t) { return {first}; }
    void store(std::uint8_t* to, std::ptrdiff_t) const { store_block(to, b); }
    static Vector counters(Block reg, std::size_t n) { return {step_counter(reg, n + 1)}; }
    Vector& operator^=(Vector other) {
        b = b ^ other.b;
        return *this;
    }
};

/**
 * Computes half ^= f(x + k). This is assembly, with an order of instructions that uses as many execution units as
 * possible: one compiler would combine loads and XORs that should be separate, and the other would run out of registers
 * with six blocks. Cost: 12 instructions.
 */
[[gnu::always_inline]] inline void round(std::uint32_t& half, std::uint32_t x, const std::uint32_t& k,
                                         const vrx_tz& table) {
    std::uint64_t sum;
    std::uint64_t a;
    std::uint64_t b;
    asm("movl   %[k], %k[sum]\n\t"
        "addl   %[x], %k[sum]\n\t"
        "movzbl %b[sum], %k[a]\n\t"
        "movzbl %h[sum], %k[b]\n\t"
        "shrl   $16, %k[sum]\n\t"
        "xorl   (%[t],%[a],4), %[half]\n\t"
        "movzbl %b[sum], %k[a]\n\t"
        "movl   1024(%[t],%[b],4), %k[b]\n\t"
        "movzbl %h[sum], %k[sum]\n\t"
        "xorl   2048(%[t],%[a],4), %[half]\n\t"
        "xorl   3072(%[t],%[sum],4), %k[b]\n\t"
        "xorl   %k[b], %[half]"
        : [half] "+r"(half), [sum] "=&Q"(sum), [a] "=&R"(a), [b] "=&R"(b)
        : [x] "r"(x), [k] "m"(k), [t] "r"(&table), "m"(table)
        : "cc");
}

/**
 * Interleaves several blocks: performs a round of each block, then the next round of each. The look-ups of a round have
 * a latency of ten cycles, but the CPU can start those of another block after three.
 */
struct Interleaved {
    using Vector = gost28147::Vector;
    const vrx_tz& table;
    const Schedule& schedule;
    bool decrypting;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        std::uint32_t n1[count];
        std::uint32_t n2[count];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < count; ++i) {
            n1[i] = v[i].b.n1;
            n2[i] = v[i].b.n2;
        }
        for (unsigned pass = 0; pass < 4; ++pass) {
            const std::uint32_t* const words = schedule.pass(pass, decrypting);
#pragma GCC unroll 8
            for (unsigned k = 0; k < 8; k += 2) {
#pragma GCC unroll 8
                for (std::size_t i = 0; i < count; ++i) round(n2[i], n1[i], words[k], table);
#pragma GCC unroll 8
                for (std::size_t i = 0; i < count; ++i) round(n1[i], n2[i], words[k + 1], table);
            }
        }
        // The last round does not swap the halves, so n1 and n2 are exchanged.
#pragma GCC unroll 8
        for (std::size_t i = 0; i < count; ++i) v[i].b = {n2[i], n1[i]};
    }
};

struct Bytes {
    static std::uint32_t byte2(std::uint32_t word) { return word >> 16 & 255; }
};

}  // namespace

bool look_up(Mode mode, const Run& run) noexcept {
    const Schedule schedule(run.cipher.key);
    in_steps<8, 4, 3, 2, 1>(Interleaved{run.cipher.table, schedule, decrypts(mode)}, mode, run);
    return true;
}

void chain_baseline(Mode mode, const Run& run) noexcept { run_chain<Bytes>(mode, run); }

}  // namespace vrx::gost28147

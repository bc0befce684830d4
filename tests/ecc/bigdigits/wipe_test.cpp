// Tests that no operation leaves traces of its operands on the stack. Each operation runs twice on a separate stack,
// with two different sets of operands. Bytes that differ between the two stacks afterwards depend on an operand. This
// test is always built optimised, and a second time with link-time optimisation.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "vrx/bigdigits.h"

namespace {

constexpr std::size_t stack_size = 256 * 1024;

class OwnStack {
public:
    OwnStack()
        : bytes_(static_cast<unsigned char*>(
              mmap(nullptr, stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        getcontext(&inside);  // the registers that every call starts with
    }
    OwnStack(const OwnStack&) = delete;
    OwnStack& operator=(const OwnStack&) = delete;
    ~OwnStack() { munmap(bytes_, stack_size); }

    /** The content of the stack after the call. */
    void after(const std::function<void()>& call, std::vector<unsigned char>& held) {
        std::memset(bytes_, 0xa5, stack_size);
        body = &call;
        inside.uc_stack.ss_sp = bytes_;
        inside.uc_stack.ss_size = stack_size;
        inside.uc_link = &outside;
        makecontext(
            &inside, [] { (*body)(); }, 0);
        swapcontext(&outside, &inside);
        held.assign(bytes_, bytes_ + stack_size);
    }

private:
    unsigned char* bytes_;
    static inline const std::function<void()>* body;
    static inline ucontext_t inside, outside;
};

/** Both sets of operands use the same memory, so that the addresses on the two stacks are equal. */
struct Operands {
    std::vector<std::uint32_t> u, v, e, modulus, w, q, r;
    std::vector<std::uint8_t> octets;
    std::vector<char> text;
    std::uint64_t n;
    std::mt19937 engine{1};

    explicit Operands(std::uint64_t digits)
        : u(digits),
          v(digits),
          e(digits),
          modulus(digits),
          w(2 * digits),
          q(2 * digits),
          r(2 * digits),
          octets(4 * digits),
          text(40 * digits),
          n(digits) {}

    /** Random numbers with the same top byte, so that all have the same length. The modulus does not change. */
    [[gnu::noinline]] void fill_next() {
        for (auto* number : {&u, &v, &e, &r}) {
            for (auto& digit : *number) digit = static_cast<std::uint32_t>(engine());
            number->back() = (number->back() & 0xffffff) | 0xc9000000;
        }
        for (auto& byte : octets) byte = static_cast<std::uint8_t>(engine() | 0x80);
        std::mt19937 fixed(99);
        for (auto& digit : modulus) digit = static_cast<std::uint32_t>(fixed());
        modulus.front() |= 1;
        modulus.back() |= 0x80000000;
    }
};

struct Operation {
    const char* name;
    std::function<void(Operands&)> run;
};

const Operation operations[] = {
    {"mpAdd", [](Operands& o) { mpAdd(o.w.data(), o.u.data(), o.v.data(), o.n); }},
    {"mpSubtract", [](Operands& o) { mpSubtract(o.w.data(), o.u.data(), o.v.data(), o.n); }},
    {"mpMultiply", [](Operands& o) { mpMultiply(o.w.data(), o.u.data(), o.v.data(), o.n); }},
    {"mpSquare", [](Operands& o) { mpSquare(o.w.data(), o.u.data(), o.n); }},
    {"mpShiftLeft", [](Operands& o) { mpShiftLeft(o.w.data(), o.u.data(), 45, o.n); }},
    {"mpShiftRight", [](Operands& o) { mpShiftRight(o.w.data(), o.u.data(), 45, o.n); }},
    {"mpShortMult", [](Operands& o) { mpShortMult(o.w.data(), o.u.data(), o.v[0], o.n); }},
    {"mpShortDiv", [](Operands& o) { mpShortDiv(o.w.data(), o.u.data(), o.v[0] | 1, o.n); }},
    {"mpShortMod", [](Operands& o) { mpShortMod(o.u.data(), o.v[0] | 1, o.n); }},
    {"mpAbs", [](Operands& o) { mpAbs(o.w.data(), o.u.data(), o.n); }},
    {"mpChs", [](Operands& o) { mpChs(o.w.data(), o.u.data(), o.n); }},
    {"mpDivide", [](Operands& o) { mpDivide(o.q.data(), o.w.data(), o.r.data(), 2 * o.n, o.v.data(), o.n); }},
    {"mpModulo", [](Operands& o) { mpModulo(o.w.data(), o.r.data(), 2 * o.n, o.modulus.data(), o.n); }},
    {"mpModAdd", [](Operands& o) { mpModAdd(o.w.data(), o.u.data(), o.v.data(), o.modulus.data(), o.n); }},
    {"mpModSub", [](Operands& o) { mpModSub(o.w.data(), o.u.data(), o.v.data(), o.modulus.data(), o.n); }},
    {"mpModMult", [](Operands& o) { mpModMult(o.w.data(), o.u.data(), o.v.data(), o.modulus.data(), o.n); }},
    {"mpModInv", [](Operands& o) { mpModInv(o.w.data(), o.u.data(), o.modulus.data(), o.n); }},
    {"mpGcd", [](Operands& o) { mpGcd(o.w.data(), o.u.data(), o.v.data(), o.n); }},
    {"mpSqrt", [](Operands& o) { mpSqrt(o.w.data(), o.u.data(), o.n); }},
    {"mpJacobi", [](Operands& o) { mpJacobi(o.u.data(), o.modulus.data(), o.n); }},
    {"mpModExp",
     [](Operands& o) {
         mpModExp(o.w.data(), o.u.data(), o.e.data(), o.modulus.data(), std::min<std::uint64_t>(o.n, 33));
     }},
    {"mpConvFromOctets",
     [](Operands& o) { mpConvFromOctets(o.w.data(), o.n, o.octets.data(), static_cast<std::uint32_t>(4 * o.n)); }},
    {"mpConvToOctets",
     [](Operands& o) { mpConvToOctets(o.u.data(), o.n, o.octets.data(), static_cast<std::uint32_t>(4 * o.n)); }},
    {"mpConvToHex", [](Operands& o) { mpConvToHex(o.u.data(), o.n, o.text.data(), o.text.size()); }},
    {"mpConvToDecimal", [](Operands& o) { mpConvToDecimal(o.u.data(), o.n, o.text.data(), o.text.size()); }},
    {"mpConvFromHex",
     [](Operands& o) {
         o.text.assign(o.text.size(), 'a');
         o.text.back() = '\0';
         for (std::size_t i = 0; i + 1 < o.text.size(); ++i)
             o.text[i] = "0123456789abcdef"[o.u[i % o.n] >> (i / o.n % 8 * 4) & 15];
         mpConvFromHex(o.w.data(), o.n, o.text.data());
     }},
};

/** The number of bytes that differ between the two stacks. */
std::size_t traces(const Operation& operation, Operands& operands) {
    OwnStack stack;
    const std::function<void()> call = [&] { operation.run(operands); };
    std::vector<unsigned char> held, before;
    for (int run = 0; run < 3; ++run) {  // the first one is for one-time initialisation
        before = held;
        operands.fill_next();
        stack.after(call, held);
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < stack_size; ++i) count += before[i] != held[i];
    return count;
}

class Wiping : public testing::TestWithParam<Operation> {};

TEST_P(Wiping, stack_is_the_same_whatever_the_operands_were) {
    for (const std::uint64_t n : {1U, 2U, 3U, 8U, 9U, 10U, 16U, 17U, 33U, 64U, 127U, 128U}) {
        Operands operands(n);
        EXPECT_EQ(traces(GetParam(), operands), 0U) << n << " digits";
    }
}

INSTANTIATE_TEST_SUITE_P(All, Wiping, testing::ValuesIn(operations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(WipingControl, an_operation_that_forgets_to_wipe_is_seen) {
    Operands operands(9);
    EXPECT_GT(traces({"forgetful",
                      [](Operands& o) {
                          std::uint32_t copy[256];
                          std::memcpy(copy, o.u.data(), 4 * o.n);
                          asm volatile("" : : "r"(copy) : "memory");
                      }},
                     operands),
              30U);
}

}  // namespace

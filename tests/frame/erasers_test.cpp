// Tests of the assembly that erases the stack and the registers, with every version that this CPU can run.
#include "frame/secret_work.hpp"

#include <cpuid.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "support/child_process.hpp"
#include "support/fenced_pages.hpp"
#include "support/offered.hpp"

/** Arguments and results of the assembly code below. The code uses the offsets in the comments. */
struct alignas(64) Call {
    std::uint64_t arguments[3];
    const void* function;                   // 24
    void* top;                              // 32: the stack pointer at the call
    std::uint64_t traced;                   // 40: not zero to trap after each instruction
    void* own_stack;                        // 48
    std::uint64_t stack_pointer;            // 56: after the call
    std::uint64_t caller_saved[9];          // 64: rax, rcx, rdx, rsi, rdi, r8 to r11 after the call
    std::uint64_t callee_saved[6];          // 136: rbx, rbp, r12 to r15 after the call
    std::uint64_t flags;                    // 184
    alignas(64) std::uint8_t before[4096];  // 192: vector registers before the call
    alignas(64) std::uint8_t after[4096];   // 4288: vector registers after the call
};
static_assert(offsetof(Call, caller_saved) == 64 && offsetof(Call, flags) == 184);
static_assert(offsetof(Call, before) == 192 && offsetof(Call, after) == 4288);

extern "C" {
[[gnu::visibility("hidden")]] Call vrx_test_call;
/** Calls the function of vrx_test_call with full registers. */
void vrx_test_run();
/** The return address of that call. */
[[gnu::visibility("hidden")]] extern const char vrx_test_returned[];
}

asm(R"(
    .pushsection .text
    .type vrx_test_run, @function
vrx_test_run:
    endbr64
    push %rbp
    push %rbx
    push %r12
    push %r13
    push %r14
    push %r15
    mov %rsp, 48 + vrx_test_call(%rip)
    mov $0xe7, %eax
    xor %edx, %edx
    xrstor64 192 + vrx_test_call(%rip)
    mov vrx_test_call(%rip), %rdi
    mov 8 + vrx_test_call(%rip), %rsi
    mov 16 + vrx_test_call(%rip), %rdx
    mov 32 + vrx_test_call(%rip), %rsp
    cmpq $0, 40 + vrx_test_call(%rip)
    mov $0x5a5a5a5a5a5a5a5a, %rax
    mov %rax, %rcx
    mov %rax, %r8
    mov %rax, %r9
    mov %rax, %r10
    mov %rax, %r11
    mov $0x1b1b, %ebx
    mov $0x1b1c, %ebp
    mov $0x1b1d, %r12d
    mov $0x1b1e, %r13d
    mov $0x1b1f, %r14d
    mov $0x1b20, %r15d
    je 1f
    pushf
    orl $0x100, (%rsp)
    popf
1:
    call *24 + vrx_test_call(%rip)
vrx_test_returned:
    nop
    mov %rsp, 56 + vrx_test_call(%rip)
    mov %rax, 64 + vrx_test_call(%rip)
    mov %rcx, 72 + vrx_test_call(%rip)
    mov %rdx, 80 + vrx_test_call(%rip)
    mov %rsi, 88 + vrx_test_call(%rip)
    mov %rdi, 96 + vrx_test_call(%rip)
    mov %r8, 104 + vrx_test_call(%rip)
    mov %r9, 112 + vrx_test_call(%rip)
    mov %r10, 120 + vrx_test_call(%rip)
    mov %r11, 128 + vrx_test_call(%rip)
    mov %rbx, 136 + vrx_test_call(%rip)
    mov %rbp, 144 + vrx_test_call(%rip)
    mov %r12, 152 + vrx_test_call(%rip)
    mov %r13, 160 + vrx_test_call(%rip)
    mov %r14, 168 + vrx_test_call(%rip)
    mov %r15, 176 + vrx_test_call(%rip)
    mov 48 + vrx_test_call(%rip), %rsp
    pushf
    pop 184 + vrx_test_call(%rip)
    mov $0xe7, %eax
    xor %edx, %edx
    xsave64 4288 + vrx_test_call(%rip)
    fninit
    movl $0x1f80, -4(%rsp)
    ldmxcsr -4(%rsp)
    pop %r15
    pop %r14
    pop %r13
    pop %r12
    pop %rbx
    pop %rbp
    ret
    .size vrx_test_run, . - vrx_test_run
    .popsection
)");

namespace {

using vrx::test::FencedPages;

constexpr std::size_t stack_size = 1 << 18;
constexpr std::size_t page = 4096;
constexpr std::uint8_t paint = 0xA5;

constexpr std::uint64_t full = 0x5a5a5a5a5a5a5a5a;
constexpr std::uint32_t own_mxcsr = 0x9fc0;  // not the initial value
constexpr std::uint64_t direction_flag = 0x400;

struct Component {
    unsigned number;
    std::size_t offset, size;
};

/** The components of XSAVE that hold vector and mask registers and that the system supports. */
std::vector<Component> components() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    std::vector<Component> all = {{1, 160, 256}};
    for (const unsigned number : {2U, 5U, 6U, 7U}) {
        unsigned size = 0;
        unsigned offset = 0;
        unsigned c = 0;
        unsigned d = 0;
        if ((low >> number & 1) != 0 && __get_cpuid_count(0xd, number, &size, &offset, &c, &d) != 0)
            all.push_back({number, offset, size});
    }
    return all;
}

/** An inaccessible page in the stack, or nullptr. */
std::uint8_t* guard;

class Erasing : public testing::Test {
protected:
    static constexpr std::uint64_t callee_saved[] = {0x1b1b, 0x1b1c, 0x1b1d, 0x1b1e, 0x1b1f, 0x1b20};

    /** Calls a function on a painted stack, with patterns in all registers. */
    template <typename Function>
    Call& call(Function* function, std::array<std::uint64_t, 3> arguments, std::size_t below_top, bool traced = false) {
        Call& c = vrx_test_call;
        c = {};
        std::ranges::copy(arguments, c.arguments);
        c.function = reinterpret_cast<const void*>(function);
        c.traced = traced ? 1 : 0;
        top_ = stack_.bytes(below_top, true);
        c.top = top_;
        std::memset(stack_.bytes(stack_size, true), paint, stack_size);
        if (guard != nullptr) {
            EXPECT_EQ(mprotect(guard, page, PROT_NONE), 0);
        }
        constexpr std::uint16_t x87_control = 0x037f;
        std::memcpy(c.before, &x87_control, sizeof x87_control);
        std::memcpy(c.before + 24, &own_mxcsr, sizeof own_mxcsr);
        std::uint64_t present = 1;
        for (const Component& component : components_) {
            if (component.number > last_filled_) continue;
            present |= 1ULL << component.number;
            std::memset(c.before + component.offset, 0x5a, component.size);
        }
        std::memcpy(c.before + 512, &present, sizeof present);
        vrx_test_run();
        return c;
    }

    [[nodiscard]] bool is(std::uint8_t value, unsigned component) const {
        for (const Component& c : components_)
            if (c.number == component) {
                const std::uint8_t* const first = vrx_test_call.after + c.offset;
                return std::all_of(first, first + c.size, [=](std::uint8_t x) { return x == value; });
            }
        return true;
    }

    /** What every function must preserve. */
    static void expect_abi(const Call& c) {
        EXPECT_EQ(c.stack_pointer, reinterpret_cast<std::uintptr_t>(c.top));
        for (std::size_t i = 0; i < std::size(callee_saved); ++i) EXPECT_EQ(c.callee_saved[i], callee_saved[i]);
        EXPECT_EQ(c.flags & direction_flag, 0U);
        EXPECT_EQ(std::memcmp(c.after, c.before, 5), 0) << "x87";
        EXPECT_EQ(std::memcmp(c.after + 24, &own_mxcsr, sizeof own_mxcsr), 0) << "mxcsr";
    }

    /** Checks that `depth` bytes below the caller are zero, and that the stack below is untouched. */
    void expect_erased(std::size_t depth) {
        const std::uint8_t* const caller = top_ - sizeof(void*);  // the return address of the call is there
        EXPECT_TRUE(std::all_of(caller - depth, caller, [](std::uint8_t x) { return x == 0; }));
        const std::uint8_t* const end = stack_.bytes(stack_size, true);
        EXPECT_TRUE(std::all_of(end, caller - depth - 128, [](std::uint8_t x) { return x == paint; }));
    }

    /** All erasers of this CPU, each of both kinds. */
    static std::vector<vrx::Erase> erasers() {
        std::vector<vrx::Erase> all;
        for (const vrx::Eraser* e : vrx::test::offered_of(vrx::erasers))
            for (const vrx::Erase run : {e->run, e->run_low}) all.push_back(run);
        return all;
    }

    FencedPages stack_{stack_size};
    std::uint8_t* top_ = nullptr;
    unsigned last_filled_ = 7;  // components of XSAVE after this one are empty at the call
    std::vector<Component> components_ = components();
};

TEST_F(Erasing, zeroes_all_registers_that_it_can_reach) {
    for (const vrx::Eraser* e : vrx::test::offered_of(vrx::erasers))
        for (const vrx::Erase run : {e->run, e->run_low}) {
            const Call& c = call(run, {1024, full, full}, 64);
            for (const std::uint64_t general : c.caller_saved) EXPECT_EQ(general, 0U) << e->name;
            EXPECT_TRUE(is(0, 1)) << e->name << " leaves SSE registers";
            if (run == vrx::vrx_erase_sse2) continue;
            EXPECT_TRUE(is(0, 2)) << e->name << " leaves AVX registers";
            EXPECT_TRUE(is(0, 6)) << e->name << " leaves upper halves of AVX-512 registers";
            if (run == vrx::vrx_erase_avx) continue;
            EXPECT_TRUE(is(0, 5)) << e->name << " leaves mask registers";
            EXPECT_TRUE(is(0, 7)) << e->name << " leaves registers 16 to 31";
        }
}

TEST_F(Erasing, preserves_what_the_abi_demands) {
    for (const vrx::Erase erase : erasers()) expect_abi(call(erase, {1024, full, full}, 64));
}

TEST_F(Erasing, zeroes_the_stack_down_to_its_depth_at_any_alignment) {
    for (const vrx::Erase erase : erasers())
        for (const std::size_t depth : {128U, 256U, 384U, 768U, 1280U, 13312U, 20480U})
            for (std::size_t below_top = 8; below_top <= 136; below_top += 8) {
                call(erase, {depth, full, full}, below_top);
                expect_erased(depth);
                const auto* const above = stack_.bytes(below_top, true);
                EXPECT_TRUE(std::all_of(above, above + below_top, [](std::uint8_t x) { return x == paint; }));
            }
}

// on_trap() runs after each instruction of an eraser, on the same stack. `traps` counts its calls, and `unwound` counts
// the calls from which the stack can be unwound to the caller of the eraser.
std::size_t traps;
std::size_t unwound;

void on_trap(int, siginfo_t*, void* context) {
    ++traps;
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const auto interrupted = static_cast<_Unwind_Word>(registers[REG_RIP]);
    const auto returned = reinterpret_cast<_Unwind_Word>(vrx_test_returned);
    if (interrupted == returned) {
        registers[REG_EFL] &= ~0x100LL;
        return;
    }
    struct Walk {
        _Unwind_Word interrupted, returned;
        bool is_caller, found;
    } walk{interrupted, returned, false, false};
    const auto each = [](_Unwind_Context* frame, void* argument) {
        auto& w = *static_cast<Walk*>(argument);
        const _Unwind_Word address = _Unwind_GetIP(frame);
        if (w.is_caller) {
            w.found = address == w.returned;
            return _URC_END_OF_STACK;
        }
        w.is_caller = address == w.interrupted;
        return _URC_NO_REASON;
    };
    _Unwind_Backtrace(each, &walk);
    unwound += walk.found ? 1 : 0;
}

TEST_F(Erasing, can_be_interrupted_and_unwound_after_each_instruction) {
    struct sigaction action = {};
    struct sigaction earlier = {};
    action.sa_sigaction = on_trap;
    action.sa_flags = SA_SIGINFO;
    ASSERT_EQ(sigaction(SIGTRAP, &action, &earlier), 0);
    for (const vrx::Erase erase : erasers()) {
        traps = 0;
        unwound = 0;
        last_filled_ = erase == vrx::vrx_erase_sse2 ? 1 : erase == vrx::vrx_erase_avx ? 2 : 7;
        expect_abi(call(erase, {1024, full, full}, 64, true));
        // The signal handlers leave their frames on the stack. The frames contain no register contents from before the
        // call, and no paint.
        const std::uint64_t patterns[] = {full, paint * 0x0101010101010101U};
        for (const std::uint8_t* p = top_ - 8 - 1024; p != top_ - 8; p += 8)
            for (const std::uint64_t pattern : patterns) EXPECT_NE(std::memcmp(p, &pattern, sizeof pattern), 0);
        EXPECT_GT(traps, 40U);
        EXPECT_EQ(unwound, traps - 1);  // the last trap is in the caller
    }
    ASSERT_EQ(sigaction(SIGTRAP, &earlier, nullptr), 0);
}

/** With less stack than an eraser needs, it must reach the guard page, and not the memory on the other side. */
TEST_F(Erasing, without_enough_stack_faults_in_the_guard_page) {
    for (const vrx::Erase erase : erasers()) {
        const auto run = vrx::test::run_in_child([&] {
            std::vector<std::uint8_t> other(1 << 16);
            const stack_t handlers = {other.data(), 0, other.size()};
            ASSERT_EQ(sigaltstack(&handlers, nullptr), 0);
            struct sigaction action = {};
            action.sa_sigaction = [](int, siginfo_t* info, void* context) {
                const auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
                const auto* const place = static_cast<const std::uint8_t*>(info->si_addr);
                const auto* const pointer = reinterpret_cast<const std::uint8_t*>(registers[REG_RSP]);
                _exit(place >= guard && place < guard + page && pointer >= guard ? 0 : 1);
            };
            action.sa_flags = SA_SIGINFO | SA_ONSTACK;
            ASSERT_EQ(sigaction(SIGSEGV, &action, nullptr), 0);
            guard = stack_.bytes(stack_size, true) + stack_size / 2;
            call(erase, {65536, full, full}, stack_size / 2 - page - 8192);
            _exit(1);
        });
        EXPECT_TRUE(vrx::test::passed(run));
    }
}

TEST_F(Erasing, copy_of_a_secret_leaves_nothing_in_registers) {
    static std::array<std::uint8_t, vrx::longest_copy> from;
    static std::array<std::uint8_t, vrx::longest_copy> to;
    from.fill(0xc3);
    for (std::size_t size = 0; size <= from.size(); ++size) {
        to.fill(0);
        const Call& c = call(
            vrx::vrx_copy_short,
            {reinterpret_cast<std::uintptr_t>(to.data()), reinterpret_cast<std::uintptr_t>(from.data()), size}, 64);
        expect_abi(c);
        EXPECT_TRUE(std::equal(to.begin(), to.begin() + static_cast<std::ptrdiff_t>(size), from.begin()));
        const auto holds_text = [](std::uint64_t word) {
            for (; word != 0; word >>= 8)
                if ((word & 0xff) == 0xc3) return true;
            return false;
        };
        EXPECT_FALSE(holds_text(c.caller_saved[0]) || holds_text(c.caller_saved[1])) << "rax or rcx, " << size;
        EXPECT_EQ(c.caller_saved[2], size);
        EXPECT_TRUE(c.caller_saved[3] == c.arguments[1] || c.caller_saved[3] == 0) << "rsi, " << size;
        EXPECT_EQ(std::count(c.after + 160, c.after + 160 + 256, 0xc3), 0) << "vector registers, " << size;
    }
}

}  // namespace

#include "probe.hpp"

#include <cpuid.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

namespace vrx::test {
namespace {

constexpr std::size_t arena_size = 1 << 18;
constexpr std::size_t guard_size = 1 << 16;
std::size_t stack_size = 1 << 18;
constexpr std::size_t xsave_size = 4096;
constexpr std::uint8_t paint = 0xA5;

/** The data of the assembly below. The assembly uses these offsets. */
struct alignas(64) Snapshot {
    std::uint64_t general[9] = {};                      // rax, rcx, rdx, rsi, rdi, r8 to r11
    std::uint32_t process = 0;                          // 72
    std::uint32_t thread = 0;                           // 76
    alignas(64) std::uint8_t initial[xsave_size] = {};  // 128: registers before the call
    alignas(64) std::uint8_t after[xsave_size] = {};    // 128 + 4096
};
static_assert(offsetof(Snapshot, process) == 72 && offsetof(Snapshot, initial) == 128);
static_assert(offsetof(Snapshot, after) == 128 + xsave_size);

/** Runs body(argument) on the stack below `top`, with zeroed vector registers. Then optionally signals this thread. */
extern "C" void vrx_residue_run(void (*body)(void*), void* argument, void* top, Snapshot* s, int with_signal);
asm(R"(
    .text
    .type vrx_residue_run, @function
vrx_residue_run:
    endbr64
    push %rbp
    push %rbx
    push %r12
    push %r13
    push %r14
    push %r15
    mov %rsp, %rbp
    mov %rcx, %rbx
    mov %r8d, %r12d
    mov %rdi, %r13
    mov %rsi, %r14
    mov %rdx, %rsp
    mov $0xe7, %eax
    xor %edx, %edx
    xrstor64 128(%rbx)
    xor %ecx, %ecx
    xor %esi, %esi
    xor %r8d, %r8d
    xor %r9d, %r9d
    xor %r10d, %r10d
    xor %r11d, %r11d
    mov %r14, %rdi
    call *%r13
    mov %rax, (%rbx)
    mov %rcx, 8(%rbx)
    mov %rdx, 16(%rbx)
    mov %rsi, 24(%rbx)
    mov %rdi, 32(%rbx)
    mov %r8, 40(%rbx)
    mov %r9, 48(%rbx)
    mov %r10, 56(%rbx)
    mov %r11, 64(%rbx)
    mov $0xe7, %eax
    xor %edx, %edx
    xsave64 4224(%rbx)
    test %r12d, %r12d
    jz 1f
    mov 72(%rbx), %edi
    mov 76(%rbx), %esi
    mov $10, %edx
    mov $234, %eax
    syscall
1:
    mov %rbp, %rsp
    pop %r15
    pop %r14
    pop %r13
    pop %r12
    pop %rbx
    pop %rbp
    ret
    .size vrx_residue_run, . - vrx_residue_run
)");

void run_body(void* body) { (*static_cast<Body*>(body))(); }

struct Run {
    Snapshot registers;
    std::vector<std::uint32_t> stack;
    std::vector<std::uint8_t> published;
};

/** A stack above an inaccessible area, so that a call that needs more stack fails. */
std::uint8_t* own_stack() {
    static std::uint8_t* const stack = [] {
        auto* const all = static_cast<std::uint8_t*>(
            mmap(nullptr, guard_size + stack_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (mprotect(all + guard_size, stack_size, PROT_READ | PROT_WRITE) != 0) std::abort();
        return all + guard_size;
    }();
    return stack;
}

void run(const Probe& p, Arena& arena, unsigned which, bool with_signal, Run& result) {
    arena.begin(which);
    Body body = p.prepare(arena);
    std::memset(own_stack(), paint, stack_size);
    Snapshot& s = result.registers;
    s = {};
    constexpr std::uint32_t mxcsr = 0x1f80;
    std::memcpy(s.initial + 24, &mxcsr, sizeof mxcsr);
    s.process = static_cast<std::uint32_t>(getpid());
    s.thread = static_cast<std::uint32_t>(syscall(SYS_gettid));
    vrx_residue_run(run_body, &body, own_stack() + stack_size - 64, &s, with_signal ? 1 : 0);
    result.stack.resize(stack_size / 4);
    std::memcpy(result.stack.data(), own_stack(), stack_size);
    result.published = arena.published();
}

/** Returns all 4-byte words in the results, at every offset. */
std::unordered_set<std::uint32_t> words_of(const Run& a) {
    std::unordered_set<std::uint32_t> words;
    for (std::size_t i = 0; i + 4 <= a.published.size(); ++i) {
        std::uint32_t word;
        std::memcpy(&word, a.published.data() + i, 4);
        words.insert(word);
        words.insert(__builtin_bswap32(word));
    }
    return words;
}

struct Component {
    std::size_t offset, size;
};

/** Returns the offsets at which XSAVE stores the vector and mask registers. */
std::vector<Component> vector_components() {
    std::vector<Component> all = {{160, 256}};
    for (const unsigned number : {2U, 5U, 6U, 7U}) {
        unsigned size = 0;
        unsigned offset = 0;
        unsigned c = 0;
        unsigned d = 0;
        if (__get_cpuid_count(0xd, number, &size, &offset, &c, &d) != 0 && size != 0 && offset + size <= xsave_size)
            all.push_back({offset, size});
    }
    return all;
}

/**
 * Finds the words that differ between runs with different secrets. Ignores words that also differ between two runs with
 * the same secrets, and words that are equal to a part of a public result.
 */
class Difference {
public:
    Difference(const Run& a, const Run& b) : known_a_(words_of(a)), known_b_(words_of(b)) {}

    [[nodiscard]] bool operator()(std::uint32_t a, std::uint32_t again, std::uint32_t b) const {
        if (a == b || a != again) return false;
        return !known_a_.contains(a) || !known_b_.contains(b);
    }

private:
    std::unordered_set<std::uint32_t> known_a_, known_b_;
};

std::uint32_t word_at(const std::uint8_t* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, 4);
    return word;
}

}  // namespace

Arena::Arena()
    : memory_(static_cast<std::uint8_t*>(
          mmap(nullptr, arena_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
Arena::~Arena() { munmap(memory_, arena_size); }

void Arena::begin(unsigned which) {
    used_ = 0;
    results_.clear();
    states_[0] = 12345;
    states_[1] = 777 + 1000003ULL * which;
    std::memset(memory_, 0, arena_size);
}

void* Arena::room(std::size_t size) {
    const std::size_t at = (used_ + 63) / 64 * 64;
    if (at + size > arena_size) std::abort();
    used_ = at + size;
    return memory_ + at;
}

std::uint8_t Arena::next(bool is_secret) {
    std::uint64_t& x = states_[is_secret ? 1 : 0];
    x = x * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<std::uint8_t>(x >> 56);
}

std::vector<std::uint8_t> Arena::published() const {
    std::vector<std::uint8_t> all;
    for (const auto& [place, size] : results_) {
        all.insert(all.end(), place, place + size);
    }
    return all;
}

bool can_probe() {
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & 1U << 27) == 0) return false;
    __get_cpuid_count(0xd, 0, &a, &b, &c, &d);
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    return sigaction(SIGUSR1, &action, nullptr) == 0;
}

void use_stack_of(std::size_t bytes) { stack_size = bytes; }

Residue probe(const Probe& p) {
    static Arena arena;
    static Run warm_up, a, again, b;
    run(p, arena, 0, true, warm_up);
    run(p, arena, 0, false, a);
    run(p, arena, 0, false, again);
    run(p, arena, 1, false, b);
    Residue found;
    std::vector<bool> left(stack_size / 4);
    const Difference differs(a, b);
    const std::size_t top = (stack_size - 64) / 4;
    constexpr std::uint32_t painted = paint * 0x01010101U;
    for (std::size_t i = 0; i < top; ++i) {
        const std::size_t below = 4 * (top - i);
        if (a.stack[i] != painted || b.stack[i] != painted) found.used = std::max(found.used, below);
        if (differs(a.stack[i], again.stack[i], b.stack[i])) {
            ++found.stack;
            left[i] = true;
            found.deepest = std::max(found.deepest, below);
        }
    }
    if (!p.registers) return found;
    static const auto components = vector_components();
    for (const Component& c : components)
        for (std::size_t i = c.offset; i < c.offset + c.size; i += 4)
            found.vectors += differs(word_at(a.registers.after + i), word_at(again.registers.after + i),
                                     word_at(b.registers.after + i));
    for (std::size_t i = 0; i < 9; ++i) {
        const auto half = [i](const Run& r, unsigned n) {
            return static_cast<std::uint32_t>(r.registers.general[i] >> 32 * n);
        };
        found.general +=
            differs(half(a, 0), half(again, 0), half(b, 0)) || differs(half(a, 1), half(again, 1), half(b, 1));
    }
    // Compares the control word and the tag word, which shows that no register is in use.
    constexpr std::uint8_t untouched[] = {0x7f, 0x03, 0, 0, 0};
    found.x87 = std::memcmp(a.registers.after, untouched, sizeof untouched) != 0;

    run(p, arena, 0, true, a);
    run(p, arena, 0, true, again);
    run(p, arena, 1, true, b);
    for (std::size_t i = 0; i < top; ++i) found.signal += !left[i] && differs(a.stack[i], again.stack[i], b.stack[i]);
    return found;
}

}  // namespace vrx::test

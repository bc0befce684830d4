// Finds the residue of a call. The call runs twice on the same painted stack with different secrets. The residue is the
// set of words that differ afterwards below the caller's frame and in caller-saved registers.
#ifndef VRX_TESTS_RESIDUE_PROBE_HPP
#define VRX_TESTS_RESIDUE_PROBE_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vrx::test {

/** Memory for the arguments of a call. Every run uses the same addresses. Contents are public or secret. */
class Arena {
public:
    Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();

    /** Begins a run. Equal sequences of requests yield equal addresses. Secret contents depend on `which`. */
    void begin(unsigned which);

    template <typename T = std::uint8_t>
    T* secret(std::size_t count = 1) {
        return fill<T>(count, true);
    }
    template <typename T = std::uint8_t>
    T* open(std::size_t count = 1) {
        return fill<T>(count, false);
    }
    /** Memory for a public result. Words that are equal to a part of this result are not residue. */
    template <typename T = std::uint8_t>
    T* result(std::size_t count = 1) {
        T* const place = cleared<T>(count);
        publish(place, count * sizeof(T));
        return place;
    }
    /** Memory for a result that is itself secret, or for temporary data. */
    template <typename T = std::uint8_t>
    T* cleared(std::size_t count = 1) {
        return static_cast<T*>(room(count * sizeof(T)));
    }
    void publish(const void* place, std::size_t size) {
        results_.emplace_back(static_cast<const std::uint8_t*>(place), size);
    }
    template <typename T>
    T* value(const T& initial) {
        T* const place = cleared<T>();
        *place = initial;
        return place;
    }

    [[nodiscard]] std::vector<std::uint8_t> published() const;
    [[nodiscard]] std::size_t used() const { return used_; }
    [[nodiscard]] const std::uint8_t* memory() const { return memory_; }

private:
    void* room(std::size_t size);
    template <typename T>
    T* fill(std::size_t count, bool is_secret) {
        auto* const place = static_cast<std::uint8_t*>(room(count * sizeof(T)));
        for (std::size_t i = 0; i < count * sizeof(T); ++i) place[i] = next(is_secret);
        return static_cast<T*>(static_cast<void*>(place));
    }
    std::uint8_t next(bool is_secret);

    std::uint8_t* memory_;
    std::size_t used_ = 0;
    std::uint64_t states_[2] = {};
    std::vector<std::pair<const std::uint8_t*, std::size_t>> results_;
};

/** A prepared call. Its arguments are in the arena, not on the stack. */
using Body = std::function<void()>;

struct Probe {
    std::string name;  // function/what/size
    std::function<Body(Arena&)> prepare;
    /** True if secrets in registers are also residue. */
    bool registers = true;
};

struct Residue {
    std::size_t stack = 0;    // words of 4 bytes that differ below the caller
    std::size_t deepest = 0;  // the depth of the lowest of them, in bytes
    std::size_t used = 0;     // bytes of stack that the call wrote to
    std::size_t vectors = 0;  // words of 4 bytes in vector and mask registers
    std::size_t general = 0;  // caller-saved general registers
    std::size_t signal = 0;   // words of 4 bytes in the frame of a signal that arrives right after the call
    bool x87 = false;         // true if the call changed its state

    [[nodiscard]] bool in_registers() const { return vectors != 0 || general != 0 || signal != 0 || x87; }
    [[nodiscard]] bool clean() const { return stack == 0 && !in_registers(); }
};

/** True if this CPU and system permit reading the registers. */
bool can_probe();

/** Sets the size of the stack for all calls, before the first call. Below it there is an inaccessible area. */
void use_stack_of(std::size_t bytes);

Residue probe(const Probe& p);

}  // namespace vrx::test

#endif

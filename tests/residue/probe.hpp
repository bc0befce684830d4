// What a call leaves behind, found by running it twice on the same painted stack with different secrets: words that
// differ below the caller's frame and in registers that the caller does not expect to be kept.
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

/** The arguments of a call: at the same addresses in every run, with contents that are public, or secret. */
class Arena {
public:
    Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();

    /** Begins a run: the same sequence of demands gets the same addresses; secrets depend on which. */
    void begin(unsigned which);

    template <typename T = std::uint8_t>
    T* secret(std::size_t count = 1) {
        return fill<T>(count, true);
    }
    template <typename T = std::uint8_t>
    T* open(std::size_t count = 1) {
        return fill<T>(count, false);
    }
    /** A result that may be known: words that are equal to a part of it are none of the secret. */
    template <typename T = std::uint8_t>
    T* result(std::size_t count = 1) {
        T* const place = cleared<T>(count);
        publish(place, count * sizeof(T));
        return place;
    }
    /** A result that is a secret itself, or scratch. */
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

/** A call, ready to run; it is made in the arena, so that the stack of the call holds nothing else. */
using Body = std::function<void()>;

struct Probe {
    std::string name;  // function/what/size
    std::function<Body(Arena&)> prepare;
    /** Whether registers count, too. */
    bool registers = true;
};

struct Residue {
    std::size_t stack = 0;    // words of 4 bytes that differ below the caller
    std::size_t deepest = 0;  // how far below, in bytes
    std::size_t used = 0;     // bytes of stack that the call wrote to
    std::size_t vectors = 0;  // words of 4 bytes in vector and mask registers
    std::size_t general = 0;  // general registers that belong to the callee
    std::size_t signal = 0;   // words of 4 bytes in the frame of a signal right after the call
    bool x87 = false;         // its state was changed

    [[nodiscard]] bool in_registers() const { return vectors != 0 || general != 0 || signal != 0 || x87; }
    [[nodiscard]] bool clean() const { return stack == 0 && !in_registers(); }
};

/** Whether this processor and system let registers be looked at. */
bool can_probe();

Residue probe(const Probe& p);

}  // namespace vrx::test

#endif

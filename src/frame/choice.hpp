// The choice among the engines of a family.
#ifndef VRX_FRAME_CHOICE_HPP
#define VRX_FRAME_CHOICE_HPP

#include <atomic>
#include <iterator>
#include <type_traits>

#include "frame/cpu.hpp"

namespace vrx::cpu {

/**
 * The engine of a family that runs: the best one for this CPU, which the first call finds out.
 *
 * @tparam engines  engines or pointers to them, best first; the last one runs everywhere
 */
template <const auto& engines>
class Choice {
public:
    using Engine = std::remove_cvref_t<decltype(engine_of(*std::begin(engines)))>;

    const Engine& operator()() noexcept {
        const Engine* const e = chosen_.load(std::memory_order_relaxed);
        return e != nullptr ? *e : choose();
    }

    /** For tests and benchmarks: run this engine from now on. */
    void use(const Engine& e) noexcept { set(&e); }
    /** For tests and benchmarks: choose again at the next call. */
    void forget() noexcept { set(nullptr); }

private:
    // Racing threads store the same pointer, so relaxed order is enough.
    [[gnu::cold, gnu::noinline]] const Engine& choose() noexcept {
        const Engine& best = best_of(engines, features());
        set(&best);
        return best;
    }
    // Deliberate: an exchange where a store would do. helgrind does not know atomics, and takes a plain store for a
    // race with the load; it knows that locked instructions are none.
    void set(const Engine* e) noexcept { static_cast<void>(chosen_.exchange(e, std::memory_order_relaxed)); }

    std::atomic<const Engine*> chosen_{nullptr};
};

}  // namespace vrx::cpu

#endif

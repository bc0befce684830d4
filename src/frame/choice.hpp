// Selection of an engine in each family.
#ifndef VRX_FRAME_CHOICE_HPP
#define VRX_FRAME_CHOICE_HPP

#include <atomic>
#include <iterator>
#include <type_traits>

#include "frame/cpu.hpp"

namespace vrx::cpu {

/**
 * The selected engine of a family. The first call selects the best one for this CPU.
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

    /** For tests and benchmarks: select this engine. */
    void use(const Engine& e) noexcept { set(&e); }
    /** For tests and benchmarks: forget the selected engine. The next call then selects an engine again. */
    void forget() noexcept { set(nullptr); }

private:
    // Racing threads store the same pointer, so relaxed order is enough.
    [[gnu::cold, gnu::noinline]] const Engine& choose() noexcept {
        const Engine& best = best_of(engines, features());
        set(&best);
        return best;
    }
    // Deliberate: uses an exchange instead of a store. helgrind reports an atomic store as a race with the load, but
    // does not report a locked instruction.
    void set(const Engine* e) noexcept { static_cast<void>(chosen_.exchange(e, std::memory_order_relaxed)); }

    std::atomic<const Engine*> chosen_{nullptr};
};

}  // namespace vrx::cpu

#endif

#include "gostr3411/engine.hpp"

#include <atomic>

namespace vrx::gostr3411 {
namespace {

constinit std::atomic<const Engine*> chosen{nullptr};

}  // namespace

const Engine& engine() noexcept {
    // First call of the process. Racing threads store the same pointer, so relaxed order is enough.
    const Engine* e = chosen.load(std::memory_order_relaxed);
    if (e == nullptr) {
        e = &cpu::best_of(engines, &Engine::suits, cpu::features());
        chosen.store(e, std::memory_order_relaxed);
    }
    return *e;
}

void use(const Engine& other) noexcept { chosen.store(&other, std::memory_order_relaxed); }

void steps_baseline(Number& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    for (; count != 0; --count, blocks += sizeof(Number)) h = step(h, load(blocks), s.table);
}

Steps prepare_baseline(Substitution&) noexcept { return steps_baseline; }

}  // namespace vrx::gostr3411

#include "ecc/field/engine.hpp"

#include <atomic>

namespace vrx::field {
namespace {

// Chosen at the first use. Racing threads store the same pointer, so relaxed order is enough.
constinit std::atomic<const Engine*> chosen{nullptr};

}  // namespace

const Engine& engine() {
    const Engine* e = chosen.load(std::memory_order_relaxed);
    if (e == nullptr) {
        e = cpu::best_of(engines, &Engine::needs, cpu::features());
        chosen.store(e, std::memory_order_relaxed);
    }
    return *e;
}

void force_engine(const Engine* forced) { chosen.store(forced, std::memory_order_relaxed); }

}  // namespace vrx::field

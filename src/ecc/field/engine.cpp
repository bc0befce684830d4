#include "ecc/field/engine.hpp"

#include <atomic>

namespace vrx::field {
namespace {

const Engine* best_engine() {
    const std::uint32_t features = cpu::features();
    for (const Engine* e : engines)
        if ((features & e->needs) == e->needs) return e;
    return &engine_words;
}

// Chosen at the first use. Racing threads store the same pointer, so relaxed order is enough.
constinit std::atomic<const Engine*> chosen{nullptr};

}  // namespace

const Engine& engine() {
    const Engine* e = chosen.load(std::memory_order_relaxed);
    if (e == nullptr) {
        e = best_engine();
        chosen.store(e, std::memory_order_relaxed);
    }
    return *e;
}

void force_engine(const Engine* forced) { chosen.store(forced, std::memory_order_relaxed); }

}  // namespace vrx::field

#include "gost28147/engine.hpp"

#include <atomic>

#include "gost28147/meshing.hpp"
#include "gost28147/plain.hpp"

namespace vrx::gost28147 {
namespace {

constinit std::atomic<const Engine*> chosen{nullptr};

}  // namespace

const Engine& engine() noexcept {
    // First call of the process. Racing threads store the same pointer, so relaxed order is enough.
    const Engine* e = chosen.load(std::memory_order_relaxed);
    if (e == nullptr) {
        e = &cpu::best_of(engines, &Engine::needs, cpu::features());
        chosen.store(e, std::memory_order_relaxed);
    }
    return *e;
}

void use(const Engine& other) noexcept { chosen.store(&other, std::memory_order_relaxed); }

Way sections_alone(Mode mode, const Run& run, std::uint32_t* key) noexcept {
    Way way = Way::lookups;
    Run rest = run;
    for (Run section = run; rest.blocks != 0; rest.skip(section_blocks)) {
        plain::mesh(run.table, key, run.reg);
        section.in = rest.in;
        section.out = rest.out;
        section.blocks = section_blocks;
        way = engine().parallel(mode, section);
    }
    return way;
}

}  // namespace vrx::gost28147

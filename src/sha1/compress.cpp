#include "sha1/compress.hpp"

#include <atomic>

namespace vrx::sha1 {
namespace {

void choose_and_run(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept;

constinit std::atomic<Compress> chosen{choose_and_run};

// First call of the process. Racing threads store the same pointer, so relaxed order is enough.
void choose_and_run(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept {
    const Implementation& best = cpu::best_of(implementations, &Implementation::needs, cpu::features());
    chosen.store(best.run, std::memory_order_relaxed);
    best.run(h, data, blocks);
}

}  // namespace

void compress(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept {
    chosen.load(std::memory_order_relaxed)(h, data, blocks);
}

}  // namespace vrx::sha1

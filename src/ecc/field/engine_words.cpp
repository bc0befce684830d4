// The engine of plain 64-bit arithmetic, for every processor.
#include "ecc/field/engine_of.hpp"
#include "ecc/field/word_multiply.hpp"

namespace vrx::field {
namespace {

struct WordMethods {
    template <typename Curve>
    [[gnu::noinline]] static XyzzPoint base(const Words& k) {
        return word_comb_multiply<Curve>(k);
    }
    template <typename Curve>
    [[gnu::noinline]] static XyzzPoint point(const Words& k, const AffinePoint& q) {
        return window_multiply<Curve>(k, q);
    }
};

}  // namespace

constinit const Engine engine_words = EngineOf<WordMethods>::named("words", cpu::baseline);

}  // namespace vrx::field

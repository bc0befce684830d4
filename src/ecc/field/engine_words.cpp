// The engine "words": plain 64-bit arithmetic, for every CPU.
#include "ecc/field/engine_of.hpp"
#include "ecc/field/word_multiply.hpp"

namespace vrx::field {

constinit const Engine engine_words =
    EngineOf<WordMethods<PlainWords>>::described(cpu::named(cpu::curve_engines, "words"));

}  // namespace vrx::field

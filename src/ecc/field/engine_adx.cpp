// The engine "adx": 64-bit arithmetic with BMI2 and ADX, table look-ups with AVX2.
#include "ecc/field/adx_words.hpp"
#include "ecc/field/engine_of.hpp"
#include "ecc/field/word_multiply.hpp"

namespace vrx::field {

constinit const Engine engine_adx = EngineOf<WordMethods<AdxWords>>::described(cpu::named(cpu::curve_engines, "adx"));

}  // namespace vrx::field

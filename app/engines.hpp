// The engines of the library, by family and processor: which one runs here.
//
// The shared object keeps its choice to itself, so the program makes the same one: from the same features, by lists
// that a test compares with the library's own.
#ifndef VRX_APP_ENGINES_HPP
#define VRX_APP_ENGINES_HPP

#include <cstdint>
#include <span>

#include "frame/cpu.hpp"

namespace vrx::app {

struct Engine {
    const char* name;  // the library's
    const char* words;
    std::uint32_t needs;
};

struct EngineFamily {
    const char* name;
    std::span<const Engine> engines;  // best first; the last one runs everywhere
};

inline constexpr std::uint32_t vbmi_features =
    cpu::avx512f | cpu::avx512bw | cpu::avx512vl | cpu::avx512vbmi | cpu::bmi1 | cpu::bmi2;

inline constexpr Engine cipher_engines[] = {{"vbmi", "AVX-512 VBMI", vbmi_features},
                                            {"avx2", "AVX2", cpu::avx2 | cpu::bmi1},
                                            {"baseline", "any x86-64", cpu::baseline}};
inline constexpr Engine table_engines[] = {
    {"avx512", "AVX-512 VBMI", vbmi_features}, {"avx2", "AVX2", cpu::avx2}, {"baseline", "any x86-64", cpu::baseline}};
/** Whose choice looks at more than the instructions. */
inline constexpr Engine hash_engines[] = {
    {"vbmi", "AVX-512 VBMI", vbmi_features | cpu::avx2 | cpu::prompt_vectors},
    {"avx2_wide", "AVX2 and a large cache", cpu::avx2 | cpu::bmi1 | cpu::large_l1},
    {"avx2", "AVX2", cpu::avx2 | cpu::bmi1},
    {"baseline", "any x86-64", cpu::baseline}};
inline constexpr Engine sha1_engines[] = {{"sha-ni", "SHA instructions", cpu::sha | cpu::ssse3 | cpu::sse41},
                                          {"portable", "any x86-64", cpu::baseline}};
inline constexpr Engine curve_engines[] = {
    {"ifma", "AVX-512 IFMA", cpu::bmi2 | cpu::avx512f | cpu::avx512vl | cpu::avx512ifma},
    {"adx", "BMI2, ADX and AVX2", cpu::bmi2 | cpu::adx | cpu::avx2},
    {"words", "any x86-64", cpu::baseline}};

inline constexpr EngineFamily engine_families[] = {{"cipher", cipher_engines},
                                                   {"hash", hash_engines},
                                                   {"SHA-1", sha1_engines},
                                                   {"curves", curve_engines},
                                                   {"S-boxes", table_engines}};

/** The best engine of a family for a processor with these features. */
constexpr const Engine& best_engine(std::span<const Engine> engines, std::uint32_t features) {
    return cpu::best_of(engines, &Engine::needs, features);
}

}  // namespace vrx::app

#endif

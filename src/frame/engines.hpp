// Every engine of the library, by family: name and CPU features. The library, the program, tests and benchmarks use
// these lists. tests/CMakeLists.txt and tests/mutation read the names from this text, so each engine must be on its own
// line.
#ifndef VRX_FRAME_ENGINES_HPP
#define VRX_FRAME_ENGINES_HPP

#include <cstdint>
#include <span>
#include <string_view>

#include "frame/cpu.hpp"

namespace vrx::cpu {

struct EngineInfo {
    const char* name;
    /** The required features as text, for messages. */
    const char* words = "";
    /** The required features. */
    std::uint32_t needs = baseline;
    /** Features that the engine does not require, but without which another engine is faster. */
    std::uint32_t wants = baseline;

    [[nodiscard]] constexpr std::uint32_t suits() const { return needs | wants; }
};

// Best first; the last one runs everywhere.

#ifndef VRX_CONSTANT_TIME

inline constexpr EngineInfo cipher_engines[] = {
    // Like vbmi, but also uses vector instructions for chained modes. A round is then a chain of eight dependent
    // instructions. On CPUs where a vector addition or shift takes two cycles, table look-ups are faster.
    {"vbmi_chain", "AVX-512 VBMI", avx512_region, single_cycle_simd},
    {"vbmi", "AVX-512 VBMI", avx512_region},
    {"avx2", "AVX2", avx2_region},
    {"baseline", "any x86-64"},
};

inline constexpr EngineInfo hash_engines[] = {
    // Uses one dependency chain of vector instructions. If each instruction takes two cycles, four chains of look-ups
    // in general registers are faster.
    {"vbmi", "AVX-512 VBMI", avx512_region, single_cycle_simd},
    // Needs fewer look-ups, but in built-in tables of 33 KiB, which must stay in the L1 cache.
    {"avx2_wide", "AVX2 and a large cache", avx2_region, large_l1},
    {"avx2", "AVX2", avx2_region},
    {"baseline", "any x86-64"},
};

#else

// In these engines of cipher and hash, no address depends on a secret.

inline constexpr EngineInfo cipher_engines[] = {
    {"vbmi", "AVX-512 VBMI", avx512_region},
    {"avx2", "AVX2", avx2_region | ssse3_region},
    {"ssse3", "SSSE3", ssse3_region},
    {"baseline", "any x86-64"},
};

inline constexpr EngineInfo hash_engines[] = {
    {"vbmi", "AVX-512 VBMI", avx512_region},
    {"ssse3", "SSSE3", ssse3_region},
    {"baseline", "any x86-64"},
};

#endif

inline constexpr EngineInfo sha1_engines[] = {
    {"sha-ni", "SHA instructions", sha_region},
    {"portable", "any x86-64"},
};

inline constexpr EngineInfo curve_engines[] = {
    {"ifma", "AVX-512 IFMA", ifma_region},
    {"adx", "BMI2, ADX and AVX2", bmi2 | adx | avx2},
    {"words", "any x86-64"},
};

/** Engines that deploy S-boxes as a table. */
inline constexpr EngineInfo table_engines[] = {
    {"avx512", "AVX-512 VBMI", avx512_region},
    {"avx2", "AVX2", avx2_region},
    {"baseline", "any x86-64"},
};

struct EngineFamily {
    const char* name;
    std::span<const EngineInfo> engines;
};

inline constexpr EngineFamily engine_families[] = {{"cipher", cipher_engines},
                                                   {"hash", hash_engines},
                                                   {"SHA-1", sha1_engines},
                                                   {"curves", curve_engines},
                                                   {"S-boxes", table_engines}};

/** Finds an engine of a family by name. An unknown name does not compile. */
consteval const EngineInfo& named(std::span<const EngineInfo> family, std::string_view name) {
    auto entry = family.begin();
    while (entry->name != name) ++entry;
    return *entry;
}

}  // namespace vrx::cpu

#endif

// Runs work on secrets, and then erases the stack and the registers that it used.
#ifndef VRX_FRAME_SECRET_WORK_HPP
#define VRX_FRAME_SECRET_WORK_HPP

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx {

/**
 * Stack depths in bytes, below the caller, to which functions may leave secrets, for all compilers and optimisation
 * levels. tests/residue fails if one is too small. Without optimisation, every variable has its own stack slot. The
 * constants are not inline, because the files of a library may have different optimisation levels.
 */
namespace depth {
#ifdef VRX_CONSTANT_TIME
constexpr std::size_t scans = 1024;  // vectors of a scan that the compiler spills
#else
constexpr std::size_t scans = 0;
#endif
#if defined(__OPTIMIZE__)
constexpr std::size_t sha1 = 256;           // with SHA instructions; twice that without them
constexpr std::size_t hash = 1280 + scans;  // without the table, which the caller reads first
constexpr std::size_t hmac = 3072 + scans;  // in one call, including the pads
constexpr std::size_t derivation = 8192;
constexpr std::size_t block = 384;       // one block of the cipher
constexpr std::size_t few_blocks = 768;  // fewer than 4 blocks
#if defined(__clang__)
constexpr std::size_t some_blocks = 1280;  // fewer than 64 blocks
#else
constexpr std::size_t some_blocks = 768;
#endif
constexpr std::size_t blocks = 1280;  // any number of blocks, but engines with larger frames erase these themselves
constexpr std::size_t chain = 512;
constexpr std::size_t lanes = 2048 + scans;
constexpr std::size_t shuffled_planes = 4096;
constexpr std::size_t permuted_planes = 20480;
constexpr std::size_t sections = 2560;  // with key meshing
constexpr std::size_t curves = 13312;
constexpr std::size_t points = 10240;  // one addition or doubling
constexpr std::size_t scalar = 2048;   // reduction of a number modulo the order
constexpr std::size_t diversification = 4096;
constexpr std::size_t octets = 256;
constexpr std::size_t arithmetic = 1408;
constexpr std::size_t inversion = 2048;
#else
constexpr std::size_t sha1 = 8192;
constexpr std::size_t hash = 28672;
constexpr std::size_t hmac = 32768;
constexpr std::size_t derivation = 36864;
constexpr std::size_t block = 8192;
constexpr std::size_t few_blocks = 8192;
constexpr std::size_t some_blocks = 131072;
constexpr std::size_t blocks = 131072;
constexpr std::size_t chain = 8192;
constexpr std::size_t lanes = 65536;
constexpr std::size_t shuffled_planes = 65536;
constexpr std::size_t permuted_planes = 147456;
constexpr std::size_t sections = 65536;
constexpr std::size_t curves = 65536;
constexpr std::size_t points = 65536;
constexpr std::size_t scalar = 16384;
constexpr std::size_t diversification = 36864;
constexpr std::size_t octets = 1024;
constexpr std::size_t arithmetic = 20480;
constexpr std::size_t inversion = 16384;
#endif
}  // namespace depth

/** Zeroes the stack below the caller's frame, and all caller-saved registers except x87. */
using Erase = void (*)(std::size_t depth) noexcept;

extern "C" {
[[gnu::visibility("hidden")]] void vrx_erase_avx512(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_erase_avx(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_erase_sse2(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_copy_short(void* to, const void* from, std::size_t size) noexcept;
}

struct Eraser : cpu::EngineInfo {
    Erase run;
    /** Does the same, except for the registers that only AVX-512 has. */
    Erase run_low;
};

// The selection depends on the CPU alone, because the C library may copy with the widest registers even if no engine
// uses them.
inline constexpr Eraser erasers[] = {
    {{"avx512", "", cpu::avx512f | cpu::avx512vl}, vrx_erase_avx512, vrx_erase_avx},
    {{"avx", "", cpu::avx}, vrx_erase_avx, vrx_erase_avx},
    {{"sse2", ""}, vrx_erase_sse2, vrx_erase_sse2},
};

extern cpu::Choice<erasers> eraser;

/** The registers that work may use. */
enum class Registers {
    all,
    low  // all but those of AVX-512: for work that does not call the C library, whose copies use them
};

/** What work on secrets may use: the stack, down to a depth from the namespace `depth`, and some of the registers. */
struct Extent {
    std::size_t depth;
    Registers registers = Registers::all;
};

/**
 * For a function whose own frame holds no secrets, but which called functions that leave secrets in their frames:
 * zeroes these frames and the registers. The called functions must not be inlined.
 *
 * @param extent  may depend on sizes, not on secrets
 */
[[gnu::always_inline]] inline void erase(Extent extent) {
#if !defined(__AVX512F__)
    if (extent.registers == Registers::low) return eraser().run_low(extent.depth);
#endif
    eraser().run(extent.depth);
}

/**
 * Runs body() and returns its result, which must not be secret. Then zeroes the registers and the stack that body() and
 * its callees used.
 */
template <typename Body>
[[gnu::always_inline]] inline auto secret_work(Extent extent, Body body) {
    const auto apart = [&body]() __attribute__((noinline)) { return body(); };
    if constexpr (std::is_void_v<decltype(body())>) {
        apart();
        erase(extent);
    } else {
        const auto result = apart();
        erase(extent);
        return result;
    }
}

template <std::size_t depth, Registers registers = Registers::all, typename Body>
auto secret_work(Body body) {
    static_assert(depth % 128 == 0 && depth != 0);
    return secret_work({depth, registers}, body);
}

/** The maximum number of bytes that copy_secret() copies. */
inline constexpr std::size_t longest_copy = 64;

/** Copies up to 64 bytes, which may overlap, and leaves none of them in registers. For calls that only fill a buffer.
 */
inline void copy_secret(void* to, const void* from, std::size_t size) {
#if defined(VRX_SANITIZED)
    if (size != 0) std::memmove(to, from, size);  // so that sanitizers check the bounds
#else
    vrx_copy_short(to, from, size);
#endif
}

}  // namespace vrx

#endif

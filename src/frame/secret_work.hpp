// Work on secrets that leaves none of them behind: neither on the stack nor in registers.
#ifndef VRX_FRAME_SECRET_WORK_HPP
#define VRX_FRAME_SECRET_WORK_HPP

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx {

/**
 * How far below their caller functions may leave secrets, in bytes, with every compiler and level of optimisation.
 * tests/residue fails where one is too small. Without optimisation every variable has a place of its own.
 */
namespace depth {
#if defined(__OPTIMIZE__)
inline constexpr std::size_t sha1 = 256;  // on SHA instructions; twice that without
inline constexpr std::size_t hash = 1280;  // next to a table that is looked at before
inline constexpr std::size_t hmac = 3072;  // in one call, which holds the pads
inline constexpr std::size_t derivation = 8192;
inline constexpr std::size_t curves = 16384;
inline constexpr std::size_t scalar = 2048;  // a number modulo the order
inline constexpr std::size_t diversification = 4096;
inline constexpr std::size_t octets = 256;
inline constexpr std::size_t arithmetic = 1408;
inline constexpr std::size_t inversion = 2048;
#else
inline constexpr std::size_t sha1 = 8192;
inline constexpr std::size_t hash = 28672;
inline constexpr std::size_t hmac = 32768;
inline constexpr std::size_t derivation = 36864;
inline constexpr std::size_t curves = 65536;
inline constexpr std::size_t scalar = 16384;
inline constexpr std::size_t diversification = 36864;
inline constexpr std::size_t octets = 1024;
inline constexpr std::size_t arithmetic = 4096;
inline constexpr std::size_t inversion = 16384;
#endif
}  // namespace depth

/** Zeroes what lies below the caller's frame, and all registers that a function may change, but for x87. */
using Erase = void (*)(std::size_t depth) noexcept;

extern "C" {
[[gnu::visibility("hidden")]] void vrx_erase_avx512(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_erase_avx(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_erase_sse2(std::size_t depth) noexcept;
[[gnu::visibility("hidden")]] void vrx_copy_short(void* to, const void* from, std::size_t size) noexcept;
}

struct Eraser : cpu::EngineInfo {
    Erase run;
    /** Leaves out the registers that only AVX-512 has. */
    Erase run_low;
};

/** The C library may use the widest registers of a CPU for copies, whatever the engines here do. */
inline constexpr Eraser erasers[] = {
    {{"avx512", "", cpu::avx512f | cpu::avx512vl}, vrx_erase_avx512, vrx_erase_avx},
    {{"avx", "", cpu::avx}, vrx_erase_avx, vrx_erase_avx},
    {{"sse2", ""}, vrx_erase_sse2, vrx_erase_sse2},
};

extern cpu::Choice<erasers> eraser;

/** The registers that work may use. */
enum class Registers {
    all,
    low  // none that only AVX-512 has: for work that calls nothing of the C library, whose copies use them
};

/**
 * What body() returns, which is none of the secrets. Its variables, all that the compiler kept next to them, and those
 * of the functions that it calls are zeroed, and so are the registers.
 *
 * @param depth  how far below the caller they may lie, a multiple of 128: see the namespace
 */
template <Registers registers = Registers::all, typename Body>
[[gnu::always_inline]] inline auto secret_work(std::size_t depth, Body body) {
    const auto apart = [&body]() __attribute__((noinline)) { return body(); };
    const auto erase = [depth]() __attribute__((always_inline)) {
#if !defined(__AVX512F__)
        if constexpr (registers == Registers::low) return eraser().run_low(depth);
#endif
        eraser().run(depth);
    };
    if constexpr (std::is_void_v<decltype(body())>) {
        apart();
        erase();
    } else {
        const auto result = apart();
        erase();
        return result;
    }
}

template <std::size_t depth, typename Body>
auto secret_work(Body body) {
    static_assert(depth % 128 == 0 && depth != 0);
    return secret_work(depth, body);
}

/** Copies up to 64 bytes and leaves none of them in registers: for calls that do no more than fill a buffer. */
inline void copy_secret(void* to, const void* from, std::size_t size) {
#if defined(VRX_SANITIZED)
    if (size != 0) std::memcpy(to, from, size);  // the sanitizers look at the bounds here
#else
    vrx_copy_short(to, from, size);
#endif
}

}  // namespace vrx

#endif

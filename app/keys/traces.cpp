#include "keys/traces.hpp"

#include <cstddef>
#include <cstdint>

#include "frame/cpu.hpp"
#include "frame/wipe.hpp"

namespace vrx::app {
namespace {

/** The stack depth of the deepest command, including its file buffers. */
constexpr std::size_t deepest = 256 * 1024;

void clear_vector_registers() {
    const std::uint32_t features = cpu::features();
    if ((features & cpu::avx512f) != 0)
        asm volatile(
            ".irp n, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31\n\t"
            "vpxord %%zmm\\n, %%zmm\\n, %%zmm\\n\n\t"
            ".endr"
            :
            :
            :);
    if ((features & cpu::avx2) != 0)
        asm volatile("vzeroall"
                     :
                     :
                     : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11",
                       "xmm12", "xmm13", "xmm14", "xmm15");
    else
        asm volatile(
            ".irp n, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15\n\t"
            "pxor %%xmm\\n, %%xmm\\n\n\t"
            ".endr"
            :
            :
            : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12",
              "xmm13", "xmm14", "xmm15");
}

}  // namespace

void clear_traces() {
    wipe_stack<deepest>();
    clear_vector_registers();
}

}  // namespace vrx::app

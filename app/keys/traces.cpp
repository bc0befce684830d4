#include "keys/traces.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "frame/cpu.hpp"

namespace vrx::app {
namespace {

/**
 * Zero the stack below this function, down to the lowest page that was ever used. Lower pages contain no data, and the
 * stack limit may forbid access to them.
 */
[[gnu::noinline]] void clear_stack() {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    std::uintptr_t end = 0;
    asm volatile("mov %%rsp, %0" : "=r"(end));
    std::uintptr_t begin = end & ~(page - 1);
    unsigned char resident = 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    while (mincore(reinterpret_cast<void*>(begin - page), page, &resident) == 0) begin -= page;
    // There is no function call here, because its frame would be in the memory that is being cleared.
    std::size_t count = end - begin;
    asm volatile("rep stosb" : "+D"(begin), "+c"(count) : "a"(0) : "memory");
}

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
    clear_stack();
    clear_vector_registers();
}

}  // namespace vrx::app

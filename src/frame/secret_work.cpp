// Erases the stack and registers. This is assembly, because code in C++ may itself use the stack and any register.
#include "frame/secret_work.hpp"

// Compilers do not analyse this code, so they cannot optimise it away.
//
// The registers are zeroed first, so a later signal stores no secrets in its frame. The stack pointer moves in small
// steps together with the stores: signal handlers and valgrind treat memory below it as unused, and a stack that
// overflows reaches its guard page. All stores except the first are aligned.
asm(R"(
    .pushsection .text

    // %rdx is the stack pointer of the caller. %rdi, the depth, counts down.
    .macro vrx_erase_begin name
    .globl \name
    .hidden \name
    .type \name, @function
    .p2align 5
\name:
    .cfi_startproc
    endbr64
    mov %rsp, %rdx
    .cfi_def_cfa_register %rdx
    xor %eax, %eax
    xor %ecx, %ecx
    xor %esi, %esi
    xor %r8d, %r8d
    xor %r9d, %r9d
    xor %r10d, %r10d
    xor %r11d, %r11d
    .endm

    .macro vrx_erase_end name
    mov %rdx, %rsp
    .cfi_def_cfa_register %rsp
    xor %edx, %edx
    xor %edi, %edi
    ret
    .cfi_endproc
    .size \name, . - \name
    .endm

    // VEX instructions also zero the upper parts. vzeroupper avoids a penalty in later SSE instructions.
    .macro vrx_erase_low_vectors
    .irp n, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
    vpxor %xmm\n, %xmm\n, %xmm\n
    .endr
    vzeroupper
    .endm

    vrx_erase_begin vrx_erase_avx512
    vrx_erase_low_vectors
    .irp n, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31
    vpxord %xmm\n, %xmm\n, %xmm\n
    .endr
    .irp n, 0, 1, 2, 3, 4, 5, 6, 7
    kxorw %k\n, %k\n, %k\n
    .endr
    vmovdqu %ymm0, -32(%rdx)
    vmovdqu %ymm0, -64(%rdx)
    and $-64, %rsp
1:
    add $-128, %rsp
    vmovdqa64 %zmm0, 64(%rsp)
    vmovdqa64 %zmm0, (%rsp)
    sub $128, %rdi
    ja 1b
    vrx_erase_end vrx_erase_avx512

    vrx_erase_begin vrx_erase_avx
    vrx_erase_low_vectors
    vmovdqu %ymm0, -32(%rdx)
    and $-32, %rsp
1:
    add $-128, %rsp
    vmovdqa %ymm0, 96(%rsp)
    vmovdqa %ymm0, 64(%rsp)
    vmovdqa %ymm0, 32(%rsp)
    vmovdqa %ymm0, (%rsp)
    sub $128, %rdi
    ja 1b
    vrx_erase_end vrx_erase_avx

    vrx_erase_begin vrx_erase_sse2
    .irp n, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
    pxor %xmm\n, %xmm\n
    .endr
    movdqu %xmm0, -16(%rdx)
    and $-16, %rsp
1:
    add $-128, %rsp
    .irp at, 112, 96, 80, 64, 48, 32, 16, 0
    movdqa %xmm0, \at(%rsp)
    .endr
    sub $128, %rdi
    ja 1b
    vrx_erase_end vrx_erase_sse2

    // The code of copy_secret(), for at most 64 bytes: two overlapping loads of the largest size that fits, then two
    // stores of that size.
    .globl vrx_copy_short
    .hidden vrx_copy_short
    .type vrx_copy_short, @function
    .p2align 5
vrx_copy_short:
    .cfi_startproc
    endbr64
    cmp $16, %rdx
    jb 4f
    cmp $32, %rdx
    ja 3f
    movdqu (%rsi), %xmm0
    movdqu -16(%rsi, %rdx), %xmm1
    movdqu %xmm0, (%rdi)
    movdqu %xmm1, -16(%rdi, %rdx)
    pxor %xmm0, %xmm0
    pxor %xmm1, %xmm1
    ret
3:
    movdqu (%rsi), %xmm0
    movdqu 16(%rsi), %xmm1
    movdqu -32(%rsi, %rdx), %xmm2
    movdqu -16(%rsi, %rdx), %xmm3
    movdqu %xmm0, (%rdi)
    movdqu %xmm1, 16(%rdi)
    movdqu %xmm2, -32(%rdi, %rdx)
    movdqu %xmm3, -16(%rdi, %rdx)
    .irp n, 0, 1, 2, 3
    pxor %xmm\n, %xmm\n
    .endr
    ret
4:
    cmp $8, %edx
    jb 5f
    mov (%rsi), %rax
    mov -8(%rsi, %rdx), %rcx
    mov %rax, (%rdi)
    mov %rcx, -8(%rdi, %rdx)
    jmp 8f
5:
    cmp $4, %edx
    jb 6f
    mov (%rsi), %eax
    mov -4(%rsi, %rdx), %ecx
    mov %eax, (%rdi)
    mov %ecx, -4(%rdi, %rdx)
    jmp 8f
6:
    test %edx, %edx
    jz 8f
    movzbl (%rsi), %eax
    movzbl -1(%rsi, %rdx), %ecx
    mov %rdx, %r8
    shr %r8d
    movzbl (%rsi, %r8), %esi
    mov %al, (%rdi)
    mov %sil, (%rdi, %r8)
    mov %cl, -1(%rdi, %rdx)
    xor %esi, %esi
8:
    xor %eax, %eax
    xor %ecx, %ecx
    ret
    .cfi_endproc
    .size vrx_copy_short, . - vrx_copy_short

    .purgem vrx_erase_begin
    .purgem vrx_erase_end
    .purgem vrx_erase_low_vectors
    .popsection
)");

namespace vrx {

constinit cpu::Choice<erasers> eraser;

}  // namespace vrx

// Encrypts one block with the shortest dependency chain that is known for GOST 28147-89 with four look-up tables: add,
// extract, load, and a tree of exclusive-ors. The tree combines the look-ups in the order in which they complete.
//
// void hand_scheduled_encrypt(const uint8_t in[8], uint8_t out[8], const uint32_t key[8], const vrx_tz* table)

        .intel_syntax noprefix

// Computes half ^= f(other + key word). byte0 and byte1 are the names of the two low bytes of the register that holds
// the sum.
.macro  round other, half, word, sum, byte0, byte1, sum64
        mov     \sum, [rdx + 4 * \word]
        add     \sum, \other
        movzx   edi, \byte1
        rorx    r10d, \sum, 16
        movzx   r8d, \byte0
        xor     \half, [rcx + r8 * 4]
        shr     \sum, 24
        movzx   r10d, r10b
        xor     \half, [rcx + 3072 + \sum64 * 4]
        mov     ebp, [rcx + 1024 + rdi * 4]
        xor     ebp, [rcx + 2048 + r10 * 4]
        xor     \half, ebp
.endm

.macro  two_rounds first, second
        round   r14d, r15d, \first, eax, al, ah, rax
        round   r15d, r14d, \second, ebx, bl, bh, rbx
.endm

        .text
        .globl  hand_scheduled_encrypt
        .type   hand_scheduled_encrypt, @function
hand_scheduled_encrypt:
        push    rbx
        push    rbp
        push    r14
        push    r15
        mov     r14d, [rdi]
        mov     r15d, [rdi + 4]
.rept   3
        two_rounds 0, 1
        two_rounds 2, 3
        two_rounds 4, 5
        two_rounds 6, 7
.endr
        two_rounds 7, 6
        two_rounds 5, 4
        two_rounds 3, 2
        two_rounds 1, 0
        mov     [rsi], r15d
        mov     [rsi + 4], r14d
        pop     r15
        pop     r14
        pop     rbp
        pop     rbx
        ret
        .size   hand_scheduled_encrypt, . - hand_scheduled_encrypt
        .section .note.GNU-stack, "", @progbits

/**
 * @file random.h  The operating system's random numbers, as a source for signatures and keys.
 *
 * Not part of vrx.h: it is compiled into the program that includes it, and the library does not export it.
 */
#ifndef VRX_RANDOM_H
#define VRX_RANDOM_H

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/random.h>
#include <sys/types.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

/**
 * Random bytes from the kernel, by getrandom(): an RND_FUNC (sign.h) that is good enough for keys.
 *
 * @param buffer  out: `length` bytes at any address; may be NULL when length is 0.
 * @param length  in: bytes, any number.
 * @return 0, or -1 when the system refuses (errno says why; the buffer may then be filled in part). Before the kernel
 *         has gathered enough, early at boot, it waits.
 *
 * Threads: any number. Allocates nothing.
 */
#if defined(__cplusplus)
inline int vrx_system_random(void *buffer, uint32_t length)
#else
static inline int vrx_system_random(void *buffer, uint32_t length)
#endif
{
    uint8_t *at = (uint8_t *)buffer;
    size_t left = length;
    while (left != 0) {
        const ssize_t got = getrandom(at, left, 0);
        if (got >= 0) {
            at += got;
            left -= (size_t)got;
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return 0;
}

VRX_END_DECLS

#endif

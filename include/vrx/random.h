/**
 * @file random.h  The operating system's random numbers, as a source for signatures and keys.
 *
 * This header is not part of vrx.h, and the library does not export its function: it is compiled into your program.
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

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Fill a buffer with random bytes from the kernel, by getrandom(2). This is an RND_FUNC that is good enough for keys,
 * IVs and nonces.
 *
 * Early at boot, the call waits until the kernel has gathered enough randomness.
 *
 * @param buffer  out: the random bytes, at any address; may be NULL if length is 0.
 * @param length  in: bytes in buffer, any number.
 * @return 0, or -1 if the system refuses; errno then gives the reason, and part of the buffer may be filled.
 *
 * Threads: any number may call the function. It allocates nothing.
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

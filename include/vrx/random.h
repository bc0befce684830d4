/**
 * @file random.h  Random numbers of the operating system, for signatures and keys.
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

/** @cond */
#if defined(__cplusplus)
#define VRX_RANDOM_INLINE inline
#else
#define VRX_RANDOM_INLINE static inline
#endif

/** For vrx_system_random(): calls getrandom() until the buffer is full. @return 0, or -1. */
VRX_RANDOM_INLINE int vrx_kernel_random(void *buffer, size_t length) {
    uint8_t *at = (uint8_t *)buffer;
    while (length != 0) {
        const ssize_t got = getrandom(at, length, 0);
        if (got >= 0) {
            at += got;
            length -= (size_t)got;
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return 0;
}

/** @endcond */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Fill a buffer with random bytes from the kernel, by getrandom(2). This is an RND_FUNC that is good enough for keys,
 * IVs and nonces.
 *
 * Early at boot, the call waits until the kernel has gathered enough randomness.
 *
 * @param buffer  out: the random bytes, at any address; may be NULL if length is 0.
 * @param length  in: bytes in buffer, any number.
 * @return 0, or -1 if the system call fails; errno then gives the reason, and part of the buffer may be filled. For 16
 *         bytes or more, the function also returns -1 with errno EIO if the source is stuck: all bytes are equal, or a
 *         second draw repeats the first 16 bytes.
 *
 * Threads: any number may call the function. It allocates nothing.
 */
#if defined(__cplusplus)
inline int vrx_system_random(void *buffer, uint32_t length)
#else
static inline int vrx_system_random(void *buffer, uint32_t length)
#endif
{
    const uint8_t *const bytes = (const uint8_t *)buffer;
    uint8_t again[16];
    /* Both loops read all bytes, so their running time does not reveal where bytes differ. */
    unsigned varies = 0, differs = 0;
    if (vrx_kernel_random(buffer, length) != 0) return -1;
    if (length < sizeof again) return 0;
    if (vrx_kernel_random(again, sizeof again) != 0) return -1;
    for (uint32_t i = 1; i < length; ++i) varies |= (unsigned)(bytes[i] ^ bytes[0]);
    for (size_t i = 0; i < sizeof again; ++i) differs |= (unsigned)(bytes[i] ^ again[i]);
    if (varies != 0 && differs != 0) return 0;
    errno = EIO;
    return -1;
}

VRX_END_DECLS

#endif

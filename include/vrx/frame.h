/**
 * @file frame.h  Return codes, the buffer record, the diagnostics log and the copyright notice.
 *
 * A function that can fail returns an `int`: VRX_OK or one of the negative codes below. Three kinds of functions are
 * exceptions:
 *
 * - Look-ups that return a pointer return NULL when they find nothing. Look-ups that return an `int` store NULL.
 * - mpModInv() returns 1 when there is no inverse.
 * - Comparisons and predicates return their answer, which may be -1.
 *
 * A failure may also write to the diagnostics log. Often the function that fails logs a line, and the library function
 * that called it logs another line. One failure therefore often causes two or three lines. The return code does not
 * depend on whether the log is on.
 *
 * Threads: the log is process-wide and unsynchronized. Set it before other threads call the library. The library
 * allocates no memory for the log except what the C library needs for an open file.
 */
#ifndef VRX_FRAME_H
#define VRX_FRAME_H

#include <stdint.h>
#include <stdio.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_OK 0                        /**< success */
#define VRX_ERR_FAILED (-1)             /**< general failure: table not deployed, nothing found, invalid signature */
#define VRX_ERR_BAD_PARAMS (-2)         /**< NULL pointer, zero length, unknown selector or unregistered identifier */
#define VRX_ERR_RANDOM (-3)             /**< the random source failed */
#define VRX_ERR_BUFFER_LENGTH (-4)      /**< empty input, output buffer too small, or MAC buffer not of 8 bytes */
#define VRX_ERR_BLOCK_MULTIPLE (-6)     /**< length not a multiple of the 8-byte block, where that is required */
#define VRX_ERR_CONTEXT_STATE (-152)    /**< cipher context not initialized, or already finished */
#define VRX_ERR_UNKNOWN_TZ (-1000)      /**< S-box string not 128 characters long */
#define VRX_ERR_UNKNOWN_MODE (-1102)    /**< unknown mode number */
#define VRX_ERR_UNSUPPORTED_OID (-3001) /**< no hash parameter set has this object identifier */

/**
 * A buffer: a pointer with a byte count. The caller owns the record and the bytes; the library frees neither. The bytes
 * may lie at any address. One record may be passed as both input and output of a call.
 */
typedef struct vrx_data {
    uint32_t length; /**< input: bytes to process; output: capacity on entry, bytes written after success */
    uint8_t *data;   /**< the bytes */
} vrx_data;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * The diagnostics log. It is initially NULL, which means that the log is off. A program may assign an open stream, or
 * NULL.
 *
 * At every failure, the library reads this pointer without synchronization. The library never flushes the stream. For a
 * stream to a file, the C library uses full buffering: lines reach the file when the buffer is full, the stream is
 * flushed or the process exits. To see lines at once, call `setvbuf(stream, NULL, _IOLBF, 0)` before you assign the
 * stream.
 *
 * In a service, assign `vrxflog = stderr` before threads start.
 */
VRX_API extern FILE *vrxflog;

/**
 * Direct the diagnostics log to a file or to the standard error stream.
 *
 * **Warning:** this function first closes the stream that vrxflog holds, whatever stream it is. If that is standard
 * error, file descriptor 2 is closed, and the next file or socket that the process opens gets that number. To log to
 * standard error, assign `vrxflog = stderr` and do not call this function afterwards.
 *
 * @param path  in: name of a file to append to, which is created if missing; "stderr" for the standard error stream; or
 *              NULL to switch the log off.
 * @return always VRX_OK. If the file cannot be opened, the log is off: vrxflog is NULL.
 *
 * Threads: do not call this function while another thread is inside the library.
 */
VRX_API int vrx_set_log_file(const char *path);

/**
 * Get the copyright notice of the library.
 *
 * @return one line of constant text, without a newline.
 */
VRX_API const char *vrx_copyright_notice(void);

VRX_END_DECLS

#endif

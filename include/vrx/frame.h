/**
 * @file frame.h  Return codes, the buffer record, the diagnostics log and the attribution notice.
 *
 * Every function of the library that can fail returns an `int`: VRX_OK, or one of the negative codes below.
 * Functions that look something up return a pointer, or NULL. A failure may also write one line to the
 * diagnostics log, see vrxflog; the code is the same whether the log is set or not.
 *
 * Threads: the log is process-wide and unguarded; set it before other threads call the library. Nothing is allocated but
 * what the C library takes for an open file.
 */
#ifndef VRX_FRAME_H
#define VRX_FRAME_H

#include <stdint.h>
#include <stdio.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_OK 0                        /**< success */
#define VRX_ERR_FAILED (-1)             /**< generic failure: table not deployed, nothing found, wrong signature */
#define VRX_ERR_BAD_PARAMS (-2)         /**< a required pointer is NULL, or a selector is unknown */
#define VRX_ERR_RANDOM (-3)             /**< the random source failed */
#define VRX_ERR_BUFFER_LENGTH (-4)      /**< empty input, output too small, or a MAC buffer that is not 8 bytes */
#define VRX_ERR_BLOCK_MULTIPLE (-6)     /**< not a multiple of the 8-byte block where padding is not allowed */
#define VRX_ERR_CONTEXT_STATE (-152)    /**< a cipher context is used before it was initialised */
#define VRX_ERR_UNKNOWN_TZ (-1000)      /**< a substitution-table text is not 128 characters long */
#define VRX_ERR_UNKNOWN_MODE (-1102)    /**< a cipher context holds a mode number that its engine does not know */
#define VRX_ERR_UNSUPPORTED_OID (-3001) /**< a hash parameter OID is not supported */

/** Bytes with their count. The caller owns both the record and the bytes; the library frees neither. */
typedef struct vrx_data {
    uint32_t length; /**< input: bytes to process; output: capacity on entry, bytes written after success */
    uint8_t *data;   /**< the bytes, at any address */
} vrx_data;

/**
 * The diagnostics log, NULL at first: nothing is then written anywhere. A host may assign it directly; to switch
 * the log off, assign NULL. The library reads it without synchronisation at every failure and never closes it
 * but in vrx_set_log_file().
 */
VRX_API extern FILE *vrxflog;

/**
 * Direct the diagnostics log to a file, or to the standard error stream.
 *
 * @param path  in: name of a file to append to, created if missing; exactly "stderr" means the process's standard
 *              error stream; NULL switches the log off.
 * @return always VRX_OK. A file that cannot be opened leaves the log off (vrxflog is then NULL).
 *
 * A stream that was set before is closed first, whatever it is: setting the log twice while it is standard error
 * closes the process's standard error stream.
 *
 * Threads: may not run while another thread is inside the library.
 */
VRX_API int vrx_set_log_file(const char *path);

/** The library's attribution. @return one line of constant text, without a line end. */
VRX_API const char *vrx_copyright_notice(void);

VRX_END_DECLS

#endif

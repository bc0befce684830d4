/**
 * @file context.h  GOST 28147-89 over a message in pieces of any length, with CryptoPro key meshing.
 *
 * Order of calls: vrx_crpt_init_context(), vrx_crpt_update() any number of times, vrx_crpt_final(); vrx_crpt_reset()
 * starts another message on the key and register that the last one left.
 *
 * The caller owns every record. Only vrx_crpt_reset() and vrx_crpt_final() write messages of their own; other
 * failures here are silent, but the one-shot functions underneath may log theirs (modes.h). Buffers, keys and vectors
 * may lie at any address and may not overlap the context. Nothing is allocated.
 *
 * Common arguments:
 * - ctx  in-out: the context.
 * - in  in: bytes with their count.
 * - out  out: capacity on entry, bytes written after success.
 * - table  in: a deployed table.
 * - iv  in-out: 8 bytes.
 * - key  in: eight words as in kernel.h; in-out: likewise.
 * - direction  in: low 8 bits non-zero: encrypt; zero: decrypt.
 * - flags  in: VRX_FLAG_FIRST, VRX_FLAG_PAD.
 * - p  in: the parameter block, with what it points to; in-out: likewise.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent.
 *
 * Source: RFC 5830; key meshing: RFC 4357, section 2.3.2. Keys and blocks have the byte order of kernel.h.
 */
#ifndef VRX_CONTEXT_H
#define VRX_CONTEXT_H

#include "vrx/modes.h"

VRX_BEGIN_DECLS

#define VRX_MODE_IMITO 5         /**< the MAC, as a mode of a context */
#define VRX_MESHING_SECTION 1024 /**< bytes processed under one key when key meshing is on */

/** A cipher context. Its fields are public: results are read from it. */
typedef struct vrx_crpt_ctx {
    vrx_tz table;                /**< copy of the caller's table */
    uint32_t mode;               /**< VRX_MODE_SS to VRX_MODE_IMITO; others fail once a whole block is there */
    uint32_t aux1;               /**< kept for the caller */
    uint32_t key_meshing;        /**< exactly 1: CryptoPro key meshing is on */
    uint32_t aux2;               /**< kept for the caller */
    uint32_t key[VRX_KEY_WORDS]; /**< K0 to K7 */
    uint8_t iv[VRX_BLOCK_SIZE];  /**< chaining value, counter or feedback register */
    uint32_t mesh_count;         /**< bytes processed since the last meshing, 0 to 1024 */
    uint8_t
        block[VRX_BLOCK_SIZE];   /**< modes 1, 4, 5: bytes that wait for a whole block, after final of 1 and 4 the last
                                        output; modes 2, 3: key stream whose last block_len bytes are unused */
    uint8_t mac[VRX_BLOCK_SIZE]; /**< mode 5: the MAC state */
    uint32_t block_len;          /**< bytes held, or key stream bytes unused, 0 to 8 */
    uint8_t initialised;         /**< 0 before initialisation, after final, after a failed meshing */
    uint8_t direction;           /**< non-zero: encrypt; modes 2 and 5 ignore it */
    uint8_t flags;               /**< VRX_FLAG_FIRST: nothing processed yet; VRX_FLAG_PAD: the last call */
} vrx_crpt_ctx;

/** The table record of the older entry points. */
typedef struct vrx_crpt_table_rec {
    vrx_tz table;         /**< deployed */
    uint32_t mode;        /**< as in a context, like the three below */
    uint32_t aux1;        /**< kept for the caller */
    uint32_t key_meshing; /**< exactly 1: on */
    uint32_t aux2;        /**< kept for the caller */
} vrx_crpt_table_rec;

/** The parameter block of the older entry points. */
typedef struct old_crpt_params {
    uint32_t first;             /**< must not be 0; not used otherwise */
    uint32_t second;            /**< must not be 0; not used otherwise */
    vrx_data *table;            /**< its data points to a vrx_crpt_table_rec */
    vrx_data *key;              /**< its data points to the 32 key bytes */
    uint8_t iv[VRX_BLOCK_SIZE]; /**< initialisation vector */
} old_crpt_params;

/**
 * Open a context.
 *
 * @param ctx          out: every field is set.
 * @param direction    in: low 8 bits non-zero: encrypt; zero: decrypt.
 * @param table        in: copied into the context; its flag is tested when data is processed.
 * @param mode         in: any number is taken; an unknown one fails at the first whole block.
 * @param aux1         in: kept for the caller.
 * @param key_meshing  in: 1 switches CryptoPro key meshing on.
 * @param aux2         in: kept for the caller.
 * @param iv           in: 8 bytes, or NULL for zeros. In mode 5 it is also the first MAC state, where NULL means zeros.
 * @param key          in: eight words as in kernel.h.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when ctx is NULL. Nothing else is checked.
 */
VRX_API int vrx_crpt_init_context(vrx_crpt_ctx *ctx, int direction, const vrx_tz *table, uint32_t mode, uint32_t aux1,
                                  uint32_t key_meshing, uint32_t aux2, const uint8_t *iv,
                                  const uint32_t key[VRX_KEY_WORDS]);

/**
 * Open a context from a parameter block: the older entry point. Unlike vrx_crpt_init_context() it leaves the MAC state
 * as it was, and a MAC does not start from the vector.
 *
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when ctx or p is NULL, one of p's two words is 0, its table pointer is NULL or
 *         its key is empty or NULL; the context is then closed.
 */
VRX_API int old_crpt_init_context(vrx_crpt_ctx *ctx, int direction, const old_crpt_params *p);

/**
 * Start another message: drops held bytes and opens the context, also one that was closed. Key, register, MAC state
 * and meshing position stay what the last call left.
 *
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when ctx is NULL (logged).
 */
VRX_API int vrx_crpt_reset(vrx_crpt_ctx *ctx);

/**
 * Process a piece of a message.
 *
 * @param in   in: any number of bytes; in modes 2, 3 and 5 at least one.
 * @param out  out: capacity on entry, bytes written after success. Modes 2 and 3 write as many bytes as they read. Modes
 *             1 and 4 write whole blocks and hold the rest back; when out's data is NULL they only report the bytes
 *             that this call would write. Mode 5 does not use it, it may be NULL.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS for a NULL pointer; VRX_ERR_CONTEXT_STATE when the context is closed;
 *         VRX_ERR_BUFFER_LENGTH when the output is too small (modes 2, 3, 5: also for empty input); VRX_ERR_FAILED when
 *         the table is not deployed; VRX_ERR_UNKNOWN_MODE.
 *
 * In and out may be the same buffer in modes 2 and 3, and in modes 1 and 4 while no bytes are held. Mode 3 takes any
 * overlap: first the bytes that use up held key stream are taken one by one, then all the rest of the input counts as
 * read before more output is written.
 */
VRX_API int vrx_crpt_update(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * Finish a message.
 *
 * Mode 5 leaves the MAC in ctx->mac. In modes 1 and 4 a message must be whole blocks: held bytes make the call fail,
 * and the context is closed all the same. With nothing held, modes 1, 4 and 5 stay open.
 *
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when ctx is NULL, VRX_ERR_CONTEXT_STATE when it is closed (both logged).
 *         Where bytes are held: VRX_ERR_BLOCK_MULTIPLE in modes 1 and 4, or VRX_ERR_FAILED when the table is not
 *         deployed; VRX_ERR_UNKNOWN_MODE in an unknown mode.
 */
VRX_API int vrx_crpt_final(vrx_crpt_ctx *ctx);

/**
 * The one-shot function (modes.h) for a mode number.
 *
 * @param mode  in: VRX_MODE_SS to VRX_MODE_CBC; all 32 bits count.
 * @return the code of the function; VRX_ERR_UNKNOWN_MODE, silently, for other numbers.
 */
VRX_API int vrx_crpt_crypto_engine(uint32_t mode, const vrx_tz *table, const vrx_data *in, vrx_data *out,
                                   uint8_t iv[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], uint8_t direction,
                                   uint8_t flags);

/**
 * Run data through vrx_crpt_crypto_engine() with a context's fields, cut where its key is to be meshed. Nothing is
 * buffered. The context's state (initialised or not) is not looked at.
 *
 * @param out  out: capacity on entry; after success the count of all bytes written.
 * @return VRX_OK, or the code of the piece that failed; earlier pieces stay written.
 */
VRX_API int vrx_crpt_context_engine(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/** vrx_crpt_update() of mode 2, whatever the context's mode. @return as there; a closed context comes before NULL buffers. */
VRX_API int vrx_crpt_CNT_ctx(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/** vrx_crpt_update() of mode 3, whatever the context's mode. @return as there; a closed context comes before NULL buffers. */
VRX_API int vrx_crpt_CFB_ctx(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * vrx_crpt_update() of mode 5, whatever the context's mode. With VRX_FLAG_PAD in the context's flags empty input is
 * allowed, and a message end of less than a block is padded with zeros.
 *
 * @return as there; a closed context comes before NULL buffers.
 */
VRX_API int vrx_crpt_IMITO_ctx(vrx_crpt_ctx *ctx, const vrx_data *in);

/**
 * One step of CryptoPro key meshing: key = D(key, C), then iv = E(new key, iv), with the constant C of RFC 4357,
 * section 2.3.2.
 *
 * @return VRX_OK, or the code of VRX_Gost_SS_m(), which logs; key and iv are then unchanged.
 */
VRX_API int vrx_crpt_crypto_pro_key_meshing_engine(const vrx_tz *table, uint8_t iv[VRX_BLOCK_SIZE],
                                                   uint32_t key[VRX_KEY_WORDS]);

/**
 * Count 8 bytes of a context, before they are processed; when 1024 were counted since the last meshing, mesh its key
 * and vector first. Does nothing where key meshing is off.
 *
 * @return VRX_OK, or the code of the failed meshing; the context is then closed.
 */
VRX_API int vrx_make_key_meshing(vrx_crpt_ctx *ctx);

/** vrx_crpt_crypto_pro_key_meshing_engine() on table, vector and key bytes of a parameter block, in place. @return as there. */
VRX_API int vrx_crpt_crypto_pro_key_meshing(old_crpt_params *p);

VRX_END_DECLS

#endif

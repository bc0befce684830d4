/**
 * @file params.h  Parameter sets: what an object identifier of RFC 4357 means to the cipher and to the hash.
 *
 * Object identifiers are complete DER encodings, tag and length bytes included. Two identifiers are the same when
 * their lengths are equal and their bytes are.
 *
 * No function of this header checks its pointers: none may be NULL, unless said otherwise. Nothing is allocated but by
 * oidCopyGOST28147Par(). Records, identifiers and texts belong to the caller, or are built in.
 *
 * Common arguments:
 * - index  in: place in the table of built-in records, from 0.
 * - record  in-out: a record of the caller's, or a built-in one.
 * - oid  in: DER identifier, complete with tag and length.
 * - length, oid_length  in: bytes in it.
 *
 * Threads: the registered list (GOST28147_OIDS and the `next` fields) and the two default pointers are process-wide
 * and unguarded. Registering, finding and unregistering may not run at the same time.
 */
#ifndef VRX_PARAMS_H
#define VRX_PARAMS_H

#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_PAR_OID_SIZE 9 /**< bytes in each of the built-in identifiers */

VRX_API extern const uint8_t VRX_PAR_HASH_0_OID[VRX_PAR_OID_SIZE];    /**< 1.2.643.2.2.30.0 */
VRX_API extern const uint8_t VRX_PAR_HASH_1_OID[VRX_PAR_OID_SIZE];    /**< 1.2.643.2.2.30.1 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_0_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.0 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_A_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.1 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_B_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.2 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_C_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.3 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_D_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.4 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_0S_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.5 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SA_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.6 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SB_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.7 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SC_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.8 */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SD_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.9 */

/** A parameter set of GOST R 34.11-94. */
typedef struct vrx_gostr3411_par {
    uint32_t oid_length; /**< bytes in oid */
    const uint8_t *oid;  /**< DER */
    const char *str_oid; /**< dotted */
    const char *name;    /**< as RFC 4357 writes it */
    const vrx_tz *tz;    /**< deployed table of the step function */
} vrx_gostr3411_par;

/** A parameter set of GOST 28147-89. */
typedef struct vrx_gost28147_par {
    uint32_t oid_length;            /**< bytes in oid */
    const uint8_t *oid;             /**< DER */
    const char *str_oid;            /**< dotted */
    const char *name;               /**< as RFC 4357 writes it */
    const vrx_tz *tz;               /**< deployed table of the cipher */
    uint8_t mode;                   /**< default mode, numbered as in modes.h */
    uint8_t key_meshing;            /**< 1: CryptoPro key meshing applies; 0: it does not */
    struct vrx_gost28147_par *next; /**< link of the registered list; NULL at its end */
} vrx_gost28147_par;

#define VRX_GOSTR3411_PAR_COUNT 2  /**< built-in hash parameter sets */
#define VRX_GOST28147_PAR_COUNT 10 /**< built-in cipher parameter sets */

/** The hash parameter sets: test, CryptoPro. */
VRX_API extern vrx_gostr3411_par GOSTR3411_OIDS[VRX_GOSTR3411_PAR_COUNT];

/** The cipher parameter sets. Writable: the registered list runs through their `next` fields. */
VRX_API extern vrx_gost28147_par GOST28147_CRYPTO_PRO_OIDS[VRX_GOST28147_PAR_COUNT];

/** The default hash parameter set, at first GOSTR3411_OIDS[1] (CryptoPro). A host may assign it. */
VRX_API extern const vrx_gostr3411_par *DEFAULT_GOSTR3411_OID;

/** The default cipher parameter set, at first GOST28147_CRYPTO_PRO_OIDS[1] (CryptoPro-A). A host may assign it. */
VRX_API extern vrx_gost28147_par *DEFAULT_GOST28147_OID;

/** Head of the registered list, at first NULL. The list links its records and owns none of them. */
VRX_API extern vrx_gost28147_par *GOST28147_OIDS;

/** A hash parameter set by its index. @return the built-in record, or NULL when index is above 1. */
VRX_API const vrx_gostr3411_par *get_GOSTR3411_par(uint32_t index);

/** The default hash parameter set. @return the value of DEFAULT_GOSTR3411_OID. */
VRX_API const vrx_gostr3411_par *get_GOSTR3411_default_par(void);

/** A cipher parameter set by its index. @return the built-in record, or NULL when index is above 9. */
VRX_API vrx_gost28147_par *get_GOST28147_par(uint32_t index);

/** The default cipher parameter set. @return the value of DEFAULT_GOST28147_OID. */
VRX_API vrx_gost28147_par *get_GOST28147_default_par(void);

/** Set a record's default mode. @param mode  in: a number of modes.h, of which the low 8 bits are kept. @return VRX_OK */
VRX_API int oidSetModeGOST28147Par(vrx_gost28147_par *record, int mode);

/** Set a record's key-meshing mark. @param key_meshing  in: 1 or 0; the low 8 bits are kept. @return VRX_OK */
VRX_API int oidSetKeyMeshingGOST28147Par(vrx_gost28147_par *record, int key_meshing);

/**
 * Set a record's identifier and texts. The pointers are kept, nothing is copied.
 *
 * @param str_oid  in: the identifier in dotted form; not looked at, may be NULL.
 * @param name     in: any text; not looked at, may be NULL.
 * @return VRX_OK
 */
VRX_API int oidSetOIDGOST28147Par(vrx_gost28147_par *record, const uint8_t *oid, uint32_t oid_length,
                                  const char *str_oid, const char *name);

/**
 * Copy a record to the heap. The copy shares the source's identifier, texts and table; its `next` is NULL. The caller
 * gives the table another value by assigning `tz`, and frees the copy with free().
 *
 * @param source  in: the record.
 * @param copy    out: the new record; NULL when memory is short.
 * @return VRX_OK; VRX_ERR_FAILED when memory is short.
 */
VRX_API int oidCopyGOST28147Par(const vrx_gost28147_par *source, vrx_gost28147_par **copy);

/**
 * Append a record to the registered list. There is no check for duplicates: registering a record that is in the
 * list already cuts the list behind it. The record must outlive its registration.
 *
 * @return VRX_OK, always.
 */
VRX_API int oidRegisterGOST28147Par(vrx_gost28147_par *record);

/**
 * Register the ten built-in cipher parameter sets in order. On a list that holds them already the same ten remain,
 * and records appended behind them are dropped.
 *
 * @return VRX_OK, or VRX_ERR_FAILED (logged) when a registration fails.
 */
VRX_API int oidRegisterGOST28147CryptoProPar(void);

/**
 * Find a registered cipher parameter set; an empty list is filled with the built-in ones first. The record that was
 * registered first wins.
 *
 * @param oid     in: DER identifier of `length` bytes.
 * @param record  out: the record, or NULL when there is none.
 * @return VRX_OK, or VRX_ERR_FAILED when there is none (logged).
 */
VRX_API int oidFindGOST28147Par(const uint8_t *oid, uint32_t length, vrx_gost28147_par **record);

/**
 * Take the first record with an identifier out of the registered list; its `next` becomes NULL. The head record stays
 * registered: asking for it cuts the list down to the head alone.
 *
 * @return VRX_OK; VRX_ERR_FAILED when nothing is registered; VRX_ERR_BAD_PARAMS when no record matches. Both logged.
 */
VRX_API int oidUnregisterGOST28147Par(const uint8_t *oid, uint32_t length);

/**
 * Find a built-in hash parameter set.
 *
 * @param oid     in: DER identifier of `length` bytes.
 * @param record  out: the record, or NULL when there is none.
 * @return VRX_OK, or VRX_ERR_FAILED when there is none (logged).
 */
VRX_API int oidFindGOSTR3411Par(const uint8_t *oid, uint32_t length, const vrx_gostr3411_par **record);

VRX_END_DECLS

#endif

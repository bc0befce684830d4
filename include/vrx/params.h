/**
 * @file params.h  Parameter sets: the S-boxes, mode and key meshing that belong to an object identifier (RFC 4357).
 *
 * Object identifiers are complete DER encodings, with tag and length bytes. Two identifiers are equal if their lengths
 * and their bytes are equal.
 *
 * **Warning:** rows 5 to 9 of the cipher parameter sets (1.2.643.2.2.31.5 to .9) pair these identifiers with the
 * S-boxes of rows 0 to 4. This pairing is particular to this library. RFC 4357 defines other S-boxes for 31.5 to 31.7.
 * Data from elsewhere that carries one of these identifiers may need other S-boxes, and then decrypts to garbage
 * without an error. Use rows 5 to 9 only with peers that use this library.
 *
 * The functions do not check pointers: unless a function says otherwise, passing NULL is undefined. Only
 * oidCopyGOST28147Par() allocates memory. Records, identifiers and strings belong to the caller or are built in.
 *
 * **Warning:** several functions keep pointers. The registered list keeps the record, and a record keeps its
 * identifier, strings and table. All of these objects must remain valid as long as they are in use.
 *
 * Threads: the registered list (GOST28147_OIDS and the `next` fields) and the two default pointers are process-wide and
 * unsynchronized. In threaded programs, use get_GOST28147_par(), which reads constant data only. Several threads may
 * call oidFindGOST28147Par() at once only if the list is not empty, and no thread changes the list meanwhile.
 */
#ifndef VRX_PARAMS_H
#define VRX_PARAMS_H

#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_PAR_OID_SIZE 9 /**< bytes in each of the built-in identifiers */

VRX_API extern const uint8_t VRX_PAR_HASH_0_OID[VRX_PAR_OID_SIZE];    /**< 1.2.643.2.2.30.0, test */
VRX_API extern const uint8_t VRX_PAR_HASH_1_OID[VRX_PAR_OID_SIZE];    /**< 1.2.643.2.2.30.1, CryptoPro */
VRX_API extern const uint8_t VRX_PAR_CIPHER_0_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.0, test */
VRX_API extern const uint8_t VRX_PAR_CIPHER_A_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.1, CryptoPro-A */
VRX_API extern const uint8_t VRX_PAR_CIPHER_B_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.2, CryptoPro-B */
VRX_API extern const uint8_t VRX_PAR_CIPHER_C_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.3, CryptoPro-C */
VRX_API extern const uint8_t VRX_PAR_CIPHER_D_OID[VRX_PAR_OID_SIZE];  /**< 1.2.643.2.2.31.4, CryptoPro-D */
VRX_API extern const uint8_t VRX_PAR_CIPHER_0S_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.5, see the warning */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SA_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.6, see the warning */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SB_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.7, see the warning */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SC_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.8, see the warning */
VRX_API extern const uint8_t VRX_PAR_CIPHER_SD_OID[VRX_PAR_OID_SIZE]; /**< 1.2.643.2.2.31.9, see the warning */

/** A parameter set of GOST R 34.11-94. */
typedef struct vrx_gostr3411_par {
    uint32_t oid_length; /**< bytes in oid */
    const uint8_t *oid;  /**< identifier, DER */
    const char *str_oid; /**< identifier, dotted decimal */
    const char *name;    /**< name as in RFC 4357 */
    const vrx_tz *tz;    /**< deployed table of the hash */
} vrx_gostr3411_par;

/** A parameter set of GOST 28147-89. */
typedef struct vrx_gost28147_par {
    uint32_t oid_length;            /**< bytes in oid */
    const uint8_t *oid;             /**< identifier, DER */
    const char *str_oid;            /**< identifier, dotted decimal */
    const char *name;               /**< name as published; for rows 5 to 9 see the warning about them */
    const vrx_tz *tz;               /**< deployed table of the cipher */
    uint8_t mode;                   /**< default mode: VRX_MODE_GAMM (2) or VRX_MODE_GFB (3) in the built-in sets */
    uint8_t key_meshing;            /**< 1: CryptoPro key meshing applies; 0: it does not */
    struct vrx_gost28147_par *next; /**< link of the registered list; NULL at its end */
} vrx_gost28147_par;

#define VRX_GOSTR3411_PAR_COUNT 2  /**< built-in hash parameter sets */
#define VRX_GOST28147_PAR_COUNT 10 /**< built-in cipher parameter sets */

/** The hash parameter sets: test, CryptoPro. */
VRX_API extern vrx_gostr3411_par GOSTR3411_OIDS[VRX_GOSTR3411_PAR_COUNT];

/**
 * The cipher parameter sets. Rows 0 to 4 are test and CryptoPro-A to -D. Rows 5 to 9 have the tables of rows 0 to 4,
 * without key meshing. The array is writable because the registered list links its records through their `next` fields.
 */
VRX_API extern vrx_gost28147_par GOST28147_CRYPTO_PRO_OIDS[VRX_GOST28147_PAR_COUNT];

/** The default hash parameter set, initially GOSTR3411_OIDS[1] (CryptoPro). A program may assign another record. */
VRX_API extern const vrx_gostr3411_par *DEFAULT_GOSTR3411_OID;

/**
 * The default cipher parameter set, initially GOST28147_CRYPTO_PRO_OIDS[1] (CryptoPro-A). A program may assign another
 * record.
 */
VRX_API extern vrx_gost28147_par *DEFAULT_GOST28147_OID;

/** Head of the registered list, initially NULL. The list owns none of its records. */
VRX_API extern vrx_gost28147_par *GOST28147_OIDS;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Get a built-in hash parameter set by index.
 *
 * @param index  in: index into GOSTR3411_OIDS.
 * @return the record, or NULL if the index is above 1.
 */
VRX_API const vrx_gostr3411_par *get_GOSTR3411_par(uint32_t index);

/**
 * Get the default hash parameter set.
 *
 * @return the value of DEFAULT_GOSTR3411_OID.
 */
VRX_API const vrx_gostr3411_par *get_GOSTR3411_default_par(void);

/**
 * Get a built-in cipher parameter set by index.
 *
 * @param index  in: index into GOST28147_CRYPTO_PRO_OIDS.
 * @return the record, or NULL if the index is above 9.
 */
VRX_API vrx_gost28147_par *get_GOST28147_par(uint32_t index);

/**
 * Get the default cipher parameter set.
 *
 * @return the value of DEFAULT_GOST28147_OID.
 */
VRX_API vrx_gost28147_par *get_GOST28147_default_par(void);

/**
 * Find a built-in hash parameter set by its identifier.
 *
 * @param oid     in: DER identifier.
 * @param length  in: bytes in oid.
 * @param record  out: the record, or NULL if there is none.
 * @return VRX_OK, or VRX_ERR_FAILED if there is none (logged).
 */
VRX_API int oidFindGOSTR3411Par(const uint8_t *oid, uint32_t length, const vrx_gostr3411_par **record);

/**
 * Find a registered cipher parameter set by its identifier. If several match, the one registered first is found.
 *
 * If nothing is registered, the function first registers the built-in sets.
 *
 * @param oid     in: DER identifier.
 * @param length  in: bytes in oid.
 * @param record  out: the record, or NULL if there is none.
 * @return VRX_OK, or VRX_ERR_FAILED if there is none (logged).
 */
VRX_API int oidFindGOST28147Par(const uint8_t *oid, uint32_t length, vrx_gost28147_par **record);

/* ---- Building blocks: custom parameter sets ---------------------------------------------------------------------- */

/**
 * Copy a record to the heap. The copy points to the identifier, strings and table of the source; its `next` is NULL. To
 * give the copy another table, assign its `tz`. Free the copy with free().
 *
 * @param source  in: the record.
 * @param copy    out: the new record; NULL if memory is exhausted.
 * @return VRX_OK, or VRX_ERR_FAILED if memory is exhausted.
 */
VRX_API int oidCopyGOST28147Par(const vrx_gost28147_par *source, vrx_gost28147_par **copy);

/**
 * Set the default mode of a record.
 *
 * @param record  in-out: the record.
 * @param mode    in: mode number, such as VRX_MODE_CBC; its low 8 bits are stored.
 * @return always VRX_OK.
 */
VRX_API int oidSetModeGOST28147Par(vrx_gost28147_par *record, int mode);

/**
 * Set the key-meshing flag of a record.
 *
 * @param record       in-out: the record.
 * @param key_meshing  in: 1 or 0; its low 8 bits are stored.
 * @return always VRX_OK.
 */
VRX_API int oidSetKeyMeshingGOST28147Par(vrx_gost28147_par *record, int key_meshing);

/**
 * Set the identifier and the strings of a record.
 *
 * **Warning:** the record keeps the three pointers; nothing is copied. The identifier and both strings must outlive the
 * use of the record.
 *
 * @param record      in-out: the record.
 * @param oid         in: DER identifier.
 * @param oid_length  in: bytes in oid.
 * @param str_oid     in: the identifier in dotted decimal; not read here, may be NULL.
 * @param name        in: any string; not read here, may be NULL.
 * @return always VRX_OK.
 */
VRX_API int oidSetOIDGOST28147Par(vrx_gost28147_par *record, const uint8_t *oid, uint32_t oid_length,
                                  const char *str_oid, const char *name);

/**
 * Append a record to the registered list.
 *
 * **Warning:** the function keeps the pointer and does not look for duplicates. The record must outlive its
 * registration. If the record is in the list already, all records after it are dropped from the list.
 *
 * **Warning:** if you register a record while the list is empty, oidFindGOST28147Par() no longer finds the built-in
 * sets. To keep them, call oidRegisterGOST28147CryptoProPar() first.
 *
 * @param record  in-out: the record; its `next` is set to NULL.
 * @return always VRX_OK.
 */
VRX_API int oidRegisterGOST28147Par(vrx_gost28147_par *record);

/**
 * Register the ten built-in cipher parameter sets in order. If the built-in sets are in the list already, they remain
 * there, and all records after them are dropped from the list.
 *
 * @return always VRX_OK.
 */
VRX_API int oidRegisterGOST28147CryptoProPar(void);

/**
 * Remove the first record with an identifier from the registered list. The record's `next` becomes NULL.
 *
 * **Warning:** the first record of the list is never removed. If it has this identifier, all other records are dropped
 * from the list instead.
 *
 * @param oid     in: DER identifier.
 * @param length  in: bytes in oid.
 * @return VRX_OK; VRX_ERR_FAILED if nothing is registered; VRX_ERR_BAD_PARAMS if no record matches. Both failures are
 *         logged.
 */
VRX_API int oidUnregisterGOST28147Par(const uint8_t *oid, uint32_t length);

VRX_END_DECLS

#endif

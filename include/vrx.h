/**
 * @file vrx.h  All functions and data that libvrx.so exports, grouped by task.
 *
 * Each header groups its functions in three tiers. A new program needs only the first tier.
 */
#ifndef VRX_H
#define VRX_H

/**
 * @defgroup vrx_use Use these
 *
 * The functions that most programs need: contexts, modes, hashes, keys, signatures, parameter sets.
 *
 * @defgroup vrx_blocks Building blocks
 *
 * Single blocks and steps, custom parameter sets, curve points and long integers. Use them for tasks that the first
 * tier does not cover.
 *
 * @defgroup vrx_older Older names
 *
 * Functions that remain for programs that already use them.
 */

/* Every program: return codes, the buffer record vrx_data, the log. */
#include "vrx/frame.h"

/* Choose algorithm parameters: S-boxes (substitution tables), and the parameter sets of RFC 4357. */
#include "vrx/params.h"
#include "vrx/tz.h"

/* Encrypt and authenticate with GOST 28147-89: messages in pieces, whole buffers, single blocks. */
#include "vrx/context.h"
#include "vrx/kernel.h"
#include "vrx/modes.h"

/* Hash: GOST R 34.11-94, HMAC with it, and SHA-1. */
#include "vrx/gostr3411.h"
#include "vrx/hmac.h"
#include "vrx/sha1.h"

/* Derive keys from passwords: PBKDF2 and PKCS #12. */
#include "vrx/kdf.h"

/* Sign, verify and agree on keys with GOST R 34.10-2001: curves, keys and signatures, their octets, key agreement. */
#include "vrx/agree.h"
#include "vrx/curve.h"
#include "vrx/octets.h"
#include "vrx/sign.h"

/* Calculate with curve points and long integers. The signature functions are built from these functions. */
#include "vrx/bigdigits.h"
#include "vrx/multiply.h"
#include "vrx/point.h"

#endif

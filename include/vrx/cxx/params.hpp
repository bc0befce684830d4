/**
 * @file cxx/params.hpp  Parameter sets: params.h for C++.
 *
 * Look-ups return a pointer, or NULL if they find nothing. The warnings of params.h apply.
 *
 * Threads: the registered list and the default sets are process-wide and unsynchronized.
 */
#ifndef VRX_CXX_PARAMS_HPP
#define VRX_CXX_PARAMS_HPP

#include <cstdlib>
#include <memory>
#include <span>

#include "vrx/cxx/tz.hpp"
#include "vrx/params.h"

namespace vrx {
inline namespace v1 {

/**
 * DER object identifiers of the built-in parameter sets.
 *
 * **Warning:** the identifiers 1.2.643.2.2.31.5 to .9 (the names that end in "_simple") mean other S-boxes in this
 * library than elsewhere. Use them only with peers that use this library.
 */
namespace oid {
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> hash_test{VRX_PAR_HASH_0_OID}; /**< 1.2.643.2.2.30.0 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> hash_cryptopro{
    VRX_PAR_HASH_1_OID}; /**< 1.2.643.2.2.30.1 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_test{
    VRX_PAR_CIPHER_0_OID}; /**< 1.2.643.2.2.31.0 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_a{
    VRX_PAR_CIPHER_A_OID}; /**< 1.2.643.2.2.31.1 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_b{
    VRX_PAR_CIPHER_B_OID}; /**< 1.2.643.2.2.31.2 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_c{
    VRX_PAR_CIPHER_C_OID}; /**< 1.2.643.2.2.31.3 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_d{
    VRX_PAR_CIPHER_D_OID}; /**< 1.2.643.2.2.31.4 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_test_simple{
    VRX_PAR_CIPHER_0S_OID}; /**< 1.2.643.2.2.31.5 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_a_simple{
    VRX_PAR_CIPHER_SA_OID}; /**< 1.2.643.2.2.31.6 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_b_simple{
    VRX_PAR_CIPHER_SB_OID}; /**< 1.2.643.2.2.31.7 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_c_simple{
    VRX_PAR_CIPHER_SC_OID}; /**< 1.2.643.2.2.31.8 */
inline constexpr std::span<const std::uint8_t, VRX_PAR_OID_SIZE> cipher_d_simple{
    VRX_PAR_CIPHER_SD_OID}; /**< 1.2.643.2.2.31.9 */
}  // namespace oid

/** Get the built-in hash parameter sets. */
inline std::span<vrx_gostr3411_par, VRX_GOSTR3411_PAR_COUNT> hash_sets() noexcept { return GOSTR3411_OIDS; }
/** Get the built-in cipher parameter sets, in the order of GOST28147_CRYPTO_PRO_OIDS. */
inline std::span<vrx_gost28147_par, VRX_GOST28147_PAR_COUNT> cipher_sets() noexcept {
    return GOST28147_CRYPTO_PRO_OIDS;
}

/** Get a built-in hash parameter set by index, 0 or 1. */
inline const vrx_gostr3411_par *hash_set(std::uint32_t index) noexcept { return get_GOSTR3411_par(index); }
/** Find a built-in hash parameter set by its DER identifier. */
inline const vrx_gostr3411_par *find_hash_set(Bytes oid) noexcept {
    const vrx_gostr3411_par *found = nullptr;
    if (detail::fits(oid.size())) oidFindGOSTR3411Par(oid.data(), detail::count(oid), &found);
    return found;
}
/** Get the default hash parameter set: CryptoPro, unless the program changed it. */
inline const vrx_gostr3411_par &default_hash_set() noexcept { return *get_GOSTR3411_default_par(); }
/** Change the default hash parameter set. The record must outlive its use as the default. */
inline void set_default_hash_set(const vrx_gostr3411_par &set) noexcept { DEFAULT_GOSTR3411_OID = &set; }

/** Get a built-in cipher parameter set by index, 0 to 9. */
inline vrx_gost28147_par *cipher_set(std::uint32_t index) noexcept { return get_GOST28147_par(index); }
/**
 * Find a registered cipher parameter set by its DER identifier. If nothing is registered, the function first registers
 * the built-in sets.
 */
inline vrx_gost28147_par *find_cipher_set(Bytes oid) noexcept {
    vrx_gost28147_par *found = nullptr;
    if (detail::fits(oid.size())) oidFindGOST28147Par(oid.data(), detail::count(oid), &found);
    return found;
}
/** Get the default cipher parameter set: CryptoPro-A, unless the program changed it. */
inline vrx_gost28147_par &default_cipher_set() noexcept { return *get_GOST28147_default_par(); }
/** Change the default cipher parameter set. The record must outlive its use as the default. */
inline void set_default_cipher_set(vrx_gost28147_par &set) noexcept { DEFAULT_GOST28147_OID = &set; }

/** Get the first registered parameter set, or NULL. Its `next` leads to the others. */
inline vrx_gost28147_par *registered_cipher_sets() noexcept { return GOST28147_OIDS; }
/**
 * Append a record to the registered list. The record must outlive its registration.
 *
 * **Warning:** if the record is in the list already, the records after it are dropped. If the list was empty,
 * find_cipher_set() no longer finds the built-in sets: call register_builtin_cipher_sets() first.
 */
inline void register_cipher_set(vrx_gost28147_par &set) noexcept { oidRegisterGOST28147Par(&set); }
/** Register the ten built-in parameter sets. If they are registered already, the records after them are dropped. */
inline Result<void> register_builtin_cipher_sets() noexcept {
    return Result<void>::of(oidRegisterGOST28147CryptoProPar());
}
/**
 * Remove a record from the registered list, by its DER identifier.
 *
 * **Warning:** the first record is never removed. If you try to remove it, all other records are dropped instead.
 *
 * @param oid  in: DER identifier.
 * @return Error::failed if nothing is registered, Error::bad_params if no record matches.
 */
inline Result<void> unregister_cipher_set(Bytes oid) noexcept {
    if (!detail::fits(oid.size())) return Error::bad_params;
    return Result<void>::of(oidUnregisterGOST28147Par(oid.data(), detail::count(oid)));
}

/** The deleter of the pointers that copy_of() returns. */
struct Free {
    /** Free a record. */
    void operator()(void *record) const noexcept { std::free(record); }
};

/** A parameter set on the heap. It shares the table, identifier and strings of its source. */
using CipherSetCopy = std::unique_ptr<vrx_gost28147_par, Free>;

/** Copy a parameter set in order to change and register it. @return Error::failed if memory is exhausted. */
inline Result<CipherSetCopy> copy_of(const vrx_gost28147_par &set) noexcept {
    vrx_gost28147_par *copy = nullptr;
    if (const int rc = oidCopyGOST28147Par(&set, &copy)) return static_cast<Error>(rc);
    return CipherSetCopy(copy);
}

/** Set the mode of a parameter set. The low 8 bits of the mode number are stored. */
inline void set_mode(vrx_gost28147_par &set, int mode) noexcept { oidSetModeGOST28147Par(&set, mode); }
/** Set the key-meshing flag of a parameter set. */
inline void set_key_meshing(vrx_gost28147_par &set, bool meshing) noexcept {
    oidSetKeyMeshingGOST28147Par(&set, meshing ? 1 : 0);
}
/**
 * Set the identifier and the strings of a parameter set. The record keeps the pointers, so the identifier and the
 * strings must outlive it.
 *
 * @param set     in-out: the parameter set.
 * @param oid     in: DER identifier.
 * @param dotted  in: the identifier in dotted decimal; may be NULL.
 * @param name    in: any name; may be NULL.
 * @return Error::buffer_length for an identifier of 2^32 bytes or more.
 */
inline Result<void> set_oid(vrx_gost28147_par &set, Bytes oid, const char *dotted, const char *name) noexcept {
    if (!detail::fits(oid.size())) return Error::buffer_length;
    return Result<void>::of(oidSetOIDGOST28147Par(&set, oid.data(), detail::count(oid), dotted, name));
}

}  // namespace v1
}  // namespace vrx

#endif

/**
 * @file cxx/params.hpp  Parameter sets: params.h for C++.
 *
 * Look-ups return a pointer, NULL where nothing is found. The rules of params.h on threads hold: the registered list and
 * the defaults are process-wide and unguarded.
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

/** DER object identifiers of the built-in parameter sets: RFC 4357, and the sets without key meshing beside them. */
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

/** The built-in parameter sets of the hash. */
inline std::span<vrx_gostr3411_par, VRX_GOSTR3411_PAR_COUNT> hash_sets() noexcept { return GOSTR3411_OIDS; }
/** The built-in parameter sets of the cipher. Their order is that of params.h. */
inline std::span<vrx_gost28147_par, VRX_GOST28147_PAR_COUNT> cipher_sets() noexcept {
    return GOST28147_CRYPTO_PRO_OIDS;
}

/** A built-in parameter set of the hash by its index, 0 or 1. */
inline const vrx_gostr3411_par *hash_set(std::uint32_t index) noexcept { return get_GOSTR3411_par(index); }
/** A built-in parameter set of the hash by its DER identifier. */
inline const vrx_gostr3411_par *find_hash_set(Bytes oid) noexcept {
    const vrx_gostr3411_par *found = nullptr;
    if (detail::fits(oid.size())) oidFindGOSTR3411Par(oid.data(), detail::count(oid), &found);
    return found;
}
/** The default parameter set of the hash: CryptoPro, unless the program changed it. */
inline const vrx_gostr3411_par &default_hash_set() noexcept { return *get_GOSTR3411_default_par(); }
/** Make a parameter set the default of HMAC and key derivation. It has to outlive its use. */
inline void set_default_hash_set(const vrx_gostr3411_par &set) noexcept { DEFAULT_GOSTR3411_OID = &set; }

/** A built-in parameter set of the cipher by its index, 0 to 9. */
inline vrx_gost28147_par *cipher_set(std::uint32_t index) noexcept { return get_GOST28147_par(index); }
/** A registered parameter set of the cipher by its DER identifier; registers the built-in ones where there are none. */
inline vrx_gost28147_par *find_cipher_set(Bytes oid) noexcept {
    vrx_gost28147_par *found = nullptr;
    if (detail::fits(oid.size())) oidFindGOST28147Par(oid.data(), detail::count(oid), &found);
    return found;
}
/** The default parameter set of the cipher: CryptoPro-A, unless the program changed it. */
inline vrx_gost28147_par &default_cipher_set() noexcept { return *get_GOST28147_default_par(); }
/** Make a parameter set the default. It has to outlive its use. */
inline void set_default_cipher_set(vrx_gost28147_par &set) noexcept { DEFAULT_GOST28147_OID = &set; }

/** The first registered parameter set, or NULL; `next` leads to the others. */
inline vrx_gost28147_par *registered_cipher_sets() noexcept { return GOST28147_OIDS; }
/** Append a record to the registered list, without a look for duplicates. It has to outlive its registration. */
inline void register_cipher_set(vrx_gost28147_par &set) noexcept { oidRegisterGOST28147Par(&set); }
/** Register the ten built-in parameter sets, see params.h for a list that holds them already. */
inline Result<void> register_builtin_cipher_sets() noexcept {
    return Result<void>::of(oidRegisterGOST28147CryptoProPar());
}
/** Take a record out of the registered list, by its DER identifier; see params.h for the head of the list. */
inline Result<void> unregister_cipher_set(Bytes oid) noexcept {
    if (!detail::fits(oid.size())) return Error::bad_params;
    return Result<void>::of(oidUnregisterGOST28147Par(oid.data(), detail::count(oid)));
}

/** Frees what copy_of() made. */
struct Free {
    /** free() */
    void operator()(void *record) const noexcept { std::free(record); }
};

/** A parameter set on the heap, of which tables and texts are still those of its source. */
using CipherSetCopy = std::unique_ptr<vrx_gost28147_par, Free>;

/** A copy of a parameter set, to be changed and registered. @return Error::failed when memory is short. */
inline Result<CipherSetCopy> copy_of(const vrx_gost28147_par &set) noexcept {
    vrx_gost28147_par *copy = nullptr;
    if (const int rc = oidCopyGOST28147Par(&set, &copy)) return static_cast<Error>(rc);
    return CipherSetCopy(copy);
}

/** Set the mode of a parameter set: the low 8 bits of a mode's number. */
inline void set_mode(vrx_gost28147_par &set, int mode) noexcept { oidSetModeGOST28147Par(&set, mode); }
/** Say whether CryptoPro key meshing belongs to a parameter set. */
inline void set_key_meshing(vrx_gost28147_par &set, bool meshing) noexcept {
    oidSetKeyMeshingGOST28147Par(&set, meshing ? 1 : 0);
}
/** Give a parameter set its DER identifier and texts, all of which have to outlive it. @return Error::buffer_length for
 * an identifier of 2^32 bytes and more. */
inline Result<void> set_oid(vrx_gost28147_par &set, Bytes oid, const char *dotted, const char *name) noexcept {
    if (!detail::fits(oid.size())) return Error::buffer_length;
    return Result<void>::of(oidSetOIDGOST28147Par(&set, oid.data(), detail::count(oid), dotted, name));
}

}  // namespace v1
}  // namespace vrx

#endif

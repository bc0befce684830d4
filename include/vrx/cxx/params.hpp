/**
 * @file tables.hpp  Substitution tables and parameter sets: tz.h and params.h for C++, and the log of frame.h.
 *
 * A deployed table is the record vrx_tz itself. Look-ups return a pointer, NULL where nothing is found. The rules of
 * the C headers on threads hold: the registered list and the defaults are process-wide and unguarded.
 */
#ifndef VRX_TABLES_HPP
#define VRX_TABLES_HPP

#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

#include "vrx/params.h"
#include "vrx/types.hpp"

namespace vrx {
inline namespace v1 {

/* ---- Log and notice --------------------------------------------------------------------------------------------- */

/** Write a line for each failure to a file, to the standard error stream ("stderr"), or nowhere (NULL); closes the
 * stream that was set before. */
inline void log_to(const char *path) noexcept { vrx_set_log_file(path); }

/** Write a line for each failure to an open stream, or nowhere (NULL). It stays the caller's; log_to() would close it. */
inline void log_to(std::FILE *stream) noexcept { vrxflog = stream; }

/** Write nothing any more. The stream stays open. */
inline void log_to(std::nullptr_t) noexcept { vrxflog = nullptr; }

/** The library's attribution. */
inline std::string_view copyright_notice() noexcept { return vrx_copyright_notice(); }

/* ---- Tables ----------------------------------------------------------------------------------------------------- */

/** Eight S-boxes as 64 bytes, see tz.h: byte 4i + m, for the input i, has S-box 2m in its low nibble. */
using NumericTable = std::array<std::uint8_t, VRX_NUM_TZ_SIZE>;

/** The table that the cipher and the hash read, made of eight S-boxes. */
inline vrx_tz deploy(std::span<const std::uint8_t, VRX_NUM_TZ_SIZE> sboxes) noexcept {
    vrx_tz table{};
    vrx_crpt_deploy_TZ(sboxes.data(), &table);
    return table;
}

/** deploy() into a record of the caller's, by the library's older name for it. */
inline void deploy(std::span<const std::uint8_t, VRX_NUM_TZ_SIZE> sboxes, vrx_tz &table) noexcept {
    vrx_crpt_init_num_TZ(sboxes.data(), &table);
}

namespace detail {

/** A text with a zero behind it, which the C headers ask for; a longer one comes out too long for any of them. */
class TableText {
public:
    explicit TableText(std::string_view text) noexcept {
        std::ranges::copy(text.substr(0, VRX_TZ_STRING_SIZE + 1), characters_);
    }
    operator const char *() const noexcept { return characters_; }  // NOLINT(google-explicit-constructor)

private:
    char characters_[VRX_TZ_STRING_SIZE + 2] = {};
};

}  // namespace detail

/** Eight S-boxes from a text of 128 characters 0 to 9, A to F; the low nibble of a byte comes first. @return
 * Error::unknown_tz for a text of another length. Other characters are not refused, see vrx_crpt_TZ_str_to_num(). */
inline Result<NumericTable> sboxes_from_text(std::string_view text) noexcept {
    NumericTable sboxes;
    if (const int rc = vrx_crpt_TZ_str_to_num(detail::TableText(text), sboxes.data())) return static_cast<Error>(rc);
    return sboxes;
}

/** The table of the S-boxes in a text, as sboxes_from_text(). */
inline Result<vrx_tz> deploy(std::string_view text) noexcept {
    Result<vrx_tz> table(std::in_place);
    if (const int rc = vrx_crpt_init_new_TZ(detail::TableText(text), &*table)) return static_cast<Error>(rc);
    return table;
}

/** Exchange the nibbles of every byte: between the order here and that of the DER form in RFC 4357. */
inline void swap_nibbles(std::span<std::uint8_t, VRX_NUM_TZ_SIZE> sboxes) noexcept {
    vrx_crpt_swap_num_TZ(sboxes.data());
}

/** The built-in tables of the cipher: test, CryptoPro-A, -B, -C, -D. */
inline std::span<const vrx_tz, VRX_TZ_28147_89_COUNT> cipher_tables() noexcept { return TZ_28147_89; }
/** The built-in tables of the hash: test, CryptoPro. */
inline std::span<const vrx_tz, VRX_TZ_3411_94_COUNT> hash_tables() noexcept { return TZ_3411_94; }

/** A built-in table of the cipher by its index, 0 to 4 (the low 8 bits count). */
inline const vrx_tz *cipher_table(std::uint32_t index) noexcept { return TZ_by_id(index); }
/** A built-in table of the cipher by its name: "tz_test", "tz_a" to "tz_d". */
inline const vrx_tz *cipher_table(const char *name) noexcept { return TZ_by_name(name); }
/** A built-in table of the hash by its index, 0 or 1 (the low 8 bits count). */
inline const vrx_tz *hash_table(std::uint32_t index) noexcept { return hash_TZ_by_id(index); }
/** A built-in table of the hash by its name: "tz_0", "tz_1". */
inline const vrx_tz *hash_table(const char *name) noexcept { return hash_TZ_by_name(name); }

/* ---- Parameter sets --------------------------------------------------------------------------------------------- */

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

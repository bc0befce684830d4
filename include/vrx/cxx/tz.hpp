/**
 * @file cxx/tz.hpp  Substitution tables: tz.h for C++.
 *
 * A deployed table is the record vrx_tz itself. Look-ups return a pointer, or NULL if they find nothing.
 */
#ifndef VRX_CXX_TZ_HPP
#define VRX_CXX_TZ_HPP

#include <span>
#include <string_view>

#include "vrx/cxx/types.hpp"
#include "vrx/tz.h"

namespace vrx {
inline namespace v1 {

/** Eight S-boxes as 64 bytes: the numeric TZ of tz.h. */
using NumericTable = std::array<std::uint8_t, VRX_NUM_TZ_SIZE>;

/** Expand eight S-boxes into the table that the cipher and the hash read. */
inline vrx_tz deploy(std::span<const std::uint8_t, VRX_NUM_TZ_SIZE> sboxes) noexcept {
    vrx_tz table{};
    vrx_crpt_deploy_TZ(sboxes.data(), &table);
    return table;
}

/** Expand eight S-boxes into an existing record, with vrx_crpt_init_num_TZ(). */
inline void deploy(std::span<const std::uint8_t, VRX_NUM_TZ_SIZE> sboxes, vrx_tz &table) noexcept {
    vrx_crpt_init_num_TZ(sboxes.data(), &table);
}

namespace detail {

/**
 * A NUL-terminated copy of a string. A string that is too long is truncated, but the copy is still too long for every C
 * function.
 */
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

/**
 * Convert a TZ string of 128 characters to eight S-boxes.
 *
 * **Warning:** use the characters 0 to 9 and A to F. Other characters, including lower-case digits, give wrong S-boxes
 * without an error.
 *
 * @param text  in: the TZ string; the low nibble of each byte comes first.
 * @return Error::unknown_tz for a string of another length.
 */
inline Result<NumericTable> sboxes_from_text(std::string_view text) noexcept {
    NumericTable sboxes;
    if (const int rc = vrx_crpt_TZ_str_to_num(detail::TableText(text), sboxes.data())) return static_cast<Error>(rc);
    return sboxes;
}

/** Deploy the table that a TZ string describes. The errors and the warning are those of sboxes_from_text(). */
inline Result<vrx_tz> deploy(std::string_view text) noexcept {
    Result<vrx_tz> table(std::in_place);
    if (const int rc = vrx_crpt_init_new_TZ(detail::TableText(text), &*table)) return static_cast<Error>(rc);
    return table;
}

/** Swap the nibbles of every byte: convert between the order of this library and that of the DER in RFC 4357. */
inline void swap_nibbles(std::span<std::uint8_t, VRX_NUM_TZ_SIZE> sboxes) noexcept {
    vrx_crpt_swap_num_TZ(sboxes.data());
}

/** Get the built-in cipher tables: test, CryptoPro-A, -B, -C, -D. */
inline std::span<const vrx_tz, VRX_TZ_28147_89_COUNT> cipher_tables() noexcept { return TZ_28147_89; }
/** Get the built-in hash tables: test, CryptoPro. */
inline std::span<const vrx_tz, VRX_TZ_3411_94_COUNT> hash_tables() noexcept { return TZ_3411_94; }

/** Get a built-in cipher table by index, 0 to 4. Only the low 8 bits are used. */
inline const vrx_tz *cipher_table(std::uint32_t index) noexcept { return TZ_by_id(index); }
/** Get a built-in cipher table by name: "tz_test", "tz_a" to "tz_d". */
inline const vrx_tz *cipher_table(const char *name) noexcept { return TZ_by_name(name); }
/** Get a built-in hash table by index, 0 or 1. Only the low 8 bits are used. */
inline const vrx_tz *hash_table(std::uint32_t index) noexcept { return hash_TZ_by_id(index); }
/** Get a built-in hash table by name: "tz_0", "tz_1". */
inline const vrx_tz *hash_table(const char *name) noexcept { return hash_TZ_by_name(name); }

}  // namespace v1
}  // namespace vrx

#endif

/**
 * @file cxx/tz.hpp  Substitution tables: tz.h for C++.
 *
 * A deployed table is the record vrx_tz itself. Look-ups return a pointer, NULL where nothing is found.
 */
#ifndef VRX_CXX_TZ_HPP
#define VRX_CXX_TZ_HPP

#include <span>
#include <string_view>

#include "vrx/cxx/types.hpp"
#include "vrx/tz.h"

namespace vrx {
inline namespace v1 {

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

}  // namespace v1
}  // namespace vrx

#endif

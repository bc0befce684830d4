// Writes keys in DER (ITU-T X.690); reads and writes base64 (RFC 4648) and PEM (RFC 7468).
#ifndef VRX_APP_DER_HPP
#define VRX_APP_DER_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "documents/der.hpp"
#include "keys/keys.hpp"

namespace vrx::app::der {

using namespace documents::der;

/** Append an element whose contents are the concatenated parts, which together have fewer than 65536 octets. */
void append(SecretBytes& out, std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts);

/** Decode base64 (RFC 4648) in place, ignoring newlines and blanks; false if it is malformed. */
[[nodiscard]] bool decode_base64(SecretBytes& text);

/** Append the base64 encoding of octets, in lines of `width` characters. */
void append_base64(SecretBytes& out, std::span<const std::uint8_t> octets, std::size_t width);

/**
 * Replace a PEM file by the octets of its only block. Lines before and after the block are ignored (RFC 7468).
 *
 * @return the label of the block; std::nullopt if the text does not hold exactly one complete block.
 */
std::optional<std::string> decode_pem(SecretBytes& text);

/** Append a PEM block. */
void append_pem(SecretBytes& out, std::string_view label, std::span<const std::uint8_t> octets);

}  // namespace vrx::app::der

#endif

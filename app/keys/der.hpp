// Keys in DER (ITU-T X.690), as they are written, and PEM around them (RFC 7468).
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

/** An element whose contents are the parts, one after the other; shorter than 128 octets. */
void append(SecretBytes& out, std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts);

/** Replace base64 (RFC 4648), with newlines and blanks, by what it stands for; false when it is anything else. */
[[nodiscard]] bool decode_base64(SecretBytes& text);

/** The base64 of octets, appended, in lines of `width` characters. */
void append_base64(SecretBytes& out, std::span<const std::uint8_t> octets, std::size_t width);

/**
 * Replace a PEM file by the octets of its only block. Lines before and behind it are comments (RFC 7468).
 *
 * @return the label of the block; nothing when the text is not one whole block.
 */
std::optional<std::string> decode_pem(SecretBytes& text);

/** A PEM block. */
void append_pem(SecretBytes& out, std::string_view label, std::span<const std::uint8_t> octets);

}  // namespace vrx::app::der

#endif

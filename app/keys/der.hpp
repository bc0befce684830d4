// The forms of DER (ITU-T X.690) that keys and certificates are written in, and PEM around them (RFC 7468).
#ifndef VRX_APP_DER_HPP
#define VRX_APP_DER_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "keys/keys.hpp"

namespace vrx::app::der {

inline constexpr std::uint8_t integer = 0x02;
inline constexpr std::uint8_t bit_string = 0x03;
inline constexpr std::uint8_t octet_string = 0x04;
inline constexpr std::uint8_t null = 0x05;
inline constexpr std::uint8_t object_identifier = 0x06;
inline constexpr std::uint8_t utf8_string = 0x0C;
inline constexpr std::uint8_t numeric_string = 0x12;
inline constexpr std::uint8_t printable_string = 0x13;
inline constexpr std::uint8_t t61_string = 0x14;
inline constexpr std::uint8_t ia5_string = 0x16;
inline constexpr std::uint8_t utc_time = 0x17;
inline constexpr std::uint8_t generalized_time = 0x18;
inline constexpr std::uint8_t bmp_string = 0x1E;
inline constexpr std::uint8_t sequence = 0x30;
inline constexpr std::uint8_t set = 0x31;
inline constexpr std::uint8_t context_0 = 0xA0;  // [0], constructed

/** Reads elements one after the other. Refuses every length that is not written in the shortest way. */
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> octets) : rest_(octets) {}

    [[nodiscard]] bool at_end() const { return rest_.empty(); }
    /** The tag of the next element; nothing at the end. */
    [[nodiscard]] std::optional<std::uint8_t> tag() const;
    /** The contents of the next element, which must bear the wanted tag; nothing where it does not, or is cut short. */
    std::optional<std::span<const std::uint8_t>> next(std::uint8_t wanted);
    /** The whole next element, tag and length included. */
    std::optional<std::span<const std::uint8_t>> next_whole(std::uint8_t wanted);

private:
    std::span<const std::uint8_t> rest_;
};

/** The dotted form of an object identifier's contents; nothing when they are not well formed, or beyond 64 bits. */
std::optional<std::string> dotted(std::span<const std::uint8_t> contents);

/** Whether the octets are one whole element, as a file of DER is. */
bool is_one_element(std::span<const std::uint8_t> octets, std::uint8_t wanted);

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

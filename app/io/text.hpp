// Text: hexadecimal and decimal digits, UTF-8, and file names in messages.
#ifndef VRX_APP_TEXT_HPP
#define VRX_APP_TEXT_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vrx::app {

using Octets = std::vector<std::uint8_t>;

/** The value of a hexadecimal digit in either case; std::nullopt for any other character. */
std::optional<unsigned> hex_digit(char c);

/** Format octets as lower-case hexadecimal digits. */
std::string to_hex(std::span<const std::uint8_t> octets);
/** Format a number as at least two lower-case hexadecimal digits. */
std::string to_hex(std::uint32_t number);
/** Format secret octets in constant time. The function writes the digits to the caller's buffer, two for each octet. */
void to_hex(std::span<const std::uint8_t> octets, std::span<char> text);

/** True if a text consists of hexadecimal digits. Constant-time. */
[[nodiscard]] bool is_hex(std::string_view text);

/**
 * Decode two hexadecimal digits for each octet, in constant time.
 *
 * @param octets  may begin at the same address as the text.
 * @return false if the text is malformed or has another length; the octets are then unspecified.
 */
[[nodiscard]] bool from_hex(std::string_view text, std::span<std::uint8_t> octets);

/** Parse a decimal number that consists of digits only; std::nullopt if it is malformed or too large. */
std::optional<std::uint64_t> to_number(std::string_view text);

/** Strip one trailing newline (LF or CRLF). */
std::string_view without_line_end(std::string_view text);

/**
 * Remove one UTF-8 character (RFC 3629) from the front of a non-empty text. If the text does not begin with a valid
 * character, return std::nullopt and leave the text unchanged.
 */
std::optional<char32_t> take_utf8(std::string_view& text);
/** Decode UTF-8. An octet that is not part of valid UTF-8 becomes the code point with the value of the octet. */
std::u32string from_utf8(std::string_view text);
/** Append a character, encoded as UTF-8. */
void append_utf8(std::string& text, char32_t character);

/**
 * True if a character could deceive the reader of a terminal: C0 and C1 controls, direction controls, zero-width
 * characters, line separators, surrogates and tags.
 */
bool is_deceptive(char32_t character);

/**
 * Move one character from the front of a text to `out`. The octets of a deceptive character become \xHH. An octet that
 * is not valid UTF-8 is copied unchanged, unless a terminal may interpret it as a control character.
 */
void append_visible(std::string& out, std::string_view& text);

/** A file name in quotation marks. Deceptive characters, quotation marks and backslashes are escaped. */
std::string in_quotes(std::string_view name);

}  // namespace vrx::app

#endif

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

/** The value of a hexadecimal digit of either case; nothing for another character. */
std::optional<unsigned> hex_digit(char c);

/** Octets as lower-case hexadecimal digits. */
std::string to_hex(std::span<const std::uint8_t> octets);
/** A number as at least two lower-case hexadecimal digits. */
std::string to_hex(std::uint32_t number);
/** Octets, for secrets: the digits go where the caller says, two for each octet. */
void to_hex(std::span<const std::uint8_t> octets, std::span<char> text);

/** Read exactly two hexadecimal digits for each octet; false when the text is anything else. Both may begin at one
 * place. */
[[nodiscard]] bool from_hex(std::string_view text, std::span<std::uint8_t> octets);

/** A decimal number, digits alone; nothing for anything else and for what does not fit. */
std::optional<std::uint64_t> to_number(std::string_view text);

/** A text without one newline (LF or CRLF) at its end. */
std::string_view without_line_end(std::string_view text);

/** Take one character in UTF-8 (RFC 3629) from the front of a text that is not empty; nothing, and the text stays as it
 * is, when none begins there. */
std::optional<char32_t> take_utf8(std::string_view& text);
/** The characters of a text in UTF-8; an octet that is not UTF-8 is taken for the character of that number. */
std::u32string from_utf8(std::string_view text);
/** Append a character in UTF-8. */
void append_utf8(std::string& text, char32_t character);

/**
 * Whether a character could deceive a reader of a terminal: controls of C0 and C1, those that change the direction of
 * the text, those that take no room, line separators, surrogates and tags.
 */
bool is_deceptive(char32_t character);

/**
 * Append what begins at the front of a text: a character, with the octets of one that could deceive as \xHH; or one
 * octet that is not UTF-8, as it is unless a terminal may take it for a control. It is taken off the text.
 */
void append_visible(std::string& out, std::string_view& text);

/** A file name between quotation marks. What could deceive is escaped, quotation marks and backslashes too. */
std::string in_quotes(std::string_view name);

}  // namespace vrx::app

#endif

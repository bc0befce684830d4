// A strict DER reader (ITU-T X.690), which accepts exactly one encoding of each value.
#ifndef VRX_DOCUMENTS_DER_HPP
#define VRX_DOCUMENTS_DER_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vrx::documents {

/** A view of the octets of a document. */
using Part = std::span<const std::uint8_t>;

namespace der {

inline constexpr std::uint8_t boolean = 0x01;
inline constexpr std::uint8_t enumerated = 0x0A;
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
inline constexpr std::uint8_t context_1 = 0xA1;
inline constexpr std::uint8_t context_3 = 0xA3;

/** Reads consecutive elements. Rejects lengths that are not in their shortest form. */
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> octets) : rest_(octets) {}

    [[nodiscard]] bool at_end() const { return rest_.empty(); }
    /** Returns the tag of the next element; std::nullopt at the end. */
    [[nodiscard]] std::optional<std::uint8_t> tag() const;
    /** Read the contents of the next element; std::nullopt if it has another tag or is truncated. */
    std::optional<std::span<const std::uint8_t>> next(std::uint8_t wanted);
    /** Read the whole next element, including tag and length. */
    std::optional<std::span<const std::uint8_t>> next_whole(std::uint8_t wanted);

private:
    std::span<const std::uint8_t> rest_;
};

/**
 * Returns the dotted form of an object identifier, given its contents; std::nullopt if they are malformed or a number
 * exceeds 64 bits.
 */
std::optional<std::string> dotted(std::span<const std::uint8_t> contents);

/** True if the octets are exactly one element, as in a DER file. */
bool is_one_element(std::span<const std::uint8_t> octets, std::uint8_t wanted);

/** True if the contents of an INTEGER use the fewest octets possible. */
bool is_integer(Part contents);
/** The value of an INTEGER from 0 to 2^31 - 1; std::nullopt for any other contents. */
std::optional<std::uint32_t> small_number(Part contents);
/** The value of a BOOLEAN, which DER encodes as 00 or FF; std::nullopt for any other contents. */
std::optional<bool> truth(Part contents);
/** True if the octets are exactly one element, and all nested elements are well formed. */
bool is_well_formed(Part octets);

}  // namespace der
}  // namespace vrx::documents

#endif

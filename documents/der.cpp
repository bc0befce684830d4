#include "documents/der.hpp"

#include <algorithm>

namespace vrx::documents::der {
namespace {

constexpr int deepest = 32;

struct Element {
    std::size_t head;
    std::size_t size;
};

/** Find the offset and length of the contents of the first element. */
std::optional<Element> element(std::span<const std::uint8_t> octets) {
    if (octets.size() < 2) return std::nullopt;
    Element e{2, octets[1]};
    if (e.size >= 0x80) {
        const std::size_t count = e.size & 0x7F;
        if (count == 0 || count > 4 || octets.size() < 2 + count) return std::nullopt;
        e = {2 + count, 0};
        for (std::size_t i = 0; i < count; ++i) e.size = e.size << 8 | octets[2 + i];
        if (e.size < (count == 1 ? 0x80U : 1U << 8 * (count - 1))) return std::nullopt;
    }
    if (octets.size() - e.head < e.size) return std::nullopt;
    return e;
}

/** Check the form that DER requires of a universal type (X.690, sections 8 and 10.2): constructed only where it must.
 */
bool has_right_form(std::uint8_t tag) {
    if ((tag & 0xC0) != 0) return true;  // not universal: the document defines its form
    const unsigned number = tag & 0x1FU;
    const bool constructed = (tag & 0x20) != 0;
    constexpr unsigned end_of_contents = 0;
    constexpr unsigned reserved = 15;
    constexpr std::uint32_t always_constructed = 1U << 8 | 1U << 11 | 1U << 16 | 1U << 17;  // SEQUENCE, SET and others
    if (number == end_of_contents || number == reserved) return false;
    return constructed == ((always_constructed >> number & 1U) != 0);
}

/** Check the contents of a BIT STRING: at most 7 unused bits, which are zero. */
bool is_bit_string(Part contents) {
    if (contents.empty() || contents.front() > 7) return false;
    const unsigned unused = contents.front();
    return contents.size() == 1 ? unused == 0 : (contents.back() & ((1U << unused) - 1)) == 0;
}

bool all_well_formed(Part octets, int depth) {
    if (depth > deepest) return false;
    for (Reader reader(octets); !reader.at_end();) {
        const std::uint8_t tag = *reader.tag();
        if ((tag & 0x1F) == 0x1F || !has_right_form(tag)) return false;  // tag numbers above 30 do not occur here
        const auto contents = reader.next(tag);
        if (!contents) return false;
        if ((tag & 0x20) != 0) {
            if (!all_well_formed(*contents, depth + 1)) return false;
        } else if ((tag == boolean && !truth(*contents)) ||
                   ((tag == integer || tag == enumerated) && !is_integer(*contents)) ||
                   (tag == bit_string && !is_bit_string(*contents)) ||
                   (tag == object_identifier && !dotted(*contents)) || (tag == null && !contents->empty())) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<std::uint8_t> Reader::tag() const { return rest_.empty() ? std::nullopt : std::optional(rest_.front()); }

std::optional<std::span<const std::uint8_t>> Reader::next(std::uint8_t wanted) {
    const auto whole = next_whole(wanted);
    if (!whole) return std::nullopt;
    return whole->subspan(element(*whole)->head);
}

std::optional<std::span<const std::uint8_t>> Reader::next_whole(std::uint8_t wanted) {
    if (tag() != wanted) return std::nullopt;
    const auto e = element(rest_);
    if (!e) return std::nullopt;
    const auto whole = rest_.first(e->head + e->size);
    rest_ = rest_.subspan(whole.size());
    return whole;
}

std::optional<std::string> dotted(std::span<const std::uint8_t> contents) {
    constexpr std::uint64_t largest = ~std::uint64_t{0} >> 7;
    std::string text;
    std::uint64_t number = 0;
    bool begins = true;
    for (const std::uint8_t octet : contents) {
        // Each octet holds seven bits of a number, which has no leading zeros.
        if ((begins && octet == 0x80) || number > largest) return std::nullopt;
        number = number << 7 | (octet & 0x7F);
        begins = octet < 0x80;
        if (!begins) continue;
        if (text.empty()) {
            const std::uint64_t first = std::min<std::uint64_t>(number / 40, 2);
            text = std::to_string(first) + "." + std::to_string(number - 40 * first);
        } else {
            text += "." + std::to_string(number);
        }
        number = 0;
    }
    if (text.empty() || !begins) return std::nullopt;
    return text;
}

bool is_one_element(std::span<const std::uint8_t> octets, std::uint8_t wanted) {
    Reader reader(octets);
    return reader.next_whole(wanted) && reader.at_end();
}

bool is_integer(Part contents) {
    if (contents.empty()) return false;
    if (contents.size() == 1) return true;
    const bool next_is_negative = contents[1] >= 0x80;
    return !(contents[0] == 0 && !next_is_negative) && !(contents[0] == 0xFF && next_is_negative);
}

std::optional<std::uint32_t> small_number(Part contents) {
    if (!is_integer(contents) || contents.size() > 4 || contents.front() >= 0x80) return std::nullopt;
    std::uint32_t number = 0;
    for (const std::uint8_t octet : contents) number = number << 8 | octet;
    return number;
}

std::optional<bool> truth(Part contents) {
    if (contents.size() != 1 || (contents[0] != 0 && contents[0] != 0xFF)) return std::nullopt;
    return contents[0] != 0;
}

bool is_well_formed(Part octets) {
    Reader reader(octets);
    return reader.tag() && reader.next(*reader.tag()) && reader.at_end() && all_well_formed(octets, 0);
}

}  // namespace vrx::documents::der

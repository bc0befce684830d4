// Tests that DER and base64 have one encoding for each value, and that readers never read past the end.
#include "keys/der.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/fenced_buffer.hpp"
#include "support/hex.hpp"

namespace {

using namespace vrx::test;
namespace der = vrx::app::der;

/**
 * Returns the size of an element's contents, or -1 if the element is refused. The octets of the element, given in
 * hexadecimal, end directly before an inaccessible page.
 */
int size_of(const Bytes& octets) {
    const FencedBuffer memory(octets.size(), Fence::behind);
    std::ranges::copy(octets, memory.begin());
    der::Reader reader({memory.begin(), octets.size()});
    const auto contents = reader.next(der::sequence);
    return contents && reader.at_end() ? static_cast<int>(contents->size()) : -1;
}

Bytes element(const char* head, std::size_t size) {
    Bytes octets = unhex(head);
    octets.resize(octets.size() + size);
    return octets;
}

TEST(Der, lengths_must_be_in_their_shortest_form) {
    for (const std::size_t size : {0U, 1U, 127U}) {
        const auto low = static_cast<std::uint8_t>(size);
        EXPECT_EQ(size_of(element(("30" + hex(Bytes{low})).c_str(), size)), static_cast<int>(size));
        EXPECT_EQ(size_of(element(("3081" + hex(Bytes{low})).c_str(), size)), -1) << size;
        EXPECT_EQ(size_of(element(("308200" + hex(Bytes{low})).c_str(), size)), -1) << size;
    }
    EXPECT_EQ(size_of(element("308180", 128)), 128);
    EXPECT_EQ(size_of(element("3081ff", 255)), 255);
    EXPECT_EQ(size_of(element("30820080", 128)), -1);
    EXPECT_EQ(size_of(element("308200ff", 255)), -1);
    EXPECT_EQ(size_of(element("30820100", 256)), 256);
    EXPECT_EQ(size_of(element("3083000100", 256)), -1);
    EXPECT_EQ(size_of(element("3080", 0)), -1);
}

TEST(Der, elements_are_written_with_the_shortest_length) {
    for (const auto& [size, head] : {std::pair{0U, "3000"},
                                     {127U, "307f"},
                                     {128U, "308180"},
                                     {255U, "3081ff"},
                                     {256U, "30820100"},
                                     {271U, "3082010f"},
                                     {272U, "30820110"},
                                     {65535U, "3082ffff"}}) {
        const Bytes first(size / 3, 1);
        const Bytes second(size - first.size(), 2);
        vrx::app::SecretBytes written;
        der::append(written, der::sequence, {first, second});
        Bytes expected = unhex(head);
        expected.insert(expected.end(), first.begin(), first.end());
        expected.insert(expected.end(), second.begin(), second.end());
        EXPECT_TRUE(std::ranges::equal(written.bytes(), expected)) << size;
        EXPECT_EQ(size_of(expected), static_cast<int>(size));
    }
}

TEST(Der, a_truncated_element_is_refused_without_an_overread) {
    for (const auto& [head, size] : {std::pair{"3005", 5U}, {"308180", 128U}, {"30820100", 256U}}) {
        Bytes octets = element(head, size);
        ASSERT_EQ(size_of(octets), static_cast<int>(size));
        while (!octets.empty()) {
            octets.pop_back();
            EXPECT_EQ(size_of(octets), -1) << head << ", " << octets.size() << " octets";
        }
    }
}

TEST(Der, object_identifier_parts_have_no_leading_zeros) {
    EXPECT_EQ(der::dotted(unhex("2a8503020213")), "1.2.643.2.2.19");
    EXPECT_EQ(der::dotted(unhex("2a8100")), "1.2.128");
    for (const char* const bad : {"8001", "2a8001", "2a800301", "2a03808503", "2a85", ""})
        EXPECT_FALSE(der::dotted(unhex(bad)).has_value()) << bad;
}

/** Decodes base64, and returns the octets in hexadecimal, or "refused" if the text is malformed. */
std::string decoded(std::string_view text) {
    vrx::app::SecretBytes bytes;
    for (const char c : text) bytes.push_back(static_cast<std::uint8_t>(c));
    if (!der::decode_base64(bytes)) return "refused";
    return hex(bytes.bytes());
}

TEST(Base64, unused_bits_before_padding_must_be_zero) {
    EXPECT_EQ(decoded("/w=="), "ff");
    EXPECT_EQ(decoded("//8="), "ffff");
    EXPECT_EQ(decoded("////"), "ffffff");
    for (const char last : {'x', 'y', '0', '4', '/'}) EXPECT_EQ(decoded(std::string("/") + last + "=="), "refused");
    for (const char last : {'9', '+', '/'}) EXPECT_EQ(decoded(std::string("//") + last + "="), "refused");
}

TEST(Base64, padding_ends_the_text_and_completes_a_group) {
    for (const char* const bad :
         {"/", "//", "///", "/w=", "/w===", "/w==/w==", "//8=/", "=", "====", "/=w=", "/w=a", "/w=-"})
        EXPECT_EQ(decoded(bad), "refused") << bad;
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded(" /\tw\r\n= = "), "ff");
}

}  // namespace

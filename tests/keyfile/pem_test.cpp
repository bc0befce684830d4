// PEM and base64 (RFC 7468, RFC 4648).
#include "key_files.hpp"

namespace {

using namespace vrx::test;

const std::string private_text = pem("PRIVATE KEY", private_file(number(1)));
const std::string public_text = pem("PUBLIC KEY", public_file());

std::string private_result_of(const std::string& text) { return private_result(bytes_of(text)); }
std::string public_result_of(const std::string& text) { return public_result(bytes_of(text)); }

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        lines.push_back(text.substr(at, end - at + 1));
        at = end + 1;
    }
    return lines;
}
std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line;
    return text;
}

TEST(pem, of_a_public_key_is_the_one_of_rfc_7468) {
    const std::vector<std::string> lines = lines_of(public_text);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines.front(), "-----BEGIN PUBLIC KEY-----\n");
    EXPECT_EQ(lines.back(), "-----END PUBLIC KEY-----\n");
    EXPECT_EQ(lines[1].size(), 65U);
    EXPECT_EQ(lines[2].size(), 65U);
    EXPECT_EQ(public_result_of(public_text), "VRX_OK");
}

TEST(pem, blanks_and_other_lines_are_ignored) {
    for (const std::string& text : {private_text, public_text}) {
        const auto expect_read = [&](const std::string& changed) {
            EXPECT_EQ(text == private_text ? private_result_of(changed) : public_result_of(changed), "VRX_OK")
                << changed;
        };
        expect_read(text.substr(0, text.size() - 1));
        expect_read(replaced(text, "\n", "\r\n"));
        expect_read(replaced(text, "\n", " \t\r\n"));
        expect_read(replaced(text, "\n", "\n\n"));
        expect_read("subject: a key\n\n" + text + "\nand more\n");
        expect_read("-\n--\n-----\n" + text + "-----END CERTIFICATE-----\n-----\n");
        expect_read(text + "-----END " + (text == private_text ? "PRIVATE" : "PUBLIC") + " KEY-----\n");
        std::string spaced;
        for (const std::string& line : lines_of(text)) spaced += line[0] == '-' ? line : replaced(line, "A", " A\t");
        expect_read(spaced);
        std::vector<std::string> lines = lines_of(text);
        std::string one_line;
        for (std::size_t i = 1; i + 1 < lines.size(); ++i) one_line += lines[i].substr(0, lines[i].size() - 1);
        expect_read(lines.front() + one_line + "\n" + lines.back());
        expect_read(lines.front() + replaced(one_line, "M", "M\n") + "\n" + lines.back());
    }
}

TEST(pem, truncated_text_is_refused) {
    for (const std::string& text : {private_text, public_text}) {
        for (std::size_t size = 0; size + 1 < text.size(); ++size) {
            const std::string cut = text.substr(0, size);
            const std::string found = text == private_text ? private_result_of(cut) : public_result_of(cut);
            const std::size_t first = text.find('\n');
            EXPECT_EQ(found, size < first ? "VRX_ERR_KEY_FILE" : "VRX_ERR_KEY_PEM") << cut;
        }
    }
}

TEST(pem, every_changed_character_is_noticed) {
    vrx_private_key key, other;
    ASSERT_EQ(read(bytes_of(private_text), key), VRX_OK);
    for (std::size_t at = 0; at + 1 < private_text.size(); ++at) {
        if (private_text[at] == '\n') continue;
        for (unsigned c = 0; c < 0x100; ++c) {
            std::string changed = private_text;
            changed[at] = static_cast<char>(c);
            if (changed == private_text || read(bytes_of(changed), other) != VRX_OK) continue;
            EXPECT_FALSE(same(key, other)) << changed;
        }
    }
}

TEST(pem, lines_in_another_order_are_refused) {
    std::vector<std::string> lines = lines_of(public_text);
    std::vector<std::size_t> order{1, 2, 3};
    while (std::next_permutation(order.begin(), order.end()))
        EXPECT_NE(public_result_of(lines[0] + lines[order[0]] + lines[order[1]] + lines[order[2]] + lines[4]),
                  "VRX_OK");
    lines = lines_of(private_text);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(private_result_of(lines[0] + lines[2] + lines[1] + lines[3]), "VRX_OK");
    for (std::size_t left_out = 1; left_out < 3; ++left_out) {
        std::vector<std::string> fewer = lines;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(left_out));
        EXPECT_NE(private_result_of(joined(fewer)), "VRX_OK");
    }
}

TEST(pem, only_one_block_is_accepted) {
    const std::string certificate = pem("CERTIFICATE", unhex("3000"));
    EXPECT_EQ(private_result_of(private_text + private_text), "VRX_ERR_KEY_BLOCKS");
    EXPECT_EQ(private_result_of(private_text + certificate), "VRX_ERR_KEY_BLOCKS");
    EXPECT_EQ(private_result_of(certificate + private_text), "VRX_ERR_KEY_BLOCKS");
    EXPECT_EQ(public_result_of(public_text + private_text), "VRX_ERR_KEY_BLOCKS");
    EXPECT_EQ(public_result_of(public_text + "-----BEGIN PUBLIC KEY-----\n"), "VRX_ERR_KEY_BLOCKS");
    EXPECT_EQ(public_result_of("-----BEGIN PUBLIC KEY-----\n" + public_text), "VRX_ERR_KEY_PEM");
}

TEST(pem, label_must_be_that_of_the_kind) {
    for (const std::string label : {"EC PRIVATE KEY", "PRIVATE KEY ", " PRIVATE KEY", "private key", "", "KEY",
                                    "PRIVATE KEY-", "RSA PRIVATE KEY", "PRIVATE  KEY", "X"}) {
        const std::string text = replaced(private_text, "PRIVATE KEY", label);
        EXPECT_EQ(private_result_of(text), "VRX_ERR_KEY_KIND") << label;
        EXPECT_EQ(public_result_of(text), "VRX_ERR_KEY_KIND") << label;
    }
    const std::string longest(VRX_PEM_LABEL_SIZE - 1, 'L');
    EXPECT_EQ(private_result_of(replaced(private_text, "PRIVATE KEY", longest)), "VRX_ERR_KEY_KIND");
    EXPECT_EQ(private_result_of(replaced(private_text, "PRIVATE KEY", longest + "L")), "VRX_ERR_KEY_FILE");
    for (const std::string& bad :
         {std::string("PRIVATE KEY\0X", 13), std::string("PRIVATE\tKEY"), std::string("PRIVATE KEY\x80")})
        EXPECT_EQ(private_result_of(replaced(private_text, "PRIVATE KEY", bad)), "VRX_ERR_KEY_FILE");
    EXPECT_EQ(private_result_of(replaced(private_text, "END PRIVATE", "END PUBLIC")), "VRX_ERR_KEY_PEM");
    EXPECT_EQ(private_result_of(replaced(private_text, "-----BEGIN", " -----BEGIN")), "VRX_ERR_KEY_FILE");
    EXPECT_EQ(private_result_of(replaced(private_text, "-----END", " -----END")), "VRX_ERR_KEY_PEM");
    EXPECT_EQ(private_result_of(replaced(private_text, "KEY-----", "KEY----")), "VRX_ERR_KEY_FILE");
}

TEST(pem, headers_inside_the_block_are_refused) {
    for (const char* const header :
         {"Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-256-CBC,00\n\n", "Comment: mine\n\n", "# mine\n"})
        EXPECT_EQ(private_result_of(replaced(private_text, "BEGIN PRIVATE KEY-----\n",
                                             std::string("BEGIN PRIVATE KEY-----\n") + header)),
                  "VRX_ERR_KEY_PEM");
}

TEST(pem, long_blocks_and_empty_blocks_are_refused) {
    const std::string begin = "-----BEGIN PUBLIC KEY-----\n", end = "-----END PUBLIC KEY-----\n";
    EXPECT_EQ(public_result_of(begin + end), "VRX_ERR_KEY_DER");
    EXPECT_EQ(public_result_of(pem("PUBLIC KEY", Bytes(VRX_KEY_DER_LIMIT, 0x30))), "VRX_ERR_KEY_DER");
    EXPECT_EQ(public_result_of(pem("PUBLIC KEY", Bytes(VRX_KEY_DER_LIMIT + 1, 0x30))), "VRX_ERR_KEY_LENGTH");
    EXPECT_EQ(public_result_of(pem("PUBLIC KEY", Bytes(100'000, 0x30))), "VRX_ERR_KEY_LENGTH");
    // In a DER file, the attributes may be longer; in a PEM file, they may not.
    const auto with_attribute = [](std::size_t size) {
        const Bytes attribute = element(0x30, {unhex("06032a0304"), element(0x31, {element(0x04, {Bytes(size, 7)})})});
        return private_file(number(1), algorithm_a, version_0, element(0xA0, {attribute}));
    };
    for (const std::size_t size : {100U, 200U, 300U, 3900U, 50'000U}) {
        EXPECT_EQ(private_result(with_attribute(size)), "VRX_OK") << size;
        EXPECT_EQ(private_result_of(pem("PRIVATE KEY", with_attribute(size))),
                  size > 4000 ? "VRX_ERR_KEY_LENGTH" : "VRX_OK");
    }
    EXPECT_EQ(private_result(with_attribute(65'500)), "VRX_ERR_KEY_DER");
}

/** Decodes base64 to hexadecimal digits. The octets end at an inaccessible page. */
std::string decoded(const std::string& text, std::size_t capacity) {
    const FencedBuffer room(capacity, Fence::behind);
    std::size_t count = 99;
    const int rc = vrx_decode_base64(text.data(), text.size(), room.begin(), capacity, &count);
    if (rc != VRX_OK) {
        EXPECT_EQ(count, 0U);
        return vrx_key_error_name(rc);
    }
    return hex({room.begin(), count});
}
std::string decoded(const std::string& text) { return decoded(text, text.size()); }

TEST(base64, unused_bits_before_padding_must_be_zero) {
    EXPECT_EQ(decoded("/w=="), "ff");
    EXPECT_EQ(decoded("//8="), "ffff");
    EXPECT_EQ(decoded("////"), "ffffff");
    for (const char last : {'x', 'y', '0', '4', '/'})
        EXPECT_EQ(decoded(std::string("/") + last + "=="), "VRX_ERR_KEY_PEM");
    for (const char last : {'9', '+', '/'}) EXPECT_EQ(decoded(std::string("//") + last + "="), "VRX_ERR_KEY_PEM");
}

TEST(base64, padding_ends_the_text_and_completes_a_group) {
    for (const char* const bad :
         {"/",    "//",    "///",      "/w=",  "/w===",    "/w====", "/w==/w==", "//8=/", "//8=====", "=",       "==",
          "====", "=====", "========", "/===", "/===/===", "/=w=",   "/w=a",     "/w=-",  "////=",    "////===="})
        EXPECT_EQ(decoded(bad), "VRX_ERR_KEY_PEM") << bad;
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded(" /\tw\r\n= = "), "ff");
}

TEST(base64, each_character_is_a_digit_a_blank_or_an_error) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (unsigned c = 0; c < 0x100; ++c) {
        const char character = static_cast<char>(c);
        const std::string text = std::string("AAA") + character;
        const std::size_t value = digits.find(character);
        const bool blank = std::string(" \t\r\n").find(character) != std::string::npos;
        if (value != std::string::npos) {
            EXPECT_EQ(decoded(text), hex(Bytes{0, 0, static_cast<std::uint8_t>(value)}));
        } else if (character == '=') {
            EXPECT_EQ(decoded(text), "0000");
        } else
            EXPECT_EQ(decoded(text), "VRX_ERR_KEY_PEM") << c;
        EXPECT_EQ(decoded(text + "AAAA") == "VRX_ERR_KEY_PEM", value == std::string::npos) << c;
        if (blank) {
            EXPECT_EQ(decoded(text + "A"), "000000") << c;
        }
    }
}

TEST(base64, of_every_length_returns_the_octets) {
    for (std::size_t size = 0; size < 200; ++size) {
        Bytes octets(size);
        for (std::size_t i = 0; i < size; ++i) octets[i] = static_cast<std::uint8_t>(37 * i + size);
        for (const std::size_t width :
             {std::size_t{4}, std::size_t{64}, std::size_t{76}, std::size_t{1000}, SIZE_MAX / 2 + 1, SIZE_MAX - 3}) {
            const std::size_t characters = (size + 2) / 3 * 4;
            const std::size_t needed = characters + characters / width + (characters % width != 0);
            std::size_t count = 99;
            for (std::size_t capacity = needed < 5 ? 0 : needed - 5; capacity < needed; ++capacity) {
                const FencedBuffer small(capacity, Fence::behind);
                EXPECT_EQ(vrx_encode_base64(octets.data(), size, width, reinterpret_cast<char*>(small.begin()),
                                            capacity, &count),
                          VRX_ERR_BUFFER_LENGTH);
                EXPECT_EQ(count, 0U);
            }
            const FencedBuffer room(needed, Fence::behind);
            const auto text = reinterpret_cast<char*>(room.begin());
            ASSERT_EQ(vrx_encode_base64(octets.data(), size, width, text, needed, &count), VRX_OK);
            ASSERT_EQ(count, needed);
            const std::string encoded(text, count);
            EXPECT_EQ(decoded(encoded, size), hex(octets));
            if (size != 0) {
                EXPECT_EQ(decoded(encoded, size - 1), "VRX_ERR_BUFFER_LENGTH");
            }
            for (const std::string& line : lines_of(encoded)) EXPECT_LE(line.size(), width + 1);
            // In place.
            std::size_t in_place = 0;
            EXPECT_EQ(vrx_decode_base64(text, count, room.begin(), needed, &in_place), VRX_OK);
            EXPECT_EQ(hex({room.begin(), in_place}), hex(octets));
        }
        std::size_t count = 0;
        char text[300];
        for (const std::size_t width : {0U, 1U, 2U, 3U, 5U, 63U})
            EXPECT_EQ(vrx_encode_base64(octets.data(), size, width, text, sizeof text, &count), VRX_ERR_BAD_PARAMS);
    }
}

TEST(pem, is_decoded_in_place_and_any_label_is_given) {
    for (const std::string label : {"CERTIFICATE", "X509 CRL", "", "A"}) {
        const Bytes octets = bytes_of("the octets of a block that is longer than its first line is");
        std::string text = "a comment\n" + pem(label, octets);
        char found[VRX_PEM_LABEL_SIZE];
        std::size_t count = 0;
        ASSERT_EQ(vrx_decode_pem(text.data(), text.size(), found, reinterpret_cast<std::uint8_t*>(text.data()),
                                 text.size(), &count),
                  VRX_OK);
        EXPECT_EQ(label, found);
        EXPECT_EQ(text.substr(0, count), std::string(octets.begin(), octets.end()));
    }
}

TEST(pem, needs_room_for_the_nul) {
    const Bytes octets(50, 3);
    const std::string text = pem("LABEL", octets);
    for (std::size_t capacity = 0; capacity <= text.size(); ++capacity) {
        const FencedBuffer room(capacity, Fence::behind);
        std::size_t count = 99;
        EXPECT_EQ(vrx_encode_pem("LABEL", octets.data(), octets.size(), reinterpret_cast<char*>(room.begin()), capacity,
                                 &count),
                  VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(count, 0U);
    }
    const FencedBuffer room(text.size() + 1, Fence::behind);
    std::size_t count = 0;
    EXPECT_EQ(vrx_encode_pem("LABEL", octets.data(), octets.size(), reinterpret_cast<char*>(room.begin()),
                             text.size() + 1, &count),
              VRX_OK);
    EXPECT_EQ(count, text.size());
    EXPECT_STREQ(reinterpret_cast<char*>(room.begin()), text.c_str());
    const std::string longest(VRX_PEM_LABEL_SIZE, 'L');
    char large[1000];
    EXPECT_EQ(vrx_encode_pem(longest.c_str(), octets.data(), octets.size(), large, sizeof large, &count),
              VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_encode_pem(longest.c_str() + 1, octets.data(), octets.size(), large, sizeof large, &count), VRX_OK);
}

}  // namespace

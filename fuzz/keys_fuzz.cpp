// Fuzz target: key files, passwords, base64 and DER. Every input that the program accepts has one meaning and is in
// range, and it is the same after it is written and read again. The program refuses everything else with a message.
#include <array>
#include <cstring>
#include <optional>

#include "io/failure.hpp"
#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/key_files.hpp"
#include "keys/parameters.hpp"
#include "keys/password.hpp"
#include "program.hpp"

namespace {

using namespace vrx::app;
using vrx::fuzz::Folder;
using vrx::fuzz::require;
using Bytes = std::vector<std::uint8_t>;

SecretBytes secret(std::span<const std::uint8_t> bytes) {
    SecretBytes out;
    for (const std::uint8_t byte : bytes) out.push_back(byte);
    return out;
}
std::string text_of(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

/** Run a check in a folder where the file `key` has the given contents. */
template <typename Check>
void with_file(std::span<const std::uint8_t> content, const Check& check) {
    static Folder folder;
    folder.fill({{"key", text_of(content)}});
    const auto done = folder.inside([&] {
        try {
            check();
        } catch (const Failure& failure) {
            say(failure.what());
            return 2;
        }
        return 0;
    });
    vrx::fuzz::check_run(done);
}

/** Write the file again. */
void rewrite(SecretBytes& content) {
    Output file("key");
    file.write(content.bytes());
    file.commit();
}

bool operator==(const PrivateKey& a, const PrivateKey& b) { return a.set == b.set && std::ranges::equal(a.d, b.d); }
bool operator==(const PublicKey& a, const PublicKey& b) {
    return a.set == b.set && std::ranges::equal(a.point.x, b.point.x) && std::ranges::equal(a.point.y, b.point.y);
}

void private_key(const KeyForm& form) {
    PrivateKey key, again;
    load_private_key("key", form, {}, key);
    require(mpIsZero(key.d, VRX_ECC_DIGITS) == 0 && mpCompare(key.d, key.set->q, VRX_ECC_DIGITS) < 0,
            "a private key is in range");
    for (const char* format : {"pem", "raw"}) {
        const KeyForm written{format, curve_name(*key.set)};
        SecretBytes content;
        append_private_key(content, written, key);
        rewrite(content);
        load_private_key("key", written, {}, again);
        require(key == again, "a private key that was written is read");
    }
}

void public_key(const KeyForm& form) {
    PublicKey key, again;
    load_public_key("key", form, key);
    require(ecCheckPublicKey(key.set, &key.point) == VRX_OK && epIsZero(&key.point) == 0 &&
                mpCompare(key.point.x, key.set->p, VRX_ECC_DIGITS) < 0 &&
                mpCompare(key.point.y, key.set->p, VRX_ECC_DIGITS) < 0,
            "a public key is a point");
    for (const char* format : {"pem", "raw"}) {
        const KeyForm written{format, curve_name(*key.set)};
        SecretBytes content;
        append_public_key(content, written, key);
        rewrite(content);
        load_public_key("key", written, again);
        require(key == again, "a public key that was written is read");
    }
}

/**
 * The DER of a key with changed bytes. The input consists of pairs: a position, and the value that is added to the byte
 * at this position.
 */
Bytes changed_key(vrx::fuzz::Input& input, bool of_public) {
    PrivateKey key{get_GOSTR3410_par(input.byte() % VRX_ECC_SET_COUNT), {}};
    key.d[0] = 1U + input.byte();
    PublicKey point{key.set, {}};
    require(ecGeneratePublicKey(key.set, key.d, &point.point) == VRX_OK, "a public key is made");
    SecretBytes pem;
    if (of_public)
        append_public_key(pem, {}, point);
    else
        append_private_key(pem, {}, key);
    require(der::decode_pem(pem).has_value(), "a key that was written is PEM");
    Bytes der(pem.bytes().begin(), pem.bytes().end());
    for (Bytes change = input.take(3); change.size() == 3 && change[0] != 0; change = input.take(3)) {
        const auto at = der.begin() + change[1] % static_cast<std::ptrdiff_t>(der.size());
        switch (change[0] % 3) {
            case 0:
                *at = static_cast<std::uint8_t>(*at + change[2]);
                break;
            case 1:
                der.insert(at, change[2]);
                break;
            default:
                if (der.size() > 1) der.erase(at);
                break;
        }
    }
    return der;
}

void key_file(vrx::fuzz::Input& input, std::uint8_t choice) {
    const bool of_public = (choice & 8) != 0;
    KeyForm form;
    if ((choice & 16) != 0) form.curve = std::array{"A", "B", "C", "XchA", "XchB", "Test"}[input.byte() % 6];
    Bytes content;
    switch (choice >> 5) {
        case 0:  // a text
            content = input.rest();
            break;
        case 1:  // octets
            form.format = "raw";
            content = input.rest();
            break;
        default: {  // DER, in PEM
            const Bytes der = (choice & 32) != 0 ? changed_key(input, of_public) : input.rest();
            SecretBytes pem;
            der::append_pem(pem, of_public ? "PUBLIC KEY" : "PRIVATE KEY", der);
            content.assign(pem.bytes().begin(), pem.bytes().end());
            break;
        }
    }
    with_file(content, [&] { of_public ? public_key(form) : private_key(form); });
}

void base64(const Bytes& bytes, std::size_t width) {
    SecretBytes text;
    der::append_base64(text, bytes, width);
    SecretBytes back = secret(text.bytes());
    require(der::decode_base64(back) && std::ranges::equal(back.bytes(), bytes), "base64 there and back");

    // Encoding the result gives the accepted text again, except for whitespace.
    SecretBytes given = secret(bytes);
    if (!der::decode_base64(given)) return;
    SecretBytes canonical;
    der::append_base64(canonical, given.bytes(), std::size_t{1} << 30);
    Bytes squeezed;
    for (const std::uint8_t c : bytes)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') squeezed.push_back(c);
    if (!squeezed.empty()) squeezed.push_back('\n');
    require(std::ranges::equal(canonical.bytes(), squeezed), "base64 means one thing");
}

void pem(const Bytes& bytes) {
    SecretBytes text;
    der::append_pem(text, "A LABEL", bytes);
    require(der::decode_pem(text) == "A LABEL" && std::ranges::equal(text.bytes(), bytes), "PEM there and back");
    SecretBytes given = secret(bytes);
    const std::size_t before = bytes.size();
    if (der::decode_pem(given)) require(given.bytes().size() <= before, "PEM is longer than what is in it");
}

/** Reads the elements of one level, and then their contents by recursion. */
void elements(std::span<const std::uint8_t> octets, unsigned depth) {
    der::Reader reader(octets);
    std::size_t used = 0;
    while (!reader.at_end()) {
        const auto tag = reader.tag();
        require(tag.has_value() && !reader.next(static_cast<std::uint8_t>(*tag + 1)), "another tag is not taken");
        der::Reader copy = reader;
        const auto whole = reader.next_whole(*tag);
        if (!whole) return;
        const auto contents = copy.next(*tag);
        require(contents && whole->data() == octets.data() + used && contents->size() < whole->size() &&
                    contents->data() + contents->size() == whole->data() + whole->size(),
                "an element lies where it should");
        used += whole->size();
        require(used <= octets.size(), "elements end where their octets do");
        if (depth < 8) elements(*contents, depth + 1);
    }
    require(used == octets.size(), "elements are all of the octets");
}

void cipher_key(const Bytes& bytes) {
    with_file(bytes, [&] {
        Key key;
        load_key("key", {}, key);
        std::array<std::uint8_t, VRX_KEY_SIZE> octets;
        std::memcpy(octets.data(), key.data(), octets.size());
        if (bytes.size() == VRX_KEY_SIZE) return require(std::ranges::equal(octets, bytes), "a raw key is its bytes");
        const std::string digits = to_hex(octets);
        require(std::ranges::equal(without_line_end(text_of(bytes)), digits,
                                   [](char a, char b) { return hex_digit(a) == hex_digit(b); }),
                "a key of digits is what they stand for");
    });
}

void password(const Bytes& bytes, std::uint8_t choice) {
    with_file(bytes, [&] {
        PasswordOptions options;
        options.file = "key";
        options.encoding = std::array{"text", "hex", "bmp"}[choice % 3];
        SecretBytes result;
        get_password(options, result);
        const std::string line(without_line_end(text_of(bytes)));
        if (choice % 3 == 0) require(result.text() == line, "a password is a line");
        if (choice % 3 == 1) {
            require(std::ranges::equal(to_hex(result.bytes()), line,
                                       [](char a, char b) { return hex_digit(a) == hex_digit(b); }),
                    "a password of digits is what they stand for");
        }
        if (choice % 3 != 2) return;
        // Convert back to UTF-8.
        const auto units = result.bytes();
        require(units.size() >= 2 && units.size() % 2 == 0 && units.back() == 0 && units[units.size() - 2] == 0,
                "a BMPString ends with two zero bytes");
        std::string utf8;
        for (std::size_t i = 0; i + 2 < units.size(); i += 2) {
            const unsigned c = units[i] * 256U + units[i + 1];
            if (c < 0x80) {
                utf8 += static_cast<char>(c);
            } else if (c < 0x800) {
                utf8 += {static_cast<char>(0xc0 | c >> 6), static_cast<char>(0x80 | (c & 0x3f))};
            } else {
                utf8 += {static_cast<char>(0xe0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3f)),
                         static_cast<char>(0x80 | (c & 0x3f))};
            }
        }
        require(utf8 == line, "a BMPString stands for the password");
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vrx::fuzz::Input input(data, size);
    const std::uint8_t choice = input.byte();
    switch (choice % 8) {
        case 0:
            base64(input.rest(), std::size_t{4} << (choice >> 5));
            break;
        case 1:
            pem(input.rest());
            break;
        case 2:
            elements(input.rest(), 0);
            break;
        case 3:
            cipher_key(input.rest());
            break;
        case 4:
            password(input.rest(), static_cast<std::uint8_t>(choice >> 3));
            break;
        default:
            key_file(input, choice);
            break;
    }
    return 0;
}

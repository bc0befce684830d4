// Key files for tests: published ones, and a builder of DER.
#ifndef VRX_TESTS_KEYFILE_KEY_FILES_HPP
#define VRX_TESTS_KEYFILE_KEY_FILES_HPP

#include <vrx.h>
#include <vrx/keyfile.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/fenced_buffer.hpp"
#include "support/hex.hpp"
#include "support/kat.hpp"
#include "support/project.hpp"

namespace vrx::test {

/** A published key file. */
struct KeyFile {
    std::string name;
    bool is_private;
    Bytes der;
};

inline std::vector<KeyFile> published_keys() {
    std::vector<KeyFile> files;
    for (const KatBlock& block : read_kat(in_project("tests/keyfile/published.kat")))
        files.push_back({block.text("name"), block.text("kind") == "private", block.octets("der")});
    return files;
}

inline Bytes bytes_of(const std::string& text) { return {text.begin(), text.end()}; }

/** A PEM file with one block. */
inline std::string pem(const std::string& label, const Bytes& der) {
    std::string text(2 * der.size() + 2 * label.size() + 100, '\0');
    std::size_t size = 0;
    if (vrx_encode_pem(label.c_str(), der.data(), der.size(), text.data(), text.size(), &size) != VRX_OK) return "";
    text.resize(size);
    return text;
}

/** One element of DER. */
inline Bytes element(unsigned tag, std::initializer_list<Bytes> parts) {
    Bytes contents;
    for (const Bytes& part : parts) contents.insert(contents.end(), part.begin(), part.end());
    Bytes out{static_cast<std::uint8_t>(tag)};
    if (contents.size() >= 0x100) {
        out.push_back(0x82);
        out.push_back(static_cast<std::uint8_t>(contents.size() >> 8));
    } else if (contents.size() >= 0x80) {
        out.push_back(0x81);
    }
    out.push_back(static_cast<std::uint8_t>(contents.size()));
    out.insert(out.end(), contents.begin(), contents.end());
    return out;
}

inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// Elements of key files.
inline const Bytes signing_oid = unhex("06062a8503020213");
inline const Bytes curve_a_oid = unhex("06072a850302022301");
inline const Bytes cryptopro_oid = unhex("06072a850302021e01");
inline const Bytes no_attributes;
inline const Bytes version_0 = unhex("020100");

inline Bytes algorithm(const Bytes& parameters, const Bytes& oid = signing_oid) {
    return element(0x30, {oid, parameters});
}
inline const Bytes algorithm_a = algorithm(element(0x30, {curve_a_oid, cryptopro_oid}));

/** PKCS #8 with these contents of the OCTET STRING. */
inline Bytes private_file(const Bytes& value, const Bytes& identifier = algorithm_a, const Bytes& version = version_0,
                          const Bytes& rest = {}) {
    return element(0x30, {version, identifier, element(0x04, {value}), rest});
}

/** SubjectPublicKeyInfo with the base point of CryptoPro-A, or with these contents of the BIT STRING. */
inline Bytes base_point() {
    Bytes octets(VRX_PUBLIC_KEY_SIZE);
    ecUnloadPublicKeyValue(&get_GOSTR3410_par(1)->G, octets.data());
    return octets;
}
inline Bytes public_file(const Bytes& identifier = algorithm_a,
                         const Bytes& bits = join({{0}, element(0x04, {base_point()})})) {
    return element(0x30, {identifier, element(0x03, {bits})});
}

/** A key file with this number, as 32 octets. */
inline Bytes number(std::uint8_t value) {
    Bytes octets(VRX_PRIVATE_KEY_SIZE);
    octets[0] = value;
    return octets;
}

/** Tests whether all octets of a record are zero. */
template <typename Record>
bool is_zero(const Record& record) {
    const auto* const octets = reinterpret_cast<const std::uint8_t*>(&record);
    return std::all_of(octets, octets + sizeof record, [](std::uint8_t octet) { return octet == 0; });
}

inline int read_from(const std::uint8_t* file, std::size_t size, vrx_private_key& key) {
    return vrx_read_private_key(file, size, &key);
}
inline int read_from(const std::uint8_t* file, std::size_t size, vrx_public_key& key) {
    return vrx_read_public_key(file, size, &key);
}

/** The result of reading a file that ends at an inaccessible page. A failure must leave the key zeroed. */
template <typename Key>
int read(const Bytes& file, Key& key) {
    const FencedBuffer memory(file.size(), Fence::behind);
    std::ranges::copy(file, memory.begin());
    std::memset(&key, 0xEE, sizeof key);
    const int rc = read_from(memory.begin(), file.size(), key);
    if (rc != VRX_OK) {
        EXPECT_TRUE(is_zero(key)) << vrx_key_error_name(rc);
    }
    return rc;
}

/** The name of the result. */
inline std::string private_result(const Bytes& file) {
    vrx_private_key key;
    return vrx_key_error_name(read(file, key));
}
inline std::string public_result(const Bytes& file) {
    vrx_public_key key;
    return vrx_key_error_name(read(file, key));
}
inline std::string result(const KeyFile& file, const Bytes& contents) {
    return file.is_private ? private_result(contents) : public_result(contents);
}

inline bool same(const vrx_private_key& a, const vrx_private_key& b) {
    return a.curve == b.curve && a.hash == b.hash && a.cipher == b.cipher && std::ranges::equal(a.d, b.d);
}
inline bool same(const vrx_public_key& a, const vrx_public_key& b) {
    return a.curve == b.curve && a.hash == b.hash && a.cipher == b.cipher && std::ranges::equal(a.Q.x, b.Q.x) &&
           std::ranges::equal(a.Q.y, b.Q.y);
}

}  // namespace vrx::test

#endif

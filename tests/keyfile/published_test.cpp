// Published key files: each is read, written and read again.
#include "key_files.hpp"

namespace {

using namespace vrx::test;

std::string digits_of(const std::uint32_t (&digits)[VRX_ECC_DIGITS]) {
    Bytes octets(VRX_PRIVATE_KEY_SIZE);
    mpConvToOctets(digits, VRX_ECC_DIGITS, octets.data(), VRX_PRIVATE_KEY_SIZE);
    return hex(octets);
}

std::string octets_of(const EcPoint& point) {
    Bytes octets(VRX_PUBLIC_KEY_SIZE);
    ecUnloadPublicKeyValue(&point, octets.data());
    return hex(octets);
}

std::string curve_name(const EcParamSet* set) {
    const auto index = static_cast<std::uint32_t>(set - get_GOSTR3410_par(0));
    return get_GOSTR3410_oid_name(index);
}

/** Writes a key in both forms and reads it again. @return the DER. */
template <typename Key, typename Write>
Bytes rewritten(const Key& key, Write write) {
    Bytes der;
    for (const int form : {VRX_KEY_PEM, VRX_KEY_DER}) {
        Bytes file(VRX_KEY_FILE_SIZE);
        std::size_t size = 0;
        EXPECT_EQ(write(&key, form, file.data(), file.size(), &size), VRX_OK);
        file.resize(size);
        Key again;
        EXPECT_EQ(read(file, again), VRX_OK);
        EXPECT_TRUE(same(key, again));
        der = file;
    }
    return der;
}

/** Checks the sets that a key names. */
template <typename Key>
void expect_sets(const Key& key, const KatBlock& block, const vrx_key_algorithm& algorithm) {
    EXPECT_EQ(curve_name(key.curve), "id-GostR3410-2001-" + block.text("curve") + "-ParamSet");
    EXPECT_EQ(key.hash, get_GOSTR3411_par(1));
    EXPECT_EQ(key.cipher, get_GOST28147_par(1));
    EXPECT_EQ(algorithm.hash, block.text("hash") == "none" ? nullptr : key.hash);
    EXPECT_EQ(algorithm.cipher, nullptr);
    EXPECT_EQ(algorithm.curve, key.curve);
}

TEST(published, private_keys_are_read) {
    int count = 0;
    for_each_block(in_project("tests/keyfile/published.kat"), [&](const KatBlock& block) {
        const Bytes der = block.octets("der");
        const std::string name = block.text("name");
        if (block.text("kind") != "private") {
            for (const char* const line : {"curve", "hash", "public"})
                EXPECT_TRUE(block.has(line) && !block.text(line).empty());
            for (const char* const line : {"x", "y"}) (void)block.text_or(line, "");
            return;
        }
        ++count;
        vrx_private_key key;
        ASSERT_EQ(read(der, key), VRX_OK) << name;
        EXPECT_EQ(digits_of(key.d), block.text("d"));
        vrx_key_algorithm algorithm;
        std::uint8_t octets[VRX_PRIVATE_KEY_SIZE];
        ASSERT_EQ(vrx_parse_private_key(der.data(), der.size(), &algorithm, octets), VRX_OK);
        expect_sets(key, block, algorithm);
        vrx_public_key public_key;
        ASSERT_EQ(vrx_derive_public_key(&key, &public_key), VRX_OK);
        EXPECT_EQ(public_key.curve, key.curve);
        EXPECT_EQ(public_key.hash, key.hash);
        if (block.has("public")) {
            EXPECT_EQ(octets_of(public_key.Q), block.text("public"));
        }

        vrx_private_key again;
        ASSERT_EQ(read(bytes_of(pem("PRIVATE KEY", der)), again), VRX_OK);
        EXPECT_TRUE(same(key, again));
        const Bytes written = rewritten(key, vrx_write_private_key);
        if (name == "xmlsec") {
            EXPECT_EQ(written, der) << "this file has the form that is written";
        }
        EXPECT_EQ(written.size(), 69U);
    });
    EXPECT_EQ(count, 10);
}

TEST(published, public_keys_are_read) {
    int count = 0;
    for (const KatBlock& block : read_kat(in_project("tests/keyfile/published.kat"))) {
        SCOPED_TRACE(block.where());
        if (block.text("kind") != "public") continue;
        ++count;
        const Bytes der = block.octets("der");
        vrx_public_key key;
        ASSERT_EQ(read(der, key), VRX_OK);
        EXPECT_EQ(octets_of(key.Q), block.text("public"));
        if (block.has("x")) {
            EXPECT_EQ(digits_of(key.Q.x), block.text("x"));
        }
        if (block.has("y")) {
            EXPECT_EQ(digits_of(key.Q.y), block.text("y"));
        }
        vrx_key_algorithm algorithm;
        std::uint8_t octets[VRX_PUBLIC_KEY_SIZE];
        ASSERT_EQ(vrx_parse_public_key(der.data(), der.size(), &algorithm, octets), VRX_OK);
        expect_sets(key, block, algorithm);

        vrx_public_key again;
        ASSERT_EQ(read(bytes_of(pem("PUBLIC KEY", der)), again), VRX_OK);
        EXPECT_TRUE(same(key, again));
        const Bytes written = rewritten(key, vrx_write_public_key);
        if (algorithm.hash != nullptr) {
            EXPECT_EQ(written, der) << "there is one encoding of a key";
        }
    }
    EXPECT_EQ(count, 11);
}

TEST(published, keys_of_one_kind_are_refused_as_the_other) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        const KeyFile other{file.name, !file.is_private, file.der};
        const std::string label = file.is_private ? "PRIVATE KEY" : "PUBLIC KEY";
        EXPECT_EQ(result(other, file.der), "VRX_ERR_KEY_KIND");
        EXPECT_EQ(result(other, bytes_of(pem(label, file.der))), "VRX_ERR_KEY_KIND");
    }
}

}  // namespace

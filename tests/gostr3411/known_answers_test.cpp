// Checks published answers for the hash, HMAC and the key derivations.
#include <gtest/gtest.h>

#include <cstring>

#include "messages.hpp"
#include "model.hpp"
#include "support/project.hpp"

namespace {

using namespace vrx::test;

const std::string folder = in_project("tests/gostr3411/");

Octets number(const Bytes& octets) {
    Octets out{};
    if (octets.size() != out.size()) throw std::runtime_error("not 32 octets");
    std::copy(octets.begin(), octets.end(), out.begin());
    return out;
}

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

Digest streamed(const vrx_gostr3411_par& set, std::span<const std::uint8_t> message, std::size_t piece) {
    GOSTR3411_CTX ctx;
    Digest out{};
    EXPECT_EQ(GOSTR3411_Init(&ctx, set.oid, set.oid_length), VRX_OK);
    in_pieces(message, piece, [&](std::span<const std::uint8_t> data) {
        EXPECT_EQ(GOSTR3411_Update(&ctx, data.data(), length32(data)), VRX_OK);
    });
    EXPECT_EQ(GOSTR3411_Final(&ctx, out.data()), VRX_OK);
    return out;
}

TEST(known_answers, of_the_step_function) {
    for_each_block(folder + "step.kat", [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "hash-step");
        const std::string set = block.text("sbox");
        const Octets h = number(block.octets("h"));
        const Octets m = number(block.octets("m"));
        const Octets out = number(block.octets("out"));
        const ModelStep model = model_step(h, m, on_boxes(boxes_of_set(set)));
        for (unsigned j = 0; j < 4; ++j) EXPECT_EQ(hex(model.keys.at(j)), block.text("k" + std::to_string(j + 1)));
        EXPECT_EQ(hex(model.s), block.text("s"));
        EXPECT_EQ(hex(model.out), hex(out));

        std::uint32_t hash[VRX_HASH_WORDS];
        std::uint32_t data[VRX_HASH_WORDS];
        std::memcpy(hash, h.data(), sizeof hash);
        std::memcpy(data, m.data(), sizeof data);
        gost_r_3411_94_compress(hash, data, hash_set(set).tz);
        EXPECT_EQ(std::memcmp(hash, out.data(), sizeof hash), 0);
    });
}

TEST(known_answers, of_the_hash_over_all_cuts_at_odd_addresses) {
    for_each_block(folder + "hash.kat", [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "hash");
        const Bytes message = message_of(block);
        const vrx_gostr3411_par& set = hash_set(block.text("sbox"));
        const std::string digest = block.text("digest");
        EXPECT_EQ(hex(model_digest(on_boxes(boxes_of_set(set.name)), message)), digest);
        for (const std::size_t piece : {1UL, 2UL, 7UL, 31UL, 32UL, 33UL, 63UL, 64UL, 65UL, 96UL, 1000UL, 4096UL})
            EXPECT_EQ(hex(streamed(set, message, piece)), digest) << piece << " bytes at a time";
        for (std::size_t cut = 1; cut < message.size(); ++cut) {
            GOSTR3411_CTX ctx;
            Digest out{};
            EXPECT_EQ(GOSTR3411_Init_ex(&ctx, set.tz), VRX_OK);
            EXPECT_EQ(GOSTR3411_Update(&ctx, message.data(), static_cast<std::uint32_t>(cut)), VRX_OK);
            EXPECT_EQ(GOSTR3411_Update(&ctx, &message[cut], static_cast<std::uint32_t>(message.size() - cut)), VRX_OK);
            EXPECT_EQ(GOSTR3411_Final(&ctx, out.data()), VRX_OK);
            EXPECT_EQ(hex(out), digest) << "cut at " << cut;
        }
        if (message.empty()) return;  // available in pieces only
        in_pieces(message, message.size(), [&](std::span<const std::uint8_t> data) {
            Digest out{};
            EXPECT_EQ(GOSTR3411_Transform(set.oid, set.oid_length, data.data(), length32(data), out.data()), VRX_OK);
            EXPECT_EQ(hex(out), digest);
            out = {};
            EXPECT_EQ(GOSTR3411_Transform_ex(set.tz, data.data(), length32(data), out.data()), VRX_OK);
            EXPECT_EQ(hex(out), digest);
        });
    });
}

TEST(known_answers, of_hmac_over_all_cuts) {
    for_each_block(folder + "hmac.kat", [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "hmac");
        const Bytes key = block.octets("key");
        const Bytes message = message_of(block);
        const vrx_gostr3411_par& set = hash_set(block.text("sbox"));
        const std::string mac = block.text("mac");
        EXPECT_EQ(hex(model_hmac(on_boxes(boxes_of_set(set.name)), key, message)), mac);

        Digest out{};
        std::uint32_t size = 0;
        EXPECT_EQ(GOSTR3411_HMAC(set.oid, set.oid_length, message.data(), length32(message), key.data(), length32(key),
                                 out.data(), &size),
                  VRX_OK);
        EXPECT_EQ(hex(out), mac);
        EXPECT_EQ(size, 32U);
        GOSTR3411_HMAC_CTX ctx;
        EXPECT_EQ(GOSTR3411_HMAC_Init(&ctx, set.oid, set.oid_length, key.data(), length32(key)), VRX_OK);
        for (const std::size_t piece : {1UL, 5UL, 31UL, 32UL, 33UL, 64UL, 4096UL}) {
            in_pieces(message, piece, [&](std::span<const std::uint8_t> data) {
                EXPECT_EQ(GOSTR3411_HMAC_Update(&ctx, data.data(), length32(data)), VRX_OK);
            });
            out = {};
            EXPECT_EQ(GOSTR3411_HMAC_Final(&ctx, out.data(), &size), VRX_OK);
            EXPECT_EQ(hex(out), mac) << piece << " bytes at a time";
            EXPECT_EQ(GOSTR3411_HMAC_Reset(&ctx), VRX_OK);
        }
    });
}

std::string pbkdf2(const KatBlock& block, const vrx_gostr3411_par& set) {
    const Bytes password = block.octets("password");
    const Bytes salt = block.octets("salt");
    Digest out{};
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), length32(password), salt.data(), salt.size(),
                                     block.number("iterations"), set.oid, set.oid_length, out.data(), out.size()),
              VRX_OK);
    return hex(out);
}

TEST(known_answers, of_pbkdf2) {
    for_each_block(folder + "pbkdf2.kat", [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "pbkdf2");
        const std::string derived = block.text("derived");
        // A source may print only a part of the result.
        EXPECT_EQ(pbkdf2(block, hash_set(block.text("sbox"))).substr(0, derived.size()), derived);
    });
}

/** The key that is derived from the password decrypts the ciphertext of the same block. */
void password_opens(const KatBlock& block) {
    EXPECT_EQ(block.text("meshing"), "cryptopro");
    const Bytes key = unhex(pbkdf2(block, hash_set(block.text("hash_sbox"))));
    std::uint32_t words[VRX_KEY_WORDS];
    std::memcpy(words, key.data(), sizeof words);
    const Bytes iv = block.octets("iv");
    Bytes ciphertext = block.octets("ciphertext");
    Bytes plaintext(ciphertext.size());
    const std::string name = block.text("sbox");
    const vrx_gost28147_par* set = nullptr;
    for (const vrx_gost28147_par& record : GOST28147_CRYPTO_PRO_OIDS)
        if (record.name == name) set = &record;
    ASSERT_NE(set, nullptr);
    vrx_crpt_ctx ctx;
    ASSERT_EQ(vrx_crpt_init_context(&ctx, 0, set->tz, VRX_MODE_GFB, 0, 1, 0, iv.data(), words), VRX_OK);
    const vrx_data in = {length32(ciphertext), ciphertext.data()};
    vrx_data out = {length32(plaintext), plaintext.data()};
    ASSERT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
    EXPECT_EQ(hex(plaintext), block.text("plaintext"));
}

TEST(known_answers, of_password_encrypted_keys) {
    for_each_block(folder + "pbes2.kat", [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "pbes2");
        password_opens(block);
    });
}

TEST(known_answers, of_a_pkcs12_file) {
    for_each_block(folder + "pkcs12.kat", [](const KatBlock& block) {
        if (block.text("type") == "pbes2") return password_opens(block);
        ASSERT_EQ(block.text("type"), "pkcs12-mac");
        const vrx_gostr3411_par& set = hash_set(block.text("sbox"));
        ASSERT_EQ(&set, DEFAULT_GOSTR3411_OID);
        const Bytes password = block.octets("password");
        const Bytes salt = block.octets("salt");
        Digest key{};
        EXPECT_EQ(GOSTR3411_PBA_Derive(password.data(), static_cast<int>(password.size()), salt.data(),
                                       static_cast<int>(salt.size()), block.number("iterations"),
                                       static_cast<int>(block.number("id")), set.oid, set.oid_length, key.data(),
                                       static_cast<int>(key.size())),
                  VRX_OK);
        EXPECT_EQ(hex(key), block.text("derived"));
        const Bytes content = block.octets("content");
        Digest mac{};
        std::uint32_t size = 0;
        EXPECT_EQ(GOSTR3411_HMAC(set.oid, set.oid_length, content.data(), length32(content), key.data(), key.size(),
                                 mac.data(), &size),
                  VRX_OK);
        EXPECT_EQ(hex(mac), block.text("mac"));
    });
}

}  // namespace

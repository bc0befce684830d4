// Tests of HMAC: every field after every call, keys of all lengths, and which table each call uses.
#include <gtest/gtest.h>

#include "fields.hpp"
#include "messages.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"

namespace {

using namespace vrx::test;

/** An HMAC context under the CryptoPro set, and the model of its running hash. */
class HmacTest : public testing::Test {
protected:
    void open(std::span<const std::uint8_t> new_key) {
        key.assign(new_key.begin(), new_key.end());
        random.fill({reinterpret_cast<std::uint8_t*>(&ctx), sizeof ctx});
        digest = octets(ctx.digest);
        ASSERT_EQ(GOSTR3411_HMAC_Init(&ctx, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, key.data(), length32(key)), VRX_OK);
        began();
    }
    void reset() {
        ASSERT_EQ(GOSTR3411_HMAC_Reset(&ctx), VRX_OK);
        began();
    }
    void update(std::span<const std::uint8_t> data) {
        ASSERT_EQ(GOSTR3411_HMAC_Update(&ctx, data.data(), length32(data)), VRX_OK);
        model.update(data);
        expect_all();
    }
    Octets final() {
        Octets out{};
        std::uint32_t size = 0;
        EXPECT_EQ(GOSTR3411_HMAC_Final(&ctx, out.data(), &size), VRX_OK);
        EXPECT_EQ(size, 32U);
        const Octets inner = model.final();
        model = {.substitute = set};
        model.update(padded(0x5c));
        model.update(inner);
        digest = model.final();
        expect_all();
        EXPECT_EQ(out, digest);
        return out;
    }

    [[nodiscard]] Octets padded(std::uint8_t pad) const {
        Octets k{};
        if (key.size() > 32)
            k = model_digest(set, key);
        else
            std::copy(key.begin(), key.end(), k.begin());
        for (std::uint8_t& octet : k) octet ^= pad;
        return k;
    }
    void began() {
        model = {.substitute = set};
        model.update(padded(0x36));
        expect_all();
    }
    void expect_all() {
        EXPECT_EQ(ctx.par, &GOSTR3411_OIDS[1]);
        expect_fields(ctx.hash, model, TZ_3411_94[1]);
        EXPECT_EQ(octets(ctx.digest), digest);
        EXPECT_EQ(octets(ctx.ipad_key), padded(0x36));
        EXPECT_EQ(octets(ctx.opad_key), padded(0x5c));
    }

    Random random;
    Substitution set = on_boxes(boxes_of_set(cryptopro_set));
    Bytes key;
    GOSTR3411_HMAC_CTX ctx;
    ModelContext model;
    Octets digest{};
};

TEST_F(HmacTest, fields_and_macs_for_keys_of_0_to_100_bytes) {
    for (std::size_t length = 0; length <= 100; ++length) {
        open(random.bytes(length));
        const Bytes message = random.bytes(1 + random.below(70));
        const std::span<const std::uint8_t> all(message);
        const std::size_t cut = 1 + random.below(length32(message));
        update(all.subspan(0, cut));
        if (cut < all.size()) update(all.subspan(cut));
        const Octets mac = final();
        EXPECT_EQ(mac, model_hmac(set, key, message));

        Octets out{};
        std::uint32_t size = 0;
        EXPECT_EQ(GOSTR3411_HMAC(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, message.data(), length32(message), key.data(),
                                 length32(key), out.data(), &size),
                  VRX_OK);
        EXPECT_EQ(out, mac);
        EXPECT_EQ(size, 32U);
    }
}

TEST_F(HmacTest, key_of_32_bytes_is_not_hashed_and_one_of_33_is) {
    const Bytes long_key = random.bytes(33);
    const Octets hashed = model_digest(set, long_key);
    open(long_key);
    update(hashed);
    const Octets mac = final();
    open(hashed);
    update(hashed);
    EXPECT_EQ(final(), mac);
}

TEST_F(HmacTest, null_key_of_no_length_is_32_zero_bytes) {
    const Bytes zeros(32);
    const Bytes message = random.bytes(10);
    open(zeros);
    update(message);
    const Octets mac = final();
    Octets out{};
    std::uint32_t size = 0;
    EXPECT_EQ(GOSTR3411_HMAC(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, message.data(), length32(message), nullptr, 0,
                             out.data(), &size),
              VRX_OK);
    EXPECT_EQ(out, mac);
    EXPECT_EQ(GOSTR3411_HMAC_Init(&ctx, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, nullptr, 0), VRX_OK);
    EXPECT_EQ(octets(ctx.ipad_key), padded(0x36));
}

TEST_F(HmacTest, message_may_be_empty) {
    open(random.bytes(20));
    EXPECT_EQ(final(), model_hmac(set, key, {}));
}

TEST_F(HmacTest, reset_begins_another_message_under_the_key) {
    open(random.bytes(40));
    for (int i = 0; i < 3; ++i) {
        const Bytes message = random.bytes(1 + random.below(100));
        update(message);
        EXPECT_EQ(final(), model_hmac(set, key, message));
        reset();
    }
    update(random.bytes(50));
    reset();
    update(random.bytes(50));
    final();
}

TEST_F(HmacTest, final_without_out_leaves_the_mac_in_the_context) {
    open(random.bytes(5));
    const Bytes message = random.bytes(5);
    update(message);
    std::uint32_t size = 0;
    EXPECT_EQ(GOSTR3411_HMAC_Final(&ctx, nullptr, &size), VRX_OK);
    EXPECT_EQ(size, 32U);
    EXPECT_EQ(octets(ctx.digest), model_hmac(set, key, message));
}

TEST_F(HmacTest, final_uses_the_context_table_reset_the_parameter_set) {
    const Bytes message = random.bytes(70);
    open(random.bytes(9));
    vrx_gostr3411_par own = GOSTR3411_OIDS[1];
    own.tz = &TZ_3411_94[0];
    ctx.par = &own;
    ASSERT_EQ(GOSTR3411_HMAC_Update(&ctx, message.data(), length32(message)), VRX_OK);
    std::uint32_t size;
    ASSERT_EQ(GOSTR3411_HMAC_Final(&ctx, nullptr, &size), VRX_OK);
    EXPECT_EQ(octets(ctx.digest), model_hmac(set, key, message));

    ASSERT_EQ(GOSTR3411_HMAC_Reset(&ctx), VRX_OK);
    ASSERT_EQ(GOSTR3411_HMAC_Update(&ctx, message.data(), length32(message)), VRX_OK);
    ASSERT_EQ(GOSTR3411_HMAC_Final(&ctx, nullptr, &size), VRX_OK);
    EXPECT_EQ(octets(ctx.digest), model_hmac(on_boxes(boxes_of_set(test_set)), key, message));
}

TEST_F(HmacTest, null_identifier_follows_the_default_pointer) {
    const RegistryGuard guard;
    const Bytes message = random.bytes(33);
    key = random.bytes(33);
    const auto own_table = random.value<vrx_tz>();
    const vrx_gostr3411_par own = {0, nullptr, nullptr, nullptr, &own_table};
    const std::pair<const vrx_gostr3411_par*, Substitution> choices[] = {
        {&GOSTR3411_OIDS[1], set}, {&GOSTR3411_OIDS[0], on_boxes(boxes_of_set(test_set))}, {&own, on_table(own_table)}};
    for (const auto& [par, substitution] : choices) {
        DEFAULT_GOSTR3411_OID = par;
        const Octets expected = model_hmac(substitution, key, message);
        Octets out{};
        std::uint32_t size;
        EXPECT_EQ(GOSTR3411_HMAC(nullptr, 77, message.data(), length32(message), key.data(), length32(key), out.data(),
                                 &size),
                  VRX_OK);
        EXPECT_EQ(out, expected);
        EXPECT_EQ(GOSTR3411_HMAC_Init(&ctx, nullptr, 77, key.data(), length32(key)), VRX_OK);
        EXPECT_EQ(ctx.par, par);
        EXPECT_EQ(GOSTR3411_HMAC_Update(&ctx, message.data(), length32(message)), VRX_OK);
        EXPECT_EQ(GOSTR3411_HMAC_Final(&ctx, out.data(), &size), VRX_OK);
        EXPECT_EQ(out, expected);
    }
}

TEST_F(HmacTest, unknown_identifier_leaves_no_parameter_set) {
    random.fill({reinterpret_cast<std::uint8_t*>(&ctx), sizeof ctx});
    EXPECT_EQ(GOSTR3411_HMAC_Init(&ctx, VRX_PAR_HASH_1_OID, 8, nullptr, 0), VRX_ERR_FAILED);
    EXPECT_EQ(ctx.par, nullptr);
}

TEST_F(HmacTest, failed_one_shot_writes_the_length_but_no_mac) {
    const Bytes data = random.bytes(5);
    const Octets untouched = random.value<Octets>();
    Octets out = untouched;
    std::uint32_t size = 0;
    EXPECT_EQ(GOSTR3411_HMAC(VRX_PAR_HASH_1_OID, 8, data.data(), 5, data.data(), 5, out.data(), &size), VRX_ERR_FAILED);
    EXPECT_EQ(size, 32U);
    size = 0;
    EXPECT_EQ(GOSTR3411_HMAC(nullptr, 0, data.data(), 0, data.data(), 5, out.data(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(size, 32U);
    size = 0;
    EXPECT_EQ(GOSTR3411_HMAC(nullptr, 0, data.data(), 5, nullptr, 33, out.data(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(size, 32U);
    size = 0;
    EXPECT_EQ(GOSTR3411_HMAC(nullptr, 0, data.data(), 5, data.data(), 5, nullptr, &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(size, 32U);
    EXPECT_EQ(out, untouched);
}

}  // namespace

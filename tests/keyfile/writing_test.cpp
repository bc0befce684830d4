// Key files that are written, and the names of the errors.
#include <set>

#include "key_files.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

vrx_private_key some_key(std::uint32_t curve = 1) {
    vrx_private_key key{};
    key.curve = get_GOSTR3410_par(curve);
    key.d[0] = 0x01020304;
    return key;
}

TEST(writing, all_curves_and_sets_survive_a_round_trip) {
    Random random;
    for (std::uint32_t curve = 0; curve < VRX_ECC_SET_COUNT; ++curve)
        for (std::uint32_t hash = 0; hash < VRX_GOSTR3411_PAR_COUNT; ++hash)
            for (std::uint32_t cipher = 0; cipher < VRX_GOST28147_PAR_COUNT; ++cipher)
                for (const int form : {VRX_KEY_PEM, VRX_KEY_DER}) {
                    vrx_private_key key = some_key(curve), again;
                    key.hash = get_GOSTR3411_par(hash);
                    key.cipher = get_GOST28147_par(cipher);
                    const Bytes octets = random.bytes(VRX_PRIVATE_KEY_SIZE - 1);
                    std::memcpy(key.d, octets.data(), octets.size());
                    Bytes file(VRX_KEY_FILE_SIZE);
                    std::size_t size = 0;
                    ASSERT_EQ(vrx_write_private_key(&key, form, file.data(), file.size(), &size), VRX_OK);
                    ASSERT_EQ(read({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)}, again), VRX_OK);
                    EXPECT_TRUE(same(key, again));
                    vrx_public_key point, same_point;
                    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
                    ASSERT_EQ(vrx_write_public_key(&point, form, file.data(), file.size(), &size), VRX_OK);
                    ASSERT_EQ(read({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)}, same_point),
                              VRX_OK);
                    EXPECT_TRUE(same(point, same_point));
                }
}

TEST(writing, sets_that_are_not_given_are_the_defaults) {
    vrx_private_key key = some_key(), again;
    Bytes file(VRX_KEY_FILE_SIZE), other(VRX_KEY_FILE_SIZE);
    std::size_t size = 0, other_size = 0;
    ASSERT_EQ(vrx_write_private_key(&key, VRX_KEY_DER, file.data(), file.size(), &size), VRX_OK);
    ASSERT_EQ(read({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)}, again), VRX_OK);
    EXPECT_EQ(again.hash, get_GOSTR3411_par(1));
    EXPECT_EQ(again.cipher, get_GOST28147_par(1));
    ASSERT_EQ(vrx_write_private_key(&again, VRX_KEY_DER, other.data(), other.size(), &other_size), VRX_OK);
    EXPECT_EQ(file, other);
}

/** Writes a key into memory of each size up to the needed one. */
template <typename Key, typename Write>
void expect_room_to_matter(const Key& key, Write write) {
    for (const int form : {VRX_KEY_PEM, VRX_KEY_DER}) {
        Bytes file(VRX_KEY_FILE_SIZE, 0xEE);
        std::size_t size = 0;
        ASSERT_EQ(write(&key, form, file.data(), file.size(), &size), VRX_OK);
        const std::size_t needed = size + (form == VRX_KEY_PEM ? 1 : 0);
        if (form == VRX_KEY_PEM) {
            EXPECT_EQ(file[size], 0);
        }
        EXPECT_EQ(file[needed], 0xEE);
        for (std::size_t capacity = 0; capacity <= needed; ++capacity) {
            const FencedBuffer room(capacity, Fence::behind);
            std::ranges::fill_n(room.begin(), static_cast<std::ptrdiff_t>(capacity), std::uint8_t{0xEE});
            const int expected = capacity < needed ? VRX_ERR_BUFFER_LENGTH : VRX_OK;
            EXPECT_EQ(write(&key, form, room.begin(), capacity, &size), expected);
            if (capacity == needed) continue;
            EXPECT_EQ(size, 0U);
            EXPECT_TRUE(std::all_of(room.begin(), room.begin() + capacity, [](std::uint8_t o) { return o == 0xEE; }));
        }
    }
}

TEST(writing, needs_enough_room_and_writes_nothing_otherwise) {
    vrx_private_key key = some_key();
    key.cipher = get_GOST28147_par(4);
    vrx_public_key point;
    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
    expect_room_to_matter(key, vrx_write_private_key);
    expect_room_to_matter(point, vrx_write_public_key);
}

TEST(writing, invalid_keys_are_refused) {
    Bytes file(VRX_KEY_FILE_SIZE);
    std::size_t size = 99;
    const auto write = [&](const vrx_private_key& key) {
        size = 99;
        const int rc = vrx_write_private_key(&key, VRX_KEY_PEM, file.data(), file.size(), &size);
        if (rc != VRX_OK) {
            EXPECT_EQ(size, 0U);
        }
        return std::string(vrx_key_error_name(rc));
    };
    const auto write_point = [&](const vrx_public_key& key) {
        size = 99;
        const int rc = vrx_write_public_key(&key, VRX_KEY_PEM, file.data(), file.size(), &size);
        if (rc != VRX_OK) {
            EXPECT_EQ(size, 0U);
        }
        return std::string(vrx_key_error_name(rc));
    };
    vrx_private_key key = some_key();
    vrx_public_key point;
    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
    EXPECT_EQ(write(key), "VRX_OK");
    key.d[0] = 0;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_NUMBER");
    EXPECT_EQ(vrx_derive_public_key(&key, &point), VRX_ERR_KEY_NUMBER);
    EXPECT_TRUE(is_zero(point));
    std::ranges::copy(key.curve->q, key.d);
    EXPECT_EQ(write(key), "VRX_ERR_KEY_NUMBER");
    key = some_key();
    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
    point.Q.y[0] ^= 1;
    EXPECT_EQ(write_point(point), "VRX_ERR_KEY_POINT");
    point.Q = EcPoint{};
    EXPECT_EQ(write_point(point), "VRX_ERR_KEY_POINT");

    // Sets that are not built in.
    EcParamSet curve = *get_GOSTR3410_par(1);
    key.curve = &curve;
    EXPECT_EQ(write(key), "VRX_OK") << "an unchanged copy";
    curve.G.y[0] ^= 1;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS") << "another base point";
    curve = *get_GOSTR3410_par(1);
    const std::uint8_t other[] = {6, 7, 0x2a, 0x85, 3, 2, 2, 0x23, 9};
    curve.oid = other;
    key.curve = &curve;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS");
    curve.oid = nullptr;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS");
    curve.oid = get_GOSTR3410_par(1)->oid;
    curve.oid_len = 8;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS");
    curve.oid_len = VRX_ECC_OID_SIZE;
    EXPECT_EQ(write(key), "VRX_OK");
    vrx_gostr3411_par hash = *get_GOSTR3411_par(1);
    hash.oid = other;
    key.hash = &hash;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS");
    key.hash = nullptr;
    vrx_gost28147_par cipher = *get_GOST28147_par(1);
    cipher.oid = other;
    key.cipher = &cipher;
    EXPECT_EQ(write(key), "VRX_ERR_KEY_PARAMETERS");
    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
    EXPECT_EQ(write_point(point), "VRX_ERR_KEY_PARAMETERS");
}

TEST(writing, null_pointers_and_unknown_forms_are_bad_params) {
    vrx_private_key key = some_key();
    vrx_public_key point;
    ASSERT_EQ(vrx_derive_public_key(&key, &point), VRX_OK);
    Bytes file(VRX_KEY_FILE_SIZE);
    std::size_t size = 0;
    for (const int form : {0, 3, -1}) {
        EXPECT_EQ(vrx_write_private_key(&key, form, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_write_public_key(&point, form, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
    }
    EXPECT_EQ(vrx_write_private_key(nullptr, VRX_KEY_PEM, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_private_key(&key, VRX_KEY_PEM, nullptr, file.size(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_private_key(&key, VRX_KEY_PEM, file.data(), file.size(), nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_public_key(nullptr, VRX_KEY_PEM, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_public_key(&point, VRX_KEY_PEM, nullptr, file.size(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_public_key(&point, VRX_KEY_PEM, file.data(), file.size(), nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_derive_public_key(nullptr, &point), VRX_ERR_BAD_PARAMS);
    EXPECT_TRUE(is_zero(point));
    EXPECT_EQ(vrx_derive_public_key(&key, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_read_public_key(nullptr, 0, &point), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_read_public_key(file.data(), 0, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_read_private_key(nullptr, 0, &key), VRX_ERR_BAD_PARAMS);
    EXPECT_TRUE(is_zero(key));
    EXPECT_EQ(vrx_read_private_key(file.data(), 0, nullptr), VRX_ERR_BAD_PARAMS);
    key = {};
    EXPECT_EQ(vrx_write_private_key(&key, VRX_KEY_PEM, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_derive_public_key(&key, &point), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_write_public_key(&point, VRX_KEY_PEM, file.data(), file.size(), &size), VRX_ERR_BAD_PARAMS);
}

TEST(writing, wiped_keys_are_zero) {
    vrx_private_key key = some_key();
    vrx_wipe_private_key(&key);
    EXPECT_TRUE(is_zero(key));
    vrx_wipe_private_key(nullptr);
}

TEST(errors, have_different_names_and_texts) {
    std::set<std::string> names, texts;
    for (const int code :
         {VRX_OK, VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH, VRX_ERR_KEY_FILE, VRX_ERR_KEY_PEM, VRX_ERR_KEY_BLOCKS,
          VRX_ERR_KEY_KIND, VRX_ERR_KEY_ENCRYPTED, VRX_ERR_KEY_DER, VRX_ERR_KEY_ALGORITHM, VRX_ERR_KEY_PARAMETERS,
          VRX_ERR_KEY_CURVE, VRX_ERR_KEY_POINT, VRX_ERR_KEY_NUMBER, VRX_ERR_KEY_LENGTH}) {
        EXPECT_TRUE(names.insert(vrx_key_error_name(code)).second) << code;
        EXPECT_TRUE(texts.insert(vrx_key_error_text(code)).second) << code;
    }
    for (const int code : {1, -5, -4000, -4013}) {
        EXPECT_STREQ(vrx_key_error_name(code), "VRX_ERR_?");
        EXPECT_STREQ(vrx_key_error_text(code), "an unknown error");
    }
    EXPECT_STREQ(vrx_key_error_name(VRX_ERR_RANDOM), "VRX_ERR_RANDOM");
    EXPECT_STREQ(vrx_key_error_text(VRX_ERR_RANDOM), vrx_strerror(VRX_ERR_RANDOM));
}

}  // namespace

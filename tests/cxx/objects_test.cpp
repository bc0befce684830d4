// Tests of the types in the C++ headers: errors, range checks, moves, and wiping of secrets.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <memory>
#include <vrx.hpp>

#include "support/hex.hpp"
#include "support/random.hpp"

using namespace vrx::test;

namespace {

using vrx::Error;

constexpr Error errors[] = {Error::failed,        Error::bad_params,     Error::random,
                            Error::buffer_length, Error::block_multiple, Error::context_state,
                            Error::unknown_tz,    Error::unknown_mode,   Error::unsupported_oid};

int no_random(void*, std::uint32_t) { return 1; }

const vrx::Key key(std::array<std::uint32_t, 8>{1, 2, 3, 4, 5, 6, 7, 8});
const vrx::Iv iv({1, 2, 3, 4, 5, 6, 7, 8});

TEST(CxxResult, errors_have_distinct_names_and_texts) {
    std::set<std::string> names, texts;
    for (const Error error : errors) {
        EXPECT_TRUE(std::string(vrx::name(error)).starts_with("VRX_ERR_"));
        names.insert(vrx::name(error));
        texts.insert(vrx::text(error));
    }
    EXPECT_EQ(names.size(), std::size(errors));
    EXPECT_EQ(texts.size(), std::size(errors));
    EXPECT_STREQ(vrx::name(Error::block_multiple), "VRX_ERR_BLOCK_MULTIPLE");
    EXPECT_STREQ(vrx::name(static_cast<Error>(-5)), "VRX_ERR_?");
    static_assert(static_cast<int>(Error::unknown_mode) == VRX_ERR_UNKNOWN_MODE);
}

TEST(CxxResult, holds_a_value_or_an_error) {
    vrx::Result<std::unique_ptr<int>> good(std::make_unique<int>(5));
    EXPECT_TRUE(good.has_value());
    EXPECT_EQ(good.code(), VRX_OK);
    EXPECT_EQ(**good, 5);
    EXPECT_EQ(*std::move(good).value(), 5);
    vrx::Result<std::unique_ptr<int>> bad(Error::random);
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.error(), Error::random);
    EXPECT_EQ(bad.code(), VRX_ERR_RANDOM);
    EXPECT_EQ(*std::move(bad).value_or(std::make_unique<int>(6)), 6);
    EXPECT_TRUE(vrx::Result<void>());
    EXPECT_EQ(vrx::Result<void>::of(-6).error(), Error::block_multiple);
}

TEST(CxxResultDeathTest, reading_a_missing_value_ends_the_process) {
    EXPECT_DEATH((void)vrx::Result<int>(Error::failed).value(), "");
    EXPECT_DEATH((void)vrx::Result<int>(1).error(), "");
    EXPECT_DEATH(vrx::Result<void>(Error::failed).value(), "");
    EXPECT_DEATH((void)vrx::Result<void>().error(), "");
}

TEST(CxxOctets, sizes_are_checked) {
    const Bytes bytes(33);
    EXPECT_EQ(vrx::Key::from(bytes).error(), Error::buffer_length);
    EXPECT_EQ(vrx::Key::from(vrx::Bytes(bytes).first(31)).error(), Error::buffer_length);
    EXPECT_TRUE(vrx::Key::from(vrx::Bytes(bytes).first(32)));
    EXPECT_EQ(vrx::Iv::from({}).error(), Error::buffer_length);
    EXPECT_EQ(vrx::Scalar::from_octets(Bytes(37)).error(), Error::buffer_length);
    static_assert(!std::is_constructible_v<vrx::Key, std::array<std::uint8_t, 31>>);
    static_assert(!std::is_convertible_v<vrx::Iv, vrx::Ukm> && !std::is_constructible_v<vrx::Digest, vrx::Iv>);
}

TEST(CxxOctetsDeathTest, index_out_of_range_ends_the_process) {
    vrx::Iv octets({1, 2, 3, 4, 5, 6, 7, 8});
    octets[7] = 9;
    const vrx::Iv& same = octets;
    EXPECT_EQ(same[7], 9);
    EXPECT_EQ(key[4], 2);
    EXPECT_DEATH(octets[8] = 1, "");
    EXPECT_DEATH((void)same[8], "");
    EXPECT_DEATH((void)key[32], "");
}

TEST(CxxOctets, convert_to_hexadecimal_and_back) {
    const auto digest = vrx::Iv::from_hex("00fF10aBcDeF0123");
    EXPECT_EQ(vrx::to_hex(digest.value()), "00ff10abcdef0123");
    EXPECT_EQ(vrx::Iv::from_hex("00ff10abcdef01").error(), Error::buffer_length);
    EXPECT_EQ(vrx::Iv::from_hex("00ff10abcdef012").error(), Error::buffer_length);
    EXPECT_EQ(vrx::Iv::from_hex("00ff10abcdef012g").error(), Error::bad_params);
    EXPECT_EQ(vrx::Key::from_hex("12").error(), Error::buffer_length);
    const std::string text(64, 'a');
    EXPECT_EQ(vrx::to_hex(vrx::Key::from_hex(text).value()), text);
}

TEST(CxxOctets, hexadecimal_digits_of_both_cases_and_nothing_else_are_read) {
    const std::string digits = "0123456789abcdefABCDEF";
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const std::size_t at = digits.find(c);
        const std::size_t value = at < 16 ? at : at - 6;
        for (const std::string& text : {std::string{'1', c}, std::string{c, '2'}}) {
            Bytes out(1, 0x5A);
            const auto read = vrx::from_hex(text, out);
            if (at == std::string::npos) {
                EXPECT_EQ(read.error(), Error::bad_params) << code;
                EXPECT_EQ(out[0], 0) << code;
            } else {
                EXPECT_TRUE(read) << code;
                EXPECT_EQ(out[0], text[0] == '1' && text[1] == c ? 16 + value : 16 * value + 2) << code;
            }
        }
    }
}

TEST(CxxOctets, hexadecimal_text_of_another_length_zeroes_the_output) {
    for (const std::size_t length : {0u, 15u, 17u, 18u, 32u}) {
        Bytes out(8, 0x5A);
        EXPECT_EQ(vrx::from_hex(std::string(length, '1'), out).error(), Error::buffer_length) << length;
        EXPECT_EQ(out, Bytes(8)) << length;
    }
}

TEST(CxxOctets, are_equal_only_if_all_bytes_are) {
    Random random;
    for (std::size_t i = 0; i < vrx::Digest::extent; ++i) {
        const vrx::Digest a = vrx::Digest::from(random.bytes(32)).value();
        vrx::Digest b = a;
        EXPECT_EQ(a, b);
        b.data()[i] ^= 0x80;
        EXPECT_FALSE(a == b);
    }
    EXPECT_FALSE(vrx::equal_in_constant_time(Bytes(3), Bytes(4)));
}

TEST(CxxRandom, system_source_gives_new_bytes_each_time) {
    EXPECT_FALSE(vrx::Key::random().value() == vrx::Key::random().value());
    EXPECT_EQ(vrx::system_random(nullptr, 0), 0);
    Bytes much(100'000), more(100'000);
    EXPECT_EQ(vrx::system_random(much.data(), 100'000), 0);
    EXPECT_EQ(vrx_system_random(more.data(), 100'000), 0);
    EXPECT_NE(much, more);
    EXPECT_NE(Bytes(much.end() - 32, much.end()), Bytes(32)) << "filled to its end";
}

TEST(CxxRandom, failing_source_is_reported) {
    EXPECT_EQ(vrx::Key::random(no_random).error(), Error::random);
    EXPECT_EQ(vrx::Iv::random(no_random).error(), Error::random);
    EXPECT_EQ(vrx::PrivateKey::generate(vrx::default_curve(), no_random).error(), Error::random);
    EXPECT_EQ(vrx::Scalar::random_below(vrx::default_curve().q, no_random).error(), Error::random);
    const auto own = vrx::PrivateKey::generate();
    EXPECT_EQ(vrx::sign(*own, vrx::hash({}), no_random).error(), Error::random);
}

TEST(CxxCipher, buffers_are_checked_first) {
    vrx::Encryptor cipher(key, iv);
    Bytes in(20), out(19);
    EXPECT_EQ(cipher.update(in, out).error(), Error::buffer_length);
    EXPECT_EQ(out, Bytes(19));
    out.resize(20);
    EXPECT_EQ(cipher.update(in, out).value(), 20u);
    Bytes whole(20);
    ASSERT_TRUE(vrx::encrypt(key, iv, in, whole));
    EXPECT_EQ(out, whole);
}

TEST(CxxCipher, incomplete_block_is_held_back_without_output_buffer) {
    const vrx::CipherParameters cbc(*vrx::cipher_table("tz_a"), vrx::Mode::cbc);
    vrx::Encryptor cipher(key, iv, cbc);
    const Bytes message = unhex("00112233445566778899aabbccddeeff");
    EXPECT_EQ(cipher.output_size(5), 0u);
    EXPECT_EQ(cipher.update(vrx::Bytes(message).first(5), {}).value(), 0u);
    EXPECT_EQ(cipher.output_size(3), 8u);
    EXPECT_EQ(cipher.output_size(11), 16u);
    EXPECT_EQ(cipher.update(vrx::Bytes(message).subspan(5), {}).error(), Error::buffer_length);
    Bytes out(16), whole(16);
    EXPECT_EQ(cipher.update(vrx::Bytes(message).subspan(5), out).value(), 16u);
    ASSERT_TRUE(vrx::encrypt(key, iv, message, whole, cbc));
    EXPECT_EQ(hex(out), hex(whole));
}

TEST(CxxCipher, incomplete_last_block_is_an_error) {
    const vrx::CipherParameters codebook(*vrx::cipher_table("tz_a"), vrx::Mode::codebook);
    vrx::Encryptor cipher(key, iv, codebook);
    Bytes text(12), out(8);
    ASSERT_TRUE(cipher.update(text, out));
    EXPECT_EQ(cipher.finish().error(), Error::block_multiple);
    EXPECT_EQ(vrx::encrypt(key, iv, text, text, codebook).error(), Error::block_multiple);
}

TEST(CxxCipher, finish_succeeds_only_once) {
    for (const vrx::Mode mode : {vrx::Mode::codebook, vrx::Mode::counter, vrx::Mode::feedback, vrx::Mode::cbc}) {
        vrx::Encryptor cipher(key, iv, {*vrx::cipher_table("tz_a"), mode});
        Bytes block(8);
        EXPECT_TRUE(cipher.update(block));
        EXPECT_TRUE(cipher.update({}));
        EXPECT_TRUE(cipher.finish());
        EXPECT_EQ(cipher.update(block).error(), Error::context_state);
        EXPECT_EQ(cipher.finish().error(), Error::context_state);
        cipher.restart();
        EXPECT_TRUE(cipher.update(block));
        EXPECT_TRUE(cipher.finish());
    }
    vrx::Mac mac(key);
    EXPECT_TRUE(mac.update(Bytes(8)));
    EXPECT_TRUE(mac.finish());
    EXPECT_EQ(mac.update(Bytes(8)).error(), Error::context_state);
    EXPECT_EQ(mac.finish().error(), Error::context_state);
}

TEST(CxxCipher, unknown_modes_and_empty_tables_are_refused) {
    const vrx_tz empty{};
    Bytes text(8);
    EXPECT_EQ(vrx::encrypt(key, iv, text, text, {empty, vrx::Mode::counter}).error(), Error::failed);
    EXPECT_EQ(vrx::mac(key, text, {empty, vrx::Mode::mac}).error(), Error::failed);
    EXPECT_EQ(vrx::encrypt(key, iv, text, text, {*vrx::cipher_table(1), vrx::Mode::mac}).error(), Error::unknown_mode);
    EXPECT_EQ(vrx::encrypt(key, iv, text, text, {*vrx::cipher_table(1), static_cast<vrx::Mode>(9)}).error(),
              Error::unknown_mode);
}

TEST(CxxCipher, parameters_have_the_values_of_their_set) {
    const vrx::CipherParameters initial;
    EXPECT_EQ(initial.table, vrx::cipher_table("tz_a"));
    EXPECT_EQ(initial.mode, vrx::Mode::feedback);
    EXPECT_TRUE(initial.key_meshing);
    EXPECT_FALSE(vrx::CipherParameters(*vrx::find_cipher_set(vrx::oid::cipher_a_simple)).key_meshing);
    EXPECT_FALSE(vrx::CipherParameters(*vrx::cipher_table(1), vrx::Mode::cbc).key_meshing);
    vrx::CipherParameters meshing(*vrx::cipher_table(1), vrx::Mode::cbc, true);
    EXPECT_EQ(vrx::Encryptor(key, iv, meshing).native().key_meshing, 1u);
    EXPECT_EQ(vrx::Mac(key, meshing).native().key_meshing, 1u);
    meshing.key_meshing = false;
    EXPECT_EQ(vrx::Encryptor(key, iv, meshing).native().key_meshing, 0u);
    EXPECT_EQ(vrx::Mac(key, meshing).native().key_meshing, 0u);
}

TEST(CxxCipher, objects_open_the_same_context_as_the_library) {
    const vrx::CipherParameters parameters(*vrx::cipher_table(1), vrx::Mode::cbc, true);
    vrx_crpt_ctx ctx;
    const auto same = [&ctx](const vrx_crpt_ctx& other) { return std::memcmp(&ctx, &other, sizeof ctx) == 0; };
    vrx_crpt_init_context(&ctx, 1, parameters.table, VRX_MODE_CBC, 0, 1, 0, iv.data(), key.words());
    EXPECT_TRUE(same(vrx::Encryptor(key, iv, parameters).native()));
    vrx_crpt_init_context(&ctx, 0, parameters.table, VRX_MODE_CBC, 0, 1, 0, iv.data(), key.words());
    EXPECT_TRUE(same(vrx::Decryptor(key, iv, parameters).native()));
    vrx_crpt_init_context(&ctx, 1, parameters.table, VRX_MODE_IMITO, 0, 1, 0, nullptr, key.words());
    EXPECT_TRUE(same(vrx::Mac(key, parameters).native()));
    vrx_crpt_init_context(&ctx, 1, parameters.table, VRX_MODE_IMITO, 0, 1, 0, iv.data(), key.words());
    EXPECT_TRUE(same(vrx::Mac(key, iv, parameters).native()));
}

TEST(CxxCipher, whole_messages_have_the_errors_of_their_pieces) {
    const vrx::CipherParameters cbc(*vrx::cipher_table(1), vrx::Mode::cbc);
    Bytes text(12), out(12), little(7);
    EXPECT_EQ(vrx::encrypt(key, iv, text, little, cbc).error(), Error::buffer_length);
    EXPECT_EQ(vrx::decrypt(key, iv, text, little, cbc).error(), Error::buffer_length);
    EXPECT_EQ(vrx::encrypt(key, iv, text, out, cbc).error(), Error::block_multiple);
    EXPECT_EQ(vrx::decrypt(key, iv, text, out, cbc).error(), Error::block_multiple);
    text.resize(8);
    EXPECT_EQ(vrx::encrypt(key, iv, text, out, cbc).value(), 8u);
    EXPECT_EQ(vrx::decrypt(key, iv, vrx::Bytes(out).first(8), out, cbc).value(), 8u);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 8), text);
}

TEST(CxxCipher, default_equals_the_default_of_the_library) {
    Bytes in(40), out(40), expected(40);
    ASSERT_TRUE(vrx::encrypt(key, iv, in, out));
    const vrx_gost28147_par* set = get_GOST28147_default_par();
    vrx_crpt_ctx ctx;
    vrx_crpt_init_context(&ctx, 1, set->tz, set->mode, 0, set->key_meshing, 0, iv.data(), key.words());
    const vrx_data from{40, in.data()};
    vrx_data to{40, expected.data()};
    ASSERT_EQ(vrx_crpt_update(&ctx, &from, &to), VRX_OK);
    EXPECT_EQ(hex(out), hex(expected));
}

// The test function does not read the bytes, so no memory is needed.
TEST(CxxPieces, data_beyond_32_bit_lengths_is_split) {
    std::vector<std::pair<std::uintptr_t, std::uint32_t>> pieces;
    const std::uint8_t byte = 0;
    const std::size_t size = (std::size_t{5} << 30) + 3;
    vrx::detail::in_pieces({&byte, size}, [&](const std::uint8_t* at, std::uint32_t count) {
        pieces.emplace_back(reinterpret_cast<std::uintptr_t>(at) - reinterpret_cast<std::uintptr_t>(&byte), count);
    });
    const std::vector<std::pair<std::uintptr_t, std::uint32_t>> expected{
        {0, 1u << 31}, {std::uintptr_t{1} << 31, 1u << 31}, {std::uintptr_t{1} << 32, (1u << 30) + 3}};
    EXPECT_EQ(pieces, expected);
    EXPECT_EQ(vrx::hmac({&byte, size}, {&byte, 1}).error(), Error::bad_params);
    EXPECT_EQ(vrx::pbkdf2({&byte, size}, {&byte, 1}, 1).error(), Error::bad_params);
    EXPECT_EQ(vrx::find_hash_set({&byte, size}), nullptr);
}

// No function may read these bytes.
TEST(CxxPieces, identifiers_and_keys_of_more_than_32_bit_lengths_are_refused) {
    const std::uint8_t byte = 0;
    const vrx::Bytes huge{&byte, (std::size_t{5} << 30) + 3};
    const Bytes text(1), oid(9);
    const vrx_gostr3411_par set{};
    const std::span more{&set, huge.size()};
    EXPECT_EQ(vrx::Hash::with(huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::Hash::with(oid, more).error(), Error::bad_params);
    EXPECT_EQ(vrx::hash(text, huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::hash(text, oid, more).error(), Error::bad_params);
    EXPECT_EQ(vrx::Hmac::with(huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::Hmac::with(text, huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::hmac(text, text, huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::pbkdf2(text, huge, 1).error(), Error::bad_params);
    EXPECT_EQ(vrx::pbkdf2(text, text, 1, huge).error(), Error::bad_params);
    EXPECT_EQ(vrx::find_cipher_set(huge), nullptr);
    EXPECT_EQ(vrx::find_curve(huge), nullptr);
    EXPECT_EQ(vrx::unregister_cipher_set(huge).error(), Error::bad_params);
    auto own = vrx::copy_of(vrx::default_cipher_set()).value();
    EXPECT_EQ(vrx::set_oid(*own, huge, nullptr, nullptr).error(), Error::buffer_length);
    EXPECT_EQ(vrx::raw::last_block(huge, vrx::Flags::pad).error(), Error::buffer_length);
    vrx::Mac mac(key);
    EXPECT_EQ(vrx::raw::update_mac(mac.native(), huge).error(), Error::buffer_length);
}

TEST(CxxPieces, records_hold_lengths_of_up_to_32_bits) {
    const std::uint8_t byte = 0;
    const std::size_t most = 0xFFFFFFFF;
    EXPECT_EQ(vrx::detail::record({&byte, most}).length, most);
    EXPECT_EQ(vrx::detail::record({&byte, most + 1}).length, most);
    EXPECT_TRUE(vrx::detail::fits(most));
    EXPECT_FALSE(vrx::detail::fits(most + 1));
}

TEST(CxxHash, unknown_identifiers_are_reported) {
    const Bytes unknown = unhex("06072a850302021e09");
    EXPECT_EQ(vrx::Hash::with(unknown).error(), Error::unsupported_oid);
    EXPECT_EQ(vrx::hash(Bytes(1), unknown).error(), Error::unsupported_oid);
    EXPECT_EQ(vrx::hash({}, unknown).error(), Error::unsupported_oid);
    EXPECT_EQ(vrx::hash(Bytes(1), Bytes{}).error(), Error::bad_params);
    EXPECT_EQ(vrx::Hmac::with(Bytes(1), unknown).error(), Error::failed);
    EXPECT_EQ(vrx::hmac(Bytes(1), Bytes(1), unknown).error(), Error::failed);
    EXPECT_EQ(vrx::pbkdf2(Bytes(1), Bytes(1), 1, unknown).error(), Error::failed);
    EXPECT_EQ(vrx::pbkdf2(Bytes(1), {}, 1).error(), Error::bad_params);
    const vrx_gostr3411_par own{9, unknown.data(), "1.2.643.2.2.30.9", "own", vrx::hash_table(0u)};
    EXPECT_EQ(vrx::Hash::with(unknown, {&own, 1}).value().finish(), vrx::hash({}, *vrx::hash_table("tz_0")));
}

TEST(CxxHash, hmac_of_an_empty_message_is_that_of_an_object) {
    EXPECT_EQ(vrx::hmac(Bytes(5, 1), {}).value(), vrx::Hmac::with(Bytes(5, 1)).value().finish());
    EXPECT_EQ(vrx::hmac(Bytes(5, 1), {}, unhex("06072a850302021e09")).error(), Error::failed);
}

TEST(CxxHash, copy_is_independent) {
    vrx::Hash first;
    first.update(vrx::bytes_of("one "));
    vrx::Hash second = first;
    first.update(vrx::bytes_of("two"));
    second.update(vrx::bytes_of("three"));
    EXPECT_EQ(first.finish(), vrx::hash(vrx::bytes_of("one two")));
    EXPECT_EQ(second.finish(), vrx::hash(vrx::bytes_of("one three")));
    EXPECT_EQ(second.finish(), vrx::hash({}));
}

TEST(CxxKeys, ranges_are_checked) {
    const vrx::Curve& curve = vrx::default_curve();
    EXPECT_EQ(vrx::PrivateKey::from_octets(Bytes(31), curve).error(), Error::buffer_length);
    EXPECT_EQ(vrx::PublicKey::from_octets(Bytes(65), curve).error(), Error::buffer_length);
    vrx::PrivateKeyOctets octets;
    EXPECT_EQ(vrx::PrivateKey::from_octets(octets, curve).error(), Error::failed) << "0";
    ecUnloadPrivateKeyValue(curve.q, octets.data());
    EXPECT_EQ(vrx::PrivateKey::from_octets(octets, curve).error(), Error::failed) << "q";
    octets.data()[0] = static_cast<std::uint8_t>(octets.data()[0] - 1);
    EXPECT_TRUE(vrx::PrivateKey::from_octets(octets, curve)) << "q - 1";

    const vrx::PublicKey good = vrx::PrivateKey::generate(curve).value().public_key().value();
    vrx::PublicKeyOctets point = good.octets();
    EXPECT_TRUE(vrx::PublicKey::from_octets(point, curve));
    point.data()[0] ^= 1;
    EXPECT_EQ(vrx::PublicKey::from_octets(point, curve).error(), Error::failed) << "not on the curve";
    EXPECT_EQ(vrx::PublicKey::from_octets(vrx::PublicKeyOctets(), curve).error(), Error::failed) << "infinity";
    EcPoint larger = good.point().native();
    mpAdd(larger.x, larger.x, curve.p, VRX_ECC_DIGITS);
    ASSERT_EQ(ecCheckPublicKey(&curve, &larger), VRX_OK);
    EXPECT_EQ(vrx::PublicKey::from_point(vrx::Point(larger), curve).error(), Error::failed) << "x + p";

    const vrx::Curve& c = vrx::curve(vrx::CurveId::c);
    EcPoint multiple = c.G;
    ASSERT_EQ(mpIsZero(multiple.x, VRX_ECC_DIGITS), 1) << "the base point of this curve has x = 0";
    EXPECT_TRUE(vrx::PublicKey::from_point(vrx::Point(multiple), c));
    mpSetEqual(multiple.x, c.p, VRX_ECC_DIGITS);
    ASSERT_EQ(ecCheckPublicKey(&c, &multiple), VRX_OK);
    EXPECT_EQ(vrx::PublicKey::from_point(vrx::Point(multiple), c).error(), Error::failed) << "x = p";
    multiple = c.G;
    mpAdd(multiple.y, multiple.y, c.p, VRX_ECC_DIGITS);
    ASSERT_EQ(ecCheckPublicKey(&c, &multiple), VRX_OK);
    EXPECT_EQ(vrx::PublicKey::from_point(vrx::Point(multiple), c).error(), Error::failed) << "y + p";
}

TEST(CxxKeys, scalars_have_up_to_36_octets) {
    const Bytes octets(36, 1);
    const auto scalar = vrx::Scalar::from_octets(octets);
    ASSERT_TRUE(scalar);
    for (const std::uint32_t digit : scalar->digits()) EXPECT_EQ(digit, 0x01010101u);
    EXPECT_EQ(vrx::Scalar::from_octets(Bytes(37)).error(), Error::buffer_length);
    EXPECT_TRUE(std::ranges::equal(vrx::Scalar(scalar->digits()).digits(), scalar->digits()));
}

TEST(CxxKeys, new_point_is_at_infinity_whatever_its_memory_held) {
    alignas(vrx::Point) std::uint8_t memory[sizeof(vrx::Point)];
    std::ranges::fill(memory, std::uint8_t{0x5A});
    asm volatile("" : : "r"(memory) : "memory");
    const auto* const point = new (memory) vrx::Point;
    EXPECT_TRUE(point->is_infinite());
    point->~Point();
}

TEST(CxxKeys, both_sides_derive_the_same_key_and_others_do_not) {
    const vrx::Curve& curve = vrx::curve(vrx::CurveId::xch_a);
    const auto a = vrx::PrivateKey::generate(curve).value();
    const auto b = vrx::PrivateKey::generate(curve).value();
    const vrx::Ukm ukm({0, 0, 0, 0, 0, 0, 0, 1});
    const auto one = vrx::agree(a, b.public_key().value(), ukm);
    const auto two = vrx::agree(b, a.public_key().value(), ukm);
    EXPECT_EQ(one.value(), two.value());
    EXPECT_EQ(vrx::agree(a, b.public_key().value(), vrx::Ukm()).error(), Error::failed) << "a UKM of zeros";
    const auto stranger = vrx::PrivateKey::generate(vrx::curve(vrx::CurveId::b)).value();
    EXPECT_EQ(vrx::agree(a, stranger.public_key().value(), ukm).error(), Error::failed);
    EXPECT_EQ(vrx::agree(a, b.public_key().value(), ukm, Bytes(9)).error(), Error::unsupported_oid);
}

TEST(CxxKeys, signature_is_valid_only_for_its_digest_and_key) {
    for (std::uint32_t id = 0; id < VRX_ECC_SET_COUNT; ++id) {
        const vrx::Curve& curve = vrx::curve(static_cast<vrx::CurveId>(id));
        const auto own = vrx::PrivateKey::generate(curve).value();
        const auto other = vrx::PrivateKey::generate(curve).value();
        const vrx::Digest digest = vrx::hash(vrx::bytes_of("letter"));
        const auto signature = vrx::sign(own, digest).value();
        EXPECT_TRUE(vrx::verify(own.public_key().value(), digest, signature));
        EXPECT_FALSE(vrx::verify(other.public_key().value(), digest, signature));
        EXPECT_FALSE(vrx::verify(own.public_key().value(), vrx::hash({}), signature));
    }
}

// --- Moves and wiping ------------------------------------------------------------------------------------------------

/** Returns whether `memory` contains any 4 consecutive bytes of `secret`. */
bool holds_part_of(vrx::Bytes memory, vrx::Bytes secret) {
    for (std::size_t at = 0; at + 4 <= secret.size(); at += 4)
        if (std::search(memory.begin(), memory.end(), secret.begin() + static_cast<std::ptrdiff_t>(at),
                        secret.begin() + static_cast<std::ptrdiff_t>(at) + 4) != memory.end())
            return true;
    return false;
}

/** An object in memory that can still be read after the destruction of the object. */
template <typename Object>
class Place {
public:
    template <typename... Arguments>
    explicit Place(Arguments&&... arguments) : object_(new (memory_) Object(std::forward<Arguments>(arguments)...)) {}
    Object& object() { return *object_; }
    void end() { object_->~Object(); }
    [[nodiscard]] vrx::Bytes memory() const {
        asm volatile("" : : "r"(memory_) : "memory");
        return memory_;
    }

private:
    alignas(Object) std::uint8_t memory_[sizeof(Object)] = {};
    Object* object_;
};

/** Checks that the object contains the secret, and that a move and destruction wipe it. */
template <typename Object, typename... Arguments>
void expect_forgotten(vrx::Bytes secret, Arguments&&... arguments) {
    Place<Object> first(std::forward<Arguments>(arguments)...);
    EXPECT_TRUE(holds_part_of(first.memory(), secret)) << "the secret is not in the object";
    Place<Object> second(std::move(first.object()));
    EXPECT_FALSE(holds_part_of(first.memory(), secret)) << "moved from";
    EXPECT_TRUE(holds_part_of(second.memory(), secret));
    first.object() = std::move(second.object());
    EXPECT_FALSE(holds_part_of(second.memory(), secret)) << "moved from by assignment";
    EXPECT_TRUE(holds_part_of(first.memory(), secret));
    first.end();
    EXPECT_FALSE(holds_part_of(first.memory(), secret)) << "destroyed";
    second.end();
}

TEST(CxxWiping, moves_and_destruction_wipe_secrets) {
    Random random;
    const Bytes secret = random.bytes(32);
    const std::span<const std::uint8_t, 32> bytes(secret);
    const vrx::Key secret_key(bytes);
    expect_forgotten<vrx::Key>(secret, bytes);
    expect_forgotten<vrx::Digest>(secret, bytes);
    expect_forgotten<vrx::PrivateKeyOctets>(secret, bytes);
    expect_forgotten<vrx::Iv>(vrx::Bytes(secret).first(8), bytes.first<8>());
    expect_forgotten<vrx::Encryptor>(secret, secret_key, iv);
    expect_forgotten<vrx::Cipher>(secret, vrx::Direction::decrypt, secret_key, iv);
    expect_forgotten<vrx::Mac>(secret, secret_key);
    const auto scalar = vrx::Scalar::from_octets(vrx::Bytes(secret).first(28)).value();
    vrx::PrivateKey from_number = vrx::PrivateKey::from_scalar(scalar).value();
    const vrx::PrivateKeyOctets number = from_number.octets();
    expect_forgotten<vrx::PrivateKey>(vrx::Bytes(number).first(28), std::move(from_number));
    expect_forgotten<vrx::Scalar>(vrx::Bytes(number).first(28), scalar);
    EcPoint point{};
    std::memcpy(point.y, secret.data(), 32);
    expect_forgotten<vrx::Point>(secret, point);
    EcPointJ jacobian{};
    std::memcpy(jacobian.z, secret.data(), 32);
    expect_forgotten<vrx::JacobianPoint>(secret, jacobian);
}

TEST(CxxWiping, moves_and_destruction_wipe_message_data) {
    Random random;
    const Bytes secret = random.bytes(31);
    const auto holds = [&](vrx::Bytes memory) { return holds_part_of(memory, secret); };
    Place<vrx::Hash> hash;
    hash.object().update(secret);
    EXPECT_TRUE(holds(hash.memory()));
    hash.end();
    EXPECT_FALSE(holds(hash.memory()));

    Place<vrx::Sha1> sha1;
    sha1.object().update(secret);
    EXPECT_TRUE(holds(sha1.memory()));
    sha1.end();
    EXPECT_FALSE(holds(sha1.memory()));

    Bytes pad = secret;
    for (std::uint8_t& byte : pad) byte ^= 0x36;
    Place<vrx::Hmac> hmac(vrx::Hmac::with(secret).value());
    EXPECT_TRUE(holds_part_of(hmac.memory(), pad));
    hmac.end();
    EXPECT_FALSE(holds_part_of(hmac.memory(), pad));
}

TEST(CxxWiping, types_with_secrets_are_not_copyable) {
    static_assert(!std::is_copy_constructible_v<vrx::Key> && !std::is_copy_assignable_v<vrx::Key>);
    static_assert(!std::is_copy_constructible_v<vrx::PrivateKey> && !std::is_copy_assignable_v<vrx::PrivateKey>);
    static_assert(!std::is_copy_constructible_v<vrx::Encryptor> && !std::is_copy_constructible_v<vrx::Mac>);
    static_assert(!std::is_copy_constructible_v<vrx::Hmac> && std::is_nothrow_move_constructible_v<vrx::Hmac>);
    static_assert(std::is_nothrow_move_constructible_v<vrx::Result<vrx::Key>>);
    EXPECT_EQ(key.copy(), key);
}

TEST(CxxMoves, moved_cipher_continues_the_message) {
    Bytes text(64), expected(64);
    ASSERT_TRUE(vrx::encrypt(key, iv, text, expected));
    vrx::Encryptor first(key, iv);
    ASSERT_TRUE(first.update(vrx::MutableBytes(text).first(13)));
    std::vector<vrx::Encryptor> ciphers;
    ciphers.push_back(std::move(first));
    ciphers.emplace_back(key, iv);
    ASSERT_TRUE(ciphers[0].update(vrx::MutableBytes(text).subspan(13)));
    EXPECT_EQ(hex(text), hex(expected));
}

TEST(CxxSignature, is_valid_only_with_numbers_below_the_order) {
    const vrx::Digest digest = vrx::hash(vrx::bytes_of("message"));
    for (const auto id : {vrx::CurveId::test, vrx::CurveId::b}) {
        const vrx::Curve& curve = vrx::curve(id);
        const auto own = vrx::PrivateKey::generate(curve);
        ASSERT_TRUE(own);
        const auto signature = vrx::sign(*own, digest);
        ASSERT_TRUE(signature);
        const vrx::PublicKey other = own->public_key().value();
        EXPECT_TRUE(vrx::verify(other, digest, *signature));
        EcSignature numbers;
        ecLoadSignValue(signature->data(), &numbers);
        mpAdd(numbers.s, numbers.s, curve.q, VRX_ECC_DIGITS);
        ASSERT_EQ(numbers.s[8], 0u) << "s + q fits in its octets";
        vrx::Signature larger;
        ecUnloadSignValue(&numbers, larger.data());
        std::uint32_t words[VRX_ECC_DIGEST_WORDS];
        std::memcpy(words, digest.data(), sizeof words);
        EXPECT_EQ(ecVerify(&curve, words, &other.point().native(), &numbers), VRX_OK);
        EXPECT_FALSE(vrx::verify(other, digest, larger));
        EXPECT_FALSE(vrx::verify(other, digest, vrx::Signature()));
    }
}

TEST(CxxLog, does_not_close_standard_error) {
    std::FILE* const before = vrxflog;
    vrx::log_to("stderr");
    EXPECT_EQ(vrxflog, stderr);
    vrx::log_to("/dev/null");
    EXPECT_NE(vrxflog, stderr);
    EXPECT_GE(fcntl(2, F_GETFD), 0) << "descriptor 2 is still open";
    vrx::log_to("stderr");
    vrx::log_to(nullptr);
    EXPECT_GE(fcntl(2, F_GETFD), 0);
    vrxflog = before;
}

}  // namespace

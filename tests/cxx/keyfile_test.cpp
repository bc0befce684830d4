// Key files in C++: reading, writing, and the parameter sets that travel with a key.
#include "../keyfile/key_files.hpp"

#include <gtest/gtest.h>

#include <vrx.hpp>

namespace {

using namespace vrx::test;
using vrx::Error;

std::string text_of(const Bytes& octets) { return {octets.begin(), octets.end()}; }

template <typename Key>
void expect_the_same_key_again(const Key& key) {
    const auto pem = key.to_pem().value();
    const auto der = key.to_der().value();
    for (const auto& again : {Key::from_pem(pem.text()), Key::from_der(der.bytes()), Key::from_file(pem.bytes()),
                              Key::from_file(der.bytes())}) {
        ASSERT_TRUE(again);
        EXPECT_TRUE(again->octets() == key.octets());
        EXPECT_EQ(&again->curve(), &key.curve());
        EXPECT_EQ(&again->hash_set(), &key.hash_set());
        EXPECT_EQ(&again->cipher_set(), &key.cipher_set());
    }
    EXPECT_EQ(Key::from_pem(text_of({der.bytes().begin(), der.bytes().end()})).error(), Error::key_file);
    EXPECT_EQ(Key::from_der(pem.bytes()).error(), Error::key_der);
}

TEST(CxxKeyFiles, published_keys_are_read_and_written) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        if (!file.is_private) {
            expect_the_same_key_again(vrx::PublicKey::from_der(file.der).value());
            EXPECT_EQ(vrx::PrivateKey::from_der(file.der).error(), Error::key_kind);
            continue;
        }
        const auto pem_file = pem("PRIVATE KEY", file.der);
        const auto key = vrx::PrivateKey::from_pem(pem_file);
        ASSERT_TRUE(key);
        const auto der = key->to_der().value();
        EXPECT_TRUE(vrx::PrivateKey::from_der(der.bytes())->octets() == key->octets());
        EXPECT_TRUE(vrx::PrivateKey::from_pem(key->to_pem()->text())->octets() == key->octets());
        EXPECT_EQ(vrx::PrivateKey::from_pem(text_of(file.der)).error(), Error::key_file);
        EXPECT_EQ(vrx::PrivateKey::from_der(bytes_of(pem_file)).error(), Error::key_der);
        expect_the_same_key_again(key->public_key().value());
    }
}

TEST(CxxKeyFiles, der_may_hold_the_characters_that_begin_a_block) {
    const std::string_view begin = "-----BEGIN ";
    const Bytes attribute = element(0x04, {Bytes(begin.begin(), begin.end())});
    const Bytes file = private_file(number(5), algorithm_a, version_0, element(0xA0, {attribute}));
    EXPECT_TRUE(vrx::PrivateKey::from_der(file));
    EXPECT_TRUE(vrx::PrivateKey::from_file(file));
    EXPECT_EQ(vrx::PrivateKey::from_pem(text_of(file)).error(), Error::key_file);
}

TEST(CxxKeyFiles, errors_are_those_of_the_c_functions) {
    EXPECT_EQ(vrx::PublicKey::from_file({}).error(), Error::key_file);
    EXPECT_EQ(vrx::PrivateKey::from_pem("").error(), Error::key_file);
    EXPECT_EQ(vrx::PrivateKey::from_der({}).error(), Error::key_der);
    EXPECT_EQ(vrx::PrivateKey::from_der(private_file(number(0))).error(), Error::key_number);
    EXPECT_EQ(vrx::PublicKey::from_der(public_file(algorithm({}))).error(), Error::key_curve);
    for (int code = VRX_ERR_KEY_LENGTH; code <= VRX_ERR_KEY_FILE; ++code) {
        EXPECT_STREQ(vrx::name(static_cast<Error>(code)), vrx_key_error_name(code));
        EXPECT_STREQ(vrx::text(static_cast<Error>(code)), vrx_key_error_text(code));
        EXPECT_STRNE(vrx::name(static_cast<Error>(code)), "VRX_ERR_?");
    }
}

TEST(CxxKeyFiles, keys_on_a_curve_of_your_own_are_not_written) {
    vrx::Curve curve = vrx::default_curve();
    curve.oid = nullptr;
    const auto key = vrx::PrivateKey::generate(curve).value();
    EXPECT_EQ(key.to_pem().error(), Error::key_parameters);
    EXPECT_EQ(key.public_key()->to_der().error(), Error::key_parameters);
}

TEST(CxxKeyFiles, hash_parameter_set_travels_with_the_key) {
    const Bytes sets = element(0x30, {curve_a_oid, unhex("06072a850302021e00")});
    const auto key = vrx::PrivateKey::from_der(private_file(number(5), algorithm(sets))).value();
    EXPECT_EQ(&key.hash_set(), vrx::hash_set(0));
    const auto point = key.public_key().value();
    EXPECT_EQ(&point.hash_set(), vrx::hash_set(0));
    const vrx::Bytes letter = vrx::bytes_of("letter");
    const auto signature = vrx::sign_message(key, letter).value();
    EXPECT_TRUE(vrx::verify_message(point, letter, signature));
    EXPECT_TRUE(vrx::verify(point, vrx::hash(letter, *vrx::hash_set(0)->tz), signature));
    EXPECT_FALSE(vrx::verify(point, vrx::hash(letter), signature));
    EXPECT_FALSE(vrx::verify_message(point, vrx::bytes_of("another"), signature));
    const auto usual = vrx::PublicKey::from_octets(point.octets(), point.curve()).value();
    EXPECT_EQ(&usual.hash_set(), &vrx::default_hash_set());
    EXPECT_FALSE(vrx::verify_message(usual, letter, signature));
}

}  // namespace

// Known answers of the standards, computed with the C++ headers.
#include <gtest/gtest.h>

#include <vrx.hpp>

#include "support/hex.hpp"
#include "support/kat.hpp"
#include "support/project.hpp"

using namespace vrx::test;

namespace {

const std::string tests = in_project("tests/");

const vrx_gost28147_par& cipher_set_named(const std::string& name) {
    // The sets of RFC 4357 come first in the list; the sets without key meshing have other names.
    for (const vrx_gost28147_par& set : vrx::cipher_sets())
        if (set.name == name) return set;
    throw std::runtime_error("no cipher set " + name);
}

const vrx_gostr3411_par& hash_set_named(const std::string& name) {
    for (const vrx_gostr3411_par& set : vrx::hash_sets())
        if (set.name == name) return set;
    throw std::runtime_error("no hash set " + name);
}

vrx::Bytes oid_of(const vrx_gostr3411_par& set) { return {set.oid, set.oid_length}; }

const vrx::Curve& curve_named(const std::string& name) {
    for (std::size_t i = 0; i < vrx::curves().size(); ++i)
        if (vrx::curve_names()[i] == name) return vrx::curve(static_cast<vrx::CurveId>(i));
    throw std::runtime_error("no curve " + name);
}

/** Returns the table of a cipher or hash parameter set. */
const vrx_tz& table_named(const std::string& name) {
    return name.starts_with("id-GostR3411") ? *hash_set_named(name).tz : *cipher_set_named(name).tz;
}

vrx_tz table_of(const KatBlock& block) {
    if (block.has("sbox")) return table_named(block.text("sbox"));
    Bytes octets = block.octets("sbox_octets");
    const std::span<std::uint8_t, 64> sboxes(octets.data(), 64);
    vrx::swap_nibbles(sboxes);
    return vrx::deploy(sboxes);
}

vrx::Key key_of(const KatBlock& block, const std::string& name = "key") {
    return vrx::Key::from(block.octets(name)).value();
}
vrx::Iv iv_of(const KatBlock& block) { return vrx::Iv::from(block.octets("iv")).value(); }

Bytes message_of(const KatBlock& block) {
    if (block.has("message")) return block.octets("message");
    const Bytes unit = block.octets("message_unit");
    Bytes message;
    for (auto left = block.number("message_repeat"); left > 0; --left)
        message.insert(message.end(), unit.begin(), unit.end());
    return message;
}

/** Calls `body` for each piece of `size` bytes. */
template <typename Body>
void in_pieces_of(std::size_t size, vrx::Bytes data, Body body) {
    for (std::size_t done = 0; done < data.size(); done += size)
        body(data.subspan(done, std::min(size, data.size() - done)));
}

constexpr std::size_t piece_sizes[] = {1, 7, 8, 9, 1000, 4096};

std::string through(vrx::Cipher cipher, std::size_t size, const Bytes& input) {
    Bytes output(input.size());
    std::size_t written = 0;
    in_pieces_of(size, input, [&](vrx::Bytes piece) {
        const std::size_t expected = cipher.output_size(piece.size());
        const auto done = cipher.update(piece, vrx::MutableBytes(output).subspan(written));
        ASSERT_TRUE(done) << vrx::name(done.error());
        ASSERT_EQ(*done, expected);
        written += *done;
    });
    EXPECT_TRUE(cipher.finish());
    EXPECT_EQ(written, input.size());
    return hex(output);
}

void expect_cipher(const KatBlock& block, vrx::Mode mode) {
    const vrx_tz table = table_of(block);
    const bool meshing = mode != vrx::Mode::codebook && block.text("meshing") == "cryptopro";
    const vrx::Iv iv = mode == vrx::Mode::codebook ? vrx::Iv() : iv_of(block);
    const vrx::Key key = key_of(block);
    const vrx::CipherParameters parameters(table, mode, meshing);
    const Bytes plaintext = block.octets("plaintext");
    const Bytes ciphertext = block.octets("ciphertext");
    for (const std::size_t size : piece_sizes) {
        EXPECT_EQ(through(vrx::Encryptor(key, iv, parameters), size, plaintext), hex(ciphertext)) << size;
        EXPECT_EQ(through(vrx::Decryptor(key, iv, parameters), size, ciphertext), hex(plaintext)) << size;
    }
    Bytes whole = plaintext;
    ASSERT_TRUE(vrx::encrypt(key, iv, whole, whole, parameters));
    EXPECT_EQ(hex(whole), hex(ciphertext));
    ASSERT_TRUE(vrx::decrypt(key, iv, whole, whole, parameters));
    EXPECT_EQ(hex(whole), hex(plaintext));
}

void expect_mac(const KatBlock& block) {
    const vrx_tz table = table_of(block);
    const vrx::Key key = key_of(block);
    const vrx::CipherParameters parameters(table, vrx::Mode::mac, block.text("meshing") == "cryptopro");
    const Bytes message = message_of(block);
    const std::string expected = block.text("mac");
    const auto printed = [&](const vrx::MacValue& value) { return vrx::to_hex(value).substr(0, expected.size()); };
    for (const std::size_t size : piece_sizes) {
        vrx::Mac mac(key, parameters);
        in_pieces_of(size, message, [&](vrx::Bytes piece) { ASSERT_TRUE(mac.update(piece)); });
        EXPECT_EQ(printed(mac.finish().value()), expected);
    }
    EXPECT_EQ(printed(vrx::mac(key, message, parameters).value()), expected);
}

TEST(CxxAnswers, cipher_modes) {
    const std::pair<const char*, vrx::Mode> files[] = {{"ecb", vrx::Mode::codebook},
                                                       {"cnt", vrx::Mode::counter},
                                                       {"cfb", vrx::Mode::feedback},
                                                       {"cbc", vrx::Mode::cbc}};
    for (const auto& [name, mode] : files) {
        for_each_block(tests + "gost28147/" + name + ".kat", [&, type = name, in = mode](const KatBlock& block) {
            ASSERT_EQ(block.text("type"), type);
            expect_cipher(block, in);
        });
    }
}

TEST(CxxAnswers, single_blocks) {
    for_each_block(tests + "gost28147/ecb.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "ecb");
        const vrx_tz table = table_of(block);
        const vrx::Key key = key_of(block);
        const Bytes plaintext = block.octets("plaintext");
        std::string encrypted;
        for (std::size_t at = 0; at < plaintext.size(); at += 8) {
            const vrx::Block in = vrx::Block::from(vrx::Bytes(plaintext).subspan(at, 8)).value();
            const vrx::Block out = vrx::encrypt_block(in, key, table);
            encrypted += vrx::to_hex(out);
            EXPECT_EQ(vrx::decrypt_block(out, key, table), in);
        }
        EXPECT_EQ(encrypted, block.text("ciphertext"));
    });
}

TEST(CxxAnswers, macs) {
    for_each_block(tests + "gost28147/mac.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "mac");
        expect_mac(block);
    });
}

TEST(CxxAnswers, key_meshing) {
    for_each_block(tests + "gost28147/meshing.kat", [](const KatBlock& block) {
        block.text("type") == "mac" ? expect_mac(block) : expect_cipher(block, vrx::Mode::feedback);
    });
}

TEST(CxxAnswers, hash) {
    for_each_block(tests + "gostr3411/hash.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "hash");
        const vrx_gostr3411_par& set = hash_set_named(block.text("sbox"));
        const Bytes message = message_of(block);
        const std::string expected = block.text("digest");
        EXPECT_EQ(vrx::to_hex(vrx::hash(message, *set.tz)), expected);
        EXPECT_EQ(vrx::to_hex(vrx::hash(message, oid_of(set)).value()), expected);
        EXPECT_EQ(vrx::to_hex(vrx::hash(message, oid_of(set), vrx::hash_sets()).value()), expected);
        if (&set == &vrx::default_hash_set()) {
            EXPECT_EQ(vrx::to_hex(vrx::hash(message)), expected);
        }

        vrx::Hash twice(*set.tz);
        for (int i = 0; i < 2; ++i) {
            in_pieces_of(33, message, [&](vrx::Bytes piece) { twice.update(piece); });
            EXPECT_EQ(vrx::to_hex(twice.digest()), expected);
            EXPECT_EQ(vrx::to_hex(twice.finish()), expected) << "use " << i;
        }
    });
}

TEST(CxxAnswers, hmac) {
    for_each_block(tests + "gostr3411/hmac.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "hmac");
        const vrx::Bytes oid = oid_of(hash_set_named(block.text("sbox")));
        const Bytes key = block.octets("key");
        const Bytes message = message_of(block);
        EXPECT_EQ(vrx::to_hex(vrx::hmac(key, message, oid).value()), block.text("mac"));
        vrx::Hmac hmac = vrx::Hmac::with(key, oid).value();
        for (int i = 0; i < 2; ++i) {
            in_pieces_of(5, message, [&](vrx::Bytes piece) { hmac.update(piece); });
            EXPECT_EQ(vrx::to_hex(hmac.finish()), block.text("mac"));
            ASSERT_TRUE(hmac.restart());
        }
    });
}

TEST(CxxAnswers, password_based_keys) {
    for_each_block(tests + "gostr3411/pbkdf2.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "pbkdf2");
        const std::string expected = block.text("derived");
        const auto key = vrx::pbkdf2(block.octets("password"), block.octets("salt"), block.number("iterations"),
                                     oid_of(hash_set_named(block.text("sbox"))));
        EXPECT_EQ(vrx::to_hex(*key).substr(0, expected.size()), expected);
    });
}

TEST(CxxAnswers, encrypted_private_keys_and_pkcs12) {
    for (const char* file : {"gostr3411/pbes2.kat", "gostr3411/pkcs12.kat"}) {
        for_each_block(tests + file, [](const KatBlock& block) {
            const Bytes password = block.octets("password");
            const Bytes salt = block.octets("salt");
            const auto iterations = block.number("iterations");
            if (block.text("type") == "pbes2") {
                ASSERT_EQ(block.text("meshing"), "cryptopro");
                const auto key =
                    vrx::pbkdf2(password, salt, iterations, oid_of(hash_set_named(block.text("hash_sbox"))));
                Bytes octets = block.octets("ciphertext");
                ASSERT_TRUE(
                    vrx::decrypt(key.value(), iv_of(block), octets, octets, cipher_set_named(block.text("sbox"))));
                EXPECT_EQ(hex(octets), block.text("plaintext"));
                return;
            }
            ASSERT_EQ(block.text("type"), "pkcs12-mac");
            ASSERT_EQ(&hash_set_named(block.text("sbox")), &vrx::default_hash_set());
            Bytes key(32);
            ASSERT_TRUE(vrx::derive_pkcs12(password, salt, iterations,
                                           static_cast<vrx::Pkcs12Purpose>(block.number("id")), key));
            EXPECT_EQ(hex(key), block.text("derived"));
            EXPECT_EQ(vrx::to_hex(vrx::hmac(key, block.octets("content")).value()), block.text("mac"));
        });
    }
}

TEST(CxxAnswers, sha1) {
    for_each_block(tests + "sha1/hash.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "sha1");
        const Bytes message = message_of(block);
        vrx::Sha1 in_pieces;
        in_pieces_of(13, message, [&](vrx::Bytes piece) { in_pieces.update(piece); });
        EXPECT_EQ(vrx::to_hex(in_pieces.digest()), block.text("digest"));
        EXPECT_EQ(in_pieces.finish(), vrx::sha1(message));
        EXPECT_EQ(in_pieces.finish(), vrx::sha1({}));
    });
}

vrx::PrivateKey private_key(const Bytes& octets, const vrx::Curve& curve) {
    return vrx::PrivateKey::from_octets(octets, curve).value();
}
vrx::PublicKey public_key(const Bytes& octets, const vrx::Curve& curve) {
    return vrx::PublicKey::from_octets(octets, curve).value();
}

TEST(CxxAnswers, key_pairs) {
    for_each_block(tests + "ecc/keys.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "keypair");
        const vrx::PrivateKey key = private_key(block.octets("private"), curve_named(block.text("curve")));
        EXPECT_EQ(vrx::to_hex(key.octets()), block.text("private"));
        const vrx::PublicKey other = key.public_key().value();
        EXPECT_EQ(vrx::to_hex(other.octets()), block.text("public"));
        const auto digits = [&](const char* name) {
            const auto scalar = vrx::Scalar::from_octets(block.octets(name)).value();
            return vrx::mp::to_hex(scalar.digits());
        };
        EXPECT_EQ(vrx::mp::to_hex(key.scalar().digits()), digits("d"));
        EXPECT_EQ(vrx::mp::to_hex(other.point().native().x), digits("x"));
        EXPECT_EQ(vrx::mp::to_hex(other.point().native().y), digits("y"));
    });
}

TEST(CxxAnswers, signatures) {
    for_each_block(tests + "ecc/signatures.kat", [](const KatBlock& block) {
        const vrx::Digest digest = vrx::Digest::from(block.octets("digest")).value();
        if (block.text("type") == "signature") {
            EXPECT_EQ(vrx::hash(block.octets("message"), oid_of(hash_set_named(block.text("sbox")))).value(), digest);
        } else {
            ASSERT_EQ(block.text("type"), "digest-signature");
        }
        const vrx::PublicKey key = public_key(block.octets("public"), curve_named(block.text("curve")));
        vrx::Signature signature = vrx::Signature::from(block.octets("signature")).value();
        EXPECT_TRUE(vrx::verify(key, digest, signature));
        *signature.begin() ^= 1;
        EXPECT_FALSE(vrx::verify(key, digest, signature));
    });
}

TEST(CxxAnswers, custom_curve) {
    for_each_block(tests + "ecc/own-curve.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "verify-own");
        const auto read = [&](const char* name, auto& number) { vrx::mp::from_hex(number, block.text(name).c_str()); };
        vrx::Curve curve{};
        read("p", curve.p);
        read("a", curve.a);
        read("b", curve.b);
        read("q", curve.q);
        read("gx", curve.G.x);
        read("gy", curve.G.y);
        const vrx::Scalar d = vrx::Scalar::from_octets(unhex(block.text("d"))).value();
        const vrx::PublicKey key = vrx::PrivateKey::from_scalar(d, curve).value().public_key().value();
        EcPoint expected{};
        read("qx", expected.x);
        read("qy", expected.y);
        EXPECT_EQ(key.point(), vrx::Point(expected));
        EcSignature numbers{};
        read("r", numbers.r);
        read("s", numbers.s);
        vrx::Signature signature;
        vrx::mp::to_octets(numbers.s, vrx::MutableBytes(signature).first(32));
        vrx::mp::to_octets(numbers.r, vrx::MutableBytes(signature).last(32));
        EXPECT_TRUE(vrx::verify(key, vrx::Digest::from(block.octets("digest")).value(), signature));
    });
}

TEST(CxxAnswers, key_agreement) {
    for_each_block(tests + "ecc/vko.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "vko");
        const vrx::Curve& curve = curve_named(block.text("curve"));
        const auto key =
            vrx::agree(private_key(block.octets("private"), curve), public_key(block.octets("public"), curve),
                       vrx::Ukm::from(block.octets("ukm")).value(), oid_of(hash_set_named(block.text("sbox"))));
        EXPECT_EQ(vrx::to_hex(*key), block.text("kek"));
    });
}

TEST(CxxAnswers, key_wrap) {
    for_each_block(tests + "ecc/keywrap.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "keywrap");
        ASSERT_EQ(block.text("algorithm"), "cryptopro");
        const vrx_tz& table = table_named(block.text("sbox"));
        const vrx::Ukm ukm = vrx::Ukm::from(block.octets("ukm")).value();
        vrx::Key kek = key_of(block, "kek");
        ASSERT_TRUE(vrx::diversify(kek, ukm, table));
        EXPECT_EQ(vrx::to_hex(kek), block.text("diversified"));
        const Bytes cek = block.octets("cek");
        Bytes encrypted(cek.size());
        ASSERT_TRUE(vrx::encrypt(kek, vrx::Iv(), cek, encrypted, {table, vrx::Mode::codebook}));
        EXPECT_EQ(hex(encrypted), block.text("cek_enc"));
        vrx::Mac mac(kek, vrx::Iv::from(ukm).value(), {table, vrx::Mode::mac});
        ASSERT_TRUE(mac.update(cek));
        EXPECT_EQ(vrx::to_hex(mac.finish().value()).substr(0, 8), block.text("cek_mac"));
    });
}

}  // namespace

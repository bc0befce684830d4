// Known-answer tests: signatures, key pairs, multiples, sums, key agreement, key wrap, enveloped messages.
#include "ecc_support.hpp"
#include "support/kat.hpp"
#include "support/project.hpp"

using namespace vrx::test;

namespace {

const std::string data = in_project("tests/ecc/");

struct Digest {
    std::uint32_t words[VRX_ECC_DIGEST_WORDS];
    explicit Digest(const Bytes& octets) {
        EXPECT_EQ(octets.size(), sizeof words);
        std::memcpy(words, octets.data(), sizeof words);
    }
};

Digits number(const KatBlock& block, const char* key) { return Digits(block.text(key)); }

EcPoint public_key(const Bytes& octets) {
    EXPECT_EQ(octets.size(), 64u);
    EcPoint q;
    EXPECT_EQ(ecLoadPublicKeyValue(octets.data(), &q), VRX_OK);
    return q;
}

Digits private_key(const Bytes& octets) {
    EXPECT_EQ(octets.size(), 32u);
    Digits d;
    EXPECT_EQ(ecLoadPrivateKeyValue(octets.data(), d.data()), VRX_OK);
    return d;
}

EcSignature signature(const Bytes& octets) {
    EXPECT_EQ(octets.size(), 64u);
    EcSignature s;
    EXPECT_EQ(ecLoadSignValue(octets.data(), &s), VRX_OK);
    return s;
}

vrx_data hash_oid(const std::string& name) {
    for (vrx_gostr3411_par& par : GOSTR3411_OIDS)
        if (name == par.name) return {par.oid_length, const_cast<std::uint8_t*>(par.oid)};
    throw std::invalid_argument("no hash set " + name);
}

const vrx_tz& cipher_table(const std::string& name) {
    for (const vrx_gost28147_par& par : GOST28147_CRYPTO_PRO_OIDS)
        if (name == par.name) return *par.tz;
    for (const vrx_gostr3411_par& par : GOSTR3411_OIDS)
        if (name == par.name) return *par.tz;
    throw std::invalid_argument("no table " + name);
}

using CipherKey = std::array<std::uint32_t, VRX_KEY_WORDS>;
CipherKey cipher_key(const Bytes& octets) {
    EXPECT_EQ(octets.size(), 32u);
    CipherKey key;
    std::memcpy(key.data(), octets.data(), sizeof key);
    return key;
}

Bytes codebook(const vrx_tz& table, const Bytes& key, Bytes text, int direction) {
    const vrx_data in{static_cast<std::uint32_t>(text.size()), text.data()};
    vrx_data out = in;
    EXPECT_EQ(VRX_Gost_SS_m(&table, &in, &out, cipher_key(key).data(), direction), VRX_OK);
    return text;
}

/** The first four bytes of the MAC of a key, started from the UKM. */
Bytes key_mac(const vrx_tz& table, const Bytes& key, Bytes cek, Bytes ukm) {
    const vrx_data in{static_cast<std::uint32_t>(cek.size()), cek.data()};
    vrx_data state{static_cast<std::uint32_t>(ukm.size()), ukm.data()};
    EXPECT_EQ(VRX_Gost_Imito_m(&table, &in, &state, cipher_key(key).data(), 0), VRX_OK);
    ukm.resize(4);
    return ukm;
}

Bytes diversified(const vrx_tz& table, Bytes key, const Bytes& ukm) {
    EXPECT_EQ(ecDiversifyKEK(&table, key.data(), ukm.data()), VRX_OK);
    return key;
}

Bytes agreed(const KatBlock& block, const std::string& hash) {
    const vrx_data oid = hash_oid(hash);
    Bytes kek(32);
    const EcPoint q = public_key(block.octets("public"));
    EXPECT_EQ(ecMakeKEK(&set_named(block.text("curve")), &oid, block.octets("ukm").data(),
                        private_key(block.octets("private")).data(), &q, kek.data()),
              VRX_OK);
    return kek;
}

TEST(answers, signature_with_its_nonce_and_intermediate_values) {
    for_each_block(data + "sign.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "sign");
        const EcParamSet& set = set_named(block.text("curve"));
        const Digits d = number(block, "d");
        const EcPoint q = point(number(block, "qx"), number(block, "qy"));
        EcPoint made;
        ASSERT_EQ(ecGeneratePublicKey(&set, d.data(), &made), VRX_OK);
        EXPECT_EQ(coordinates(made), coordinates(q));

        const Digest digest(block.octets("digest"));
        const Digits k = number(block, "k");
        EcSignature sig;
        {
            ScriptedSource source{ScriptedSource::yields(k)};
            ASSERT_EQ(ecSign(&set, digest.words, ScriptedSource::draw, d.data(), &sig), VRX_OK);
        }
        EXPECT_EQ(Digits(sig.r), number(block, "r"));
        EXPECT_EQ(Digits(sig.s), number(block, "s"));
        EXPECT_EQ(ecVerify(&set, digest.words, &q, &sig), VRX_OK);

        EcPoint c;
        ASSERT_EQ(epMult(&c, &set.G, k.data(), &set), 0);
        EXPECT_EQ(coordinates(c), (std::array{number(block, "c_x"), number(block, "c_y")}));

        Digits e, v, z1, z2;
        std::memcpy(e.data(), digest.words, sizeof digest.words);
        ASSERT_EQ(mpModInv(v.data(), e.data(), set.q, VRX_ECC_DIGITS), 0);
        EXPECT_EQ(v, number(block, "v"));
        mpModMult(z1.data(), sig.s, v.data(), set.q, VRX_ECC_DIGITS);
        EXPECT_EQ(z1, number(block, "z1"));
        mpModMult(z2.data(), sig.r, v.data(), set.q, VRX_ECC_DIGITS);
        mpSubtract(z2.data(), set.q, z2.data(), VRX_ECC_DIGITS);
        EXPECT_EQ(z2, number(block, "z2"));
        EcPoint c1, c2, sum;
        epMult(&c1, &set.G, z1.data(), &set);
        epMult(&c2, &q, z2.data(), &set);
        epAdd(&sum, &c1, &c2, &set);
        EXPECT_EQ(coordinates(sum), coordinates(c));
    });
}

TEST(answers, signatures_from_the_signed_octets) {
    for_each_block(data + "signatures.kat", [](const KatBlock& block) {
        const EcParamSet& set = set_named(block.text("curve"));
        const Bytes digest = block.octets("digest");
        if (block.text("type") == "signature") {
            const Bytes message = block.octets("message");
            const vrx_data oid = hash_oid(block.text("sbox"));
            Bytes computed(32);
            ASSERT_EQ(GOSTR3411_Transform(oid.data, oid.length, message.data(),
                                          static_cast<std::uint32_t>(message.size()), computed.data()),
                      VRX_OK);
            EXPECT_EQ(hex(computed), hex(digest));
        } else {
            ASSERT_EQ(block.text("type"), "digest-signature");
        }
        const EcPoint q = public_key(block.octets("public"));
        EXPECT_EQ(ecCheckPublicKey(&set, &q), VRX_OK);
        const EcSignature sig = signature(block.octets("signature"));
        EXPECT_EQ(ecVerify(&set, Digest(digest).words, &q, &sig), VRX_OK);
        Bytes octets(64);
        ASSERT_EQ(ecUnloadSignValue(&sig, octets.data()), VRX_OK);
        EXPECT_EQ(hex(octets), block.text("signature"));
    });
}

TEST(answers, key_pairs_as_numbers_and_as_octets) {
    for_each_block(data + "keys.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "keypair");
        const EcParamSet& set = set_named(block.text("curve"));
        const Digits d = private_key(block.octets("private"));
        EXPECT_EQ(d, number(block, "d"));
        EcPoint q;
        ASSERT_EQ(ecGeneratePublicKey(&set, d.data(), &q), VRX_OK);
        EXPECT_EQ(coordinates(q), (std::array{number(block, "x"), number(block, "y")}));
        EXPECT_EQ(coordinates(public_key(block.octets("public"))), coordinates(q));
        Bytes octets(64);
        ASSERT_EQ(ecUnloadPublicKeyValue(&q, octets.data()), VRX_OK);
        EXPECT_EQ(hex(octets), block.text("public"));
        octets.resize(32);
        ASSERT_EQ(ecUnloadPrivateKeyValue(d.data(), octets.data()), VRX_OK);
        EXPECT_EQ(hex(octets), block.text("private"));
    });
}

TEST(answers, multiples_and_sums) {
    for_each_block(data + "points.kat", [](const KatBlock& block) {
        EcParamSet& set = set_named(block.text("curve"));
        const std::array expected{number(block, "rx"), number(block, "ry")};
        EcPoint r;
        if (block.text("type") == "point-add") {
            const EcPoint p = point(number(block, "px"), number(block, "py"));
            const EcPoint q = point(number(block, "qx"), number(block, "qy"));
            epAdd(&r, &p, &q, &set);
            EXPECT_EQ(coordinates(r), expected);
            EcPointJ pj, qj, rj;
            epA2J(&pj, &p);
            epA2J(&qj, &q);
            epAddJA(&rj, &pj, &q, &set);
            epJ2A(&r, &rj, &set);
            EXPECT_EQ(coordinates(r), expected);
            epAddJChud(&rj, &pj, &qj, &set);
            epJ2A(&r, &rj, &set);
            EXPECT_EQ(coordinates(r), expected);
            return;
        }
        ASSERT_EQ(block.text("type"), "point-mul");
        const Digits k = number(block, "k");
        EcPoint p = set.G;
        if (block.has("px"))
            p = point(number(block, "px"), number(block, "py"));
        else {
            ASSERT_EQ(epMultPP(&r, k.data(), &set), 0);
            EXPECT_EQ(coordinates(r), expected);
        }
        ASSERT_EQ(epMultJ(&r, &p, k.data(), &set), 0);
        EXPECT_EQ(coordinates(r), expected);
        ASSERT_EQ(epMult(&r, &p, k.data(), &set), 0);
        EXPECT_EQ(coordinates(r), expected);
    });
}

TEST(answers, signature_on_a_custom_set) {
    for_each_block(data + "own-curve.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "verify-own");
        EcParamSet set{};
        number(block, "p").copy_to(set.p);
        number(block, "a").copy_to(set.a);
        number(block, "b").copy_to(set.b);
        number(block, "q").copy_to(set.q);
        set.G = point(number(block, "gx"), number(block, "gy"));
        EXPECT_EQ(ecCheckPublicKey(&set, &set.G), VRX_OK);
        EcPoint q;
        ASSERT_EQ(ecGeneratePublicKey(&set, number(block, "d").data(), &q), VRX_OK);
        EXPECT_EQ(coordinates(q), (std::array{number(block, "qx"), number(block, "qy")}));
        EcSignature sig;
        number(block, "r").copy_to(sig.r);
        number(block, "s").copy_to(sig.s);
        EXPECT_EQ(ecVerify(&set, Digest(block.octets("digest")).words, &q, &sig), VRX_OK);
    });
}

TEST(answers, key_agreement) {
    for_each_block(data + "vko.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "vko");
        EXPECT_EQ(hex(agreed(block, block.text("sbox"))), block.text("kek"));
    });
}

TEST(answers, key_wrap_with_a_diversified_key) {
    for_each_block(data + "keywrap.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "keywrap");
        ASSERT_EQ(block.text("algorithm"), "cryptopro");
        const vrx_tz& table = cipher_table(block.text("sbox"));
        const Bytes ukm = block.octets("ukm");
        const Bytes kek = diversified(table, block.octets("kek"), ukm);
        EXPECT_EQ(hex(kek), block.text("diversified"));
        const Bytes cek = block.octets("cek");
        EXPECT_EQ(hex(codebook(table, kek, cek, 1)), block.text("cek_enc"));
        EXPECT_EQ(hex(key_mac(table, kek, cek, ukm)), block.text("cek_mac"));
    });
}

TEST(answers, enveloped_messages_from_the_private_key_to_the_text) {
    for_each_block(data + "enveloped.kat", [](const KatBlock& block) {
        ASSERT_EQ(block.text("type"), "enveloped");
        const vrx_tz& wrap = cipher_table(block.text("wrap_sbox"));
        const Bytes ukm = block.octets("ukm");
        Bytes kek = agreed(block, block.text("hash_sbox"));
        if (block.text("algorithm") == "cryptopro") kek = diversified(wrap, kek, ukm);
        const Bytes cek = codebook(wrap, kek, block.octets("cek_enc"), 0);
        EXPECT_EQ(hex(key_mac(wrap, kek, cek, ukm)), block.text("cek_mac"));
        // Key meshing starts after 1024 bytes.
        ASSERT_EQ(block.text("meshing"), "cryptopro");
        Bytes ciphertext = block.octets("ciphertext");
        ASSERT_LT(ciphertext.size(), 1024u);
        Bytes text(ciphertext.size());
        const vrx_data in{static_cast<std::uint32_t>(ciphertext.size()), ciphertext.data()};
        vrx_data out{in.length, text.data()};
        Bytes iv = block.octets("iv");
        ASSERT_EQ(VRX_Gost_GFB_m(&cipher_table(block.text("sbox")), &in, &out, iv.data(), cipher_key(cek).data(), 0,
                                 VRX_FLAG_FIRST | VRX_FLAG_PAD),
                  VRX_OK);
        EXPECT_EQ(hex(text), block.text("plaintext"));
    });
}

}  // namespace

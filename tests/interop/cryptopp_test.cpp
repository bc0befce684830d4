// Comparison with Crypto++: the cipher with the S-boxes of the hash's test set, SHA-1, point multiplication.
#include <cryptopp/config_ver.h>
#include <cryptopp/eccrypto.h>
#include <cryptopp/ecp.h>
#include <cryptopp/gost.h>
#include <cryptopp/modes.h>
#include <cryptopp/sha.h>

#include "interop.hpp"

using namespace vrx::interop;
namespace {

class cryptopp : public testing::Test {
protected:
    static void SetUpTestSuite() {
        introduce("Crypto++ " + std::to_string(CRYPTOPP_MAJOR) + "." + std::to_string(CRYPTOPP_MINOR));
    }
};

/** Crypto++ has only the S-boxes of the hash's test set. */
template <typename Mode>
void compare_ciphers(std::uint32_t our_mode) {
    Random random;
    for (unsigned i = cases(100); i != 0; --i) {
        const KeyAndIv secret = key_and_iv(random);
        const Bytes data = our_mode == VRX_MODE_GFB ? message_not_empty(random) : whole_blocks(random);
        const auto compare = [&](auto cipher, bool encrypt) {
            if constexpr (std::is_same_v<Mode, CryptoPP::ECB_Mode<CryptoPP::GOST>>)
                cipher.SetKey(secret.key.data(), secret.key.size());
            else
                cipher.SetKeyWithIV(secret.key.data(), secret.key.size(), secret.iv.data(), secret.iv.size());
            Bytes expected(data.size());
            cipher.ProcessData(expected.data(), data.data(), data.size());
            ASSERT_TRUE(same(ours(random, our_mode, encrypt, TZ_3411_94[0], Meshing::off, secret, data), expected));
        };
        compare(typename Mode::Encryption(), true);
        compare(typename Mode::Decryption(), false);
    }
}

TEST_F(cryptopp, codebook) { compare_ciphers<CryptoPP::ECB_Mode<CryptoPP::GOST>>(VRX_MODE_SS); }
TEST_F(cryptopp, cipher_block_chaining) { compare_ciphers<CryptoPP::CBC_Mode<CryptoPP::GOST>>(VRX_MODE_CBC); }
TEST_F(cryptopp, cipher_feedback) { compare_ciphers<CryptoPP::CFB_Mode<CryptoPP::GOST>>(VRX_MODE_GFB); }

TEST_F(cryptopp, sha1) {
    compare_sha1(500, [](const Bytes& data) {
        std::array<std::uint8_t, 20> out{};
        CryptoPP::SHA1().CalculateDigest(out.data(), data.data(), data.size());
        return out;
    });
}

CryptoPP::Integer number(const std::uint32_t* digits) {
    const Bytes octets = big_endian(digits);
    return {octets.data(), octets.size()};
}

/** Crypto++ has no GOST signatures, but it supports arbitrary curves. */
TEST_F(cryptopp, multiples_of_points) {
    for_curves(all_curves, [](Random&, const EcParamSet& set, const std::string&) {
        const CryptoPP::ECP curve(number(set.p), number(set.a), number(set.b));
        for (unsigned i = cases(10); i != 0; --i) {
            const Pair pair(set);
            const Pair other(set);
            EcPoint product{};
            ASSERT_EQ(epMult(&product, &other.key, pair.d.data(), &set), VRX_OK);
            const std::pair<const EcPoint&, const EcPoint&> products[] = {{set.G, pair.key}, {other.key, product}};
            for (const auto& [factor, ours] : products) {
                const auto theirs = curve.Multiply(number(pair.d.data()), {number(factor.x), number(factor.y)});
                ASSERT_TRUE(theirs.x == number(ours.x) && theirs.y == number(ours.y)) << hex(pair.private_octets());
            }
        }
    });
}

}  // namespace

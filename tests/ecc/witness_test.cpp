// libgcrypt signs and this library verifies, and the other way round.
#include <gcrypt.h>

#include "ecc_support.hpp"

using namespace vrx::test;

namespace {

using Digest = std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS>;

/** An S-expression of libgcrypt. */
class Expression {
public:
    Expression() = default;
    explicit Expression(const std::string& text) {
        EXPECT_EQ(gcry_sexp_new(&value_, text.data(), text.size(), 1), 0u) << text;
    }
    ~Expression() { gcry_sexp_release(value_); }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    [[nodiscard]] gcry_sexp_t get() const { return value_; }
    [[nodiscard]] gcry_sexp_t* slot() { return &value_; }
    /** The number that follows a name. */
    [[nodiscard]] Digits number(const char* name) const {
        gcry_sexp_t found = gcry_sexp_find_token(value_, name, 0);
        gcry_mpi_t n = gcry_sexp_nth_mpi(found, 1, GCRYMPI_FMT_USG);
        Bytes octets(64);
        std::size_t size = 0;
        EXPECT_EQ(gcry_mpi_print(GCRYMPI_FMT_USG, octets.data(), octets.size(), &size, n), 0u);
        gcry_mpi_release(n);
        gcry_sexp_release(found);
        Digits digits;
        mpConvFromOctets(digits.data(), VRX_ECC_DIGITS, octets.data(), static_cast<std::uint32_t>(size));
        return digits;
    }

private:
    gcry_sexp_t value_ = nullptr;
};

/** 64 hexadecimal digits. */
std::string text(const std::uint32_t* digits) {
    Bytes octets(32);
    mpConvToOctets(digits, VRX_ECC_DIGITS, octets.data(), 32);
    return hex(octets);
}
std::string text(const Digest& digest) {
    Digits n;
    std::memcpy(n.data(), digest.data(), sizeof digest);
    return text(n.data());
}

class witness : public testing::TestWithParam<std::uint32_t> {
protected:
    static void SetUpTestSuite() {
        ASSERT_NE(gcry_check_version(nullptr), nullptr);
        gcry_control(GCRYCTL_ENABLE_QUICK_RANDOM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    }
    witness() { EXPECT_EQ(ecGenerateKeyPair(&set, random_bytes, d.data(), &key), VRX_OK); }

    [[nodiscard]] std::string curve() const {
        return std::string("(ecc (curve \"") + set.str_oid + "\")(q #04" + text(key.x) + text(key.y) + "#)";
    }
    static Expression data(const Digest& digest) {
        return Expression("(data(flags gost)(value #" + text(digest) + "#))");
    }

    const EcParamSet& set = *get_GOSTR3410_par(GetParam());
    Digits d;
    EcPoint key{};
    Random random;
};

INSTANTIATE_TEST_SUITE_P(sets, witness, testing::Range<std::uint32_t>(0, VRX_ECC_SET_COUNT),
                         [](const auto& i) { return short_name(i.param); });

TEST_P(witness, signatures_of_libgcrypt_are_right_here) {
    const Expression private_key("(private-key " + curve() + "(d #" + text(d.data()) + "#)))");
    for (int i = 0; i < 20; ++i) {
        auto digest = random.value<Digest>();
        Expression made;
        ASSERT_EQ(gcry_pk_sign(made.slot(), data(digest).get(), private_key.get()), 0u);
        EcSignature sig;
        made.number("r").copy_to(sig.r);
        made.number("s").copy_to(sig.s);
        EXPECT_EQ(ecVerify(&set, digest.data(), &key, &sig), VRX_OK);
        digest[3] ^= 1;
        EXPECT_EQ(ecVerify(&set, digest.data(), &key, &sig), VRX_ERR_FAILED);
    }
}

TEST_P(witness, signatures_made_here_are_right_for_libgcrypt) {
    const Expression public_key("(public-key " + curve() + "))");
    for (int i = 0; i < 20; ++i) {
        auto digest = random.value<Digest>();
        EcSignature sig;
        ASSERT_EQ(ecSign(&set, digest.data(), random_bytes, d.data(), &sig), VRX_OK);
        const Expression signature("(sig-val(gost(r #" + text(sig.r) + "#)(s #" + text(sig.s) + "#)))");
        EXPECT_EQ(gcry_pk_verify(signature.get(), data(digest).get(), public_key.get()), 0u);
        digest[7] ^= 0x80000000;
        EXPECT_NE(gcry_pk_verify(signature.get(), data(digest).get(), public_key.get()), 0u);
    }
}

}  // namespace

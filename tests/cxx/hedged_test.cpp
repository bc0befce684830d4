// Tests of hedged signatures with a system random source that fails, is stuck or repeats itself. This file replaces
// getrandom().
#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string>
#include <vrx.hpp>

namespace {

enum class Source { system, zero, constant, repeating, failing };
Source source = Source::system;
std::uint64_t sequence = 1;

/** Selects a random source during its lifetime. The source starts at the beginning of its sequence. */
struct With {
    explicit With(Source chosen) {
        source = chosen;
        sequence = 1;
    }
    With(const With&) = delete;
    With& operator=(const With&) = delete;
    ~With() { source = Source::system; }
};

}  // namespace

extern "C" ssize_t getrandom(void* buffer, std::size_t size, unsigned flags) {
    if (source == Source::system) return syscall(SYS_getrandom, buffer, size, flags);
    if (source == Source::failing) {
        errno = ENOSYS;
        return -1;
    }
    if (source == Source::constant) sequence = 1;
    for (std::size_t i = 0; i < size; ++i) {
        sequence = sequence * 6364136223846793005U + 1442695040888963407U;
        static_cast<unsigned char*>(buffer)[i] =
            source == Source::zero ? 0 : static_cast<unsigned char>(sequence >> 56);
    }
    return static_cast<ssize_t>(size);
}

namespace {

using vrx::Error;

std::string r_of(const vrx::Signature& signature) { return {signature.begin() + 32, signature.end()}; }

TEST(CxxHedged, nonces_differ_by_digest_if_the_source_repeats) {
    for (std::uint32_t id = 0; id < VRX_ECC_SET_COUNT; ++id) {
        const auto key = vrx::PrivateKey::generate(vrx::curve(static_cast<vrx::CurveId>(id))).value();
        std::set<std::string> seen;
        for (const char* message : {"one", "two", "three"}) {
            const With repeating(Source::repeating);
            const vrx::Digest digest = vrx::hash(vrx::bytes_of(message));
            const auto signature = vrx::sign(key, digest).value();
            EXPECT_TRUE(vrx::verify(key.public_key().value(), digest, signature));
            EXPECT_TRUE(seen.insert(r_of(signature)).second) << message;
        }
    }
}

TEST(CxxHedged, nonces_differ_by_key_if_the_source_repeats) {
    const vrx::Digest digest = vrx::hash(vrx::bytes_of("one"));
    const auto signature = [&](const vrx::PrivateKey& key) {
        const With repeating(Source::repeating);
        return r_of(vrx::sign(key, digest).value());
    };
    const auto a = vrx::PrivateKey::generate().value();
    const auto b = vrx::PrivateKey::generate().value();
    EXPECT_NE(signature(a), signature(b));
    EXPECT_EQ(signature(a), signature(a)) << "all that a nonce is made from is the same";
    EXPECT_NE(r_of(vrx::sign(a, digest).value()), r_of(vrx::sign(a, digest).value()));
}

TEST(CxxHedged, failing_or_stuck_source_is_an_error) {
    const auto key = vrx::PrivateKey::generate().value();
    const vrx::Digest digest = vrx::hash(vrx::bytes_of("one"));
    for (const Source bad : {Source::zero, Source::constant, Source::failing}) {
        const With it(bad);
        EXPECT_EQ(vrx::sign(key, digest).error(), Error::random);
        EXPECT_EQ(vrx::PrivateKey::generate().error(), Error::random);
        EXPECT_EQ(vrx::Key::random().error(), Error::random);
    }
}

TEST(CxxHedged, thread_state_is_wiped) {
    const auto key = vrx::PrivateKey::generate().value();
    ASSERT_TRUE(vrx::sign(key, vrx::hash(vrx::bytes_of("one"))));
    const vrx_hedge& state = *vrx_hedge_of_thread();
    for (const std::uint8_t octet : state.key) EXPECT_EQ(octet, 0);
    for (const std::uint8_t octet : state.value) EXPECT_EQ(octet, 0);
}

TEST(CxxHedged, invalid_signature_is_not_returned) {
    // With the invalid private key q + 1, signatures would still be valid, because the key 1 has the same ones. With a
    // corrupt record, no signature is valid.
    vrx::Curve broken = vrx::curve(vrx::CurveId::a);
    broken.b[0] ^= 1;
    const std::uint32_t d[VRX_ECC_DIGITS] = {5};
    const std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {7};
    EcSignature signature;
    EXPECT_EQ(vrx_hedged_sign(&broken, digest, d, &signature), VRX_ERR_FAILED);
    EXPECT_EQ(signature.r[0] | signature.s[0], 0u);
    EXPECT_EQ(vrx_hedged_sign(nullptr, digest, d, &signature), VRX_ERR_BAD_PARAMS);
}

TEST(CxxKeys, signature_with_r_or_s_out_of_range_is_invalid) {
    for (const auto id : {vrx::CurveId::test, vrx::CurveId::b, vrx::CurveId::c, vrx::CurveId::xch_b}) {
        const vrx::Curve& curve = vrx::curve(id);
        const auto key = vrx::PrivateKey::generate(curve).value();
        const vrx::Digest digest = vrx::hash(vrx::bytes_of("letter"));
        for (int tries = 0; tries < 200; ++tries) {
            const auto signature = vrx::sign(key, digest).value();
            EcSignature twin;
            ecLoadSignValue(signature.data(), &twin);
            mpAdd(twin.s, twin.s, curve.q, VRX_ECC_DIGITS);
            if (twin.s[8] != 0) continue;  // does not fit in 256 bits
            ASSERT_EQ(ecVerify(&curve, reinterpret_cast<const std::uint32_t*>(digest.data()),
                               &key.public_key().value().point().native(), &twin),
                      VRX_OK);
            vrx::Signature octets;
            ecUnloadSignValue(&twin, octets.data());
            EXPECT_FALSE(vrx::verify(key.public_key().value(), digest, octets));
            break;
        }
    }
}

}  // namespace

/**
 * @file cxx/sign.hpp  GOST R 34.10-2001: PrivateKey, PublicKey and signatures, over sign.h and octets.h.
 *
 * A key holds a pointer to its curve. A custom curve must outlive its keys; built-in curves always do. The functions
 * allocate nothing. Threads: keys are plain values without shared state.
 */
#ifndef VRX_CXX_SIGN_HPP
#define VRX_CXX_SIGN_HPP

#include "vrx/cxx/point.hpp"
#include "vrx/hedged.h"
#include "vrx/octets.h"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/** A public key: a point that was checked to be on its curve, with coordinates below p. */
class PublicKey {
public:
    /**
     * Load a public key from its stored form: x, then y, each least significant octet first.
     *
     * @return Error::buffer_length if there are not 64 octets; Error::failed if the point is not on the curve or a
     *         coordinate is not below p.
     */
    static Result<PublicKey> from_octets(Bytes octets, const Curve &curve = default_curve()) noexcept {
        if (octets.size() != VRX_PUBLIC_KEY_SIZE) return Error::buffer_length;
        Point point;
        ecLoadPublicKeyValue(octets.data(), &point.native());
        return from_point(point, curve);
    }
    /** Check a point and make it a public key. @return Error::failed under the conditions of from_octets(). */
    static Result<PublicKey> from_point(const Point &point, const Curve &curve = default_curve()) noexcept {
        if (mp::compare(point.native().x, curve.p) >= 0 || mp::compare(point.native().y, curve.p) >= 0 ||
            !point.is_on(curve))
            return Error::failed;
        return Result<PublicKey>(std::in_place, point, curve, Unfilled{});
    }

    /** For use by from_point() only: a point that was checked. */
    PublicKey(const Point &point, const Curve &curve, Unfilled) noexcept : curve_(&curve), point_(point) {}

    /** Get the stored form. */
    [[nodiscard]] PublicKeyOctets octets() const noexcept {
        PublicKeyOctets octets;
        ecUnloadPublicKeyValue(&point_.native(), octets.data());
        return octets;
    }

    /** Get the point. */
    [[nodiscard]] const Point &point() const noexcept { return point_; }
    /** Get the curve of the key. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }

private:
    const Curve *curve_;
    Point point_;
};

/** A private key, a number from 1 to q - 1. It can be moved, not copied. Its destructor zeroes it. */
class PrivateKey {
public:
    /** Generate a key. @return Error::random if the source fails. */
    static Result<PrivateKey> generate(const Curve &curve = default_curve(), RND_FUNC source = system_random) noexcept {
        Scalar d;
        Point unused;
        if (const int rc = ecGenerateKeyPair(&curve, source, d.data(), &unused.native())) return static_cast<Error>(rc);
        return Result<PrivateKey>(std::in_place, d, curve, Unfilled{});
    }
    /**
     * Load a private key from its stored form, least significant octet first.
     *
     * @return Error::buffer_length if there are not 32 octets; Error::failed if the number is 0 or not below q.
     */
    static Result<PrivateKey> from_octets(Bytes octets, const Curve &curve = default_curve()) noexcept {
        if (octets.size() != VRX_PRIVATE_KEY_SIZE) return Error::buffer_length;
        Scalar d;
        ecLoadPrivateKeyValue(octets.data(), d.data());
        return from_scalar(d, curve);
    }
    /** Check a number and make it a private key. @return Error::failed under the conditions of from_octets(). */
    static Result<PrivateKey> from_scalar(const Scalar &d, const Curve &curve = default_curve()) noexcept {
        if (mp::is_zero(d.digits()) || mp::compare(d.digits(), curve.q) >= 0) return Error::failed;
        return Result<PrivateKey>(std::in_place, d, curve, Unfilled{});
    }

    /** For use by the functions above only: a number that was checked. */
    PrivateKey(const Scalar &d, const Curve &curve, Unfilled) noexcept : curve_(&curve), d_(d) {}
    PrivateKey(const PrivateKey &) = delete;
    PrivateKey(PrivateKey &&) noexcept = default;
    PrivateKey &operator=(const PrivateKey &) = delete;
    PrivateKey &operator=(PrivateKey &&) noexcept = default;
    ~PrivateKey() = default;

    /** Get the stored form, least significant octet first. */
    [[nodiscard]] PrivateKeyOctets octets() const noexcept {
        PrivateKeyOctets octets;
        ecUnloadPrivateKeyValue(d_.data(), octets.data());
        return octets;
    }

    /** Compute the public key d G. @return Error::failed if the curve parameter set is malformed. */
    [[nodiscard]] Result<PublicKey> public_key() const noexcept {
        Point q;
        if (const int rc = ecGeneratePublicKey(curve_, d_.data(), &q.native())) return static_cast<Error>(rc);
        return PublicKey::from_point(q, *curve_);
    }

    /** Get the number. */
    [[nodiscard]] const Scalar &scalar() const noexcept { return d_; }
    /** Get the curve of the key. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }

private:
    const Curve *curve_;
    Scalar d_;
};

namespace detail {
/** Copy a digest into the eight words that the C functions take. */
inline std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words_of(const Digest &digest) noexcept {
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words;
    std::memcpy(words.data(), digest.data(), sizeof words);
    return words;
}
}  // namespace detail

/**
 * Sign a digest with a hedged nonce, and verify the signature: vrx_hedged_sign() of hedged.h.
 *
 * @param key     in: the private key.
 * @param digest  in: the digest of the message, with the hash parameter set that the verifier will use.
 * @return the signature; Error::random if the system's random source fails or is stuck; Error::failed if the signature
 *         does not verify, after a fault of processor or memory.
 */
[[nodiscard]] inline Result<Signature> sign(const PrivateKey &key, const Digest &digest) noexcept {
    EcSignature numbers;
    if (const int rc = vrx_hedged_sign(&key.curve(), detail::words_of(digest).data(), key.scalar().data(), &numbers))
        return static_cast<Error>(rc);
    Result<Signature> signature(std::in_place);
    ecUnloadSignValue(&numbers, signature->data());
    return signature;
}

/**
 * Sign a digest with a custom source of the nonce.
 *
 * @param key     in: the private key.
 * @param digest  in: the digest of the message, with the hash parameter set that the verifier will use.
 * @param source  in: the random source of the nonce. Anyone who can predict a nonce can compute the private key.
 * @return the signature, or Error::random if the source fails.
 */
[[nodiscard]] inline Result<Signature> sign(const PrivateKey &key, const Digest &digest, RND_FUNC source) noexcept {
    EcSignature numbers;
    if (const int rc = ecSign(&key.curve(), detail::words_of(digest).data(), source, key.scalar().data(), &numbers))
        return static_cast<Error>(rc);
    Result<Signature> signature(std::in_place);
    ecUnloadSignValue(&numbers, signature->data());
    return signature;
}

/**
 * Verify a signature over a digest.
 *
 * Unlike ecVerify(), this function requires 0 < r < q and 0 < s < q, as RFC 5832, section 6.2, does.
 *
 * @param key        in: the public key.
 * @param digest     in: the digest of the message, with the hash parameter set of the signature.
 * @param signature  in: the signature.
 * @return true if the signature is valid.
 */
[[nodiscard]] inline bool verify(const PublicKey &key, const Digest &digest, const Signature &signature) noexcept {
    EcSignature numbers;
    ecLoadSignValue(signature.data(), &numbers);
    for (const auto &number : {std::span(numbers.r), std::span(numbers.s)})
        if (mp::is_zero(number) || mp::compare(number, key.curve().q) >= 0) return false;
    return ecVerify(&key.curve(), detail::words_of(digest).data(), &key.point().native(), &numbers) == VRX_OK;
}

namespace raw {
/** A predictable random source for tests: test_rnd(). **Warning:** never use it for keys or signatures. */
inline constexpr RND_FUNC test_random = test_rnd;
}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif

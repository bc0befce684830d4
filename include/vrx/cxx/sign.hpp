/**
 * @file cxx/sign.hpp  GOST R 34.10-2001: PrivateKey, PublicKey and signatures, over sign.h and octets.h.
 *
 * Keys remember their curve, which has to outlive them: the built-in ones always do. Nothing is allocated. Threads: keys
 * are plain values.
 */
#ifndef VRX_CXX_SIGN_HPP
#define VRX_CXX_SIGN_HPP

#include "vrx/cxx/point.hpp"
#include "vrx/octets.h"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/** A public key: a point that is on its curve. */
class PublicKey {
public:
    /**
     * From the octets that are stored and exchanged: x, then y, each least significant octet first.
     *
     * @return Error::buffer_length where they are not 64; Error::failed for a point that is not on the curve, and for
     *         coordinates of p and more.
     */
    static Result<PublicKey> from_octets(Bytes octets, const Curve &curve = default_curve()) noexcept {
        if (octets.size() != VRX_PUBLIC_KEY_SIZE) return Error::buffer_length;
        Point point;
        ecLoadPublicKeyValue(octets.data(), &point.native());
        return from_point(point, curve);
    }
    /** From a point. @return as from_octets(). */
    static Result<PublicKey> from_point(const Point &point, const Curve &curve = default_curve()) noexcept {
        if (mp::compare(point.native().x, curve.p) >= 0 || mp::compare(point.native().y, curve.p) >= 0 ||
            !point.is_on(curve))
            return Error::failed;
        return Result<PublicKey>(std::in_place, point, curve, Unfilled{});
    }

    /** For from_point() alone: a point that was checked. */
    PublicKey(const Point &point, const Curve &curve, Unfilled) noexcept : curve_(&curve), point_(point) {}

    /** The octets that are stored and exchanged. */
    [[nodiscard]] PublicKeyOctets octets() const noexcept {
        PublicKeyOctets octets;
        ecUnloadPublicKeyValue(&point_.native(), octets.data());
        return octets;
    }

    /** The point. */
    [[nodiscard]] const Point &point() const noexcept { return point_; }
    /** The curve that it is a key of. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }

private:
    const Curve *curve_;
    Point point_;
};

/** A private key, a number from 1 to q - 1. It is moved, not copied, and zeroed at its end. */
class PrivateKey {
public:
    /** A new key. @return Error::random when the source fails. */
    static Result<PrivateKey> generate(const Curve &curve = default_curve(), RND_FUNC source = system_random) noexcept {
        Scalar d;
        Point unused;
        if (const int rc = ecGenerateKeyPair(&curve, source, d.data(), &unused.native())) return static_cast<Error>(rc);
        return Result<PrivateKey>(std::in_place, d, curve, Unfilled{});
    }
    /**
     * From the octets that are stored: least significant octet first.
     *
     * @return Error::buffer_length where they are not 32; Error::failed for 0, and for q and more.
     */
    static Result<PrivateKey> from_octets(Bytes octets, const Curve &curve = default_curve()) noexcept {
        if (octets.size() != VRX_PRIVATE_KEY_SIZE) return Error::buffer_length;
        Scalar d;
        ecLoadPrivateKeyValue(octets.data(), d.data());
        return from_scalar(d, curve);
    }
    /** From a number. @return as from_octets(). */
    static Result<PrivateKey> from_scalar(const Scalar &d, const Curve &curve = default_curve()) noexcept {
        if (mp::is_zero(d.digits()) || mp::compare(d.digits(), curve.q) >= 0) return Error::failed;
        return Result<PrivateKey>(std::in_place, d, curve, Unfilled{});
    }

    /** For the functions above alone: a number that was checked. */
    PrivateKey(const Scalar &d, const Curve &curve, Unfilled) noexcept : curve_(&curve), d_(d) {}
    PrivateKey(const PrivateKey &) = delete;
    PrivateKey(PrivateKey &&) noexcept = default;
    PrivateKey &operator=(const PrivateKey &) = delete;
    PrivateKey &operator=(PrivateKey &&) noexcept = default;
    ~PrivateKey() = default;

    /** The octets that are stored. */
    [[nodiscard]] PrivateKeyOctets octets() const noexcept {
        PrivateKeyOctets octets;
        ecUnloadPrivateKeyValue(d_.data(), octets.data());
        return octets;
    }

    /** The public key d G. @return Error::failed on a curve whose record is not one. */
    [[nodiscard]] Result<PublicKey> public_key() const noexcept {
        Point q;
        if (const int rc = ecGeneratePublicKey(curve_, d_.data(), &q.native())) return static_cast<Error>(rc);
        return PublicKey::from_point(q, *curve_);
    }

    /** The number. */
    [[nodiscard]] const Scalar &scalar() const noexcept { return d_; }
    /** The curve that it is a key of. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }

private:
    const Curve *curve_;
    Scalar d_;
};

namespace detail {
/** A digest as the eight words that signatures are made of. */
inline std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words_of(const Digest &digest) noexcept {
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words;
    std::memcpy(words.data(), digest.data(), sizeof words);
    return words;
}
}  // namespace detail

/** Sign a digest. @return Error::random when the source fails. */
[[nodiscard]] inline Result<Signature> sign(const PrivateKey &key, const Digest &digest,
                                            RND_FUNC source = system_random) noexcept {
    EcSignature numbers;
    if (const int rc = ecSign(&key.curve(), detail::words_of(digest).data(), source, key.scalar().data(), &numbers))
        return static_cast<Error>(rc);
    Result<Signature> signature(std::in_place);
    ecUnloadSignValue(&numbers, signature->data());
    return signature;
}

/** Whether a signature over a digest is right: the one question that matters, and no error besides. */
[[nodiscard]] inline bool verify(const PublicKey &key, const Digest &digest, const Signature &signature) noexcept {
    EcSignature numbers;
    ecLoadSignValue(signature.data(), &numbers);
    return ecVerify(&key.curve(), detail::words_of(digest).data(), &key.point().native(), &numbers) == VRX_OK;
}

namespace raw {
/** test_rnd(): an RND_FUNC for tests. NEVER for keys or signatures. */
inline constexpr RND_FUNC test_random = test_rnd;
}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif

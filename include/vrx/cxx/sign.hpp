/**
 * @file curves.hpp  GOST R 34.10-2001 for C++: PrivateKey, PublicKey, signatures, key agreement; and points.
 *
 * Keys remember their curve, which has to outlive them: the built-in ones always do. Running times are those of the
 * functions beneath, see sign.h and point.h. Nothing is allocated. Threads: keys are plain values.
 */
#ifndef VRX_CURVES_HPP
#define VRX_CURVES_HPP

#include "vrx/agree.h"
#include "vrx/cipher.hpp"
#include "vrx/curve.h"
#include "vrx/hash.hpp"
#include "vrx/multiply.h"
#include "vrx/numbers.hpp"
#include "vrx/octets.h"
#include "vrx/point.h"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/* ---- Curves ----------------------------------------------------------------------------------------------------- */

/** A curve with its base point; the record may be built in, or the caller's own. */
using Curve = EcParamSet;

/** The built-in curves, RFC 4357, section 11.4. */
enum class CurveId : std::uint32_t { test, a, b, c, xch_a, xch_b };

/** DER object identifiers of the built-in curves. */
namespace oid {
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_test{ecc_Test_oid};  /**< 1.2.643.2.2.35.0 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_a{ecc_A_oid};        /**< 1.2.643.2.2.35.1 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_b{ecc_B_oid};        /**< 1.2.643.2.2.35.2 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_c{ecc_C_oid};        /**< 1.2.643.2.2.35.3 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_xch_a{ecc_XchA_oid}; /**< 1.2.643.2.2.36.0 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_xch_b{ecc_XchB_oid}; /**< 1.2.643.2.2.36.1 */
}  // namespace oid

/** The same in dotted form, in the order of CurveId. */
inline constexpr std::array<const char *, VRX_ECC_SET_COUNT> curve_dotted_oids{
    ecc_Test_str_oid, ecc_A_str_oid, ecc_B_str_oid, ecc_C_str_oid, ecc_XchA_str_oid, ecc_XchB_str_oid};

/** The built-in curves, in the order of CurveId. Writable, as curve.h says. */
inline std::span<Curve, VRX_ECC_SET_COUNT> curves() noexcept { return cp_ecc_par; }
/** Their names, as RFC 4357 writes them. */
inline std::span<const char *const, VRX_ECC_SET_COUNT> curve_names() noexcept { return cp_ecc_par_name; }

/** CryptoPro-A, the default of every function here. */
inline const Curve &default_curve() noexcept { return *get_GOSTR3410_default_par(); }
/** A built-in curve. Another number than those of CurveId gives CryptoPro-A. */
inline const Curve &curve(CurveId id) noexcept {
    const Curve *found = get_GOSTR3410_par(static_cast<std::uint32_t>(id));
    return found != nullptr ? *found : default_curve();
}
/** The curve that the program made its default, at first CryptoPro-A; the library itself does not use it. */
inline Curve *program_curve() noexcept { return default_cp_ecc_par; }
/** Make a curve the one that program_curve() gives. */
inline void set_program_curve(Curve *curve) noexcept { default_cp_ecc_par = curve; }
/** The name of a built-in curve, as RFC 4357 writes it; NULL for another number. */
inline const char *curve_name(CurveId id) noexcept { return get_GOSTR3410_oid_name(static_cast<std::uint32_t>(id)); }

/** A built-in curve by its DER identifier. NULL where there is none. */
inline const Curve *find_curve(Bytes oid) noexcept {
    Curve *found = nullptr;
    if (detail::fits(oid.size())) epFindParByOid(oid.data(), detail::count(oid), &found);
    return found;
}
/** A built-in curve by its dotted identifier. NULL where there is none. */
inline const Curve *find_curve(const char *dotted) noexcept {
    Curve *found = nullptr;
    epFindParByStrOid(dotted, &found);
    return found;
}

/* ---- Points ----------------------------------------------------------------------------------------------------- */

/** A number on a curve, nine digits, least significant first; zeroed at its end. */
class Scalar {
public:
    /** Zero. */
    Scalar() = default;
    /** The number of these digits. */
    explicit Scalar(std::span<const std::uint32_t, VRX_ECC_DIGITS> digits) noexcept {
        std::ranges::copy(digits, value_.value.begin());
    }
    /** A small number. */
    explicit Scalar(std::uint32_t digit) noexcept { value_.value[0] = digit; }

    /** From big-endian octets, at most 36. */
    static Result<Scalar> from_octets(Bytes octets) noexcept {
        if (octets.size() > 4 * std::size_t{VRX_ECC_DIGITS}) return Error::buffer_length;
        Result<Scalar> result(std::in_place);
        mp::from_octets(result->digits(), octets);
        return result;
    }

    /** Random, below q, 0 included: Getbig_RND(). @return Error::random when the source fails. */
    static Result<Scalar> random_below(std::span<const std::uint32_t, VRX_ECC_DIGITS> q,
                                       RND_FUNC source = system_random) noexcept {
        Result<Scalar> result(std::in_place);
        if (Getbig_RND(source, result->data(), q.data()) != 0) return Error::random;
        return result;
    }

    ///@{
    /** The digits, as a span and as a pointer to the first. */
    [[nodiscard]] std::span<std::uint32_t, VRX_ECC_DIGITS> digits() noexcept { return value_.value; }
    [[nodiscard]] std::span<const std::uint32_t, VRX_ECC_DIGITS> digits() const noexcept { return value_.value; }
    [[nodiscard]] std::uint32_t *data() noexcept { return value_.value.data(); }
    [[nodiscard]] const std::uint32_t *data() const noexcept { return value_.value.data(); }
    ///@}

private:
    Wiped<std::array<std::uint32_t, VRX_ECC_DIGITS>> value_;
};

/** A point in Jacobian coordinates: (x / z^2, y / z^3). Zeroed at its end. */
class JacobianPoint {
public:
    /** The point at infinity. */
    JacobianPoint() = default;
    /** A copy of a record. */
    explicit JacobianPoint(const EcPointJ &point) noexcept : point_(point) {}

    ///@{
    /** The record under it, for the functions of point.h. */
    [[nodiscard]] EcPointJ &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPointJ &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPointJ> point_;
};

/** A point of a curve, or of none: nothing is checked. (0, 0) is the point at infinity. Zeroed at its end. */
class Point {
public:
    /** The point at infinity. */
    Point() noexcept : point_(Unfilled{}) { epSetZero(&native()); }
    /** A copy of a record. */
    explicit Point(const EcPoint &point) noexcept : point_(Unfilled{}) { epSetEqual(&native(), &point); }

    /** From two decimal texts, as mp::from_decimal(). */
    static Point from_decimal(const char *x, const char *y) noexcept {
        Point point;
        epConvFromDecimal(&point.native(), x, y);
        return point;
    }
    /** The coordinates as decimal texts of at most `capacity` characters, the closing zero included; no fewer fit. */
    void to_decimal(char *x, char *y, std::size_t capacity) const noexcept {
        epConvToDecimal(&native(), x, y, capacity);
    }

    /** The record under it. */
    [[nodiscard]] bool is_infinite() const noexcept { return epIsZero(&native()) == 1; }
    /** Whether the digits are the same, not only the residues. */
    friend bool operator==(const Point &a, const Point &b) noexcept { return epIsEqual(&a.native(), &b.native()) == 1; }
    /** Whether it is on the curve. The point at infinity is not. */
    [[nodiscard]] bool is_on(const Curve &curve) const noexcept {
        return ecCheckPublicKey(&curve, &native()) == VRX_OK;
    }

    ///@{
    /** The record under it, for the functions of point.h. */
    [[nodiscard]] EcPoint &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPoint &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPoint> point_;
};

/** The same point, with z = 1. */
inline JacobianPoint to_jacobian(const Point &point) noexcept {
    JacobianPoint result;
    epA2J(&result.native(), &point.native());
    return result;
}
/** The same point; infinity where z = 0. */
inline Point to_affine(const JacobianPoint &point, const Curve &curve) noexcept {
    Point result;
    epJ2A(&result.native(), &point.native(), &curve);
    return result;
}
/** 2P, on curves with a = p - 3: see epDublJ(). */
inline JacobianPoint twice(const JacobianPoint &point, const Curve &curve) noexcept {
    JacobianPoint result;
    epDublJ(&result.native(), &point.native(), &curve);
    return result;
}
/** P + Q for Q neither infinite nor P nor -P: see epAddJA(). */
inline JacobianPoint add(const JacobianPoint &p, const Point &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJA(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** P + Q for Q neither P nor -P: see epAddJChud(). */
inline JacobianPoint add(const JacobianPoint &p, const JacobianPoint &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJChud(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** P + Q, whatever they are: see epAdd(). */
inline Point add(const Point &p, const Point &q, const Curve &curve) noexcept {
    Point result;
    epAdd(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** |k| P on any curve, k read as a signed number: see epMult(). */
inline Point multiply(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Point result;
    epMult(&result.native(), &point.native(), k.data(), &curve);
    return result;
}
/** k P on curves with a = p - 3: see epMultJ(). @return Error::failed for k = 0. */
inline Result<Point> multiply_jacobian(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Result<Point> result(std::in_place);
    if (epMultJ(&result->native(), &point.native(), k.data(), &curve) != 0) return Error::failed;
    return result;
}
/** k G from the table of a curve: see epMultPP(). */
inline Point multiply_base(const Scalar &k, const Curve &curve) noexcept {
    Point result;
    epMultPP(&result.native(), k.data(), &curve);
    return result;
}

/* ---- Keys ------------------------------------------------------------------------------------------------------- */

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

/**
 * Agree on a key with the holder of another private key (VKO GOST R 34.10-2001): both come to the same one.
 *
 * @param own       in: one's own key; its curve is the one that counts.
 * @param other     in: the other end's public key.
 * @param ukm       in: both ends use the same, not all zero.
 * @param hash_oid  in: DER identifier of a built-in parameter set of the hash.
 * @return Error::failed where ukm is zero, or the other key is not on the curve of one's own;
 *         Error::unsupported_oid.
 */
[[nodiscard]] inline Result<Key> agree(const PrivateKey &own, const PublicKey &other, const Ukm &ukm,
                                       Bytes hash_oid = oid::hash_cryptopro) noexcept {
    if (!other.point().is_on(own.curve())) return Error::failed;
    const vrx_data identifier = detail::record(hash_oid);
    Result<Key> key(std::in_place);
    if (const int rc =
            ecMakeKEK(&own.curve(), &identifier, ukm.data(), own.scalar().data(), &other.point().native(), key->data()))
        return static_cast<Error>(rc);
    return key;
}

/**
 * CryptoPro key diversification (RFC 4357, section 6.5), in place.
 *
 * @return Error::failed for a table that is not deployed; the key is then as it was.
 */
inline Result<void> diversify(Key &key, const Ukm &ukm, const vrx_tz &table = *default_cipher_set().tz) noexcept {
    return Result<void>::of(ecDiversifyKEK(&table, key.data(), ukm.data()));
}

namespace raw {
/** test_rnd(): an RND_FUNC for tests. NEVER for keys or signatures. */
inline constexpr RND_FUNC test_random = test_rnd;
/** epInitParams(): sets the built-in curves anew and prints them. @return Error::failed where a base point is wrong. */
inline Result<void> print_curves() noexcept {
    if (epInitParams() != 0) return Error::failed;
    return {};
}
/** epCalcPP(): fills the table of a curve with a = p - 3, and prints it. */
inline void fill_table(Curve &curve) noexcept { epCalcPP(&curve); }
}  // namespace raw
}  // namespace v1
}  // namespace vrx

#endif

/**
 * @file cxx/sign.hpp  GOST R 34.10-2001: PrivateKey, PublicKey and signatures, over sign.h, octets.h and keyfile.h.
 *
 * A key holds pointers to its curve and to the parameter sets that belong to it. Custom ones must outlive the key;
 * built-in ones always do. The functions allocate nothing. Threads: keys are plain values without shared state.
 */
#ifndef VRX_CXX_SIGN_HPP
#define VRX_CXX_SIGN_HPP

#include "vrx/check.h"
#include "vrx/cxx/gostr3411.hpp"
#include "vrx/cxx/params.hpp"
#include "vrx/cxx/point.hpp"
#include "vrx/hedged.h"
#include "vrx/keyfile.h"
#include "vrx/octets.h"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/** A key file in memory, PEM or DER. Its destructor zeroes it. */
class KeyFile {
public:
    /** Get the text of a PEM file. */
    [[nodiscard]] std::string_view text() const noexcept { return {file_.value.data(), size_}; }
    /** Get the octets of the file. */
    [[nodiscard]] Bytes bytes() const noexcept { return bytes_of(text()); }

    /** For use by PublicKey and PrivateKey only: the file that `write` writes. */
    template <typename Key>
    static Result<KeyFile> of(const Key &key, int form,
                              int (&write)(const Key *, int, void *, std::size_t, std::size_t *)) noexcept {
        Result<KeyFile> file(std::in_place);
        if (const int rc = write(&key, form, file->file_.value.data(), VRX_KEY_FILE_SIZE, &file->size_))
            return static_cast<Error>(rc);
        return file;
    }

private:
    Wiped<std::array<char, VRX_KEY_FILE_SIZE>> file_;
    std::size_t size_ = 0;
};

namespace detail {

/** Read a key file. */
template <typename Key>
Result<void> read_key_file(Bytes file, Key &key, int (&read)(const void *, std::size_t, Key *)) noexcept {
    return Result<void>::of(read(file.empty() ? "" : static_cast<const void *>(file.data()), file.size(), &key));
}
/** Test whether a file is a single SEQUENCE in DER. Reads its tag and length only, not the octets of a key. */
inline bool is_der(Bytes file) noexcept {
    vrx_der contents;
    return vrx_der_only({file.data(), file.size()}, 0x30, &contents) != 0;
}

}  // namespace detail

/** A public key: a point that was checked to be on its curve, with coordinates below p. */
class PublicKey {
public:
    /**
     * Read a key file in PEM or DER: vrx_read_public_key(). The file names the curve and the parameter sets of the key.
     *
     * @return one of the errors from Error::key_file to Error::key_length.
     */
    static Result<PublicKey> from_file(Bytes file) noexcept {
        vrx_public_key key;
        if (const auto done = detail::read_key_file(file, key, vrx_read_public_key); !done) return done.error();
        return Result<PublicKey>(std::in_place, Point(key.Q), *key.curve, Unfilled{}, *key.hash, *key.cipher);
    }
    /** Read a PEM file. @return the errors of from_file(); Error::key_file for DER. */
    static Result<PublicKey> from_pem(std::string_view text) noexcept {
        if (detail::is_der(bytes_of(text))) return Error::key_file;
        return from_file(bytes_of(text));
    }
    /** Read a file in DER. @return the errors of from_file(); Error::key_der for PEM. */
    static Result<PublicKey> from_der(Bytes der) noexcept {
        if (!detail::is_der(der)) return Error::key_der;
        return from_file(der);
    }
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
        if (vrx_check_public_key(&curve, &point.native()) != VRX_OK) return Error::failed;
        return Result<PublicKey>(std::in_place, point, curve, Unfilled{});
    }

    /** For use by the functions above and PrivateKey only. The point must have been checked. */
    PublicKey(const Point &point, const Curve &curve, Unfilled, const vrx_gostr3411_par &hash_set = default_hash_set(),
              const vrx_gost28147_par &cipher_set = default_cipher_set()) noexcept
        : curve_(&curve), hash_set_(&hash_set), cipher_set_(&cipher_set), point_(point) {}

    /** Get the stored form. */
    [[nodiscard]] PublicKeyOctets octets() const noexcept {
        PublicKeyOctets octets;
        ecUnloadPublicKeyValue(&point_.native(), octets.data());
        return octets;
    }

    /** Write the key as PEM: vrx_write_public_key(). @return Error::key_parameters if a set is not built in. */
    [[nodiscard]] Result<KeyFile> to_pem() const noexcept {
        return KeyFile::of(native(), VRX_KEY_PEM, vrx_write_public_key);
    }
    /** Write the key as DER. @return Error::key_parameters if a set is not built in. */
    [[nodiscard]] Result<KeyFile> to_der() const noexcept {
        return KeyFile::of(native(), VRX_KEY_DER, vrx_write_public_key);
    }

    /** Get the point. */
    [[nodiscard]] const Point &point() const noexcept { return point_; }
    /** Get the curve of the key. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }
    /**
     * Get the hash parameter set for signatures with this key. A key that does not come from a file has the default
     * set.
     */
    [[nodiscard]] const vrx_gostr3411_par &hash_set() const noexcept { return *hash_set_; }
    /** Get the cipher parameter set for messages to the owner of the key. */
    [[nodiscard]] const vrx_gost28147_par &cipher_set() const noexcept { return *cipher_set_; }
    /** Copy the key into the C record, for the functions of keyfile.h. */
    [[nodiscard]] vrx_public_key native() const noexcept { return {curve_, hash_set_, cipher_set_, point_.native()}; }

private:
    const Curve *curve_;
    const vrx_gostr3411_par *hash_set_;
    const vrx_gost28147_par *cipher_set_;
    Point point_;
};

/** A private key, a number from 1 to q - 1. It can be moved, not copied. Its destructor zeroes it. */
class PrivateKey {
public:
    /**
     * Read a key file in PEM or DER: vrx_read_private_key(). The file names the curve and the parameter sets of the
     * key. The caller must wipe the contents of the file.
     *
     * @return one of the errors from Error::key_file to Error::key_length.
     */
    static Result<PrivateKey> from_file(Bytes file) noexcept {
        Wiped<vrx_private_key> key(Unfilled{});
        if (const auto done = detail::read_key_file(file, key.value, vrx_read_private_key); !done) return done.error();
        return Result<PrivateKey>(std::in_place, Scalar(key.value.d), *key.value.curve, Unfilled{}, *key.value.hash,
                                  *key.value.cipher);
    }
    /** Read a PEM file. @return the errors of from_file(); Error::key_file for DER. */
    static Result<PrivateKey> from_pem(std::string_view text) noexcept {
        if (detail::is_der(bytes_of(text))) return Error::key_file;
        return from_file(bytes_of(text));
    }
    /** Read a file in DER. @return the errors of from_file(); Error::key_der for PEM. */
    static Result<PrivateKey> from_der(Bytes der) noexcept {
        if (!detail::is_der(der)) return Error::key_der;
        return from_file(der);
    }
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
        if (vrx_check_private_key(&curve, d.data()) != VRX_OK) return Error::failed;
        return Result<PrivateKey>(std::in_place, d, curve, Unfilled{});
    }

    /** For use by the functions above only. The number must have been checked. */
    PrivateKey(const Scalar &d, const Curve &curve, Unfilled, const vrx_gostr3411_par &hash_set = default_hash_set(),
               const vrx_gost28147_par &cipher_set = default_cipher_set()) noexcept
        : curve_(&curve), hash_set_(&hash_set), cipher_set_(&cipher_set), d_(d) {}
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

    /**
     * Compute the public key d G, with the same parameter sets.
     *
     * @return Error::failed if the curve parameter set is malformed.
     */
    [[nodiscard]] Result<PublicKey> public_key() const noexcept {
        Point q;
        if (const int rc = ecGeneratePublicKey(curve_, d_.data(), &q.native())) return static_cast<Error>(rc);
        if (vrx_check_public_key(curve_, &q.native()) != VRX_OK) return Error::failed;
        return Result<PublicKey>(std::in_place, q, *curve_, Unfilled{}, *hash_set_, *cipher_set_);
    }

    /**
     * Write the key as PEM, not encrypted: vrx_write_private_key().
     *
     * @return Error::key_parameters if a set is not built in.
     */
    [[nodiscard]] Result<KeyFile> to_pem() const noexcept {
        return KeyFile::of(native().value, VRX_KEY_PEM, vrx_write_private_key);
    }
    /** Write the key as DER, not encrypted. @return Error::key_parameters if a set is not built in. */
    [[nodiscard]] Result<KeyFile> to_der() const noexcept {
        return KeyFile::of(native().value, VRX_KEY_DER, vrx_write_private_key);
    }

    /** Get the number. */
    [[nodiscard]] const Scalar &scalar() const noexcept { return d_; }
    /** Get the curve of the key. */
    [[nodiscard]] const Curve &curve() const noexcept { return *curve_; }
    /**
     * Get the hash parameter set for signatures with this key. A key that does not come from a file has the default
     * set.
     */
    [[nodiscard]] const vrx_gostr3411_par &hash_set() const noexcept { return *hash_set_; }
    /** Get the cipher parameter set for messages to the owner of the key. */
    [[nodiscard]] const vrx_gost28147_par &cipher_set() const noexcept { return *cipher_set_; }
    /** Copy the key into the C record, for the functions of keyfile.h. */
    [[nodiscard]] Wiped<vrx_private_key> native() const noexcept {
        Wiped<vrx_private_key> key(Unfilled{});
        key.value = {curve_, hash_set_, cipher_set_, {}};
        std::ranges::copy(d_.digits(), key.value.d);
        return key;
    }

private:
    const Curve *curve_;
    const vrx_gostr3411_par *hash_set_;
    const vrx_gost28147_par *cipher_set_;
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
    if (vrx_check_signature(&key.curve(), &numbers) != VRX_OK) return false;
    return ecVerify(&key.curve(), detail::words_of(digest).data(), &key.point().native(), &numbers) == VRX_OK;
}

/**
 * Hash a message with the hash parameter set of the key, and sign the digest: sign().
 *
 * @param key      in: the private key.
 * @param message  in: the message.
 * @return the results of sign().
 */
[[nodiscard]] inline Result<Signature> sign_message(const PrivateKey &key, Bytes message) noexcept {
    return sign(key, hash(message, *key.hash_set().tz));
}

/**
 * Hash a message with the hash parameter set of the key, and verify a signature over the digest: verify().
 *
 * @param key        in: the public key.
 * @param message    in: the message.
 * @param signature  in: the signature.
 * @return true if the signature is valid.
 */
[[nodiscard]] inline bool verify_message(const PublicKey &key, Bytes message, const Signature &signature) noexcept {
    return verify(key, hash(message, *key.hash_set().tz), signature);
}

namespace raw {
/** A predictable random source for tests: test_rnd(). **Warning:** never use it for keys or signatures. */
inline constexpr RND_FUNC test_random = test_rnd;
}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif

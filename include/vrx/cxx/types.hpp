/**
 * @file cxx/types.hpp  Types for bytes, keys, IVs and digests. Their destructors zero them.
 *
 * Only to_hex() allocates memory. Threads: plain values without shared state.
 */
#ifndef VRX_CXX_TYPES_HPP
#define VRX_CXX_TYPES_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "vrx/agree.h"
#include "vrx/cxx/frame.hpp"
#include "vrx/kernel.h"
#include "vrx/octets.h"
#include "vrx/random.h"
#include "vrx/sha1.h"

namespace vrx {
inline namespace v1 {

/** Bytes to read. */
using Bytes = std::span<const std::uint8_t>;
/** Bytes to write. */
using MutableBytes = std::span<std::uint8_t>;

/** View a string as bytes. The string must outlive the view. */
inline Bytes bytes_of(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

/** Zero `size` bytes. The compiler never removes the writes. */
inline void wipe(void *bytes, std::size_t size) noexcept {
    std::memset(bytes, 0, size);
    // For the compiler, this statement may read the bytes, so the compiler must write them.
    asm volatile("" : : "r"(bytes) : "memory");
}

/** Fill a buffer with random bytes of the operating system: vrx_system_random(). @return 0, or -1 on failure. */
inline int system_random(void *buffer, std::uint32_t length) noexcept { return vrx_system_random(buffer, length); }

/** Convert bytes to lower-case hexadecimal. Allocates memory; if the bytes are secret, wipe the string. */
inline std::string to_hex(Bytes bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

/**
 * Convert hexadecimal digits to bytes.
 *
 * @param text  in: two digits for each byte of out, of either case, and nothing else.
 * @param out   out: the bytes; zeroed on failure.
 * @return Error::buffer_length for a string of another length; Error::bad_params for other characters.
 */
inline Result<void> from_hex(std::string_view text, MutableBytes out) noexcept {
    const auto digit = [](char c) {
        return c >= '0' && c <= '9'   ? c - '0'
               : c >= 'a' && c <= 'f' ? c - 'a' + 10
               : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                      : -1;
    };
    if (text.size() % 2 != 0 || text.size() / 2 != out.size())
        return wipe(out.data(), out.size()), Error::buffer_length;
    for (std::size_t i = 0; i < out.size(); i++) {
        const int high = digit(text[2 * i]);
        const int low = digit(text[2 * i + 1]);
        if (high < 0 || low < 0) return wipe(out.data(), out.size()), Error::bad_params;
        out[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return {};
}

/** Compare two byte strings. The running time depends only on their lengths. */
[[nodiscard]] inline bool equal_in_constant_time(Bytes a, Bytes b) noexcept {
    if (a.size() != b.size()) return false;
    unsigned differences = 0;
    for (std::size_t i = 0; i < a.size(); i++) differences |= static_cast<unsigned>(a[i] ^ b[i]);
    return differences == 0;
}

/** A tag that selects a constructor which leaves the record uninitialized, because a function will fill it. */
struct Unfilled {};

/**
 * A record that is zeroed by its destructor and when it is moved from. The first `public_bytes` bytes are not zeroed:
 * they hold a table, which is not secret.
 */
template <typename Record, std::size_t public_bytes = 0>
requires std::is_trivially_copyable_v<Record>
struct Wiped {
    Record value; /**< the record */

    Wiped() noexcept : value{} {}
    /** Leave the record uninitialized. */
    explicit Wiped(Unfilled) noexcept {}  // NOLINT(cppcoreguidelines-pro-type-member-init)
    /** Copy a record. */
    explicit Wiped(const Record &record) noexcept : value(record) {}
    Wiped(const Wiped &) noexcept = default;
    /** Copy the other record, then zero it. */
    Wiped(Wiped &&other) noexcept : value(other.value) { other.forget(); }
    Wiped &operator=(const Wiped &) noexcept = default;
    /** Copy the other record, then zero it. */
    Wiped &operator=(Wiped &&other) noexcept {
        if (this != &other) {
            value = other.value;
            other.forget();
        }
        return *this;
    }
    ~Wiped() { forget(); }

    /** Zero the bytes that may be secret. */
    void forget() noexcept { wipe(reinterpret_cast<std::byte *>(&value) + public_bytes, sizeof value - public_bytes); }
};

namespace detail {

/** Get element i of an array. If the index is too large, the process ends. */
template <typename Byte>
Byte &checked(Byte *bytes, std::size_t i, std::size_t size) noexcept {
    if (i >= size) std::abort();
    return bytes[i];
}

}  // namespace detail

/**
 * A fixed number of bytes for one purpose. An Iv cannot be passed as a Block, although both have 8 bytes. The bytes are
 * initially zero.
 *
 * The destructor zeroes the bytes. Comparison takes constant time.
 */
template <typename Meaning, std::size_t size_>
class Octets {
public:
    static constexpr std::size_t extent = size_; /**< number of bytes */

    Octets() = default;
    /** Copy a std::array, an array or a span of the right size. */
    explicit Octets(std::span<const std::uint8_t, size_> bytes) noexcept { std::ranges::copy(bytes, begin()); }
    /** Copy a list of bytes: Iv({1, 2, 3, 4, 5, 6, 7, 8}). */
    explicit Octets(const std::uint8_t (&bytes)[size_]) noexcept : Octets(std::span{bytes}) {}

    /** Copy a span of any size. @return Error::buffer_length if there are not `extent` bytes. */
    static Result<Octets> from(Bytes bytes) noexcept {
        if (bytes.size() != size_) return Error::buffer_length;
        return Result<Octets>(std::in_place, bytes.first<size_>());
    }

    /** Convert from hexadecimal, with the errors of from_hex(). */
    static Result<Octets> from_hex(std::string_view text) noexcept {
        Result<Octets> result(std::in_place);
        if (const auto read = v1::from_hex(text, *result); !read) return read.error();
        return result;
    }

    /** Draw random bytes, for example for an IV. @return Error::random if the source fails. */
    static Result<Octets> random(RND_FUNC source = system_random) noexcept {
        Result<Octets> result(std::in_place);
        if (source(result->data(), size_) != 0) return Error::random;
        return result;
    }

    ///@{
    /** Access the bytes as a range. */
    [[nodiscard]] std::uint8_t *data() noexcept { return bytes_.value.data(); }
    [[nodiscard]] const std::uint8_t *data() const noexcept { return bytes_.value.data(); }
    [[nodiscard]] static constexpr std::size_t size() noexcept { return size_; }
    [[nodiscard]] std::uint8_t *begin() noexcept { return data(); }
    [[nodiscard]] const std::uint8_t *begin() const noexcept { return data(); }
    [[nodiscard]] std::uint8_t *end() noexcept { return data() + size_; }
    [[nodiscard]] const std::uint8_t *end() const noexcept { return data() + size_; }
    ///@}

    ///@{
    /** Access a byte. If the index is too large, the process ends. */
    [[nodiscard]] std::uint8_t &operator[](std::size_t i) noexcept { return detail::checked(data(), i, size()); }
    [[nodiscard]] std::uint8_t operator[](std::size_t i) const noexcept { return detail::checked(data(), i, size()); }
    ///@}

    /** Compare all bytes in constant time. */
    friend bool operator==(const Octets &a, const Octets &b) noexcept { return equal_in_constant_time(a, b); }

private:
    Wiped<std::array<std::uint8_t, size_>> bytes_;
};

/** A block of the cipher. */
using Block = Octets<struct BlockMeaning, VRX_BLOCK_SIZE>;
/** An initialization vector (IV). **Warning:** never use an IV twice with the same key. */
using Iv = Octets<struct IvMeaning, VRX_BLOCK_SIZE>;
/** The MAC of GOST 28147-89, all 8 bytes of it. Many formats keep the first 4. */
using MacValue = Octets<struct MacMeaning, VRX_BLOCK_SIZE>;
/** User keying material (UKM): 8 public bytes, not all zero. Use a new value for each agreement. */
using Ukm = Octets<struct UkmMeaning, VRX_UKM_SIZE>;
/** A digest of GOST R 34.11-94, or an HMAC with that hash. The least significant byte comes first. */
using Digest = Octets<struct DigestMeaning, 32>;
/** A digest of SHA-1. */
using Sha1Digest = Octets<struct Sha1Meaning, VRX_SHA1_SIZE>;
/** A signature in its stored form: s, then r, each most significant octet first. */
using Signature = Octets<struct SignatureMeaning, VRX_SIGNATURE_SIZE>;
/** A private key in its stored form: least significant octet first. */
using PrivateKeyOctets = Octets<struct PrivateKeyMeaning, VRX_PRIVATE_KEY_SIZE>;
/** A public key in its stored form: x, then y, each least significant octet first. */
using PublicKeyOctets = Octets<struct PublicKeyMeaning, VRX_PUBLIC_KEY_SIZE>;

/**
 * A key of the cipher: 32 bytes, which the cipher reads as eight words (bytes 0 to 3 are K0, least significant first).
 *
 * The destructor zeroes the key. A key can be moved; to copy it, call copy().
 */
class Key {
public:
    /** Construct a key of zeros, to be filled later. */
    Key() = default;
    /** Copy 32 bytes from a std::array, an array or a span. */
    explicit Key(std::span<const std::uint8_t, VRX_KEY_SIZE> bytes) noexcept { std::ranges::copy(bytes, begin()); }
    /** Copy the eight words K0 to K7. */
    explicit Key(std::span<const std::uint32_t, VRX_KEY_WORDS> words) noexcept {
        std::ranges::copy(words, words_.value.begin());
    }
    Key(const Key &) = delete;
    Key(Key &&) noexcept = default;
    Key &operator=(const Key &) = delete;
    Key &operator=(Key &&) noexcept = default;
    ~Key() = default;

    /** Copy a span of any size. @return Error::buffer_length if there are not 32 bytes. */
    static Result<Key> from(Bytes bytes) noexcept {
        if (bytes.size() != VRX_KEY_SIZE) return Error::buffer_length;
        return Result<Key>(std::in_place, bytes.first<VRX_KEY_SIZE>());
    }

    /** Convert from 64 hexadecimal digits, with the errors of from_hex(). */
    static Result<Key> from_hex(std::string_view text) noexcept {
        Result<Key> result(std::in_place);
        if (const auto read = v1::from_hex(text, *result); !read) return read.error();
        return result;
    }

    /** Generate a key. @return Error::random if the source fails. */
    static Result<Key> random(RND_FUNC source = system_random) noexcept {
        Result<Key> result(std::in_place);
        if (source(result->data(), VRX_KEY_SIZE) != 0) return Error::random;
        return result;
    }

    /** Copy the key. */
    [[nodiscard]] Key copy() const noexcept { return Key(std::span{words_.value}); }

    ///@{
    /** Access the eight words, as the C functions take them. */
    [[nodiscard]] std::uint32_t *words() noexcept { return words_.value.data(); }
    [[nodiscard]] const std::uint32_t *words() const noexcept { return words_.value.data(); }
    ///@}

    ///@{
    /** Access the bytes as a range. */
    [[nodiscard]] std::uint8_t *data() noexcept { return reinterpret_cast<std::uint8_t *>(words()); }
    [[nodiscard]] const std::uint8_t *data() const noexcept { return reinterpret_cast<const std::uint8_t *>(words()); }
    [[nodiscard]] static constexpr std::size_t size() noexcept { return VRX_KEY_SIZE; }
    [[nodiscard]] std::uint8_t *begin() noexcept { return data(); }
    [[nodiscard]] const std::uint8_t *begin() const noexcept { return data(); }
    [[nodiscard]] std::uint8_t *end() noexcept { return data() + size(); }
    [[nodiscard]] const std::uint8_t *end() const noexcept { return data() + size(); }
    ///@}

    ///@{
    /** Access a byte. If the index is too large, the process ends. */
    [[nodiscard]] std::uint8_t &operator[](std::size_t i) noexcept { return detail::checked(data(), i, size()); }
    [[nodiscard]] std::uint8_t operator[](std::size_t i) const noexcept { return detail::checked(data(), i, size()); }
    ///@}

    /** Compare all bytes in constant time. */
    friend bool operator==(const Key &a, const Key &b) noexcept { return equal_in_constant_time(a, b); }

private:
    Wiped<std::array<std::uint32_t, VRX_KEY_WORDS>> words_;
};

namespace detail {

/** The size of the longest piece passed to a C function. It is a multiple of all block sizes and fits in 32 bits. */
inline constexpr std::size_t longest_piece = std::size_t{1} << 31;

/**
 * Call `take(pointer, count)` for pieces whose counts fit in 32 bits. If there are no bytes, the function does not call
 * it.
 */
template <typename Take>
void in_pieces(Bytes bytes, Take take) {
    while (!bytes.empty()) {
        const Bytes piece = bytes.first(std::min(bytes.size(), longest_piece));
        take(piece.data(), static_cast<std::uint32_t>(piece.size()));
        bytes = bytes.subspan(piece.size());
    }
}

/** Convert a span to a vrx_data. The C functions do not write to the bytes of a const vrx_data. */
inline vrx_data record(Bytes bytes) noexcept {
    const std::size_t most = 0xFFFFFFFF;
    return {static_cast<std::uint32_t>(std::min(bytes.size(), most)), const_cast<std::uint8_t *>(bytes.data())};
}

/** Test whether a count fits in the 32 bits of the C functions. */
inline bool fits(std::size_t count) noexcept { return count <= 0xFFFFFFFF; }

inline std::uint32_t count(Bytes bytes) noexcept { return static_cast<std::uint32_t>(bytes.size()); }

}  // namespace detail

}  // namespace v1
}  // namespace vrx

#endif

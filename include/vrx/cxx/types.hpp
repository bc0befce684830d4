/**
 * @file cxx/types.hpp  Bytes, keys, vectors and digests as types of their own, which zero themselves when they go.
 *
 * Nothing here allocates but to_hex(). Threads: plain values; no shared state.
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

/** The bytes of a text, which has to outlive them. */
inline Bytes bytes_of(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

/** Zero `size` bytes; no optimisation removes it. */
inline void wipe(void *bytes, std::size_t size) noexcept {
    std::memset(bytes, 0, size);
    // Something outside the compiler's view may read the bytes, so they must be written.
    asm volatile("" : : "r"(bytes) : "memory");
}

/** Random bytes from the operating system, an RND_FUNC: vrx_system_random() of random.h. @return 0, or -1. */
inline int system_random(void *buffer, std::uint32_t length) noexcept { return vrx_system_random(buffer, length); }

/** The bytes in hexadecimal, lower case. Allocates; a secret's text is the caller's to wipe. */
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
 * The bytes that a text of hexadecimal digits stands for.
 *
 * @param text  in: two digits for each byte of out, of either case, and nothing else.
 * @param out   out: as many bytes as are wanted.
 * @return Error::buffer_length for a text of another length, Error::bad_params for other characters; out is then zeroed.
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

/** Whether two byte strings are the same. The time depends on their lengths alone. */
[[nodiscard]] inline bool equal_in_constant_time(Bytes a, Bytes b) noexcept {
    if (a.size() != b.size()) return false;
    unsigned differences = 0;
    for (std::size_t i = 0; i < a.size(); i++) differences |= static_cast<unsigned>(a[i] ^ b[i]);
    return differences == 0;
}

/** Says that a record is left as it is, for a function that fills it. */
struct Unfilled {};

/**
 * A record whose bytes from `public_bytes` on are zeroed when it goes, and when it is moved from. The bytes before are a
 * table, which is no secret.
 */
template <typename Record, std::size_t public_bytes = 0>
requires std::is_trivially_copyable_v<Record>
struct Wiped {
    Record value; /**< the record */

    Wiped() noexcept : value{} {}
    /** A record whose bytes are anything. */
    explicit Wiped(Unfilled) noexcept {}  // NOLINT(cppcoreguidelines-pro-type-member-init)
    /** A copy of a record. */
    explicit Wiped(const Record &record) noexcept : value(record) {}
    Wiped(const Wiped &) noexcept = default;
    /** A copy, after which the other is zeroed. */
    Wiped(Wiped &&other) noexcept : value(other.value) { other.forget(); }
    Wiped &operator=(const Wiped &) noexcept = default;
    /** A copy, after which the other is zeroed. */
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

/** Element i of an array. */
template <typename Byte>
Byte &checked(Byte *bytes, std::size_t i, std::size_t size) noexcept {
    if (i >= size) std::abort();
    return bytes[i];
}

}  // namespace detail

/**
 * A string of bytes of a fixed size and a meaning of its own: an Iv is no Digest, though both are bytes. Zeros at first.
 *
 * It zeroes itself at its end, and compares in constant time.
 */
template <typename Meaning, std::size_t size_>
class Octets {
public:
    static constexpr std::size_t extent = size_; /**< bytes in it */

    Octets() = default;
    /** A copy of bytes of the right size: a std::array, an array, or a span. */
    explicit Octets(std::span<const std::uint8_t, size_> bytes) noexcept { std::ranges::copy(bytes, begin()); }
    /** These bytes: Iv({1, 2, 3, 4, 5, 6, 7, 8}). */
    explicit Octets(const std::uint8_t (&bytes)[size_]) noexcept : Octets(std::span{bytes}) {}

    /** A copy of any bytes. @return Error::buffer_length where they are not `extent` bytes. */
    static Result<Octets> from(Bytes bytes) noexcept {
        if (bytes.size() != size_) return Error::buffer_length;
        return Result<Octets>(std::in_place, bytes.first<size_>());
    }

    /** From a text of hexadecimal digits, as from_hex(). */
    static Result<Octets> from_hex(std::string_view text) noexcept {
        Result<Octets> result(std::in_place);
        if (const auto read = v1::from_hex(text, *result); !read) return read.error();
        return result;
    }

    /** Random ones, for keying material and vectors. @return Error::random when the source fails. */
    static Result<Octets> random(RND_FUNC source = system_random) noexcept {
        Result<Octets> result(std::in_place);
        if (source(result->data(), size_) != 0) return Error::random;
        return result;
    }

    ///@{
    /** The bytes, as a range. */
    [[nodiscard]] std::uint8_t *data() noexcept { return bytes_.value.data(); }
    [[nodiscard]] const std::uint8_t *data() const noexcept { return bytes_.value.data(); }
    [[nodiscard]] static constexpr std::size_t size() noexcept { return size_; }
    [[nodiscard]] std::uint8_t *begin() noexcept { return data(); }
    [[nodiscard]] const std::uint8_t *begin() const noexcept { return data(); }
    [[nodiscard]] std::uint8_t *end() noexcept { return data() + size_; }
    [[nodiscard]] const std::uint8_t *end() const noexcept { return data() + size_; }
    ///@}

    ///@{
    /** A byte; ends the process where there is none. */
    [[nodiscard]] std::uint8_t &operator[](std::size_t i) noexcept { return detail::checked(data(), i, size()); }
    [[nodiscard]] std::uint8_t operator[](std::size_t i) const noexcept { return detail::checked(data(), i, size()); }
    ///@}

    /** Whether all bytes are the same; in constant time. */
    friend bool operator==(const Octets &a, const Octets &b) noexcept { return equal_in_constant_time(a, b); }

private:
    Wiped<std::array<std::uint8_t, size_>> bytes_;
};

/** A block of the cipher. */
using Block = Octets<struct BlockMeaning, VRX_BLOCK_SIZE>;
/** An initialisation vector, or "synchronisation value": never twice under one key. */
using Iv = Octets<struct IvMeaning, VRX_BLOCK_SIZE>;
/** The MAC of GOST 28147-89, all 8 bytes of it. Many formats keep the first 4. */
using MacValue = Octets<struct MacMeaning, VRX_BLOCK_SIZE>;
/** User keying material: 8 bytes that are not secret, and not all zero. */
using Ukm = Octets<struct UkmMeaning, VRX_UKM_SIZE>;
/** A digest of GOST R 34.11-94, or a MAC made of it. The least significant byte of the number comes first. */
using Digest = Octets<struct DigestMeaning, 32>;
/** A digest of SHA-1. */
using Sha1Digest = Octets<struct Sha1Meaning, VRX_SHA1_SIZE>;
/** A signature as it is stored and exchanged: s, then r, each most significant octet first. */
using Signature = Octets<struct SignatureMeaning, VRX_SIGNATURE_SIZE>;
/** A private key as it is stored: least significant octet first. */
using PrivateKeyOctets = Octets<struct PrivateKeyMeaning, VRX_PRIVATE_KEY_SIZE>;
/** A public key as it is stored and exchanged: x, then y, each least significant octet first. */
using PublicKeyOctets = Octets<struct PublicKeyMeaning, VRX_PUBLIC_KEY_SIZE>;

/**
 * A key of the cipher: 32 bytes, that are eight words for the cipher (bytes 0 to 3 are K0, least significant first).
 * Zeroed at its end. It can be moved, and copied where one says so with copy().
 */
class Key {
public:
    /** All zeros: a place to write a key to. */
    Key() = default;
    /** A copy of 32 bytes: a std::array, an array, or a span. */
    explicit Key(std::span<const std::uint8_t, VRX_KEY_SIZE> bytes) noexcept { std::ranges::copy(bytes, begin()); }
    /** The eight words K0 to K7. */
    explicit Key(std::span<const std::uint32_t, VRX_KEY_WORDS> words) noexcept {
        std::ranges::copy(words, words_.value.begin());
    }
    Key(const Key &) = delete;
    Key(Key &&) noexcept = default;
    Key &operator=(const Key &) = delete;
    Key &operator=(Key &&) noexcept = default;
    ~Key() = default;

    /** A copy of any bytes. @return Error::buffer_length where they are not 32. */
    static Result<Key> from(Bytes bytes) noexcept {
        if (bytes.size() != VRX_KEY_SIZE) return Error::buffer_length;
        return Result<Key>(std::in_place, bytes.first<VRX_KEY_SIZE>());
    }

    /** From a text of 64 hexadecimal digits, as from_hex(). */
    static Result<Key> from_hex(std::string_view text) noexcept {
        Result<Key> result(std::in_place);
        if (const auto read = v1::from_hex(text, *result); !read) return read.error();
        return result;
    }

    /** A new key. @return Error::random when the source fails. */
    static Result<Key> random(RND_FUNC source = system_random) noexcept {
        Result<Key> result(std::in_place);
        if (source(result->data(), VRX_KEY_SIZE) != 0) return Error::random;
        return result;
    }

    /** Another key of the same bytes. */
    [[nodiscard]] Key copy() const noexcept { return Key(std::span{words_.value}); }

    ///@{
    /** The eight words, as the functions of the C headers take them. */
    [[nodiscard]] std::uint32_t *words() noexcept { return words_.value.data(); }
    [[nodiscard]] const std::uint32_t *words() const noexcept { return words_.value.data(); }
    ///@}

    ///@{
    /** The bytes, as a range. */
    [[nodiscard]] std::uint8_t *data() noexcept { return reinterpret_cast<std::uint8_t *>(words()); }
    [[nodiscard]] const std::uint8_t *data() const noexcept { return reinterpret_cast<const std::uint8_t *>(words()); }
    [[nodiscard]] static constexpr std::size_t size() noexcept { return VRX_KEY_SIZE; }
    [[nodiscard]] std::uint8_t *begin() noexcept { return data(); }
    [[nodiscard]] const std::uint8_t *begin() const noexcept { return data(); }
    [[nodiscard]] std::uint8_t *end() noexcept { return data() + size(); }
    [[nodiscard]] const std::uint8_t *end() const noexcept { return data() + size(); }
    ///@}

    ///@{
    /** A byte; ends the process where there is none. */
    [[nodiscard]] std::uint8_t &operator[](std::size_t i) noexcept { return detail::checked(data(), i, size()); }
    [[nodiscard]] std::uint8_t operator[](std::size_t i) const noexcept { return detail::checked(data(), i, size()); }
    ///@}

    /** Whether all bytes are the same; in constant time. */
    friend bool operator==(const Key &a, const Key &b) noexcept { return equal_in_constant_time(a, b); }

private:
    Wiped<std::array<std::uint32_t, VRX_KEY_WORDS>> words_;
};

namespace detail {

/** The longest piece that goes to a function of the C headers at once: whole blocks, and its count fits. */
inline constexpr std::size_t longest_piece = std::size_t{1} << 31;

/** Calls `take(pointer, count)` for pieces whose counts fit in 32 bits; not at all for no bytes. */
template <typename Take>
void in_pieces(Bytes bytes, Take take) {
    while (!bytes.empty()) {
        const Bytes piece = bytes.first(std::min(bytes.size(), longest_piece));
        take(piece.data(), static_cast<std::uint32_t>(piece.size()));
        bytes = bytes.subspan(piece.size());
    }
}

/** A buffer as the C headers want it. They do not write to what they take as const vrx_data. */
inline vrx_data record(Bytes bytes) noexcept {
    const std::size_t most = 0xFFFFFFFF;
    return {static_cast<std::uint32_t>(std::min(bytes.size(), most)), const_cast<std::uint8_t *>(bytes.data())};
}

/** Whether a count fits where the C headers take 32 bits. */
inline bool fits(std::size_t count) noexcept { return count <= 0xFFFFFFFF; }

inline std::uint32_t count(Bytes bytes) noexcept { return static_cast<std::uint32_t>(bytes.size()); }

}  // namespace detail

}  // namespace v1
}  // namespace vrx

#endif

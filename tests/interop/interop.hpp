// Common parts of the comparisons with other libraries: random cases, and this library's results for them.
//
// This library gets each message in pieces of random lengths, the other library gets it as a whole. The environment
// variable VRX_INTEROP_CASES sets the number of cases for every test and parameter set; the default is small.
#ifndef VRX_TESTS_INTEROP_HPP
#define VRX_TESTS_INTEROP_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "ecc/ecc_support.hpp"
#include "support/hex.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace vrx::interop {

using test::Bytes;
using test::Digits;
using test::hex;
using test::Random;

/** Prints name and version of a peer; `./dev interop` collects these lines. */
inline void introduce(const std::string& peer) { std::cout << "[  peer    ] " << peer << '\n'; }

/** The number of cases of a test for each parameter set; `few` is the default. */
inline unsigned cases(unsigned few) {
    const char* const wanted = std::getenv("VRX_INTEROP_CASES");
    return wanted != nullptr ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : few;
}

/** A fast random source for peers. */
inline void fill(void* out, std::size_t size) {
    static Random random;
    random.fill({static_cast<std::uint8_t*>(out), size});
}

inline std::uint32_t size32(std::span<const std::uint8_t> data) { return static_cast<std::uint32_t>(data.size()); }

/** Compares two results; the message has the position of the first difference. */
inline testing::AssertionResult same(std::span<const std::uint8_t> ours, std::span<const std::uint8_t> theirs) {
    const auto place = std::ranges::mismatch(ours, theirs);
    if (place.in1 == ours.end() && place.in2 == theirs.end()) return testing::AssertionSuccess();
    const auto at = place.in1 - ours.begin();
    const auto start = [at](std::span<const std::uint8_t> bytes) {
        const auto rest = bytes.subspan(static_cast<std::size_t>(at));
        return hex(rest.first(std::min<std::size_t>(rest.size(), 32)));
    };
    return testing::AssertionFailure() << "of " << ours.size() << " bytes, those from " << at << " differ:\n"
                                       << start(ours) << " here, and in the peer\n"
                                       << start(theirs);
}

/**
 * Returns a message length: short, near a block boundary, near a boundary of 1 KiB sections, or any length. It is
 * rarely 0.
 */
inline std::size_t any_length(Random& random) {
    switch (random.below(8)) {
        case 0:
            return random.below(4);
        case 1:
        case 2:
            return 1 + random.below(70);
        case 3:
        case 4:
            return 32 * (1 + random.below(8)) - 2 + random.below(5);
        case 5:
        case 6:
            return 1024 * (1 + random.below(3)) - 17 + random.below(35);
        default:
            return 1 + random.below(random.below(10) == 0 ? 20000 : 3500);
    }
}
inline Bytes message(Random& random) { return random.bytes(any_length(random)); }
inline Bytes message_not_empty(Random& random) { return random.bytes(std::max(any_length(random), std::size_t{1})); }
/** A length of at least one block, without incomplete blocks. */
inline Bytes whole_blocks(Random& random) { return random.bytes((any_length(random) / 8 + 1) * 8); }

/** Calls take(piece) for pieces of random lengths, none of them empty. */
template <typename Take>
void in_pieces(Random& random, std::span<const std::uint8_t> data, Take take) {
    while (!data.empty()) {
        const std::size_t longest = random.below(4) == 0 ? data.size() : std::min<std::size_t>(data.size(), 40);
        const std::size_t size = 1 + random.below(static_cast<std::uint32_t>(longest));
        take(data.first(size));
        data = data.subspan(size);
    }
}

// --- the cipher
// -------------------------------------------------------------------------------------------------------

/** S-boxes and their names in other libraries. */
struct Sboxes {
    const char* letter;  // A, B, ...
    const char* oid;     // cipher parameter set
    const char* name;    // in RFC 4357 or RFC 7836
    const vrx_tz* table;
};

/** id-tc26-gost-28147-param-Z of RFC 7836, which is not built in. */
inline const vrx_tz& table_z() {
    static const vrx_tz table = [] {
        vrx_tz t{};
        EXPECT_EQ(vrx_crpt_init_new_TZ("C6BC75814838FDE762525F2E2381A65D"
                                       "A92D89605AF41295B5AF6C189CD6DAC3"
                                       "E1E70BF48E10974FD47A38BA7745E106"
                                       "0BC3B4D93D9E43ACF0692E3B1F0BC072",
                                       &t),
                  VRX_OK);
        return t;
    }();
    return table;
}

inline const Sboxes& sboxes(char letter) {
    static const Sboxes all[] = {{"T", "1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet", &TZ_28147_89[0]},
                                 {"A", "1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet", &TZ_28147_89[1]},
                                 {"B", "1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet", &TZ_28147_89[2]},
                                 {"C", "1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet", &TZ_28147_89[3]},
                                 {"D", "1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet", &TZ_28147_89[4]},
                                 {"Z", "1.2.643.7.1.2.5.1.1", "id-tc26-gost-28147-param-Z", &table_z()}};
    return *std::ranges::find(all, letter, [](const Sboxes& s) { return s.letter[0]; });
}

/** Calls check(random, sboxes) for random cases with each of the given S-boxes. */
template <typename Check>
void for_sboxes(const std::string& letters, unsigned few, Check check) {
    Random random;
    for (const char letter : letters) {
        SCOPED_TRACE(sboxes(letter).name);
        for (unsigned i = cases(few); i != 0 && !testing::Test::HasFailure(); --i) check(random, sboxes(letter));
    }
}

/** 32 bytes: a digest, or a key of the cipher. */
using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;
static_assert(VRX_HASH_SIZE == VRX_KEY_SIZE);

/** A key and an IV. */
struct KeyAndIv {
    Digest key;
    std::array<std::uint8_t, VRX_BLOCK_SIZE> iv;
};
inline KeyAndIv key_and_iv(Random& random) { return random.value<KeyAndIv>(); }

enum class Meshing { off, on };

inline void open(vrx_crpt_ctx& ctx, std::uint32_t mode, bool encrypt, const vrx_tz& table, Meshing meshing,
                 const KeyAndIv& secret) {
    std::array<std::uint32_t, VRX_KEY_WORDS> key;
    std::memcpy(key.data(), secret.key.data(), sizeof key);
    EXPECT_EQ(vrx_crpt_init_context(&ctx, encrypt ? 1 : 0, &table, mode, 0, meshing == Meshing::on ? 1 : 0, 0,
                                    secret.iv.data(), key.data()),
              VRX_OK);
}

/** Processes a message with a context of this library, in random pieces. */
inline Bytes ours(Random& random, std::uint32_t mode, bool encrypt, const vrx_tz& table, Meshing meshing,
                  const KeyAndIv& secret, const Bytes& data) {
    vrx_crpt_ctx ctx;
    open(ctx, mode, encrypt, table, meshing, secret);
    Bytes result(data.size());
    std::size_t written = 0;
    in_pieces(random, data, [&](std::span<const std::uint8_t> piece) {
        Bytes in(piece.begin(), piece.end());
        const vrx_data from{size32(in), in.data()};
        vrx_data to{static_cast<std::uint32_t>(result.size() - written), result.data() + written};
        EXPECT_EQ(vrx_crpt_update(&ctx, &from, &to), VRX_OK);
        written += to.length;
    });
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(written, data.size());
    return result;
}

/** Returns the first four bytes of this library's MAC. The initial state is the IV, which is zero for most peers. */
inline Bytes our_mac(Random& random, const vrx_tz& table, Meshing meshing, const KeyAndIv& secret, const Bytes& data) {
    vrx_crpt_ctx ctx;
    open(ctx, VRX_MODE_IMITO, true, table, meshing, secret);
    in_pieces(random, data, [&](std::span<const std::uint8_t> piece) {
        Bytes in(piece.begin(), piece.end());
        const vrx_data from{size32(in), in.data()};
        EXPECT_EQ(vrx_crpt_update(&ctx, &from, nullptr), VRX_OK);
    });
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    return {ctx.mac, ctx.mac + 4};
}

/**
 * their(sboxes, key, data) returns the peer's MAC of four bytes. Peers append a block of zeros to a message of at most
 * one block.
 */
template <typename Their>
void compare_macs(const std::string& letters, unsigned few, Meshing meshing, Their their) {
    for_sboxes(letters, few, [&](Random& random, const Sboxes& sboxes) {
        const KeyAndIv secret{random.value<Digest>(), {}};
        Bytes data = message_not_empty(random);
        const Bytes expected = their(sboxes, secret.key, data);
        if (data.size() <= VRX_BLOCK_SIZE) data.resize(2 * VRX_BLOCK_SIZE);
        ASSERT_TRUE(same(our_mac(random, *sboxes.table, meshing, secret, data), expected));
    });
}

// --- hashes, HMAC and key derivation
// ---------------------------------------------------------------------------------

inline const vrx_gostr3411_par& test_set() { return GOSTR3411_OIDS[0]; }
inline const vrx_gostr3411_par& cryptopro() { return GOSTR3411_OIDS[1]; }

inline Digest our_digest(Random& random, const vrx_gostr3411_par& set, const Bytes& data) {
    GOSTR3411_CTX ctx;
    Digest digest{};
    EXPECT_EQ(GOSTR3411_Init(&ctx, set.oid, set.oid_length), VRX_OK);
    in_pieces(random, data, [&](std::span<const std::uint8_t> piece) {
        EXPECT_EQ(GOSTR3411_Update(&ctx, piece.data(), size32(piece)), VRX_OK);
    });
    EXPECT_EQ(GOSTR3411_Final(&ctx, digest.data()), VRX_OK);
    return digest;
}

/**
 * their(data) returns the peer's digest of a message. Messages are random, or nearly all of their bytes are FFh, which
 * causes carries. No message is shorter than `shortest`.
 */
template <typename Their>
void compare_digests(const vrx_gostr3411_par& set, unsigned few, Their their, std::size_t shortest = 0) {
    SCOPED_TRACE(set.name);
    Random random;
    for (unsigned i = cases(few); i != 0; --i) {
        Bytes data = random.bytes(std::max(any_length(random), shortest));
        if (random.below(4) == 0 && !data.empty()) {
            std::ranges::fill(data, std::uint8_t{0xFF});
            data[random.below(size32(data))] = static_cast<std::uint8_t>(random.word());
        }
        const Digest digest = our_digest(random, set, data);
        const Digest expected = their(data);
        ASSERT_TRUE(same(digest, expected));
    }
}

/** their(key, data) returns the peer's HMAC. */
template <typename Their>
void compare_hmacs(const vrx_gostr3411_par& set, unsigned few, Their their) {
    SCOPED_TRACE(set.name);
    Random random;
    for (unsigned i = cases(few); i != 0; --i) {
        const Bytes key = random.bytes(1 + random.below(100));
        const Bytes data = message(random);
        GOSTR3411_HMAC_CTX ctx;
        Digest mac{};
        std::uint32_t size = 0;
        ASSERT_EQ(GOSTR3411_HMAC_Init(&ctx, set.oid, set.oid_length, key.data(), size32(key)), VRX_OK);
        in_pieces(random, data, [&](std::span<const std::uint8_t> piece) {
            EXPECT_EQ(GOSTR3411_HMAC_Update(&ctx, piece.data(), size32(piece)), VRX_OK);
        });
        ASSERT_EQ(GOSTR3411_HMAC_Final(&ctx, mac.data(), &size), VRX_OK);
        const Digest expected = their(key, data);
        ASSERT_TRUE(same(mac, expected)) << key.size() << " bytes of key, ";
    }
}

/** their(password, salt, iterations) returns the first block of the peer's PBKDF2. */
template <typename Their>
void compare_pbkdf2(const vrx_gostr3411_par& set, unsigned few, Their their) {
    SCOPED_TRACE(set.name);
    Random random;
    for (unsigned i = cases(few); i != 0; --i) {
        const Bytes password = random.bytes(1 + random.below(70));
        const Bytes salt = random.bytes(1 + random.below(70));
        const unsigned iterations = 1 + random.below(20);
        Digest key{};
        ASSERT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), size32(password), salt.data(), salt.size(), iterations,
                                         set.oid, set.oid_length, key.data(), key.size()),
                  VRX_OK);
        const Digest expected = their(password, salt, iterations);
        ASSERT_TRUE(same(key, expected)) << iterations << " iterations";
    }
}

/** their(data) returns the peer's digest. */
template <typename Their>
void compare_sha1(unsigned few, Their their) {
    Random random;
    for (unsigned i = cases(few); i != 0; --i) {
        const Bytes data = message(random);
        sha_context ctx;
        shaInit(&ctx);
        in_pieces(random, data,
                  [&](std::span<const std::uint8_t> piece) { shaUpdate(&ctx, piece.data(), piece.size()); });
        std::array<std::uint8_t, VRX_SHA1_SIZE> digest{};
        shaFinal(&ctx, digest.data());
        const std::array<std::uint8_t, VRX_SHA1_SIZE> expected = their(data);
        ASSERT_TRUE(same(digest, expected));
    }
}

// --- curves
// -----------------------------------------------------------------------------------------------------------

/** A key pair on a built-in curve. One in eight private keys has leading zeros, because some formats omit them. */
struct Pair {
    const EcParamSet* set;
    Digits d;
    EcPoint key{};

    explicit Pair(const EcParamSet& curve) : set(&curve) {
        static Random random;
        EXPECT_EQ(ecGenerateKeyPair(set, test::random_bytes, d.data(), &key), VRX_OK);
        if (random.below(8) != 0) return;
        d.d[7] = 0x10000 + d.d[7] % 0x10000;
        EXPECT_EQ(ecGeneratePublicKey(set, d.data(), &key), VRX_OK);
    }
    /** 32 and 64 octets, least significant first. */
    [[nodiscard]] Bytes private_octets() const {
        Bytes octets(VRX_PRIVATE_KEY_SIZE);
        EXPECT_EQ(ecUnloadPrivateKeyValue(d.data(), octets.data()), VRX_OK);
        return octets;
    }
    [[nodiscard]] Bytes public_octets() const {
        Bytes octets(VRX_PUBLIC_KEY_SIZE);
        EXPECT_EQ(ecUnloadPublicKeyValue(&key, octets.data()), VRX_OK);
        return octets;
    }
};

/** Converts between a number of 256 bits and 32 octets, most significant first. */
inline Bytes big_endian(const std::uint32_t* digits) {
    Bytes octets(32);
    mpConvToOctets(digits, VRX_ECC_DIGITS, octets.data(), 32);
    return octets;
}
inline Digits from_big_endian(std::span<const std::uint8_t> octets) {
    Digits n;
    mpConvFromOctets(n.data(), VRX_ECC_DIGITS, octets.data(), size32(octets));
    return n;
}
inline Bytes reversed(std::span<const std::uint8_t> octets) { return {octets.rbegin(), octets.rend()}; }

/** A signature in the common form: s, then r, each most significant octet first. */
inline Bytes octets(const EcSignature& signature) {
    Bytes out(VRX_SIGNATURE_SIZE);
    EXPECT_EQ(ecUnloadSignValue(&signature, out.data()), VRX_OK);
    return out;
}
inline EcSignature signature(std::span<const std::uint8_t> octets) {
    EcSignature s{};
    EXPECT_EQ(octets.size(), std::size_t{VRX_SIGNATURE_SIZE});
    EXPECT_EQ(ecLoadSignValue(octets.data(), &s), VRX_OK);
    return s;
}

/** A digest for signatures: its bytes as little-endian digits. */
inline std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words(const Digest& digest) {
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> w;
    std::memcpy(w.data(), digest.data(), sizeof w);
    return w;
}
inline EcSignature our_signature(const Pair& pair, const Digest& digest) {
    EcSignature s{};
    EXPECT_EQ(ecSign(pair.set, words(digest).data(), test::random_bytes, pair.d.data(), &s), VRX_OK);
    return s;
}
inline bool verifies(const Pair& pair, const Digest& digest, const EcSignature& s) {
    return ecVerify(pair.set, words(digest).data(), &pair.key, &s) == VRX_OK;
}
inline Digest flipped(Random& random, Digest digest) {
    digest[random.below(32)] ^= static_cast<std::uint8_t>(1 << random.below(8));
    return digest;
}

/** Calls check(random, set, name) for each curve in a list of short names, separated by blanks. */
template <typename Check>
void for_curves(const std::string& names, Check check) {
    Random random;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const std::string name = test::short_name(i);
        if ((" " + names + " ").find(" " + name + " ") == std::string::npos) continue;
        SCOPED_TRACE(name);
        if (!testing::Test::HasFailure()) check(random, std::as_const(*get_GOSTR3410_par(i)), name);
    }
}
inline constexpr const char* all_curves = "Test A B C XchA XchB";

/**
 * Each library verifies the signatures of the other on some curves, with a new key pair every few cases. open(pair)
 * returns an object of the peer with `Bytes sign(Digest)` and `bool verify(Digest, Bytes)`. A signature is 64 octets as
 * above.
 */
template <typename Open>
void compare_signatures(const std::string& names, unsigned few, Open open) {
    for_curves(names, [&](Random& random, const EcParamSet& set, const std::string& name) {
        constexpr unsigned per_key = 8;
        for (unsigned left = cases(few); left != 0;) {
            const Pair pair(set);
            auto peer = open(pair, name);
            for (unsigned i = std::min(left, per_key); i != 0; --i, --left) {
                const auto digest = random.value<Digest>();
                const Digest other = flipped(random, digest);
                const EcSignature theirs = signature(peer.sign(digest));
                ASSERT_TRUE(verifies(pair, digest, theirs)) << "their signature of " << hex(digest);
                ASSERT_FALSE(verifies(pair, other, theirs));
                const Bytes mine = octets(our_signature(pair, digest));
                ASSERT_TRUE(peer.verify(digest, mine)) << "our signature of " << hex(digest);
                ASSERT_FALSE(peer.verify(other, mine));
            }
        }
    });
}

using Ukm = std::array<std::uint8_t, VRX_UKM_SIZE>;
inline Ukm any_ukm(Random& random) {
    auto ukm = random.value<Ukm>();
    ukm[random.below(VRX_UKM_SIZE)] |= 1;
    return ukm;
}

inline Digest our_kek(const EcParamSet& set, const vrx_gostr3411_par& hash, const Ukm& ukm, const Digits& d,
                      const EcPoint& key) {
    const vrx_data oid{hash.oid_length, const_cast<std::uint8_t*>(hash.oid)};
    Digest kek{};
    EXPECT_EQ(ecMakeKEK(&set, &oid, ukm.data(), d.data(), &key, kek.data()), VRX_OK);
    return kek;
}

}  // namespace vrx::interop

#endif

// Conversion between words and digits, and edge cases of the fields.
#ifndef VRX_TESTS_ECC_FIELD_WORDS_SUPPORT_HPP
#define VRX_TESTS_ECC_FIELD_WORDS_SUPPORT_HPP

#include <vector>

#include "ecc/ecc_support.hpp"
#include "ecc/field/curves.hpp"

namespace vrx::test {

using field::Words;

inline Digits digits_of(const Words& w) {
    Digits d;
    std::memcpy(d.data(), w.data(), sizeof w);
    return d;
}
inline Words words_of(const Digits& d) {
    Words w;
    EXPECT_EQ(d.d[VRX_ECC_DIGITS - 1], 0u);
    std::memcpy(w.data(), d.data(), sizeof w);
    return w;
}

inline Digits reduced(const Digits& u, const Digits& m) {
    Digits w;
    mpModulo(w.data(), u.data(), VRX_ECC_DIGITS, m.data(), VRX_ECC_DIGITS);
    return w;
}
inline Digits product(const Digits& u, const Digits& v, const Digits& m) {
    Digits w;
    mpModMult(w.data(), u.data(), v.data(), m.data(), VRX_ECC_DIGITS);
    return w;
}
inline Digits sum(const Digits& u, const Digits& v, const Digits& m) {
    Digits w;
    mpModAdd(w.data(), u.data(), v.data(), m.data(), VRX_ECC_DIGITS);
    return w;
}
inline Digits difference(const Digits& u, const Digits& v, const Digits& m) {
    Digits w;
    mpModSub(w.data(), u.data(), v.data(), m.data(), VRX_ECC_DIGITS);
    return w;
}

inline Words plus(Words w, std::int64_t n) {
    field::add(w, w, {static_cast<std::uint64_t>(n), n < 0 ? ~0ull : 0, n < 0 ? ~0ull : 0, n < 0 ? ~0ull : 0});
    return w;
}

/**
 * Numbers near 0, 2^255, 2^256, the modulus, and twice the modulus modulo 2^256; also numbers whose words are all zeros
 * or all ones.
 */
inline std::vector<Words> edges(const Words& modulus) {
    std::vector<Words> all;
    Words twice;
    field::add(twice, modulus, modulus);
    for (const Words& middle : {Words{}, Words{0, 0, 0, 1ull << 63}, modulus, twice})
        for (const std::int64_t n : {-5000, -1234, -3, -2, -1, 0, 1, 2, 3, 1234, 5000}) all.push_back(plus(middle, n));
    for (unsigned bits = 1; bits < 15; ++bits) {
        Words w;
        for (unsigned i = 0; i < 4; ++i) w[i] = field::mask(bits >> i & 1);
        all.push_back(w);
        w[0] ^= 0x269;
        all.push_back(w);
        w[3] ^= 1ull << 63;
        all.push_back(w);
    }
    for (unsigned i = 0; i < 256; i += 13)
        all.push_back([i] {
            Words w{};
            w[i / 64] = 1ull << i % 64;
            return w;
        }());
    return all;
}

inline Words random_words(Random& random) {
    Words w = random.value<Words>();
    for (std::uint64_t& word : w)
        if (const std::uint32_t kind = random.below(8); kind < 2) word = kind == 0 ? 0 : ~0ull;
    return w;
}

/** A value for each of the four curves. */
template <typename Each>
void for_each_curve(const Each& each) {
    for (const auto id : {field::CurveId::test, field::CurveId::a, field::CurveId::b, field::CurveId::c}) {
        SCOPED_TRACE("curve " + std::to_string(static_cast<int>(id)));
        with_curve(id, each);
    }
}

}  // namespace vrx::test

#endif

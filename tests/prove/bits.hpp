// Symbolic unsigned integers: each bit is a node of a Boolean circuit.
//
// A bit is a constant, an unknown, or a gate over bits; equal gates are the same bit. Sums modulo 2 are stored as sets
// of terms, so two linear maps are equal if and only if their bits are. The solver only has to decide whether bits with
// different circuits are equal.
//
// Memory: a symbolic byte is an index that represents eight bits, and takes four bytes of real memory. Integers and
// vector registers consist of such bytes in memory order, so copies, casts and indexing of memory work as usual. The
// indices below 256 are the constants, so zeroed memory represents zeros.
#ifndef VRX_TESTS_PROVE_BITS_HPP
#define VRX_TESTS_PROVE_BITS_HPP

#include <array>
#include <bit>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "prove/solver.hpp"

namespace vrx::prove {

using Bit = std::uint32_t;
inline constexpr Bit zero = 0, one = 1;
constexpr Bit operator_not(Bit a) { return a ^ 1; }

Bit unknown_bit();
Bit exclusive_or(Bit a, Bit b);
Bit conjunction(Bit a, Bit b);
inline Bit disjunction(Bit a, Bit b) { return conjunction(a ^ 1, b ^ 1) ^ 1; }
Bit majority(Bit a, Bit b, Bit c);
Bit choice(Bit condition, Bit a, Bit b);

using Bits = std::vector<Bit>;
using Byte = std::uint32_t;
Byte byte_of(const Bit* bits);
const std::array<Bit, 8>& bits_of(Byte byte);

namespace circuit {

/** Deletes all circuits. If a fault number n is given, the n-th operation from now on yields wrong low bits. */
void reset(unsigned fault = 0);
unsigned operations();
/** Counts an operation. Returns true if this operation is to be faulty. */
bool is_faulty();
/** Returns the outcome of a branch on an unknown on the current path. */
bool decide(Bit condition);
void assume(Bit condition);
/** Returns a byte of unknown bits. */
Byte undefined();
/** Returns an SMT-LIB text which states that the assumptions hold and the claim does not. */
std::string negated(Bit claim);
/** Tries 64 random assignments. Returns true if one satisfies the assumptions but not the claim. */
bool has_counterexample(Bit claim);
/**
 * From now on, a look-up in a table of unknowns is a gate, and look-ups with the same table and index are the same
 * gate. The solver knows nothing about the value of the gate, so the theorems that it proves hold for any table.
 */
void keep_tables_closed();
bool keeps_tables_closed();
/** Calls run() on every path through its branches. */
void each_path(unsigned fault, const std::function<Bit()>& run, const std::function<void(const std::string&)>& check);

Bits sum(const Bits& a, const Bits& b, Bit carry);
Bits choice(Bit condition, const Bits& a, const Bits& b);
/** Returns entry `index` of a table. All entries have the same width, and their number is a power of 2. */
Bits entry(const std::vector<Bits>& table, const Bits& index);
Bit less(const Bits& a, const Bits& b);
Bit equal(const Bits& a, const Bits& b);
Bits bits(const Byte* bytes, std::size_t count);
void store(Byte* bytes, const Bits& bits);

}  // namespace circuit

/** An unsigned integer of n bits. */
template <unsigned n>
struct U {
    Byte byte[n / 8] = {};

    constexpr U() = default;
    template <std::integral N>
    constexpr U(N value) {
        auto left = static_cast<std::uint64_t>(value);
        if constexpr (std::is_same_v<N, bool>) left = value ? 1 : 0;
        for (Byte& b : byte) {
            b = static_cast<Byte>(left & 255);
            left >>= 8;
        }
    }
    template <unsigned m>
    constexpr U(const U<m>& other) {
        for (unsigned i = 0; i < n / 8; ++i) byte[i] = i < m / 8 ? other.byte[i] : 0;
    }
    [[nodiscard]] constexpr bool is_constant() const {
        for (const Byte b : byte)
            if (b > 255) return false;
        return true;
    }
    [[nodiscard]] constexpr std::uint64_t constant() const {
        std::uint64_t value = 0;
        for (unsigned i = n / 8; i-- != 0;) value = value << 8 | byte[i];
        return value;
    }
    [[nodiscard]] Bits bits() const { return circuit::bits(byte, n / 8); }
    static U of(const Bits& bits) {
        U r;
        circuit::store(r.byte, bits);
        return r;
    }
    static U unknown() {
        Bits bits(n);
        for (Bit& b : bits) b = unknown_bit();
        return of(bits);
    }
    /** Conversion for places that need a constant, such as an index or a count. */
    template <std::integral N>
    requires(!std::is_same_v<N, bool>) constexpr explicit operator N() const {
        return is_constant() ? static_cast<N>(constant()) : throw "an unknown number where a known one has to be";
    }
    constexpr explicit operator bool() const { return *this != U(0); }

    constexpr bool operator==(const U& other) const {
        if (is_constant() && other.is_constant()) return constant() == other.constant();
        return circuit::decide(circuit::equal(bits(), other.bits()));
    }
    constexpr auto operator<=>(const U& other) const {
        if (is_constant() && other.is_constant()) return constant() <=> other.constant();
        if (circuit::decide(circuit::less(bits(), other.bits()))) return std::strong_ordering::less;
        return *this == other ? std::strong_ordering::equal : std::strong_ordering::greater;
    }
};

/** The type of the result of an operation. It is as wide as the wider operand, and has at least 32 bits. */
template <typename T>
inline constexpr unsigned width_of = std::integral<T> ? (sizeof(T) > 4 ? 64 : 32) : 0;
template <unsigned n>
inline constexpr unsigned width_of<U<n>> = n < 32 ? 32 : n;
template <typename T>
inline constexpr bool is_unknown_integer = false;
template <unsigned n>
inline constexpr bool is_unknown_integer<U<n>> = true;
template <typename A, typename B>
concept Operands = (is_unknown_integer<A> || is_unknown_integer<B>)&&width_of<A> != 0 && width_of<B> != 0;
template <typename A, typename B>
using Common = U<std::max(width_of<A>, width_of<B>)>;

#define VRX_PROVE_OPERATION(op, unknown)                                                \
    template <typename A, typename B>                                                   \
    requires Operands<A, B>                                                             \
    constexpr auto operator op(const A& first, const B& second) {                       \
        using R = Common<A, B>;                                                         \
        const R a(first), b(second);                                                    \
        if (a.is_constant() && b.is_constant()) return R(a.constant() op b.constant()); \
        Bits r = unknown;                                                               \
        if (circuit::is_faulty()) r[0] ^= 1;                                            \
        return R::of(r);                                                                \
    }                                                                                   \
    template <unsigned n, typename B>                                                   \
    constexpr U<n>& operator op##=(U<n>& a, const B& b) {                               \
        return a = U<n>(a op b);                                                        \
    }
namespace circuit {
Bits both(Bits a, const Bits& b);
Bits either(Bits a, const Bits& b);
Bits differing(Bits a, const Bits& b);
Bits inverted(Bits a);
Bits difference(const Bits& a, const Bits& b);
Bits product(const Bits& a, const Bits& b);
Bits shifted(const Bits& a, int left);
Bits rotated(const Bits& a, int left);
}  // namespace circuit
VRX_PROVE_OPERATION(+, circuit::sum(a.bits(), b.bits(), zero))
VRX_PROVE_OPERATION(-, circuit::difference(a.bits(), b.bits()))
VRX_PROVE_OPERATION(*, circuit::product(a.bits(), b.bits()))
VRX_PROVE_OPERATION(&, circuit::both(a.bits(), b.bits()))
VRX_PROVE_OPERATION(|, circuit::either(a.bits(), b.bits()))
VRX_PROVE_OPERATION(^, circuit::differing(a.bits(), b.bits()))
#undef VRX_PROVE_OPERATION

/** For known numbers only. */
template <typename A, typename B>
requires Operands<A, B>
constexpr auto operator/(const A& a, const B& b) {
    using R = Common<A, B>;
    return R(static_cast<std::uint64_t>(R(a)) / static_cast<std::uint64_t>(R(b)));
}
template <typename A, typename B>
requires Operands<A, B>
constexpr auto operator%(const A& a, const B& b) {
    using R = Common<A, B>;
    return R(static_cast<std::uint64_t>(R(a)) % static_cast<std::uint64_t>(R(b)));
}

template <unsigned n, std::integral N>
constexpr auto operator<<(const U<n>& a, N by) {
    using R = U<width_of<U<n>>>;
    if (a.is_constant()) return R(a.constant() << by);
    return R::of(circuit::shifted(R(a).bits(), static_cast<int>(by)));
}
template <unsigned n, std::integral N>
constexpr auto operator>>(const U<n>& a, N by) {
    using R = U<width_of<U<n>>>;
    if (a.is_constant()) return R(a.constant() >> by);
    return R::of(circuit::shifted(R(a).bits(), -static_cast<int>(by)));
}
template <unsigned n, std::integral N>
constexpr U<n>& operator<<=(U<n>& a, N by) {
    return a = U<n>(a << by);
}
template <unsigned n, std::integral N>
constexpr U<n>& operator>>=(U<n>& a, N by) {
    return a = U<n>(a >> by);
}
template <unsigned n>
constexpr auto operator~(const U<n>& a) {
    using R = U<width_of<U<n>>>;
    if (a.is_constant()) return R(~a.constant());
    return R::of(circuit::inverted(R(a).bits()));
}
template <typename A, typename B>
requires(Operands<A, B> && !std::is_same_v<A, B>) constexpr bool operator==(const A& a, const B& b) {
    using R = Common<A, B>;
    return R(a) == R(b);
}
template <unsigned n, std::integral N>
constexpr bool operator<(const U<n>& a, N b) {
    using R = Common<U<n>, N>;
    return R(a) < R(b);
}

/** An array that may be read at an unknown index. */
template <typename T, std::size_t count>
struct Array {
    T entry[count];

    template <std::integral N>
    constexpr T& operator[](N i) {
        return entry[i];
    }
    template <std::integral N>
    constexpr const T& operator[](N i) const {
        return entry[i];
    }
    template <unsigned n>
    constexpr T operator[](const U<n>& i) const {
        if (i.is_constant()) return entry[i.constant()];
        std::vector<Bits> table;
        for (const T& e : entry) table.push_back(e.bits());
        Bits index = i.bits();
        // Bits above the needed ones must be constant zeros; otherwise the index could be out of range.
        constexpr unsigned needed = std::bit_width(count - 1);
        for (std::size_t b = needed; b < index.size(); ++b)
            if (index[b] != zero) throw "an index that may be out of range";
        index.resize(needed);
        return T::of(circuit::entry(table, index));
    }
    /** A view that starts at an unknown entry. */
    template <unsigned n>
    [[nodiscard]] constexpr auto from(const U<n>& first) const {
        struct Rest {
            const Array& array;
            U<n> first;
            T operator[](const U<n>& i) const { return array[first + i]; }
        };
        return Rest{*this, first};
    }
    constexpr operator const T*() const { return entry; }
    constexpr operator T*() { return entry; }
};

}  // namespace vrx::prove

namespace std {
template <unsigned n>
struct numeric_limits<vrx::prove::U<n>> {
    static constexpr bool is_specialized = true;
    static constexpr int digits = n;
};
template <unsigned n>
constexpr vrx::prove::U<n> rotl(const vrx::prove::U<n>& a, int by) {
    if (a.is_constant()) return (a << by) | (a >> (static_cast<int>(n) - by));
    return vrx::prove::U<n>::of(vrx::prove::circuit::rotated(a.bits(), by));
}
template <unsigned n>
constexpr vrx::prove::U<n> rotr(const vrx::prove::U<n>& a, int by) {
    return rotl(a, static_cast<int>(n) - by);
}
}  // namespace std

#endif

// Numbers, parameter sets and random sources for the curve tests.
#ifndef VRX_TESTS_ECC_SUPPORT_HPP
#define VRX_TESTS_ECC_SUPPORT_HPP

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/hex.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace vrx::test {

/** A nine-digit number with comparison and output. */
struct Digits {
    std::array<std::uint32_t, VRX_ECC_DIGITS> d{};

    Digits() = default;
    Digits(std::uint32_t small) { d[0] = small; }  // NOLINT(google-explicit-constructor)
    explicit Digits(const std::uint32_t* digits) { std::memcpy(d.data(), digits, sizeof d); }
    /** Converts from hexadecimal, most significant digit first. */
    explicit Digits(const std::string& text) {
        const Bytes octets = unhex(text);
        mpConvFromOctets(d.data(), VRX_ECC_DIGITS, octets.data(), static_cast<std::uint32_t>(octets.size()));
    }

    [[nodiscard]] std::uint32_t* data() { return d.data(); }
    [[nodiscard]] const std::uint32_t* data() const { return d.data(); }
    [[nodiscard]] bool bit(unsigned i) const { return (d[i / 32] >> i % 32 & 1) != 0; }
    void flip(unsigned i) { d[i / 32] ^= 1u << i % 32; }
    void copy_to(std::uint32_t* digits) const { std::memcpy(digits, d.data(), sizeof d); }
    bool operator==(const Digits&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const Digits& n) {
        for (unsigned i = VRX_ECC_DIGITS; i-- != 0;) {
            char text[9];
            std::snprintf(text, sizeof text, "%08x", n.d[i]);
            out << text;
        }
        return out;
    }
};

/** A random number in which many digits are 0 or all ones. */
inline Digits edgy(Random& random, unsigned digits = VRX_ECC_DIGITS) {
    Digits n;
    for (unsigned i = 0; i < digits; ++i) {
        const std::uint32_t kind = random.below(4);
        n.d[i] = kind == 0 ? 0 : kind == 1 ? 0xFFFFFFFF : random.word();
    }
    return n;
}

inline EcPoint point(const Digits& x, const Digits& y) {
    EcPoint p;
    x.copy_to(p.x);
    y.copy_to(p.y);
    return p;
}

/** The coordinates x and y of a point, for comparisons. */
inline std::array<Digits, 2> coordinates(const EcPoint& p) { return {Digits(p.x), Digits(p.y)}; }
inline std::array<Digits, 3> coordinates(const EcPointJ& p) { return {Digits(p.x), Digits(p.y), Digits(p.z)}; }
inline std::array<Digits, 2> halves(const EcSignature& s) { return {Digits(s.r), Digits(s.s)}; }

inline const std::array<Digits, 2> point_at_infinity{};

/** A record filled with one byte, to detect what a function writes. */
template <typename T>
T filled(unsigned char byte = 0xA5) {
    T record;
    std::memset(static_cast<void*>(&record), byte, sizeof record);
    return record;
}

template <typename T>
bool same_bytes(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/** Returns the set with a name from RFC 4357. */
inline EcParamSet& set_named(const std::string& name) {
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i)
        if (name == get_GOSTR3410_oid_name(i)) return *get_GOSTR3410_par(i);
    throw std::invalid_argument("no set " + name);
}

/** Returns the short name of a built-in set: Test, A, ... */
inline std::string short_name(std::uint32_t index) {
    static const char* const names[] = {"Test", "A", "B", "C", "XchA", "XchB"};
    return names[index];
}

/** Restores the built-in sets in its destructor. */
class SetsGuard {
public:
    SetsGuard() { std::memcpy(saved_.data(), cp_ecc_par, sizeof saved_); }
    ~SetsGuard() { std::memcpy(cp_ecc_par, saved_.data(), sizeof saved_); }
    SetsGuard(const SetsGuard&) = delete;
    SetsGuard& operator=(const SetsGuard&) = delete;

private:
    std::array<EcParamSet, VRX_ECC_SET_COUNT> saved_;
};

/** A scripted random source: each step is a 36-byte number or a failure. A call beyond the script fails the test. */
class ScriptedSource {
public:
    struct Step {
        Digits number;
        int result = 0;
    };
    static Step fails(int result = 1) { return {{}, result}; }
    static Step yields(const Digits& number) { return {number, 0}; }

    explicit ScriptedSource(std::initializer_list<Step> steps) : before_(current_), steps_(steps) { current_ = this; }
    ~ScriptedSource() {
        EXPECT_TRUE(steps_.empty()) << steps_.size() << " steps were not asked for";
        current_ = before_;
    }
    ScriptedSource(const ScriptedSource&) = delete;
    ScriptedSource& operator=(const ScriptedSource&) = delete;

    /** The RND_FUNC to pass to the library. */
    static int draw(void* buffer, std::uint32_t length) { return current_->step(buffer, length); }

private:
    int step(void* buffer, std::uint32_t length) {
        EXPECT_EQ(length, 36u);
        if (steps_.empty()) {
            ADD_FAILURE() << "asked once more than the script has steps";
            return 1;
        }
        const Step step = steps_.front();
        steps_.pop_front();
        if (step.result == 0) std::memcpy(buffer, step.number.data(), length);
        return step.result;
    }

    inline static ScriptedSource* current_ = nullptr;
    ScriptedSource* before_;
    std::deque<Step> steps_;
};

/** A random source that never fails. */
inline int random_bytes(void* buffer, std::uint32_t length) {
    static Random random;
    random.fill({static_cast<std::uint8_t*>(buffer), length});
    return 0;
}

}  // namespace vrx::test

#endif

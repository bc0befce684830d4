// Constant-time test of comparisons with valgrind. The octets are marked as uninitialised memory, so valgrind reports
// every branch on them. Usage: comparison_secrets clean | control. "control" stops at the first difference, which
// valgrind must report.
#include <valgrind/memcheck.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "keys/keys.hpp"
#include "vrx/cxx/types.hpp"
#include "vrx/helpers.h"

namespace {

/** Sizes of compared values: MACs, tags, keys, digests, signatures. */
constexpr std::size_t sizes[] = {4, 8, 12, 20, 32, 64};
constexpr std::size_t largest = 64;

/** Checks a comparison with equal and with different octets. Its operands and results are secret. */
template <typename Equal>
bool right(std::size_t size, const Equal& equal) {
    std::array<std::uint8_t, largest> a{};
    std::array<std::uint8_t, largest> b{};
    for (std::size_t changed = 0; changed <= size; ++changed) {
        a.fill(0x5A);
        b = a;
        if (changed != size) b[changed] ^= 0x10;
        static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(a.data(), a.size()));
        static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(b.data(), b.size()));
        bool result = equal(std::span(a).first(size), std::span(b).first(size));
        unsigned char bits = 0;
        if (VALGRIND_GET_VBITS(&result, &bits, 1) == 1 && bits == 0) {
            std::fputs("the result does not depend on the secret\n", stderr);
            return false;
        }
        static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(&result, sizeof result));
        if (result != (changed == size)) {
            std::fprintf(stderr, "wrong for a difference at %zu of %zu octets\n", changed, size);
            return false;
        }
    }
    return true;
}

template <typename Equal>
bool right(const Equal& equal) {
    return std::ranges::all_of(sizes, [&](std::size_t size) { return right(size, equal); });
}

/** Compares with the operator == of a type of the C++ headers. */
template <typename Value>
bool operator_is_right() {
    return right(Value::size(), [](auto a, auto b) {
        Value x{};
        Value y{};
        std::ranges::copy(a, x.begin());
        std::ranges::copy(b, y.begin());
        return x == y;
    });
}

bool clean() {
    using Octets = std::span<const std::uint8_t>;
    return right([](Octets a, Octets b) { return vrx::app::equal_in_constant_time(a, b); }) &&
           right([](Octets a, Octets b) { return vrx::equal_in_constant_time(a, b); }) &&
           right([](Octets a, Octets b) { return vrx_equal(a.data(), b.data(), a.size()) != 0; }) &&
           operator_is_right<vrx::MacValue>() && operator_is_right<vrx::Digest>() && operator_is_right<vrx::Key>();
}

bool control() {
    return right([](auto a, auto b) { return std::equal(a.begin(), a.end(), b.begin()); });
}

}  // namespace

int main(int, char** argv) {
    const bool good = std::string_view(argv[1]) == "control" ? control() : clean();
    return good ? 0 : 1;
}

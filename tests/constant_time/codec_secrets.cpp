// Encodes and decodes keys in base64, PEM and hexadecimal digits. The keys are marked as uninitialised memory, so
// valgrind reports every branch and address that depends on them. Usage: codec_secrets clean | control. "control" looks
// digits up in a table, which valgrind must report. The linker replaces the program's declassify() with the function
// below, which makes its argument public.
#include <valgrind/memcheck.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/keys.hpp"

extern "C" bool __wrap__ZN3vrx3app10declassifyEb(bool fact) {
    static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(&fact, sizeof fact));
    return fact;
}

namespace {

using namespace vrx::app;

/** All octets, so that every base64 character and every digit occurs. */
constexpr std::size_t size = 256;
using AllOctets = std::array<std::uint8_t, size>;

AllOctets all_octets() {
    AllOctets octets;
    for (std::size_t i = 0; i < size; ++i) octets[i] = static_cast<std::uint8_t>(i);
    return octets;
}

template <typename Range>
void hide(Range&& range) {
    static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(range.data(), range.size()));
}

/** Makes a range public. @return true if it was secret. */
template <typename Range>
bool reveal(Range&& range) {
    std::array<unsigned char, 1024> bits{};
    if (range.size() > bits.size()) return false;
    const bool traced = VALGRIND_GET_VBITS(range.data(), bits.data(), range.size()) == 1;
    const bool secret = std::ranges::any_of(bits, [](unsigned char b) { return b != 0; });
    static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(range.data(), range.size()));
    return secret || !traced;
}

bool hexadecimal() {
    AllOctets octets = all_octets();
    std::array<char, 2 * size> digits;
    hide(octets);
    to_hex(octets, digits);
    AllOctets back;
    const bool valid =
        is_hex({digits.data(), digits.size()}) && from_hex(without_line_end({digits.data(), digits.size()}), back);
    return valid && reveal(back) && reveal(digits) && back == all_octets();
}

bool pem() {
    AllOctets octets = all_octets();
    hide(octets);
    SecretBytes text;
    der::append_pem(text, "PRIVATE KEY", octets);
    const auto label = der::decode_pem(text);
    return label == "PRIVATE KEY" && text.bytes().size() == size && reveal(text.bytes()) &&
           std::ranges::equal(text.bytes(), all_octets());
}

bool control() {
    AllOctets octets = all_octets();
    hide(octets);
    std::array<char, 2 * size> digits;
    for (std::size_t i = 0; i < size; ++i) digits[i] = "0123456789abcdef"[octets[i] & 15];
    return reveal(digits);
}

}  // namespace

int main(int, char** argv) {
    const bool good = std::string_view(argv[1]) == "control" ? control() : hexadecimal() && pem();
    if (!good) std::fputs("unexpected result\n", stderr);
    return good ? 0 : 1;
}

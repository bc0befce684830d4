// Converts a key, a digest and a signature from the byte orders of other libraries.
#include <algorithm>
#include <cstdio>
#include <vrx.hpp>

namespace {

// Converts between least significant octet first and most significant octet first.
template <typename Octets>
Octets reversed(Octets octets) {
    std::ranges::reverse(octets);
    return octets;
}

// Converts a signature from r, then s, as other libraries store it, to s, then r.
vrx::Signature swapped(vrx::Signature signature) {
    std::ranges::swap_ranges(vrx::MutableBytes(signature).first(32), vrx::MutableBytes(signature).last(32));
    return signature;
}

}  // namespace

int main() {
    // The example of RFC 4491, section 4.2. Numbers have the most significant octet first.
    const auto d = vrx::PrivateKeyOctets::from_hex("0b293be050d0082bdae785631a6bab68f35b42786d6dda56afaf169891040f77");
    const auto hash = vrx::Digest::from_hex("f0874fbb3946f299a22aab3919c31426c5db236c4258ea9496e97429ea670ece");
    const auto r_and_s = vrx::Signature::from_hex(
        "c1de176e8d1bec71b593f3dd36935577688989176220f4dab131d5b51c33dee2"
        "3c2fc90944b727a9eca7d5e9fb536dd2c3aa647c442edeed3116454fbc543fdd");
    if (!d || !hash || !r_and_s) return 1;

    const auto key = vrx::PrivateKey::from_octets(reversed(*d), vrx::curve(vrx::CurveId::xch_a));
    if (!key) return 1;
    const auto public_key = key->public_key();
    if (!public_key) return 1;
    const bool valid = vrx::verify(*public_key, reversed(*hash), swapped(*r_and_s));
    std::printf("public key: %s\nsignature: %s\n", vrx::to_hex(public_key->octets()).c_str(),
                valid ? "valid" : "NOT valid");
    return valid ? 0 : 1;
}

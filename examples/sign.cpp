// Generates a key pair, signs a letter, and verifies the signature as the recipient would.
#include <cstdio>
#include <vrx.hpp>

namespace {

// The signer generates the key once and keeps it secret.
vrx::Result<vrx::Signature> sign_letter(const vrx::PrivateKey &key, std::string_view letter) {
    return vrx::sign(key, vrx::hash(vrx::bytes_of(letter)));
}

// The recipient needs a trusted copy of the public key. The letter and the signature may come from anyone.
bool is_genuine(vrx::Bytes public_key, std::string_view letter, const vrx::Signature &signature) {
    const auto key = vrx::PublicKey::from_octets(public_key);  // checks that the point is on the curve
    return key && vrx::verify(*key, vrx::hash(vrx::bytes_of(letter)), signature);
}

}  // namespace

int main() {
    const auto key = vrx::PrivateKey::generate();  // CryptoPro-A, random numbers from the operating system
    if (!key) {
        std::fprintf(stderr, "sign: %s\n", vrx::text(key.error()));
        return 1;
    }
    const auto public_key = key->public_key();
    const auto signature = sign_letter(*key, "Meet me at noon.");
    if (!public_key || !signature) return 1;
    const vrx::PublicKeyOctets published = public_key->octets();

    std::printf("public key: %zu bytes, signature: %zu bytes\n", published.size(), signature->size());
    for (const char *letter : {"Meet me at noon.", "Meet me at nine."})
        std::printf("%s %s\n", letter, is_genuine(published, letter, *signature) ? "genuine" : "FORGED");
    return 0;
}

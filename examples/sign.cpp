// Makes a key pair, signs a letter and verifies the signature, as the two ends would.
#include <cstdio>
#include <vrx.hpp>

namespace {

// One end: makes the key once, and keeps it secret.
vrx::Result<vrx::Signature> sign_letter(const vrx::PrivateKey &key, std::string_view letter) {
    return vrx::sign(key, vrx::hash(vrx::bytes_of(letter)));
}

// The other end: has the public key from somebody it trusts, and the letter with its signature from anybody.
bool is_genuine(vrx::Bytes public_key, std::string_view letter, const vrx::Signature &signature) {
    const auto key = vrx::PublicKey::from_octets(public_key);  // checks that it is on the curve
    return key && vrx::verify(*key, vrx::hash(vrx::bytes_of(letter)), signature);
}

}  // namespace

int main() {
    const auto key = vrx::PrivateKey::generate();  // CryptoPro-A, random numbers of the system
    if (!key) {
        std::fprintf(stderr, "sign: %s\n", vrx::text(key.error()));
        return 1;
    }
    const auto public_key = key->public_key();
    const auto signature = sign_letter(*key, "Meet me at noon.");
    if (!public_key || !signature) return 1;
    const vrx::PublicKeyOctets published = public_key->octets();

    std::printf("a public key of %zu bytes, a signature of %zu\n", published.size(), signature->size());
    for (const char *letter : {"Meet me at noon.", "Meet me at nine."})
        std::printf("%s %s\n", letter, is_genuine(published, letter, *signature) ? "genuine" : "FORGED");
    return 0;
}

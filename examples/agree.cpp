// Two parties agree on a key, and one sends the other a message encrypted with it.
#include <cstdio>
#include <string_view>
#include <vrx.hpp>

namespace {

// The message as it is sent; nothing in it is secret.
struct Parcel {
    vrx::PublicKeyOctets from;
    vrx::Ukm ukm;
    vrx::Iv iv;
    std::uint8_t text[64] = {};
    std::size_t size = 0;
};

// Derives the key of a parcel. Both parties get the same key. Because of the diversification, the key also depends on
// the UKM.
vrx::Result<vrx::Key> key_for(const vrx::PrivateKey &own, vrx::Bytes other, const vrx::Ukm &ukm) {
    const auto public_key = vrx::PublicKey::from_octets(other);
    if (!public_key) return public_key.error();
    auto key = vrx::agree(own, *public_key, ukm);
    if (key) {
        if (const auto done = vrx::diversify(*key, ukm); !done) return done.error();
    }
    return key;
}

vrx::Result<Parcel> pack(std::string_view message, vrx::Bytes receiver) {
    Parcel parcel;
    const auto own = vrx::PrivateKey::generate();  // ephemeral: used for this parcel only
    const auto ukm = vrx::Ukm::random();
    const auto iv = vrx::Iv::random();
    if (!own || !ukm || !iv) return vrx::Error::random;
    const auto public_key = own->public_key();
    const auto key = key_for(*own, receiver, *ukm);
    if (!public_key || !key) return vrx::Error::failed;
    parcel.from = public_key->octets();
    parcel.ukm = *ukm;
    parcel.iv = *iv;
    const auto size = vrx::encrypt(*key, *iv, vrx::bytes_of(message), parcel.text);
    if (!size) return size.error();
    parcel.size = *size;
    return parcel;
}

}  // namespace

int main() {
    const auto receiver = vrx::PrivateKey::generate();
    if (!receiver) return 1;
    const auto published = receiver->public_key();
    if (!published) return 1;

    const auto parcel = pack("The key is under the mat.", published->octets());
    if (!parcel) {
        std::fprintf(stderr, "agree: %s\n", vrx::text(parcel.error()));
        return 1;
    }

    const auto key = key_for(*receiver, parcel->from, parcel->ukm);
    std::uint8_t text[64];
    if (!key || !vrx::decrypt(*key, parcel->iv, {parcel->text, parcel->size}, text)) return 1;
    std::printf("%.*s\n", static_cast<int>(parcel->size), reinterpret_cast<const char *>(text));
    return 0;
}

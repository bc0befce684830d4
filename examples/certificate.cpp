// Verifies the signature of a self-signed certificate (X.509, RFC 4491).
#include <cstdio>
#include <vector>
#include <vrx.hpp>

namespace {

// Reads DER elements in sequence. After an element with an unexpected tag or length, the reader returns nothing more.
class Elements {
public:
    explicit Elements(vrx::Bytes der) : rest_(der) {}

    // Returns the contents of the next element. Stores the whole element, with tag and length, in `whole`.
    vrx::Bytes take(std::uint8_t tag, vrx::Bytes *whole = nullptr) {
        std::size_t head = 2;
        std::size_t length = rest_.size() < 2 ? 0 : rest_[1];
        if (length > 0x80) {  // long form: the low bits count the octets of the length
            head += length & 0x7f;
            length = 0;
            for (std::size_t i = 2; i < head && i < rest_.size() && head <= 4; ++i) length = length << 8 | rest_[i];
        }
        if (rest_.size() < head || head > 4 || rest_[0] != tag || rest_.size() - head < length) return rest_ = {};
        if (whole != nullptr) *whole = rest_.first(head + length);
        const vrx::Bytes contents = rest_.subspan(head, length);
        rest_ = rest_.subspan(head + length);
        return contents;
    }
    // Skips an optional element.
    void skip(std::uint8_t tag) {
        if (!rest_.empty() && rest_[0] == tag) take(tag);
    }
    vrx::Bytes whole(std::uint8_t tag) {
        vrx::Bytes all;
        take(tag, &all);
        return all;
    }

private:
    vrx::Bytes rest_;
};

constexpr std::uint8_t integer = 0x02, bits = 0x03, octets = 0x04, oid = 0x06, sequence = 0x30, version = 0xa0;

// Returns the subject's public key from the signed part of a certificate.
vrx::Result<vrx::PublicKey> subject_key(vrx::Bytes covered) {
    Elements fields(Elements(covered).take(sequence));
    fields.skip(version);
    fields.take(integer);                               // serial number
    for (int i = 0; i < 4; ++i) fields.take(sequence);  // algorithm, issuer, validity, subject
    Elements info(fields.take(sequence));               // SubjectPublicKeyInfo
    Elements algorithm(info.take(sequence));
    algorithm.take(oid);  // GOST R 34.10-2001
    Elements parameters(algorithm.take(sequence));
    const vrx::Curve *curve = vrx::find_curve(parameters.whole(oid));
    const vrx::Bytes key = info.take(bits);  // the first octet counts the unused bits: 0
    if (curve == nullptr || key.empty()) return vrx::Error::bad_params;
    return vrx::PublicKey::from_octets(Elements(key.subspan(1)).take(octets), *curve);
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<std::uint8_t> file(1 << 16);
    std::FILE *in = argc == 2 ? std::fopen(argv[1], "rb") : nullptr;
    if (in == nullptr) {
        std::fputs("usage: certificate FILE.der\n", stderr);
        return 2;
    }
    file.resize(std::fread(file.data(), 1, file.size(), in));
    std::fclose(in);

    Elements certificate(Elements(file).take(sequence));
    const vrx::Bytes covered = certificate.whole(sequence);
    certificate.take(sequence);  // algorithm
    const vrx::Bytes signature = certificate.take(bits);
    const auto issuer = subject_key(covered);  // not self-signed: take the key from the issuer's certificate
    if (!issuer || signature.size() != 1 + VRX_SIGNATURE_SIZE) {
        std::fputs("certificate: not a certificate with a GOST R 34.10-2001 key\n", stderr);
        return 2;
    }
    // The signature algorithm implies the CryptoPro parameter set of the hash (RFC 4491, section 2.2).
    vrx::Signature value;
    std::copy(signature.begin() + 1, signature.end(), value.begin());
    const bool valid = static_cast<bool>(vrx::verify(*issuer, vrx::hash(covered), value));
    std::puts(valid ? "the self-signature is valid" : "the self-signature is NOT valid");
    return valid ? 0 : 1;
}

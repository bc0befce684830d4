// Verifies a signature on a curve that is not built in: id-tc26-gost-3410-2012-256-paramSetA of RFC 7836.
#include <cstdio>
#include <vrx.hpp>

namespace {

namespace mp = vrx::mp;

// Converts a number as standards print it: hexadecimal, most significant digit first.
vrx::Curve own_curve() {
    vrx::Curve curve{};  // without a table of multiples, a need not be p - 3
    mp::from_hex(curve.p, "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97");
    mp::from_hex(curve.a, "c2173f1513981673af4892c23035a27ce25e2013bf95aa33b22c656f277e7335");
    mp::from_hex(curve.b, "295f9bae7428ed9ccc20e7c359a9d41a22fccd9108e17bf7ba9337a6f8ae9513");
    mp::from_hex(curve.q, "400000000000000000000000000000000fd8cddfc87b6635c115af556c360c67");
    mp::from_hex(curve.G.x, "91e38443a5e82c0d880923425712b2bb658b9196932e02c78b2582fe742daa28");
    mp::from_hex(curve.G.y, "32879423ab1a0375895786c4bb46e9565fde0b5344766740af268adb32322e5c");
    return curve;
}

}  // namespace

int main() {
    const vrx::Curve curve = own_curve();  // must outlive every key that uses it
    const vrx::Point base(curve.G);
    if (!base.is_on(curve) || !vrx::multiply(vrx::Scalar(curve.q), base, curve).is_infinite()) {
        std::fputs("own_curve: these numbers do not define a curve with a base point of order q\n", stderr);
        return 1;
    }

    // A published example: RFC 9215, appendix D.2.1. Its digest comes from another hash; any 32 bytes can be signed.
    EcPoint point{};
    mp::from_hex(point.x, "99c3df265ea59350640ba69d1de04418af3fea03ec0f85f2dd84e8bed4952774");
    mp::from_hex(point.y, "e218631a69c47c122e2d516da1c09e6bd19344d94389d1f16c0c4d4dcf96f578");
    const auto key = vrx::PublicKey::from_point(vrx::Point(point), curve);
    const auto digest = vrx::Digest::from_hex("261858defd4411fb199fd0bcdc82138deeddf6da385e98cde1d0336c24e85b6b");
    const auto signature = vrx::Signature::from_hex(
        "1bdc2a1317679b66232f63ea16ff7c64ccaab9ad855fc6e18091661db79d4812"    // s
        "1d0e1da5be347c6f1b5256c7aeac200ad64ac77a6f5b3a0e097318e7ae6ee769");  // r
    if (!key || !digest || !signature) return 1;
    std::printf("published signature: %s\n", vrx::verify(*key, *digest, *signature) ? "valid" : "NOT valid");

    const auto own = vrx::PrivateKey::generate(curve);
    if (!own) return 1;
    const auto made = vrx::sign(*own, *digest);
    const auto other = own->public_key();
    if (!made || !other) return 1;
    std::printf("our own signature: %s\n", vrx::verify(*other, *digest, *made) ? "valid" : "NOT valid");
    return 0;
}

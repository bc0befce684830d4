#include "documents/algorithm.hpp"

#include <algorithm>

namespace vrx::documents {
namespace {

struct Named {
    const char* oid;
    const char* name;
};

constexpr Named algorithms[] = {
    {gost_key_oid, "GOST R 34.10-2001"},
    {gost_signature_oid, "GOST R 34.11-94 with GOST R 34.10-2001"},
    {"1.2.643.2.2.9", "GOST R 34.11-94"},
    {"1.2.643.2.2.21", "GOST 28147-89"},
    {"1.2.643.7.1.1.2.2", "GOST R 34.11-2012 with 256 bits"},
    {"1.2.643.7.1.1.2.3", "GOST R 34.11-2012 with 512 bits"},
    {"1.3.14.3.2.26", "SHA-1"},
    {"2.16.840.1.101.3.4.2.1", "SHA-256"},
    {"1.2.643.2.2.4", "GOST R 34.11-94 with GOST R 34.10-94"},
    {"1.2.643.2.2.20", "GOST R 34.10-94"},
    {"1.2.643.2.2.98", "GOST R 34.10-2001, for key agreement alone"},
    {"1.2.643.7.1.1.1.1", "GOST R 34.10-2012 with 256 bits"},
    {"1.2.643.7.1.1.1.2", "GOST R 34.10-2012 with 512 bits"},
    {"1.2.643.7.1.1.3.2", "GOST R 34.11-2012 with GOST R 34.10-2012, 256 bits"},
    {"1.2.643.7.1.1.3.3", "GOST R 34.11-2012 with GOST R 34.10-2012, 512 bits"},
    {"1.2.840.10040.4.1", "DSA"},
    {"1.2.840.10045.2.1", "ECDSA or ECDH"},
    {"1.2.840.10045.4.3.2", "ECDSA with SHA-256"},
    {"1.2.840.113549.1.1.1", "RSA"},
    {"1.2.840.113549.1.1.5", "RSA with SHA-1"},
    {"1.2.840.113549.1.1.11", "RSA with SHA-256"},
    {"1.3.101.112", "Ed25519"},
};

/** Find the built-in parameter set with an identifier; nullptr if there is none. */
template <auto get, std::uint32_t count>
auto set_by_oid(Part oid) -> decltype(get(0)) {
    for (std::uint32_t i = 0; i < count; ++i)
        if (std::ranges::equal(oid, Part(get(i)->oid, get(i)->oid_length))) return get(i);
    return nullptr;
}

/** Read PublicKeyParameters (RFC 4491, section 2.3.2); false if a set is unknown or the encoding is malformed. */
bool read_parameters(Part parameters, Algorithm& algorithm) {
    der::Reader sets(parameters);
    const auto curve = sets.next_whole(der::object_identifier);
    EcParamSet* found = nullptr;
    if (!curve || epFindParByOid(curve->data(), static_cast<std::uint32_t>(curve->size()), &found) != VRX_OK)
        return false;
    algorithm.curve = found;
    // The hash and cipher sets that the owner of the key prefers. A user of the key may choose other sets.
    if (const auto hash = sets.next_whole(der::object_identifier)) {
        algorithm.hash = set_by_oid<get_GOSTR3411_par, VRX_GOSTR3411_PAR_COUNT>(*hash);
        if (algorithm.hash == nullptr) return false;
    }
    if (const auto cipher = sets.next_whole(der::object_identifier)) {
        algorithm.cipher = set_by_oid<get_GOST28147_par, VRX_GOST28147_PAR_COUNT>(*cipher);
        if (algorithm.cipher == nullptr) return false;
    }
    return sets.at_end();
}

}  // namespace

/** Read an AlgorithmIdentifier. Returns false if there is none. */
bool read_algorithm(der::Reader& reader, Algorithm& algorithm) {
    algorithm = {};
    const auto contents = reader.next(der::sequence);
    if (!contents) return false;
    der::Reader fields(*contents);
    const auto oid = fields.next(der::object_identifier);
    const auto dotted = oid ? der::dotted(*oid) : std::nullopt;
    if (!dotted) return false;
    algorithm.oid = *dotted;
    if (algorithm.oid != gost_key_oid) {
        if (fields.at_end()) return true;
        const auto tag = fields.tag();
        return fields.next(*tag) && fields.at_end();
    }
    const auto null = fields.next(der::null);
    if (fields.at_end()) {
        algorithm.known = !null || null->empty();
    } else if (const auto parameters = fields.next(der::sequence); parameters && !null) {
        algorithm.known = fields.at_end() && read_parameters(*parameters, algorithm);
    }
    return true;
}

/** Read the fields of SubjectPublicKeyInfo. */
Content read_key_fields(der::Reader fields, Algorithm& algorithm, PublicOctets& value) {
    if (!read_algorithm(fields, algorithm)) return Content::other;
    const auto bits = fields.next(der::bit_string);
    if (!bits || !fields.at_end() || bits->empty()) return Content::other;
    if (!algorithm.known) return Content::foreign;
    if (bits->front() != 0) return Content::other;
    der::Reader inner(bits->subspan(1));
    const auto point = inner.next(der::octet_string);
    if (!point || !inner.at_end() || point->size() != value.size()) return Content::other;
    std::ranges::copy(*point, value.begin());
    return Content::known;
}

std::string algorithm_name(const std::string& oid) {
    const auto found = std::ranges::find_if(algorithms, [&](const Named& n) { return n.oid == oid; });
    return found != std::end(algorithms) ? found->name : oid;
}

}  // namespace vrx::documents

#include "keys/key_format.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>

#include "io/text.hpp"
#include "keys/der.hpp"

namespace vrx::app {
namespace {

using Part = std::span<const std::uint8_t>;

// id-GostR3410-2001 (RFC 4491, section 2.3.2)
constexpr std::uint8_t algorithm_oid[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
constexpr std::uint8_t version_zero[] = {0x02, 0x01, 0x00};
constexpr std::uint8_t no_unused_bits[] = {0};

struct Named {
    const char* oid;
    const char* name;
};

constexpr Named algorithms[] = {
    {gost_key_oid, "GOST R 34.10-2001"},
    {gost_signature_oid, "GOST R 34.11-94 with GOST R 34.10-2001"},
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

/** What parts of names are called (RFC 4514, RFC 4519), and those of Russian certificates. */
constexpr Named attributes[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "street"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "title"},
    {"2.5.4.42", "GN"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
    {"1.2.643.3.131.1.1", "INN"},
    {"1.2.643.100.1", "OGRN"},
    {"1.2.643.100.3", "SNILS"},
};

std::string name_of(std::span<const Named> names, const std::string& oid) {
    const auto found = std::ranges::find_if(names, [&](const Named& n) { return n.oid == oid; });
    return found != names.end() ? found->name : oid;
}

/** The built-in parameter set of an identifier, or nullptr. */
template <auto get, std::uint32_t count>
auto set_by_oid(Part oid) -> decltype(get(0)) {
    for (std::uint32_t i = 0; i < count; ++i)
        if (std::ranges::equal(oid, Part(get(i)->oid, get(i)->oid_length))) return get(i);
    return nullptr;
}

/** Reads PublicKeyParameters (RFC 4491, section 2.3.2); false when a set is unknown, or they are not well formed. */
bool read_parameters(Part parameters, Algorithm& algorithm) {
    der::Reader sets(parameters);
    const auto curve = sets.next_whole(der::object_identifier);
    EcParamSet* found = nullptr;
    if (!curve || epFindParByOid(curve->data(), static_cast<std::uint32_t>(curve->size()), &found) != VRX_OK)
        return false;
    algorithm.curve = found;
    // The sets that the key's owner prefers for hash and cipher. The user may choose others.
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

/** Reads an AlgorithmIdentifier; false when there is none. */
bool read_algorithm(der::Reader& reader, Algorithm& algorithm) {
    algorithm = {};
    const auto contents = reader.next(der::sequence);
    if (!contents) return false;
    der::Reader fields(*contents);
    const auto oid = fields.next(der::object_identifier);
    const auto dotted = oid ? der::dotted(*oid) : std::nullopt;
    if (!dotted) return false;
    algorithm.oid = *dotted;
    if (algorithm.oid != gost_key_oid) return true;
    const auto null = fields.next(der::null);
    if (fields.at_end()) {
        algorithm.known = !null || null->empty();
    } else if (const auto parameters = fields.next(der::sequence); parameters && !null) {
        algorithm.known = fields.at_end() && read_parameters(*parameters, algorithm);
    }
    return true;
}

/** Reads the number of a private key: octets, an OCTET STRING of them, maybe without its last zeros, or an INTEGER. */
bool read_private_value(Part value, PrivateOctets& octets) {
    der::Reader reader(value);
    if (value.size() == octets.size()) {
        std::ranges::copy(value, octets.begin());
        return true;
    }
    if (reader.tag() == der::octet_string) {
        const auto inner = reader.next(der::octet_string);
        if (!inner || inner->empty() || inner->size() > octets.size() || !reader.at_end()) return false;
        if (inner->size() < octets.size() && inner->back() == 0) return false;
        std::ranges::fill(std::ranges::copy(*inner, octets.begin()).out, octets.end(), std::uint8_t{0});
        return true;
    }
    auto number = reader.next(der::integer);
    if (!number || number->empty() || !reader.at_end()) return false;
    const bool zero_first = number->front() == 0;
    if (zero_first) number = number->subspan(1);
    // A zero in front keeps a number from being negative, and stands nowhere else.
    if (number->empty() || number->size() > octets.size() || zero_first != (number->front() >= 0x80)) return false;
    std::ranges::fill(octets, std::uint8_t{0});
    std::reverse_copy(number->begin(), number->end(), octets.begin());
    return true;
}

/** Reads the fields of SubjectPublicKeyInfo. */
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

/** The text of an attribute in UTF-8. Control characters, and what needs a mark in RFC 4514, become visible. */
std::string attribute_text(std::uint8_t tag, Part octets) {
    std::u32string characters;
    if (tag == der::bmp_string && octets.size() % 2 == 0) {
        for (std::size_t i = 0; i < octets.size(); i += 2)
            characters += static_cast<char32_t>(octets[i] << 8 | octets[i + 1]);
    } else if (tag == der::utf8_string || tag == der::printable_string || tag == der::ia5_string ||
               tag == der::numeric_string) {
        characters = from_utf8({reinterpret_cast<const char*>(octets.data()), octets.size()});
    } else if (tag == der::t61_string) {
        for (const std::uint8_t octet : octets) characters += static_cast<char32_t>(octet);
    } else {
        return "#" + to_hex(octets);
    }
    std::string text;
    for (const char32_t c : characters) {
        if (c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0xD800 && c < 0xE000)) {
            text.append("\\{").append(to_hex(static_cast<std::uint32_t>(c))).append("}");
            continue;
        }
        if (c == ',' || c == '+' || c == '"' || c == '\\' || c == '<' || c == '>' || c == ';') text += '\\';
        append_utf8(text, c);
    }
    return text;
}

/** Reads a Name, contents of the RDNSequence, "C=RU, O=..."; nothing when it is not well formed. */
std::optional<std::string> read_name(Part contents) {
    std::string text;
    for (der::Reader names(contents); !names.at_end();) {
        const auto relative = names.next(der::set);
        if (!relative || relative->empty()) return std::nullopt;
        const char* separator = text.empty() ? "" : ", ";
        for (der::Reader parts(*relative); !parts.at_end(); separator = " + ") {
            const auto part = parts.next(der::sequence);
            if (!part) return std::nullopt;
            der::Reader fields(*part);
            const auto oid = fields.next(der::object_identifier);
            const auto dotted = oid ? der::dotted(*oid) : std::nullopt;
            const auto tag = fields.tag();
            const auto value = tag ? fields.next(*tag) : std::nullopt;
            if (!dotted || !value || !fields.at_end()) return std::nullopt;
            text.append(separator)
                .append(name_of(attributes, *dotted))
                .append("=")
                .append(attribute_text(*tag, *value));
        }
    }
    return text;
}

/** Reads a Time (RFC 5280, section 4.1.2.5); nothing when it is not well formed. */
std::optional<std::string> read_time(der::Reader& reader) {
    const bool short_year = reader.tag() == der::utc_time;
    const auto contents = reader.next(short_year ? der::utc_time : der::generalized_time);
    if (!contents) return std::nullopt;
    std::string digits = !short_year ? "" : !contents->empty() && contents->front() < '5' ? "20" : "19";
    digits.append(contents->begin(), contents->end());
    if (!digits.ends_with('Z')) return std::nullopt;
    digits.pop_back();
    if (digits.size() != 14 || !to_number(digits)) return std::nullopt;
    for (const auto& [place, mark] : {std::pair{4, '-'}, {7, '-'}, {10, ' '}, {13, ':'}, {16, ':'}})
        digits.insert(digits.begin() + place, mark);
    return digits;
}

/** Reads the fields of TBSCertificate. */
Content read_signed_part(Part contents, Certificate& result) {
    der::Reader fields(contents);
    result.version = 1;
    if (fields.tag() == der::context_0) {
        der::Reader inner(fields.next(der::context_0).value_or(Part{}));
        const auto number = inner.next(der::integer);
        if (!number || number->size() != 1 || number->front() > 2 || !inner.at_end()) return Content::other;
        result.version = number->front() + 1U;
    }
    const auto serial = fields.next(der::integer);
    if (!serial || serial->empty() || !fields.next(der::sequence)) return Content::other;
    result.serial = *serial;
    const auto issuer = fields.next(der::sequence);
    const auto issuer_name = issuer ? read_name(*issuer) : std::nullopt;
    const auto validity = fields.next(der::sequence);
    if (!issuer_name || !validity) return Content::other;
    der::Reader times(*validity);
    const auto not_before = read_time(times);
    const auto not_after = read_time(times);
    const auto subject = fields.next(der::sequence);
    const auto subject_name = subject ? read_name(*subject) : std::nullopt;
    const auto key = fields.next(der::sequence);
    if (!not_before || !not_after || !times.at_end() || !subject_name || !key) return Content::other;
    result.issuer = *issuer_name;
    result.subject = *subject_name;
    result.self_issued = std::ranges::equal(*issuer, *subject);
    result.not_before = *not_before;
    result.not_after = *not_after;
    // Behind the key stand identifiers and extensions, which say nothing about the key itself.
    return read_key_fields(der::Reader(*key), result.algorithm, result.key);
}

void append_algorithm(SecretBytes& out, const EcParamSet& set) {
    SecretBytes parameters;
    der::append(parameters, der::sequence, {{set.oid, set.oid_len}, VRX_PAR_HASH_1_OID});
    der::append(out, der::sequence, {algorithm_oid, parameters.bytes()});
}

}  // namespace

Content read_private_key(Part octets, Algorithm& algorithm, PrivateOctets& value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    der::Reader fields(*contents);
    const auto version = fields.next_whole(der::integer);
    if (!version || !std::ranges::equal(*version, version_zero) || !read_algorithm(fields, algorithm))
        return Content::other;
    const auto key = fields.next(der::octet_string);
    // Attributes may follow (RFC 5208).
    if (!key || !(fields.at_end() || (fields.next(der::context_0) && fields.at_end()))) return Content::other;
    if (!algorithm.known) return Content::foreign;
    return read_private_value(*key, value) ? Content::known : Content::other;
}

Content read_public_key(Part octets, Algorithm& algorithm, PublicOctets& value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    return read_key_fields(der::Reader(*contents), algorithm, value);
}

Content read_certificate(Part octets, Certificate& certificate) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return Content::other;
    der::Reader fields(*contents);
    const auto signed_part = fields.next_whole(der::sequence);
    Algorithm signature_algorithm;
    if (!signed_part || !read_algorithm(fields, signature_algorithm)) return Content::other;
    const auto signature = fields.next(der::bit_string);
    if (!signature || signature->empty() || !fields.at_end()) return Content::other;
    certificate.signed_part = *signed_part;
    certificate.signature_oid = signature_algorithm.oid;
    certificate.signature = signature->subspan(1);
    der::Reader inner(*signed_part);
    return read_signed_part(*inner.next(der::sequence), certificate);
}

void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value) {
    SecretBytes algorithm;
    append_algorithm(algorithm, curve);
    SecretBytes key;
    der::append(key, der::octet_string, {value});
    der::append(out, der::sequence, {version_zero, algorithm.bytes(), key.bytes()});
}

void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value) {
    SecretBytes algorithm;
    append_algorithm(algorithm, curve);
    SecretBytes point;
    der::append(point, der::octet_string, {value});
    SecretBytes bits;
    der::append(bits, der::bit_string, {no_unused_bits, point.bytes()});
    der::append(out, der::sequence, {algorithm.bytes(), bits.bytes()});
}

std::string algorithm_name(const std::string& oid) { return name_of(algorithms, oid); }

}  // namespace vrx::app

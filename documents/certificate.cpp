#include "documents/certificate.hpp"

#include <algorithm>
#include <array>

#include "documents/name.hpp"

namespace vrx::documents {
namespace {

constexpr std::size_t longest_serial = 21;  // 20 octets, and a leading zero octet that makes the number positive

bool read_basic_constraints(Part value, Extensions& result) {
    der::Reader outer(value);
    const auto contents = outer.next(der::sequence);
    if (!contents) return false;
    der::Reader fields(*contents);
    result.has_basic_constraints = true;
    if (fields.tag() == der::boolean) {
        // DER omits the default value, FALSE.
        if (der::truth(fields.next(der::boolean).value_or(Part{})) != true) return false;
        result.is_authority = true;
    }
    if (fields.tag() == der::integer) {
        const auto number = fields.next(der::integer);
        result.path_length = number ? der::small_number(*number) : std::nullopt;
        if (!result.path_length || !result.is_authority) return false;
    }
    return fields.at_end();
}

/** Read a BIT STRING of named bits. Its last bit must be 1 (X.690, section 11.2.2). */
bool read_key_usage(Part value, Extensions& result) {
    der::Reader outer(value);
    const auto bits = outer.next(der::bit_string);
    if (!bits || bits->size() < 2 || bits->size() > 3 || bits->front() > 7) return false;
    const unsigned unused = bits->front();
    const std::uint8_t last = bits->back();
    if ((last & ((1U << unused) - 1)) != 0 || (last >> unused & 1U) == 0) return false;
    std::uint16_t usage = 0;
    for (std::size_t i = 0; i < 8 * (bits->size() - 1); ++i)
        if (((*bits)[1 + i / 8] >> (7 - i % 8) & 1U) != 0) usage = static_cast<std::uint16_t>(usage | 1U << i);
    result.key_usage = usage;
    return true;
}

bool read_subject_key(Part value, Extensions& result) {
    der::Reader outer(value);
    result.subject_key = outer.next(der::octet_string);
    return result.subject_key.has_value();
}

bool read_authority_key(Part value, Extensions& result) {
    constexpr std::uint8_t key_identifier = 0x80;  // [0], primitive
    der::Reader outer(value);
    const auto contents = outer.next(der::sequence);
    if (!contents) return false;
    der::Reader fields(*contents);
    if (fields.tag() == key_identifier) {
        result.authority_key = fields.next(key_identifier);
        if (!result.authority_key) return false;
    }
    return true;
}

/** Check the form of SubjectAltName and IssuerAltName, which do not affect the verdict. */
bool read_other_names(Part value, Extensions&) {
    der::Reader outer(value);
    const auto contents = outer.next(der::sequence);
    return contents && !contents->empty();
}

struct Understood {
    const char* oid;
    bool (*read)(Part, Extensions&);
};

constexpr Understood understood[] = {{"2.5.29.14", read_subject_key},       {"2.5.29.15", read_key_usage},
                                     {"2.5.29.17", read_other_names},       {"2.5.29.18", read_other_names},
                                     {"2.5.29.19", read_basic_constraints}, {"2.5.29.35", read_authority_key}};

bool take_extensions(Part contents, Extensions& result) {
    const auto extensions = read_extensions(contents);
    if (!extensions) return false;
    for (const Extension& extension : *extensions) {
        const auto known =
            std::ranges::find_if(understood, [&](const Understood& u) { return u.oid == extension.oid; });
        if (known == std::end(understood)) {
            if (extension.critical && result.unsupported.empty()) result.unsupported = extension.oid;
        } else if (!known->read(extension.value, result)) {
            return false;
        }
    }
    return true;
}

/** Read the optional fields after the key: identifiers of issuer and subject, and extensions. */
bool read_rest(der::Reader fields, Certificate& result) {
    constexpr std::uint8_t issuer_identifier = 0x81;  // [1] and [2], primitive
    constexpr std::uint8_t subject_identifier = 0x82;
    for (const std::uint8_t tag : {issuer_identifier, subject_identifier}) {
        if (fields.tag() != tag) continue;
        const auto bits = fields.next(tag);
        if (!bits || bits->empty() || bits->front() > 7 || result.version < 2) return false;
    }
    if (fields.tag() == der::context_3) {
        der::Reader inner(fields.next(der::context_3).value_or(Part{}));
        const auto extensions = inner.next(der::sequence);
        if (!extensions || !inner.at_end() || result.version != 3 || !take_extensions(*extensions, result.extensions))
            return false;
    }
    return fields.at_end();
}

/** Read the fields of TBSCertificate. */
Content read_signed_part(Part contents, Part algorithm, Certificate& result) {
    der::Reader fields(contents);
    result.version = 1;
    if (fields.tag() == der::context_0) {
        der::Reader inner(fields.next(der::context_0).value_or(Part{}));
        const auto number = inner.next(der::integer);
        // DER omits the default value, version 1.
        if (!number || number->size() != 1 || number->front() < 1 || number->front() > 2 || !inner.at_end())
            return Content::other;
        result.version = number->front() + 1U;
    }
    const auto serial = fields.next(der::integer);
    if (!serial || !der::is_integer(*serial) || serial->front() >= 0x80 || serial->size() > longest_serial)
        return Content::other;
    const auto inner_algorithm = fields.next_whole(der::sequence);
    if (!inner_algorithm || !std::ranges::equal(*inner_algorithm, algorithm)) return Content::other;
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
    result.serial = *serial;
    result.issuer_octets = *issuer;
    result.subject_octets = *subject;
    result.issuer = *issuer_name;
    result.subject = *subject_name;
    result.self_issued = std::ranges::equal(*issuer, *subject);
    result.not_before = *not_before;
    result.not_after = *not_after;
    if (!read_rest(fields, result)) return Content::other;
    return read_key_fields(der::Reader(*key), result.algorithm, result.key);
}

/** True if two extensions have the same identifier. Sorts them, because a hostile file may have very many. */
bool has_duplicates(const std::vector<Extension>& extensions) {
    std::vector<std::string_view> names;
    names.reserve(extensions.size());
    for (const Extension& extension : extensions) names.emplace_back(extension.oid);
    std::ranges::sort(names);
    return std::ranges::adjacent_find(names) != names.end();
}

}  // namespace

bool Certificate::allows(KeyUsage usage) const {
    return !extensions.key_usage || (*extensions.key_usage >> static_cast<unsigned>(usage) & 1U) != 0;
}

bool read_signed(Part octets, Signed& result, Part& inner) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end() || !der::is_well_formed(octets)) return false;
    der::Reader fields(*contents);
    const auto signed_part = fields.next_whole(der::sequence);
    der::Reader copy = fields;
    const auto algorithm_octets = copy.next_whole(der::sequence);
    Algorithm algorithm;
    if (!signed_part || !algorithm_octets || !read_algorithm(fields, algorithm)) return false;
    const auto signature = fields.next(der::bit_string);
    if (!signature || signature->empty() || signature->front() != 0 || !fields.at_end()) return false;
    result.signed_part = *signed_part;
    result.signature_oid = algorithm.oid;
    result.signature = signature->subspan(1);
    inner = *algorithm_octets;
    return algorithm.oid != gost_signature_oid || result.signature.size() == VRX_SIGNATURE_SIZE;
}

std::optional<std::vector<Extension>> read_extensions(Part contents) {
    std::vector<Extension> result;
    for (der::Reader all(contents); !all.at_end();) {
        const auto one = all.next(der::sequence);
        if (!one) return std::nullopt;
        der::Reader fields(*one);
        const auto oid = fields.next(der::object_identifier);
        const auto dotted = oid ? der::dotted(*oid) : std::nullopt;
        if (!dotted) return std::nullopt;
        Extension extension{*dotted, fields.tag() == der::boolean, {}};
        if (extension.critical) {
            const auto value = fields.next(der::boolean);
            if (!value || der::truth(*value) != true) return std::nullopt;  // DER omits the default value, FALSE
        }
        const auto value = fields.next(der::octet_string);
        if (!value || !fields.at_end() || !der::is_well_formed(*value)) return std::nullopt;
        extension.value = *value;
        result.push_back(std::move(extension));
    }
    if (result.empty() || has_duplicates(result)) return std::nullopt;
    return result;
}

Content read_certificate(Part octets, Certificate& certificate) {
    certificate = {};
    Part algorithm;
    if (!read_signed(octets, certificate, algorithm)) return Content::other;
    der::Reader inner(certificate.signed_part);
    return read_signed_part(*inner.next(der::sequence), algorithm, certificate);
}

std::string key_usage_text(std::uint16_t usage) {
    constexpr std::array names{"digitalSignature", "nonRepudiation", "keyEncipherment",
                               "dataEncipherment", "keyAgreement",   "keyCertSign",
                               "cRLSign",          "encipherOnly",   "decipherOnly"};
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        if ((usage >> i & 1U) != 0) text.append(text.empty() ? "" : ", ").append(names[i]);
    return text;
}

}  // namespace vrx::documents

#include "documents/message.hpp"

#include <algorithm>
#include <array>
#include <span>

#include "documents/name.hpp"

namespace vrx::documents {
namespace {

struct Named {
    const char* oid;
    const char* name;
};

constexpr std::array content_types{
    Named{data_oid, "data"},
    Named{signed_data_oid, "signed data"},
    Named{enveloped_data_oid, "enveloped data"},
    Named{"1.2.840.113549.1.7.5", "digested data"},
    Named{encrypted_data_oid, "encrypted data"},
    Named{"1.2.840.113549.1.9.16.1.2", "authenticated data"},
    Named{"1.2.840.113549.1.9.16.1.4", "a time stamp"},
    Named{"1.2.840.113549.1.9.16.1.7", "a request to a validation server"},
    Named{"1.2.840.113549.1.9.16.1.8", "a response of a validation server"},
    Named{"1.2.840.113549.1.9.16.1.9", "compressed data"},
    Named{"1.2.840.113549.1.9.16.1.23", "authenticated-enveloped data"},
};

constexpr std::array attributes{
    Named{"1.2.840.113549.1.9.3", "contentType"},
    Named{"1.2.840.113549.1.9.4", "messageDigest"},
    Named{"1.2.840.113549.1.9.5", "signingTime"},
    Named{"1.2.840.113549.1.9.6", "countersignature"},
    Named{"1.2.840.113549.1.9.14", "extensionRequest"},
    Named{"1.2.840.113549.1.9.15", "smimeCapabilities"},
    Named{"1.2.840.113549.1.9.16.2.12", "signingCertificate"},
    Named{"1.2.840.113549.1.9.16.2.14", "timeStampToken"},
    Named{"1.2.840.113549.1.9.16.2.47", "signingCertificateV2"},
    Named{"1.2.840.113549.1.9.20", "friendlyName"},
    Named{"1.2.840.113549.1.9.21", "localKeyId"},
};

std::string name_in(std::span<const Named> names, const std::string& oid) {
    const auto found = std::ranges::find_if(names, [&](const Named& n) { return n.oid == oid; });
    return found != names.end() ? found->name : oid;
}

std::string hex(Part octets) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t octet : octets) {
        text += digits[octet >> 4];
        text += digits[octet & 15];
    }
    return text;
}

}  // namespace

std::string read_oid(ber::Reader& reader) {
    const Octets whole = reader.whole(der::object_identifier);
    der::Reader element(whole);
    const auto contents = element.next(der::object_identifier);
    const auto dotted = contents ? der::dotted(*contents) : std::nullopt;
    if (!dotted) throw Malformed("an object identifier is malformed");
    return *dotted;
}

std::uint32_t read_version(ber::Reader& reader) {
    const Octets whole = reader.whole(der::integer);
    der::Reader element(whole);
    const auto contents = element.next(der::integer);
    const auto number = contents ? der::small_number(*contents) : std::nullopt;
    if (!number) throw Malformed("its version is malformed");
    return *number;
}

std::string read_content_type(ber::Reader& reader) {
    reader.enter(der::sequence);
    const std::string type = read_oid(reader);
    reader.enter(der::context_0);
    reader.enter(der::sequence);
    return type;
}

void finish_message(ber::Reader& reader) {
    for (int i = 0; i < 3; ++i) reader.leave();
    reader.finish();
}

bool CertificateId::names(const Certificate& certificate) const {
    if (!key.empty()) {
        const auto& own = certificate.extensions.subject_key;
        return own && std::ranges::equal(key, *own);
    }
    return std::ranges::equal(serial, certificate.serial) && std::ranges::equal(issuer, certificate.issuer_octets);
}

std::string CertificateId::text() const {
    if (!key.empty()) return "key " + hex(key);
    return "serial " + hex(serial) + " of " + read_name(issuer).value_or("an unreadable issuer");
}

CertificateId read_certificate_id(const asn1::Value& value, const std::string& path) {
    CertificateId id;
    id.key = value.octets(path + ".subjectKeyIdentifier");
    if (!id.key.empty()) return id;
    id.serial = value.octets(path + ".issuerAndSerialNumber.serialNumber");
    const Octets issuer = value.octets(path + ".issuerAndSerialNumber.issuer");
    der::Reader element(issuer);
    const auto contents = element.next(der::sequence);
    if (!contents || !element.at_end() || !der::is_well_formed(issuer) || !der::is_integer(id.serial))
        throw Malformed("the name or number of a certificate is malformed");
    id.issuer.assign(contents->begin(), contents->end());
    return id;
}

void write_certificate_id(asn1::Value& value, const std::string& path, const Certificate& certificate) {
    Octets issuer;
    asn1::append(issuer, der::sequence, certificate.issuer_octets);
    value.set(path, "issuerAndSerialNumber");
    value.set(path + ".issuerAndSerialNumber.issuer", issuer);
    value.set(path + ".issuerAndSerialNumber.serialNumber", certificate.serial);
}

bool has_no_parameters(const asn1::Value& value, const std::string& path) {
    const Octets parameters = value.octets(path + ".parameters");
    return parameters.empty() || parameters == Octets{der::null, 0};
}

std::string content_type_name(const std::string& oid) { return name_in(content_types, oid); }

std::string attribute_name(const std::string& oid) { return name_in(attributes, oid); }

}  // namespace vrx::documents

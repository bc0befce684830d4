// The common parts of messages (RFC 5652): the outermost structure, attributes, and how messages name certificates.
#ifndef VRX_DOCUMENTS_MESSAGE_HPP
#define VRX_DOCUMENTS_MESSAGE_HPP

#include <optional>
#include <string>

#include "documents/asn1.hpp"
#include "documents/ber.hpp"
#include "documents/certificate.hpp"
#include "documents/source.hpp"

namespace vrx::documents {

// The identifiers of types of content and of messages (RFC 5652).
inline constexpr const char* data_oid = "1.2.840.113549.1.7.1";
inline constexpr const char* signed_data_oid = "1.2.840.113549.1.7.2";
inline constexpr const char* enveloped_data_oid = "1.2.840.113549.1.7.3";
inline constexpr const char* encrypted_data_oid = "1.2.840.113549.1.7.6";

// The identifiers of algorithms in messages (RFC 4490), except those in algorithm.hpp.
inline constexpr const char* gost_hash_oid = "1.2.643.2.2.9";
inline constexpr const char* gost_cipher_oid = "1.2.643.2.2.21";
inline constexpr const char* gost_agreement_key_oid = "1.2.643.2.2.98";

/**
 * Begin to read a message: enter ContentInfo, read the type of its content, and enter the content. Throws Malformed.
 *
 * @return the type, dotted.
 */
std::string read_content_type(ber::Reader& reader);

/** Leave the elements that read_content_type() entered, and check that nothing follows them. */
void finish_message(ber::Reader& reader);

/** Read a version number. */
std::uint32_t read_version(ber::Reader& reader);

/** Read an OBJECT IDENTIFIER, in dotted form. */
std::string read_oid(ber::Reader& reader);

/** How a message names a certificate: by issuer and serial number, or by the identifier of its key. */
struct CertificateId {
    Octets issuer;  // the contents of the Name
    Octets serial;
    Octets key;  // not empty if the certificate is named by its key

    [[nodiscard]] bool names(const Certificate& certificate) const;
    /** Returns a text: "serial 1f2e of CN=..., ..." or "key 1f2e". */
    [[nodiscard]] std::string text() const;
};

/** Read a SignerIdentifier or RecipientIdentifier at a path. Throws Malformed. */
CertificateId read_certificate_id(const asn1::Value& value, const std::string& path);
/** Write a SignerIdentifier or RecipientIdentifier that names a certificate by issuer and serial number. */
void write_certificate_id(asn1::Value& value, const std::string& path, const Certificate& certificate);

/** True if the parameters of an algorithm are absent or NULL. */
bool has_no_parameters(const asn1::Value& value, const std::string& path);

/** Return a name for a type of content, or the identifier itself if the type is unknown. */
std::string content_type_name(const std::string& oid);

/** Return the name of an attribute, or the identifier itself. */
std::string attribute_name(const std::string& oid);

}  // namespace vrx::documents

#endif

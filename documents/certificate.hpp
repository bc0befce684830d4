// Reads X.509 certificates (RFC 5280, section 4) with GOST R 34.10-2001 keys (RFC 4491).
#ifndef VRX_DOCUMENTS_CERTIFICATE_HPP
#define VRX_DOCUMENTS_CERTIFICATE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "documents/algorithm.hpp"
#include "documents/der.hpp"
#include "documents/time.hpp"

namespace vrx::documents {

/** The uses of a certificate's key, as bit numbers of KeyUsage (RFC 5280, section 4.2.1.3). */
enum class KeyUsage : unsigned { digital_signature = 0, non_repudiation = 1, certificate_sign = 5, crl_sign = 6 };

/** The contents of the supported extensions. */
struct Extensions {
    std::optional<std::uint16_t> key_usage;  // bit n is KeyUsage n
    bool has_basic_constraints = false;
    bool is_authority = false;
    std::optional<std::uint32_t> path_length;
    std::optional<Part> subject_key;  // key identifiers
    std::optional<Part> authority_key;
    std::string unsupported;  // the identifier of an unsupported critical extension, dotted; or empty
};

/**
 * A signature over a part of a document. All parts are views into the octets that were read, which must outlive them.
 */
struct Signed {
    Part signed_part;           // the signed element, with tag and length
    std::string signature_oid;  // dotted
    Part signature;             // the octets of the BIT STRING, which has no unused bits
};

/** A certificate. All parts are views into the octets that were read, which must outlive them. */
struct Certificate : Signed {
    std::uint32_t version;
    Part serial;
    Part issuer_octets;  // contents of the Names
    Part subject_octets;
    std::string issuer;  // as read_name() formats them
    std::string subject;
    bool self_issued;
    Time not_before;
    Time not_after;
    Algorithm algorithm;  // of the key
    PublicOctets key;
    Extensions extensions;

    /** True if the certificate allows this use of its key, or does not restrict the use. */
    [[nodiscard]] bool allows(KeyUsage usage) const;
};

/**
 * Read a certificate in DER. Data after the certificate is an error. If the result is Content::foreign, all fields
 * except the key are valid.
 */
Content read_certificate(Part octets, Certificate& certificate);

/**
 * Read the outer structure of a certificate or revocation list: signed part, algorithm and signature.
 *
 * @param inner  out: the octets of the outer AlgorithmIdentifier, which the signed part must repeat.
 */
bool read_signed(Part octets, Signed& result, Part& inner);

/** An X.509 extension. */
struct Extension {
    std::string oid;  // dotted
    bool critical;
    Part value;  // one element
};

/** Read the contents of Extensions; std::nullopt if they are malformed, empty, or repeat an extension. */
std::optional<std::vector<Extension>> read_extensions(Part contents);

/** Format a key usage: "digitalSignature, keyCertSign". */
std::string key_usage_text(std::uint16_t usage);

}  // namespace vrx::documents

#endif

// X.509 certificates (RFC 5280, section 4) with keys of GOST R 34.10-2001 (RFC 4491).
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

/** What a certificate's key may be used for (RFC 5280, section 4.2.1.3): the bit of that number. */
enum class KeyUsage : unsigned { digital_signature = 0, non_repudiation = 1, certificate_sign = 5, crl_sign = 6 };

/** What the extensions say that are understood here. */
struct Extensions {
    std::optional<std::uint16_t> key_usage;  // bit n is KeyUsage n
    bool has_basic_constraints = false;
    bool is_authority = false;
    std::optional<std::uint32_t> path_length;
    std::optional<Part> subject_key;  // identifiers of the keys
    std::optional<Part> authority_key;
    std::string not_understood;  // a critical one, dotted; empty when there is none
};

/** A signature over a part of a document. All parts are those of the octets that were read. */
struct Signed {
    Part signed_part;           // the whole element that is signed
    std::string signature_oid;  // dotted
    Part signature;             // the octets of the BIT STRING, which has no unused bits
};

/** All parts are those of the octets that were read. */
struct Certificate : Signed {
    std::uint32_t version;
    Part serial;
    Part issuer_octets;  // contents of the Names
    Part subject_octets;
    std::string issuer;  // as read_name() writes them
    std::string subject;
    bool self_issued;
    Time not_before;
    Time not_after;
    Algorithm algorithm;  // of the key
    PublicOctets key;
    Extensions extensions;

    /** Whether the key may be used so: always where the certificate does not say. */
    [[nodiscard]] bool allows(KeyUsage usage) const;
};

/** Read a certificate in DER, and nothing after it. Content::foreign fills in everything but the key. */
Content read_certificate(Part octets, Certificate& certificate);

/**
 * Read the outer structure of certificates and revocation lists: what is signed, algorithm and signature.
 *
 * @param inner  out: the octets of the outer AlgorithmIdentifier, which the signed part has to repeat.
 */
bool read_signed(Part octets, Signed& result, Part& inner);

/** One extension. */
struct Extension {
    std::string oid;  // dotted
    bool critical;
    Part value;  // one element
};

/** Read the contents of Extensions: at least one, none twice; nothing when they are not well formed. */
std::optional<std::vector<Extension>> read_extensions(Part contents);

/** The text of a key usage, "digitalSignature, keyCertSign". */
std::string key_usage_text(std::uint16_t usage);

}  // namespace vrx::documents

#endif

// Reads and writes SignedData (RFC 5652, section 5) with GOST R 34.10-2001 signatures (RFC 4490).
#ifndef VRX_DOCUMENTS_SIGNED_DATA_HPP
#define VRX_DOCUMENTS_SIGNED_DATA_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/ber.hpp"
#include "documents/chain.hpp"
#include "documents/message.hpp"
#include "documents/signature.hpp"
#include "documents/source.hpp"

namespace vrx::documents {

/** The order of the signed attributes as they are encoded. DER sorts them. */
enum class AttributeOrder { none, sorted, unsorted };

/** A signer of a message. */
struct SignerInfo {
    CertificateId id;  // the identifier of the signer's certificate
    std::uint32_t version = 0;
    std::string digest_oid;     // dotted
    std::string signature_oid;  // dotted
    bool known = false;         // true if both algorithms and their parameters are those of RFC 4490
    Octets signature;

    AttributeOrder order = AttributeOrder::none;  // none: there are no signed attributes
    Octets attributes;                            // the SET of signed attributes, in the order of the message
    Octets sorted_attributes;                     // the SET of signed attributes in DER
    std::vector<std::string> signed_types;        // the identifiers of the signed attributes, dotted
    std::vector<std::string> unsigned_types;
    Fault attribute_fault;             // set if a required attribute is missing, or an attribute is malformed
    std::string content_type;          // the value of this attribute, dotted
    Octets message_digest;             // the value of this attribute
    std::optional<Time> signing_time;  // as the signer states it
};

/** A signed message, without its content. */
struct SignedData {
    std::uint32_t version = 0;
    std::vector<std::string> digest_oids;
    std::string content_type;  // dotted
    bool has_content = false;  // false: the signatures are detached
    std::vector<Octets> certificates;
    std::vector<Octets> revocation_lists;
    std::vector<SignerInfo> signers;
};

/**
 * Read the rest of a message after read_content_type() found signed_data_oid. Throws Malformed.
 *
 * @param content  a function that receives the content, if the message contains it.
 */
SignedData read_signed_data(ber::Reader& reader, const Sink& content);

/**
 * Verify the signature of a signer.
 *
 * @param digest  the digest of the content.
 * @param key     the key in the signer's certificate.
 */
Fault check_signature(const SignedData& message, const SignerInfo& signer, const Digest& digest, const WorkingKey& key);

/**
 * True if the signature was computed over the attributes in the order of the message, and this order is not that of
 * DER.
 */
bool verifies_unsorted(const SignerInfo& signer, const WorkingKey& key);

}  // namespace vrx::documents

#endif

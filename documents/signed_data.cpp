#include "documents/signed_data.hpp"

#include <algorithm>

#include "documents/asn1.hpp"

namespace vrx::documents {
namespace {

constexpr std::size_t most_signers = 1000;
constexpr std::size_t most_attributes = 1000;  // of one signer, of each kind; reading takes quadratic time
constexpr const char* content_type_oid = "1.2.840.113549.1.9.3";
constexpr const char* message_digest_oid = "1.2.840.113549.1.9.4";
constexpr const char* signing_time_oid = "1.2.840.113549.1.9.5";
constexpr const char* hash_set_oid = "1.2.643.2.2.30.1";  // CryptoPro

/** True if an algorithm is GOST R 34.11-94 with the parameter set CryptoPro. The algorithm need not name this set. */
bool is_hash(const asn1::Value& value, const std::string& path) {
    return value.oid(path + ".algorithm") == gost_hash_oid &&
           (has_no_parameters(value, path) || value.octets(path + ".parameters") == asn1::encode_oid(hash_set_oid));
}

bool is_signature_algorithm(const asn1::Value& value, const std::string& path) {
    const std::string oid = value.oid(path + ".algorithm");
    return (oid == gost_key_oid || oid == gost_signature_oid) && has_no_parameters(value, path);
}

/** Returns the elements of a SET OF, given its contents; std::nullopt if the contents are not DER. */
std::optional<std::vector<Part>> elements_of(Part contents) {
    std::vector<Part> elements;
    for (der::Reader reader(contents); !reader.at_end();) {
        const auto element = reader.next_whole(*reader.tag());
        if (!element || !der::is_well_formed(*element)) return std::nullopt;
        elements.push_back(*element);
    }
    return elements;
}

/** Stores the value of an attribute that RFC 5652 defines. Returns false if the value is malformed. */
bool take_attribute(const std::string& oid, Part value, SignerInfo& signer) {
    der::Reader reader(value);
    if (oid == content_type_oid) {
        const auto contents = reader.next(der::object_identifier);
        const auto dotted = contents ? der::dotted(*contents) : std::nullopt;
        if (dotted) signer.content_type = *dotted;
        return dotted && reader.at_end();
    }
    if (oid == message_digest_oid) {
        const auto contents = reader.next(der::octet_string);
        if (contents) signer.message_digest.assign(contents->begin(), contents->end());
        return contents && reader.at_end();
    }
    signer.signing_time = read_time(reader);
    return signer.signing_time && reader.at_end();
}

Fault read_attribute(Part octets, SignerInfo& signer) {
    const Fault malformed{"attributes", "a signed attribute is malformed"};
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents) return malformed;
    der::Reader fields(*contents);
    const auto type = fields.next(der::object_identifier);
    const auto oid = type ? der::dotted(*type) : std::nullopt;
    const auto values = fields.next(der::set);
    if (!oid || !values || !fields.at_end()) return malformed;
    const bool repeated = std::ranges::find(signer.signed_types, *oid) != signer.signed_types.end();
    signer.signed_types.push_back(*oid);
    if (*oid != content_type_oid && *oid != message_digest_oid && *oid != signing_time_oid) return {};
    if (repeated) return {"attributes", "the signed attribute " + attribute_name(*oid) + " occurs twice"};
    der::Reader each(*values);
    const auto tag = each.tag();
    const auto value = tag ? each.next_whole(*tag) : std::nullopt;
    if (!value || !each.at_end() || !take_attribute(*oid, *value, signer))
        return {"attributes", "the signed attribute " + attribute_name(*oid) + " is malformed"};
    return {};
}

/** Read the signed attributes. @param whole  the element [0] around them. */
void read_signed_attributes(Part whole, SignerInfo& signer) {
    signer.order = AttributeOrder::unsorted;
    const Fault malformed{"attributes", "the signed attributes are not in DER"};
    signer.attribute_fault = malformed;
    der::Reader outer(whole);
    const auto contents = outer.next(der::context_0);
    if (!contents || !outer.at_end()) return;
    auto elements = elements_of(*contents);
    if (!elements || elements->empty()) return;
    if (elements->size() > most_attributes) throw Malformed("a signer has too many attributes");
    asn1::append(signer.attributes, der::set, *contents);
    Fault fault;
    for (const Part element : *elements)
        if (Fault next = read_attribute(element, signer); fault.none()) fault = std::move(next);
    // DER sorts elements by their octets, and pads the shorter of two elements with zeros (X.690, section 11.6).
    // Because no element is the beginning of another element, std::ranges::lexicographical_compare() gives the same
    // order.
    std::ranges::sort(*elements, [](Part a, Part b) { return std::ranges::lexicographical_compare(a, b); });
    Octets sorted;
    for (const Part element : *elements) sorted.insert(sorted.end(), element.begin(), element.end());
    asn1::append(signer.sorted_attributes, der::set, sorted);
    if (signer.attributes == signer.sorted_attributes) signer.order = AttributeOrder::sorted;
    if (fault.none() && signer.content_type.empty())
        fault = {"attributes", "the signed attribute contentType is missing"};
    if (fault.none() && signer.message_digest.empty())
        fault = {"attributes", "the signed attribute messageDigest is missing"};
    signer.attribute_fault = std::move(fault);
}

SignerInfo read_signer(const Octets& octets) {
    const auto value = asn1::Value::decode("SignerInfo", octets);
    if (!value) throw Malformed("the data about a signer is malformed");
    SignerInfo signer;
    signer.id = read_certificate_id(*value, "sid");
    signer.version = value->number("version").value_or(0);
    if (signer.version != (signer.id.key.empty() ? 1U : 3U)) throw Malformed("the version of a signer is not valid");
    signer.digest_oid = value->oid("digestAlgorithm.algorithm");
    signer.signature_oid = value->oid("signatureAlgorithm.algorithm");
    signer.known = is_hash(*value, "digestAlgorithm") && is_signature_algorithm(*value, "signatureAlgorithm");
    signer.signature = value->octets("signature");
    if (const Part attributes = value->as_decoded("signedAttrs", octets); !attributes.empty())
        read_signed_attributes(attributes, signer);
    const std::size_t count = value->count("unsignedAttrs");
    if (count > most_attributes) throw Malformed("a signer has too many attributes");
    for (std::size_t i = 1; i <= count; ++i)
        signer.unsigned_types.push_back(value->oid("unsignedAttrs.?" + std::to_string(i) + ".type"));
    return signer;
}

/** Read the elements of an optional SET with a tag from the context. */
std::vector<Octets> read_set(ber::Reader& reader, std::uint8_t tag) {
    std::vector<Octets> elements;
    if (reader.tag() != tag) return elements;
    reader.enter(tag);
    while (reader.tag()) elements.push_back(reader.whole());
    reader.leave();
    return elements;
}

std::vector<std::string> read_digest_oids(ber::Reader& reader) {
    std::vector<std::string> oids;
    reader.enter(der::set);
    while (reader.tag()) {
        const auto algorithm = asn1::Value::decode("AlgorithmIdentifier", reader.whole());
        if (!algorithm) throw Malformed("the name of an algorithm is malformed");
        oids.push_back(algorithm->oid("algorithm"));
    }
    reader.leave();
    return oids;
}

/** Verify a signature over the digest of signed attributes. */
bool verifies_over(const Octets& attributes, const SignerInfo& signer, const WorkingKey& key) {
    return verifies(digest_of(attributes), signer.signature, key);
}

}  // namespace

SignedData read_signed_data(ber::Reader& reader, const Sink& content) {
    SignedData message;
    message.version = read_version(reader);
    if (message.version < 1 || message.version > 5) throw Malformed("its version is not known");
    message.digest_oids = read_digest_oids(reader);
    reader.enter(der::sequence);
    message.content_type = read_oid(reader);
    message.has_content = reader.tag().has_value();
    if (message.has_content) {
        reader.enter(der::context_0);
        reader.stream(der::octet_string, content);
        reader.leave();
    }
    reader.leave();
    message.certificates = read_set(reader, der::context_0);
    message.revocation_lists = read_set(reader, der::context_1);
    reader.enter(der::set);
    while (reader.tag()) {
        if (message.signers.size() == most_signers) throw Malformed("it has too many signers");
        message.signers.push_back(read_signer(reader.whole(der::sequence)));
    }
    reader.leave();
    finish_message(reader);
    return message;
}

Fault check_signature(const SignedData& message, const SignerInfo& signer, const Digest& digest,
                      const WorkingKey& key) {
    if (!signer.known)
        return {"algorithm", "its algorithms are " + algorithm_name(signer.digest_oid) + " and " +
                                 algorithm_name(signer.signature_oid) + ", which this program does not use so"};
    const Fault wrong{"signature", "the signature does not match the data or the key"};
    if (signer.order == AttributeOrder::none) return verifies(digest, signer.signature, key) ? Fault{} : wrong;
    if (!signer.attribute_fault.none()) return signer.attribute_fault;
    if (signer.content_type != message.content_type)
        return {"content-type", "the signed type of the content is not that of the message"};
    if (!std::ranges::equal(signer.message_digest, digest))
        return {"digest", "the content is not the one that was signed"};
    if (verifies_over(signer.attributes, signer, key)) return {};
    if (signer.order == AttributeOrder::unsorted && verifies_over(signer.sorted_attributes, signer, key)) return {};
    return wrong;
}

bool verifies_unsorted(const SignerInfo& signer, const WorkingKey& key) {
    return signer.order == AttributeOrder::unsorted && verifies_over(signer.attributes, signer, key);
}

}  // namespace vrx::documents

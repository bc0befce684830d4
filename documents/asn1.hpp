// Decodes and encodes the structures of messages.asn with libtasn1. Structures with secrets do not belong here, because
// libtasn1 does not erase its memory.
#ifndef VRX_DOCUMENTS_ASN1_HPP
#define VRX_DOCUMENTS_ASN1_HPP

#include <memory>
#include <optional>
#include <string>

#include "documents/source.hpp"

struct asn1_node_st;

namespace vrx::documents::asn1 {

/**
 * A value of a type in messages.asn.
 *
 * A path names a field in the value, for example "sid.issuerAndSerialNumber.issuer". In a path, "?1" is the first
 * element of a SET OF or SEQUENCE OF, and "?LAST" is the last one. The path "" is the value itself. Functions throw
 * std::logic_error if the type has no such path.
 */
class Value {
public:
    /** A new value, whose fields are to be set before it is encoded. */
    explicit Value(const char* type);
    /**
     * Decode BER; std::nullopt if the octets are not one value of this type. If the octets must be DER, check them with
     * der::is_well_formed().
     */
    static std::optional<Value> decode(const char* type, Part octets);

    /** True if an optional field, or this alternative of a CHOICE, is present. */
    [[nodiscard]] bool has(const std::string& path) const;
    /** The contents of an INTEGER or OCTET STRING, or the whole element of an ANY; empty if the field is absent. */
    [[nodiscard]] Octets octets(const std::string& path) const;
    /** An OBJECT IDENTIFIER, dotted; empty if the field is absent. */
    [[nodiscard]] std::string oid(const std::string& path) const;
    /** The value of an INTEGER from 0 to 2^31 - 1; std::nullopt for any other. */
    [[nodiscard]] std::optional<std::uint32_t> number(const std::string& path) const;
    /** The number of elements of a SET OF or SEQUENCE OF; 0 if the field is absent. */
    [[nodiscard]] std::size_t count(const std::string& path) const;
    /**
     * The octets of a field, with tag and length, as they were decoded; empty if the field is absent.
     *
     * @param octets  the octets that decode() read.
     */
    [[nodiscard]] Part as_decoded(const std::string& path, Part octets) const;

    /** Set an INTEGER, OCTET STRING or ANY. */
    void set(const std::string& path, Part octets);
    /** Set an OBJECT IDENTIFIER, given in dotted form, or choose an alternative of a CHOICE. */
    void set(const std::string& path, const char* text);
    /** Leave out an optional field. */
    void omit(const std::string& path);
    /** Add an element to a SET OF or SEQUENCE OF; "?LAST" then names it. */
    void append(const std::string& path);
    /** Encode as DER. The elements of each SET OF are sorted. */
    [[nodiscard]] Octets encode() const;

private:
    struct Delete {
        void operator()(asn1_node_st* node) const;
    };

    std::unique_ptr<asn1_node_st, Delete> node_;
};

/** Append an element with a tag to octets. */
void append(Octets& out, std::uint8_t tag, Part contents);

/** Encode a dotted OBJECT IDENTIFIER as a whole element. */
Octets encode_oid(const char* dotted);

}  // namespace vrx::documents::asn1

#endif

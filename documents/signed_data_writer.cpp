#include "documents/signed_data_writer.hpp"

#include <algorithm>

#include "documents/asn1.hpp"
#include "documents/ber.hpp"
#include "documents/message.hpp"

namespace vrx::documents {
namespace {

constexpr Octets::value_type end_of_contents[] = {0, 0};

/** Returns the size of an element, with tag and length, from the size of its contents. */
std::uint64_t size_of_element(std::uint64_t contents) {
    std::uint64_t size = 2 + contents;
    if (contents >= 0x80)
        for (std::uint64_t rest = contents; rest != 0; rest >>= 8) ++size;
    return size;
}

/** Append a tag and a length; std::nullopt stands for the indefinite length. */
void append_head(Octets& out, std::uint8_t tag, std::optional<std::uint64_t> size) {
    out.push_back(tag);
    if (!size) return out.push_back(0x80);
    if (*size < 0x80) return out.push_back(static_cast<std::uint8_t>(*size));
    const auto octets = static_cast<unsigned>(size_of_element(*size) - *size - 2);
    out.push_back(static_cast<std::uint8_t>(0x80 | octets));
    for (unsigned i = octets; i-- > 0;) out.push_back(static_cast<std::uint8_t>(*size >> 8 * i));
}

Octets element(std::uint8_t tag, Part contents) {
    Octets out;
    asn1::append(out, tag, contents);
    return out;
}

/** An AlgorithmIdentifier with NULL as parameters. */
Octets algorithm_with_null(const char* oid) {
    asn1::Value value("AlgorithmIdentifier");
    value.set("algorithm", oid);
    value.set("parameters", Octets{der::null, 0});
    return value.encode();
}

/** A UTCTime, which RFC 5652, section 11.3, prescribes for 1950 to 2049, or else a GeneralizedTime. */
Octets time_element(const Time& time) {
    Octets digits;
    for (const char c : time)
        if (c >= '0' && c <= '9') digits.push_back(static_cast<std::uint8_t>(c));
    digits.push_back('Z');
    const bool is_short = time >= "1950" && time < "2050";
    return element(is_short ? der::utc_time : der::generalized_time, Part(digits).subspan(is_short ? 2 : 0));
}

void add_attribute(asn1::Value& value, const std::string& path, const char* oid, Part content) {
    value.append(path);
    const std::string last = path.empty() ? "?LAST" : path + ".?LAST";
    value.set(last + ".type", oid);
    value.append(last + ".values");
    value.set(last + ".values.?LAST", content);
}

void add_attributes(asn1::Value& value, const std::string& path, const Digest& digest, const Time& time) {
    add_attribute(value, path, "1.2.840.113549.1.9.3", asn1::encode_oid(data_oid));
    add_attribute(value, path, "1.2.840.113549.1.9.5", time_element(time));
    add_attribute(value, path, "1.2.840.113549.1.9.4", element(der::octet_string, digest));
}

}  // namespace

SignedDataWriter::SignedDataWriter(const SigningPlan& plan, const Sink& out)
    : plan_(plan), out_(out), indefinite_(!plan.detached && !plan.size) {
    std::vector<Part> sorted = plan.certificates;
    std::ranges::sort(sorted, [](Part a, Part b) { return std::ranges::lexicographical_compare(a, b); });
    Octets contents;
    for (const Part certificate : sorted) contents.insert(contents.end(), certificate.begin(), certificate.end());
    if (!contents.empty()) certificates_ = element(der::context_0, contents);
    if (!plan.detached) write(head());
}

/** Everything before the content, or, in a detached message, before the certificates. */
Octets SignedDataWriter::head() const {
    const Octets type = asn1::encode_oid(data_oid);
    Octets fixed = {der::integer, 1, 1};  // version 1
    asn1::append(fixed, der::set, algorithm_with_null(gost_hash_oid));

    // The sizes of the elements, from the inner to the outer ones. Signatures, and the digests in signed attributes,
    // always have the same size.
    const auto no_signature = [](const Digest&) { return Octets(VRX_SIGNATURE_SIZE); };
    const std::uint64_t signer = size_of_element(signer_info(Digest{}, no_signature).size());
    const std::uint64_t string = plan_.size.value_or(0);
    const std::uint64_t wrapped = size_of_element(string);
    const std::uint64_t content = type.size() + (plan_.detached ? 0 : size_of_element(wrapped));
    const std::uint64_t data = fixed.size() + size_of_element(content) + certificates_.size() + signer;
    const std::uint64_t all = asn1::encode_oid(signed_data_oid).size() + size_of_element(size_of_element(data));
    const auto size = [&](std::uint64_t known) { return indefinite_ ? std::nullopt : std::optional(known); };

    Octets out;
    append_head(out, der::sequence, size(all));
    const Octets signed_type = asn1::encode_oid(signed_data_oid);
    out.insert(out.end(), signed_type.begin(), signed_type.end());
    append_head(out, der::context_0, size(size_of_element(data)));
    append_head(out, der::sequence, size(data));
    out.insert(out.end(), fixed.begin(), fixed.end());
    append_head(out, der::sequence, size(content));
    out.insert(out.end(), type.begin(), type.end());
    if (plan_.detached) return out;
    append_head(out, der::context_0, size(wrapped));
    append_head(out, indefinite_ ? der::octet_string | ber::constructed : der::octet_string, size(string));
    return out;
}

Octets SignedDataWriter::signer_info(const Digest& digest, const SignDigest& sign) const {
    asn1::Value value("SignerInfo");
    value.set("version", Octets{1});
    write_certificate_id(value, "sid", *plan_.certificate);
    value.set("digestAlgorithm.algorithm", gost_hash_oid);
    value.set("digestAlgorithm.parameters", Octets{der::null, 0});
    value.set("signatureAlgorithm.algorithm", gost_key_oid);
    value.set("signatureAlgorithm.parameters", Octets{der::null, 0});
    if (plan_.attributes_time) {
        asn1::Value attributes("Attributes");
        add_attributes(attributes, "", digest, *plan_.attributes_time);
        add_attributes(value, "signedAttrs", digest, *plan_.attributes_time);
        value.set("signature", sign(digest_of(attributes.encode())));
    } else {
        value.omit("signedAttrs");
        value.set("signature", sign(digest));
    }
    value.omit("unsignedAttrs");
    return value.encode();
}

void SignedDataWriter::content(Part octets) {
    if (octets.empty()) return;
    hash_.update(octets);
    size_ += octets.size();
    if (plan_.detached) return;
    if (plan_.size && size_ > *plan_.size) throw Malformed("it grew while it was read");
    if (indefinite_) {
        Octets head;
        append_head(head, der::octet_string, octets.size());
        write(head);
    }
    out_(octets);
}

Octets SignedDataWriter::finish(const SignDigest& sign) {
    if (!plan_.detached && plan_.size && size_ != *plan_.size) throw Malformed("it changed while it was read");
    Octets signer = signer_info(hash_.final(), sign);
    Octets out;
    if (plan_.detached) out = head();
    // The ends of the OCTET STRING, of the element [0] around it, and of the sequence around that.
    for (int i = 0; i < 3 && indefinite_; ++i)
        out.insert(out.end(), std::begin(end_of_contents), std::end(end_of_contents));
    out.insert(out.end(), certificates_.begin(), certificates_.end());
    asn1::append(out, der::set, signer);
    // The ends of SignedData, of the element [0] around it, and of ContentInfo.
    for (int i = 0; i < 3 && indefinite_; ++i)
        out.insert(out.end(), std::begin(end_of_contents), std::end(end_of_contents));
    write(out);
    return signer;
}

}  // namespace vrx::documents

#include "message_report.hpp"

#include <algorithm>
#include <cstdint>

#include "documents/signed_data.hpp"
#include "documents/transport.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

using documents::Transport;

std::string form_of(const Transport& transport) {
    switch (transport.form()) {
        case Transport::Form::binary:
            return "DER or BER";
        case Transport::Form::pem:
            return "PEM, " + in_quotes(transport.label());
        case Transport::Form::base64:
            return "base64";
        case Transport::Form::mime:
        case Transport::Form::multipart:
            break;
    }
    return "S/MIME, " + transport.label();
}

/** The certificate of a signer, if the message contains it. */
std::optional<documents::WorkingKey> key_of(const documents::SignedData& message, const documents::SignerInfo& signer) {
    for (const Octets& octets : message.certificates) {
        documents::Certificate certificate;
        if (documents::read_certificate(octets, certificate) == documents::Content::known &&
            signer.id.names(certificate))
            return documents::working_key(certificate, nullptr);
    }
    return std::nullopt;
}

std::string joined(const std::vector<std::string>& oids) {
    std::string text;
    for (const std::string& oid : oids) text += (text.empty() ? "" : ", ") + documents::attribute_name(oid);
    return text;
}

/** Describe the order of signed attributes. DER prescribes one, but some programs sign another. */
std::string order_text(const documents::SignedData& message, const documents::SignerInfo& signer) {
    if (signer.order == documents::AttributeOrder::sorted) return "that of DER";
    const auto key = key_of(message, signer);
    if (!key) return "not that of DER";
    return std::string("not that of DER; the signature is over ") +
           (documents::verifies_unsorted(signer, *key) ? "the order of the message" : "the order of DER, or not valid");
}

void describe_signer(Report& report, const documents::SignedData& message, const documents::SignerInfo& signer) {
    report.fact("signer", signer.id.text());
    report.fact("  hash", documents::algorithm_name(signer.digest_oid));
    report.fact("  signature",
                documents::algorithm_name(signer.signature_oid) + (signer.known ? "" : ", not supported"));
    if (signer.order == documents::AttributeOrder::none) {
        report.fact("  signs", "the content itself");
    } else if (!signer.attributes.empty()) {
        report.fact("  signs", "attributes with the hash of the content: " + joined(signer.signed_types));
        report.fact("  order", order_text(message, signer));
    }
    if (!signer.attribute_fault.none()) report.fault(signer.attribute_fault.sentence);
    if (signer.signing_time) report.fact("  signed", *signer.signing_time + " UTC, as the signer states");
    if (!signer.unsigned_types.empty()) report.fact("  unsigned", joined(signer.unsigned_types));
}

void describe_signed(Report& report, const Transport& transport, const documents::SignedData& message,
                     std::uint64_t size, const std::string& path) {
    const bool detached = !message.has_content && transport.form() != Transport::Form::multipart;
    report.is(message.signers.empty() ? "a file of certificates, in the form of a signed message"
              : detached              ? "a detached signature"
                                      : "a signed message");
    report.fact("form", form_of(transport) + ", SignedData of version " + std::to_string(message.version));
    report.fact("content", documents::content_type_name(message.content_type) +
                               (detached ? ", not in this file" : ", " + std::to_string(size) + " bytes"));
    for (const documents::SignerInfo& signer : message.signers) describe_signer(report, message, signer);
    for (const Octets& octets : message.certificates) {
        documents::Certificate certificate;
        const bool readable = documents::read_certificate(octets, certificate) != documents::Content::other;
        report.fact("certificate", readable ? certificate.subject : "of another kind, or malformed");
    }
    for (const Octets& octets : message.revocation_lists) {
        documents::RevocationList list;
        const bool readable = documents::read_revocation_list(octets, list);
        report.fact("revocations", readable ? "of " + list.issuer : "of another kind, or malformed");
    }
    if (!message.signers.empty())
        report.fact("next", std::string("vrx cms verify --ca CA ") + (detached ? "--content FILE " : "") + path);
}

}  // namespace

void describe_message(Report& report, documents::Source& source, const std::string& path) {
    Transport transport(source);
    std::uint64_t size = 0;
    const documents::Sink count = [&](documents::Part octets) { size += octets.size(); };
    if (transport.form() == Transport::Form::multipart) transport.read_content(count);
    documents::ber::Reader reader(transport);
    const std::string type = documents::read_content_type(reader);
    if (type == documents::signed_data_oid) {
        const documents::SignedData message = documents::read_signed_data(reader, count);
        return describe_signed(report, transport, message, size, path);
    }
    if (type == documents::enveloped_data_oid)
        report.is("an encrypted message");
    else if (type == documents::encrypted_data_oid)
        report.is("data that is encrypted with a shared key");
    else
        report.is("a message that this program does not read: " + documents::content_type_name(type));
    report.fact("form", form_of(transport));
}

}  // namespace vrx::app

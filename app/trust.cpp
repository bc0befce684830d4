#include "trust.hpp"

#include <vrx.h>

#include "keys/key_files.hpp"

namespace vrx::app {
namespace {

Octets sha1_of(std::span<const std::uint8_t> octets) {
    sha_context context;
    shaInit(&context);
    shaUpdate(&context, octets.data(), octets.size());
    Octets digest(VRX_SHA1_SIZE);
    shaFinal(&context, digest.data());
    return digest;
}

}  // namespace

std::vector<Option> trust_options(TrustOptions& options, const char* time_help) {
    return {input_option("ca", 'A',
                         "certificates of authorities, PEM or DER: self-signed ones are trusted, others\n"
                         "may be intermediate. May be repeated",
                         options.authorities),
            input_option("crl", 0, "revocation lists of the authorities; may be repeated", options.lists),
            text_option("time", 'T', "TIME", time_help, options.time)};
}

std::optional<documents::Time> time_of(const Command& self, const TrustOptions& options) {
    if (!options.time) return documents::now();
    if (options.time == "any") return std::nullopt;
    const auto time = documents::time_of(*options.time);
    if (!time)
        throw WrongUse(self, "--time takes a time in UTC, like 2026-02-28 or '2026-02-28 23:59:59', or any, not " +
                                 in_quotes(*options.time));
    return time;
}

TrustStore::TrustStore(const TrustOptions& options) : empty_(options.authorities.empty()) {
    for (const std::string& path : options.authorities) load_certificates(path, contents_);
    for (const Octets& octets : contents_) {
        documents::Certificate authority;
        const Content found = documents::read_certificate(octets, authority);
        if (found == Content::other)
            throw Failure("a certificate in a --ca file is malformed; 'vrx inspect' shows which");
        if (found == Content::known) authorities_.certificates.push_back(authority);  // skip unsupported certificates
    }
    std::vector<Octets> lists;
    for (const std::string& path : options.lists) load_revocation_lists(path, lists);
    for (Octets& octets : lists) {
        documents::RevocationList list;
        if (!documents::read_revocation_list(octets, list))
            throw Failure("a revocation list is malformed; ask its issuer for another");
        authorities_.lists.push_back(list);
        contents_.push_back(std::move(octets));
    }
    authorities_.wants_lists = !lists.empty();
}

void TrustStore::add_intermediate(const documents::Certificate& certificate) {
    if (!certificate.self_issued) authorities_.certificates.push_back(certificate);
}

Trusted check_certificate(const documents::Certificate& certificate, const TrustStore& store,
                          const std::optional<documents::Time>& time) {
    Trusted result{documents::check_alone(certificate, time), "unchecked", ""};
    if (result.fault.none()) result.fault = documents::check_signer(certificate);
    if (store.is_empty() || !result.fault.none()) return result;
    const documents::Chain chain = documents::check_chain(certificate, store.authorities(), time);
    result.fault = chain.fault;
    result.chain = chain.fault.none() ? "valid" : "not-valid";
    if (chain.fault.none()) result.root = chain.links.back()->subject;
    return result;
}

void warn_of_missing_authority() {
    say("warning: the certificate was not checked against an authority; name those that you trust with --ca FILE");
}

std::vector<std::pair<std::string, std::string>> certificate_lines(const documents::Certificate& certificate,
                                                                   std::span<const std::uint8_t> octets) {
    return {{"subject", certificate.subject},
            {"issuer", certificate.issuer},
            {"serial", to_hex(certificate.serial)},
            {"sha1", to_hex(sha1_of(octets))},
            {"gost", to_hex(documents::digest_of(octets))},
            {"not-before", certificate.not_before},
            {"not-after", certificate.not_after}};
}

std::string lines_text(const std::vector<std::pair<std::string, std::string>>& lines) {
    std::string text;
    for (const auto& [name, value] : lines) {
        std::string column = name + ":";
        column.resize(12, ' ');
        text += "  " + column + value + "\n";
    }
    return text;
}

}  // namespace vrx::app

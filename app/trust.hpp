// Options for trusted certificates, and the check of a signer's certificate against these.
#ifndef VRX_APP_TRUST_HPP
#define VRX_APP_TRUST_HPP

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "documents/chain.hpp"
#include "io/text.hpp"
#include "options.hpp"

namespace vrx::app {

/** The values of --ca, --crl and --time. */
struct TrustOptions {
    std::vector<std::string> authorities;
    std::vector<std::string> lists;
    std::optional<std::string> time;
};

/** These three options. @param time_help  the help of --time. */
std::vector<Option> trust_options(TrustOptions& options, const char* time_help);

/** Returns the value of --time, or the current time if the option is not given; std::nullopt for "any". */
std::optional<documents::Time> time_of(const Command& self, const TrustOptions& options);

/** The certificates and revocation lists from the files that the options name. */
class TrustStore {
public:
    explicit TrustStore(const TrustOptions& options);
    TrustStore(const TrustStore&) = delete;
    TrustStore& operator=(const TrustStore&) = delete;

    /**
     * Add a certificate that is not trusted itself, but may be between another certificate and a trusted one in a
     * chain.
     */
    void add_intermediate(const documents::Certificate& certificate);
    /** True if there was no option --ca. */
    [[nodiscard]] bool is_empty() const { return empty_; }
    [[nodiscard]] const documents::Authorities& authorities() const { return authorities_; }

private:
    std::vector<Octets> contents_;  // the octets to which authorities_ refers
    documents::Authorities authorities_;
    bool empty_;
};

/** The verdict on a certificate. */
struct Trusted {
    documents::Fault fault;
    std::string chain;  // "valid", "not-valid" or "unchecked"
    std::string root;   // the trusted certificate at the end of the chain
};

/** Check the certificate of a signer, and its chain if there are trusted certificates. */
Trusted check_certificate(const documents::Certificate& certificate, const TrustStore& store,
                          const std::optional<documents::Time>& time);

/** Print the warning that a certificate was not checked against an authority. */
void warn_of_missing_authority();

/** The facts about a certificate, as pairs of name and value. @param octets  the whole certificate. */
std::vector<std::pair<std::string, std::string>> certificate_lines(const documents::Certificate& certificate,
                                                                   std::span<const std::uint8_t> octets);

/** Format pairs of name and value as indented lines. */
std::string lines_text(const std::vector<std::pair<std::string, std::string>>& lines);

}  // namespace vrx::app

#endif

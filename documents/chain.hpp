// Decides whether a certificate is trusted (RFC 5280, section 6), for GOST R 34.10-2001 signatures.
#ifndef VRX_DOCUMENTS_CHAIN_HPP
#define VRX_DOCUMENTS_CHAIN_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/certificate.hpp"
#include "documents/revocation.hpp"
#include "documents/signature.hpp"

namespace vrx::documents {

/**
 * The reason why an object is invalid: a keyword for programs and a sentence for people. Both are empty if the object
 * is valid.
 */
struct Fault {
    std::string word;
    std::string sentence;
    [[nodiscard]] bool none() const { return word.empty(); }
};

/** The key of a certificate; std::nullopt if it is not a point on its curve. @param set  the curve if it names none. */
std::optional<WorkingKey> working_key(const Certificate& certificate, const EcParamSet* set);

/** Returns true if a signature is valid for a key, and r and s are from 1 to q - 1. */
bool is_signed_by(const Signed& what, const WorkingKey& key);

/**
 * Check the dates of a certificate, and that it has no unsupported critical extension. If the time is std::nullopt, the
 * function does not check the dates.
 */
Fault check_alone(const Certificate& certificate, const std::optional<Time>& time);

/** Check that the key of a certificate may sign documents. */
Fault check_signer(const Certificate& certificate);

/** The certificates and revocation lists that the check may use. */
struct Authorities {
    std::vector<Certificate> certificates;  // self-signed ones are trusted; others may be intermediate
    std::vector<RevocationList> lists;
    bool wants_lists = false;  // a certificate is invalid if its issuer has no list
};

/** A chain from a certificate to a trusted certificate. */
struct Chain {
    Fault fault;
    std::vector<const Certificate*> links;  // from the certificate to the trusted one
};

/** Find a chain and check it. */
Chain check_chain(const Certificate& certificate, const Authorities& authorities, const std::optional<Time>& time);

}  // namespace vrx::documents

#endif

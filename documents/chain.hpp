// Whether a certificate may be trusted: RFC 5280, section 6, for signatures of GOST R 34.10-2001.
#ifndef VRX_DOCUMENTS_CHAIN_HPP
#define VRX_DOCUMENTS_CHAIN_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/certificate.hpp"
#include "documents/revocation.hpp"

namespace vrx::documents {

/** Why something is not valid: a word for programs, and a sentence for people. Both are empty when it is valid. */
struct Fault {
    std::string word;
    std::string sentence;
    [[nodiscard]] bool none() const { return word.empty(); }
};

/** A public key with its curve. */
struct WorkingKey {
    const EcParamSet* set;
    EcPoint point;
};

/** The key of a certificate; nothing when it is not a point of the curve. @param set  for one that names none. */
std::optional<WorkingKey> working_key(const Certificate& certificate, const EcParamSet* set);

/** Whether what is signed is signed by a key, with r and s from 1 to q - 1. */
bool is_signed_by(const Signed& what, const WorkingKey& key);

/** Check a certificate by itself: dates, and extensions that are critical and not understood. @param time  or any. */
Fault check_alone(const Certificate& certificate, const std::optional<Time>& time);

/** Check that the key of a certificate may sign documents. */
Fault check_signer(const Certificate& certificate);

/** What is known besides the certificate. */
struct Authorities {
    std::vector<Certificate> certificates;  // trusted where they are signed by themselves, links of chains elsewhere
    std::vector<RevocationList> lists;
    bool wants_lists = false;  // a certificate without a list of its issuer is not valid
};

/** A chain from a certificate to one that is trusted. */
struct Chain {
    Fault fault;
    std::vector<const Certificate*> links;  // from the certificate on; the trusted one last
};

/** Find a chain and check it. */
Chain check_chain(const Certificate& certificate, const Authorities& authorities, const std::optional<Time>& time);

}  // namespace vrx::documents

#endif

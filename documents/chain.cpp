#include "documents/chain.hpp"

#include <algorithm>

namespace vrx::documents {
namespace {

constexpr std::size_t longest_chain = 10;
constexpr int most_tries = 200;  // limits the search: certificates may form cycles

std::string about(const Certificate& certificate) { return "the certificate of " + certificate.subject; }

bool may_have_issued(const Certificate& issuer, const Certificate& subject) {
    if (!std::ranges::equal(issuer.subject_octets, subject.issuer_octets)) return false;
    const auto& wanted = subject.extensions.authority_key;
    const auto& own = issuer.extensions.subject_key;
    return !wanted || !own || std::ranges::equal(*wanted, *own);
}

Fault check_authority(const Certificate& issuer, std::size_t below, bool trusted) {
    if (issuer.version == 3 ? !issuer.extensions.is_authority : !trusted)
        return {"not-an-authority", about(issuer) + " does not belong to a certificate authority"};
    if (!issuer.allows(KeyUsage::certificate_sign)) return {"key-usage", about(issuer) + " may not sign certificates"};
    if (issuer.extensions.path_length && *issuer.extensions.path_length < below)
        return {"path-length", about(issuer) + " allows fewer certificates below it"};
    return {};
}

Fault check_list(const RevocationList& list, const Certificate& certificate, const std::optional<Time>& time) {
    if (!list.unsupported.empty())
        return {"crl-extension", "the revocation list of " + list.issuer + " has a critical extension, " +
                                     list.unsupported + ", which is not supported"};
    if (time && (*time < list.this_update || (list.next_update && *list.next_update < *time)))
        return {"crl-time", "the revocation list of " + list.issuer + " is not valid at this time"};
    for (const Revoked& revoked : list.revoked)
        if (std::ranges::equal(revoked.serial, certificate.serial) && (!time || revoked.since <= *time))
            return {"revoked", about(certificate) + " was revoked on " + revoked.since};
    return {};
}

Fault check_revocation(const Certificate& certificate, const Certificate& issuer, const WorkingKey& key,
                       const Authorities& authorities, const std::optional<Time>& time) {
    bool any = false;
    for (const RevocationList& list : authorities.lists) {
        if (!std::ranges::equal(list.issuer_octets, certificate.issuer_octets)) continue;
        if (!issuer.allows(KeyUsage::crl_sign) || !is_signed_by(list, key)) continue;
        any = true;
        if (Fault fault = check_list(list, certificate, time); !fault.none()) return fault;
    }
    if (!any && authorities.wants_lists)
        return {"no-crl", "there is no revocation list with a valid signature of " + certificate.issuer + ""};
    return {};
}

/**
 * Check a chain, beginning at its trusted end. A key without the identifier of a curve is on the curve of its issuer's
 * key.
 */
Fault check_links(const std::vector<const Certificate*>& links, const Authorities& authorities,
                  const std::optional<Time>& time) {
    const EcParamSet* set = nullptr;
    std::optional<WorkingKey> key;
    for (std::size_t i = links.size(); i-- > 0;) {
        const Certificate& certificate = *links[i];
        const bool trusted = i + 1 == links.size();
        if (Fault fault = check_alone(certificate, time); !fault.none()) return fault;
        const Certificate& issuer = trusted ? certificate : *links[i + 1];
        if (!trusted && !is_signed_by(certificate, *key))
            return {"chain-signature", about(certificate) + " is not signed by its issuer"};
        if (!trusted)
            if (Fault fault = check_revocation(certificate, issuer, *key, authorities, time); !fault.none())
                return fault;
        key = working_key(certificate, set);
        if (!key) return {"key", about(certificate) + " has an invalid or unsupported key"};
        set = key->set;
        if (trusted && !is_signed_by(certificate, *key))
            return {"chain-signature", about(certificate) + " is not self-signed"};
        if (i == 0) continue;
        std::size_t below = 0;  // intermediate certificates below this one, except self-issued ones
        for (std::size_t k = 1; k < i; ++k) below += links[k]->self_issued ? 0U : 1U;
        if (Fault fault = check_authority(certificate, below, trusted); !fault.none()) return fault;
    }
    return {};
}

/** Searches for chains from the certificate upwards, until one has no fault. */
class Search {
public:
    Search(const Authorities& authorities, const std::optional<Time>& time) : authorities_(authorities), time_(time) {}

    bool extend(std::vector<const Certificate*>& links) {
        const Certificate& last = *links.back();
        const bool listed = std::ranges::any_of(authorities_.certificates, [&](const Certificate& other) {
            return std::ranges::equal(other.signed_part, last.signed_part);
        });
        if (last.self_issued && listed && try_chain(links)) return true;
        if (links.size() == longest_chain) return false;
        for (const Certificate& issuer : authorities_.certificates) {
            const bool used = std::ranges::any_of(links, [&](const Certificate* link) {
                return std::ranges::equal(link->signed_part, issuer.signed_part);
            });
            if (used || !may_have_issued(issuer, last) || tries_ >= most_tries) continue;
            ++tries_;
            links.push_back(&issuer);
            if (extend(links)) return true;
            links.pop_back();
        }
        return false;
    }
    [[nodiscard]] const Fault& fault() const { return fault_; }

private:
    bool try_chain(const std::vector<const Certificate*>& links) {
        Fault fault = check_links(links, authorities_, time_);
        if (fault.none()) return true;
        if (fault_.none()) fault_ = std::move(fault);
        return false;
    }

    const Authorities& authorities_;
    const std::optional<Time>& time_;
    Fault fault_;
    int tries_ = 0;
};

}  // namespace

std::optional<WorkingKey> working_key(const Certificate& certificate, const EcParamSet* set) {
    if (certificate.algorithm.curve != nullptr) set = certificate.algorithm.curve;
    if (set == nullptr || !certificate.algorithm.known) return std::nullopt;
    WorkingKey key{set, {}};
    if (ecLoadPublicKeyValue(certificate.key.data(), &key.point) != VRX_OK ||
        mpCompare(key.point.x, set->p, VRX_ECC_DIGITS) >= 0 || mpCompare(key.point.y, set->p, VRX_ECC_DIGITS) >= 0 ||
        ecCheckPublicKey(set, &key.point) != VRX_OK)
        return std::nullopt;
    return key;
}

bool is_signed_by(const Signed& what, const WorkingKey& key) {
    return what.signature_oid == gost_signature_oid && verifies(digest_of(what.signed_part), what.signature, key);
}

Fault check_alone(const Certificate& certificate, const std::optional<Time>& time) {
    if (!certificate.extensions.unsupported.empty())
        return {"critical-extension", about(certificate) + " has a critical extension, " +
                                          certificate.extensions.unsupported + ", which is not supported"};
    if (time && *time < certificate.not_before)
        return {"not-yet-valid", about(certificate) + " is not valid before " + certificate.not_before + " UTC"};
    if (time && certificate.not_after < *time)
        return {"expired", about(certificate) + " is not valid after " + certificate.not_after + " UTC"};
    return {};
}

Fault check_signer(const Certificate& certificate) {
    if (certificate.allows(KeyUsage::digital_signature) || certificate.allows(KeyUsage::non_repudiation)) return {};
    return {"key-usage", about(certificate) + " is not for signatures, but for " +
                             key_usage_text(*certificate.extensions.key_usage)};
}

Chain check_chain(const Certificate& certificate, const Authorities& authorities, const std::optional<Time>& time) {
    Search search(authorities, time);
    Chain chain{{}, {&certificate}};
    if (search.extend(chain.links)) return chain;
    chain.fault = search.fault();
    if (chain.fault.none())
        chain.fault = {"no-chain", "no chain of certificates leads from " + certificate.subject +
                                       " to one that is trusted; its issuer is " + certificate.issuer};
    return chain;
}

}  // namespace vrx::documents

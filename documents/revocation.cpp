#include "documents/revocation.hpp"

#include <algorithm>

#include "documents/name.hpp"

namespace vrx::documents {
namespace {

/**
 * Returns true for the extensions that may be critical: list number, issuer key, reason code and invalidity date. These
 * do not affect the verdict. Any other extension may limit the scope of a list.
 */
bool is_understood(const std::string& oid) {
    return oid == "2.5.29.20" || oid == "2.5.29.35" || oid == "2.5.29.21" || oid == "2.5.29.24";
}

bool take_extensions(Part contents, RevocationList& list) {
    const auto extensions = read_extensions(contents);
    if (!extensions) return false;
    for (const Extension& extension : *extensions)
        if (extension.critical && !is_understood(extension.oid)) list.unsupported = extension.oid;
    return true;
}

bool read_revoked(Part contents, bool may_be_extended, RevocationList& list) {
    if (contents.empty()) return false;
    for (der::Reader all(contents); !all.at_end();) {
        const auto one = all.next(der::sequence);
        if (!one) return false;
        der::Reader fields(*one);
        const auto serial = fields.next(der::integer);
        const auto since = read_time(fields);
        if (!serial || !since) return false;
        if (fields.tag() == der::sequence &&
            (!may_be_extended || !take_extensions(fields.next(der::sequence).value_or(Part{}), list)))
            return false;
        if (!fields.at_end()) return false;
        list.revoked.push_back({*serial, *since});
    }
    return true;
}

}  // namespace

bool read_revocation_list(Part octets, RevocationList& list) {
    list = {};
    Part algorithm;
    if (!read_signed(octets, list, algorithm)) return false;
    der::Reader inner(list.signed_part);
    der::Reader fields(*inner.next(der::sequence));
    bool second = false;
    if (fields.tag() == der::integer) {
        const auto version = fields.next(der::integer);
        if (!version || der::small_number(*version) != 1U) return false;
        second = true;
    }
    const auto inner_algorithm = fields.next_whole(der::sequence);
    if (!inner_algorithm || !std::ranges::equal(*inner_algorithm, algorithm)) return false;
    const auto issuer = fields.next(der::sequence);
    const auto name = issuer ? read_name(*issuer) : std::nullopt;
    const auto this_update = read_time(fields);
    if (!name || !this_update) return false;
    list.issuer_octets = *issuer;
    list.issuer = *name;
    list.this_update = *this_update;
    if (fields.tag() == der::utc_time || fields.tag() == der::generalized_time) {
        list.next_update = read_time(fields);
        if (!list.next_update) return false;
    }
    if (fields.tag() == der::sequence) {
        const auto revoked = fields.next(der::sequence);
        if (!revoked || !read_revoked(*revoked, second, list)) return false;
    }
    if (fields.tag() == der::context_0) {
        der::Reader tagged(fields.next(der::context_0).value_or(Part{}));
        const auto extensions = tagged.next(der::sequence);
        if (!second || !extensions || !tagged.at_end() || !take_extensions(*extensions, list)) return false;
    }
    return fields.at_end();
}

}  // namespace vrx::documents

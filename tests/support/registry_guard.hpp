// Restores the parameter registry, which is process-wide, after a test.
#ifndef VRX_TESTS_SUPPORT_REGISTRY_GUARD_HPP
#define VRX_TESTS_SUPPORT_REGISTRY_GUARD_HPP

#include <algorithm>
#include <array>
#include <iterator>

#include "vrx/params.h"

namespace vrx::test {

/**
 * The constructor empties the registered list. The destructor restores the list, the built-in cipher records and the
 * defaults.
 */
class RegistryGuard {
public:
    RegistryGuard() {
        std::copy(std::begin(GOST28147_CRYPTO_PRO_OIDS), std::end(GOST28147_CRYPTO_PRO_OIDS), records_.begin());
        GOST28147_OIDS = nullptr;
        for (vrx_gost28147_par& record : GOST28147_CRYPTO_PRO_OIDS) record.next = nullptr;
    }
    ~RegistryGuard() {
        std::copy(records_.begin(), records_.end(), std::begin(GOST28147_CRYPTO_PRO_OIDS));
        GOST28147_OIDS = head_;
        DEFAULT_GOST28147_OID = cipher_;
        DEFAULT_GOSTR3411_OID = hash_;
    }
    RegistryGuard(const RegistryGuard&) = delete;
    RegistryGuard& operator=(const RegistryGuard&) = delete;

private:
    std::array<vrx_gost28147_par, VRX_GOST28147_PAR_COUNT> records_{};
    vrx_gost28147_par* head_ = GOST28147_OIDS;
    vrx_gost28147_par* cipher_ = DEFAULT_GOST28147_OID;
    const vrx_gostr3411_par* hash_ = DEFAULT_GOSTR3411_OID;
};

}  // namespace vrx::test

#endif

// The exported functions for key agreement and key diversification (RFC 4357, sections 5.2 and 6.5).
#include "ecc/agree.hpp"

#include <cstring>

#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "vrx/agree.h"
#include "vrx/gostr3411.h"
#include "vrx/modes.h"

using namespace vrx::ecc;
namespace log = vrx::log;

namespace {

/** The UKM as a number, least significant byte first. */
Number ukm_number(const std::uint8_t* ukm) {
    Number u{};
    std::memcpy(u.digits, ukm, VRX_UKM_SIZE);
    return u;
}

bool all_zero(const std::uint8_t* ukm) {
    constexpr std::uint8_t zeros[VRX_UKM_SIZE] = {};
    return std::memcmp(ukm, zeros, VRX_UKM_SIZE) == 0;
}

/**
 * Computes the IV. Its first word is the sum of the key words whose bit in the UKM byte is 1. Its second word is the
 * sum of the other key words.
 */
void diversification_iv(std::uint8_t iv[VRX_BLOCK_SIZE], const std::uint32_t* key, std::uint8_t ukm) {
    std::uint32_t sums[2] = {};
    for (unsigned j = 0; j < VRX_KEY_WORDS; ++j) sums[ukm >> j & 1] += key[j];
    vrx::store_le32(iv, sums[1]);
    vrx::store_le32(iv + 4, sums[0]);
}

}  // namespace

int ecMakeKEK(const EcParamSet* set, const vrx_data* hash_oid, const std::uint8_t* ukm, const std::uint32_t* d,
              const EcPoint* Q, std::uint8_t* kek) {
    // Deliberate: the return code is not VRX_ERR_BAD_PARAMS, although bad_params() logs that message.
    if (ukm == nullptr || set == nullptr || Q == nullptr || d == nullptr || kek == nullptr || all_zero(ukm))
        return log::bad_params("ecMakeKEK", VRX_ERR_FAILED);
    return vrx::secret_work<vrx::depth::curves>([&] {
        const EcPoint point =
            with_domain(*set, [&](const auto& domain) { return shared_point(domain, ukm_number(ukm), load(d), *Q); });
        std::uint8_t octets[2 * octet_count];
        store_octets(octets, point.x);
        store_octets(octets + octet_count, point.y);
        return GOSTR3411_Transform(hash_oid->data, hash_oid->length, octets, sizeof octets, kek);
    });
}

int ecDiversifyKEK(const vrx_tz* tz, std::uint8_t* key, const std::uint8_t* ukm) {
    return vrx::secret_work<vrx::depth::diversification>([&]() -> int {
        std::uint32_t current[VRX_KEY_WORDS];
        std::uint8_t iv[VRX_BLOCK_SIZE];
        for (unsigned i = 0; i < VRX_UKM_SIZE; ++i) {
            std::memcpy(current, key, VRX_KEK_SIZE);
            diversification_iv(iv, current, ukm[i]);
            const vrx_data in{VRX_KEK_SIZE, key};
            vrx_data out{VRX_KEK_SIZE, key};
            if (const int rc = VRX_Gost_GFB_m(tz, &in, &out, iv, current, 1, VRX_FLAG_FIRST | VRX_FLAG_PAD))
                return log::failed("VRX_Gost_GFB_m", rc);
        }
        return VRX_OK;
    });
}

// The exported functions for signatures and keys.
#include "ecc/sign.hpp"

#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "vrx/frame.h"

using namespace vrx::ecc;
using vrx::Secret;
using vrx::secret_work;
namespace depth = vrx::depth;
namespace log = vrx::log;

namespace {

/** Draws a random number from 1 to q - 1. On failure, `out` keeps the last draw. */
int random_scalar(RND_FUNC rnd, std::uint32_t* out, const std::uint32_t* q) {
    do {
        // Deliberate: key generation logs the name of the signing function, too.
        if (Getbig_RND(rnd, out, q) != 0) return log::condition("ecSign", "Getbig_RND failed", VRX_ERR_RANDOM);
    } while (vrx::is_publicly_zero({out, digit_count}));
    return VRX_OK;
}

}  // namespace

int ecSign(const EcParamSet* set, const std::uint32_t* digest, RND_FUNC rnd, const std::uint32_t* d, EcSignature* sig) {
    if (digest == nullptr || set == nullptr || sig == nullptr || d == nullptr) return log::bad_params("ecSign");
    Secret<Number> k;
    if (const int rc = random_scalar(rnd, k.value.digits, set->q)) return rc;
    secret_work<depth::curves>(
        [&] { *sig = with_domain(*set, [&](const auto& domain) { return sign(domain, digest, k.value, load(d)); }); });
    return VRX_OK;
}

int ecVerify(const EcParamSet* set, const std::uint32_t* digest, const EcPoint* Q, const EcSignature* sig) {
    if (set == nullptr || digest == nullptr || sig == nullptr || Q == nullptr) return log::bad_params("ecVerify");
    if (!with_domain(*set, [&](const auto& domain) { return verify(domain, digest, *Q, *sig); }))
        return log::condition("ecVerify", "Signature verification failed", VRX_ERR_FAILED);
    return VRX_OK;
}

int ecGenerateKeyPair(const EcParamSet* set, RND_FUNC rnd, std::uint32_t* d, EcPoint* Q) {
    if (d == nullptr || set == nullptr || Q == nullptr) return log::bad_params("ecGenerateKeyPair");
    if (const int rc = random_scalar(rnd, d, set->q)) return rc;
    return ecGeneratePublicKey(set, d, Q);
}

int ecGeneratePublicKey(const EcParamSet* set, const std::uint32_t* d, EcPoint* Q) {
    if (set == nullptr || d == nullptr || Q == nullptr) return log::bad_params("ecGeneratePublicKey");
    bool checked = false;
    secret_work<depth::curves>([&] {
        *Q = with_domain(*set, [&]<typename Domain>(const Domain& domain) {
            checked = Domain::multiples_are_on_curve;
            return to_record(base_multiple(domain, load(d)));
        });
    });
    return checked ? VRX_OK : secret_work<depth::points>([&] { return ecCheckPublicKey(set, Q); });
}

int ecCheckPublicKey(const EcParamSet* set, const EcPoint* Q) {
    // Deliberate: the log line has a shorter name than the function.
    if (set == nullptr || Q == nullptr) return log::bad_params("ecCheckPuKey");
    return on_curve(*set, *Q) ? VRX_OK : log::text("Invalid public key", VRX_ERR_FAILED);
}

int Getbig_RND(RND_FUNC rnd, std::uint32_t* out, const std::uint32_t* q) {
    Secret<Number> n;
    static_assert(sizeof n.value == VRX_RND_SIZE);
    if (rnd(n.value.digits, VRX_RND_SIZE) != 0) return log::failed_step("RND_FUNC", VRX_ERR_FAILED);
    secret_work<depth::scalar>([&] {
        store(out,
              with_order(q, [&](const auto& order) { return order.remainder(magnitude(n.value)).reduced().number(); }));
    });
    return VRX_OK;
}

int test_rnd(void* buffer, std::uint32_t length) {
    secret_work<vrx::depth::scalar>([&] {
        auto* bytes = static_cast<std::uint8_t*>(buffer);
        for (std::uint32_t word_size = sizeof(std::uint32_t); length >= word_size; length -= word_size) {
            const std::uint32_t word = spSimpleRand(0, 0xFFFFFFFF);
            std::memcpy(bytes, &word, word_size);
            bytes += word_size;
        }
    });
    return 0;
}

// The exported functions that convert keys and signatures from and to octets.
#include "vrx/octets.h"

#include "ecc/residue.hpp"
#include "frame/log.hpp"
#include "frame/secret_work.hpp"

using namespace vrx::ecc;
namespace log = vrx::log;

namespace {

void load_big_endian(std::uint32_t* number, const std::uint8_t* octets) {
    mpConvFromOctets(number, digit_count, octets, octet_count);
}

void store_big_endian(std::uint8_t* octets, const std::uint32_t* number) {
    mpConvToOctets(number, digit_count, octets, octet_count);
}

}  // namespace

int ecLoadPrivateKeyValue(const std::uint8_t* octets, std::uint32_t* d) {
    if (octets == nullptr || d == nullptr) return log::bad_params("ecLoadPrivateKeyValue");
    vrx::secret_work<vrx::depth::octets>([=] { load_octets(d, octets); });
    return VRX_OK;
}

int ecUnloadPrivateKeyValue(const std::uint32_t* d, std::uint8_t* octets) {
    if (d == nullptr || octets == nullptr) return log::bad_params("ecUnloadPrivateKeyValue");
    vrx::secret_work<vrx::depth::octets>([=] { store_octets(octets, d); });
    return VRX_OK;
}

int ecLoadPublicKeyValue(const std::uint8_t* octets, EcPoint* Q) {
    if (octets == nullptr || Q == nullptr) return log::bad_params("ecLoadPublicKeyValue");
    EcPoint point{};  // complete before Q is written, because the octets may overlap it
    load_octets(point.x, octets);
    load_octets(point.y, octets + octet_count);
    *Q = point;
    return VRX_OK;
}

int ecUnloadPublicKeyValue(const EcPoint* Q, std::uint8_t* octets) {
    if (Q == nullptr || octets == nullptr) return log::bad_params("ecUnloadPublicKeyValue");
    store_octets(octets, Q->x);
    store_octets(octets + octet_count, Q->y);
    return VRX_OK;
}

int ecLoadSignValue(const std::uint8_t* octets, EcSignature* sig) {
    if (octets == nullptr || sig == nullptr) return log::bad_params("ecLoadSignValue");
    EcSignature signature{};  // complete before sig is written, because the octets may overlap it
    load_big_endian(signature.s, octets);
    load_big_endian(signature.r, octets + octet_count);
    *sig = signature;
    return VRX_OK;
}

int ecUnloadSignValue(const EcSignature* sig, std::uint8_t* octets) {
    if (sig == nullptr || octets == nullptr) return log::bad_params("ecUnloadSignValue");
    store_big_endian(octets, sig->s);
    store_big_endian(octets + octet_count, sig->r);
    return VRX_OK;
}

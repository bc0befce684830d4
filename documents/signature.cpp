#include "documents/signature.hpp"

#include <cstring>
#include <stdexcept>

namespace vrx::documents {
namespace {

bool in_range(const std::uint32_t* number, const EcParamSet& set) {
    return mpIsZero(number, VRX_ECC_DIGITS) == 0 && mpCompare(number, set.q, VRX_ECC_DIGITS) < 0;
}

void require(int code) {
    if (code != VRX_OK) throw std::logic_error("the hash failed");
}

}  // namespace

Hash::Hash() { require(GOSTR3411_Init_ex(&context_, get_GOSTR3411_default_par()->tz)); }

void Hash::update(Part octets) {
    constexpr std::size_t most = std::size_t{1} << 30;  // the library takes 32-bit lengths
    for (; octets.size() > most; octets = octets.subspan(most))
        require(GOSTR3411_Update(&context_, octets.data(), std::uint32_t{most}));
    if (!octets.empty()) require(GOSTR3411_Update(&context_, octets.data(), static_cast<std::uint32_t>(octets.size())));
}

Digest Hash::final() {
    Digest digest;
    require(GOSTR3411_Final(&context_, digest.data()));
    return digest;
}

Digest digest_of(Part octets) {
    Hash hash;
    hash.update(octets);
    return hash.final();
}

bool verifies(const Digest& digest, Part signature, const WorkingKey& key) {
    if (signature.size() != VRX_SIGNATURE_SIZE) return false;
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words;
    static_assert(sizeof words == sizeof digest);
    std::memcpy(words.data(), digest.data(), sizeof words);
    EcSignature numbers;
    ecLoadSignValue(signature.data(), &numbers);
    return in_range(numbers.r, *key.set) && in_range(numbers.s, *key.set) &&
           ecVerify(key.set, words.data(), &key.point, &numbers) == VRX_OK;
}

}  // namespace vrx::documents

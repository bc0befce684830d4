// Writes SignedData with one signer (RFC 5652, section 5, and RFC 4490).
#ifndef VRX_DOCUMENTS_SIGNED_DATA_WRITER_HPP
#define VRX_DOCUMENTS_SIGNED_DATA_WRITER_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "documents/certificate.hpp"
#include "documents/signature.hpp"
#include "documents/source.hpp"

namespace vrx::documents {

/** The plan of a signed message. */
struct SigningPlan {
    const Certificate* certificate = nullptr;  // of the signer
    std::vector<Part> certificates;            // to enclose, whole
    std::optional<Time> attributes_time;       // if set, sign attributes with this time; otherwise the content itself
    bool detached = false;
    std::optional<std::uint64_t> size;  // of the content, if it is known
};

/** Makes the signature, s and then r, over a digest. */
using SignDigest = std::function<Octets(const Digest&)>;

/**
 * Writes a signed message while its content arrives. The message is in DER if its size is known in advance, or if it is
 * detached. Otherwise it consists of elements of indefinite length (BER).
 */
class SignedDataWriter {
public:
    SignedDataWriter(const SigningPlan& plan, const Sink& out);

    /** Take the next octets of the content. */
    void content(Part octets);
    /**
     * Sign, and write the rest.
     *
     * @return the SignerInfo, for a check. Throws Malformed if the content has another size than planned.
     */
    Octets finish(const SignDigest& sign);

private:
    [[nodiscard]] Octets signer_info(const Digest& digest, const SignDigest& sign) const;
    [[nodiscard]] Octets head() const;
    void write(const Octets& octets) { out_(octets); }

    SigningPlan plan_;
    Sink out_;
    Hash hash_;
    std::uint64_t size_ = 0;  // of the content so far
    Octets certificates_;     // the element [0] around them
    bool indefinite_;
};

}  // namespace vrx::documents

#endif

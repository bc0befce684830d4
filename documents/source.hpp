// A source of octets that are read from first to last, and the error for documents that cannot be read.
#ifndef VRX_DOCUMENTS_SOURCE_HPP
#define VRX_DOCUMENTS_SOURCE_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "documents/der.hpp"

namespace vrx::documents {

using Octets = std::vector<std::uint8_t>;

/** Octets that are read from first to last: a file, or the decoded part of one. */
class Source {
public:
    Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    virtual ~Source() = default;
    /** Read the available octets, at least one; 0 at the end. */
    [[nodiscard]] virtual std::size_t read(std::span<std::uint8_t> buffer) = 0;
};

/** A function that takes the octets of a content, piece by piece. */
using Sink = std::function<void(Part)>;

/** The error of a document that cannot be read. The text completes a sentence: "it is truncated". */
class Malformed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace vrx::documents

#endif

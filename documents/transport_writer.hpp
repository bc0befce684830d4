// Encodes messages in the forms in which they are exchanged.
#ifndef VRX_DOCUMENTS_TRANSPORT_WRITER_HPP
#define VRX_DOCUMENTS_TRANSPORT_WRITER_HPP

#include <string>
#include <string_view>

#include "documents/source.hpp"
#include "documents/transport.hpp"

namespace vrx::documents {

/** Converts text to its canonical form, in which each line ends with CRLF. */
class Canonical {
public:
    explicit Canonical(Sink out) : out_(std::move(out)) {}
    void write(Part octets);
    /** Write what waits. */
    void finish();

private:
    Sink out_;
    Octets waiting_;
    bool after_return_ = false;  // the last octet was a carriage return
};

/** Writes the octets of a message in a form. */
class TransportWriter {
public:
    /** @param boundary  between the parts of a multipart message; it must not occur in its content. */
    TransportWriter(Transport::Form form, Sink out, std::string boundary);

    /** Write the next octets of the canonical content of a multipart message. */
    void write_content(Part octets);
    /** End the content of a multipart message. */
    void begin_signature();
    /** Write the next octets of the structure. */
    void write(Part octets);
    void finish();

private:
    void text(std::string_view line) { out_({reinterpret_cast<const std::uint8_t*>(line.data()), line.size()}); }

    Transport::Form form_;
    Sink out_;
    std::string boundary_;
    Octets waiting_;  // octets that do not fill a line of base64 yet
};

}  // namespace vrx::documents

#endif

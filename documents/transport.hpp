// Decodes the forms in which messages are exchanged: DER or BER, PEM (RFC 7468), base64, and S/MIME (RFC 8551).
#ifndef VRX_DOCUMENTS_TRANSPORT_HPP
#define VRX_DOCUMENTS_TRANSPORT_HPP

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "documents/source.hpp"

namespace vrx::documents {

/** Reads lines of any length from a source. */
class Lines {
public:
    explicit Lines(Source& source);

    /**
     * Returns the octets that the next call will return, and those after them, as far as they exist, but at most 64
     * KiB.
     */
    std::string_view preview();
    /**
     * Take the next line without its newline, LF or CRLF. A line that is longer than 64 KiB comes in several parts.
     *
     * @return false at the end of the source.
     */
    bool next(std::string_view& line);
    /** True if the most recent call of next() reached the end of a line. False if more parts of the line follow. */
    [[nodiscard]] bool line_ended() const { return line_ended_; }
    /** Take octets without looking for lines. @return their number; 0 at the end. */
    std::size_t read(std::span<std::uint8_t> buffer);

private:
    void fill();
    [[nodiscard]] std::string_view filled() const;

    Source& source_;
    Octets buffer_;
    std::size_t begin_ = 0;
    std::size_t filled_ = 0;
    bool at_end_ = false;
    bool line_ended_ = true;
};

/**
 * Reads a message in any form, and returns the octets of its structure. Throws Malformed if the form is unknown or
 * malformed.
 */
class Transport : public Source {
public:
    enum class Form {
        binary,  // DER or BER
        pem,
        base64,
        mime,       // application/pkcs7-mime
        multipart,  // multipart/signed: the content, and then a detached signature
    };

    explicit Transport(Source& file);

    [[nodiscard]] Form form() const { return form_; }
    /** The label of a PEM block; the media type of an S/MIME message. */
    [[nodiscard]] const std::string& label() const { return label_; }
    /**
     * Pass the content of a multipart/signed message to a sink in canonical form: its lines end with CRLF, the last one
     * with none. Call this before the first read() if the form is multipart.
     */
    void read_content(const Sink& sink);

    [[nodiscard]] std::size_t read(std::span<std::uint8_t> buffer) override;

private:
    void begin_pem();
    void begin_mime();
    void begin_signature();
    bool is_last_line(std::string_view line);
    void decode_line(std::string_view line);
    bool decode_more();

    Lines lines_;
    Form form_;
    std::string label_;
    std::string boundary_;     // the boundary, with two leading dashes
    Octets decoded_;           // octets decoded from base64
    std::size_t taken_ = 0;    // the octets of decoded_ that were read
    std::uint32_t group_ = 0;  // up to four characters of base64
    unsigned characters_ = 0;
    unsigned padding_ = 0;
    bool binary_ = false;  // the octets are not in base64
    bool at_end_ = false;
};

}  // namespace vrx::documents

#endif

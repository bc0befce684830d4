// Reads the outer layers of large messages in BER (ITU-T X.690) from a source, in constant memory. BER also has lengths
// that are not in their shortest form, elements of indefinite length, and octet strings that consist of several parts.
#ifndef VRX_DOCUMENTS_BER_HPP
#define VRX_DOCUMENTS_BER_HPP

#include <cstdint>
#include <optional>
#include <vector>

#include "documents/source.hpp"

namespace vrx::documents::ber {

/** The maximum number of octets that all calls of whole() return together. */
inline constexpr std::size_t most_octets = 16 * 1024 * 1024;

/** The marks of the tags of constructed elements, and of elements whose tag depends on the context. */
inline constexpr std::uint8_t constructed = 0x20;
inline constexpr std::uint8_t context = 0x80;

/** Reads nested elements from first to last. All functions throw Malformed if the octets are malformed. */
class Reader {
public:
    explicit Reader(Source& source);

    /** The tag of the next element in the current one; std::nullopt at the end of the current one. */
    [[nodiscard]] std::optional<std::uint8_t> tag();
    /** Make the next element, which must have this tag, the current one. */
    void enter(std::uint8_t wanted);
    /** Leave the current element, of which all octets must have been read, and return to the element around it. */
    void leave();
    /** Read the next element, including tag and length, as it is encoded. */
    Octets whole();
    /** Do the same, but require that the element has this tag. */
    Octets whole(std::uint8_t wanted);
    /**
     * Pass the contents of the next element, an OCTET STRING of any size, to a sink.
     *
     * @param wanted  the tag of the primitive form. The constructed form is accepted, too.
     */
    void stream(std::uint8_t wanted, const Sink& sink);
    /** Check that the source ends here. */
    void finish();

private:
    struct Header {
        std::uint8_t tag;
        std::optional<std::uint64_t> size;  // std::nullopt if indefinite
    };
    /** An element that was entered. */
    struct Open {
        std::uint64_t
            end;  // the position of its end; if this is unknown, of the innermost known end of an element around it
        bool definite;
    };

    bool fill(std::size_t count);
    std::uint8_t take();
    Header take_header(Octets* copy);
    void take_end_of_contents(Octets* copy);
    void copy_octets(std::uint64_t count, Octets& out);
    void copy_element(Octets& out, std::size_t depth);
    void open(const Header& header);
    void stream_part(std::uint8_t wanted, const Sink& sink, std::size_t depth);
    [[nodiscard]] std::uint64_t end() const;

    Source& source_;
    Octets buffer_;
    std::size_t begin_ = 0;  // the octets from begin_ to filled_ were read and not yet taken
    std::size_t filled_ = 0;
    std::uint64_t position_ = 0;  // the number of octets that were taken
    std::size_t returned_ = 0;    // the number of octets that whole() returned
    std::vector<Open> open_;
};

}  // namespace vrx::documents::ber

#endif

#include "documents/ber.hpp"

#include <algorithm>
#include <limits>

namespace vrx::documents::ber {
namespace {

constexpr std::size_t buffer_size = 256 * 1024;
constexpr std::size_t deepest = 32;
constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

[[noreturn]] void throw_truncated() { throw Malformed("it is truncated"); }
[[noreturn]] void throw_unexpected() { throw Malformed("its fields are not those of such a message"); }
[[noreturn]] void throw_too_deep() { throw Malformed("its elements are nested too deeply"); }

}  // namespace

Reader::Reader(Source& source) : source_(source), buffer_(buffer_size) {}

/** Read until the buffer holds `count` octets, which are few; false if the source ends before. */
bool Reader::fill(std::size_t count) {
    if (filled_ - begin_ >= count) return true;
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), buffer_.begin());
    filled_ -= begin_;
    begin_ = 0;
    while (filled_ < count) {
        const std::size_t got = source_.read(std::span(buffer_).subspan(filled_));
        if (got == 0) return false;
        filled_ += got;
    }
    return true;
}

/** Returns a position that the current element cannot exceed. */
std::uint64_t Reader::end() const { return open_.empty() ? unlimited : open_.back().end; }

std::uint8_t Reader::take() {
    if (position_ == end()) throw Malformed("an element is longer than the one around it");
    if (!fill(1)) throw_truncated();
    ++position_;
    return buffer_[begin_++];
}

/** Take a tag and a length. @param copy  if not nullptr, the octets are appended to it. */
Reader::Header Reader::take_header(Octets* copy) {
    const auto next = [&] {
        const std::uint8_t octet = take();
        if (copy != nullptr) copy->push_back(octet);
        return octet;
    };
    Header header{next(), 0};
    if ((header.tag & 0x1F) == 0x1F || header.tag == 0) throw_unexpected();  // such tags do not occur in messages
    const std::uint8_t first = next();
    if (first == 0x80) {
        if ((header.tag & constructed) == 0) throw Malformed("a primitive element has no length");
        header.size.reset();
        return header;
    }
    std::uint64_t size = first;
    if (first > 0x80) {
        size = 0;
        for (std::size_t i = first & 0x7F; i > 0; --i) {
            if (size >> 48 != 0) throw Malformed("an element has an impossible length");
            size = size << 8 | next();
        }
    }
    if (size > end() - position_) throw Malformed("an element is longer than the one around it");
    header.size = size;
    return header;
}

/** Take the two zeros that end an element of indefinite length. */
void Reader::take_end_of_contents(Octets* copy) {
    for (int i = 0; i < 2; ++i) {
        if (take() != 0) throw Malformed("an element of indefinite length has no end");
        if (copy != nullptr) copy->push_back(0);
    }
}

std::optional<std::uint8_t> Reader::tag() {
    if (position_ == end() && (open_.empty() || open_.back().definite)) return std::nullopt;
    if (!fill(1)) {
        if (open_.empty()) return std::nullopt;
        throw_truncated();
    }
    const std::uint8_t next = buffer_[begin_];
    if (next == 0 && !open_.empty() && !open_.back().definite) return std::nullopt;
    return next;
}

void Reader::open(const Header& header) {
    if (open_.size() >= deepest) throw_too_deep();
    open_.push_back({header.size ? position_ + *header.size : end(), header.size.has_value()});
}

void Reader::enter(std::uint8_t wanted) {
    if (tag() != wanted) throw_unexpected();
    open(take_header(nullptr));
}

void Reader::leave() {
    if (tag()) throw_unexpected();
    const bool definite = open_.back().definite;
    if (!definite) take_end_of_contents(nullptr);
    open_.pop_back();
}

/** Append the next octets to `out`. */
void Reader::copy_octets(std::uint64_t count, Octets& out) {
    if (count > most_octets || returned_ + out.size() + count > most_octets)
        throw Malformed("its certificates and other fields exceed " + std::to_string(most_octets >> 20) + " MiB");
    while (count > 0) {
        if (!fill(1)) throw_truncated();
        const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(count, filled_ - begin_));
        const auto from = buffer_.begin() + static_cast<std::ptrdiff_t>(begin_);
        out.insert(out.end(), from, from + static_cast<std::ptrdiff_t>(size));
        begin_ += size;
        position_ += size;
        count -= size;
    }
}

void Reader::copy_element(Octets& out, std::size_t depth) {
    if (depth > deepest) throw_too_deep();
    const Header header = take_header(&out);
    if (header.size) return copy_octets(*header.size, out);
    open(header);
    while (tag()) copy_element(out, depth + 1);
    take_end_of_contents(&out);
    open_.pop_back();
    copy_octets(0, out);  // this checks the size
}

Octets Reader::whole() {
    if (!tag()) throw_unexpected();
    Octets out;
    copy_element(out, 0);
    returned_ += out.size();
    return out;
}

Octets Reader::whole(std::uint8_t wanted) {
    if (tag() != wanted) throw_unexpected();
    return whole();
}

void Reader::stream_part(std::uint8_t wanted, const Sink& sink, std::size_t depth) {
    if (depth > deepest) throw_too_deep();
    const auto next = tag();
    if (next == (wanted | constructed)) {
        open(take_header(nullptr));
        while (tag()) stream_part(der::octet_string, sink, depth + 1);
        return leave();
    }
    if (next != wanted) throw_unexpected();
    std::uint64_t rest = *take_header(nullptr).size;
    while (rest > 0) {
        if (!fill(1)) throw_truncated();
        const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(rest, filled_ - begin_));
        sink(Part(buffer_).subspan(begin_, size));
        begin_ += size;
        position_ += size;
        rest -= size;
    }
}

void Reader::stream(std::uint8_t wanted, const Sink& sink) { stream_part(wanted, sink, 0); }

void Reader::finish() {
    if (!open_.empty() || fill(1)) throw Malformed("other data follows it");
}

}  // namespace vrx::documents::ber

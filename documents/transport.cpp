#include "documents/transport.hpp"

#include <algorithm>
#include <cstring>

namespace vrx::documents {
namespace {

constexpr std::size_t longest_line = 64 * 1024;
constexpr std::size_t buffer_size = 4 * longest_line;
constexpr std::size_t most_headers = 1000;
constexpr std::size_t longest_boundary = 70;  // RFC 2046, section 5.1.1
constexpr std::string_view pem_begin = "-----BEGIN ";
constexpr std::string_view pem_dashes = "-----";
constexpr std::string_view blanks = " \t";

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

constexpr std::uint8_t no_sextet = 0xFF;
constexpr std::uint8_t blank = 0xFE;
constexpr std::uint8_t pad = 0xFD;

/** The value of each character in base64, or one of the marks above. */
constexpr std::array<std::uint8_t, 256> sextets = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(no_sextet);
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < letters.size(); ++i)
        table[static_cast<std::uint8_t>(letters[i])] = static_cast<std::uint8_t>(i);
    for (const char c : std::string_view(" \t\r\n")) table[static_cast<std::uint8_t>(c)] = blank;
    table['='] = pad;
    return table;
}();

bool is_base64(std::string_view text) {
    return !text.empty() &&
           std::ranges::all_of(text, [](char c) { return sextets[static_cast<std::uint8_t>(c)] != no_sextet; });
}

/** A header of a MIME entity: "Content-Type: multipart/signed; boundary=x". */
struct Header {
    std::string name;  // in lower case
    std::string value;
};

/** The value of a header without parameters, in lower case. */
std::string main_value(const std::string& value) {
    return lower(trimmed(std::string_view(value).substr(0, value.find(';'))));
}

/** The value of a parameter of a header (RFC 2045, section 5.1); an empty string if there is none. */
std::string parameter(const std::string& value, std::string_view name) {
    std::string_view rest(value);
    while (true) {
        // Find the next semicolon outside quotation marks.
        std::size_t end = 0;
        for (bool quoted = false; end < rest.size() && (quoted || rest[end] != ';'); ++end) {
            if (quoted && rest[end] == '\\' && end + 1 < rest.size())
                ++end;
            else if (rest[end] == '"')
                quoted = !quoted;
        }
        const std::string_view part = trimmed(rest.substr(0, end));
        const std::size_t equals = part.find('=');
        if (equals != std::string_view::npos && lower(trimmed(part.substr(0, equals))) == name) {
            const std::string_view text = trimmed(part.substr(equals + 1));
            if (!text.starts_with('"')) return std::string(text);
            std::string result;
            for (std::size_t i = 1; i < text.size() && text[i] != '"'; ++i) {
                if (text[i] == '\\' && i + 1 < text.size()) ++i;
                result += text[i];
            }
            return result;
        }
        if (end >= rest.size()) return {};
        rest.remove_prefix(end + 1);
    }
}

/**
 * Add a line to the headers. Returns false if the line is not a header. The second and later lines of a header begin
 * with a blank.
 */
bool add_header_line(std::string_view line, std::vector<Header>& headers) {
    if (blanks.find(line.front()) != std::string_view::npos) {
        if (headers.empty()) return false;
        headers.back().value += " " + std::string(trimmed(line));
        return true;
    }
    const std::size_t colon = line.find(':');
    const auto is_name = [](char c) { return c > ' ' && c < 0x7F; };
    if (colon == 0 || colon == std::string_view::npos || !std::ranges::all_of(line.substr(0, colon), is_name))
        return false;
    headers.push_back({lower(line.substr(0, colon)), std::string(trimmed(line.substr(colon + 1)))});
    return true;
}

std::string value_of(const std::vector<Header>& headers, std::string_view name) {
    const auto found = std::ranges::find_if(headers, [&](const Header& h) { return h.name == name; });
    return found != headers.end() ? found->value : std::string();
}

/** Read headers up to an empty line. In mail folders, a message begins with a line "From ", which is skipped. */
std::vector<Header> read_headers(Lines& lines) {
    std::vector<Header> headers;
    std::string_view line;
    for (bool first = true; lines.next(line) && lines.line_ended() && headers.size() < most_headers; first = false) {
        if (line.empty()) {
            if (headers.empty() && first) continue;
            return headers;
        }
        if (first && line.starts_with("From ")) continue;
        if (!add_header_line(line, headers)) throw Malformed("its headers are malformed");
    }
    throw Malformed("its headers are truncated, or too long");
}

/** True if a text begins with headers that include Content-Type. */
bool is_mime(std::string_view text) {
    bool first = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (lower(line.substr(0, 13)) == "content-type:") return true;
        std::vector<Header> ignored{{}};
        const bool skipped = first && (line.empty() || line.starts_with("From "));
        if (!skipped && (line.empty() || !add_header_line(line, ignored))) return false;
        first = false;
    }
    return false;
}

bool is_signature_type(const std::string& type) {
    return type == "application/pkcs7-signature" || type == "application/x-pkcs7-signature";
}

bool is_message_type(const std::string& type) {
    return type == "application/pkcs7-mime" || type == "application/x-pkcs7-mime";
}

}  // namespace

Lines::Lines(Source& source) : source_(source), buffer_(buffer_size) {}

std::string_view Lines::filled() const {
    return {reinterpret_cast<const char*>(buffer_.data()) + begin_, filled_ - begin_};
}

/** Reads further octets into the free part of the buffer. */
void Lines::fill() {
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, filled_ - begin_);
        filled_ -= begin_;
        begin_ = 0;
    }
    const std::size_t got = source_.read(std::span(buffer_).subspan(filled_));
    filled_ += got;
    at_end_ = got == 0;
}

std::string_view Lines::preview() {
    while (!at_end_ && filled_ - begin_ < longest_line) fill();
    return filled().substr(0, longest_line);
}

bool Lines::next(std::string_view& line) {
    std::size_t searched = 0;
    for (;;) {
        const std::string_view text = filled();
        const std::size_t end = text.find('\n', searched);
        if (end != std::string_view::npos) {
            line = text.substr(0, end);
            if (line.ends_with('\r')) line.remove_suffix(1);
            begin_ += end + 1;
            line_ended_ = true;
            return true;
        }
        if (text.size() >= longest_line || at_end_) {
            // A carriage return at the end of a part may belong to the newline, so it is held back.
            line = text;
            if (!at_end_ && line.ends_with('\r')) line.remove_suffix(1);
            begin_ += line.size();
            line_ended_ = at_end_;
            return !line.empty();
        }
        searched = text.size();
        fill();
    }
}

std::size_t Lines::read(std::span<std::uint8_t> buffer) {
    if (begin_ == filled_ && !at_end_) fill();
    const std::size_t size = std::min(buffer.size(), filled_ - begin_);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), size, buffer.begin());
    begin_ += size;
    return size;
}

Transport::Transport(Source& file) : lines_(file), form_(Form::binary) {
    const std::string_view text = lines_.preview();
    if (text.empty()) throw Malformed("it is empty");
    if (text.front() == der::sequence && !is_base64(text.substr(0, 64))) {
        binary_ = true;
        return;
    }
    if (is_mime(text)) {
        begin_mime();
    } else if (text.starts_with(pem_begin) || text.find("\n" + std::string(pem_begin)) != std::string_view::npos) {
        begin_pem();
    } else {
        // The base64 of a SEQUENCE begins with M.
        const std::size_t first = text.find_first_not_of(" \t\r\n");
        if (first == std::string_view::npos || text[first] != 'M' || !is_base64(text.substr(0, 64)))
            throw Malformed("it is neither DER, PEM, base64 nor S/MIME");
        form_ = Form::base64;
    }
}

void Transport::begin_pem() {
    form_ = Form::pem;
    std::string_view line;
    do {
        if (!lines_.next(line)) throw Malformed("it is truncated");
    } while (!line.starts_with(pem_begin));
    const std::size_t end = line.find(pem_dashes, pem_begin.size());
    if (end == std::string_view::npos) throw Malformed("its BEGIN line is malformed");
    label_ = line.substr(pem_begin.size(), end - pem_begin.size());
}

void Transport::begin_mime() {
    const std::vector<Header> headers = read_headers(lines_);
    const std::string type = value_of(headers, "content-type");
    label_ = main_value(type);
    if (label_ == "multipart/signed") {
        form_ = Form::multipart;
        boundary_ = parameter(type, "boundary");
        if (boundary_.empty() || boundary_.size() > longest_boundary)
            throw Malformed("its header Content-Type has no valid boundary");
        boundary_.insert(0, "--");
        std::string_view line;
        do {
            if (!lines_.next(line)) throw Malformed("it is truncated");
        } while (!is_last_line(line));
        return;
    }
    form_ = Form::mime;
    if (!is_message_type(label_) && !is_signature_type(label_))
        throw Malformed("its media type is not that of a signed or encrypted message");
    const std::string encoding = main_value(value_of(headers, "content-transfer-encoding"));
    binary_ = encoding == "binary";
    if (!binary_ && encoding != "base64") throw Malformed("its Content-Transfer-Encoding is neither base64 nor binary");
}

/** True if a line ends the part of a multipart message or the block of a PEM file. */
bool Transport::is_last_line(std::string_view line) {
    if (form_ == Form::pem) return line.substr(0, line.find_last_not_of(blanks) + 1) == "-----END " + label_ + "-----";
    if (form_ != Form::multipart || !line.starts_with(boundary_)) return false;
    line.remove_prefix(boundary_.size());
    if (line.starts_with("--")) line.remove_prefix(2);
    return trimmed(line).empty();
}

void Transport::read_content(const Sink& sink) {
    Octets canonical;
    canonical.reserve(2 * longest_line);
    const auto append = [&](std::string_view text) {
        canonical.insert(canonical.end(), text.begin(), text.end());
        if (canonical.size() < longest_line) return;
        sink(canonical);
        canonical.clear();
    };
    bool starts = true;       // the next part starts a line
    bool unfinished = false;  // the newline of the last line was not passed on
    std::string_view line;
    for (;;) {
        if (!lines_.next(line)) throw Malformed("it is truncated");
        if (starts && is_last_line(line)) break;
        if (unfinished) append("\r\n");
        append(line);
        starts = unfinished = lines_.line_ended();
    }
    if (!canonical.empty()) sink(canonical);
    begin_signature();
}

/** Read the headers of the second part of a multipart/signed message. */
void Transport::begin_signature() {
    const std::vector<Header> headers = read_headers(lines_);
    if (!is_signature_type(main_value(value_of(headers, "content-type"))))
        throw Malformed("its second part is not an application/pkcs7-signature");
    if (main_value(value_of(headers, "content-transfer-encoding")) != "base64")
        throw Malformed("the Content-Transfer-Encoding of its signature is not base64");
}

void Transport::decode_line(std::string_view line) {
    for (const char c : line) {
        const std::uint8_t value = sextets[static_cast<std::uint8_t>(c)];
        if (value < 64 && padding_ == 0) {
            group_ = group_ << 6 | value;
            if (++characters_ < 4) continue;
            decoded_.push_back(static_cast<std::uint8_t>(group_ >> 16));
            decoded_.push_back(static_cast<std::uint8_t>(group_ >> 8));
            decoded_.push_back(static_cast<std::uint8_t>(group_));
            group_ = characters_ = 0;
        } else if (value == pad && characters_ >= 2 && padding_ < 4 - characters_) {
            ++padding_;
        } else if (value != blank) {
            throw Malformed("its base64 is malformed");
        }
    }
}

/** Decode lines until there are octets. Returns false at the end. */
bool Transport::decode_more() {
    decoded_.clear();
    taken_ = 0;
    std::string_view line;
    while (!at_end_ && decoded_.size() < longest_line) {
        const bool found = lines_.next(line);
        if (!found && (form_ == Form::pem || form_ == Form::multipart)) throw Malformed("it is truncated");
        at_end_ = !found || is_last_line(line);
        if (!at_end_) decode_line(line);
    }
    if (!at_end_) return true;
    // At the end, decodes the octets of an incomplete group.
    if (characters_ != 0 || padding_ != 0) {
        if (characters_ + padding_ != 4) throw Malformed("its base64 is truncated");
        group_ <<= 6 * padding_;
        if ((group_ & ((1U << 8 * padding_) - 1)) != 0) throw Malformed("its base64 is malformed");
        for (unsigned i = 0; i < 3 - padding_; ++i)
            decoded_.push_back(static_cast<std::uint8_t>(group_ >> (16 - 8 * i)));
        characters_ = padding_ = 0;
    }
    return !decoded_.empty();
}

std::size_t Transport::read(std::span<std::uint8_t> buffer) {
    if (binary_) return lines_.read(buffer);
    if (taken_ == decoded_.size() && (at_end_ || !decode_more())) return 0;
    const std::size_t size = std::min(buffer.size(), decoded_.size() - taken_);
    std::copy_n(decoded_.begin() + static_cast<std::ptrdiff_t>(taken_), size, buffer.begin());
    taken_ += size;
    return size;
}

}  // namespace vrx::documents

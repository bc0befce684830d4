#include "documents/transport_writer.hpp"

#include <algorithm>

namespace vrx::documents {
namespace {

constexpr std::size_t line_octets = 48;  // 64 characters of base64
constexpr std::size_t enough = 64 * 1024;
constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view attachment =
    "Content-Transfer-Encoding: base64\r\n"
    "Content-Disposition: attachment; filename=\"";

/** Append octets in base64. Only the last ones of a message may be no multiple of three. */
void append_base64(Octets& out, Part octets, std::string_view newline) {
    const auto character = [](std::uint32_t group, int shift) {
        return static_cast<std::uint8_t>(letters[group >> shift & 63]);
    };
    while (!octets.empty()) {
        Part line = octets.first(std::min(octets.size(), line_octets));
        octets = octets.subspan(line.size());
        for (; line.size() >= 3; line = line.subspan(3)) {
            const std::uint32_t group = std::uint32_t{line[0]} << 16 | std::uint32_t{line[1]} << 8 | line[2];
            for (const int shift : {18, 12, 6, 0}) out.push_back(character(group, shift));
        }
        if (!line.empty()) {
            const std::uint32_t group =
                std::uint32_t{line[0]} << 16 | (line.size() > 1 ? std::uint32_t{line[1]} << 8 : 0U);
            out.push_back(character(group, 18));
            out.push_back(character(group, 12));
            out.push_back(line.size() > 1 ? character(group, 6) : std::uint8_t{'='});
            out.push_back('=');
        }
        out.insert(out.end(), newline.begin(), newline.end());
    }
}

}  // namespace

void Canonical::write(Part octets) {
    while (!octets.empty()) {
        const auto newline = std::ranges::find(octets, std::uint8_t{'\n'});
        const auto line = octets.first(static_cast<std::size_t>(newline - octets.begin()));
        waiting_.insert(waiting_.end(), line.begin(), line.end());
        if (!line.empty()) after_return_ = line.back() == '\r';
        octets = octets.subspan(line.size());
        if (!octets.empty()) {
            if (!after_return_) waiting_.push_back('\r');
            waiting_.push_back('\n');
            after_return_ = false;
            octets = octets.subspan(1);
        }
        if (waiting_.size() >= enough) finish();
    }
}

void Canonical::finish() {
    if (!waiting_.empty()) out_(waiting_);
    waiting_.clear();
}

TransportWriter::TransportWriter(Transport::Form form, Sink out, std::string boundary)
    : form_(form), out_(std::move(out)), boundary_(std::move(boundary)) {
    if (form_ == Transport::Form::pem) text("-----BEGIN CMS-----\n");
    if (form_ == Transport::Form::mime)
        text(
            "MIME-Version: 1.0\r\n"
            "Content-Type: application/pkcs7-mime; smime-type=signed-data; name=\"smime.p7m\"\r\n" +
            std::string(attachment) + "smime.p7m\"\r\n\r\n");
    if (form_ == Transport::Form::multipart)
        text(
            "MIME-Version: 1.0\r\n"
            "Content-Type: multipart/signed; protocol=\"application/pkcs7-signature\";\r\n"
            " micalg=gostr3411-94; boundary=\"" +
            boundary_ + "\"\r\n\r\nThis is a signed message (S/MIME).\r\n--" + boundary_ + "\r\n");
}

void TransportWriter::write_content(Part octets) { out_(octets); }

void TransportWriter::begin_signature() {
    text("\r\n--" + boundary_ + "\r\nContent-Type: application/pkcs7-signature; name=\"smime.p7s\"\r\n" +
         std::string(attachment) + "smime.p7s\"\r\n\r\n");
}

void TransportWriter::write(Part octets) {
    if (form_ == Transport::Form::binary) return out_(octets);
    waiting_.insert(waiting_.end(), octets.begin(), octets.end());
    if (waiting_.size() < enough) return;
    const std::size_t lines = waiting_.size() / line_octets * line_octets;
    Octets out;
    out.reserve(2 * lines);
    append_base64(out, Part(waiting_).first(lines), form_ == Transport::Form::pem ? "\n" : "\r\n");
    out_(out);
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(lines));
}

void TransportWriter::finish() {
    if (form_ == Transport::Form::binary) return;
    Octets out;
    append_base64(out, waiting_, form_ == Transport::Form::pem ? "\n" : "\r\n");
    if (!out.empty()) out_(out);
    if (form_ == Transport::Form::pem) text("-----END CMS-----\n");
    if (form_ == Transport::Form::multipart) text("--" + boundary_ + "--\r\n");
}

}  // namespace vrx::documents

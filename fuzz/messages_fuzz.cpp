// Fuzz target: messages in all forms. The size of the pieces in which a message arrives does not change the result, and
// the program reads what it writes.
#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "documents/signed_data.hpp"
#include "documents/transport.hpp"
#include "documents/transport_writer.hpp"
#include "fuzz.hpp"
#include "io/text.hpp"
#include "message_report.hpp"
#include "messages.hpp"

namespace {

using namespace vrx::documents;
using vrx::fuzz::require;

/** Octets that arrive in pieces. */
class Pieces : public Source {
public:
    Pieces(Part octets, std::size_t most) : rest_(octets), most_(most) {}
    std::size_t read(std::span<std::uint8_t> buffer) override {
        const std::size_t size = std::min({buffer.size(), most_, rest_.size()});
        std::copy_n(rest_.begin(), size, buffer.begin());
        rest_ = rest_.subspan(size);
        return size;
    }

private:
    Part rest_;
    std::size_t most_;
};

/** A signed message that was read, with its content. */
struct Read {
    SignedData message;
    Octets content;
    Transport::Form form{};
};

std::optional<Read> read(Source& source) {
    Read result;
    const Sink sink = [&](Part octets) { result.content.insert(result.content.end(), octets.begin(), octets.end()); };
    try {
        Transport transport(source);
        result.form = transport.form();
        if (result.form == Transport::Form::multipart) transport.read_content(sink);
        ber::Reader reader(transport);
        if (read_content_type(reader) != signed_data_oid) return std::nullopt;
        result.message = read_signed_data(reader, sink);
    } catch (const Malformed& error) {
        require(std::string_view(error.what()).find_first_of("\n;") == std::string_view::npos,
                "a sentence has one part");
        return std::nullopt;
    }
    return result;
}

/** Signers are sound, and verifying them with any key has a result. */
void check(const Read& read) {
    const WorkingKey key{get_GOSTR3410_par(1), get_GOSTR3410_par(1)->G};
    const Digest digest = digest_of(read.content);
    for (const SignerInfo& signer : read.message.signers) {
        require(!signer.digest_oid.empty() && !signer.signature_oid.empty(), "algorithms have names");
        require((signer.order == AttributeOrder::none) == signer.attributes.empty() || !signer.attribute_fault.none(),
                "signed attributes are read, or have a fault");
        require(signer.attributes.size() == signer.sorted_attributes.size(), "an order changes no size");
        require(signer.order != AttributeOrder::sorted || signer.attributes == signer.sorted_attributes, "DER is DER");
        const Fault fault = check_signature(read.message, signer, digest, key);
        require(fault.none() || !fault.sentence.empty(), "a fault has a sentence");
    }
}

/** A writer's result in each form reads as the octets that were written. */
void write_and_read(Part octets) {
    constexpr std::string_view boundary = "a boundary that no input has";
    if (std::search(octets.begin(), octets.end(), boundary.begin(), boundary.end()) != octets.end()) return;
    for (const auto form : {Transport::Form::pem, Transport::Form::mime, Transport::Form::multipart}) {
        Octets file;
        Octets canonical;
        const Sink out = [&](Part part) { file.insert(file.end(), part.begin(), part.end()); };
        TransportWriter writer(form, out, std::string(boundary));
        if (form == Transport::Form::multipart) {
            Canonical lines([&](Part part) {
                canonical.insert(canonical.end(), part.begin(), part.end());
                writer.write_content(part);
            });
            lines.write(octets);
            lines.finish();
            writer.begin_signature();
        }
        writer.write(octets);
        writer.finish();
        Pieces pieces(file, 100);
        Transport transport(pieces);
        Octets content;
        if (form == Transport::Form::multipart)
            transport.read_content([&](Part part) { content.insert(content.end(), part.begin(), part.end()); });
        require(transport.form() == form && content == canonical, "a content is read as it was written");
        Octets again;
        std::array<std::uint8_t, 50> buffer;
        while (const std::size_t got = transport.read(buffer))
            again.insert(again.end(), buffer.begin(), buffer.begin() + got);
        require(std::ranges::equal(again, octets), "octets are read as they were written");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Part octets(data, size);
    Pieces whole(octets, size + 1);
    Pieces single(octets, 1);
    const auto first = read(whole);
    const auto second = read(single);
    require(first.has_value() == second.has_value(), "pieces do not change whether a message is read");
    if (first) {
        require(first->content == second->content && first->form == second->form, "pieces do not change the content");
        require(first->message.signers.size() == second->message.signers.size() &&
                    first->message.certificates == second->message.certificates,
                "pieces do not change the fields");
        check(*first);
    }
    try {
        vrx::app::Report report;
        Pieces source(octets, 1000);
        vrx::app::describe_message(report, source, "FILE");
        for (const char32_t c : vrx::app::from_utf8(report.text("FILE")))
            require((c >= 0x20 || c == '\n') && !(c >= 0x7F && c < 0xA0), "reports have no control characters");
    } catch (const Malformed&) {
        // The report is about the same malformed message.
    }
    write_and_read(octets);
    return 0;
}

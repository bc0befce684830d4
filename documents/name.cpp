#include "documents/name.hpp"

#include <algorithm>
#include <iterator>

#include "io/text.hpp"

namespace vrx::documents {
namespace {

struct Named {
    const char* oid;
    const char* name;
};

/** Short names of attribute types (RFC 4514, RFC 4519), including those of Russian certificates. */
constexpr Named attributes[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "street"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "title"},
    {"2.5.4.42", "GN"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
    {"1.2.643.3.131.1.1", "INN"},
    {"1.2.643.100.1", "OGRN"},
    {"1.2.643.100.3", "SNILS"},
};

std::string attribute_name(const std::string& oid) {
    const auto found = std::ranges::find_if(attributes, [&](const Named& n) { return n.oid == oid; });
    return found != std::end(attributes) ? found->name : oid;
}

/**
 * Returns the value of an attribute in UTF-8. Characters that could deceive a reader are escaped, and so are those that
 * RFC 4514 requires to be escaped.
 */
std::string attribute_text(std::uint8_t tag, Part octets) {
    std::u32string characters;
    if (tag == der::bmp_string && octets.size() % 2 == 0) {
        for (std::size_t i = 0; i < octets.size(); i += 2)
            characters += static_cast<char32_t>(octets[i] << 8 | octets[i + 1]);
    } else if (tag == der::utf8_string || tag == der::printable_string || tag == der::ia5_string ||
               tag == der::numeric_string) {
        characters = app::from_utf8({reinterpret_cast<const char*>(octets.data()), octets.size()});
    } else if (tag == der::t61_string) {
        for (const std::uint8_t octet : octets) characters += static_cast<char32_t>(octet);
    } else {
        return "#" + app::to_hex(octets);
    }
    std::string text;
    for (std::size_t i = 0; i < characters.size(); ++i) {
        const char32_t c = characters[i];
        if (app::is_deceptive(c)) {
            text.append("\\{").append(app::to_hex(static_cast<std::uint32_t>(c))).append("}");
            continue;
        }
        const bool at_edge = (c == ' ' && (i == 0 || i + 1 == characters.size())) || (c == '#' && i == 0);
        if (at_edge || c == ',' || c == '+' || c == '"' || c == '\\' || c == '<' || c == '>' || c == ';') text += '\\';
        app::append_utf8(text, c);
    }
    return text;
}

}  // namespace

std::optional<std::string> read_name(Part contents) {
    std::string text;
    for (der::Reader names(contents); !names.at_end();) {
        const auto relative = names.next(der::set);
        if (!relative || relative->empty()) return std::nullopt;
        const char* separator = text.empty() ? "" : ", ";
        Part before;
        for (der::Reader parts(*relative); !parts.at_end(); separator = " + ") {
            const auto whole = parts.next_whole(der::sequence);
            // The elements of a SET OF must be in ascending order (X.690, section 11.6).
            if (!whole || std::ranges::lexicographical_compare(*whole, before)) return std::nullopt;
            before = *whole;
            der::Reader part(*whole);
            der::Reader fields(*part.next(der::sequence));
            const auto oid = fields.next(der::object_identifier);
            const auto dotted = oid ? der::dotted(*oid) : std::nullopt;
            const auto tag = fields.tag();
            const auto value = tag ? fields.next(*tag) : std::nullopt;
            if (!dotted || !value || !fields.at_end()) return std::nullopt;
            text.append(separator).append(attribute_name(*dotted)).append("=").append(attribute_text(*tag, *value));
        }
    }
    return text;
}

}  // namespace vrx::documents

#include "keys/der.hpp"

#include <vrx/keyfile.h>

#include "io/failure.hpp"

namespace vrx::app::der {
namespace {

constexpr std::size_t pem_width = 64;

/** Append octets to be written later. @return their position. */
std::size_t make_room(SecretBytes& out, std::size_t size) {
    const std::size_t start = out.bytes().size();
    while (out.bytes().size() < start + size) out.push_back(0);
    return start;
}

std::size_t base64_size(std::size_t octets, std::size_t width) {
    const std::size_t characters = (octets + 2) / 3 * 4;
    return characters + characters / width + (characters % width != 0);
}

char* characters(std::uint8_t* octets) { return reinterpret_cast<char*>(octets); }

}  // namespace

void append(SecretBytes& out, std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts) {
    std::size_t size = 0;
    for (const auto part : parts) size += part.size();
    out.push_back(tag);
    if (size >= 0x100) {
        out.push_back(0x82);
        out.push_back(static_cast<std::uint8_t>(size >> 8));
    } else if (size >= 0x80) {
        out.push_back(0x81);
    }
    out.push_back(static_cast<std::uint8_t>(size));
    for (const auto part : parts)
        for (const std::uint8_t octet : part) out.push_back(octet);
}

bool decode_base64(SecretBytes& text) {
    const std::span<std::uint8_t> bytes = text.bytes();
    std::size_t size = 0;
    const int rc = vrx_decode_base64(characters(bytes.data()), bytes.size(), bytes.data(), bytes.size(), &size);
    if (rc == VRX_OK) text.truncate(size);
    return rc == VRX_OK;
}

void append_base64(SecretBytes& out, std::span<const std::uint8_t> octets, std::size_t width) {
    const std::size_t size = base64_size(octets.size(), width);
    const std::size_t start = make_room(out, size);
    std::size_t written = 0;
    check("base64", vrx_encode_base64(octets.data(), octets.size(), width, characters(out.bytes().data() + start), size,
                                      &written));
}

std::optional<std::string> decode_pem(SecretBytes& text) {
    const std::span<std::uint8_t> bytes = text.bytes();
    char label[VRX_PEM_LABEL_SIZE];
    std::size_t size = 0;
    if (vrx_decode_pem(characters(bytes.data()), bytes.size(), label, bytes.data(), bytes.size(), &size) != VRX_OK)
        return std::nullopt;
    text.truncate(size);
    return label;
}

void append_pem(SecretBytes& out, std::string_view label, std::span<const std::uint8_t> octets) {
    const std::string name(label);
    const std::size_t lines = 2 * (std::string_view("-----BEGIN -----\n").size() + name.size());
    const std::size_t room = lines + base64_size(octets.size(), pem_width) + 1;
    const std::size_t start = make_room(out, room);
    std::size_t size = 0;
    check("PEM", vrx_encode_pem(name.c_str(), octets.data(), octets.size(), characters(out.bytes().data() + start),
                                room, &size));
    out.truncate(start + size);
}

}  // namespace vrx::app::der

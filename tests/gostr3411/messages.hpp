// The messages of the known answers, and their division into pieces.
#ifndef VRX_TESTS_GOSTR3411_MESSAGES_HPP
#define VRX_TESTS_GOSTR3411_MESSAGES_HPP

#include <algorithm>

#include "support/kat.hpp"
#include "vrx.h"

namespace vrx::test {

/** The message of a block: `message`, or `message_unit` repeated. */
inline Bytes message_of(const KatBlock& block) {
    if (block.has("message")) return block.octets("message");
    const Bytes unit = block.octets("message_unit");
    Bytes message;
    for (unsigned long i = block.number("message_repeat"); i != 0; --i)
        message.insert(message.end(), unit.begin(), unit.end());
    return message;
}

/** Returns the built-in hash parameter set with a name. */
inline const vrx_gostr3411_par& hash_set(const std::string& name) {
    for (const vrx_gostr3411_par& record : GOSTR3411_OIDS)
        if (record.name == name) return record;
    throw std::runtime_error("no hash parameter set " + name);
}

/** Calls take(piece) for pieces of `size` bytes. The last piece may be shorter. Each piece is at an odd address. */
template <typename Take>
void in_pieces(std::span<const std::uint8_t> message, std::size_t size, Take take) {
    for (std::size_t at = 0; at < message.size(); at += size) {
        const auto piece = message.subspan(at, std::min(size, message.size() - at));
        Bytes room(piece.size() + 2);
        std::uint8_t* odd = room.data() + (reinterpret_cast<std::uintptr_t>(room.data()) % 2 == 0 ? 1 : 0);
        std::copy(piece.begin(), piece.end(), odd);
        take(std::span<const std::uint8_t>(odd, piece.size()));
    }
}

inline std::uint32_t length32(std::span<const std::uint8_t> data) { return static_cast<std::uint32_t>(data.size()); }

}  // namespace vrx::test

#endif

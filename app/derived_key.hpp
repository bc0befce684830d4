// Options and output that the commands for deriving keys have in common.
#ifndef VRX_APP_DERIVED_KEY_HPP
#define VRX_APP_DERIVED_KEY_HPP

#include <vrx.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "options.hpp"

namespace vrx::app {

using Ukm = std::array<std::uint8_t, VRX_UKM_SIZE>;

/** The derived key, with a buffer for its hexadecimal digits. */
struct DerivedKey {
    std::array<std::uint8_t, VRX_KEK_SIZE> octets;
    std::array<char, 2 * VRX_KEK_SIZE + 1> line;
};

/** The option --ukm, and parsing of its value. */
Option ukm_option(std::optional<std::string>& ukm);
Ukm ukm_of(const Command& self, const std::optional<std::string>& text);

/** The option --out, and output: bytes to a new private file, or hexadecimal digits to standard output. */
Option derived_key_option(std::string& out);
void write_derived_key(const std::string& out, DerivedKey& key);

}  // namespace vrx::app

#endif

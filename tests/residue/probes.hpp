// Probes of all calls that take or produce secrets, in all modes, directions and sizes.
#ifndef VRX_TESTS_RESIDUE_PROBES_HPP
#define VRX_TESTS_RESIDUE_PROBES_HPP

#include <string_view>
#include <vector>

#include "probe.hpp"

namespace vrx::test {

/** Of the cipher, the hash, SHA-1, the curves and the numbers; and "control", each of which leaves something. */
std::vector<Probe> probes_of(std::string_view family);

}  // namespace vrx::test

#endif

// Probes of all calls that take or produce secrets, in all modes, directions and sizes.
#ifndef VRX_TESTS_RESIDUE_PROBES_HPP
#define VRX_TESTS_RESIDUE_PROBES_HPP

#include <string_view>
#include <vector>

#include "probe.hpp"

namespace vrx::test {

/**
 * The families of probes: cipher, hash, SHA-1, curves and numbers. Each probe of the family "control" leaves residue on
 * purpose.
 */
std::vector<Probe> probes_of(std::string_view family);

}  // namespace vrx::test

#endif

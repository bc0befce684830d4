// Options and digests that the commands for hashing with GOST R 34.11-94 have in common.
#ifndef VRX_APP_DIGEST_HPP
#define VRX_APP_DIGEST_HPP

#include <vrx.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "checklist.hpp"

namespace vrx::app {

/** The option --set, and the options for lists of digests. */
std::vector<Option> digest_options(std::string& set, ListOptions& lists, const char* check_help);

/** The default parameter set of the hash. */
inline constexpr const char* default_hash_set = "cryptopro";

/** Compute the GOST R 34.11-94 digest of an input; `piece` is the read buffer. */
Octets gost_digest(const vrx_gostr3411_par& set, Input& input, Piece& piece);

/** A digest as the number to be signed; the first octet is the least significant. */
using SignedDigest = std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS>;
SignedDigest signed_digest(const std::string& set, Input& input);

/**
 * The kinds of check value that a list may contain: one for each parameter set. The chosen set comes first.
 *
 * @param set         the value of --set.
 * @param tag_prefix  precedes the name of the parameter set in the tags of lines.
 * @param of          computes the 32-byte value of an input with a parameter set.
 */
std::vector<CheckValue> kinds_by_set(const std::string& set, const char* name, const std::string& tag_prefix,
                                     const std::function<Octets(const vrx_gostr3411_par&, Input&)>& of);

}  // namespace vrx::app

#endif

// What the commands that hash with GOST R 34.11-94 share: the choice of the parameter set, and its name in lists.
#ifndef VRX_APP_DIGEST_HPP
#define VRX_APP_DIGEST_HPP

#include <vrx.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "checklist.hpp"

namespace vrx::app {

/** --set, and the options of lists of digests. */
std::vector<Option> digest_options(std::string& set, ListOptions& lists, const char* check_help);

/** The parameter set of the hash where nothing names another. */
inline constexpr const char* default_hash_set = "cryptopro";

/** The GOST R 34.11-94 digest of an input, read through `piece`. */
Octets gost_digest(const vrx_gostr3411_par& set, Input& input, Piece& piece);

/** The digest of an input as the number that is signed: its first octet is the least significant. */
using SignedDigest = std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS>;
SignedDigest signed_digest(const std::string& set, Input& input);

/**
 * The values that a list may hold, one kind for each parameter set, the chosen one first.
 *
 * @param set         the value of --set.
 * @param tag_prefix  what the tags of lines begin with.
 * @param of          the value of an input under a parameter set, 32 bytes.
 */
std::vector<CheckValue> kinds_by_set(const std::string& set, const char* name, const std::string& tag_prefix,
                                     const std::function<Octets(const vrx_gostr3411_par&, Input&)>& of);

}  // namespace vrx::app

#endif

// Declassified facts about secrets.
#ifndef VRX_APP_DECLASSIFY_HPP
#define VRX_APP_DECLASSIFY_HPP

namespace vrx::app {

/**
 * Make a fact about a secret public, so that the program may branch on it: whether a character is a newline, whether a
 * file is well formed. Every branch on secret text goes through this function. The constant-time test replaces it, so
 * it finds all other branches.
 */
[[nodiscard]] bool declassify(bool fact);

}  // namespace vrx::app

#endif

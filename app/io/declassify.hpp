// Declassified facts about secrets.
#ifndef VRX_APP_DECLASSIFY_HPP
#define VRX_APP_DECLASSIFY_HPP

namespace vrx::app {

/**
 * Make a fact about a secret public, so that the program may branch on it, for example whether a character is a newline
 * or whether a file is well formed. Every intended branch on secret text uses this function. The constant-time test
 * replaces the function, and so finds all other branches.
 */
[[nodiscard]] bool declassify(bool fact);

}  // namespace vrx::app

#endif

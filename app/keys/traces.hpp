// Clears the copies of secrets that remain on the stack and in registers, outside the pages for secrets.
#ifndef VRX_APP_TRACES_HPP
#define VRX_APP_TRACES_HPP

namespace vrx::app {

/**
 * Clear the stack below the caller, and the vector registers. Copies of a key pass through these registers. The dynamic
 * linker saves them on the stack when it resolves a function on its first call.
 */
void clear_traces();

}  // namespace vrx::app

#endif

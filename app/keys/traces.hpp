// What secrets leave behind outside of their pages.
#ifndef VRX_APP_TRACES_HPP
#define VRX_APP_TRACES_HPP

namespace vrx::app {

/**
 * Clear the stack below the caller, and the vector registers. Copies of a key pass through these, and the dynamic
 * linker puts them on the stack whenever it looks up a function that is called for the first time.
 */
void clear_traces();

}  // namespace vrx::app

#endif

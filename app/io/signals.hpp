// Lists the signals that need cleanup before the program ends.
#ifndef VRX_APP_SIGNALS_HPP
#define VRX_APP_SIGNALS_HPP

#include <array>
#include <csignal>

namespace vrx::app {

/** All fatal signals that can be caught, except those that the kernel sends after a fault in the program. */
inline constexpr std::array deadly_signals{SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE, SIGTERM, SIGALRM, SIGUSR1,
                                           SIGUSR2, SIGVTALRM, SIGPROF, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};

}  // namespace vrx::app

#endif

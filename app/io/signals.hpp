// The signals after which something has to be put in order.
#ifndef VRX_APP_SIGNALS_HPP
#define VRX_APP_SIGNALS_HPP

#include <array>
#include <csignal>

namespace vrx::app {

/** All signals that end a program and that it can catch, but those of a fault in the program itself. */
inline constexpr std::array deadly_signals{SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE, SIGTERM, SIGALRM, SIGUSR1,
                                           SIGUSR2, SIGVTALRM, SIGPROF, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};

}  // namespace vrx::app

#endif

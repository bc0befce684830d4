// Lists the signals that need cleanup before the program ends.
#ifndef VRX_APP_SIGNALS_HPP
#define VRX_APP_SIGNALS_HPP

#include <csignal>

namespace vrx::app {

/** Call a function for every fatal signal that can be caught. Signals of faults in the program are left out. */
template <typename Function>
void for_each_deadly_signal(const Function& function) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF,
                             SIGXCPU, SIGIO, SIGPWR, SIGSTKFLT})
        function(signal);
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) function(signal);
}

}  // namespace vrx::app

#endif

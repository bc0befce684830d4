// Confines the process: before a command reads a file, it gives up all access that it does not need.
#ifndef VRX_APP_CONFINEMENT_HPP
#define VRX_APP_CONFINEMENT_HPP

#include <string>
#include <vector>

namespace vrx::app {

/** The files that a command needs. "-" is a standard stream and needs no access. */
struct Access {
    std::vector<std::string> inputs;   // files to read
    std::vector<std::string> outputs;  // files to write; in their folders, the command may then replace any file
    bool every_input = false;          // true if the contents of the inputs name further files to read
};

/** The parts of the confinement that are active. */
struct Confinement {
    int landlock = 0;      // the version of Landlock in the kernel; 0 if it is not active
    bool seccomp = false;  // true if the filter of system calls is active
};

/** Make confine() effective. Only for processes that run one command and end. */
void enable_confinement();

/**
 * Limit the process to the access given: Landlock limits files, seccomp limits system calls. Afterwards the process can
 * neither use the network, nor start programs, nor make memory executable. These limits cannot be lifted again. If the
 * kernel does not support Landlock or seccomp, that part has no effect.
 */
Confinement confine(const Access& access);

}  // namespace vrx::app

#endif

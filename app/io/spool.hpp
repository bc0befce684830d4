// Keeps data that the program may not write to its final place yet.
#ifndef VRX_APP_SPOOL_HPP
#define VRX_APP_SPOOL_HPP

#include <cstdint>
#include <span>

#include "io/files.hpp"
#include "io/place.hpp"

namespace vrx::app {

/**
 * An unnamed temporary file, in /var/tmp or else in /tmp. Data that was written to standard output or to a device
 * cannot be taken back, so the program stores data here until it knows that the data is valid.
 */
class Spool {
public:
    /**
     * Create the file. Call this before the process is confined, because a confined process cannot access the folder.
     */
    void open();
    void write(std::span<const std::uint8_t> data);
    /** Copy everything that was written. */
    void copy_to(Output& output);

private:
    Descriptor file_;
    int error_ = 0;  // of open()
};

}  // namespace vrx::app

#endif

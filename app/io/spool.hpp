// Keeps data that may not be written to its place yet.
#ifndef VRX_APP_SPOOL_HPP
#define VRX_APP_SPOOL_HPP

#include <cstdint>
#include <span>

#include "io/files.hpp"
#include "io/place.hpp"

namespace vrx::app {

/**
 * An unnamed temporary file, in /var/tmp or else in /tmp. Standard output and devices cannot take data back, so data
 * that may turn out to be invalid waits here.
 */
class Spool {
public:
    /** Create the file. Call this before the process is confined, which denies access to the folder. */
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

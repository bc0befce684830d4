// The exported functions of the frame: log file and copyright notice.
#include <cstdio>
#include <cstring>

#include "ecc/bigdigits/notice.hpp"
#include "frame/platform.hpp"
#include "vrx/frame.h"

FILE* vrxflog = nullptr;

int vrx_set_log_file(const char* path) {
    // Deliberate: closes standard error like any other stream.
    if (vrxflog != nullptr) std::fclose(vrxflog);
    if (path == nullptr)
        vrxflog = nullptr;
    else if (std::strcmp(path, "stderr") == 0)
        vrxflog = stderr;
    else
        vrxflog = std::fopen(path, "a");
    return VRX_OK;
}

const char* vrx_copyright_notice(void) {
    static_cast<void>(vrx::bigdigits::notice());
    return "libvrx: GOST cryptography, copyright the libvrx developers, free to use under the MIT licence";
}

// Captures the diagnostics log of the library.
#ifndef VRX_TESTS_SUPPORT_LOG_CAPTURE_HPP
#define VRX_TESTS_SUPPORT_LOG_CAPTURE_HPP

#include <cstdio>
#include <string>

namespace vrx::test {

/** Captures the log during its lifetime, then restores the previous stream. */
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** Returns everything written since the last call. */
    std::string take();

private:
    std::FILE* before_;
    char* text_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* stream_;
    std::size_t taken_ = 0;
};

}  // namespace vrx::test

#endif

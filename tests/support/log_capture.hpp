// What the library writes to its diagnostics log.
#ifndef VRX_TESTS_SUPPORT_LOG_CAPTURE_HPP
#define VRX_TESTS_SUPPORT_LOG_CAPTURE_HPP

#include <cstdio>
#include <string>

namespace vrx::test {

/** Collects the log while it lives, and puts the stream that was set before back. */
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** Everything written since the last call. */
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

#include "support/log_capture.hpp"

#include <cstdlib>

#include "vrx/frame.h"

namespace vrx::test {

LogCapture::LogCapture() : before_(vrxflog), stream_(open_memstream(&text_, &size_)) { vrxflog = stream_; }

LogCapture::~LogCapture() {
    vrxflog = before_;
    std::fclose(stream_);
    std::free(text_);
}

std::string LogCapture::take() {
    std::fflush(stream_);
    std::string fresh(text_ + taken_, size_ - taken_);
    taken_ = size_;
    return fresh;
}

}  // namespace vrx::test

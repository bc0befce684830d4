// Shows a progress bar on the terminal.
#ifndef VRX_APP_PROGRESS_HPP
#define VRX_APP_PROGRESS_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "io/files.hpp"

namespace vrx::app {

/**
 * If standard error is a terminal, shows there how much of an input has been processed. The bar appears after one
 * second.
 */
class Progress {
public:
    explicit Progress(const Input& input);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /** Clears the line. */
    ~Progress();

    /** Record that `bytes` more bytes were processed. */
    void advance(std::size_t bytes);

private:
    using Clock = std::chrono::steady_clock;
    void draw(Clock::time_point now);

    bool terminal_;
    bool drawn_ = false;
    std::string name_;
    std::optional<std::uint64_t> total_;
    std::uint64_t done_ = 0;
    Clock::time_point begin_;
    Clock::time_point next_;
};

}  // namespace vrx::app

#endif

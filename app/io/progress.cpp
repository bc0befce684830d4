#include "io/progress.hpp"

#include <unistd.h>

#include <algorithm>

namespace vrx::app {
namespace {

constexpr std::chrono::milliseconds delay{1000};
constexpr std::chrono::milliseconds interval{200};
constexpr std::size_t bar_width = 30;
constexpr std::size_t narrowest_terminal = 80;

void show(const std::string& text) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

std::string mebibytes(double bytes) {
    return std::to_string(static_cast<std::uint64_t>(bytes / (1024 * 1024))) + " MiB";
}

}  // namespace

Progress::Progress(const Input& input)
    : terminal_(isatty(STDERR_FILENO) == 1),
      name_(input.shown()),
      total_(input.remaining()),
      begin_(Clock::now()),
      next_(begin_ + delay) {}

Progress::~Progress() {
    if (drawn_) show("\r\033[K");
}

void Progress::advance(std::size_t bytes) {
    done_ += bytes;
    if (!terminal_) return;
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + interval;
    draw(now);
}

void Progress::draw(Clock::time_point now) {
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    const auto done = static_cast<double>(done_);
    std::string line = "\r\033[K";
    if (total_ && *total_ > 0) {
        const double part = std::min(done / static_cast<double>(*total_), 1.0);
        const auto filled = static_cast<std::size_t>(part * bar_width);
        line += "[" + std::string(filled, '#') + std::string(bar_width - filled, '.') + "] " +
                std::to_string(static_cast<int>(100 * part)) + "%  ";
    }
    line += mebibytes(done) + ", " + mebibytes(done / seconds) + "/s";
    if (line.size() + name_.size() < narrowest_terminal)
        line += "  " + name_;  // because a line that wraps cannot be cleared
    show(line);
    drawn_ = true;
}

}  // namespace vrx::app

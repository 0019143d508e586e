#include "progress_line.h"

#include <cstdio>
#include <unistd.h>

namespace kovra::tool {

ProgressLine::ProgressLine(std::string label, std::string unit)
    : label_(std::move(label)), unit_(std::move(unit)), enabled_(isatty(STDERR_FILENO) == 1) {}

void ProgressLine::update(uint32_t done, uint32_t total) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now - started_ < std::chrono::seconds(1) || now - last_drawn_ < std::chrono::milliseconds(200)) return;
    last_drawn_ = now;
    shown_ = true;
    if (total != 0) {
        std::fprintf(stderr, "\r%s: %s %u of %u\033[K", label_.c_str(), unit_.c_str(), done, total);
    } else {
        std::fprintf(stderr, "\r%s: %s %u\033[K", label_.c_str(), unit_.c_str(), done);
    }
    std::fflush(stderr);
}

void ProgressLine::finish() {
    if (shown_) std::fputs("\r\033[K", stderr);
    shown_ = false;
}

}  // namespace kovra::tool

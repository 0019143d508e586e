// A progress line on stderr for long decodes: shown only when stderr is a terminal and the work
// has run for more than a second, redrawn at most five times a second, erased at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kovra::tool {

class ProgressLine {
public:
    // `unit`: what is counted ("frame", "row").
    explicit ProgressLine(std::string label, std::string unit = "frame");
    ~ProgressLine() { finish(); }
    // `done` units of `total` (0 when the total is not known).
    void update(uint32_t done, uint32_t total);
    void finish();

private:
    using Clock = std::chrono::steady_clock;
    std::string label_;
    std::string unit_;
    bool enabled_;
    bool shown_ = false;
    Clock::time_point started_ = Clock::now();
    Clock::time_point last_drawn_{};
};

}  // namespace kovra::tool

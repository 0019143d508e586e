// Ctrl-C as a request, not an ending: while an InterruptFlag lives, SIGINT only raises a flag
// that long work polls (a decode's cancel callback), so the work stops cleanly and the caller
// tidies up. The previous handler comes back when the object goes.
#pragma once

#include <csignal>

namespace kovra::tool {

class InterruptFlag {
public:
    InterruptFlag();
    ~InterruptFlag();
    InterruptFlag(const InterruptFlag &) = delete;
    InterruptFlag &operator=(const InterruptFlag &) = delete;

    static bool raised();

    // The exit status of a process ended by SIGINT, by shell convention.
    static constexpr int kExitStatus = 130;

private:
    struct sigaction previous_ {};
};

}  // namespace kovra::tool

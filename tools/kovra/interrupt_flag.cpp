#include "interrupt_flag.h"

namespace kovra::tool {
namespace {

volatile std::sig_atomic_t g_raised = 0;

extern "C" void raise_flag(int) { g_raised = 1; }

}  // namespace

InterruptFlag::InterruptFlag() {
    g_raised = 0;
    struct sigaction action {};
    action.sa_handler = raise_flag;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previous_);
}

InterruptFlag::~InterruptFlag() { sigaction(SIGINT, &previous_, nullptr); }

bool InterruptFlag::raised() { return g_raised != 0; }

}  // namespace kovra::tool

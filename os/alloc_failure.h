// Allocation-failure injection for tests and fuzzers (not exported from the shared object).
#pragma once

namespace kovra::os {
// Let `successes` more allocations succeed, then fail every one until stopped.
void fail_allocations_after(long successes);
void stop_failing_allocations();
}  // namespace kovra::os

// Internal to the library (hidden, not exported): the progress check's call counter is one
// process-wide word, so a test that needs a known rhythm starts it again from 0 first.
#pragma once

namespace kovra::api {
void reset_progress_counter();
}  // namespace kovra::api

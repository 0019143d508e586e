// The progress check that decoders call through a record's check_fn. One library-wide call
// counter paces the caller's callback: it first runs on the 4th check that reaches the counter
// and then on every 3rd (4th, 7th, 10th, ...). A cancel leaves the counter where it was, so the
// callback is asked again on the very next check. The counter is shared, unlocked, by design.

#include "api/progress_check.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"

namespace {
uint32_t g_check_calls = 0;

constexpr uint32_t kReportEvery = 3;

uint32_t percent_done(const KOVRADALT_DecInfo *dec, uint32_t units_done) {
    // The caller keeps progress_total non-zero while a callback is installed; guard it anyway.
    if (dec->progress_total == 0) return 0;
    return units_done * 100u / dec->progress_total;
}
}  // namespace

void kovra::api::reset_progress_counter() { g_check_calls = 0; }

extern "C" KOVRA_API uint32_t KOVRADALT_CheckFn(void *record, uint32_t units_done) {
    int32_t status = 0;
    KOVRADALT_CheckExStatus(&status);
    if (status < 0) return 0;
    if (status > 0) KOVRADALT_OsSleep(static_cast<uint32_t>(status));

    auto *dec = static_cast<KOVRADALT_DecInfo *>(record);
    if (dec == nullptr || dec->progress == nullptr) return 1;
    if (g_check_calls == kReportEvery) {
        KOVRADALT_Progress *progress = dec->progress;
        if (progress->callback != nullptr && progress->callback(progress->context, percent_done(dec, units_done)) == 0) {
            return 0;
        }
        g_check_calls = 0;
    }
    ++g_check_calls;
    return 1;
}

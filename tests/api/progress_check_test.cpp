// The progress check's rhythm. The call counter is library-wide, so every test starts it from 0
// through the library's internal reset and holds in any order or alone.

#include <gtest/gtest.h>

#include <vector>

#include "api/progress_check.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "support/sources.h"

namespace {
using kovra::test::SourceKind;
using kovra::test::SourceRecord;

struct Recorder {
    std::vector<int> calls;     // which check (1-based) ran the callback
    std::vector<uint32_t> percents;
    int check = 0;
    int cancel_on_call = -1;    // index into `calls` that answers 0
};

int32_t record_callback(void *context, uint32_t percent) {
    auto *recorder = static_cast<Recorder *>(context);
    recorder->calls.push_back(recorder->check);
    recorder->percents.push_back(percent);
    return static_cast<int>(recorder->calls.size()) - 1 == recorder->cancel_on_call ? 0 : 1;
}

class ProgressCheck : public ::testing::Test {
protected:
    SourceRecord src{SourceKind::kMemory, std::vector<uint8_t>(8, 0)};
    Recorder recorder;
    void SetUp() override {
        auto *progress = static_cast<KOVRADALT_Progress *>(KOVRADALT_OsMalloc(sizeof(KOVRADALT_Progress)));
        progress->context = &recorder;
        progress->callback = record_callback;
        src->progress = progress;  // owned by the record from here on
        src->progress_total = 200;
        kovra::api::reset_progress_counter();
    }
    uint32_t check(uint32_t done) {
        ++recorder.check;
        return src->check_fn(src.record(), done);
    }
};

TEST_F(ProgressCheck, CallbackRunsOnTheFourthThenEveryThirdCheck) {
    for (int i = 0; i < 13; ++i) EXPECT_EQ(check(50), 1u);
    EXPECT_EQ(recorder.calls, (std::vector<int>{4, 7, 10, 13}));
    EXPECT_EQ(recorder.percents.front(), 25u);  // 50 * 100 / 200
}

TEST_F(ProgressCheck, CancelIsAskedAgainOnTheNextCheck) {
    recorder.cancel_on_call = 0;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(check(10), 1u);
    EXPECT_EQ(check(10), 0u);  // cancelled; the counter stays at 3
    EXPECT_EQ(check(10), 1u);  // so the callback runs again at once
    for (int i = 0; i < 3; ++i) EXPECT_EQ(check(10), 1u);
    EXPECT_EQ(recorder.calls, (std::vector<int>{4, 5, 8}));
}

TEST_F(ProgressCheck, NullCallbackStillKeepsTheRhythm) {
    src->progress->callback = nullptr;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(check(10), 1u);  // the 4th restarts the period
    src->progress->callback = record_callback;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(check(10), 1u);
    EXPECT_EQ(recorder.calls, (std::vector<int>{7}));
}

TEST_F(ProgressCheck, RecordsWithoutProgressGoOnAndLeaveTheCounterAlone) {
    SourceRecord bare(SourceKind::kMemory, std::vector<uint8_t>(8, 0));
    for (int i = 0; i < 10; ++i) EXPECT_EQ(KOVRADALT_CheckFn(bare.record(), 1), 1u);
    EXPECT_EQ(KOVRADALT_CheckFn(nullptr, 1), 1u);
    for (int i = 0; i < 4; ++i) check(10);
    EXPECT_EQ(recorder.calls, (std::vector<int>{4}));
}

}  // namespace

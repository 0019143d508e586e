// The scan waiting points: when scan_jpeg waits, what ends the wait, and the refusals.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "kovra_jpeg.h"

namespace {

struct ScanScene {
    DALTJ_DecoderInfo ctx{};
    KOVRADALT_IO io{};
    DALTJ_ByteWindow window{};
    DALTJ_ScanArgs args{&ctx, 1};

    ScanScene() {
        ctx.io = &io;
        ctx.byteWindow = &window;
        ctx.outputHeight = 10;
        ctx.scanOffsets[1] = 1;
        ctx.scanTargetPosition = 500;
        ctx.scanState = 7;
        io.position = 600;
        window.avail = 4;
    }
};

TEST(ScanWait, NothingToWaitForLeavesTheStateAlone) {
    ScanScene disabled, noOffsets, noWindow;
    disabled.args.enable = 0;
    noOffsets.ctx.scanOffsets[1] = 0;
    noWindow.ctx.byteWindow = nullptr;
    for (ScanScene *s : {&disabled, &noOffsets, &noWindow}) {
        EXPECT_EQ(scan_jpeg(&s->args), 0u);
        EXPECT_EQ(s->ctx.scanState, 7);
    }
    EXPECT_EQ(scan_jpeg(nullptr), 0u);
    DALTJ_ScanArgs noContext{nullptr, 1};
    EXPECT_EQ(scan_jpeg(&noContext), 0u);
}

// A position short of the target would wait for ever: these return only because they do not wait.
TEST(ScanWait, FinishesWithoutWaitingPastTheTargetOrWhenTheDecodeIsOver) {
    ScanScene past, done, abandoned;
    done.io.position = abandoned.io.position = 10;
    done.ctx.outputRow = 10;
    abandoned.ctx.scanState = 4;
    for (ScanScene *s : {&past, &done, &abandoned}) {
        EXPECT_EQ(scan_jpeg(&s->args), 0u);
        EXPECT_EQ(s->ctx.scanState, 3);
    }
}

TEST(ScanWait, AtTheTargetWaitsForTheWindowToEmpty) {
    ScanScene s;
    s.io.position = 500;
    std::atomic<bool> emptied{false};
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        emptied = true;
        std::atomic_ref<int32_t>(s.window.avail).store(0);
    });
    EXPECT_EQ(scan_jpeg(&s.args), 0u);
    EXPECT_TRUE(emptied);
    EXPECT_EQ(s.ctx.scanState, 3);
    reader.join();
}

TEST(ScanWait, MidPointReturnsOnceTheDecodeIsOver) {
    ScanScene s;
    s.ctx.outputRow = 10;
    DALTJ_DecoderInfo *ctx = &s.ctx;
    EXPECT_EQ(scan_jpeg_mid_point(&ctx), 0u);
    EXPECT_EQ(s.ctx.scanState, 0);
    EXPECT_EQ(scan_jpeg_mid_point(nullptr), 0u);
}

}  // namespace

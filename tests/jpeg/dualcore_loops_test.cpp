// The one-thread loops of the two-thread decode, driving row-group processors this test supplies
// in place of the library's (so it links the shared object). Each double records which processor
// ran and follows a script of (status, rows) answers.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kovra_jpeg.h"

namespace {

struct Script {
    std::vector<std::pair<int32_t, uint32_t>> answers;  // status, rows produced
    size_t next = 0;
    std::string calls;
};
Script script;

int32_t answer(char name, uint32_t *rowsOut, uint32_t rowsAvail) {
    script.calls += name;
    EXPECT_EQ(*rowsOut, 0u);
    EXPECT_EQ(rowsAvail, 1u);
    if (script.next == script.answers.size()) {
        ADD_FAILURE() << "processor called past the script";
        return DALTJ_STATUS_FAILED;
    }
    auto [status, rows] = script.answers[script.next++];
    *rowsOut += rows;
    return status;
}

}  // namespace

extern "C" {
int32_t DALTJ_ProcessData(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return answer('D', rowsOut, rowsAvail);
}
int32_t DALTJ_ProcessData_resize(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return answer('R', rowsOut, rowsAvail);
}
int32_t DALTJ_ProcessDataPartial(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return answer('P', rowsOut, rowsAvail);
}
}

namespace {

class DualcoreLoops : public testing::Test {
protected:
    DALTJ_BitReader bits{0, 1};
    DALTJ_DecoderInfo ctx{};

    void SetUp() override {
        ctx.numComponents = 3;
        ctx.outputHeight = 100;
        ctx.bitReader = &bits;
        script = Script{};
    }
    void answers(std::vector<std::pair<int32_t, uint32_t>> list) {
        script.answers = std::move(list);
        script.next = 0;
    }
};

TEST_F(DualcoreLoops, FullSizeLoopsStopAtTheStopRowOrTheBottom) {
    answers({{100, 8}, {100, 8}, {100, 8}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, &ctx, 20), 100);
    EXPECT_EQ(ctx.outputRow, 24);
    EXPECT_EQ(script.calls, "DDD");

    ctx.outputRow = 90;
    answers({{100, 8}, {100, 8}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 1000, 1), 100);
    EXPECT_EQ(ctx.outputRow, 106);
    EXPECT_EQ(script.calls, "DDDRR");
}

TEST_F(DualcoreLoops, ReducedLoopsIgnoreTheOutputHeight) {
    ctx.outputRow = 95;
    answers({{100, 4}, {100, 4}, {100, 4}, {100, 4}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 110), 100);
    EXPECT_EQ(ctx.outputRow, 111);
    EXPECT_EQ(script.calls, "RRRR");
    answers({{100, 1}, {100, 1}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 113, 0), 100);
    EXPECT_EQ(script.calls, "RRRRPP");
}

TEST_F(DualcoreLoops, EndIsTheLastResultAndFailureReturnsAtOnce) {
    answers({{100, 8}, {101, 3}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0), 101);
    EXPECT_EQ(ctx.outputRow, 11);
    answers({{100, 8}, {201, 5}});
    ctx.outputRow = 0;
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 1), 201);
    EXPECT_EQ(ctx.outputRow, 8);
    answers({{100, 8}, {201, 5}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, &ctx, 50), 201);
    EXPECT_EQ(script.calls, "DDRRDD");
}

TEST_F(DualcoreLoops, OutputRowWrapsAt16Bits) {
    ctx.outputRow = 65530;
    answers({{100, 8}, {100, 8}});
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 10), 100);
    EXPECT_EQ(ctx.outputRow, 10);
    EXPECT_EQ(script.calls, "RR");
}

TEST_F(DualcoreLoops, GuardsRefuseBeforeAnyCall) {
    bits.scanReady = 0;
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 50), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 0), 201);
    bits.scanReady = 1;
    ctx.numComponents = 4;
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 50), 201);
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 1), 201);
    ctx.bitReader = nullptr;
    ctx.numComponents = 1;
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, nullptr, 50), 201);
    EXPECT_EQ(script.calls, "");
}

}  // namespace

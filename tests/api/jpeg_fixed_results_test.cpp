// The JPEG entry points with fixed results and the exported tables. Only the behaviour that
// callers act on is pinned here: the statuses of each group, the two that change the context,
// and the tables' contents.

#include <gtest/gtest.h>

#include "kovra_jpeg.h"

namespace {

TEST(JpegTables, NaturalOrderIsTheZigZagInverseWithSafePadding) {
    bool seen[64] = {};
    for (int i = 0; i < 64; ++i) {
        ASSERT_LT(DALTJ_NATURAL_ORDER[i], 64);
        seen[DALTJ_NATURAL_ORDER[i]] = true;
    }
    for (bool s : seen) EXPECT_TRUE(s);
    // Walking the zig-zag, successive natural positions are neighbours on a diagonal or an edge.
    EXPECT_EQ(DALTJ_NATURAL_ORDER[2], 8);
    EXPECT_EQ(DALTJ_NATURAL_ORDER[63], 63);
    EXPECT_EQ(DALTJ_NATURAL_ORDER[61], 55);
    EXPECT_EQ(DALTJ_NATURAL_ORDER[62], 62);
    for (int i = 64; i < 80; ++i) EXPECT_EQ(DALTJ_NATURAL_ORDER[i], 63);
}

TEST(JpegTables, HuffExtendThresholds) {
    EXPECT_EQ(DALTJ_HUFF_EXTEND_TEST[0], 0);
    EXPECT_EQ(DALTJ_HUFF_EXTEND_TEST[1], 1);
    EXPECT_EQ(DALTJ_HUFF_EXTEND_TEST[5], 16);
    EXPECT_EQ(DALTJ_HUFF_EXTEND_TEST[15], 0x4000);
}

TEST(JpegTables, RegionResizeDispatch) {
    EXPECT_EQ(pRegionDecodingResize[0], &DALTJ_RegionDecodeSingleiMcuResize2to1);
    EXPECT_EQ(pRegionDecodingResize[1], &DALTJ_RegionDecodeSingleiMcuResize2to1);
    EXPECT_EQ(pRegionDecodingResize[2], &DALTJ_RegionDecodeSingleiMcuResize4to1);
    EXPECT_EQ(pRegionDecodingResize[3], &DALTJ_RegionDecodeSingleiMcuResize8to1);
    for (int i = 4; i < 7; ++i) EXPECT_EQ(pRegionDecodingResize[i], &DALTJ_RegionDecodeSingleiMcuResizeMore16);
}

TEST(JpegFixedResults, StatusesByGroup) {
    DALTJ_DecoderInfo ctx{};
    KOVRADALT_DecInfo dec{};
    EXPECT_EQ(KOVRADALT_DecodeJPEG(&dec), 0);
    EXPECT_EQ(KOVRADALT_CreateRegionDecoderInstance(&dec), nullptr);
    EXPECT_EQ(DALTJ_CreatExifInfo(nullptr), nullptr);
    EXPECT_EQ(DALTJ_ProcessData(&ctx, nullptr, nullptr, 0), 0);
    EXPECT_EQ(DALTJ_GetHInfo(nullptr, nullptr), 1);
    EXPECT_EQ(DALTJ_DecodeMcu_8to1(&ctx, nullptr), 1);
    EXPECT_EQ(KOVRADALT_ZoomCheckFn(&dec, 5), 1u);
    EXPECT_EQ(DALTJ_DecompressOnepass(&ctx), 100u);
    EXPECT_EQ(DALTJ_DecodeSingleiMcu(&ctx, nullptr), 101u);
    EXPECT_EQ(DALTJ_ParseHeader(&ctx), 200u);
    EXPECT_EQ(DALTJ_LookUpOtherThread(&ctx), 201u);
    EXPECT_EQ(DALTJ_GetVersion(), 0x9099);
    EXPECT_EQ(DALTJ_PostInitialize(&ctx, 1, 42), 42);
    EXPECT_EQ(DALTJ_RegionPostInitialize(&ctx, 1, -7), -7);
    EXPECT_EQ(DALTJ_GetDctMethod8to3(&ctx), nullptr);
}

TEST(JpegFixedResults, DctMethodIndexClampsOnlyAbove) {
    EXPECT_EQ(DALTJ_GetDctMethodIndex(6), 6);
    EXPECT_EQ(DALTJ_GetDctMethodIndex(7), 6);
    EXPECT_EQ(DALTJ_GetDctMethodIndex(1000), 6);
    EXPECT_EQ(DALTJ_GetDctMethodIndex(-5), -5);
}

TEST(JpegFixedResults, OnlyTheCountingEntryPointsTouchTheContext) {
    DALTJ_DecoderInfo ctx{};
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize2to1(&ctx), 100u);
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize2to1(&ctx), 100u);
    EXPECT_EQ(ctx.resizeMcuRow, 2u);
    DALTJ_FastYcbcrWriteOutput(&ctx);
    DALTJ_FastYcbcrUpscaleWriteOutput(&ctx);
    DALTJ_RGBWriteOutput1to1(&ctx);
    DALTJ_RGBWriteOutput(&ctx);
    DALTJ_CMYKWriteOutput1to1(&ctx);
    DALTJ_YCCKWriteOutput1to1(&ctx);
    EXPECT_EQ(ctx.outputRowsWritten, 6u);
    DALTJ_SetupUpsample(&ctx, nullptr, nullptr, 0);
    DALTJ_DoH2V2Upsample(&ctx);
    EXPECT_EQ(ctx.outputRowsWritten, 6u);
    EXPECT_EQ(ctx.resizeMcuRow, 2u);
}

}  // namespace

// Scan snapshots over real sources: what a load brings back after the decode has moved on, what a
// failed seek leaves alone, and the contexts a snapshot refuses.

#include <gtest/gtest.h>

#include <cstring>

#include "kovra_jpeg.h"
#include "support/sources.h"

namespace {

using kovra::test::SourceKind;
using kovra::test::SourceRecord;

std::vector<uint8_t> numbered_bytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return bytes;
}

// A context part-way through a scan of two components, its window over `io`.
struct ScanContext {
    DALTJ_DecoderInfo ctx{};
    DALTJ_HuffState huff{0xA5A5F00Du, 13, 77, {1, -2, 3, -4}, 9};
    DALTJ_ByteWindow window{};
    std::vector<uint8_t> readBuffer = std::vector<uint8_t>(KOVRADALT_WINDOW_CAPACITY);
    DALTJ_ComponentInfo frame[2]{};
    int32_t frameMultipliers[2][64]{};

    explicit ScanContext(KOVRADALT_IO *io) {
        ctx.numComponents = ctx.compsInScan = 2;
        ctx.blocksInMcu = 6;
        ctx.mcusPerRow = 40;
        ctx.mcuRowsInScan = 30;
        ctx.scanWord = 0xDEADBEEF;
        ctx.entropyCounter = 5;
        for (uint32_t i = 0; i < 4; ++i) ctx.scanParams[i] = 100 + i;
        for (int32_t i = 0; i < 10; ++i) ctx.mcuMembership[i] = i < 4 ? 0 : 1;
        for (uint8_t c = 0; c < 2; ++c) {
            frame[c].componentIndex = frame[c].dcTableNo = c;
            frame[c].mcuWidth = 2 - c;
            frame[c].multipliers = frameMultipliers[c];
            ctx.scanComponents[c] = &frame[c];
        }
        ctx.components = frame;
        ctx.huffState = &huff;
        ctx.io = window.io = io;
        ctx.readBuffer = window.data = readBuffer.data();
        ctx.byteWindow = &window;
    }

    // The window as a decoder leaves it: `unread` bytes left of a fill that ended at `end`.
    void read_until(int32_t end, int32_t unread) {
        ASSERT_EQ(KOVRADALT_Seek_IO(ctx.io, end, 0), end);
        window.avail = unread;
    }
};

class ScanSnapshot : public testing::TestWithParam<SourceKind> {};

TEST_P(ScanSnapshot, LoadBringsBackTheScanTheWindowAndThePositionAndAFailedSeekNothing) {
    const std::vector<uint8_t> bytes = numbered_bytes(40000);
    SourceRecord source(GetParam(), bytes);
    ScanContext scan(source->io);
    scan.read_until(20000, 300);
    DALTJ_ScanInfo *info = nullptr;
    ASSERT_NE(DALTJ_SetupScanInfo(&scan.ctx, &info), nullptr);
    EXPECT_EQ(info->entropyCounter, 0u);
    EXPECT_EQ(info->inputOffset, 19700u);
    // Saved again where the window holds everything from the image's first byte.
    scan.read_until(KOVRADALT_WINDOW_CAPACITY, KOVRADALT_WINDOW_CAPACITY);
    scan.ctx.entropyCounter = 8;
    scan.huff.bitsLeft = 3;
    EXPECT_EQ(DALTJ_SaveScanInfo(&scan.ctx, info), 0);
    const DALTJ_DecoderInfo saved = scan.ctx;
    const DALTJ_HuffState savedHuff = scan.huff;
    // The decode moves on: another scan, other state, the source elsewhere.
    scan.read_until(33000, 10);
    scan.ctx.compsInScan = 1;
    scan.ctx.mcusPerRow = 3;
    scan.ctx.entropyCounter = scan.ctx.scanParams[2] = scan.ctx.mcuMembership[5] = 0;
    scan.huff = DALTJ_HuffState{};
    scan.ctx.perScanTables = 1;
    scan.frame[0].dcTableNo = 3;
    scan.frameMultipliers[0][63] = 1;
    int32_t rebuilt[64]{};
    scan.frame[0].multipliers = rebuilt;
    DALTJ_LoadScanInfo(&scan.ctx, info);
    EXPECT_EQ(scan.ctx.compsInScan, saved.compsInScan);
    EXPECT_EQ(scan.ctx.mcusPerRow, saved.mcusPerRow);
    EXPECT_EQ(scan.ctx.entropyCounter, 8u);
    EXPECT_EQ(std::memcmp(scan.ctx.scanParams, saved.scanParams, sizeof saved.scanParams), 0);
    EXPECT_EQ(std::memcmp(scan.ctx.mcuMembership, saved.mcuMembership, sizeof saved.mcuMembership), 0);
    EXPECT_EQ(std::memcmp(&scan.huff, &savedHuff, sizeof savedHuff), 0);
    // The window holds the bytes from the next unread one on, and the source is past them; the
    // scan components are the snapshot's copies, and with per-scan tables the first one's slots go
    // back into its frame component.
    EXPECT_EQ(scan.window.pos, 0);
    ASSERT_EQ(scan.window.avail, KOVRADALT_WINDOW_CAPACITY);
    EXPECT_EQ(std::memcmp(scan.window.data, bytes.data(), KOVRADALT_WINDOW_CAPACITY), 0);
    EXPECT_EQ(source->io->position, KOVRADALT_WINDOW_CAPACITY);
    EXPECT_EQ(scan.ctx.scanComponents[1], &info->components[1]);
    EXPECT_EQ(scan.ctx.scanComponents[0]->mcuWidth, 2u);
    EXPECT_EQ(scan.frame[0].dcTableNo, 0);
    EXPECT_EQ(rebuilt[63], 1);
    // A negative offset: every kind but a file (which answers where it is) refuses the seek.
    if (GetParam() != SourceKind::kFile) {
        scan.ctx.scanComponents[0] = &scan.frame[0], scan.ctx.scanComponents[1] = nullptr;
        info->inputOffset = 0x80000000u;
        scan.read_until(5000, 7);
        const DALTJ_ByteWindow before = scan.window;
        DALTJ_LoadScanInfo(&scan.ctx, info);
        EXPECT_EQ(std::memcmp(&scan.window, &before, sizeof before), 0);
        EXPECT_EQ(scan.ctx.scanComponents[0], &scan.frame[0]);
        EXPECT_EQ(scan.ctx.scanComponents[1], nullptr);
    }
    KOVRADALT_OsFree(info);
}

INSTANTIATE_TEST_SUITE_P(Sources, ScanSnapshot, testing::Values(SourceKind::kMemory, SourceKind::kFile, SourceKind::kStream),
                         [](const auto &info) { return kovra::test::source_kind_name(info.param); });

TEST(ScanSnapshotRefusals, MoreThanFourComponentsMissingStateOrMemoryTouchNothing) {
    SourceRecord source(SourceKind::kMemory, numbered_bytes(100));
    ScanContext scan(source->io);
    DALTJ_ScanInfo *info = reinterpret_cast<DALTJ_ScanInfo *>(1);
    scan.ctx.numComponents = 5;
    EXPECT_EQ(DALTJ_SetupScanInfo(&scan.ctx, &info), nullptr);
    EXPECT_EQ(info, nullptr);
    DALTJ_ScanInfo snapshot{};
    snapshot.mcusPerRow = 99;
    EXPECT_EQ(DALTJ_SaveScanInfo(&scan.ctx, &snapshot), -1);
    DALTJ_LoadScanInfo(&scan.ctx, &snapshot);
    EXPECT_EQ(scan.ctx.mcusPerRow, 40u);
    scan.ctx.numComponents = 4;
    ASSERT_NE(DALTJ_SetupScanInfo(&scan.ctx, &info), nullptr);  // four is the most a snapshot holds
    KOVRADALT_OsFree(info);
    scan.ctx.readBuffer = nullptr;
    DALTJ_LoadScanInfo(&scan.ctx, &snapshot);
    EXPECT_EQ(scan.ctx.mcusPerRow, 40u);
    scan.ctx.huffState = nullptr;
    EXPECT_EQ(DALTJ_SaveScanInfo(&scan.ctx, &snapshot), -1);
    EXPECT_EQ(DALTJ_SetupScanInfo(&scan.ctx, &info), nullptr);
    scan.ctx.huffState = &scan.huff;
    kovra::test::AllocationFailure failing(0);
    info = reinterpret_cast<DALTJ_ScanInfo *>(1);
    EXPECT_EQ(DALTJ_SetupScanInfo(&scan.ctx, &info), nullptr);
    EXPECT_EQ(info, nullptr);
}

TEST(RotateImage90, MovesNothingAndAnswersByCode) {
    for (uint32_t code : {0u, 1u, 2u, 8u, 9u, 10u, 0xFFFFFFFFu})
        EXPECT_EQ(DALTJ_RotateImage90(0, 0, 0, code), code == 0 || code == 1 || code == 9 ? 1u : 0u) << code;
}

}  // namespace

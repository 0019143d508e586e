// The decoder record: creation over every source kind, refusals with their error words, and
// destroy releasing everything the record owns (ASan's leak check watches every test here).

#include <gtest/gtest.h>

#include <vector>

#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "support/sources.h"
#include "support/temp_dir.h"

namespace {
using kovra::test::AllocationFailure;
using kovra::test::MemoryStream;
using kovra::test::SourceKind;
using kovra::test::SourceRecord;

void *owned_block(uint32_t size) { return KOVRADALT_OsMalloc(size); }

using EveryKind = kovra::test::SourceKindTest;

TEST_P(EveryKind, CreationFillsTheSettingsAndAZeroedRest) {
    SourceRecord src(GetParam(), std::vector<uint8_t>(64, 1), KOVRADALT_FORMAT_RGBA32);
    ASSERT_NE(src.record(), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, 0);
    EXPECT_EQ(src->output_format, KOVRADALT_FORMAT_RGBA32);
    EXPECT_EQ(src->check_fn, &KOVRADALT_CheckFn);
    EXPECT_NE(src->io, nullptr);
    EXPECT_EQ(src->image_type, 0);
    EXPECT_EQ(src->width, 0u);
    EXPECT_EQ(src->gif_info, nullptr);
    EXPECT_EQ(src->chain_parent, nullptr);
    EXPECT_EQ(src->io->size, 64);
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(EveryKind);

TEST(CreateDecInfo, RefusalsKeepTheSourceLayersErrorWord) {
    uint8_t byte = 0;
    EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, &byte, 0, 7, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_EMPTY_MEMORY);
    EXPECT_EQ(KOVRADALT_CreateDecInfo(3, &byte, 1, 7, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_SOURCE_KIND);
    kovra::test::TempDir dir;
    EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_PATH, const_cast<char *>(dir.path().c_str()), 0, 7, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_CANNOT_OPEN);
}

TEST(CreateDecInfo, EveryAllocationFailureIsCleanedUp) {
    uint8_t bytes[4] = {};
    MemoryStream stream;
    for (long successes = 0; successes < 2; ++successes) {
        AllocationFailure fail(successes);
        gKOVRADALT_Error = 0;
        EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0), nullptr) << successes;
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
        EXPECT_EQ(KOVRADALT_CreateDecInfoWithStream(&stream, 4, MemoryStream::read, MemoryStream::skip,
                                                    MemoryStream::rewind, 7, 0),
                  nullptr);
    }
}

TEST(DestroyDecInfo, NullRecordIsReported) {
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NULL_ARGUMENT);
}

TEST(DestroyDecInfo, ReleasesProgressAndEveryWorkBuffer) {
    uint8_t bytes[4] = {};
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0);
    ASSERT_NE(dec, nullptr);
    dec->progress = static_cast<KOVRADALT_Progress *>(owned_block(sizeof(KOVRADALT_Progress)));
    dec->aux_buffer_1 = owned_block(8);
    dec->aux_buffer_2 = owned_block(8);
    dec->aux_buffer_3 = owned_block(8);
    dec->aux_buffer_4 = owned_block(8);
    dec->aux_buffer_5 = owned_block(8);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);  // LeakSanitizer reports anything left behind
}

TEST(DestroyDecInfo, OwnedMemoryIsFreedExactlyOnceUnlessTakenOver) {
    auto *memory = static_cast<uint8_t *>(owned_block(16));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, memory, 16, 7, 0);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);  // frees `memory`; ASan would report a double free

    auto *kept = static_cast<uint8_t *>(owned_block(16));
    dec = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, kept, 16, 7, 0);
    dec->aux_buffer_3 = owned_block(4);  // a work buffer now owns the bytes' fate
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
    kept[0] = 1;  // still ours: destroy left it alone
    KOVRADALT_OsFree(kept);
}

TEST(DestroyDecInfo, DetachesFromItsParentsSlot) {
    uint8_t bytes[4] = {};
    KOVRADALT_DecInfo *parent = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0);
    KOVRADALT_DecInfo *child = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0);
    parent->chain_state[5] = child;
    parent->chain_state[6] = parent;
    child->chain_parent = parent;
    child->chain_slot = 5;
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(child), 1);
    EXPECT_EQ(parent->chain_state[5], nullptr);
    EXPECT_EQ(parent->chain_state[6], parent);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(parent), 1);
}

TEST(DestroyInputBuffer, OnlyACallerMemoryBufferIsHandedOver) {
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(nullptr), 0);
    SourceRecord path(SourceKind::kPath, std::vector<uint8_t>(8, 0));
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(path.record()), 0);

    auto *memory = static_cast<uint8_t *>(owned_block(8));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, memory, 8, 7, 0);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 1);
    EXPECT_EQ(dec->io->source, nullptr);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 0);  // already handed over
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
}

TEST(Setters, ModeIsClampedAndNullRecordsRefused) {
    SourceRecord src(SourceKind::kMemory, std::vector<uint8_t>(8, 0));
    EXPECT_EQ(KOVRADALT_SetDecMode(src.record(), 9), 1);
    EXPECT_EQ(src->mode, 4);
    EXPECT_EQ(KOVRADALT_SetDecMode(src.record(), -3), 1);
    EXPECT_EQ(src->mode, 0);
    EXPECT_EQ(KOVRADALT_SetDecMode(src.record(), 2), 1);
    EXPECT_EQ(src->mode, 2);
    EXPECT_EQ(KOVRADALT_SetDecMode(nullptr, 1), 0);
    EXPECT_EQ(KOVRADALT_SetDecOption(src.record(), 0xDEADBEEF), 1);
    EXPECT_EQ(src->option, 0xDEADBEEFu);
    EXPECT_EQ(KOVRADALT_SetDecOption(nullptr, 1), 0);
    EXPECT_EQ(KOVRADALT_DestroyJpegInfo(src.record()), 1);
}

}  // namespace

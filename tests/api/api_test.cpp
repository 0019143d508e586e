// The decoder record (creation over every source kind, destroy releasing what it owns, the
// setters), the progress check's rhythm, and the one fixed result that is a contract.

#include <gtest/gtest.h>

#include "api/progress_check.h"
#include "kovra_jpeg.h"
#include "kovra_parse.h"
#include "kovra_os.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

using Record = SourceKindTest;

TEST_P(Record, CreationFillsTheSettingsAndAZeroedRest) {
    SourceRecord src(GetParam(), std::vector<uint8_t>(64, 1), KOVRADALT_FORMAT_RGBA32);
    ASSERT_NE(src.record(), nullptr);
    EXPECT_EQ(src->output_format, KOVRADALT_FORMAT_RGBA32);
    EXPECT_EQ(src->check_fn, &KOVRADALT_CheckFn);
    EXPECT_EQ(src->image_type, 0);
    EXPECT_EQ(src->io->size, 64);
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(Record);

TEST(DecInfo, RefusalsAndAllocationFailures) {
    uint8_t bytes[4] = {};
    EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 0, 7, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_EMPTY_MEMORY);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NULL_ARGUMENT);
    MemoryStream stream;
    for (long successes = 0; successes < 2; ++successes) {
        AllocationFailure fail(successes);
        EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0), nullptr) << successes;
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
        EXPECT_EQ(KOVRADALT_CreateDecInfoWithStream(&stream, 4, MemoryStream::read, nullptr, nullptr, 7, 0), nullptr);
    }
}

// LeakSanitizer and ASan watch these: everything owned is freed once, nothing else.
TEST(DecInfo, DestroyReleasesWhatTheRecordOwnsAndDetachesFromItsParent) {
    uint8_t bytes[4] = {};
    KOVRADALT_DecInfo *parent = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0);
    KOVRADALT_DecInfo *child = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, KOVRADALT_OsMalloc(16), 16, 7, 0);
    child->progress = static_cast<KOVRADALT_Progress *>(KOVRADALT_OsMalloc(sizeof(KOVRADALT_Progress)));
    for (void **slot : {&child->aux_buffer_1, &child->aux_buffer_2, &child->aux_buffer_4, &child->aux_buffer_5}) {
        *slot = KOVRADALT_OsMalloc(8);
    }
    parent->chain_state[5] = child;
    parent->chain_state[6] = parent;
    child->chain_parent = parent;
    child->chain_slot = 5;
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(child), 1);
    EXPECT_EQ(parent->chain_state[5], nullptr);
    EXPECT_EQ(parent->chain_state[6], parent);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(parent), 1);

    auto *kept = static_cast<uint8_t *>(KOVRADALT_OsMalloc(16));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, kept, 16, 7, 0);
    dec->aux_buffer_3 = KOVRADALT_OsMalloc(4);  // a work buffer takes over the bytes' fate
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
    kept[0] = 1;
    KOVRADALT_OsFree(kept);
}

TEST(DecInfo, InputBufferHandOverAndSetters) {
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(nullptr), 0);
    SourceRecord path(SourceKind::kPath, std::vector<uint8_t>(8, 0));
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(path.record()), 0);
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, KOVRADALT_OsMalloc(8), 8, 7, 0);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 1);
    EXPECT_EQ(dec->io->source, nullptr);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 0);
    EXPECT_EQ(KOVRADALT_GetImageType(dec), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NULL_ARGUMENT);
    for (auto [mode, stored] : {std::pair{9, 4}, {-3, 0}, {2, 2}}) {
        EXPECT_EQ(KOVRADALT_SetDecMode(dec, mode), 1);
        EXPECT_EQ(dec->mode, stored);
    }
    EXPECT_EQ(KOVRADALT_SetDecMode(nullptr, 1), 0);
    EXPECT_EQ(KOVRADALT_SetDecOption(dec, 0xDEADBEEF), 1);
    EXPECT_EQ(dec->option, 0xDEADBEEFu);
    EXPECT_EQ(KOVRADALT_SetDecOption(nullptr, 1), 0);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
}

// The callback runs on the 4th check, then every 3rd; a cancel asks again on the next check; a
// missing callback keeps the rhythm; records without progress leave the counter alone.
TEST(ProgressCheck, Rhythm) {
    SourceRecord src(SourceKind::kMemory, std::vector<uint8_t>(8, 0));
    struct Calls {
        std::vector<int> at;
        int check = 0, cancel_at = 7;
        uint32_t percent = 0;
    } calls;
    auto *progress = static_cast<KOVRADALT_Progress *>(KOVRADALT_OsMalloc(sizeof(KOVRADALT_Progress)));
    progress->context = &calls;
    progress->callback = [](void *context, uint32_t percent) -> int32_t {
        auto *c = static_cast<Calls *>(context);
        c->at.push_back(c->check);
        c->percent = percent;
        return c->check == c->cancel_at ? 0 : 1;
    };
    const auto callback = progress->callback;
    src->progress = progress;
    src->progress_total = 200;
    api::reset_progress_counter();
    SourceRecord bare(SourceKind::kMemory, std::vector<uint8_t>(8, 0));
    std::vector<uint32_t> results;
    for (calls.check = 1; calls.check <= 20; ++calls.check) {
        EXPECT_EQ(KOVRADALT_CheckFn(bare.record(), 1), 1u);
        if (calls.check == 11) progress->callback = nullptr;
        if (calls.check == 15) progress->callback = callback;
        results.push_back(src->check_fn(src.record(), 50));
    }
    EXPECT_EQ(calls.at, (std::vector<int>{4, 7, 8, 17, 20}));
    EXPECT_EQ(calls.percent, 25u);
    EXPECT_EQ(results[4], 1u);
    EXPECT_EQ(results[6], 0u);
    EXPECT_EQ(KOVRADALT_CheckFn(nullptr, 1), 1u);
}

TEST(JpegContract, VersionWordAndZigZagTable) {
    EXPECT_EQ(DALTJ_GetVersion(), 0x9099);
    bool seen[64] = {};
    for (int i = 0; i < 64; ++i) seen[DALTJ_NATURAL_ORDER[i] & 63] = true;
    for (bool s : seen) EXPECT_TRUE(s);
    for (int i = 64; i < 80; ++i) EXPECT_EQ(DALTJ_NATURAL_ORDER[i], 63);
}

}  // namespace
}  // namespace kovra::test

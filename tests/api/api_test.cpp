// The decoder record (refusals, destroy releasing what it owns, the input hand-over, the setters),
// the progress check's rhythm, and the fixed results that are a contract.

#include <gtest/gtest.h>

#include "api/progress_check.h"
#include "kovra_jpeg.h"
#include "kovra_parse.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

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

// LeakSanitizer and ASan watch these: everything owned is freed once, nothing else; a child leaves
// its parent's slot empty.
TEST(DecInfo, DestroyReleasesWhatTheRecordOwnsAndDetachesFromItsParent) {
    SourceRecord parent(SourceKind::kMemory, {1, 2});
    KOVRADALT_DecInfo *child = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, KOVRADALT_OsMalloc(16), 16, 7, 0);
    for (void **slot : {&child->aux_buffer_1, &child->aux_buffer_2, &child->aux_buffer_4, &child->aux_buffer_5,
                        reinterpret_cast<void **>(&child->progress)})
        *slot = KOVRADALT_OsMalloc(sizeof(KOVRADALT_Progress));
    parent->chain_state[0] = child;
    parent->chain_state[6] = parent.record();
    child->chain_parent = parent.record();
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(child), 1);
    EXPECT_EQ(parent->chain_state[0], nullptr);
    EXPECT_EQ(parent->chain_state[6], parent.record());
    parent->chain_state[6] = nullptr;
    auto *kept = static_cast<uint8_t *>(KOVRADALT_OsMalloc(16));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, kept, 16, 7, 0);
    dec->aux_buffer_3 = KOVRADALT_OsMalloc(4);  // a work buffer takes over the bytes' fate
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
    KOVRADALT_OsFree(kept);
}

TEST(DecInfo, InputBufferHandOverAndSetters) {
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(nullptr), 0);
    SourceRecord path(SourceKind::kPath, {0}), owned(SourceKind::kOwnedMemory, {0});
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(path.record()) + KOVRADALT_DestroyInputBuffer(owned.record()), 0);
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, KOVRADALT_OsMalloc(8), 8, 7, 0);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 1);  // caller memory, freed all the same
    EXPECT_EQ(dec->io->source, nullptr);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(dec), 0);
    for (auto [mode, stored] : {std::pair{9, 4}, {-3, 0}, {2, 2}}) {
        EXPECT_EQ(KOVRADALT_SetDecMode(dec, mode), 1);
        EXPECT_EQ(dec->mode, stored);
    }
    EXPECT_EQ(KOVRADALT_SetDecOption(dec, 0xDEADBEEF), 1);
    EXPECT_EQ(dec->option, 0xDEADBEEFu);
    EXPECT_EQ(KOVRADALT_SetDecMode(nullptr, 1) + KOVRADALT_SetDecOption(nullptr, 1), 0);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
}

// The callback runs on the 4th check, then every 3rd; a cancel asks again on the next check; a
// missing callback keeps the rhythm; records without progress leave the counter alone.
TEST(ProgressCheck, Rhythm) {
    SourceRecord src(SourceKind::kMemory, {0}), bare(SourceKind::kMemory, {0});
    struct Calls {
        std::vector<int> at;
        int check = 0;
        uint32_t percent = 0;
    } calls;
    KOVRADALT_Progress progress{&calls, [](void *context, uint32_t percent) -> int32_t {
                                    auto *c = static_cast<Calls *>(context);
                                    c->at.push_back(c->check), c->percent = percent;
                                    return c->check != 7;
                                }};
    src->progress = &progress;
    src->progress_total = 200;
    api::reset_progress_counter();
    for (calls.check = 1; calls.check <= 20; ++calls.check) {
        EXPECT_EQ(KOVRADALT_CheckFn(bare.record(), 1), 1u);
        const auto callback = progress.callback;
        if (calls.check >= 11 && calls.check < 15) progress.callback = nullptr;
        EXPECT_EQ(src->check_fn(src.record(), 50), calls.check == 7 ? 0u : 1u) << calls.check;
        progress.callback = callback;
    }
    src->progress = nullptr;
    EXPECT_EQ(calls.at, (std::vector<int>{4, 7, 8, 17, 20}));
    EXPECT_EQ(calls.percent, 25u);
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

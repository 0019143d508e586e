// The decoder record (refusals, destroy releasing what it owns, the input hand-over, the setters),
// the progress check's rhythm, the fixed results that are a contract, and the integer-handle API
// over its 256-slot table (every handle test leaves the table empty).

#include <gtest/gtest.h>

#include "api/progress_check.h"
#include "kovra_handle.h"
#include "kovra_jpeg.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

// Refusals; LeakSanitizer and ASan watch the rest: destroy frees what a record owns, once, and a
// child leaves its parent's slot empty; a work buffer takes over owned bytes' fate; the input
// hand-over frees caller memory; the mode setter clamps.
TEST(DecInfo, LifeCycle) {
    uint8_t bytes[4] = {};
    EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 0, 7, 0), nullptr);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(nullptr) + KOVRADALT_DestroyInputBuffer(nullptr), 0);
    for (long successes = 0; successes < 2; ++successes) {
        AllocationFailure fail(successes);
        EXPECT_EQ(KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, bytes, 4, 7, 0), nullptr) << successes;
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
    }
    SourceRecord parent(SourceKind::kMemory, {1}), path(SourceKind::kPath, {0}), owned(SourceKind::kOwnedMemory, {0});
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(path.record()) + KOVRADALT_DestroyInputBuffer(owned.record()), 0);
    KOVRADALT_DecInfo *child = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, KOVRADALT_OsMalloc(16), 16, 7, 0);
    for (void **slot : {&child->aux_buffer_1, &child->aux_buffer_2, &child->aux_buffer_4, &child->aux_buffer_5,
                        reinterpret_cast<void **>(&child->progress)})
        *slot = KOVRADALT_OsMalloc(sizeof(KOVRADALT_Progress));
    parent->chain_state[0] = child, parent->chain_state[6] = parent.record(), child->chain_parent = parent.record();
    for (auto [mode, stored] : {std::pair{9, 4}, {-3, 0}, {2, 2}}) {
        EXPECT_EQ(KOVRADALT_SetDecMode(child, mode), 1);
        EXPECT_EQ(child->mode, stored);
    }
    EXPECT_EQ(KOVRADALT_SetDecOption(child, 0xDEADBEEF) + KOVRADALT_SetDecMode(nullptr, 1) + KOVRADALT_SetDecOption(nullptr, 1), 1);
    EXPECT_EQ(child->option, 0xDEADBEEFu);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(child), 1);
    EXPECT_EQ(KOVRADALT_DestroyInputBuffer(child), 0);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(child), 1);
    EXPECT_EQ(parent->chain_state[0], nullptr);
    EXPECT_EQ(parent->chain_state[6], parent.record());
    parent->chain_state[6] = nullptr;
    auto *kept = static_cast<uint8_t *>(KOVRADALT_OsMalloc(16));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, kept, 16, 7, 0);
    dec->aux_buffer_3 = KOVRADALT_OsMalloc(4);
    EXPECT_EQ(KOVRADALT_DestroyDecInfo(dec), 1);
    KOVRADALT_OsFree(kept);
}

// The callback runs on the 4th check, then every 3rd; a cancel asks again on the next check; a
// missing callback keeps the rhythm; records without progress leave the counter alone.
TEST(ProgressCheck, Rhythm) {
    SourceRecord src(SourceKind::kMemory, {0}), bare(SourceKind::kMemory, {0});
    std::vector<uint32_t> asked;  // the percent reported is the check's number
    KOVRADALT_Progress progress{&asked, [](void *context, uint32_t percent) -> int32_t {
                                    static_cast<std::vector<uint32_t> *>(context)->push_back(percent);
                                    return percent != 7;
                                }};
    src->progress = &progress, src->progress_total = 200;
    api::reset_progress_counter();
    for (uint32_t check = 1; check <= 20; ++check) {
        EXPECT_EQ(KOVRADALT_CheckFn(bare.record(), 1), 1u);
        const auto callback = progress.callback;
        if (check >= 11 && check < 15) progress.callback = nullptr;
        EXPECT_EQ(src->check_fn(src.record(), 2 * check), check == 7 ? 0u : 1u) << check;
        progress.callback = callback;
    }
    src->progress = nullptr;
    EXPECT_EQ(asked, (std::vector<uint32_t>{4, 7, 8, 17, 20}));
    EXPECT_EQ(KOVRADALT_CheckFn(nullptr, 1), 1u);
}

TEST(JpegContract, VersionWordAndZigZagTable) {
    EXPECT_EQ(DALTJ_GetVersion(), 0x9099);
    bool seen[64] = {};
    for (int i = 0; i < 64; ++i) seen[DALTJ_NATURAL_ORDER[i] & 63] = true;
    for (bool s : seen) EXPECT_TRUE(s);
    for (int i = 64; i < 80; ++i) EXPECT_EQ(DALTJ_NATURAL_ORDER[i], 63);
}

class Handles : public ::testing::Test {
protected:
    uint8_t byte = 0;
    std::string animated = (samples_dir() / "animated-red-blue.gif").string(), bitmap = (samples_dir() / "pal8.bmp").string();
    void TearDown() override {
        for (int32_t h = 1; h <= KOVRADALT_HANDLE_MAX; ++h) EXPECT_EQ(dal_dec_handle_get_struct(h), nullptr) << h;
    }
};

// A path handle parses on its first set only (a second parse would double the GIF total) and
// closes its file once; a stream handle is never parsed by set and needs its read callback.
TEST_F(Handles, PathAndStreamHandles) {
    const int32_t handle = KOVRADALT_OpenDecHandle(animated.data(), 2913, IO_KIND_PATH);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    ASSERT_EQ(handle, 1);
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, KOVRADALT_FORMAT_RGBA32);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 13), dec);
    EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(handle), dec);
    EXPECT_EQ(std::tuple(record->size, record->parsed_type, dec->image_type, record->height, dec->output_format, dec->gif_total_delay),
              std::tuple(2913, 6, 6, 48u, 13, 1000u));
    EXPECT_EQ(dec->io->file, record->file);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 0);
    MemoryStream stream{read_file(animated)};
    const int32_t streamed = KOVRADALT_OpenDecHandle_Stream(&stream, 2913, IO_KIND_STREAM, MemoryStream::read, nullptr, MemoryStream::rewind);
    dec = KOVRADALT_SetDecInfoFromHandle(streamed, 7);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(stream.cursor + dec->image_type, 0u);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(streamed), 1);
    EXPECT_EQ(KOVRADALT_OpenDecHandle_Stream(&stream, 10, IO_KIND_STREAM, nullptr, MemoryStream::skip, nullptr), 0);
}

// Set copies the holder's option and parses; the control call sets format and option; close
// parses an image never parsed and frees library-owned memory (LeakSanitizer watches).
TEST_F(Handles, MemoryHandleCopiesTheHoldersOptionAndParsesOnlyOnSet) {
    std::vector<uint8_t> bytes = read_file(bitmap);
    const int32_t handle = KOVRADALT_OpenDecHandle(bytes.data(), static_cast<int32_t>(bytes.size()), IO_KIND_MEMORY);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    KOVRADALT_DecInfo *dec = KOVRADALT_GetDecInfoFromHandle(handle);
    EXPECT_EQ(record->parsed_type, 0);
    record->holder->option = 0x55;
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 5), dec);
    EXPECT_EQ(std::tuple(dec->option, dec->io->source, record->parsed_type, record->width), std::tuple(0x55u, bytes.data(), 2, 127u));
    __dal_codec_ctrl_set_dec_info(record, 13, 9);
    EXPECT_EQ(std::pair(dec->output_format, dec->option), std::pair(13, 9u));
    dec->io->kind = IO_KIND_OWNED_MEMORY;
    dec->io->source = KOVRADALT_OsMalloc(64);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    const int32_t unparsed = KOVRADALT_OpenDecHandle(bitmap.data(), 0, IO_KIND_PATH);
    __dal_codec_ctrl_set_dec_info(dal_dec_handle_get_struct(unparsed), 0, 0);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(unparsed), 1);
}

// Refusals take no slot; 255 slots, the lowest free first; handles out of range; control codes.
TEST_F(Handles, RefusalsSlotLimitsAndControlCodes) {
    std::string missing = "/nonexistent/x.gif", directory = samples_dir().string();
    for (int32_t opened : {dal_dec_handle_open(nullptr, 10, IO_KIND_MEMORY), dal_dec_handle_open(&byte, 0, IO_KIND_MEMORY),
                           dal_dec_handle_open(&byte, 1, IO_KIND_FILE), dal_dec_handle_open(&byte, 1, -1),
                           dal_dec_handle_open_stream(&byte, 1, 3, nullptr, nullptr, nullptr),
                           dal_dec_handle_open_stream(&byte, 1, IO_KIND_OWNED_MEMORY, nullptr, nullptr, nullptr),
                           dal_dec_handle_open_stream(&byte, 0, IO_KIND_MEMORY, nullptr, nullptr, nullptr),
                           KOVRADALT_OpenDecHandle(missing.data(), 0, IO_KIND_PATH), KOVRADALT_OpenDecHandle(directory.data(), 0, IO_KIND_PATH)})
        EXPECT_EQ(opened, 0);
    for (long successes = 0; successes < 4; ++successes) {
        AllocationFailure failure(successes);
        EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 0) << successes;
    }
    for (int32_t i = 1; i <= 255; ++i) EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), i);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY) + dal_dec_handle_open_stream(&byte, 1, IO_KIND_MEMORY, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(100), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(100), 0);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 100);
    for (int32_t h = 1; h <= 255; ++h) EXPECT_EQ(dal_dec_handle_close(h), 1);
    for (int32_t h : {0, 256, -1}) {
        EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(h), nullptr) << h;
        EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(h, 7), nullptr) << h;
        EXPECT_EQ(KOVRADALT_CloseDecHandle(h) + dal_dec_handle_destory(h), 0) << h;
    }
    int32_t handle = 0;
    dal_dec_handle *record = reinterpret_cast<dal_dec_handle *>(0x1);
    EXPECT_EQ(__dal_dec_handle_contorl(0, &handle, nullptr, DAL_HANDLE_CTRL_CREATE), 1);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, &record, DAL_HANDLE_CTRL_GET), 1);
    EXPECT_EQ(record->holder, nullptr);  // a bare slot: nothing to set
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 7), nullptr);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, 9), 0);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 1);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 0);
    EXPECT_EQ(__dal_dec_handle_contorl(256, nullptr, &record, DAL_HANDLE_CTRL_GET), 0);
}

}  // namespace
}  // namespace kovra::test

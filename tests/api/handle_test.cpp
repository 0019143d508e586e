// The integer-handle API over the 256-slot table: opening by path, memory and stream, set/get with
// their parse-once rule, closing, the slot limits and the control function. Every test leaves the
// table empty.

#include <gtest/gtest.h>

#include "kovra_handle.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

class Handles : public ::testing::Test {
protected:
    uint8_t byte = 0;
    std::string animated = (samples_dir() / "animated-red-blue.gif").string(), bitmap = (samples_dir() / "pal8.bmp").string();
    void TearDown() override {
        for (int32_t h = 1; h <= KOVRADALT_HANDLE_MAX; ++h) EXPECT_EQ(dal_dec_handle_get_struct(h), nullptr) << h;
    }
};

// A second set returns the same record without parsing again (the GIF total would double).
TEST_F(Handles, PathHandleParsesOnceOnSetAndClosesItsFileOnce) {
    const int32_t handle = KOVRADALT_OpenDecHandle(animated.data(), 0, IO_KIND_PATH);
    ASSERT_EQ(handle, 1);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    EXPECT_EQ(record->size, 2913);
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, KOVRADALT_FORMAT_RGBA32);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(record->parsed_type * 100 + dec->image_type, 606);
    EXPECT_EQ(record->height, 48u);
    EXPECT_EQ(dec->io->file, record->file);
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 13), dec);
    EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(handle), dec);
    EXPECT_EQ(dec->output_format, 13);
    EXPECT_EQ(dec->gif_total_delay, 1000u);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 0);
}

TEST_F(Handles, MemoryHandleCopiesTheHoldersOptionAndParsesOnlyOnSet) {
    std::vector<uint8_t> bytes = read_file(bitmap);
    const int32_t handle = KOVRADALT_OpenDecHandle(bytes.data(), static_cast<int32_t>(bytes.size()), IO_KIND_MEMORY);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    KOVRADALT_DecInfo *dec = KOVRADALT_GetDecInfoFromHandle(handle);
    EXPECT_EQ(record->parsed_type, 0);
    record->holder->option = 0x55;
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 5), dec);
    EXPECT_EQ(dec->option, 0x55u);
    EXPECT_EQ(dec->io->source, bytes.data());
    EXPECT_EQ(record->parsed_type, 2);
    EXPECT_EQ(record->width, 127u);
    __dal_codec_ctrl_set_dec_info(record, 13, 9);
    EXPECT_EQ(dec->output_format * 100 + dec->option, 1309u);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

TEST_F(Handles, StreamHandleIsNeverParsedBySetAndNeedsItsReadCallback) {
    MemoryStream stream{read_file(animated)};
    const int32_t handle = KOVRADALT_OpenDecHandle_Stream(&stream, static_cast<int32_t>(stream.bytes.size()),
                                                          IO_KIND_STREAM, MemoryStream::read, nullptr, MemoryStream::rewind);
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, 7);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(stream.cursor, 0u);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(dec, &info), 6);
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    EXPECT_EQ(KOVRADALT_OpenDecHandle_Stream(&stream, 10, IO_KIND_STREAM, nullptr, MemoryStream::skip, nullptr), 0);
}

TEST_F(Handles, RefusalsAndAllocationFailuresTakeNoSlot) {
    std::string missing = "/nonexistent/x.gif", directory = samples_dir().string();
    for (int32_t opened : {dal_dec_handle_open(nullptr, 10, IO_KIND_MEMORY), dal_dec_handle_open(&byte, 0, IO_KIND_MEMORY),
                           dal_dec_handle_open(&byte, 1, IO_KIND_FILE), dal_dec_handle_open(&byte, 1, -1),
                           dal_dec_handle_open_stream(&byte, 1, 3, nullptr, nullptr, nullptr),
                           dal_dec_handle_open_stream(&byte, 1, IO_KIND_OWNED_MEMORY, nullptr, nullptr, nullptr),
                           dal_dec_handle_open_stream(&byte, 0, IO_KIND_MEMORY, nullptr, nullptr, nullptr),
                           KOVRADALT_OpenDecHandle(missing.data(), 0, IO_KIND_PATH),
                           KOVRADALT_OpenDecHandle(directory.data(), 0, IO_KIND_PATH)})
        EXPECT_EQ(opened, 0);
    for (long successes = 0; successes < 4; ++successes) {
        AllocationFailure failure(successes);
        EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 0) << successes;
    }
}

TEST_F(Handles, TwoHundredFiftyFiveSlotsLowestFreeFirstAndOutOfRange) {
    for (int32_t i = 1; i <= 255; ++i) EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), i);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 0);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(100), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(100), 0);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 100);
    for (int32_t h = 1; h <= 255; ++h) EXPECT_EQ(dal_dec_handle_close(h), 1);
    for (int32_t h : {0, 256, -1}) {
        EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(h), nullptr) << h;
        EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(h, 7), nullptr) << h;
        EXPECT_EQ(KOVRADALT_CloseDecHandle(h) + dal_dec_handle_destory(h), 0) << h;
    }
}

TEST_F(Handles, ControlCodesAndDestroy) {
    dal_dec_handle *record = reinterpret_cast<dal_dec_handle *>(0x1);
    EXPECT_EQ(__dal_dec_handle_contorl(7, nullptr, &record, DAL_HANDLE_CTRL_GET), 1);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(__dal_dec_handle_contorl(256, nullptr, &record, DAL_HANDLE_CTRL_GET), 0);
    int32_t handle = 0;
    EXPECT_EQ(__dal_dec_handle_contorl(0, &handle, nullptr, DAL_HANDLE_CTRL_CREATE), 1);
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 7), nullptr);  // a bare slot has no record
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, 9), 0);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 1);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 0);
    handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    dal_dec_info_holder *holder = dal_dec_handle_get_struct(handle)->holder;
    EXPECT_EQ(dal_dec_handle_destory(handle), 1);
    dal_destroy_dec_info(holder);  // destroy left the holder to us
}

// LeakSanitizer watches these: close parses an unparsed image and frees library-owned memory.
TEST_F(Handles, CloseParsesAnUnparsedImageAndFreesOwnedMemory) {
    int32_t handle = KOVRADALT_OpenDecHandle(bitmap.data(), 0, IO_KIND_PATH);
    __dal_codec_ctrl_set_dec_info(dal_dec_handle_get_struct(handle), 0, 0);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    KOVRADALT_DecInfo *dec = KOVRADALT_GetDecInfoFromHandle(handle);
    dec->io->kind = IO_KIND_OWNED_MEMORY;
    dec->io->source = KOVRADALT_OsMalloc(64);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

}  // namespace
}  // namespace kovra::test

// The integer-handle API over the 256-slot table: opening by path, memory and stream, set/get
// with their parse-once rule, closing (a path handle's file is closed once), the slot limits and
// the control function. Every test leaves the table empty.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kovra_handle.h"
#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"
#include "support/temp_dir.h"

namespace kovra::test {
namespace {

const std::string kAnimated = "animated-red-blue.gif";

std::string sample_path(const std::string &name) { return (samples_dir() / name).string(); }

class HandleTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (int32_t h = 1; h <= KOVRADALT_HANDLE_MAX; ++h) {
            EXPECT_EQ(dal_dec_handle_get_struct(h), nullptr) << "handle " << h << " left open";
        }
    }
};

TEST_F(HandleTest, PathHandleParsesOnSetAndClosesItsFileOnce) {
    std::string path = sample_path(kAnimated);
    int32_t handle = KOVRADALT_OpenDecHandle(path.data(), 0, IO_KIND_PATH);
    ASSERT_EQ(handle, 1);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->size, 2913);  // measured
    EXPECT_NE(record->file, nullptr);
    EXPECT_EQ(record->parsed_type, 0);

    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, KOVRADALT_FORMAT_RGBA32);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dec->output_format, KOVRADALT_FORMAT_RGBA32);
    EXPECT_EQ(dec->image_type, 6);
    EXPECT_EQ(dec->width, 64u);
    EXPECT_EQ(record->parsed_type, 6);
    EXPECT_EQ(record->width, 64u);
    EXPECT_EQ(record->height, 48u);
    EXPECT_EQ(record->output_format, KOVRADALT_FORMAT_RGBA32);
    EXPECT_EQ(dec->io->file, record->file);  // the record's source shares the handle's stream
    ASSERT_NE(dec->io->path_copy, nullptr);
    EXPECT_STREQ(dec->io->path_copy, path.c_str());
    // Under the sanitizers a second fclose of the shared stream would be reported here.
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 0);
}

TEST_F(HandleTest, SecondSetOrGetDoesNotParseAgain) {
    std::vector<uint8_t> bytes = read_file(samples_dir() / kAnimated);
    int32_t handle = KOVRADALT_OpenDecHandle(bytes.data(), static_cast<int32_t>(bytes.size()), IO_KIND_MEMORY);
    ASSERT_NE(handle, 0);
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, 8);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dec->gif_total_delay, 1000u);
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 13), dec);
    EXPECT_EQ(dec->output_format, 13);
    EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(handle), dec);
    EXPECT_EQ(dec->gif_total_delay, 1000u);  // a second parse would have added another 1000
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

TEST_F(HandleTest, GetBeforeAnySetFindsAnEmptySourceAndLeavesTheHandleUnparsed) {
    std::vector<uint8_t> bytes = read_file(samples_dir() / kAnimated);
    int32_t handle = KOVRADALT_OpenDecHandle(bytes.data(), static_cast<int32_t>(bytes.size()), IO_KIND_MEMORY);
    KOVRADALT_DecInfo *dec = KOVRADALT_GetDecInfoFromHandle(handle);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dal_dec_handle_get_struct(handle)->parsed_type, 0);
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 7), dec);
    EXPECT_EQ(dal_dec_handle_get_struct(handle)->parsed_type, 6);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

// The stream has no skip callback: parsing the sample needs none, so nothing refuses it.
TEST_F(HandleTest, StreamHandleIsNeverParsedBySetButGetsItsCallbacks) {
    MemoryStream stream;
    stream.bytes = read_file(samples_dir() / kAnimated);
    int32_t handle = KOVRADALT_OpenDecHandle_Stream(&stream, static_cast<int32_t>(stream.bytes.size()), IO_KIND_STREAM,
                                                    MemoryStream::read, nullptr, MemoryStream::rewind);
    ASSERT_NE(handle, 0);
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, 7);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dal_dec_handle_get_struct(handle)->parsed_type, 0);
    EXPECT_EQ(stream.reads, 0);
    EXPECT_EQ(dec->io->kind, IO_KIND_STREAM);
    EXPECT_EQ(dec->io->source, &stream);
    // The record reads the stream once the caller parses it.
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(dec, &info), 6);
    EXPECT_EQ(info.frame_count, 4u);
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    // Without a read callback a stream could never deliver a byte.
    EXPECT_EQ(KOVRADALT_OpenDecHandle_Stream(&stream, 10, IO_KIND_STREAM, nullptr, MemoryStream::skip, nullptr), 0);
}

TEST_F(HandleTest, OpenRefusalsTakeNoSlot) {
    uint8_t byte = 0;
    EXPECT_EQ(dal_dec_handle_open(nullptr, 10, IO_KIND_MEMORY), 0);
    EXPECT_EQ(dal_dec_handle_open(&byte, 0, IO_KIND_MEMORY), 0);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_FILE), 0);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, -1), 0);
    EXPECT_EQ(dal_dec_handle_open_stream(&byte, 1, IO_KIND_FILE, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(dal_dec_handle_open_stream(&byte, 1, 3, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(dal_dec_handle_open_stream(&byte, 1, IO_KIND_OWNED_MEMORY, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(dal_dec_handle_open_stream(&byte, 0, IO_KIND_MEMORY, nullptr, nullptr, nullptr), 0);
    std::string missing = (TempDir().path() / "missing.gif").string();
    EXPECT_EQ(KOVRADALT_OpenDecHandle(missing.data(), 0, IO_KIND_PATH), 0);
    std::string directory = samples_dir().string();
    EXPECT_EQ(KOVRADALT_OpenDecHandle(directory.data(), 0, IO_KIND_PATH), 0);
    // Nothing above kept a slot: the next open gets the first one.
    int32_t handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    EXPECT_EQ(handle, 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

TEST_F(HandleTest, TwoHundredFiftyFiveHandlesAtOnceAndLowestFreeSlotFirst) {
    uint8_t byte = 0;
    std::vector<int32_t> handles;
    for (int i = 0; i < 255; ++i) handles.push_back(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY));
    for (int i = 0; i < 255; ++i) EXPECT_EQ(handles[static_cast<size_t>(i)], i + 1);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 0);
    EXPECT_EQ(dal_dec_handle_create(), 0);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(1), 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(100), 1);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 1);
    EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 100);
    for (int32_t h = 1; h <= 255; ++h) EXPECT_EQ(dal_dec_handle_close(h), 1);
}

TEST_F(HandleTest, OutOfRangeAndEmptyHandles) {
    for (int32_t h : {0, 256, -1, 1000}) {
        EXPECT_EQ(KOVRADALT_GetDecInfoFromHandle(h), nullptr) << h;
        EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(h, 7), nullptr) << h;
        EXPECT_EQ(KOVRADALT_CloseDecHandle(h), 0) << h;
        EXPECT_EQ(dal_dec_handle_close(h), 0) << h;
        EXPECT_EQ(dal_dec_handle_destory(h), 0) << h;
        EXPECT_EQ(dal_dec_handle_get_struct(h), nullptr) << h;
    }
    EXPECT_EQ(KOVRADALT_CloseDecHandle(5), 0);  // an empty slot
    EXPECT_EQ(dal_get_decinfo_from_handle(nullptr), nullptr);
    EXPECT_EQ(dal_set_decinfo_from_handle(nullptr, 7), nullptr);
    __dal_codec_ctrl_set_dec_info(nullptr, 7, 1);
}

TEST_F(HandleTest, ControlCodes) {
    dal_dec_handle *record = reinterpret_cast<dal_dec_handle *>(0x1);
    EXPECT_EQ(__dal_dec_handle_contorl(7, nullptr, &record, DAL_HANDLE_CTRL_GET), 1);
    EXPECT_EQ(record, nullptr);  // an empty slot answers 1 and null
    EXPECT_EQ(__dal_dec_handle_contorl(256, nullptr, &record, DAL_HANDLE_CTRL_GET), 0);

    int32_t handle = 0;
    EXPECT_EQ(__dal_dec_handle_contorl(0, &handle, nullptr, DAL_HANDLE_CTRL_CREATE), 1);
    EXPECT_EQ(handle, 1);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, &record, DAL_HANDLE_CTRL_GET), 1);
    EXPECT_EQ(record, dal_dec_handle_get_struct(handle));
    EXPECT_EQ(record->holder, nullptr);  // a bare slot: no record behind it
    EXPECT_EQ(KOVRADALT_SetDecInfoFromHandle(handle, 7), nullptr);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, 9), 0);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 1);
    EXPECT_EQ(__dal_dec_handle_contorl(handle, nullptr, nullptr, DAL_HANDLE_CTRL_DESTROY), 0);
}

TEST_F(HandleTest, DestroyFreesOnlyTheHandleRecord) {
    uint8_t byte = 0;
    int32_t handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    dal_dec_info_holder *holder = dal_dec_handle_get_struct(handle)->holder;
    ASSERT_NE(holder, nullptr);
    EXPECT_EQ(dal_dec_handle_destory(handle), 1);
    EXPECT_EQ(dal_dec_handle_get_struct(handle), nullptr);
    dal_destroy_dec_info(holder);  // the holder was left to us
    dal_destroy_dec_info(nullptr);
}

TEST_F(HandleTest, SetInfoCopiesTheHoldersOptionAndTheSource) {
    std::vector<uint8_t> bytes = read_file(samples_dir() / "pal8.bmp");
    int32_t handle = KOVRADALT_OpenDecHandle(bytes.data(), static_cast<int32_t>(bytes.size()), IO_KIND_MEMORY);
    dal_dec_handle *record = dal_dec_handle_get_struct(handle);
    record->holder->option = 0x55;
    KOVRADALT_DecInfo *dec = KOVRADALT_SetDecInfoFromHandle(handle, 5);
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dec->option, 0x55u);
    EXPECT_EQ(dec->io->kind, IO_KIND_MEMORY);
    EXPECT_EQ(dec->io->source, bytes.data());
    EXPECT_EQ(dec->io->size, static_cast<int32_t>(bytes.size()));
    EXPECT_EQ(record->parsed_type, 2);
    EXPECT_EQ(record->width, 127u);
    __dal_codec_ctrl_set_dec_info(record, 13, 9);
    EXPECT_EQ(dec->output_format, 13);
    EXPECT_EQ(dec->option, 9u);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

TEST_F(HandleTest, CloseParsesAnUnparsedImageAndFreesOwnedMemory) {
    std::string path = sample_path("pal8.bmp");
    int32_t handle = KOVRADALT_OpenDecHandle(path.data(), 0, IO_KIND_PATH);
    __dal_codec_ctrl_set_dec_info(dal_dec_handle_get_struct(handle), 0, 0);  // source copied, not parsed
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);

    // A record whose source became library-owned memory has that memory freed at close.
    uint8_t byte = 0;
    handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    KOVRADALT_DecInfo *dec = KOVRADALT_GetDecInfoFromHandle(handle);
    dec->io->kind = IO_KIND_OWNED_MEMORY;
    dec->io->source = KOVRADALT_OsMalloc(64);
    dec->io->size = 64;
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
}

TEST_F(HandleTest, AllocationFailuresLeaveNoSlotTaken) {
    uint8_t byte = 0;
    for (long successes = 0; successes < 4; ++successes) {
        AllocationFailure failure(successes);
        EXPECT_EQ(dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY), 0) << successes;
    }
    int32_t handle = dal_dec_handle_open(&byte, 1, IO_KIND_MEMORY);
    EXPECT_EQ(handle, 1);
    EXPECT_EQ(KOVRADALT_CloseDecHandle(handle), 1);
    {
        AllocationFailure failure(0);
        EXPECT_EQ(dal_create_dec_info(), nullptr);
    }
}

}  // namespace
}  // namespace kovra::test

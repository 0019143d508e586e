// Input sources: opening rules and error words, then the seek and read rules of each kind,
// driven through real files, real streams (in-test callbacks) and memory.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <numeric>
#include <vector>

#include <unistd.h>

#include "kovra_decinfo.h"
#include "kovra_io.h"
#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/sources.h"
#include "support/temp_dir.h"

namespace {
using kovra::test::AllocationFailure;
using kovra::test::MemoryStream;
using kovra::test::TempDir;

std::vector<uint8_t> counting_bytes(size_t n) {
    std::vector<uint8_t> bytes(n);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

struct Closer {
    void operator()(KOVRADALT_IO *io) const { KOVRADALT_Close_IO(io); }
};
using SourcePtr = std::unique_ptr<KOVRADALT_IO, Closer>;

TEST(OpenSource, RefusedKindsAndEmptyMemorySetTheErrorWord) {
    uint8_t byte = 0;
    for (int32_t kind : {3, 4, 6, -1}) {
        gKOVRADALT_Error = 0;
        EXPECT_EQ(KOVRADALT_Open_IO(kind, &byte, 1), nullptr) << kind;
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_SOURCE_KIND) << kind;
    }
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_MEMORY, &byte, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_EMPTY_MEMORY);
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_OWNED_MEMORY, &byte, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_EMPTY_MEMORY);
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_FILE, nullptr, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_CANNOT_OPEN);
}

TEST(OpenSource, PathsThatCannotBeOpened) {
    TempDir dir;
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, const_cast<char *>(dir.path().c_str()), 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_CANNOT_OPEN);
    gKOVRADALT_Error = 0;
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, const_cast<char *>("/nonexistent/x.gif"), 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_CANNOT_OPEN);
    gKOVRADALT_Error = 0;
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, nullptr, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_CANNOT_OPEN);
}

TEST(OpenSource, PathIsMeasuredAndCopied) {
    TempDir dir;
    std::string path = dir.write("img", counting_bytes(300)).string();
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 0));
    ASSERT_TRUE(io);
    EXPECT_EQ(io->size, 300);
    EXPECT_EQ(io->buffer_size, KOVRADALT_WINDOW_CAPACITY);
    ASSERT_NE(io->path_copy, nullptr);
    EXPECT_NE(io->path_copy, path.data());
    EXPECT_STREQ(io->path_copy, path.c_str());
    SourcePtr sized(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 123));
    EXPECT_EQ(sized->size, 123);
}

TEST(OpenSource, AllocationFailuresLeakNothing) {
    TempDir dir;
    std::string path = dir.write("img", counting_bytes(30)).string();
    {
        AllocationFailure fail(0);
        gKOVRADALT_Error = 0;
        EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 0), nullptr);
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
    }
    {
        AllocationFailure fail(1);  // the record succeeds, the path copy fails: file closed, record freed
        EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 0), nullptr);
    }
    {
        AllocationFailure fail(0);
        EXPECT_EQ(KOVRADALT_Open_Stream(nullptr, MemoryStream::read, MemoryStream::skip, nullptr, 0), nullptr);
        EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
    }
}

size_t open_descriptors() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                             std::filesystem::directory_iterator()));
}

// A pipe cannot be measured or rewound: opening it by path fails and closes what it opened;
// handed over as an open stream it fails and leaves the caller's stream open.
TEST(OpenSource, UnseekableInputsFailAndCloseOnlyWhatTheyOpened) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FILE *reader = fdopen(ends[0], "rb");
    std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
    const size_t descriptors = open_descriptors();
    gKOVRADALT_Error = 77;
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 0), nullptr);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_FILE, reader, 0), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, 77);  // these failures have no error code of their own
    EXPECT_EQ(std::fclose(reader), 0);
    close(ends[1]);
}

TEST(OpenSource, OpenFileWithoutSizeRewindsTheCallersStream) {
    TempDir dir;
    FILE *file = std::fopen(dir.write("img", counting_bytes(50)).c_str(), "rb");
    std::fseek(file, 20, SEEK_SET);
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_FILE, file, 0));
    ASSERT_TRUE(io);
    EXPECT_EQ(io->start_offset, 20);
    EXPECT_EQ(io->size, 0);
    EXPECT_EQ(std::ftell(file), 0);
    io.reset();
    std::fseek(file, 20, SEEK_SET);
    SourcePtr sized(KOVRADALT_Open_IO(IO_KIND_FILE, file, 50));
    EXPECT_EQ(std::ftell(file), 20);  // a known size leaves the stream where it was
    sized.reset();
    std::fclose(file);  // closing the source never closed the caller's file
}

TEST(MemorySource, ReadsStopExactlyAtTheEnd) {
    auto bytes = counting_bytes(10);
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10));
    uint8_t out[16] = {};
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 10), 10);
    EXPECT_EQ(out[9], 10);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 10), 0);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 7, SEEK_SET), 7);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 16), 3);
    EXPECT_EQ(out[0], 8);
    KOVRADALT_Seek_IO(io.get(), 0, SEEK_SET);
    uint8_t *view = nullptr;
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, -5), 0);  // a negative count moves nothing
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &view, -5), 0);
    EXPECT_EQ(io->position, 0);
}

TEST(MemorySource, SeekRules) {
    auto bytes = counting_bytes(10);
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10));
    KOVRADALT_IO *s = io.get();
    EXPECT_EQ(KOVRADALT_Seek_IO(s, -1, SEEK_SET), -1);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 10, SEEK_SET), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 99, SEEK_SET), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 4, SEEK_SET), 4);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 3, SEEK_CUR), 7);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 50, SEEK_CUR), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 1, SEEK_END), -1);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, -3, SEEK_END), 7);
    EXPECT_EQ(KOVRADALT_Seek_IO(s, 0, 9), 7);  // unknown whence leaves the position
}

TEST(MemorySource, PositionBeforeTheStartReadsZerosNeverStrayMemory) {
    auto bytes = counting_bytes(10);
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10));
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -4, SEEK_CUR), -4);  // relative seeks are not checked
    uint8_t out[6];
    std::memset(out, 0xEE, sizeof out);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 6), 6);
    const uint8_t expected[6] = {0, 0, 0, 0, 1, 2};
    EXPECT_EQ(0, std::memcmp(out, expected, 6));
    KOVRADALT_Seek_IO(io.get(), -30, SEEK_END);
    uint8_t *view = nullptr;
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &view, 4), 0);
    EXPECT_EQ(view, nullptr);
}

TEST(MemorySource, Read2PointsIntoTheSourceWithoutCopying) {
    auto bytes = counting_bytes(10);
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10));
    uint8_t *view = nullptr;
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &view, 4), 4);
    EXPECT_EQ(view, bytes.data());
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &view, 100), 6);
    EXPECT_EQ(view, bytes.data() + 4);
    uint8_t *untouched = view;
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &view, 1), 0);
    EXPECT_EQ(view, untouched);
}

TEST(FileSource, PathAndOpenFileReadAndSeekThroughTheFile) {
    TempDir dir;
    std::string path = dir.write("img", counting_bytes(40)).string();
    SourcePtr io(KOVRADALT_Open_IO(IO_KIND_PATH, path.data(), 0));
    uint8_t out[8];
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 8), 8);
    EXPECT_EQ(io->position, 8);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -5, SEEK_END), 35);
    uint8_t *buffer = out;
    EXPECT_EQ(KOVRADALT_Read_IO2(io.get(), &buffer, 8), 5);
    EXPECT_EQ(buffer, out);  // file kinds read into the caller's buffer
    EXPECT_EQ(out[0], 36);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 100, SEEK_SET), 100);  // the file's own rule: past the end is fine
}

class StreamSource : public ::testing::Test {
protected:
    MemoryStream stream;
    SourcePtr open(bool with_rewind) {
        stream.bytes = counting_bytes(100);
        return SourcePtr(KOVRADALT_Open_Stream(&stream, MemoryStream::read, MemoryStream::skip,
                                               with_rewind ? MemoryStream::rewind : nullptr, 100));
    }
};

TEST_F(StreamSource, OpeningCallsNoCallback) {
    auto io = open(true);
    ASSERT_TRUE(io);
    EXPECT_EQ(io->kind, IO_KIND_STREAM);
    EXPECT_EQ(stream.reads + stream.skips + stream.rewinds, 0);
}

TEST_F(StreamSource, AbsoluteSeekRewindsThenSkips) {
    auto io = open(true);
    uint8_t out[10];
    KOVRADALT_Read_IO(io.get(), out, 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 0, SEEK_SET), 0);
    EXPECT_EQ(stream.rewinds, 1);
    EXPECT_EQ(stream.skips, 0);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 30, SEEK_SET), 30);  // what skip returns
    EXPECT_EQ(stream.rewinds, 2);
    EXPECT_EQ(stream.skips, 1);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 1), 1);
    EXPECT_EQ(out[0], 31);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -1, SEEK_SET), -1);
}

TEST_F(StreamSource, WithoutRewindAbsoluteSeeksAnswerZeroAndStay) {
    auto io = open(false);
    uint8_t out[10];
    KOVRADALT_Read_IO(io.get(), out, 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 5, SEEK_SET), 0);
    EXPECT_EQ(io->position, 10);
    EXPECT_EQ(stream.skips, 0);
}

TEST_F(StreamSource, RelativeAndEndSeeksSkipForward) {
    auto io = open(true);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 12, SEEK_CUR), 12);
    EXPECT_EQ(stream.last_skip, 12u);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 1, SEEK_END), -1);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -8, SEEK_END), 92);
    EXPECT_EQ(stream.last_skip, 80u);  // size + offset - position
    uint8_t out[1];
    KOVRADALT_Read_IO(io.get(), out, 1);
    EXPECT_EQ(out[0], 93);
}

// A forward-only stream (read and rewind, no skip) works until a seek needs to skip.
TEST_F(StreamSource, WithoutSkipOnlySeeksThatNeedASkipFail) {
    stream.bytes = counting_bytes(100);
    SourcePtr io(KOVRADALT_Open_Stream(&stream, MemoryStream::read, nullptr, MemoryStream::rewind, 100));
    uint8_t out[10];
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 10), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 0, SEEK_CUR), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 4, SEEK_SET), -1);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 4, SEEK_CUR), -1);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -50, SEEK_END), -1);
    EXPECT_EQ(stream.rewinds, 0);  // a refused seek leaves the stream where it was
    EXPECT_EQ(io->position, 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), -90, SEEK_END), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 0, SEEK_SET), 0);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out, 1), 1);
    EXPECT_EQ(out[0], 1);
}

// Offsets at the ends of the 32-bit range wrap as on the target instead of overflowing.
TEST_F(StreamSource, ExtremeOffsetsWrap) {
    auto io = open(true);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), INT32_MIN, SEEK_CUR), INT32_MIN);
    EXPECT_EQ(KOVRADALT_Seek_IO(io.get(), 0, SEEK_END), 100);
    EXPECT_EQ(stream.last_skip, 100u + 0x80000000u);
    auto bytes = counting_bytes(10);
    SourcePtr memory(KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10));
    EXPECT_EQ(KOVRADALT_Seek_IO(memory.get(), INT32_MIN, SEEK_CUR), INT32_MIN);
    EXPECT_EQ(KOVRADALT_Seek_IO(memory.get(), INT32_MIN, SEEK_CUR), 0);
    EXPECT_EQ(KOVRADALT_Seek_IO(memory.get(), INT32_MIN, SEEK_END), INT32_MIN + 10);
}

TEST_F(StreamSource, ReadsAreCountedAndNeverOverReported) {
    auto io = open(true);
    std::vector<uint8_t> out(200);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out.data(), 200), 100);
    EXPECT_EQ(io->position, 100);
    EXPECT_EQ(KOVRADALT_Read_IO(io.get(), out.data(), 5), 0);
}

TEST(RefusedKind, OperationsRefuseAndCloseKeepsTheRecord) {
    KOVRADALT_IO io{};
    io.kind = 3;
    uint8_t out[4];
    uint8_t *view = out;
    EXPECT_EQ(KOVRADALT_Seek_IO(&io, 0, SEEK_SET), -1);
    EXPECT_EQ(KOVRADALT_Read_IO(&io, out, 4), -1);
    EXPECT_EQ(KOVRADALT_Read_IO2(&io, &view, 4), -1);
    EXPECT_EQ(KOVRADALT_Close_IO(&io), 0);  // nothing freed: this record lives on the stack
}

TEST(UnusableSource, MissingFileMemoryOrCallbacksAreRefusedNotFollowed) {
    uint8_t out[4];
    uint8_t *view = out;
    KOVRADALT_IO no_file{};
    no_file.kind = IO_KIND_PATH;
    KOVRADALT_IO no_memory{};
    no_memory.kind = IO_KIND_MEMORY;
    no_memory.size = 100;
    KOVRADALT_IO no_callbacks{};
    no_callbacks.kind = IO_KIND_STREAM;
    for (KOVRADALT_IO *io : {&no_file, &no_memory, &no_callbacks}) {
        EXPECT_EQ(KOVRADALT_Seek_IO(io, 0, SEEK_SET), -1) << io->kind;
        EXPECT_EQ(KOVRADALT_Read_IO(io, out, 4), -1) << io->kind;
        EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), -1) << io->kind;
    }
    EXPECT_EQ(view, out);
}

TEST(UnusableSource, TypeDetectionAfterTheBufferWasHandedBack) {
    auto *memory = static_cast<uint8_t *>(KOVRADALT_OsMalloc(8));
    std::memset(memory, 0, 8);
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, memory, 8, 7, 0);
    ASSERT_EQ(KOVRADALT_DestroyInputBuffer(dec), 1);
    EXPECT_EQ(KOVRADALT_GetImageType(dec), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NULL_ARGUMENT);
    KOVRADALT_DestroyDecInfo(dec);
}

}  // namespace

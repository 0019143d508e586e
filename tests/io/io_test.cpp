// Input sources and the byte window over every source kind: the seek table of each kind, reads
// that stop at the end, and a window walk that checks every byte handed out against the source.

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <random>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

std::vector<uint8_t> counting(size_t n) {
    std::vector<uint8_t> bytes(n);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

// A window set up as the parsers do it, released on destruction.
struct Window {
    KOVRADALT_IO *io;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(io);
    DALTJ_ByteWindow w = io::make_window(io, buffer);
    ~Window() { DALTJ_ReleaseStreamBuffer(io, buffer); }
};

using Io = SourceKindTest;

// Results per kind: file kinds (path, FILE: where the file stands after fseek), memory kinds, the
// caller stream. A refused seek (-1) leaves the position where it was.
TEST_P(Io, SeekTable) {
    const int column = GetParam() == SourceKind::kStream ? 2
                       : GetParam() == SourceKind::kMemory || GetParam() == SourceKind::kOwnedMemory ? 1 : 0;
    const struct { int32_t from, offset, whence, result[3]; } rows[] = {
        {0, 4, SEEK_SET, {4, 4, 4}},        {4, 3, SEEK_CUR, {7, 7, 7}},
        {4, 100, SEEK_SET, {100, 40, 100}}, {4, 50, SEEK_CUR, {54, 40, 54}},
        {9, -1, SEEK_SET, {9, -1, -1}},    {9, 1, SEEK_END, {41, -1, -1}},
        {9, -3, SEEK_END, {37, 37, 37}},    {9, 0, 9, {9, 9, 9}},
        {9, INT32_MIN, SEEK_CUR, {9, INT32_MIN + 9, INT32_MIN + 9}},
    };
    const auto bytes = counting(40);
    SourceRecord src(GetParam(), bytes);
    KOVRADALT_IO *io = src->io;
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.from << " " << row.offset << " " << row.whence);
        ASSERT_EQ(KOVRADALT_Seek_IO(io, row.from, SEEK_SET), row.from);
        const int32_t result = KOVRADALT_Seek_IO(io, row.offset, row.whence);
        EXPECT_EQ(result, row.result[column]);
        EXPECT_EQ(io->position, result == -1 ? row.from : result);
        const int32_t next = result == -1 ? row.from : result;
        uint8_t byte = 0;
        if (next >= 0 && next < 40) {
            EXPECT_EQ(KOVRADALT_Read_IO(io, &byte, 1), 1);
            EXPECT_EQ(byte, bytes[next]);
        }
    }
    ASSERT_EQ(KOVRADALT_Seek_IO(io, 30, SEEK_SET), 30);
    uint8_t out[16];
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 16), 10);
    EXPECT_EQ(out[9], 40);
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 16), 0);
    EXPECT_EQ(io->position, 40);
}

// Avail + need may reach the capacity exactly, never pass it; the source is not read on a refusal.
TEST_P(Io, WindowFillsToExactlyItsCapacity) {
    SourceRecord src(GetParam(), counting(40000));
    Window win{src->io};
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    io::consume(win.w, KOVRADALT_WINDOW_CAPACITY - 100);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, KOVRADALT_WINDOW_CAPACITY - 100), DALTJ_WINDOW_REFILLED);
    EXPECT_EQ(win.w.avail, KOVRADALT_WINDOW_CAPACITY);
    EXPECT_EQ(io::unread_byte(win.w, 0), static_cast<uint8_t>(KOVRADALT_WINDOW_CAPACITY - 99));
    io::consume(win.w, KOVRADALT_WINDOW_CAPACITY - 100);
    const int32_t position = src->io->position;
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, KOVRADALT_WINDOW_CAPACITY - 99), DALTJ_WINDOW_FAILED);
    EXPECT_EQ(src->io->position, position);
}

// Uneven steps of up to 300 bytes through a large image: every byte matches the source.
TEST_P(Io, WindowHandsOutEveryByteInOrder) {
    std::mt19937 rng(6);
    std::vector<uint8_t> bytes(70001);
    for (auto &b : bytes) b = static_cast<uint8_t>(rng());
    SourceRecord src(GetParam(), bytes);
    Window win{src->io};
    size_t offset = 0;
    while (offset < bytes.size()) {
        const auto need = static_cast<int32_t>(std::min<size_t>(1 + rng() % 300, bytes.size() - offset));
        ASSERT_NE(DALTJ_CheckBuffer(&win.w, need), DALTJ_WINDOW_FAILED) << offset;
        for (int32_t i = 0; i < need; ++i) ASSERT_EQ(io::unread_byte(win.w, i), bytes[offset + i]) << offset + i;
        io::consume(win.w, need);
        offset += static_cast<size_t>(need);
    }
    EXPECT_EQ(win.w.consumed_total, 70001);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_FAILED);
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(Io);

// Window states that name bytes outside the buffer or the source are refused before any read.
TEST(Window, RefusesStatesOutsideItsBufferOrSource) {
    SourceRecord file(SourceKind::kFile, counting(30000));
    Window win{file->io};
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    const DALTJ_ByteWindow filled = win.w;
    for (auto [pos, avail, need] : {std::array{0, -5, 1}, {-10, 5, 10}, {0, 100, -1}, {16000, 1000, 2000}, {16384, 1, 1}}) {
        win.w = filled;
        win.w.pos = pos;
        win.w.avail = avail;
        EXPECT_EQ(DALTJ_CheckBuffer(&win.w, need), DALTJ_WINDOW_FAILED) << pos << " " << avail << " " << need;
    }
    SourceRecord memory(SourceKind::kMemory, counting(100));
    Window view{memory->io};
    ASSERT_EQ(DALTJ_CheckBuffer(&view.w, 1), DALTJ_WINDOW_REFILLED);
    io::consume(view.w, 50);
    KOVRADALT_Seek_IO(memory->io, 0, SEEK_SET);  // behind the view: a top-up would pass the end
    EXPECT_EQ(DALTJ_CheckBuffer(&view.w, 60), DALTJ_WINDOW_FAILED);
    view.w.data -= 1;
    EXPECT_EQ(DALTJ_CheckBuffer(&view.w, 10), DALTJ_WINDOW_FAILED);
}

TEST(Sources, OpeningRefusalsSetTheErrorWord) {
    uint8_t byte = 0;
    const struct { int32_t kind; void *source; int32_t size; int32_t error; } rows[] = {
        {3, &byte, 1, KOVRADALT_ERR_SOURCE_KIND}, {4, &byte, 1, KOVRADALT_ERR_SOURCE_KIND},
        {6, &byte, 1, KOVRADALT_ERR_SOURCE_KIND}, {-1, &byte, 1, KOVRADALT_ERR_SOURCE_KIND},
        {IO_KIND_MEMORY, &byte, 0, KOVRADALT_ERR_EMPTY_MEMORY}, {IO_KIND_OWNED_MEMORY, &byte, 0, KOVRADALT_ERR_EMPTY_MEMORY},
        {IO_KIND_FILE, nullptr, 0, KOVRADALT_ERR_CANNOT_OPEN}, {IO_KIND_PATH, nullptr, 0, KOVRADALT_ERR_CANNOT_OPEN},
        {IO_KIND_PATH, const_cast<char *>("/"), 0, KOVRADALT_ERR_CANNOT_OPEN},
    };
    for (const auto &row : rows) {
        gKOVRADALT_Error = 0;
        EXPECT_EQ(KOVRADALT_Open_IO(row.kind, row.source, row.size), nullptr) << row.kind;
        EXPECT_EQ(gKOVRADALT_Error, row.error) << row.kind;
    }
    AllocationFailure fail(0);
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_MEMORY, &byte, 1), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
}

// Streams without rewind answer absolute seeks with 0 and stay; without skip, only the seeks that
// must skip fail, before any callback runs.
TEST(Sources, StreamsWithoutRewindOrSkip) {
    MemoryStream stream;
    stream.bytes = counting(100);
    KOVRADALT_IO *io = KOVRADALT_Open_Stream(&stream, MemoryStream::read, nullptr, MemoryStream::rewind, 100);
    uint8_t out[10];
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 10), 10);
    for (auto [offset, whence] : {std::pair{4, SEEK_SET}, {4, SEEK_CUR}, {-50, SEEK_END}}) {
        EXPECT_EQ(KOVRADALT_Seek_IO(io, offset, whence), -1);
        EXPECT_EQ(io->position, 10);
    }
    EXPECT_EQ(stream.rewinds, 0);
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -90, SEEK_END), 10);
    io->rewind_fn = nullptr;
    io->skip_fn = MemoryStream::skip;
    EXPECT_EQ(KOVRADALT_Seek_IO(io, 5, SEEK_SET), 0);
    EXPECT_EQ(io->position, 10);
    KOVRADALT_Close_IO(io);
}

// A memory position moved before the start by a relative seek reads zeros, never stray memory.
TEST(Sources, MemoryBeforeTheStartReadsZeros) {
    auto bytes = counting(10);
    KOVRADALT_IO *io = KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -4, SEEK_CUR), -4);
    uint8_t out[6];
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 6), 6);
    EXPECT_EQ(std::memcmp(out, "\0\0\0\0\1\2", 6), 0);
    uint8_t *view = nullptr;
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 4);
    EXPECT_EQ(view, bytes.data() + 2);  // memory kinds hand out a pointer into the source
    KOVRADALT_Seek_IO(io, 0, SEEK_END);
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 0);
    EXPECT_EQ(view, bytes.data() + 2);  // nothing read: the caller's pointer is left alone
    KOVRADALT_Close_IO(io);
}

TEST(Sources, UnusableSourcesAreRefusedNotFollowed) {
    KOVRADALT_IO records[4] = {};
    records[0].kind = IO_KIND_PATH;
    records[1].kind = IO_KIND_MEMORY;
    records[1].size = 100;
    records[2].kind = IO_KIND_STREAM;
    records[3].kind = 3;
    uint8_t out[4];
    uint8_t *view = out;
    for (KOVRADALT_IO &io : records) {
        EXPECT_EQ(KOVRADALT_Seek_IO(&io, 0, SEEK_SET), -1) << io.kind;
        EXPECT_EQ(KOVRADALT_Read_IO(&io, out, 4), -1) << io.kind;
        EXPECT_EQ(KOVRADALT_Read_IO2(&io, &view, 4), -1) << io.kind;
    }
    EXPECT_EQ(KOVRADALT_Close_IO(&records[3]), 0);
}

}  // namespace
}  // namespace kovra::test

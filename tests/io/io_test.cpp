// Input sources and the byte window over every source kind, and the refusals of unusable ones.

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <random>

#include "support/sources.h"

namespace kovra::test {
namespace {

std::vector<uint8_t> counting(size_t n) {
    std::vector<uint8_t> bytes(n);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

using Io = SourceKindTest;

// Columns: memory kinds, the caller stream, file kinds (where fseek leaves the file). A refused
// seek (-1) leaves the position where it was.
TEST_P(Io, SeekTable) {
    const SourceKind kind = GetParam();
    const int column = kind == SourceKind::kMemory || kind == SourceKind::kOwnedMemory ? 0 : kind == SourceKind::kStream ? 1 : 2;
    const struct { int32_t from, offset, whence, result[3]; } rows[] = {
        {0, 4, SEEK_SET, {4, 4, 4}},        {4, 3, SEEK_CUR, {7, 7, 7}},      {4, 100, SEEK_SET, {40, 100, 100}},
        {4, 50, SEEK_CUR, {40, 54, 54}},    {9, -1, SEEK_SET, {-1, -1, 9}},    {9, 1, SEEK_END, {-1, -1, 41}},
        {9, -3, SEEK_END, {37, 37, 37}},    {9, 0, 9, {9, 9, 9}},              {9, INT32_MIN, SEEK_CUR, {INT32_MIN + 9, INT32_MIN + 9, 9}},
    };
    const auto bytes = counting(40);
    SourceRecord src(kind, bytes);
    KOVRADALT_IO *io = src->io;
    for (const auto &row : rows) {
        ASSERT_EQ(KOVRADALT_Seek_IO(io, row.from, SEEK_SET), row.from);
        const int32_t result = KOVRADALT_Seek_IO(io, row.offset, row.whence), next = result == -1 ? row.from : result;
        EXPECT_EQ(result, row.result[column]) << row.from << " " << row.offset << " " << row.whence;
        EXPECT_EQ(io->position, next);
        uint8_t byte = 0;
        if (next >= 0 && next < 40) {
            EXPECT_EQ(KOVRADALT_Read_IO(io, &byte, 1), 1);
            EXPECT_EQ(byte, bytes[next]);
        }
    }
    uint8_t out[16];
    ASSERT_EQ(KOVRADALT_Seek_IO(io, 30, SEEK_SET), 30);
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 16), 10);
    EXPECT_EQ(out[9], 40);
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 16), 0);
    EXPECT_EQ(io->position, 40);
}

// Uneven steps through a large source hand out every byte in order; avail + need may reach the
// window's capacity exactly, never pass it, and a refusal reads nothing.
TEST_P(Io, Window) {
    std::mt19937 rng(6);
    std::vector<uint8_t> bytes(70001);
    for (auto &b : bytes) b = static_cast<uint8_t>(rng());
    SourceRecord src(GetParam(), bytes);
    fuzz::with_window(src.record(), [&](DALTJ_ByteWindow &w) {
        ASSERT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_REFILLED);
        io::consume(w, KOVRADALT_WINDOW_CAPACITY - 100);
        EXPECT_EQ(DALTJ_CheckBuffer(&w, KOVRADALT_WINDOW_CAPACITY - 100), DALTJ_WINDOW_REFILLED);
        EXPECT_EQ(w.avail, KOVRADALT_WINDOW_CAPACITY);
        io::consume(w, KOVRADALT_WINDOW_CAPACITY - 100);
        const int32_t position = src->io->position;
        EXPECT_EQ(DALTJ_CheckBuffer(&w, KOVRADALT_WINDOW_CAPACITY - 99), DALTJ_WINDOW_FAILED);
        EXPECT_EQ(src->io->position, position);
        for (size_t offset = 2 * (KOVRADALT_WINDOW_CAPACITY - 100); offset < bytes.size();) {
            const auto need = static_cast<int32_t>(std::min<size_t>(1 + rng() % 300, bytes.size() - offset));
            ASSERT_NE(DALTJ_CheckBuffer(&w, need), DALTJ_WINDOW_FAILED) << offset;
            for (int32_t i = 0; i < need; ++i) ASSERT_EQ(io::unread_byte(w, i), bytes[offset + i]) << offset + i;
            io::consume(w, need);
            offset += static_cast<size_t>(need);
        }
        EXPECT_EQ(w.consumed_total, 70001);
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_FAILED);
    });
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(Io);

// Window states that name bytes outside the buffer or the source are refused before any read.
TEST(Window, RefusesStatesOutsideItsBufferOrSource) {
    SourceRecord file(SourceKind::kFile, counting(30000));
    fuzz::with_window(file.record(), [](DALTJ_ByteWindow &w) {
        ASSERT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_REFILLED);
        for (auto [pos, avail, need] : {std::array{0, -5, 1}, {-10, 5, 10}, {0, 100, -1}, {16000, 1000, 2000}, {16384, 1, 1}}) {
            DALTJ_ByteWindow state = w;
            state.pos = pos, state.avail = avail;
            EXPECT_EQ(DALTJ_CheckBuffer(&state, need), DALTJ_WINDOW_FAILED) << pos << " " << avail << " " << need;
        }
    });
    SourceRecord memory(SourceKind::kMemory, counting(100));
    fuzz::with_window(memory.record(), [&](DALTJ_ByteWindow &w) {
        ASSERT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_REFILLED);
        io::consume(w, 50);
        KOVRADALT_Seek_IO(memory->io, 0, SEEK_SET);  // behind the view: a top-up would pass the end
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 60), DALTJ_WINDOW_FAILED);
        w.data -= 1;
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 10), DALTJ_WINDOW_FAILED);
    });
}

TEST(Sources, OpeningRefusalsSetTheErrorWord) {
    uint8_t byte = 0;
    const struct { int32_t kind; void *source; int32_t size, error; } rows[] = {
        {3, &byte, 1, KOVRADALT_ERR_SOURCE_KIND}, {-1, &byte, 1, KOVRADALT_ERR_SOURCE_KIND},
        {IO_KIND_MEMORY, &byte, 0, KOVRADALT_ERR_EMPTY_MEMORY}, {IO_KIND_OWNED_MEMORY, &byte, 0, KOVRADALT_ERR_EMPTY_MEMORY},
        {IO_KIND_FILE, nullptr, 0, KOVRADALT_ERR_CANNOT_OPEN},  {IO_KIND_PATH, const_cast<char *>("/"), 0, KOVRADALT_ERR_CANNOT_OPEN},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(KOVRADALT_Open_IO(row.kind, row.source, row.size), nullptr) << row.kind;
        EXPECT_EQ(gKOVRADALT_Error, row.error) << row.kind;
    }
    AllocationFailure fail(0);
    EXPECT_EQ(KOVRADALT_Open_IO(IO_KIND_MEMORY, &byte, 1), nullptr);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
}

// Without rewind, absolute seeks fail, or answer 0 and stay when a skip exists; without skip, only
// the seeks that must skip fail, before any callback runs.
TEST(Sources, StreamsWithoutRewindOrSkip) {
    MemoryStream stream{counting(100)};
    KOVRADALT_IO *io = KOVRADALT_Open_Stream(&stream, MemoryStream::read, nullptr, MemoryStream::rewind, 100);
    uint8_t out[10];
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 10), 10);
    for (auto [offset, whence] : {std::pair{4, SEEK_SET}, {4, SEEK_CUR}, {-50, SEEK_END}}) {
        EXPECT_EQ(KOVRADALT_Seek_IO(io, offset, whence), -1);
        EXPECT_EQ(stream.cursor + io->position, 20u);
    }
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -90, SEEK_END), 10);
    io->rewind_fn = nullptr, io->skip_fn = MemoryStream::skip;
    EXPECT_EQ(KOVRADALT_Seek_IO(io, 5, SEEK_SET), 0);
    EXPECT_EQ(io->position, 10);
    KOVRADALT_Close_IO(io);
}

// Before the start a memory source reads zeros; Read_IO2 points into the memory, and leaves the
// caller's pointer alone when it reads nothing.
TEST(Sources, MemoryReadsStayInsideTheirBytes) {
    auto bytes = counting(10);
    KOVRADALT_IO *io = KOVRADALT_Open_IO(IO_KIND_MEMORY, bytes.data(), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -4, SEEK_CUR), -4);
    uint8_t out[6], *view = nullptr;
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 6), 6);
    EXPECT_EQ(std::memcmp(out, "\0\0\0\0\1\2", 6), 0);
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 4);
    EXPECT_EQ(view, bytes.data() + 2);
    KOVRADALT_Seek_IO(io, 0, SEEK_END);
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 0);
    EXPECT_EQ(view, bytes.data() + 2);
    KOVRADALT_Close_IO(io);
}

}  // namespace
}  // namespace kovra::test

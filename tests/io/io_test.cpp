// Input sources and the byte window over every source kind, refusals of unusable sources and
// window states; the platform services below them (file checks, the aligned allocator, threads,
// the integer helpers' sign rules).

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
        {0, 4, SEEK_SET, {4, 4, 4}},     {4, 3, SEEK_CUR, {7, 7, 7}},   {4, 100, SEEK_SET, {40, 100, 100}},
        {4, 50, SEEK_CUR, {40, 54, 54}}, {9, -1, SEEK_SET, {-1, -1, 9}}, {9, 1, SEEK_END, {-1, -1, 41}},
        {9, -3, SEEK_END, {37, 37, 37}}, {9, 0, 9, {9, 9, 9}},          {9, INT32_MIN, SEEK_CUR, {INT32_MIN + 9, INT32_MIN + 9, 9}},
    };
    SourceRecord src(kind, counting(40));
    KOVRADALT_IO *io = src->io;
    for (const auto &row : rows) {
        ASSERT_EQ(KOVRADALT_Seek_IO(io, row.from, SEEK_SET), row.from);
        const int32_t result = KOVRADALT_Seek_IO(io, row.offset, row.whence), next = result == -1 ? row.from : result;
        EXPECT_EQ(result, row.result[column]) << row.from << " " << row.offset << " " << row.whence;
        uint8_t byte = 0;
        if (next < 0) continue;
        EXPECT_EQ(KOVRADALT_Read_IO(io, &byte, 1), next < 40 ? 1 : 0);
        EXPECT_EQ(byte, next < 40 ? next + 1 : 0);
    }
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
        io::consume(w, KOVRADALT_WINDOW_CAPACITY - 100);
        const int32_t position = src->io->position;
        EXPECT_EQ(DALTJ_CheckBuffer(&w, KOVRADALT_WINDOW_CAPACITY - 99), DALTJ_WINDOW_FAILED);
        EXPECT_EQ(src->io->position, position);
        for (size_t offset = 2 * (KOVRADALT_WINDOW_CAPACITY - 100); offset < bytes.size();) {
            const auto need = static_cast<int32_t>(std::min<size_t>(1 + rng() % 300, bytes.size() - offset));
            ASSERT_NE(DALTJ_CheckBuffer(&w, need), DALTJ_WINDOW_FAILED) << offset;
            for (int32_t i = 0; i < need; ++i) ASSERT_EQ(io::unread_byte(w, i), bytes[offset++]) << offset;
            io::consume(w, need);
        }
        EXPECT_EQ(w.consumed_total, 70001);
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_FAILED);
    });
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(Io);

// States naming bytes outside the buffer or the source are refused before any read.
TEST(Window, RefusesStatesOutsideItsBufferOrSource) {
    SourceRecord file(SourceKind::kFile, counting(30000)), memory(SourceKind::kMemory, counting(100));
    fuzz::with_window(file.record(), [](DALTJ_ByteWindow &w) {
        ASSERT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_REFILLED);
        for (auto [pos, avail, need] : {std::array{0, -5, 1}, {-10, 5, 10}, {0, 100, -1}, {16000, 1000, 2000}, {16384, 1, 1}}) {
            DALTJ_ByteWindow state = w;
            state.pos = pos, state.avail = avail;
            EXPECT_EQ(DALTJ_CheckBuffer(&state, need), DALTJ_WINDOW_FAILED) << pos << " " << avail << " " << need;
        }
    });
    fuzz::with_window(memory.record(), [&](DALTJ_ByteWindow &w) {
        ASSERT_EQ(DALTJ_CheckBuffer(&w, 1), DALTJ_WINDOW_REFILLED);
        io::consume(w, 50);
        KOVRADALT_Seek_IO(memory->io, 0, SEEK_SET);  // behind the view: a top-up would pass the end
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 60), DALTJ_WINDOW_FAILED);
        w.data -= 1;
        EXPECT_EQ(DALTJ_CheckBuffer(&w, 10), DALTJ_WINDOW_FAILED);
    });
}

// Opening refusals set the error word. Without rewind a stream refuses absolute seeks, or
// answers 0 and stays when it can skip; without skip only the seeks that must skip fail. A memory
// source reads zeros before its start; Read_IO2 points into the memory, and leaves the caller's
// pointer alone when it reads nothing.
TEST(Sources, RefusalsAndEdges) {
    uint8_t byte = 0, out[6], *view = nullptr;
    for (auto [kind, size, error] : {std::array<int32_t, 3>{3, 1, KOVRADALT_ERR_SOURCE_KIND}, {IO_KIND_OWNED_MEMORY, 0, KOVRADALT_ERR_EMPTY_MEMORY},
                                     {IO_KIND_FILE, 0, KOVRADALT_ERR_CANNOT_OPEN}, {IO_KIND_PATH, 0, KOVRADALT_ERR_CANNOT_OPEN}}) {
        EXPECT_EQ(KOVRADALT_Open_IO(kind, kind == IO_KIND_FILE ? nullptr : kind == IO_KIND_PATH ? (void *)"/" : &byte, size), nullptr);
        EXPECT_EQ(gKOVRADALT_Error, error) << kind;
    }
    MemoryStream stream{counting(100)};
    KOVRADALT_IO *io = KOVRADALT_Open_Stream(&stream, MemoryStream::read, nullptr, MemoryStream::rewind, 100);
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 6), 6);
    for (auto [offset, whence] : {std::pair{4, SEEK_SET}, {4, SEEK_CUR}, {-50, SEEK_END}}) EXPECT_EQ(KOVRADALT_Seek_IO(io, offset, whence), -1);
    EXPECT_EQ(stream.cursor + io->position, 12u);
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -94, SEEK_END), 6);
    io->rewind_fn = nullptr, io->skip_fn = MemoryStream::skip;
    EXPECT_EQ(KOVRADALT_Seek_IO(io, 5, SEEK_SET), 0);
    EXPECT_EQ(io->position, 6);
    KOVRADALT_Close_IO(io);
    io = KOVRADALT_Open_IO(IO_KIND_MEMORY, stream.bytes.data(), 10);
    EXPECT_EQ(KOVRADALT_Seek_IO(io, -4, SEEK_CUR), -4);
    EXPECT_EQ(KOVRADALT_Read_IO(io, out, 6), 6);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 6), (std::vector<uint8_t>{0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 4);
    EXPECT_EQ(view, stream.bytes.data() + 2);
    KOVRADALT_Seek_IO(io, 0, SEEK_END);
    EXPECT_EQ(KOVRADALT_Read_IO2(io, &view, 4), 0);
    EXPECT_EQ(view, stream.bytes.data() + 2);
    KOVRADALT_Close_IO(io);
}

TEST(Os, FilesRefuseDirectoriesNullsAndEmptyWrites) {
    EXPECT_EQ(KOVRADALT_OpenFile("/"), KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_OsFopen("/", "rb"), nullptr);
    EXPECT_EQ(KOVRADALT_CloseFile(nullptr), -1);
    FILE *file = KOVRADALT_OsFopen("/dev/null", "wb");
    const char byte = 'x';
    for (auto [data, size, count, out] : {std::tuple{&byte, 0u, 1u, file}, {&byte, 1u, 0u, file}, {nullptr, 1u, 1u, file}, {&byte, 1u, 1u, nullptr}})
        EXPECT_EQ(KOVRADALT_OsFwrite(data, size, count, out), -1) << size << count;
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, file), 1);
    EXPECT_EQ(KOVRADALT_OsFclose(file), 0);
}

TEST(Os, AllocatorThreadsAndIntegerHelpers) {
    for (uint32_t size : {0u, 1u, 17u, 1000u}) {
        void *block = DALT_FakeMalloc(0, size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u) << size;
        std::memset(block, 0xCD, size);  // ASan checks the block holds `size` bytes
        DALT_FakeFree(block);
    }
    EXPECT_EQ(DALT_FakeMalloc(0, UINT32_MAX - 10), nullptr);
    int value = 0;
    pthread_t thread{};
    ASSERT_EQ(KOVRADALT_OsThreadCreate([](void *v) -> void * { return *static_cast<int *>(v) = 42, v; }, &value, &thread), 1);
    EXPECT_EQ(KOVRADALT_OsThreadWait(thread, nullptr), 0);
    EXPECT_EQ(value, 42);
    // GCD keeps the operands' signs, DALTJ_GetGCD is its magnitude; INT32_MIN % -1 does not trap.
    for (auto [a, b, gcd, magnitude, lcm] : {std::array{-12, 0, -12, 12, 0}, {-12, 18, 6, 6, -36}, {12, -18, -6, 6, 36},
                                            {4, 6, 2, 2, 12}, {0, 0, 0, 0, 0}, {INT32_MIN, -1, -1, 1, INT32_MIN}}) {
        EXPECT_EQ(GCD(a, b), gcd) << a << " " << b;
        EXPECT_EQ(DALTJ_GetGCD(a, b), magnitude) << a << " " << b;
        EXPECT_EQ(LCM(a, b), lcm) << a << " " << b;
    }
    EXPECT_EQ(round_up_pow2(17, 16) + round_up_pow2(32, 16), 64u);
}

}  // namespace
}  // namespace kovra::test

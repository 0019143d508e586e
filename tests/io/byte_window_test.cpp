// The byte window: its documented corner cases, and a walk through a large image in uneven
// steps that checks every byte the window hands out against the source, for each source kind.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_io.h"
#include "kovra_os.h"
#include "support/sources.h"

namespace {
using kovra::test::SourceKind;
using kovra::test::SourceRecord;

// A window set up the way every parser does it, released on destruction.
class Window {
public:
    explicit Window(KOVRADALT_IO *io) : io_(io), buffer_(DALTJ_AllocateStreamBuffer(io)) {
        w = kovra::io::make_window(io, buffer_);
        KOVRADALT_Seek_IO(io, 0, SEEK_SET);
    }
    ~Window() { DALTJ_ReleaseStreamBuffer(io_, buffer_); }
    DALTJ_ByteWindow w;

private:
    KOVRADALT_IO *io_;
    uint8_t *buffer_;
};

std::vector<uint8_t> pseudo_random_bytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> bytes(n);
    for (auto &b : bytes) b = static_cast<uint8_t>(rng());
    return bytes;
}

TEST(ByteWindow, FirstFillOfAShortMemorySourceViewsItInPlace) {
    std::vector<uint8_t> bytes = {1, 2, 3, 4, 5};
    SourceRecord src(SourceKind::kMemory, bytes);
    Window win(src->io);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 8), DALTJ_WINDOW_REFILLED);
    EXPECT_EQ(win.w.avail, 5);
    EXPECT_EQ(win.w.pos, 0);
    EXPECT_EQ(win.w.consumed_total, 5);
    EXPECT_EQ(win.w.data, static_cast<uint8_t *>(src->io->source));
    // Bytes past the source's end read as 0 through the bounded accessors.
    EXPECT_EQ(kovra::io::window_byte(win.w, 4), 5);
    EXPECT_EQ(kovra::io::window_byte(win.w, 7), 0);
}

TEST(ByteWindow, EnoughBytesChangeNothing) {
    SourceRecord src(SourceKind::kPath, pseudo_random_bytes(100, 1));
    Window win(src->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 10), DALTJ_WINDOW_REFILLED);
    kovra::io::consume(win.w, 3);
    DALTJ_ByteWindow before = win.w;
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 97), DALTJ_WINDOW_ENOUGH);
    EXPECT_EQ(0, std::memcmp(&before, &win.w, sizeof before));
}

TEST(ByteWindow, AskingPastAShortSourceWithNothingConsumedFails) {
    SourceRecord src(SourceKind::kStream, pseudo_random_bytes(20, 2));
    Window win(src->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 8), DALTJ_WINDOW_REFILLED);
    EXPECT_EQ(win.w.avail, 20);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 21), DALTJ_WINDOW_FAILED);  // asks the source for 0 bytes
}

TEST(ByteWindow, NeedBeyondCapacityFailsWithoutReading) {
    SourceRecord src(SourceKind::kMemory, pseudo_random_bytes(40000, 3));
    Window win(src->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    kovra::io::consume(win.w, 100);
    const int32_t position = src->io->position;
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, KOVRADALT_WINDOW_CAPACITY), DALTJ_WINDOW_FAILED);
    EXPECT_EQ(src->io->position, position);
}

TEST(ByteWindow, EmptySourceAndNullMemoryFail) {
    SourceRecord src(SourceKind::kStream, {});
    Window win(src->io);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_FAILED);
    EXPECT_EQ(std::count(win.w.data, win.w.data + KOVRADALT_WINDOW_CAPACITY, 0), KOVRADALT_WINDOW_CAPACITY);
    DALTJ_ByteWindow no_memory = kovra::io::make_window(src->io, nullptr);
    EXPECT_EQ(DALTJ_CheckBuffer(&no_memory, 1), DALTJ_WINDOW_FAILED);
}

TEST(ByteWindow, RefillTopsUpOnlyWhatWasConsumed) {
    SourceRecord src(SourceKind::kFile, pseudo_random_bytes(50000, 4));
    Window win(src->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    EXPECT_EQ(win.w.avail, KOVRADALT_WINDOW_CAPACITY);
    kovra::io::consume(win.w, 16000);
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 16000), DALTJ_WINDOW_REFILLED);  // fills the window exactly
    EXPECT_EQ(win.w.avail, KOVRADALT_WINDOW_CAPACITY);
    EXPECT_EQ(win.w.consumed_total, KOVRADALT_WINDOW_CAPACITY + 16000);
}

// A window's fields are the caller's to corrupt: states that name bytes outside the buffer or the
// source are refused before anything is read or moved.
TEST(ByteWindow, RefusesStatesOutsideItsBufferOrSource) {
    SourceRecord file(SourceKind::kFile, pseudo_random_bytes(30000, 7));
    Window win(file->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    const DALTJ_ByteWindow filled = win.w;
    const struct { int32_t pos, avail, need; } bad[] = {
        {0, -5, 1}, {-10, 5, 10}, {0, 100, -1}, {16000, 1000, 1}, {16000, 1000, 2000}, {16384, 1, 1}};
    for (const auto &state : bad) {
        win.w = filled;
        win.w.pos = state.pos;
        win.w.avail = state.avail;
        EXPECT_EQ(DALTJ_CheckBuffer(&win.w, state.need), DALTJ_WINDOW_FAILED)
            << state.pos << " " << state.avail << " " << state.need;
    }
    win.w = filled;
    win.w.data = nullptr;
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_FAILED);

    // A memory source seeked back behind its window would stretch the view past its end.
    SourceRecord memory(SourceKind::kMemory, pseudo_random_bytes(100, 8));
    Window view(memory->io);
    ASSERT_EQ(DALTJ_CheckBuffer(&view.w, 1), DALTJ_WINDOW_REFILLED);
    kovra::io::consume(view.w, 50);
    KOVRADALT_Seek_IO(memory->io, 0, SEEK_SET);
    EXPECT_EQ(DALTJ_CheckBuffer(&view.w, 60), DALTJ_WINDOW_FAILED);
    view.w.data -= 1;  // a view starting before the source
    EXPECT_EQ(DALTJ_CheckBuffer(&view.w, 10), DALTJ_WINDOW_FAILED);
}

// The running total of a source of unknown length passes 2 GiB by wrapping, as on the target.
TEST(ByteWindow, RunningTotalWrapsPastTwoGigabytes) {
    SourceRecord src(SourceKind::kStream, pseudo_random_bytes(100, 9));
    Window win(src->io);
    win.w.consumed_total = INT32_MAX - 10;
    ASSERT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_REFILLED);
    EXPECT_EQ(win.w.consumed_total, INT32_MIN + 89);
}

using WindowWalk = kovra::test::SourceKindTest;

// Consume a large image in uneven steps, asking for up to 300 bytes at a time (never more than
// remain: a request past the end fails by design); every byte must match the source, and the
// walk must account for every byte of it.
TEST_P(WindowWalk, HandsOutEveryByteInOrder) {
    const auto bytes = pseudo_random_bytes(70001, 5);
    SourceRecord src(GetParam(), bytes);
    ASSERT_NE(src.record(), nullptr);
    Window win(src->io);
    std::mt19937 rng(6);
    size_t offset = 0;
    while (offset < bytes.size()) {
        int32_t need = static_cast<int32_t>(std::min<size_t>(1 + rng() % 300, bytes.size() - offset));
        int32_t result = DALTJ_CheckBuffer(&win.w, need);
        ASSERT_NE(result, DALTJ_WINDOW_FAILED) << "at " << offset;
        ASSERT_GE(win.w.avail, need) << "at " << offset;
        int32_t take = need;
        for (int32_t i = 0; i < take; ++i) {
            ASSERT_EQ(kovra::io::unread_byte(win.w, i), bytes[offset + i]) << "at " << offset + i;
        }
        kovra::io::consume(win.w, take);
        offset += take;
    }
    EXPECT_EQ(offset, bytes.size());
    EXPECT_EQ(win.w.consumed_total, static_cast<int32_t>(bytes.size()));
    EXPECT_EQ(DALTJ_CheckBuffer(&win.w, 1), DALTJ_WINDOW_FAILED);
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(WindowWalk);

}  // namespace

// The TIFF-file reader: header checks, tag 513 in IFD0 and in the first sub-IFD of a SubIFDs
// entry, nested sub-IFDs, and sub-IFDs that loop back (the descent is bounded by the data), through
// every source kind.

#include <gtest/gtest.h>

#include "exif_support.h"

namespace kovra::test {
namespace {

constexpr uint16_t kSubIfds = 330, kJpegOffset = 513;

struct TiffResult {
    int32_t result;
    uint32_t jpeg_offset;
};

TiffResult tiff_of(SourceKind kind, const Bytes &file) {
    SourceRecord source(kind, file);
    if (source.record() == nullptr) return {-1, 0};
    DALTJ_TiffInfo info{};
    const int32_t result = read_tiff(source.record(), &info);
    return {result, info.jpeg_offset};
}

using TiffReaderEverySource = SourceKindTest;

TEST_P(TiffReaderEverySource, HeaderAndLengthChecks) {
    TiffBuilder t(true);
    t.set_ifd0(t.add_ifd({t.long_entry(kJpegOffset, 1234)}));
    EXPECT_EQ(tiff_of(GetParam(), t.bytes()).result, 1);
    EXPECT_EQ(tiff_of(GetParam(), t.bytes()).jpeg_offset, 1234u);
    Bytes mixed = t.bytes();
    mixed[1] = 'M';
    EXPECT_EQ(tiff_of(GetParam(), mixed).result, 0);
    Bytes big_tiff = t.bytes();
    big_tiff[2] = 43;
    EXPECT_EQ(tiff_of(GetParam(), big_tiff).result, 0);
    Bytes beyond = t.bytes();
    beyond[4] = static_cast<uint8_t>(beyond.size());
    EXPECT_EQ(tiff_of(GetParam(), beyond).result, 0);
    EXPECT_EQ(tiff_of(GetParam(), Bytes(t.bytes().begin(), t.bytes().begin() + 7)).result, 0);
}

TEST(TiffReader, EmptyWindowAnswers201) {
    // A stream that claims 64 bytes and delivers none.
    MemoryStream empty;
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfoWithStream(&empty, 64, MemoryStream::read, MemoryStream::skip,
                                                               MemoryStream::rewind, 0, 0);
    ASSERT_NE(dec, nullptr);
    DALTJ_TiffInfo info{};
    EXPECT_EQ(read_tiff(dec, &info), 201);
    KOVRADALT_DestroyDecInfo(dec);
}

// IFD0 -> SubIFDs (two sub-IFDs listed) -> the first holds tag 513, the second is never visited.
Bytes tiff_with_sub_ifds(bool little) {
    TiffBuilder t(little);
    const uint32_t first = t.add_ifd({t.short_entry(254, 1), t.long_entry(kJpegOffset, 4444)});
    const uint32_t second = t.add_ifd({t.long_entry(kJpegOffset, 5555)});
    const uint32_t list = t.add_bytes({});
    t.put32(list, first);
    t.put32(list + 4, second);
    t.set_ifd0(t.add_ifd({t.long_entry(kJpegOffset, 1111), t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list)}));
    return t.bytes();
}

TEST_P(TiffReaderEverySource, FirstSubIfdIsWalkedAfterIfd0sOwnEntries) {
    for (bool little : {true, false}) {
        const TiffResult r = tiff_of(GetParam(), tiff_with_sub_ifds(little));
        EXPECT_EQ(r.result, 1);
        EXPECT_EQ(r.jpeg_offset, 4444u);
    }
}

TEST(TiffReader, EntriesAfterTheSubIfdsEntryStillCount) {
    TiffBuilder t(false);
    const uint32_t sub = t.add_ifd({t.long_entry(kJpegOffset, 4444)});
    const uint32_t list = t.add_bytes({});
    t.put32(list, sub);
    t.put32(list + 4, 0);
    t.set_ifd0(t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list), t.long_entry(kJpegOffset, 7777)}));
    EXPECT_EQ(tiff_of(SourceKind::kMemory, t.bytes()).jpeg_offset, 7777u);
}

// A chain of `depth` sub-IFDs, each leading to the next; the deepest holds tag 513.
Bytes nested_sub_ifds(int depth) {
    TiffBuilder t(true);
    uint32_t inner = t.add_ifd({t.long_entry(kJpegOffset, 9000 + static_cast<uint32_t>(depth))});
    for (int level = 1; level < depth; ++level) {
        const uint32_t list = t.add_bytes({0, 0, 0, 0, 0, 0, 0, 0});
        t.put32(list, inner);
        inner = t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list)});
    }
    const uint32_t list = t.add_bytes({0, 0, 0, 0, 0, 0, 0, 0});
    t.put32(list, inner);
    t.set_ifd0(t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list)}));
    return t.bytes();
}

TEST_P(TiffReaderEverySource, NestedSubIfdsAreFollowedToTheBottom) {
    for (int depth : {1, 2, 9, 40}) {
        const TiffResult r = tiff_of(GetParam(), nested_sub_ifds(depth));
        EXPECT_EQ(r.result, 1);
        EXPECT_EQ(r.jpeg_offset, 9000u + static_cast<uint32_t>(depth)) << "depth " << depth;
    }
}

// Sub-IFD A lists itself (or B, which lists A). The walk must end, whatever the file's size.
Bytes looping_sub_ifds(bool through_second, uint32_t padding) {
    TiffBuilder t(true);
    const uint32_t list_a = t.add_bytes({0, 0, 0, 0, 0, 0, 0, 0});
    const uint32_t list_b = t.add_bytes({0, 0, 0, 0, 0, 0, 0, 0});
    const uint32_t a = t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list_a), t.long_entry(kJpegOffset, 1)});
    const uint32_t b = t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list_b), t.long_entry(kJpegOffset, 2)});
    t.put32(list_a, through_second ? b : a);
    t.put32(list_b, a);
    t.set_ifd0(t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list_a)}));
    t.pad_to(t.size() + padding);
    return t.bytes();
}

TEST_P(TiffReaderEverySource, LoopingSubIfdsEndWithinTheDataBudget) {
    for (bool through_second : {false, true}) {
        const TiffResult r = tiff_of(GetParam(), looping_sub_ifds(through_second, 0));
        EXPECT_EQ(r.result, 1);
        EXPECT_EQ(r.jpeg_offset, 0u);  // the budget runs out before any 513 entry is reached
    }
}

TEST(TiffReader, LoopInALargeFileStaysBounded) {
    // 4 MiB of padding: the budget is length / 12 entries, so the descent is ~350,000 levels
    // deep, kept on the heap, each level one SubIFDs entry. It must end.
    EXPECT_EQ(tiff_of(SourceKind::kMemory, looping_sub_ifds(true, 4u << 20)).result, 1);
}

// DALTJ_ReadTiffIFDInfo called directly, through a filled window over memory holding `bytes`.
TiffResult walk_ifd_at(const Bytes &bytes, uint32_t offset, uint32_t length) {
    SourceRecord source(SourceKind::kMemory, bytes);
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(source->io);
    DALTJ_ByteWindow window{source->io, 0, source->io->size, 0, 0, buffer};
    DALTJ_TiffInfo info{};
    const uint32_t next = DALTJ_CheckBuffer(&window, 2) == 1
                              ? DALTJ_ReadTiffIFDInfo(&info, &window, offset, length, 1, 0)
                              : 0xDEAD;
    DALTJ_ReleaseStreamBuffer(source->io, buffer);
    return {static_cast<int32_t>(next), info.jpeg_offset};
}

TEST(TiffReader, DirectIfdWalkReturnsTheNextOffsetOrZeroOnAFailedSeek) {
    TiffBuilder t(true);
    const uint32_t ifd = t.add_ifd({t.long_entry(kJpegOffset, 3)}, 0x1234);
    EXPECT_EQ(walk_ifd_at(t.bytes(), ifd, t.size()).result, 0x1234);
    EXPECT_EQ(walk_ifd_at(t.bytes(), ifd, t.size()).jpeg_offset, 3u);
    EXPECT_EQ(walk_ifd_at(t.bytes(), ifd, ifd + 2 + 12 + 3).result, 0);  // next offset does not fit

    // A SubIFDs entry whose value is a negative position: the seek fails and the IFD ends with 0.
    TiffBuilder bad(true);
    const uint32_t bad_ifd = bad.add_ifd({bad.long_entry(kSubIfds, 0x80000000u), bad.long_entry(kJpegOffset, 5)}, 0x1234);
    EXPECT_EQ(walk_ifd_at(bad.bytes(), bad_ifd, bad.size()).result, 0);
    EXPECT_EQ(walk_ifd_at(bad.bytes(), bad_ifd, bad.size()).jpeg_offset, 0u);
}

TEST(TiffReader, DirectWalkOfTheIfdAtTheStartOfTheWindow) {
    // Offset 0: the IFD is the window's first bytes, here one entry and next-IFD offset 0x1234.
    const auto ifd_at_start = [](uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
        TiffBuilder t(true);
        t.put16(0, 1);
        t.put16(2, tag);
        t.put16(4, type);
        t.put32(6, count);
        t.put32(10, value);
        t.put32(14, 0x1234);
        t.pad_to(32);
        return t.bytes();
    };
    const Bytes plain = ifd_at_start(kJpegOffset, DALTJ_TIFF_LONG, 1, 5);
    EXPECT_EQ(walk_ifd_at(plain, 0, 32).result, 0x1234);
    EXPECT_EQ(walk_ifd_at(plain, 0, 32).jpeg_offset, 5u);
    EXPECT_EQ(walk_ifd_at(plain, 0, 13).result, 0);  // its entry does not fit in the length
    // Its SubIFDs entry lists offset 0 (the 4 bytes at 20 are zero): the IFD itself, endlessly.
    EXPECT_EQ(walk_ifd_at(ifd_at_start(kSubIfds, DALTJ_TIFF_LONG, 2, 20), 0, 32).result, 0);
}

TEST_P(TiffReaderEverySource, AWindowIfdReadsNothingPastTheSource) {
    // The sub-IFD is the file's last bytes and claims 9 entries: 8 of them lie past the source,
    // though within the length, and read as zeros on every kind.
    TiffBuilder t(true);
    t.pad_to(200);
    const uint32_t list = t.add_bytes(Bytes(8, 0));
    t.set_ifd0(t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list)}));
    const uint32_t sub = t.add_ifd({t.long_entry(kJpegOffset, 77)});
    t.put32(list, sub);
    t.put16(sub, 9);
    ASSERT_LE(2 + 12 * 9, t.size());
    EXPECT_EQ(tiff_of(GetParam(), t.bytes()).jpeg_offset, 77u);
}

TEST_P(TiffReaderEverySource, Ifd0BeyondTheWindowBufferIsReadFromMemorySources) {
    // IFD0 past the first 16384 bytes. A memory window is a view of the whole source, so IFD0's
    // entry count and entries are read there; a file or stream window holds only the 16384 bytes
    // of its buffer, so the count reads as 0 and IFD0 is empty.
    TiffBuilder t(true);
    t.pad_to(20000);
    t.set_ifd0(t.add_ifd({t.long_entry(kJpegOffset, 42)}));
    const TiffResult r = tiff_of(GetParam(), t.bytes());
    const bool memory = GetParam() == SourceKind::kMemory || GetParam() == SourceKind::kOwnedMemory;
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.jpeg_offset, memory ? 42u : 0u);
}

TEST_P(TiffReaderEverySource, AfterADescentTheParentReadsTheReloadedWindow) {
    // IFD0 -> sub-IFD A -> sub-IFD B. A is the IFD at the start of the window, and the descent
    // into B reloads the window with B's bytes: A's remaining entries are read from there, for
    // every source kind. A's third entry (513 = 1111) is thus never seen; the entry 26 bytes after
    // B's start stands in for it.
    TiffBuilder t(true);
    const uint32_t b = t.add_ifd({t.long_entry(kJpegOffset, 2222)});
    t.add_bytes(Bytes(8, 0));
    const uint32_t stand_in = t.add_bytes(Bytes(12, 0));
    ASSERT_EQ(stand_in, b + 26);
    t.put16(stand_in, kJpegOffset);
    t.put16(stand_in + 2, DALTJ_TIFF_LONG);
    t.put32(stand_in + 4, 1);
    t.put32(stand_in + 8, 3333);
    const uint32_t list_b = t.add_bytes(Bytes(8, 0));
    t.put32(list_b, b);
    const uint32_t a = t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list_b), t.short_entry(254, 1),
                                  t.long_entry(kJpegOffset, 1111)});
    const uint32_t list_a = t.add_bytes(Bytes(8, 0));
    t.put32(list_a, a);
    t.set_ifd0(t.add_ifd({t.offset_entry(kSubIfds, DALTJ_TIFF_LONG, 2, list_a)}));
    EXPECT_EQ(tiff_of(GetParam(), t.bytes()).jpeg_offset, 3333u);
}

TEST(TiffReader, AllocationFailuresDoNotLeak) {
    const Bytes file = nested_sub_ifds(20);
    for (long allowed = 0; allowed < 6; ++allowed) {
        SourceRecord source(SourceKind::kStream, file);
        DALTJ_TiffInfo info{};
        AllocationFailure failure(allowed);
        read_tiff(source.record(), &info);
    }
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(TiffReaderEverySource);

}  // namespace
}  // namespace kovra::test

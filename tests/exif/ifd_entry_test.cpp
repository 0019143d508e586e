// TIFF structure: entry decoding (types, units, inline versus offset values, unsigned bounds),
// the header check, and the IFD walking rule, seen through the exported readers.

#include <gtest/gtest.h>

#include <cstring>

#include "exif_support.h"

namespace kovra::test {
namespace {

// One entry at offset 8 of a little- or big-endian buffer of `length` bytes.
struct EntryBuffer {
    TiffBuilder tiff;
    EntryBuffer(bool little, uint16_t tag, uint16_t type, uint32_t count, uint32_t value_word, uint32_t length)
        : tiff(little) {
        tiff.put16(8, tag);
        tiff.put16(10, type);
        tiff.put32(12, count);
        tiff.put32(16, value_word);
        tiff.pad_to(length);
    }
    int32_t decode(DALTJ_ExifField *field, bool little) const {
        return DALTJ_ReadExifField(tiff.bytes().data(), 8, tiff.size(), little ? 1 : 0, field);
    }
};

int32_t decode(bool little, uint16_t type, uint32_t count, uint32_t value_word, uint32_t length,
               DALTJ_ExifField *field) {
    return EntryBuffer(little, 0x0110, type, count, value_word, length).decode(field, little);
}

TEST(ExifField, WordZeroHoldsTagLowAndTypeHigh) {
    DALTJ_ExifField field{};
    ASSERT_EQ(decode(true, DALTJ_TIFF_LONG, 1, 7, 64, &field), 1);
    uint32_t word0;
    std::memcpy(&word0, &field, 4);
    EXPECT_EQ(word0, (uint32_t{DALTJ_TIFF_LONG} << 16) | 0x0110);
    EXPECT_EQ(field.count, 1u);
    EXPECT_EQ(field.size, 4u);
    EXPECT_EQ(field.value, 7u);
}

TEST(ExifField, UnknownTypesAreRefused) {
    DALTJ_ExifField field{};
    for (bool little : {true, false}) {
        EXPECT_EQ(decode(little, 0, 1, 0, 64, &field), 0);
        EXPECT_EQ(decode(little, 13, 1, 0, 64, &field), 0);
        EXPECT_EQ(decode(little, 0xFFFF, 1, 0, 64, &field), 0);
    }
}

TEST(ExifField, OneByteUnitsAreInlineBelowFive) {
    for (uint16_t type : {DALTJ_TIFF_BYTE, DALTJ_TIFF_ASCII, DALTJ_TIFF_SBYTE, DALTJ_TIFF_UNDEFINED}) {
        DALTJ_ExifField field{};
        // Count 4: the value bytes are the entry's own, at entry offset + 8, whatever the word says.
        ASSERT_EQ(decode(true, type, 4, 0xFFFFFFF0u, 32, &field), 1);
        EXPECT_EQ(field.value, 16u);
        EXPECT_EQ(field.size, 4u);
        // Count 5: the stored offset, accepted only while offset + 5 fits.
        ASSERT_EQ(decode(true, type, 5, 27, 32, &field), 1);
        EXPECT_EQ(field.value, 27u);
        EXPECT_EQ(decode(true, type, 5, 28, 32, &field), 0);
    }
}

TEST(ExifField, TwoInlineShortsAreRefused) {
    for (uint16_t type : {DALTJ_TIFF_SHORT, DALTJ_TIFF_SSHORT}) {
        DALTJ_ExifField field{};
        EXPECT_EQ(decode(true, type, 2, 0x00030004, 64, &field), 0);
        EXPECT_EQ(decode(false, type, 2, 0x00030004, 64, &field), 0);
    }
}

TEST(ExifField, OneShortIsTheValueInEitherByteOrder) {
    DALTJ_ExifField field{};
    // The short sits in the first two value bytes: low word little-endian, high word big-endian.
    ASSERT_EQ(decode(true, DALTJ_TIFF_SHORT, 1, 0xBEEF1234, 16, &field), 1);
    EXPECT_EQ(field.value, 0x1234u);
    ASSERT_EQ(decode(false, DALTJ_TIFF_SHORT, 1, 0x1234BEEF, 16, &field), 1);
    EXPECT_EQ(field.value, 0x1234u);
    EXPECT_EQ(field.size, 2u);
}

TEST(ExifField, ManyShortsAreAnOffsetWithinTheLength) {
    DALTJ_ExifField field{};
    ASSERT_EQ(decode(false, DALTJ_TIFF_SHORT, 3, 58, 64, &field), 1);
    EXPECT_EQ(field.value, 58u);
    EXPECT_EQ(field.size, 6u);
    EXPECT_EQ(decode(false, DALTJ_TIFF_SHORT, 3, 59, 64, &field), 0);
}

TEST(ExifField, OneFourByteValueIsTheValueEvenBeyondTheLength) {
    for (uint16_t type : {DALTJ_TIFF_LONG, DALTJ_TIFF_SLONG, DALTJ_TIFF_FLOAT}) {
        DALTJ_ExifField field{};
        ASSERT_EQ(decode(false, type, 1, 0xFFFFFFFFu, 24, &field), 1);
        EXPECT_EQ(field.value, 0xFFFFFFFFu);
        ASSERT_EQ(decode(true, type, 2, 16, 24, &field), 1);
        EXPECT_EQ(decode(true, type, 2, 17, 24, &field), 0);
    }
}

TEST(ExifField, EightByteUnitsAreAlwaysAnOffset) {
    for (uint16_t type : {DALTJ_TIFF_RATIONAL, DALTJ_TIFF_SRATIONAL, DALTJ_TIFF_DOUBLE}) {
        DALTJ_ExifField field{};
        ASSERT_EQ(decode(true, type, 1, 24, 32, &field), 1);
        EXPECT_EQ(field.size, 8u);
        EXPECT_EQ(decode(true, type, 1, 25, 32, &field), 0);
    }
}

TEST(ExifField, SizesAndSumsBeyond32BitsAreRefused) {
    DALTJ_ExifField field{};
    // count * 4 wraps to 4 and count * 8 to 8 in 32 bits: both would "fit" at offset 0.
    EXPECT_EQ(decode(true, DALTJ_TIFF_LONG, 0x40000001u, 0, 64, &field), 0);
    EXPECT_EQ(decode(true, DALTJ_TIFF_RATIONAL, 0x20000001u, 0, 64, &field), 0);
    // size + offset wraps to 16.
    EXPECT_EQ(decode(true, DALTJ_TIFF_ASCII, 0xFFFFFFF0u, 0x20, 64, &field), 0);
    EXPECT_EQ(decode(true, DALTJ_TIFF_UNDEFINED, 16, 0xFFFFFFF8u, 64, &field), 0);
}

// A minimal EXIF payload, "MM" or "II", whose IFD0 holds one Make entry.
Bytes tiff_with_make(bool little, uint32_t ifd0_at = 8) {
    TiffBuilder tiff(little, ifd0_at);
    tiff.pad_to(ifd0_at);
    const uint32_t ifd = tiff.add_ifd({tiff.inline_entry(271, DALTJ_TIFF_ASCII, 4, {'A', 'c', 'm', 0})});
    tiff.set_ifd0(ifd);
    return tiff.bytes();
}

TEST(TiffHeader, ByteOrderAndMagicAreChecked) {
    for (bool little : {true, false}) {
        Bytes tiff = tiff_with_make(little);
        ExifRecord good;
        EXPECT_EQ(DALTJ_ReadExifInfo(tiff.data(), 0, static_cast<uint32_t>(tiff.size()), &good.info), 1);
        ASSERT_NE(good->make, nullptr);
        EXPECT_STREQ(good->make, "Acm");

        Bytes mixed = tiff;
        mixed[0] = 'I';
        mixed[1] = 'M';
        ExifRecord refused;
        EXPECT_EQ(DALTJ_ReadExifInfo(mixed.data(), 0, static_cast<uint32_t>(mixed.size()), &refused.info), 0);

        Bytes magic = tiff;
        magic[little ? 2 : 3] = 43;
        EXPECT_EQ(DALTJ_ReadExifInfo(magic.data(), 0, static_cast<uint32_t>(magic.size()), &refused.info), 0);
        EXPECT_EQ(refused->make, nullptr);
        EXPECT_EQ(DALTJ_ReadExifInfo(tiff.data(), 0, 7, &refused.info), 0);
    }
}

TEST(TiffHeader, Ifd0OffsetMustLieBelowTheLength) {
    TiffBuilder tiff(false, 16);
    tiff.pad_to(16);
    ExifRecord record;
    EXPECT_EQ(DALTJ_ReadExifInfo(tiff.bytes().data(), 0, 16, &record.info), 0);
    // One byte more and the header passes; the IFD itself does not fit, which is not an error.
    tiff.pad_to(17);
    EXPECT_EQ(DALTJ_ReadExifInfo(tiff.bytes().data(), 0, 17, &record.info), 1);
}

TEST(IfdWalk, EntriesRunningPastTheLengthRefuseTheWholeIfd) {
    Bytes tiff = tiff_with_make(true);
    // The IFD claims two entries; only one (and its next offset) is there.
    tiff[8] = 2;
    ExifRecord record;
    EXPECT_EQ(DALTJ_ReadExifInfo(tiff.data(), 0, static_cast<uint32_t>(tiff.size()), &record.info), 1);
    EXPECT_EQ(record->make, nullptr);
    // With room for the second entry but not for the next-IFD offset, the entries are read.
    tiff.resize(8 + 2 + 24);
    EXPECT_EQ(DALTJ_ReadExifInfo(tiff.data(), 0, static_cast<uint32_t>(tiff.size()), &record.info), 1);
    ASSERT_NE(record->make, nullptr);
    EXPECT_STREQ(record->make, "Acm");
}

TEST(IfdWalk, NextOffsetIsZeroWhenItDoesNotFit) {
    // Each read gets a record of its own, which releases the Make it was given.
    const auto next_of = [](const Bytes &tiff, uint32_t offset, size_t length) {
        ExifRecord record;
        return DALTJ_Read0thIFDInfo(tiff.data(), offset, static_cast<uint32_t>(length), 0, &record.info);
    };
    const Bytes tiff = tiff_with_make(false);
    EXPECT_EQ(next_of(tiff, 8, tiff.size()), 0u);
    Bytes linked = tiff;
    linked[8 + 2 + 12 + 3] = 9;  // next IFD at 9
    EXPECT_EQ(next_of(linked, 8, linked.size()), 9u);
    EXPECT_EQ(next_of(linked, 8, linked.size() - 1), 0u);
    // An IFD offset at the very end, or one that wraps when 2 is added, is refused.
    EXPECT_EQ(next_of(linked, static_cast<uint32_t>(linked.size()) - 1, linked.size()), 0u);
    EXPECT_EQ(next_of(linked, 0xFFFFFFFFu, linked.size()), 0u);
}

}  // namespace
}  // namespace kovra::test

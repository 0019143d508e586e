// The EXIF reader on crafted data: every field of the record from a complete EXIF block in both
// byte orders and through every source kind, the reader's own rules (exact counts, two inline
// shorts, sub-IFDs that claim a successor, the thumbnail's compression and size), and the APP1
// search (XMP and other segments skipped, segments longer than the window, length lies).

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "exif_support.h"

namespace kovra::test {
namespace {

constexpr uint8_t kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kDqt = 0xDB;

// A thumbnail JPEG whose frame header says 160 x 120.
Bytes thumbnail_jpeg() { return small_jpeg(160, 120); }

// TIFF data holding every field the record knows: IFD0 with the EXIF and GPS pointers, and an
// IFD1 describing a JPEG thumbnail whose own frame header overrides the IFD's 80 x 60.
Bytes complete_exif(bool little) {
    TiffBuilder t(little);
    const uint32_t make = t.add_string("Kamera");
    const uint32_t model = t.add_string("K-1 Mark II");
    const uint32_t software = t.add_string("firmware 1.02");
    const uint32_t rights = t.add_string("(c) nobody");
    const uint32_t bits = t.add_shorts({8, 8, 8});
    const uint32_t xres = t.add_rationals({{72, 1}});
    const uint32_t yres = t.add_rationals({{300, 2}});
    const uint32_t exposure = t.add_rationals({{1, 250}});
    const uint32_t fnumber = t.add_rationals({{28, 10}});
    const uint32_t focal = t.add_rationals({{50, 1}});
    const uint32_t zoom = t.add_rationals({{3, 2}});
    const uint32_t shutter = t.add_rationals({{static_cast<uint32_t>(-797), 100}});
    const uint32_t bias = t.add_rationals({{static_cast<uint32_t>(-2), 3}});
    const uint32_t original = t.add_string("2021:06:30 12:34:56");
    const uint32_t digitized = t.add_string("2021:06:30 12:34:57");
    const uint32_t exif_ifd = t.add_ifd({
        t.offset_entry(33434, DALTJ_TIFF_RATIONAL, 1, exposure),
        t.offset_entry(33437, DALTJ_TIFF_RATIONAL, 1, fnumber),
        t.short_entry(34855, 400),
        t.inline_entry(36864, DALTJ_TIFF_UNDEFINED, 4, {'0', '2', '3', '1'}),
        t.offset_entry(36867, DALTJ_TIFF_ASCII, 20, original),
        t.offset_entry(36868, DALTJ_TIFF_ASCII, 20, digitized),
        t.offset_entry(37377, DALTJ_TIFF_SRATIONAL, 1, shutter),
        t.offset_entry(37378, DALTJ_TIFF_RATIONAL, 1, fnumber),  // aperture: passed over
        t.offset_entry(37380, DALTJ_TIFF_SRATIONAL, 1, bias),
        t.short_entry(37383, 5),                                   // metering: passed over
        t.short_entry(37385, 0x19),
        t.offset_entry(37386, DALTJ_TIFF_RATIONAL, 1, focal),
        t.short_entry(40961, 1),
        t.short_entry(40962, 4000),
        t.long_entry(40963, 3000),
        t.short_entry(41986, 1),
        t.short_entry(41987, 1),
        t.offset_entry(41988, DALTJ_TIFF_RATIONAL, 1, zoom),
    });
    const uint32_t lat = t.add_rationals({{51, 1}, {30, 1}, {2634, 100}});
    const uint32_t lon = t.add_rationals({{0, 1}, {7, 1}, {3999, 100}});
    const uint32_t alt = t.add_rationals({{355, 10}});
    const uint32_t time = t.add_rationals({{12, 1}, {34, 1}, {56, 1}});
    const uint32_t datum = t.add_string("WGS-84");
    const uint32_t method = t.add_bytes({'A', 'S', 'C', 'I', 'I', 0, 0, 0, 'G', 'P', 'S'});
    const uint32_t date = t.add_string("2021:06:30");
    const uint32_t gps_ifd = t.add_ifd({
        t.inline_entry(0, DALTJ_TIFF_BYTE, 4, {2, 3, 0, 0}),
        t.inline_entry(1, DALTJ_TIFF_ASCII, 2, {'N', 0}),
        t.offset_entry(2, DALTJ_TIFF_RATIONAL, 3, lat),
        t.inline_entry(3, DALTJ_TIFF_ASCII, 2, {'W', 0}),
        t.offset_entry(4, DALTJ_TIFF_RATIONAL, 3, lon),
        t.inline_entry(5, DALTJ_TIFF_BYTE, 1, {1}),
        t.offset_entry(6, DALTJ_TIFF_RATIONAL, 1, alt),
        t.offset_entry(7, DALTJ_TIFF_RATIONAL, 3, time),
        t.offset_entry(18, DALTJ_TIFF_ASCII, 7, datum),
        t.offset_entry(27, DALTJ_TIFF_UNDEFINED, 11, method),
        t.offset_entry(29, DALTJ_TIFF_ASCII, 11, date),
        t.short_entry(30, 1),  // beyond the tags the GPS reader looks at
    });
    const uint32_t thumb = t.add_bytes(thumbnail_jpeg());
    const uint32_t ifd1 = t.add_ifd({
        t.short_entry(256, 80),
        t.long_entry(257, 60),
        t.short_entry(259, 6),
        t.short_entry(262, 2),
        t.short_entry(284, 1),
        t.long_entry(513, thumb),
        t.long_entry(514, static_cast<uint32_t>(thumbnail_jpeg().size())),
        t.short_entry(4173, 77),
    });
    const uint32_t ifd0 = t.add_ifd(
        {
            t.offset_entry(258, DALTJ_TIFF_SHORT, 3, bits),
            t.short_entry(259, 6),
            t.offset_entry(271, DALTJ_TIFF_ASCII, 7, make),
            t.offset_entry(272, DALTJ_TIFF_ASCII, 12, model),
            t.short_entry(274, 6),
            t.offset_entry(282, DALTJ_TIFF_RATIONAL, 1, xres),
            t.offset_entry(283, DALTJ_TIFF_RATIONAL, 1, yres),
            t.short_entry(296, 2),
            t.offset_entry(305, DALTJ_TIFF_ASCII, 14, software),
            t.short_entry(531, 2),
            t.offset_entry(33432, DALTJ_TIFF_ASCII, 11, rights),
            t.long_entry(34665, exif_ifd),
            t.long_entry(34853, gps_ifd),
        },
        ifd1);
    t.set_ifd0(ifd0);
    return t.bytes();
}

uint32_t thumbnail_offset_in(const Bytes &tiff) {
    const Bytes thumb = thumbnail_jpeg();
    auto at = std::search(tiff.begin(), tiff.end(), thumb.begin(), thumb.end());
    return static_cast<uint32_t>(at - tiff.begin());
}

bool rational_is(const DALTJ_Rational &r, uint32_t n, uint32_t d) { return r.numerator == n && r.denominator == d; }

void expect_complete_record(const DALTJ_ExifInfo &info, uint32_t thumbnail_position) {
    EXPECT_EQ(info.bits_per_sample[0], 8u);
    EXPECT_EQ(info.bits_per_sample[2], 8u);
    EXPECT_EQ(info.compression, 6u);
    EXPECT_STREQ(info.make, "Kamera");
    EXPECT_STREQ(info.model, "K-1 Mark II");
    EXPECT_EQ(info.orientation, 6u);
    EXPECT_TRUE(rational_is(info.x_resolution, 72, 1));
    EXPECT_TRUE(rational_is(info.y_resolution, 300, 2));
    EXPECT_EQ(info.resolution_unit, 2u);
    EXPECT_STREQ(info.software, "firmware 1.02");
    EXPECT_EQ(info.ycbcr_positioning, 2u);
    EXPECT_STREQ(info.rights_notice, "(c) nobody");

    EXPECT_TRUE(rational_is(info.exposure_time, 1, 250));
    ASSERT_NE(info.exif_version, nullptr);
    EXPECT_EQ(std::memcmp(info.exif_version, "0231", 4), 0);
    EXPECT_STREQ(info.date_time_original, "2021:06:30 12:34:56");
    EXPECT_STREQ(info.date_time_digitized, "2021:06:30 12:34:57");
    EXPECT_EQ(info.flash, 0x19u);
    EXPECT_EQ(info.color_space, 1u);
    EXPECT_EQ(info.pixel_x_dimension, 4000u);
    EXPECT_EQ(info.pixel_y_dimension, 3000u);
    EXPECT_EQ(info.exposure_mode, 1u);
    EXPECT_EQ(info.white_balance, 1u);
    EXPECT_TRUE(rational_is(info.digital_zoom_ratio, 3, 2));
    EXPECT_TRUE(rational_is(info.focal_length, 50, 1));
    EXPECT_EQ(info.iso_speed, 400u);
    EXPECT_EQ(info.exposure_bias.numerator, -2);
    EXPECT_EQ(info.exposure_bias.denominator, 3);
    EXPECT_TRUE(rational_is(info.f_number, 28, 10));
    EXPECT_EQ(info.shutter_speed.numerator, -797);
    EXPECT_EQ(info.shutter_speed.denominator, 100);
    EXPECT_EQ(info.reserved_0, 0u);
    EXPECT_EQ(info.reserved_38, 0u);

    const DALTJ_ThumbnailInfo &thumb = info.thumbnail;
    EXPECT_EQ(thumb.present, 1u);
    EXPECT_EQ(thumb.width, 160u);
    EXPECT_EQ(thumb.height, 120u);
    EXPECT_EQ(thumb.compression, 6u);
    EXPECT_EQ(thumb.photometric, 2u);
    EXPECT_EQ(thumb.byte_count, thumbnail_jpeg().size());
    EXPECT_EQ(thumb.tag_4173, 77u);
    EXPECT_EQ(thumb.planar_configuration, 1u);
    EXPECT_EQ(thumb.data_offset, thumbnail_position);

    ASSERT_NE(info.gps, nullptr);
    const DALTJ_GpsInfo &gps = *info.gps;
    EXPECT_EQ(std::memcmp(gps.version_id, "\x02\x03\x00\x00", 4), 0);
    EXPECT_STREQ(gps.latitude_ref, "N");
    EXPECT_TRUE(rational_is(gps.latitude[2], 2634, 100));
    EXPECT_STREQ(gps.longitude_ref, "W");
    EXPECT_TRUE(rational_is(gps.longitude[1], 7, 1));
    EXPECT_EQ(gps.altitude_ref, 1u);
    EXPECT_TRUE(rational_is(gps.altitude, 355, 10));
    EXPECT_TRUE(rational_is(gps.time_stamp[0], 12, 1));
    EXPECT_STREQ(gps.map_datum, "WGS-84");
    ASSERT_NE(gps.processing_method, nullptr);
    EXPECT_EQ(std::memcmp(gps.processing_method, "ASCII\0\0\0GPS", 11), 0);
    EXPECT_STREQ(gps.date_stamp, "2021:06:30");
}

TEST(ExifRecord, EveryFieldFromAnApp1SegmentInBothByteOrders) {
    for (bool little : {true, false}) {
        SCOPED_TRACE(little ? "II" : "MM");
        const Bytes tiff = complete_exif(little);
        const Bytes app1 = exif_segment(tiff);
        ExifRecord info(DALTJ_CreatExifInfoUseExifBuffer(app1.data(), static_cast<uint32_t>(app1.size())));
        ASSERT_NE(info.get(), nullptr);
        expect_complete_record(*info.get(), 10 + thumbnail_offset_in(tiff));
    }
}

TEST(ExifRecord, EveryFieldThroughEverySourceKind) {
    const Bytes tiff = complete_exif(true);
    const Bytes jfif = segment(kApp0, {'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0});
    const Bytes file = jpeg_file({jfif, exif_segment(tiff)});
    const uint32_t tiff_position = 2 + static_cast<uint32_t>(jfif.size()) + 10;
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        ExifRecord record;
        EXPECT_EQ(get_exif(kind, file, &record.info), 1);
        expect_complete_record(record.info, tiff_position + thumbnail_offset_in(tiff));
    }
}

TEST(ExifRecord, SecondNameReadsTheSameRecord) {
    const Bytes file = jpeg_file({exif_segment(complete_exif(false))});
    SourceRecord source(SourceKind::kMemory, file);
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(source->io);
    DALTJ_ByteWindow window{source->io, 0, source->io->size, 0, 0, buffer};
    ExifRecord record;
    EXPECT_EQ(DALTJ_GetTiffInfo(&window, &record.info), 1);
    EXPECT_STREQ(record->make, "Kamera");
    DALTJ_ReleaseStreamBuffer(source->io, buffer);
}

// TIFF data whose IFD0 holds only the given entries (built by `make` on the same builder).
template <class Make>
Bytes tiff_with(bool little, Make &&make) {
    TiffBuilder t(little);
    std::vector<TiffBuilder::Entry> entries = make(t);
    t.set_ifd0(t.add_ifd(entries));
    return t.bytes();
}

ExifRecord from_tiff(const Bytes &tiff) {
    const Bytes app1 = exif_segment(tiff);
    return ExifRecord(DALTJ_CreatExifInfoUseExifBuffer(app1.data(), static_cast<uint32_t>(app1.size())));
}

TEST(ExifRules, DateTimeNeedsExactlyTwentyBytes) {
    const Bytes tiff = tiff_with(true, [](TiffBuilder &t) {
        const uint32_t short_date = t.add_string("2021:06:30 12:34:5");
        const uint32_t date = t.add_string("2021:06:30 12:34:56");
        const uint32_t exif = t.add_ifd({t.offset_entry(36867, DALTJ_TIFF_ASCII, 19, short_date),
                                         t.offset_entry(36868, DALTJ_TIFF_ASCII, 20, date)});
        return std::vector<TiffBuilder::Entry>{t.long_entry(34665, exif)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->date_time_original, nullptr);
    ASSERT_NE(info->date_time_digitized, nullptr);
    EXPECT_STREQ(info->date_time_digitized, "2021:06:30 12:34:56");
    EXPECT_EQ(info->date_time_digitized[19], '\0');
}

TEST(ExifRules, TypeAndCountMustBeThoseOfTheTable) {
    const Bytes tiff = tiff_with(false, [](TiffBuilder &t) {
        const uint32_t exif = t.add_ifd({
            t.offset_entry(34855, DALTJ_TIFF_SHORT, 2, 0x00640064),  // two inline shorts: refused
            t.long_entry(37385, 1),                                    // flash as LONG: ignored
            t.inline_entry(36864, DALTJ_TIFF_UNDEFINED, 3, {'0', '2', '2'}),
            t.offset_entry(33434, DALTJ_TIFF_SRATIONAL, 1, 8),
        });
        return std::vector<TiffBuilder::Entry>{t.long_entry(274, 3), t.offset_entry(258, DALTJ_TIFF_SHORT, 1, 8),
                                               t.long_entry(34665, exif)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->iso_speed, 0u);
    EXPECT_EQ(info->flash, 0u);
    EXPECT_EQ(info->exif_version, nullptr);
    EXPECT_EQ(info->exposure_time.denominator, 0u);
    EXPECT_EQ(info->orientation, 0u);
    EXPECT_EQ(info->bits_per_sample[0], 0u);
}

TEST(ExifRules, IsoSpeedIsTheDecodedValue) {
    const Bytes tiff = tiff_with(true, [](TiffBuilder &t) {
        const uint32_t values = t.add_shorts({100, 200, 400});
        const uint32_t exif = t.add_ifd({t.offset_entry(34855, DALTJ_TIFF_SHORT, 3, values)});
        return std::vector<TiffBuilder::Entry>{t.long_entry(34665, exif)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->iso_speed, 8u);  // where the three values lie, not the first value
}

// IFD0 pointing at a sub-IFD that names a successor, then more IFD0 fields, then IFD1.
Bytes sub_ifd_with_successor(uint16_t pointer_tag) {
    TiffBuilder t(true);
    const uint32_t sub = t.add_ifd({t.short_entry(pointer_tag == 34665 ? 37385 : 5, 1)}, 8);
    const uint32_t ifd1 = t.add_ifd({t.long_entry(514, 100), t.short_entry(259, 6)});
    const uint32_t ifd0 =
        t.add_ifd({t.short_entry(259, 6), t.long_entry(pointer_tag, sub), t.short_entry(274, 8)}, ifd1);
    t.set_ifd0(ifd0);
    return t.bytes();
}

TEST(ExifRules, SubIfdClaimingASuccessorEndsIfd0AndSkipsTheThumbnail) {
    for (uint16_t pointer : {uint16_t{34665}, uint16_t{34853}}) {
        ExifRecord info = from_tiff(sub_ifd_with_successor(pointer));
        ASSERT_NE(info.get(), nullptr);
        EXPECT_EQ(info->compression, 6u);   // before the pointer
        EXPECT_EQ(info->orientation, 0u);   // after it: not read
        EXPECT_EQ(info->thumbnail.present, 0u);
        EXPECT_EQ(info->thumbnail.byte_count, 0u);
        if (pointer == 34665) {
            EXPECT_EQ(info->flash, 1u);
        }
        if (pointer == 34853) {
            ASSERT_NE(info->gps, nullptr);
            EXPECT_EQ(info->gps->altitude_ref, 0u);  // BYTE tag given as SHORT: not read
        }
    }
}

TEST(ExifRules, ThumbnailCompressionFollowsTheLastOf259And279And514) {
    const auto thumbnail_of = [](std::vector<TiffBuilder::Entry> (*entries)(TiffBuilder &)) {
        TiffBuilder t(false);
        const uint32_t ifd1 = t.add_ifd(entries(t));
        t.set_ifd0(t.add_ifd({t.short_entry(274, 1)}, ifd1));
        ExifRecord info = from_tiff(t.bytes());
        return info.get() != nullptr ? info->thumbnail : DALTJ_ThumbnailInfo{};
    };
    DALTJ_ThumbnailInfo strips = thumbnail_of([](TiffBuilder &t) {
        return std::vector<TiffBuilder::Entry>{t.short_entry(259, 1), t.long_entry(273, 500), t.long_entry(279, 4800)};
    });
    EXPECT_EQ(strips.compression, 0u);
    EXPECT_EQ(strips.byte_count, 4800u);
    EXPECT_EQ(strips.data_offset, 510u);  // plus the segment's 10 header bytes
    EXPECT_EQ(strips.present, 1u);
    DALTJ_ThumbnailInfo reordered = thumbnail_of([](TiffBuilder &t) {
        return std::vector<TiffBuilder::Entry>{t.long_entry(279, 4800), t.short_entry(259, 1)};
    });
    EXPECT_EQ(reordered.compression, 1u);
    DALTJ_ThumbnailInfo jpeg = thumbnail_of([](TiffBuilder &t) {
        return std::vector<TiffBuilder::Entry>{t.short_entry(259, 1), t.long_entry(514, 0)};
    });
    EXPECT_EQ(jpeg.compression, 6u);
    EXPECT_EQ(jpeg.present, 0u);  // a zero byte count is no thumbnail
}

TEST(ExifRules, ThumbnailOffsetOutsideTheDataKeepsTheIfdSize) {
    TiffBuilder t(true);
    const uint32_t ifd1 = t.add_ifd({t.short_entry(256, 80), t.short_entry(257, 60), t.long_entry(513, 0xFFFFFFF0u),
                                     t.long_entry(514, 5000)});
    t.set_ifd0(t.add_ifd({}, ifd1));
    ExifRecord info = from_tiff(t.bytes());
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->thumbnail.width, 80u);
    EXPECT_EQ(info->thumbnail.height, 60u);
    EXPECT_EQ(info->thumbnail.data_offset, 0xFFFFFFF0u + 10);
}

TEST(ExifRules, BigEndianHeaderWithAnEmptyIfd0StillGivesARecord) {
    const Bytes tiff{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0};
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->make, nullptr);
    EXPECT_EQ(info->gps, nullptr);
    EXPECT_EQ(info->thumbnail.present, 0u);
}

TEST(ExifRules, EmptyStringsAndBlocksAreAllocated) {
    const Bytes tiff = tiff_with(true, [](TiffBuilder &t) {
        const uint32_t gps = t.add_ifd({t.inline_entry(18, DALTJ_TIFF_ASCII, 0, {}),
                                        t.inline_entry(27, DALTJ_TIFF_UNDEFINED, 0, {})});
        return std::vector<TiffBuilder::Entry>{t.inline_entry(271, DALTJ_TIFF_ASCII, 0, {}), t.long_entry(34853, gps)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    ASSERT_NE(info->make, nullptr);
    EXPECT_STREQ(info->make, "");
    ASSERT_NE(info->gps, nullptr);
    ASSERT_NE(info->gps->map_datum, nullptr);
    EXPECT_STREQ(info->gps->map_datum, "");
    EXPECT_NE(info->gps->processing_method, nullptr);
}

TEST(ExifRules, RepeatedTagsReplaceEarlierCopiesWithoutLeaking) {
    const Bytes tiff = tiff_with(true, [](TiffBuilder &t) {
        const uint32_t first = t.add_string("first make");
        const uint32_t gps_a = t.add_ifd({t.offset_entry(18, DALTJ_TIFF_ASCII, 6, t.add_string("WGS84"))});
        const uint32_t gps_b = t.add_ifd({t.inline_entry(1, DALTJ_TIFF_ASCII, 2, {'S', 0})});
        return std::vector<TiffBuilder::Entry>{
            t.offset_entry(271, DALTJ_TIFF_ASCII, 11, first), t.long_entry(34853, gps_a),
            t.inline_entry(271, DALTJ_TIFF_ASCII, 3, {'L', 'a', 0}), t.long_entry(34853, gps_b)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_STREQ(info->make, "La");
    ASSERT_NE(info->gps, nullptr);
    EXPECT_EQ(info->gps->map_datum, nullptr);  // a fresh GPS record for the second pointer
    EXPECT_STREQ(info->gps->latitude_ref, "S");
}

TEST(ExifRules, EachExifPointerCountsAsIfItsIfdWereWalkedInTurn) {
    // A: flash 1, color space 7, color space 9. A' starts 12 bytes into A (its count, 1, is A's
    // first entry's last two bytes) and so holds A's second entry only; its next-IFD word is A's
    // third entry, so it claims a successor and ends IFD0. B: flash 2, color space 8.
    TiffBuilder t(true);
    const uint32_t a = t.add_ifd({t.inline_entry(37385, DALTJ_TIFF_SHORT, 1, {1, 0, 1, 0}), t.short_entry(40961, 7),
                                  t.short_entry(40961, 9)});
    const uint32_t b = t.add_ifd({t.short_entry(37385, 2), t.short_entry(40961, 8)});
    const std::map<char, uint32_t> ifds = {{'A', a}, {'a', a + 12}, {'B', b}};
    struct Case {
        std::string pointers;  // 'a' stands for A'
        uint32_t flash, color_space;
    };
    for (const Case &c : {Case{"AB", 2, 8}, Case{"BA", 1, 9}, Case{"ABa", 2, 7}, Case{"Aa", 1, 7}, Case{"aB", 0, 7},
                          Case{"ABAB", 2, 8}}) {
        TiffBuilder file = t;
        std::vector<TiffBuilder::Entry> pointers;
        for (char ifd : c.pointers) pointers.push_back(file.long_entry(34665, ifds.at(ifd)));
        file.set_ifd0(file.add_ifd(pointers));
        ExifRecord record;
        ASSERT_EQ(DALTJ_ReadExifInfo(file.bytes().data(), 0, file.size(), &record.info), 1);
        EXPECT_EQ(record->flash, c.flash) << c.pointers;
        EXPECT_EQ(record->color_space, c.color_space) << c.pointers;
    }
}

TEST(ExifRules, ThumbnailSizeFromTheLastLookUpThatFindsAFrameHeader) {
    // Each 513 look-up that finds a frame header overwrites width and height; one that finds none
    // leaves them; 256 and 257 overwrite one each. J1 and J2 (J1's tail) hold no frame header.
    TiffBuilder t(true);
    const uint32_t ok = t.add_bytes(thumbnail_jpeg());
    Bytes none = concat({Bytes{0xFF, 0xD8}, Bytes(16, 0), Bytes{0xFF, 0xD8}, Bytes(16, 0), Bytes{0xFF, 0xDA}});
    const uint32_t j1 = t.add_bytes(none), j2 = j1 + 18;
    struct Case {
        std::vector<TiffBuilder::Entry> ifd1;
        uint32_t width, height;
    };
    const Case cases[] = {
        {{t.long_entry(513, ok), t.short_entry(256, 80), t.long_entry(513, j1), t.short_entry(257, 60)}, 80, 60},
        {{t.short_entry(256, 80), t.short_entry(257, 60), t.long_entry(513, ok), t.long_entry(513, j2),
          t.long_entry(513, j1), t.long_entry(513, j2)},
         160, 120},
        {{t.long_entry(513, j1), t.short_entry(256, 80), t.long_entry(513, ok), t.short_entry(257, 60)}, 160, 60},
        {{t.short_entry(256, 80), t.long_entry(513, j1)}, 80, 0},
    };
    for (const Case &c : cases) {
        TiffBuilder file = t;
        const uint32_t ifd1 = file.add_ifd(c.ifd1);
        file.set_ifd0(file.add_ifd({}, ifd1));
        ExifRecord record;
        ASSERT_EQ(DALTJ_ReadExifInfo(file.bytes().data(), 0, file.size(), &record.info), 1);
        EXPECT_EQ(record->thumbnail.width, c.width);
        EXPECT_EQ(record->thumbnail.height, c.height);
    }
}

TEST(ExifRules, RepeatedEntriesCostOneCopyEach) {
    // 40 Make entries and 40 GPS pointers need one string and one GPS record, so two allocations
    // are enough to read IFD0 whole and go on to IFD1.
    const Bytes tiff = [] {
        TiffBuilder t(true);
        const uint32_t make = t.add_string("Kamera");
        const uint32_t gps = t.add_ifd({t.inline_entry(1, DALTJ_TIFF_ASCII, 2, {'N', 0})});
        const uint32_t ifd1 = t.add_ifd({t.long_entry(514, 100)});
        std::vector<TiffBuilder::Entry> entries;
        for (int i = 0; i < 40; ++i) {
            entries.push_back(t.offset_entry(271, DALTJ_TIFF_ASCII, 7, make));
            entries.push_back(t.long_entry(34853, gps));
        }
        t.set_ifd0(t.add_ifd(entries, ifd1));
        return t.bytes();
    }();
    ExifRecord record;
    {
        AllocationFailure failure(2);
        ASSERT_EQ(DALTJ_ReadExifInfo(tiff.data(), 0, static_cast<uint32_t>(tiff.size()), &record.info), 1);
    }
    EXPECT_STREQ(record->make, "Kamera");
    ASSERT_NE(record->gps, nullptr);
    EXPECT_STREQ(record->gps->latitude_ref, "N");
    EXPECT_EQ(record->thumbnail.present, 1u);
}

TEST(ExifOwnership, ReadingIntoAFilledRecordNeverFreesWhatItHeld) {
    // Whatever the record holds when a read begins is the caller's: slots the read fills are
    // overwritten, the others kept, and nothing is freed.
    const Bytes tiff = complete_exif(true);
    const auto read = [&tiff](DALTJ_ExifInfo *info) {
        return DALTJ_ReadExifInfo(tiff.data(), 0, static_cast<uint32_t>(tiff.size()), info);
    };
    char make[] = "caller's make", datum[] = "caller's datum";
    uint8_t blob[4] = {1, 2, 3, 4};
    DALTJ_GpsInfo caller_gps{};
    caller_gps.map_datum = datum;
    DALTJ_ExifInfo info{};
    info.make = make;
    info.exif_version = blob;
    info.gps = &caller_gps;
    ASSERT_EQ(read(&info), 1);
    EXPECT_STREQ(make, "caller's make");
    EXPECT_EQ(caller_gps.map_datum, datum);
    expect_complete_record(info, thumbnail_offset_in(tiff));

    // Read again into the same record: the first read's copies stay valid, and are the caller's.
    DALTJ_ExifInfo first = info;
    ASSERT_EQ(read(&info), 1);
    EXPECT_NE(info.make, first.make);
    expect_complete_record(first, thumbnail_offset_in(tiff));
    release_exif_fields(&first);
    release_exif_fields(&info);
}

TEST(ExifRules, ValuesAndPointersOutsideTheDataAreIgnored) {
    const Bytes tiff = tiff_with(false, [](TiffBuilder &t) {
        return std::vector<TiffBuilder::Entry>{
            t.offset_entry(271, DALTJ_TIFF_ASCII, 40, 0x7FFFFFF0u), t.offset_entry(282, DALTJ_TIFF_RATIONAL, 1, 0xFFFFFFFCu),
            t.long_entry(34665, 0xFFFFFFFFu), t.long_entry(34853, 100000)};
    });
    ExifRecord info = from_tiff(tiff);
    ASSERT_NE(info.get(), nullptr);
    EXPECT_EQ(info->make, nullptr);
    EXPECT_EQ(info->x_resolution.denominator, 0u);
    ASSERT_NE(info->gps, nullptr);  // made before its IFD was found not to fit
    EXPECT_EQ(info->gps->latitude_ref[0], '\0');
}

TEST(ExifRules, AllocationFailuresLeaveAPartialRecordAndNoLeak) {
    const Bytes app1 = exif_segment(complete_exif(true));
    bool completed = false;
    for (long allowed = 0; !completed; ++allowed) {
        ExifRecord info([&] {
            AllocationFailure failure(allowed);
            return DALTJ_CreatExifInfoUseExifBuffer(app1.data(), static_cast<uint32_t>(app1.size()));
        }());
        if (allowed == 0) {
            EXPECT_EQ(info.get(), nullptr);
        }
        completed = info.get() != nullptr && info->gps != nullptr && info->gps->processing_method != nullptr &&
                    info->rights_notice != nullptr;
        ASSERT_LT(allowed, 100);
    }
}

TEST(ExifRules, AllocationFailuresWhileSearchingASourceDoNotLeak) {
    const Bytes file = jpeg_file({exif_segment(complete_exif(false))});
    for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream}) {
        bool completed = false;
        for (long allowed = 0; !completed; ++allowed) {
            SourceRecord source(kind, file);
            ASSERT_NE(source.record(), nullptr);
            ExifRecord record;
            int32_t result;
            {
                AllocationFailure failure(allowed);
                result = get_exif(source.record(), &record.info);
            }
            completed = result == 1 && record->gps != nullptr && record->gps->processing_method != nullptr;
            ASSERT_LT(allowed, 100);
        }
        ExifRecord reference;
        ASSERT_EQ(get_exif(kind, file, &reference.info), 1);
        EXPECT_STREQ(reference->make, "Kamera");
    }
}

// --- The APP1 search -----------------------------------------------------------------------

Bytes small_exif() {
    return tiff_with(true, [](TiffBuilder &t) {
        return std::vector<TiffBuilder::Entry>{t.inline_entry(271, DALTJ_TIFF_ASCII, 4, {'O', 'k', '!', 0})};
    });
}

std::string make_found(const Bytes &file, SourceKind kind = SourceKind::kMemory, int32_t *result = nullptr) {
    ExifRecord record;
    const int32_t r = get_exif(kind, file, &record.info);
    if (result != nullptr) *result = r;
    return record->make != nullptr ? record->make : "";
}

TEST(App1Search, NonExifApp1AndOtherSegmentsAreSkipped) {
    const Bytes xmp_text = [] {
        std::string ns = "http://ns.adobe.com/xap/1.0/";
        Bytes b(ns.begin(), ns.end());
        b.push_back(0);
        const std::string packet = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
        b.insert(b.end(), packet.begin(), packet.end());
        return b;
    }();
    const Bytes file = jpeg_file({segment(kApp0, Bytes(14, 0)), segment(kApp1, xmp_text),
                                  segment(kDqt, Bytes(65, 1)), segment(0xFE, {'h', 'i'}), Bytes{0xFF, 0xFF},
                                  exif_segment(small_exif())});
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        int32_t result = 0;
        EXPECT_EQ(make_found(file, kind, &result), "Ok!");
        EXPECT_EQ(result, 1);
    }
}

TEST(App1Search, SegmentsLongerThanTheWindowAreSkippedBySeeking) {
    Bytes big(60000, 0x20);
    big[0] = 'I';
    const Bytes file = jpeg_file({segment(kApp2, big), segment(kApp1, Bytes(40000, 0xFF)),
                                  exif_segment(small_exif())});
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        EXPECT_EQ(make_found(file, kind), "Ok!");
    }
}

TEST(App1Search, ExifBlockLargerThanTheWindowIsReadWhole) {
    const std::string long_text(30000, 'x');
    const Bytes tiff = tiff_with(false, [&](TiffBuilder &t) {
        const uint32_t text = t.add_string(long_text);
        return std::vector<TiffBuilder::Entry>{t.offset_entry(305, DALTJ_TIFF_ASCII, 30001, text)};
    });
    const Bytes file = jpeg_file({segment(kApp0, Bytes(20000, 7)), exif_segment(tiff)});
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        ExifRecord record;
        ASSERT_EQ(get_exif(kind, file, &record.info), 1);
        ASSERT_NE(record->software, nullptr);
        EXPECT_EQ(std::string(record->software), long_text);
    }
}

TEST(App1Search, ScanRunsThroughEntropyDataAcrossWindowBoundaries) {
    // The walk has no end marker: after a scan it steps over stuffed bytes, restart markers and
    // fill bytes, and still finds an EXIF block placed after them. The 0xFF bytes are moved across
    // the 16384-byte window boundary by the padding.
    for (size_t padding = 16375; padding < 16392; ++padding) {
        Bytes scan = segment(0xDA, {1, 1, 0, 0, 63, 0});
        for (size_t i = 0; i < padding; ++i) scan.push_back(static_cast<uint8_t>(i * 7 + 1));
        for (const Bytes &tail : {Bytes{0xFF, 0x00, 0x12}, Bytes{0xFF, 0xD3}, Bytes{0xFF, 0xFF, 0xFF, 0x00},
                                  Bytes{0xFF, 0xD9, 0x00}}) {
            scan.insert(scan.end(), tail.begin(), tail.end());
        }
        const Bytes file = concat({Bytes{0xFF, 0xD8}, segment(kApp0, Bytes(14, 0)), scan, exif_segment(small_exif()),
                                   Bytes{0, 0}});
        for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream, SourceKind::kOwnedMemory}) {
            EXPECT_EQ(make_found(file, kind), "Ok!") << source_kind_name(kind) << " padding " << padding;
        }
    }
}

TEST(App1Search, ShortApp1LengthEndsTheSearch) {
    const Bytes file = jpeg_file({Bytes{0xFF, kApp1, 0, 7, 'E', 'x', 'i', 'f', 0}, exif_segment(small_exif())});
    int32_t result = -1;
    EXPECT_EQ(make_found(file, SourceKind::kMemory, &result), "");
    EXPECT_EQ(result, 0);
}

TEST(App1Search, LengthsReachingTheEndOfTheSourceEndTheSearch) {
    const Bytes app1 = exif_segment(small_exif());
    // The segment's payload must end strictly before the source does.
    Bytes exact = concat({Bytes{0xFF, 0xD8}, app1});
    Bytes one_more = concat({exact, Bytes{0}});
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        EXPECT_EQ(make_found(exact, kind), "");
        EXPECT_EQ(make_found(one_more, kind), "Ok!");
    }
    // A length that claims more than the file holds, on an EXIF and on a non-EXIF APP1.
    for (uint8_t id : {uint8_t{'E'}, uint8_t{'X'}}) {
        Bytes lie = jpeg_file({exif_segment(small_exif())});
        lie[6] = id;
        lie[4] = 0x7F;
        EXPECT_EQ(make_found(lie), "");
    }
}

TEST(App1Search, NoSoiNoExifAndEveryTruncationGiveZero) {
    const Bytes file = jpeg_file({segment(kApp0, Bytes(14, 0)), exif_segment(complete_exif(true))});
    Bytes no_soi = file;
    no_soi[1] = 0xD9;
    EXPECT_EQ(make_found(no_soi), "");
    EXPECT_EQ(make_found(jpeg_file({segment(kApp0, Bytes(14, 0))})), "");
    const size_t exif_end = 2 + 18 + exif_segment(complete_exif(true)).size();
    for (size_t cut = 1; cut < file.size(); ++cut) {
        const Bytes head(file.begin(), file.begin() + static_cast<long>(cut));
        for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream}) {
            int32_t result = -1;
            const std::string make = make_found(head, kind, &result);
            if (cut <= exif_end) {
                EXPECT_EQ(result, 0) << "cut at " << cut;
            } else {
                EXPECT_EQ(make, "Kamera") << "cut at " << cut;
            }
        }
    }
}

// --- The thumbnail's frame-header look-up ---------------------------------------------------

TEST(JpegResolution, TakesTheLastFrameHeaderBeforeTheScan) {
    uint32_t width = 0, height = 0;
    const Bytes one = thumbnail_jpeg();
    EXPECT_EQ(DALTJ_GetJPEGResolution(one.data(), static_cast<uint32_t>(one.size()), &width, &height), 200);
    EXPECT_EQ(width, 160u);
    EXPECT_EQ(height, 120u);
    // An empty comment is skipped, and so is an APP15 segment holding a frame header's bytes.
    const Bytes two = concat({Bytes{0xFF, 0xD8, 0xFF, 0xFF}, frame_header(33, 44, 0xC2), segment(0xC4, Bytes(20, 0)),
                              segment(0xFE, {}), Bytes{0x00, 0xFF, 0x01}, frame_header(55, 66),
                              segment(0xEF, frame_header(99, 99)), scan_and_end()});
    EXPECT_EQ(DALTJ_GetJPEGResolution(two.data(), static_cast<uint32_t>(two.size()), &width, &height), 200);
    EXPECT_EQ(width, 55u);
    EXPECT_EQ(height, 66u);
    const Bytes shortest = {0xFF, 0xD8, 0xFF, 0xDA};  // a scan and no frame header: found, sizes kept
    EXPECT_EQ(DALTJ_GetJPEGResolution(shortest.data(), 4, &width, &height), 200);
    EXPECT_EQ(width, 55u);
    const Bytes one_fill_byte = concat({Bytes{0xFF, 0xD8, 0xFF}, frame_header(7, 9), scan_and_end()});
    EXPECT_EQ(DALTJ_GetJPEGResolution(one_fill_byte.data(), static_cast<uint32_t>(one_fill_byte.size()), &width, &height),
              200);
    EXPECT_EQ(width, 7u);
}

TEST(JpegResolution, FailuresAnswer201) {
    uint32_t width = 7, height = 7;
    const Bytes good = thumbnail_jpeg();
    EXPECT_EQ(DALTJ_GetJPEGResolution(good.data(), 3, &width, &height), 201);
    Bytes not_jpeg = good;
    not_jpeg[1] = 0xD9;
    EXPECT_EQ(DALTJ_GetJPEGResolution(not_jpeg.data(), static_cast<uint32_t>(not_jpeg.size()), &width, &height), 201);
    Bytes twelve_bit = good;
    twelve_bit[6] = 12;  // precision of the first frame header
    EXPECT_EQ(DALTJ_GetJPEGResolution(twelve_bit.data(), static_cast<uint32_t>(twelve_bit.size()), &width, &height),
              201);
    // Cut inside the frame header, and a table segment with a length below 2.
    EXPECT_EQ(DALTJ_GetJPEGResolution(good.data(), 12, &width, &height), 201);
    const Bytes bad_table = concat({Bytes{0xFF, 0xD8, 0xFF, 0xDB, 0, 1}, Bytes(30, 0)});
    EXPECT_EQ(DALTJ_GetJPEGResolution(bad_table.data(), static_cast<uint32_t>(bad_table.size()), &width, &height),
              201);
    // No scan at all.
    const Bytes no_scan = concat({Bytes{0xFF, 0xD8}, frame_header(5, 6)});
    EXPECT_EQ(DALTJ_GetJPEGResolution(no_scan.data(), static_cast<uint32_t>(no_scan.size()), &width, &height), 201);
    EXPECT_EQ(width, 5u);  // the frame header was still taken
}

TEST(CreatFromBuffer, SegmentChecks) {
    const Bytes app1 = exif_segment(small_exif());
    const auto create = [](const Bytes &b, size_t length) {
        ExifRecord info(DALTJ_CreatExifInfoUseExifBuffer(b.data(), static_cast<uint32_t>(length)));
        return info.get() != nullptr;
    };
    EXPECT_TRUE(create(app1, app1.size()));
    EXPECT_FALSE(create(app1, app1.size() - 1));  // L + 2 must fit in the buffer
    EXPECT_FALSE(create(app1, 3));
    Bytes wrong_marker = app1;
    wrong_marker[1] = 0xE2;
    EXPECT_FALSE(create(wrong_marker, wrong_marker.size()));
    Bytes wrong_id = app1;
    wrong_id[8] = 1;
    EXPECT_FALSE(create(wrong_id, wrong_id.size()));
    Bytes short_length = app1;
    short_length[2] = 0;
    short_length[3] = 7;
    EXPECT_FALSE(create(short_length, short_length.size()));
    Bytes bad_tiff = app1;
    bad_tiff[10] = 'X';
    EXPECT_FALSE(create(bad_tiff, bad_tiff.size()));  // and the record it made is freed
}

}  // namespace
}  // namespace kovra::test

// Every JPEG and TIFF of the shared corpus, read by this library and by libexif, compared field by
// field. Each difference is listed below, per file, with its rule: either a rule of this reader
// (an entry of another type or count than the record takes; the rule is then worked out by the
// comparison and must match the one listed), or a named difference of structure between the two
// readers. An unlisted difference fails the test, and so does a listed one that no longer occurs.

#include <gtest/gtest.h>
#include <libexif/exif-data.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "exif_support.h"
#include "peer_compare.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

// Differences of structure, named once.
// A zero-length ASCII value is an empty string in the record; libexif drops an entry of size 0.
constexpr const char *kEmptyAscii = "empty ASCII value";
// An IFD whose entries run past the data is refused whole here; libexif reads the entries that
// fit (and so reaches the sub-IFD pointers among them).
constexpr const char *kIfdPastTheData = "IFD runs past the data";
// libexif 0.6.24 stops reading IFD0 at a thumbnail tag (514) whose value lies beyond the data,
// so it never reaches the EXIF and GPS pointers that follow; this reader reads on. (In that file
// the EXIF IFD also names a successor, so this reader stops IFD0 at the EXIF pointer and the GPS
// IFD is not read either: both records lack it, for different reasons.)
constexpr const char *kPeerStopsAtBadThumbnailTag = "libexif stops at a bad 514";
// libexif takes a JPEG named in IFD0 (tags 513/514) as the thumbnail; the record's thumbnail
// comes from IFD1 only.
constexpr const char *kThumbnailFromIfd0 = "thumbnail named in IFD0";
// An EXIF IFD pointer entry with a count above 1 is decoded as an offset whose size runs past
// the data, so the entry is refused and the EXIF IFD is not read; libexif follows the pointer
// whatever its count.
constexpr const char *kPointerCountPastTheData = "EXIF pointer count past the data";

const std::set<std::string> kStructuralRules = {kEmptyAscii, kIfdPastTheData, kPeerStopsAtBadThumbnailTag,
                                                kThumbnailFromIfd0, kPointerCountPastTheData};

struct Explained {
    const char *file;
    const char *field;
    const char *rule;
};

// Rules of this reader as the comparison words them:
//   "type (...)"        the entry has another type than the record takes
//   "count (...)"       the entry has another count (DateTime* need exactly 20, BitsPerSample 3)
//   "two inline shorts" SHORT with count 2, never read
//   "several values"    ISOSpeedRatings with more than two values: the record holds their offset
//   "several strips"    IFD1 strips given as tables: the record holds where the tables lie
const Explained kExplained[] = {
    {"jpeg-exif/exif-samples/Kodak_CX7530.jpg", "date_time_original", "count (ASCII x19, needs 20)"},
    {"jpeg-exif/exif-samples/Kodak_CX7530.jpg", "date_time_digitized", "count (ASCII x19, needs 20)"},
    {"jpeg-exif/exif-samples/Kodak_CX7530.jpg", "pixel_x_dimension", "two inline shorts"},
    {"jpeg-exif/exif-samples/Kodak_CX7530.jpg", "pixel_y_dimension", "two inline shorts"},
    {"jpeg-exif/exif-samples/exif-org/kodak-dc210.jpg", "rights_notice", kEmptyAscii},
    {"jpeg-exif/exif-samples/tests/33-type_error.jpg", "exif_version", "type (ASCII x5)"},
    {"jpeg-exif/exiftool-t-images/FLIR.jpg", "exif_version", "type (ASCII x4)"},
    {"jpeg-exif/exiftool-t-images/InfiRay.jpg", "gps.processing_method", "type (ASCII x4)"},
    {"jpeg-exif/pillow/broken_exif_dpi.jpg", "x_resolution", "type (ASCII x8)"},
    {"jpeg-exif/pillow/broken_exif_dpi.jpg", "y_resolution", "type (ASCII x5)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "orientation", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "x_resolution", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "y_resolution", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "resolution_unit", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "ycbcr_positioning", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "color_space", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "pixel_x_dimension", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif-72dpi-int.jpg", "pixel_y_dimension", "type (SLong x1)"},
    {"jpeg-exif/pillow/exif_gps.jpg", "exposure_time", kPeerStopsAtBadThumbnailTag},
    {"jpeg-exif/pillow/exif_gps.jpg", "date_time_original", kPeerStopsAtBadThumbnailTag},
    {"jpeg-exif/pillow/exif_gps.jpg", "exposure_bias", kPeerStopsAtBadThumbnailTag},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "orientation", kIfdPastTheData},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "x_resolution", kIfdPastTheData},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "y_resolution", kIfdPastTheData},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "resolution_unit", kIfdPastTheData},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "pixel_x_dimension", kIfdPastTheData},
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "pixel_y_dimension", kIfdPastTheData},
    {"jpeg-exif/pillow/invalid-exif-without-x-resolution.jpg", "x_resolution", "type (ASCII x10)"},
    {"jpeg-exif/pillow/invalid-exif-without-x-resolution.jpg", "y_resolution", "type (ASCII x6)"},
    {"jpeg-exif/pillow/invalid-exif-without-x-resolution.jpg", "date_time_original", "count (ASCII x21, needs 20)"},
    {"jpeg-exif/pillow/invalid-exif-without-x-resolution.jpg", "date_time_digitized", "count (ASCII x21, needs 20)"},
    {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail.width", kThumbnailFromIfd0},
    {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail.height", kThumbnailFromIfd0},
    {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail.compression", kThumbnailFromIfd0},
    {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail.data", kThumbnailFromIfd0},
    {"tiff/broken-imagetestsuite/b52a2fceb34f9b31cb417379cf8c02ba.tif", "iso_speed", "two inline shorts"},
    {"tiff/broken-imagetestsuite/b52a2fceb34f9b31cb417379cf8c02ba.tif", "exposure_bias", "type (Rational x1)"},
    {"tiff/broken-imagetestsuite/b52a2fceb34f9b31cb417379cf8c02ba.tif", "shutter_speed", "type (Rational x1)"},
    {"tiff/broken-imagetestsuite/b9bc00e0fb28f2a525c0acfe78251eda.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/broken-imagetestsuite/ecf22eaecaf11fc75938973745138868.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/broken-imagetestsuite/m1-2743db7c68f091ddc61dcd582febff2d.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/broken-imagetestsuite/m1-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension", kPointerCountPastTheData},
    {"tiff/broken-imagetestsuite/m1-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m1-5512ff2fc91566c07c8c8d3fd352a731.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/broken-imagetestsuite/m1-b127f0fb89daedea07abb50b9db2dfd9.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/broken-imagetestsuite/m10-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m11-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m11-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension", kPointerCountPastTheData},
    {"tiff/broken-imagetestsuite/m11-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m12-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m16-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m16-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension", kPointerCountPastTheData},
    {"tiff/broken-imagetestsuite/m16-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m17-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m17-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m18-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m18-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m5-f0d7bcb90496c323c880a9773dfe93ff.tif", "x_resolution", "type (Short x1)"},
    {"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "x_resolution", "count (Rational x124, needs 1)"},
    {"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension", kPointerCountPastTheData},
    {"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/broken-imagetestsuite/m8-42c19f8e79e582bef107f372f18a074b.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/broken-imagetestsuite/m8-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension", kPointerCountPastTheData},
    {"tiff/broken-imagetestsuite/m8-42c19f8e79e582bef107f372f18a074b.tif", "pixel_y_dimension", "count (Long x241, needs 1)"},
    {"tiff/exif-samples/Arbitro.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/exif-samples/Crémieux11.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/exif-samples/Jobagent.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/exif-samples/Tless0.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/exiftool-t-images/GeoTiff.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/bw-deflate.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/bw-gopher_ccittGroup3.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/bw-gopher_ccittGroup4.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/bw-packbits.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/bw-uncompressed.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/no_compress.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/golang-x-image/no_rps.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/golang-x-image/video-001-gray-16bit.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/video-001-gray.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/golang-x-image/video-001-paletted.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/image-rs/bad/clusterfuzz-5026894169374720.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/image-rs/bad/hpredict_cmyk.tiff", "bits_per_sample", "count (Short x5, needs 3)"},
    {"tiff/image-rs/cmyk_u8_edge_case.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/image-rs/cmyk_u8_trunc_case.tif", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/image-rs/fax4.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/image-rs/hpredict.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/image-rs/hpredict_packbits.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/image-rs/l1.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/image-rs/l1_xmp.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/16bit.MM.cropped.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/16bit.MM.deflate.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/16bit.cropped.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/16bit.s.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/8bit.s.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/compression.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/g4-multi.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/g4-multi.tiff", "thumbnail.byte_count", "several strips"},
    {"tiff/pillow/g4-multi.tiff", "thumbnail.data_offset", "several strips"},
    {"tiff/pillow/hopper_g4.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/issue_2278.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/multipage-lastframe.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/multipage.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/pillow/pil136.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/pillow/rdf.tif", "bits_per_sample", "two inline shorts"},
    {"tiff/pillow/separate_planar_extra_samples.tiff", "bits_per_sample", "two inline shorts"},
    {"tiff/pillow/tiff_16bit_RGBa.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/pillow/tiff_wrong_bits_per_sample_2.tiff", "bits_per_sample", "count (Short x4, needs 3)"},
    {"tiff/pillow/uint16_1_4660.tif", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/wuffs/bricks-gray.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
    {"tiff/wuffs/pjw-thumbnail.tiff", "bits_per_sample", "count (Short x1, needs 3)"},
};

// The first APP1 "Exif" segment met by a plain segment-by-segment walk of the JPEG (stopping at
// the first scan or at anything that is not a marker), as libexif and most readers find it.
// Returns the offset of the TIFF data and its length, or {0, 0}.
std::pair<size_t, uint32_t> locate_exif(const Bytes &jpeg) {
    if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return {0, 0};
    size_t i = 2;
    while (i + 4 <= jpeg.size()) {
        if (jpeg[i] != 0xFF) return {0, 0};
        const uint8_t marker = jpeg[i + 1];
        if (marker == 0xFF) {
            ++i;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) return {0, 0};
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            i += 2;
            continue;
        }
        const uint32_t length = static_cast<uint32_t>(jpeg[i + 2]) << 8 | jpeg[i + 3];
        if (marker == 0xE1 && length >= 8 && i + 2 + length <= jpeg.size() &&
            std::memcmp(&jpeg[i + 4], "Exif\0\0", 6) == 0) {
            return {i + 10, length - 8};
        }
        i += 2 + length;
    }
    return {0, 0};
}

// libexif reads at most 0xFFFE bytes including the 6-byte "Exif" header.
constexpr uint32_t kPeerTiffLimit = 0xFFFE - 6;

std::vector<std::filesystem::path> jpeg_files() {
    return corpus_files("jpeg-exif", {".jpg", ".jpeg", ".mpo", ".jps"});
}
std::vector<std::filesystem::path> tiff_files() {
    return corpus_files("tiff", {".tif", ".tiff", ".dng", ".cr2", ".nef", ".rw2", ".iiq", ".btf"});
}

std::string corpus_name(const std::filesystem::path &path) {
    return std::filesystem::relative(path, corpus_dir()).generic_string();
}

bool reporting() { return std::getenv("KOVRA_EXIF_COMPARE_REPORT") != nullptr; }

// Checks one file's differences against the list; `seen` collects the listed ones that occurred.
void check_differences(const std::string &file, const std::vector<FieldDifference> &differences,
                       std::set<std::pair<std::string, std::string>> *seen) {
    for (const FieldDifference &d : differences) {
        if (reporting()) {
            std::printf("DIFF %s | %s | ours %s | libexif %s | %s\n", file.c_str(), d.field.c_str(), d.ours.c_str(),
                        d.peer.c_str(), d.rule.c_str());
        }
        const Explained *listed = nullptr;
        for (const Explained &e : kExplained) {
            if (file == e.file && d.field == e.field) listed = &e;
        }
        if (listed == nullptr) {
            ADD_FAILURE() << file << ": " << d.field << " differs and is not listed: ours " << d.ours << ", libexif "
                          << d.peer << (d.rule.empty() ? "" : ", rule " + d.rule);
            continue;
        }
        const bool structural = kStructuralRules.count(listed->rule) != 0;
        EXPECT_EQ(structural ? std::string() : std::string(listed->rule), d.rule)
            << file << ": " << d.field << " (ours " << d.ours << ", libexif " << d.peer << ")";
        seen->insert({file, d.field});
    }
}

void expect_every_listed_seen(const std::string &prefix, const std::set<std::pair<std::string, std::string>> &seen) {
    for (const Explained &e : kExplained) {
        if (std::string(e.file).rfind(prefix, 0) != 0) continue;
        EXPECT_TRUE(seen.count({e.file, e.field}) != 0) << "listed difference no longer occurs: " << e.file << " "
                                                        << e.field;
    }
}

TEST(LibexifComparison, EveryCorpusJpeg) {
    KOVRA_REQUIRE_CORPUS();
    const auto files = jpeg_files();
    ASSERT_GT(files.size(), 250u);
    std::set<std::pair<std::string, std::string>> seen;
    int blocks = 0, makes = 0, gps = 0, thumbnails = 0;
    for (const auto &path : files) {
        const std::string name = corpus_name(path);
        const Bytes file = read_file(path);
        ExifRecord ours;
        get_exif(SourceKind::kMemory, file, &ours.info);
        const auto [at, length] = locate_exif(file);
        check_differences(name, compare_with_libexif(ours.info, file, length > 0 ? file.data() + at : nullptr, length),
                          &seen);
        blocks += length > 0;
        makes += ours->make != nullptr;
        gps += ours->gps != nullptr;
        thumbnails += ours->thumbnail.present != 0;
    }
    expect_every_listed_seen("jpeg-exif/", seen);
    // The comparison must have seen real metadata, not a corpus of empty records.
    EXPECT_GT(blocks, 150);
    EXPECT_GT(makes, 90);
    EXPECT_GT(gps, 20);
    EXPECT_GT(thumbnails, 90);
    std::printf("compared %zu JPEGs: %d EXIF blocks, %d with a make, %d with GPS, %d with a thumbnail\n",
                files.size(), blocks, makes, gps, thumbnails);
}

TEST(LibexifComparison, EveryCorpusTiff) {
    KOVRA_REQUIRE_CORPUS();
    const auto files = tiff_files();
    ASSERT_GT(files.size(), 100u);
    std::set<std::pair<std::string, std::string>> seen;
    for (const auto &path : files) {
        const std::string name = corpus_name(path);
        const Bytes file = read_file(path);
        // Both readers see the same bytes: libexif's limit applies to this reader too.
        const uint32_t length = static_cast<uint32_t>(std::min<size_t>(file.size(), kPeerTiffLimit));
        ExifRecord ours;
        DALTJ_ReadExifInfo(file.data(), 0, length, &ours.info);
        check_differences(name, compare_with_libexif(ours.info, file, file.data(), length), &seen);
    }
    expect_every_listed_seen("tiff/", seen);
}

TEST(LibexifComparison, EverySourceKindReadsTheSameRecord) {
    KOVRA_REQUIRE_CORPUS();
    for (const auto &path : jpeg_files()) {
        const Bytes file = read_file(path);
        ExifRecord reference;
        const int32_t result = get_exif(SourceKind::kMemory, file, &reference.info);
        const std::string expected = describe_record(reference.info);
        for (SourceKind kind : {SourceKind::kPath, SourceKind::kStream, SourceKind::kOwnedMemory}) {
            ExifRecord record;
            EXPECT_EQ(get_exif(kind, file, &record.info), result) << corpus_name(path) << " " << source_kind_name(kind);
            EXPECT_EQ(describe_record(record.info), expected) << corpus_name(path) << " " << source_kind_name(kind);
        }
    }
}

// The TIFF-file reader's jpeg_offset on every corpus TIFF. Three files name a JPEG: two in IFD0
// (where libexif also takes it, and the bytes it copied must start there) and one in the first
// sub-IFD of a raw file. child_ifd_jpeg.tiff gives its SubIFDs entry as one LONG, which this
// reader takes as the place where the sub-IFD offsets lie, not as the offset itself, and so
// finds nothing there.
TEST(TiffJpegOffset, EveryCorpusTiff) {
    KOVRA_REQUIRE_CORPUS();
    const std::map<std::string, uint32_t> named = {
        {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", 8},
        {"tiff/pillow/old-style-jpeg-compression.tif", 768},
        {"tiff/exiftool-t-images/Nikon.nef", 1120},
    };
    const std::set<std::string> refused = {
        "tiff/broken-imagetestsuite/m13-42c19f8e79e582bef107f372f18a074b.tif",  // "MM" with magic 0
        "tiff/broken-imagetestsuite/m6-42c19f8e79e582bef107f372f18a074b.tif",   // IFD0 beyond the file
        "tiff/exiftool-t-images/BigTIFF.btf",                                   // magic 43
        "tiff/exiftool-t-images/Panasonic.rw2",                                 // magic 0x55
        "tiff/pillow/hopper_bigtiff.tif",                                       // magic 43
    };
    for (const auto &path : tiff_files()) {
        const std::string name = corpus_name(path);
        const Bytes file = read_file(path);
        SourceRecord source(SourceKind::kPath, file);
        ASSERT_NE(source.record(), nullptr);
        DALTJ_TiffInfo info{};
        const int32_t result = read_tiff(source.record(), &info);
        EXPECT_EQ(result, refused.count(name) != 0 ? 0 : 1) << name;
        const auto it = named.find(name);
        EXPECT_EQ(info.jpeg_offset, it != named.end() ? it->second : 0u) << name;
        if (info.jpeg_offset == 0) continue;
        // Where libexif found a thumbnail through the same tag, its copy starts at jpeg_offset.
        ExifData *peer = exif_data_new_from_data(concat({Bytes{'E', 'x', 'i', 'f', 0, 0}, file}).data(),
                                                 static_cast<unsigned>(file.size() + 6));
        if (peer->size > 0) {
            ASSERT_LE(info.jpeg_offset + peer->size, file.size()) << name;
            EXPECT_EQ(std::memcmp(file.data() + info.jpeg_offset, peer->data, peer->size), 0) << name;
        }
        exif_data_unref(peer);
    }
}

}  // namespace
}  // namespace kovra::test

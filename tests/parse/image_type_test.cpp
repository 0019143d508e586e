// Type detection: the signature rules on crafted first bytes, and every real file of the shared
// corpus named after its folder's format, through memory and through a stream.

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "kovra_decinfo.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace {
using kovra::test::SourceKind;
using kovra::test::SourceRecord;

int32_t detect(const std::vector<uint8_t> &bytes, SourceKind kind = SourceKind::kMemory) {
    SourceRecord src(kind, bytes);
    EXPECT_NE(src.record(), nullptr);
    int32_t type = KOVRADALT_GetImageType(src.record());
    EXPECT_EQ(src->image_type, type);
    return type;
}

TEST(ImageType, SignatureRules) {
    EXPECT_EQ(detect({0xFF, 0xD8, 0xFF, 0xE0, 0, 0, 0, 0}), KOVRADALT_TYPE_JPEG);
    EXPECT_EQ(detect({'B', 'M', 1, 2, 3, 4, 5, 6}), KOVRADALT_TYPE_BMP);
    EXPECT_EQ(detect({'B', 0, 0, 0, 0, 0, 0, 0}), KOVRADALT_TYPE_BMP);
    EXPECT_EQ(detect({0x01, 0x4D, 0, 0, 0, 0, 0, 0}), KOVRADALT_TYPE_BMP);  // second-byte fallback
    EXPECT_EQ(detect({0xFF, 0x4D, 0, 0, 0, 0, 0, 0}), KOVRADALT_TYPE_BMP);
    EXPECT_EQ(detect({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A}), KOVRADALT_TYPE_PNG);
    EXPECT_EQ(detect({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0B}), KOVRADALT_TYPE_UNKNOWN);
    EXPECT_EQ(detect({'G', 'I', 'F', '9', '9', 'z', 0, 0}), KOVRADALT_TYPE_GIF);
    EXPECT_EQ(detect({'G', 'I', 'X', '8', '9', 'a', 0, 0}), KOVRADALT_TYPE_UNKNOWN);
    EXPECT_EQ(detect({0x00, 0x00, 0x10, 0x10, 0, 0, 0, 0}), KOVRADALT_TYPE_WBMP);
    EXPECT_EQ(detect({0x00, 0x7F, 0, 0, 0, 0, 0, 0}), KOVRADALT_TYPE_WBMP);
    EXPECT_EQ(detect({0x00, 0x80, 0, 0, 0, 0, 0, 0}), KOVRADALT_TYPE_UNKNOWN);
    EXPECT_EQ(gKOVRADALT_Error, 0);  // an unknown format is not an error
}

TEST(ImageType, ShortSourcesStillClassifyAndEmptyOnesFail) {
    EXPECT_EQ(detect({0xFF, 0xD8}), KOVRADALT_TYPE_JPEG);
    EXPECT_EQ(detect({'G', 'I', 'F'}, SourceKind::kStream), KOVRADALT_TYPE_GIF);
    // A 2-byte PNG-looking start must not read past the caller's memory for bytes 2..7.
    EXPECT_EQ(detect({0x89, 0x50}), KOVRADALT_TYPE_UNKNOWN);

    SourceRecord empty(SourceKind::kStream, {});
    empty->image_type = 9;
    EXPECT_EQ(KOVRADALT_GetImageType(empty.record()), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_READ_OR_PARSE);
    EXPECT_EQ(empty->image_type, 0);
}

TEST(ImageType, NullRecordAndMissingMemory) {
    EXPECT_EQ(KOVRADALT_GetImageType(nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NULL_ARGUMENT);
    SourceRecord src(SourceKind::kMemory, {0xFF, 0xD8});
    kovra::test::AllocationFailure fail(0);
    EXPECT_EQ(KOVRADALT_GetImageType(src.record()), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
}

TEST(ImageType, EverySourceKindAgrees) {
    const std::vector<uint8_t> gif = {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0, 0, 0};
    for (SourceKind kind : kovra::test::kAllSourceKinds) {
        EXPECT_EQ(detect(gif, kind), KOVRADALT_TYPE_GIF) << kovra::test::source_kind_name(kind);
    }
}

TEST(ImageType, RealFilesAreNamedAfterTheirFormat) {
    KOVRA_REQUIRE_CORPUS();
    const std::map<std::string, std::pair<std::vector<std::string>, int32_t>> folders = {
        {"gif", {{".gif"}, KOVRADALT_TYPE_GIF}},
        {"png/pngsuite", {{".png"}, KOVRADALT_TYPE_PNG}},
        {"bmp", {{".bmp"}, KOVRADALT_TYPE_BMP}},
        {"wbmp", {{".wbmp"}, KOVRADALT_TYPE_WBMP}},
        {"jpeg-exif/exif-samples", {{".jpg", ".jpeg"}, KOVRADALT_TYPE_JPEG}},
    };
    int checked = 0;
    for (const auto &[folder, expectation] : folders) {
        for (const auto &path : kovra::test::corpus_files(folder, expectation.first)) {
            // PngSuite's x* files are deliberately corrupt, most of them in the signature.
            if (folder == "png/pngsuite" && path.filename().string()[0] == 'x') continue;
            const auto bytes = kovra::test::read_file(path);
            if (bytes.size() < 2) continue;
            EXPECT_EQ(detect(bytes), expectation.second) << path;
            EXPECT_EQ(detect(bytes, SourceKind::kStream), expectation.second) << path;
            ++checked;
        }
    }
    EXPECT_GT(checked, 100);
}

}  // namespace

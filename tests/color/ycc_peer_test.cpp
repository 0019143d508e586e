// The format 5 writer against libjpeg-turbo's YCbCr to RGBA conversion on the rows of every corpus
// JPEG coded as three-component YCbCr: libjpeg-turbo decodes each file to YCbCr samples and to
// RGBA pixels; the writer converts the samples and must land within 1 of the pixels on every
// channel (it truncates where libjpeg-turbo rounds). Files read with a warning are left out.

#include <gtest/gtest.h>

#include "jpeg/range_limit.h"
#include "jpeg_road/libjpeg_peer.h"
#include "kovra_jpeg.h"
#include "support/corpus.h"

namespace {

// The whole image in `space`, interleaved; empty when the file is left out.
std::vector<uint8_t> decode(const std::vector<uint8_t> &jpeg, J_COLOR_SPACE space, JDIMENSION &width) {
    std::vector<uint8_t> samples;
    kovra::jpeg_road::Peer peer(jpeg);
    jpeg_decompress_struct &cinfo = peer.cinfo;
    if (setjmp(peer.jump) == 0) {
        jpeg_read_header(&cinfo, TRUE);
        if (cinfo.jpeg_color_space != JCS_YCbCr || cinfo.num_components != 3) return {};
        cinfo.out_color_space = space;
        jpeg_start_decompress(&cinfo);
        const size_t pitch = size_t(cinfo.output_width) * cinfo.output_components;
        samples.resize(pitch * cinfo.output_height);
        while (cinfo.output_scanline < cinfo.output_height) {
            JSAMPROW row = samples.data() + pitch * cinfo.output_scanline;
            jpeg_read_scanlines(&cinfo, &row, 1);
        }
        jpeg_finish_decompress(&cinfo);
        width = cinfo.output_width;
        if (peer.err.num_warnings == 0) return samples;
    }
    return {};
}

TEST(YcbcrPeer, CorpusRowsWithinOneOfLibjpegTurbo) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0;
    for (const auto &path : kovra::test::corpus_files("", {".jpg", ".jpeg"})) {
        const std::vector<uint8_t> jpeg = kovra::test::read_file(path);
        JDIMENSION width = 0;
        const std::vector<uint8_t> ycc = decode(jpeg, JCS_YCbCr, width), rgba = decode(jpeg, JCS_EXT_RGBA, width);
        if (ycc.empty() || rgba.size() != ycc.size() / 3 * 4) continue;
        KOVRADALT_DecInfo region{};
        DALTJ_DecoderInfo ctx{};
        ctx.checkContext = &region;
        ctx.rangeLimit = kovra::jpeg::sample_range_limit();
        ctx.scaleCode = 1;
        ctx.outputFormat = 5;
        std::vector<uint8_t> planes(3 * width), ours(4 * width);
        int largest = 0;
        for (size_t r = 0; r < ycc.size() / 3 / width; ++r) {
            for (size_t i = 0; i < 3 * width; ++i) planes[i % 3 * width + i / 3] = ycc[3 * width * r + i];
            ctx.outY = ours.data();
            DALTJ_YcbcrWriteOutput1to1(&ctx, &planes[0], &planes[width], &planes[2 * width], int32_t(width));
            for (size_t i = 0; i < 4 * width; ++i)
                largest = std::max(largest, std::abs(ours[i / 4 * 4 + (i % 4 + 1) % 4] - rgba[4 * width * r + i]));
        }
        EXPECT_LE(largest, 1) << path;
        ++compared;
    }
    EXPECT_GT(compared, 50);
}

}  // namespace

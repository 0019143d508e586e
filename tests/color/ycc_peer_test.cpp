// The format 5 writer against libjpeg-turbo's own YCbCr to RGBA conversion (JCS_EXT_RGBA) on the
// rows of every corpus JPEG: libjpeg-turbo decodes each file twice, to YCbCr samples and to RGBA
// pixels from the same samples; the writer converts the first and must land within 1 of the
// second on every channel (libjpeg-turbo rounds where the writer truncates). Files libjpeg-turbo
// reads with an error or a warning, and files not coded as three-component YCbCr, are left out.

#include <gtest/gtest.h>

#include "color_scene.h"
#include "jpeg_road/libjpeg_peer.h"
#include "support/corpus.h"

namespace kovra::test::color {
namespace {

struct Frame {
    JDIMENSION width = 0, height = 0;
    std::vector<uint8_t> samples;  // interleaved, 3 (YCbCr) or 4 (RGBA) per pixel
};

// The whole image in `space`; an empty frame when the file is left out.
Frame decode(const std::vector<uint8_t> &jpeg, J_COLOR_SPACE space) {
    Frame frame;
    kovra::jpeg_road::Peer peer(jpeg);
    jpeg_decompress_struct &cinfo = peer.cinfo;
    if (setjmp(peer.jump) == 0) {
        jpeg_read_header(&cinfo, TRUE);
        if (cinfo.jpeg_color_space == JCS_YCbCr && cinfo.num_components == 3) {
            cinfo.out_color_space = space;
            jpeg_start_decompress(&cinfo);
            const size_t pitch = size_t(cinfo.output_width) * cinfo.output_components;
            frame.samples.resize(pitch * cinfo.output_height);
            while (cinfo.output_scanline < cinfo.output_height) {
                JSAMPROW row = frame.samples.data() + pitch * cinfo.output_scanline;
                jpeg_read_scanlines(&cinfo, &row, 1);
            }
            jpeg_finish_decompress(&cinfo);
            frame.width = cinfo.output_width;
            frame.height = cinfo.output_height;
        }
    }
    if (peer.err.num_warnings != 0 || frame.height == 0) frame = Frame{};
    return frame;
}

// The largest channel difference between the writer's pixels and libjpeg-turbo's.
int largest_difference(const Frame &ycc, const Frame &rgba) {
    Scene scene;
    scene.ctx.scaleCode = 1;
    std::array<std::vector<uint8_t>, 3> planes;
    int largest = 0;
    for (JDIMENSION r = 0; r < ycc.height; ++r) {
        for (int c = 0; c < 3; ++c) {
            planes[c].resize(ycc.width);
            for (JDIMENSION x = 0; x < ycc.width; ++x) planes[c][x] = ycc.samples[3 * (size_t(r) * ycc.width + x) + c];
        }
        scene.output(5, 4 * size_t(ycc.width));
        DALTJ_YcbcrWriteOutput1to1(&scene.ctx, planes[0].data(), planes[1].data(), planes[2].data(),
                                   int32_t(ycc.width));
        const uint8_t *theirs = rgba.samples.data() + 4 * size_t(r) * rgba.width;
        for (JDIMENSION x = 0; x < ycc.width; ++x) {
            if (scene.planes[0][4 * x] != 255) return 256;
            for (int c = 0; c < 3; ++c) {
                largest = std::max(largest, std::abs(scene.planes[0][4 * x + 1 + c] - theirs[4 * x + c]));
            }
        }
    }
    return largest;
}

TEST(YcbcrPeer, CorpusRowsWithinOneOfLibjpegTurbo) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0;
    for (const auto &path : corpus_files("", {".jpg", ".jpeg"})) {
        const std::vector<uint8_t> jpeg = read_file(path);
        const Frame ycc = decode(jpeg, JCS_YCbCr), rgba = decode(jpeg, JCS_EXT_RGBA);
        if (ycc.height == 0 || rgba.height != ycc.height || rgba.width != ycc.width) continue;
        EXPECT_LE(largest_difference(ycc, rgba), 1) << path;
        ++compared;
    }
    EXPECT_GT(compared, 50);
    std::printf("compared %d files\n", compared);
}

}  // namespace
}  // namespace kovra::test::color

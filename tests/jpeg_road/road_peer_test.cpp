// Every decodable corpus JPEG through the library's road (the host's stages, the row drivers, the
// inverse DCTs and colour converters) against libjpeg-turbo decoding the same file the same way:
// the fast integer inverse DCT (ifast at full size, the reduced transforms below it) and plain
// replication of subsampled chroma. At every scale the planes (Y, Cb, Cr; grey) must be exactly
// libjpeg-turbo's, and RGB, whose conversion truncates where libjpeg-turbo's rounds, at most one
// level off; two threads must give exactly one thread's pixels. Files libjpeg-turbo reads with a
// warning (corrupt data) are decoded but not compared: their out-of-range sums wrap in its tables
// and clamp in this library's.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "jpeg_host.h"
#include "libjpeg_peer.h"
#include "support/corpus.h"

namespace {

using namespace kovra::jpeg_host;
using kovra::jpeg_road::Peer;

// libjpeg-turbo's decode at 1/denominator into `space` (interleaved). False on an error or a warning.
bool peer_decode(const std::vector<uint8_t> &bytes, int denominator, J_COLOR_SPACE space, Picture &out) {
    Peer p(bytes);
    if (setjmp(p.jump)) return false;
    kovra::jpeg_road::start_like_the_road(p, denominator, space);
    out.width = p.cinfo.output_width;
    out.height = p.cinfo.output_height;
    const size_t stride = size_t{out.width} * p.cinfo.output_components;
    out.pixels.assign(stride * out.height, 0);
    while (p.cinfo.output_scanline < p.cinfo.output_height) {
        JSAMPROW row = out.pixels.data() + stride * p.cinfo.output_scanline;
        jpeg_read_scanlines(&p.cinfo, &row, 1);
    }
    jpeg_finish_decompress(&p.cinfo);
    return p.err.num_warnings == 0;
}

// The largest difference between ours (RGBA, grey or planes) and the first `channels` of the
// peer's `stride` interleaved ones.
int largest_difference(const Picture &ours, const Picture &peer, int channels, int stride) {
    if (ours.width != peer.width || ours.height != peer.height) return 256;
    const size_t pixels = size_t{ours.width} * ours.height;
    int largest = 0;
    for (size_t p = 0; p < pixels; ++p)
        for (int k = 0; k < channels; ++k) {
            const int mine = ours.format == Format::rgba ? ours.pixels[p * 4 + k] : ours.pixels[k * pixels + p];
            largest = std::max(largest, std::abs(mine - peer.pixels[p * stride + k]));
        }
    return largest;
}

struct Check {
    DecodeOptions options;
    J_COLOR_SPACE space;
    int channels, stride, tolerance;
};

// Each check on one file at one scale: true when libjpeg-turbo read it cleanly and all were compared.
bool compare_file(const std::vector<uint8_t> &bytes, const Jpeg &jpeg, int denominator, const std::string &name) {
    const Description &d = jpeg.description();
    const bool grey = d.components == 1;
    auto options = [](int scale, Format format, bool dcOnly = false) {
        DecodeOptions o;
        o.scaleDenominator = scale, o.format = format, o.dcOnly = dcOnly;
        return o;
    };
    std::vector<Check> checks = {{options(denominator, Format::rgba), JCS_RGB, 3, 3, 1},
                                 {options(denominator, grey ? Format::grey : Format::planar),
                                  grey ? JCS_GRAYSCALE : JCS_YCbCr, grey ? 1 : 3, grey ? 1 : 3, 0}};
    // The DC-only decoders: a block's level truncated here, rounded there. In 4:2:0 libjpeg-turbo
    // makes chroma with a 2 x 2 transform instead of replicating one sample: only luma is held.
    if (denominator == 8 && !grey)
        checks.push_back({options(8, Format::planar, true), JCS_YCbCr, d.vSampling[0] == 2 ? 1 : 3, 3, 1});
    for (Check &check : checks) {
        Picture ours, two, peer;
        const Error e = jpeg.decode(check.options, ours);
        if (e == Error::unsupported) continue;
        EXPECT_EQ(e, Error::none) << name << ": " << message(e);
        check.options.threads = 2;
        EXPECT_EQ(jpeg.decode(check.options, two), e);
        EXPECT_TRUE(two.pixels == ours.pixels) << "two threads differ from one: " << name;
        if (e != Error::none || !peer_decode(bytes, denominator, check.space, peer)) return false;
        EXPECT_LE(largest_difference(ours, peer, check.channels, check.stride), check.tolerance)
            << name << " at 1/" << denominator << ", layout " << int(check.options.format)
            << (check.options.dcOnly ? " DC only" : "");
    }
    return true;
}

class JpegRoad : public testing::TestWithParam<int> {};

TEST_P(JpegRoad, PlanesAreLibjpegTurbosAndRgbWithinOne) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0;
    for (const auto &path : kovra::test::corpus_files("jpeg-exif", {".jpg", ".jpeg"})) {
        const std::vector<uint8_t> bytes = kovra::test::read_file(path);
        Jpeg jpeg;
        if (jpeg.open_memory(bytes) != Error::none) continue;
        compared += compare_file(bytes, jpeg, GetParam(), path.lexically_relative(kovra::test::corpus_dir()).string());
        if (HasFailure()) return;
    }
    EXPECT_GT(compared, 100);
}

INSTANTIATE_TEST_SUITE_P(Scales, JpegRoad, testing::Values(1, 2, 4, 8));

// The cancel callback is asked before every MCU row with the rows written so far (the first MCU
// row's last row group waits for the second: context rows); refusing stops the decode there.
TEST(JpegHost, CancelStopsBeforeTheNextMcuRow) {
    Jpeg jpeg;
    ASSERT_EQ(jpeg.open_memory(kovra::test::read_file(std::filesystem::path(KOVRA_ROAD_SEEDS) / "ycc420-32x32.jpg")),
              Error::none);
    for (const bool refuse : {true, false}) {
        std::vector<uint32_t> asked;
        DecodeOptions options;
        options.keepGoing = [&](uint32_t rows) {
            asked.push_back(rows);
            return !refuse || rows == 0;
        };
        Picture picture;
        EXPECT_EQ(jpeg.decode(options, picture), refuse ? Error::cancelled : Error::none);
        EXPECT_EQ(asked, (std::vector<uint32_t>{0, 14}));
    }
}

}  // namespace

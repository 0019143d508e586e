// Every road of the host (each scale; RGBA, planes or grey; the DC-only road at 1/8) through the
// library's drivers, inverse DCTs and converters: two threads give exactly one thread's pixels. Built
// with KOVRA_ROAD_PEER (optimised leg), over every corpus JPEG, the planes are also exactly
// libjpeg-turbo's decode of the file (fast integer IDCT, chroma replicated) and RGB within one level
// (truncated here, rounded there); without it (every leg, ThreadSanitizer's too), over the fuzz seeds
// and the corpus's small camera JPEGs. Files libjpeg-turbo reads with a warning are not compared:
// their out-of-range sums wrap in its tables and clamp in this library's.

#include <gtest/gtest.h>

#include <filesystem>

#include "jpeg_host.h"
#include "support/corpus.h"
#ifdef KOVRA_ROAD_PEER
#include "libjpeg_peer.h"
#endif

namespace {

using namespace kovra::jpeg_host;
namespace fs = std::filesystem;

DecodeOptions options(int scale, Format format, bool dcOnly = false) {
    DecodeOptions o;
    o.scaleDenominator = scale, o.format = format, o.dcOnly = dcOnly;
    return o;
}

#ifdef KOVRA_ROAD_PEER
std::vector<fs::path> inputs() { return kovra::test::corpus_files("jpeg-exif", {".jpg", ".jpeg"}); }

// The largest difference between ours (RGBA, grey or planes) and libjpeg-turbo's decode into
// `space` (first `channels` of its interleaved ones); -1 when it read the file with a warning.
int peer_difference(const std::vector<uint8_t> &bytes, const DecodeOptions &o, const Picture &ours, int channels,
                    J_COLOR_SPACE space) {
    kovra::jpeg_road::Peer p(bytes);
    std::vector<uint8_t> row;
    if (setjmp(p.jump)) return -1;
    kovra::jpeg_road::start_like_the_road(p, o.scaleDenominator, space);
    if (ours.width != p.cinfo.output_width || ours.height != p.cinfo.output_height) return 256;
    const size_t stride = p.cinfo.output_components, pixels = size_t{ours.width} * ours.height;
    row.resize(stride * ours.width);
    int largest = 0;
    for (size_t at = 0; p.cinfo.output_scanline < p.cinfo.output_height;) {
        JSAMPROW r = row.data();
        jpeg_read_scanlines(&p.cinfo, &r, 1);
        for (size_t x = 0; x < ours.width; ++x, ++at)
            for (int k = 0; k < channels; ++k) {
                const int mine = o.format == Format::rgba ? ours.pixels[at * 4 + k] : ours.pixels[k * pixels + at];
                largest = std::max(largest, std::abs(mine - row[x * stride + k]));
            }
    }
    jpeg_finish_decompress(&p.cinfo);
    return p.err.num_warnings == 0 ? largest : -1;
}
#else
std::vector<fs::path> inputs() {
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(KOVRA_ROAD_SEEDS))
        if (entry.path().extension() == ".jpg") files.push_back(entry.path());
    if (kovra::test::corpus_available())
        for (const auto &path : kovra::test::corpus_files("jpeg-exif/exif-samples", {".jpg"}))
            if (fs::file_size(path) < 50000) files.push_back(path);
    return files;
}
#endif

TEST(JpegRoad, EveryRoadAgreesWithOneThreadAndThePeer) {
    int files = 0;
    [[maybe_unused]] int compared = 0;
    for (const auto &path : inputs()) {
        const std::vector<uint8_t> bytes = kovra::test::read_file(path);
        Jpeg jpeg;
        if (jpeg.open_memory(bytes) != Error::none) continue;
        ++files;
        const Description &d = jpeg.description();
        const bool grey = d.components == 1;
        for (int scale : {1, 2, 4, 8}) {
            // (options, tolerance): RGB; the planes (grey); in 4:2:0 libjpeg-turbo's DC-only chroma
            // is a 2 x 2 transform, not one sample replicated, so only luma is held there.
            std::vector<std::pair<DecodeOptions, int>> roads = {{options(scale, Format::rgba), 1},
                                                                {options(scale, grey ? Format::grey : Format::planar), 0}};
            if (scale == 8 && !grey) roads.push_back({options(8, Format::planar, true), 1});
            for (auto &[o, tolerance] : roads) {
                const std::string what = path.string() + " 1/" + std::to_string(scale) + " layout " +
                                         std::to_string(int(o.format)) + (o.dcOnly ? " DC only" : "");
                Picture one, two;
                const Error e = jpeg.decode(o, one);
                if (e == Error::unsupported) continue;
                ASSERT_EQ(e, Error::none) << what << ": " << message(e);
                o.threads = 2;
                ASSERT_EQ(jpeg.decode(o, two), Error::none) << what;
                ASSERT_TRUE(one.pixels == two.pixels) << "two threads differ from one: " << what;
#ifdef KOVRA_ROAD_PEER
                const int channels = o.format == Format::grey ? 1 : (o.dcOnly && d.vSampling[0] == 2 ? 1 : 3);
                const int difference = peer_difference(bytes, o, one, channels,
                                                       o.format == Format::rgba ? JCS_RGB : grey ? JCS_GRAYSCALE : JCS_YCbCr);
                if (difference < 0) break;
                ASSERT_LE(difference, tolerance) << what;
                compared += scale == 1 && tolerance == 1;
#endif
            }
        }
    }
#ifdef KOVRA_ROAD_PEER
    EXPECT_GT(compared, 100);
#endif
    EXPECT_GE(files, 4);
}

// The cancel callback is asked before every MCU row with the rows written so far (the first MCU
// row's last row group waits for the second: context rows); refusing stops the decode there.
TEST(JpegRoad, CancelStopsBeforeTheNextMcuRow) {
    Jpeg jpeg;
    ASSERT_EQ(jpeg.open_file((fs::path(KOVRA_ROAD_SEEDS) / "ycc420-32x32.jpg").string()), Error::none);
    for (const bool refuse : {true, false}) {
        std::vector<uint32_t> asked;
        DecodeOptions o;
        o.keepGoing = [&](uint32_t rows) {
            asked.push_back(rows);
            return !refuse || rows == 0;
        };
        Picture picture;
        EXPECT_EQ(jpeg.decode(o, picture), refuse ? Error::cancelled : Error::none);
        EXPECT_EQ(asked, (std::vector<uint32_t>{0, 14}));
    }
}

}  // namespace

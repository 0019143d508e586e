// Two threads through the library's two-thread decode give exactly the pixels of one, on every
// road of the host: each scale, RGBA and planes, the DC-only road. Built in every native leg,
// ThreadSanitizer's included, over the fuzz seeds and the corpus's small camera JPEGs.

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "jpeg_host.h"
#include "support/corpus.h"

namespace {

using namespace kovra::jpeg_host;

std::vector<std::filesystem::path> inputs() {
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(KOVRA_ROAD_SEEDS))
        if (entry.path().extension() == ".jpg") files.push_back(entry.path());
    if (kovra::test::corpus_available())
        for (const auto &path : kovra::test::corpus_files("jpeg-exif/exif-samples", {".jpg"}))
            if (std::filesystem::file_size(path) < 50000) files.push_back(path);
    return files;
}

void expect_same_with_two_threads(const Jpeg &jpeg, DecodeOptions options, const std::string &what) {
    Picture one, two;
    const Error e = jpeg.decode(options, one);
    if (e == Error::unsupported) return;
    ASSERT_EQ(e, Error::none) << what;
    options.threads = 2;
    ASSERT_EQ(jpeg.decode(options, two), Error::none) << what;
    EXPECT_TRUE(one.pixels == two.pixels) << what;
}

TEST(JpegRoadThreads, TwoThreadsGiveOneThreadsPixels) {
    int files = 0;
    for (const auto &path : inputs()) {
        Jpeg jpeg;
        if (jpeg.open_file(path.string()) != Error::none) continue;
        ++files;
        for (int scale : {1, 2, 4, 8})
            for (Format format : {Format::rgba, Format::planar}) {
                DecodeOptions options;
                options.scaleDenominator = scale;
                options.format = format;
                expect_same_with_two_threads(jpeg, options, path.string() + " 1/" + std::to_string(scale));
            }
        DecodeOptions dc;
        dc.scaleDenominator = 8;
        dc.format = Format::planar;
        dc.dcOnly = true;
        expect_same_with_two_threads(jpeg, dc, path.string() + " DC only");
    }
    EXPECT_GE(files, 4);
}

}  // namespace

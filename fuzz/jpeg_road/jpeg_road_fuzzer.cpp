// Any bytes through the JPEG host: whatever header and coefficients libjpeg-turbo accepts, the
// context the host builds from them and the library's drivers and stages must stay inside the
// memory they were given. The input's length picks the scale, the output layout, at 1/8 the
// DC-only road, and one or two threads, so that every road is reached without spending bytes of
// the JPEG on it.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg_host.h"

using namespace kovra::jpeg_host;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Limits limits;
    limits.maxPixels = 1u << 22;
    limits.maxScans = 64;
    Jpeg jpeg;
    if (jpeg.open_memory(std::vector<uint8_t>(data, data + size), limits) != Error::none) return 0;
    static constexpr Format kFormats[] = {Format::rgba, Format::grey, Format::planar};
    DecodeOptions options;
    options.scaleDenominator = 1 << (size % 4);
    options.format = kFormats[(size / 4) % 3];
    options.dcOnly = (size / 12) % 2 == 1;
    options.threads = 1 + static_cast<int>((size / 24) % 2);
    Picture picture;
    jpeg.decode(options, picture);
    return 0;
}

// The library answers a failed GIF set-up only with 0 (its error word says no more than "could
// not be read or parsed"), and releases its GIF record when the header itself is at fault. So for
// a header failure the tool reads the first bytes of the file itself and applies the library's
// header rules to them (signature shape, non-zero screen, whole global colour table, the frame
// mode's limit of 10000 pixels a side) to name the rule that failed. Once the record is attached,
// the header was sound and only the search for the first frame can have failed. A frame failure
// is read from the record: its LZW code size, else the data itself.

#include "gif_failure.h"

#include <cstdint>
#include <cstdio>
#include <fstream>

namespace kovra::tool {
namespace {

constexpr size_t kHeaderBytes = 13;

std::string format(const char *pattern, long a, long b = 0) {
    char text[160];
    std::snprintf(text, sizeof text, pattern, a, b);
    return text;
}

bool signature_ok(const uint8_t *h) {
    const auto digit = [](uint8_t c) { return c >= '0' && c <= '9'; };
    return h[0] == 'G' && h[1] == 'I' && h[2] == 'F' && digit(h[3]) && digit(h[4]) && h[5] >= 0x41 && h[5] <= 0x7A;
}

std::string header_failure(const uint8_t *h, size_t size) {
    if (size < kHeaderBytes) return format("the file ends inside the GIF header (%ld of 13 bytes)", static_cast<long>(size));
    if (!signature_ok(h)) return "bad signature (not GIF87a or GIF89a)";
    const long width = h[6] | (h[7] << 8), height = h[8] | (h[9] << 8);
    if (width == 0 || height == 0) return format("zero screen size (%ld x %ld)", width, height);
    if ((h[10] & 0x80) != 0) {
        const long table = 3L * (2L << (h[10] & 7));
        const long present = static_cast<long>(size - kHeaderBytes);
        if (present < table) return format("the global colour table is cut off (%ld of %ld bytes)", present, table);
    }
    if (width > DALTI_GIF_MAX_FRAME_SIDE || height > DALTI_GIF_MAX_FRAME_SIDE) {
        return format("screen of %ld x %ld pixels is above the limit of 10000 a side", width, height);
    }
    return "the GIF header could not be read";
}

}  // namespace

std::string gif_setup_failure(const std::string &path, const KOVRADALT_DecInfo *dec) {
    if (dec->gif_info != nullptr) return "no frame found (no complete image descriptor after the header)";
    std::ifstream in(path, std::ios::binary);
    uint8_t head[kHeaderBytes + 3 * 256] = {};
    in.read(reinterpret_cast<char *>(head), sizeof head);
    return header_failure(head, static_cast<size_t>(in.gcount()));
}

std::string gif_frame_failure(const DALTI_GIFDecoderInfo &gif) {
    if (gif.lzw_min_code_size > 11) {
        return format("LZW code size %ld is out of range (at most 11)", gif.lzw_min_code_size);
    }
    return "damaged LZW data";
}

}  // namespace kovra::tool

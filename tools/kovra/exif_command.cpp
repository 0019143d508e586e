// kovra exif-thumb FILE -o OUT.jpg: writes the JPEG thumbnail that a JPEG's EXIF block carries
// (IFD1's JPEGInterchangeFormat and its length). Thumbnails stored as uncompressed strips are
// not written; neither is one whose bytes lie outside the file.

#include <cstdio>
#include <vector>

#include "commands.h"
#include "exif_report.h"

namespace kovra::tool {
namespace {

constexpr uint32_t kJpegCompression = 6;

bool read_bytes(const std::string &path, uint32_t offset, uint32_t count, std::vector<uint8_t> *out) {
    FILE *in = std::fopen(path.c_str(), "rb");
    if (in == nullptr) return false;
    out->resize(count);
    const bool ok = std::fseek(in, static_cast<long>(offset), SEEK_SET) == 0 &&
                    std::fread(out->data(), 1, count, in) == count;
    std::fclose(in);
    return ok;
}

}  // namespace

int run_exif_thumb(const Arguments &args) {
    std::string input, output;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "-o" && i + 1 < args.size()) {
            output = args[++i];
        } else if (input.empty()) {
            input = args[i];
        } else {
            input.clear();
            break;
        }
    }
    if (input.empty() || output.empty()) {
        std::fprintf(stderr, "usage: kovra exif-thumb FILE -o OUT.jpg\n");
        return 2;
    }
    const ExifReport report(input);
    if (!report.opened()) {
        std::fprintf(stderr, "kovra: cannot open %s\n", input.c_str());
        return 1;
    }
    const DALTJ_ThumbnailInfo &thumbnail = report.info().thumbnail;
    if (!report.found() || thumbnail.present == 0) {
        std::fprintf(stderr, "kovra: %s has no EXIF thumbnail\n", input.c_str());
        return 1;
    }
    if (thumbnail.compression != kJpegCompression) {
        std::fprintf(stderr, "kovra: the thumbnail of %s is not a JPEG\n", input.c_str());
        return 1;
    }
    std::vector<uint8_t> bytes;
    if (!read_bytes(input, thumbnail.data_offset, thumbnail.byte_count, &bytes)) {
        std::fprintf(stderr, "kovra: the thumbnail of %s lies outside the file\n", input.c_str());
        return 1;
    }
    FILE *out = std::fopen(output.c_str(), "wb");
    const bool written = out != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    if (out != nullptr && std::fclose(out) != 0) return 1;
    if (!written) {
        std::fprintf(stderr, "kovra: cannot write %s\n", output.c_str());
        return 1;
    }
    std::printf("%s: %u x %u JPEG thumbnail, %u bytes, written to %s\n", input.c_str(), thumbnail.width,
                thumbnail.height, thumbnail.byte_count, output.c_str());
    return 0;
}

}  // namespace kovra::tool

// kovra exif-thumb FILE -o OUT.jpg: writes the JPEG thumbnail that a JPEG's EXIF block carries
// (IFD1's JPEGInterchangeFormat and its length). Thumbnails stored as uncompressed strips are
// not written; neither is one whose bytes lie outside the file or do not start with a JPEG SOI
// marker (cameras write placeholders of zero bytes). Each refusal names its reason and exits 1.

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
        } else if (!args[i].empty() && args[i][0] == '-') {
            return usage_error("exif-thumb", "unknown option '" + args[i] + "'");
        } else if (input.empty()) {
            input = args[i];
        } else {
            return usage_error("exif-thumb", "one FILE only");
        }
    }
    if (input.empty() || output.empty()) return usage_error("exif-thumb", "a FILE and -o OUT.jpg are needed");
    const ExifReport report(input);
    if (!report.opened()) {
        std::fprintf(stderr, "kovra exif-thumb: cannot open %s\n", input.c_str());
        return 1;
    }
    const DALTJ_ThumbnailInfo &thumbnail = report.info().thumbnail;
    if (!report.found() || thumbnail.present == 0) {
        std::fprintf(stderr, "kovra exif-thumb: %s has no EXIF thumbnail\n", input.c_str());
        return 1;
    }
    if (thumbnail.compression != kJpegCompression) {
        std::fprintf(stderr, "kovra exif-thumb: the thumbnail of %s is not a JPEG (compression %u, stored as strips)\n",
                     input.c_str(), thumbnail.compression);
        return 1;
    }
    std::vector<uint8_t> bytes;
    if (!read_bytes(input, thumbnail.data_offset, thumbnail.byte_count, &bytes)) {
        std::fprintf(stderr, "kovra exif-thumb: the thumbnail of %s lies outside the file\n", input.c_str());
        return 1;
    }
    if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xD8) {
        std::fprintf(stderr,
                     "kovra exif-thumb: the thumbnail of %s (%u bytes at offset %u) is a placeholder, not JPEG data "
                     "(no SOI marker)\n",
                     input.c_str(), thumbnail.byte_count, thumbnail.data_offset);
        return 1;
    }
    FILE *out = std::fopen(output.c_str(), "wb");
    const bool written = out != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    if (out != nullptr && std::fclose(out) != 0) return 1;
    if (!written) {
        std::fprintf(stderr, "kovra exif-thumb: cannot write %s\n", output.c_str());
        return 1;
    }
    std::printf("%s: %u x %u JPEG thumbnail, %u bytes, written to %s\n", input.c_str(), thumbnail.width,
                thumbnail.height, thumbnail.byte_count, output.c_str());
    return 0;
}

}  // namespace kovra::tool

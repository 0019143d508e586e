// PNG and BMP dimensions from the parse driver over the shared corpus, checked against libpng
// (for PNG files, and for the reference PNG that the BMP suites ship beside each bitmap) and
// against each file's own header read independently here.

#include <png.h>
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstring>
#include <map>
#include <optional>

#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

namespace fs = std::filesystem;

struct Dimensions {
    uint32_t width = 0, height = 0;
    uint32_t interlace = 0;
};

struct ParseOutcome {
    int32_t type = -1;
    int32_t error = -1;
    Dimensions size;
    uint32_t record_interlaced = 0;
};

ParseOutcome parse(const std::vector<uint8_t> &bytes) {
    ParseOutcome outcome;
    SourceRecord source(SourceKind::kMemory, bytes);
    if (source.record() == nullptr) return outcome;
    KOVRADALT_ImageInfo info{};
    outcome.type = KOVRADALT_Parser(source.record(), &info);
    outcome.error = gKOVRADALT_Error;
    outcome.size = {info.width, info.height, info.interlaced};
    outcome.record_interlaced = source->interlaced;
    KOVRADALT_OsFree(info.frame_delays);
    return outcome;
}

struct MemoryReader {
    const uint8_t *data;
    size_t size, pos;
};

void read_from_memory(png_structp png, png_bytep out, png_size_t count) {
    auto *reader = static_cast<MemoryReader *>(png_get_io_ptr(png));
    if (reader->size - reader->pos < count) png_error(png, "short file");
    std::memcpy(out, reader->data + reader->pos, count);
    reader->pos += count;
}

void silent_warning(png_structp, png_const_charp) {}
[[noreturn]] void quiet_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }

// libpng's reading of the IHDR chunk, or nothing when libpng refuses the file up to there.
std::optional<Dimensions> read_with_libpng(const std::vector<uint8_t> &bytes) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, quiet_error, silent_warning);
    png_infop info = png_create_info_struct(png);
    MemoryReader reader{bytes.data(), bytes.size(), 0};
    Dimensions size;
    bool ok = false;
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_set_read_fn(png, &reader, read_from_memory);
        png_read_info(png, info);
        size.width = png_get_image_width(png, info);
        size.height = png_get_image_height(png, info);
        size.interlace = png_get_interlace_type(png, info);
        ok = true;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    if (!ok) return std::nullopt;
    return size;
}

uint32_t u32be(const std::vector<uint8_t> &b, size_t at) {
    return (uint32_t{b[at]} << 24) | (uint32_t{b[at + 1]} << 16) | (uint32_t{b[at + 2]} << 8) | b[at + 3];
}
uint32_t u16le(const std::vector<uint8_t> &b, size_t at) { return b[at] | (uint32_t{b[at + 1]} << 8); }
uint32_t u32le(const std::vector<uint8_t> &b, size_t at) { return u16le(b, at) | (u16le(b, at + 2) << 16); }

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

TEST(PngCorpus, DimensionsMatchLibpngAndTheHeader) {
    KOVRA_REQUIRE_CORPUS();
    int agreed_with_libpng = 0, adam7 = 0;
    for (const fs::path &path : corpus_files("png", {".png"})) {
        const std::string name = fs::relative(path, corpus_dir()).generic_string();
        const std::vector<uint8_t> bytes = read_file(path);
        if (bytes.empty()) continue;
        const ParseOutcome ours = parse(bytes);
        const bool signature = bytes.size() >= 8 && std::memcmp(bytes.data(), kPngSignature, 8) == 0;
        if (signature && bytes.size() >= 29) {
            EXPECT_EQ(ours.type, 3) << name;
            EXPECT_EQ(ours.size.width, u32be(bytes, 16)) << name;
            EXPECT_EQ(ours.size.height, u32be(bytes, 20)) << name;
            EXPECT_EQ(ours.size.interlace, bytes[28]) << name;
            EXPECT_EQ(ours.record_interlaced, bytes[28]) << name;
        } else if (signature && bytes.size() < 23) {
            EXPECT_EQ(ours.type, 0) << name;
            EXPECT_EQ(ours.error, 5) << name;
        }
        const std::optional<Dimensions> reference = read_with_libpng(bytes);
        if (!reference) continue;
        ++agreed_with_libpng;
        adam7 += reference->interlace == PNG_INTERLACE_ADAM7;
        EXPECT_EQ(ours.type, 3) << name;
        EXPECT_EQ(ours.size.width, reference->width) << name;
        EXPECT_EQ(ours.size.height, reference->height) << name;
        EXPECT_EQ(ours.size.interlace, reference->interlace) << name;
    }
    EXPECT_GT(agreed_with_libpng, 150);
    EXPECT_GT(adam7, 10);
}

// The reference PNG shipped for a BMP, if any: the BMP suite's by base name, image-rs's by
// "<name>.bmp.png".
std::optional<fs::path> reference_png(const fs::path &bmp) {
    const fs::path root = corpus_dir() / "bmp";
    for (const fs::path &candidate : {root / "bmpsuite-reference-png" / (bmp.stem().string() + ".png"),
                                      root / "image-rs" / "reference" / (bmp.filename().string() + ".png")}) {
        std::error_code ec;
        if (fs::is_regular_file(candidate, ec)) return candidate;
    }
    return std::nullopt;
}

// What the file's own header says: the DIB header size as a whole 32-bit word, 16-bit fields for
// the 12-byte core header, signed 32-bit fields for every later header.
struct BmpHeader {
    uint32_t header_size;
    Dimensions size;
};

std::optional<BmpHeader> bmp_header(const std::vector<uint8_t> &b) {
    if (b.size() < 26 || b[0] != 'B' || b[1] != 'M') return std::nullopt;
    BmpHeader header{u32le(b, 14), {}};
    if (header.header_size == 12) {
        header.size = {u16le(b, 18), u16le(b, 20), 0};
    } else {
        auto magnitude = [](uint32_t v) { return (v & 0x80000000u) ? 0u - v : v; };
        header.size = {magnitude(u32le(b, 18)), magnitude(u32le(b, 22)), 0};
    }
    return header;
}

TEST(BmpCorpus, DimensionsMatchTheHeaderAndTheReferencePng) {
    KOVRA_REQUIRE_CORPUS();
    int with_reference = 0;
    std::map<uint32_t, int> header_sizes;
    for (const fs::path &path : corpus_files("bmp", {".bmp"})) {
        const std::string name = fs::relative(path, corpus_dir()).generic_string();
        const std::vector<uint8_t> bytes = read_file(path);
        const std::optional<BmpHeader> header = bmp_header(bytes);
        if (!header) continue;
        const ParseOutcome ours = parse(bytes);
        ++header_sizes[header->header_size];
        // Only the low byte of the header size is looked at, and sizes below 40 other than the
        // core header's 12 (the 16-byte short OS/2 header among them) are refused.
        const uint32_t low = header->header_size & 0xFF;
        if (low != 12 && low < 40) {
            EXPECT_EQ(ours.type, 0) << name << " header " << header->header_size;
            continue;
        }
        EXPECT_EQ(ours.type, 2) << name;
        if (low == header->header_size) {
            EXPECT_EQ(ours.size.width, header->size.width) << name;
            EXPECT_EQ(ours.size.height, header->size.height) << name;
        }
        const std::optional<fs::path> reference_path = reference_png(path);
        if (!reference_path) continue;
        const std::optional<Dimensions> reference = read_with_libpng(read_file(*reference_path));
        if (!reference) continue;
        ++with_reference;
        EXPECT_EQ(ours.size.width, reference->width) << name;
        EXPECT_EQ(ours.size.height, reference->height) << name;
    }
    EXPECT_GT(with_reference, 60);
    // The corpus covers the core, info, v2..v5 and OS/2 headers.
    for (uint32_t size : {12u, 16u, 40u, 52u, 56u, 64u, 108u, 124u}) EXPECT_GT(header_sizes[size], 0) << size;
}

}  // namespace
}  // namespace kovra::test

// Checks the GIF reference against decodings nobody here wrote: the palette indexes and decoded
// frames shipped with the wuffs test data, and the pygif suite's expected frames. Where their
// compositing conventions differ from this library's, the difference is allowed only by a named
// rule (see Convention below).
#include "gif_reference.h"

#include "support/corpus.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using namespace kovra::gifref;
using kovra::test::corpus_dir;
using kovra::test::corpus_files;
using kovra::test::read_file;

namespace {

using Image = std::vector<uint8_t>;  // RGBA bytes

uint32_t le32(const uint8_t *p) { return p[0] | (p[1] << 8) | (p[2] << 16) | (uint32_t{p[3]} << 24); }

// One NIE image (v1, "bn4": BGRA, non-premultiplied, 4 bytes per pixel) as RGBA.
Image nie_to_rgba(const uint8_t *p, size_t size, int &width, int &height) {
    if (size < 16 || p[0] != 0x6E || p[3] != 0x45 || p[4] != 0xFF || p[5] != 'b' || p[7] != '4') return {};
    width = static_cast<int>(le32(p + 8));
    height = static_cast<int>(le32(p + 12));
    size_t bytes = static_cast<size_t>(width) * height * 4;
    if (size < 16 + bytes) return {};
    Image rgba(bytes);
    for (size_t i = 0; i < bytes; i += 4) {
        rgba[i] = p[16 + i + 2];
        rgba[i + 1] = p[16 + i + 1];
        rgba[i + 2] = p[16 + i];
        rgba[i + 3] = p[16 + i + 3];
    }
    return rgba;
}

std::vector<Image> nia_frames(const std::vector<uint8_t> &nia) {
    std::vector<Image> frames;
    if (nia.size() < 24) return frames;
    int width = static_cast<int>(le32(nia.data() + 8)), height = static_cast<int>(le32(nia.data() + 12));
    size_t image = 16 + static_cast<size_t>(width) * height * 4;
    size_t padded = (image + 7) & ~size_t{7};
    for (size_t at = 16; at + 8 + padded <= nia.size() - 8; at += 8 + padded) {
        int w = 0, h = 0;
        frames.push_back(nie_to_rgba(nia.data() + at + 8, image, w, h));
    }
    return frames;
}

// How a browser-convention decoding may differ from this library's, pixel by pixel:
//  - this library clears red's lowest bit in every palette colour;
//  - a fully transparent pixel may carry any colour bytes elsewhere; here it is 0, 0, 0, 0;
//  - where the canvas shows through and a browser shows transparent, this library shows opaque
//    white when the canvas started white (first frame without transparency) or was cleared by
//    disposal 2 in a frame without transparency.
enum class Difference { none, white_canvas, other };

Difference compare_pixel(const uint8_t *ours, const uint8_t *theirs) {
    if (ours[3] == 0 && theirs[3] == 0) return Difference::none;
    if (ours[0] == (theirs[0] & 0xFE) && ours[1] == theirs[1] && ours[2] == theirs[2] && ours[3] == theirs[3])
        return Difference::none;
    if (theirs[3] == 0 && ours[0] == 0xFF && ours[1] == 0xFF && ours[2] == 0xFF && ours[3] == 0xFF)
        return Difference::white_canvas;
    return Difference::other;
}

struct Comparison {
    size_t white_canvas = 0;
    size_t other = 0;
    std::string first_other;
};

Comparison compare_images(const Image &ours, const Image &theirs, int width) {
    Comparison result;
    if (ours.size() != theirs.size()) {
        result.other = 1;
        result.first_other = "size " + std::to_string(ours.size()) + " vs " + std::to_string(theirs.size());
        return result;
    }
    for (size_t i = 0; i < ours.size(); i += 4) {
        Difference d = compare_pixel(&ours[i], &theirs[i]);
        if (d == Difference::white_canvas) ++result.white_canvas;
        if (d == Difference::other && result.other++ == 0) {
            char text[96];
            size_t p = i / 4;
            snprintf(text, sizeof text, "(%zu,%zu) ours %02x%02x%02x%02x theirs %02x%02x%02x%02x", p % width,
                     p / width, ours[i], ours[i + 1], ours[i + 2], ours[i + 3], theirs[i], theirs[i + 1],
                     theirs[i + 2], theirs[i + 3]);
            result.first_other = text;
        }
    }
    return result;
}

// The white-canvas difference is only explained when this library's canvas can be white.
bool canvas_can_be_white(const Gif &gif) {
    if (gif.frames.empty()) return false;
    const Frame &first = gif.frames[0];
    if (!(first.control.has_transparency && first.control.transparent_index <= static_cast<int>(
                                                 first.has_local_palette ? first.local_palette.size()
                                                                         : gif.global_palette.size())))
        return true;
    for (const Frame &f : gif.frames)
        if (f.control.disposal == 2 && !f.control.has_transparency) return true;
    return false;
}

fs::path wuffs_dir() { return corpus_dir() / "gif" / "wuffs"; }

}  // namespace

TEST(GifReferenceWuffs, IndexesMatchShippedDecodings) {
    KOVRA_REQUIRE_CORPUS();
    for (const char *name : {"bricks-dither", "bricks-gray", "bricks-nodither"}) {
        SCOPED_TRACE(name);
        Gif gif = load_gif(wuffs_dir() / (std::string(name) + ".gif"));
        ASSERT_TRUE(gif.ok) << gif.error;
        ASSERT_EQ(gif.frames.size(), 1u);
        std::vector<uint8_t> expected = read_file(wuffs_dir() / (std::string(name) + ".indexes"));
        EXPECT_EQ(gif.frames[0].indexes, expected);
        EXPECT_EQ(frame_indexes(gif, 0), expected);
        fs::path palette_path = wuffs_dir() / (std::string(name) + ".palette");
        if (!fs::exists(palette_path)) continue;
        // The shipped palette is 256 BGRA entries; slots beyond the table are opaque black there.
        std::vector<uint8_t> palette = read_file(palette_path);
        ASSERT_EQ(palette.size(), 1024u);
        std::vector<Rgb> colors = gif.frames[0].has_local_palette ? gif.frames[0].local_palette : gif.global_palette;
        for (size_t i = 0; i < colors.size(); ++i) {
            EXPECT_EQ(palette[4 * i + 2], colors[i].r) << i;
            EXPECT_EQ(palette[4 * i + 1], colors[i].g) << i;
            EXPECT_EQ(palette[4 * i], colors[i].b) << i;
        }
        std::vector<uint32_t> words = color_words(gif, 0);
        for (size_t i = 0; i < colors.size(); ++i)
            EXPECT_EQ(words[i], 0xFF000000u | (palette[4 * i] << 16) | (palette[4 * i + 1] << 8) |
                                    (palette[4 * i + 2] & 0xFEu));
    }
}

TEST(GifReferenceWuffs, MuybridgeFramesMatchShippedIndexes) {
    KOVRA_REQUIRE_CORPUS();
    Gif gif = load_gif(wuffs_dir() / "muybridge.gif");
    ASSERT_TRUE(gif.ok) << gif.error;
    ASSERT_EQ(gif.frames.size(), 15u);
    for (size_t i = 0; i < gif.frames.size(); ++i) {
        char name[64];
        snprintf(name, sizeof name, "muybridge-frame-%03u.indexes", static_cast<unsigned>(i));
        SCOPED_TRACE(name);
        EXPECT_EQ(frame_indexes(gif, i), read_file(wuffs_dir() / name));
    }
}

TEST(GifReferenceWuffs, ComposedFramesMatchShippedImages) {
    KOVRA_REQUIRE_CORPUS();
    struct Case {
        const char *gif;
        std::vector<Image> frames;
    };
    std::vector<Case> cases;
    cases.push_back({"animated-red-blue.gif", nia_frames(read_file(wuffs_dir() / "animated-red-blue.nia"))});
    for (int i = 0; i < 4; ++i) {
        char name[48];
        snprintf(name, sizeof name, "animated-red-blue.%06d.nie", i);
        std::vector<uint8_t> nie = read_file(wuffs_dir() / name);
        int w = 0, h = 0;
        EXPECT_EQ(nie_to_rgba(nie.data(), nie.size(), w, h), cases.back().frames.at(static_cast<size_t>(i)));
    }
    for (const Case &c : cases) {
        SCOPED_TRACE(c.gif);
        Gif gif = load_gif(wuffs_dir() / c.gif);
        ASSERT_TRUE(gif.ok) << gif.error;
        std::vector<Image> ours = compose_frames(gif, 1);
        ASSERT_EQ(ours.size(), c.frames.size());
        for (size_t i = 0; i < ours.size(); ++i) {
            Comparison r = compare_images(ours[i], c.frames[i], gif.screen_width);
            EXPECT_EQ(r.other, 0u) << "frame " << i << ": " << r.first_other;
            if (r.white_canvas > 0) {
                EXPECT_TRUE(canvas_can_be_white(gif)) << "frame " << i;
            }
        }
    }
}

// hippopotamus.nie is a decoding of the original photo, not of the GIFs; the interlaced and the
// progressive encodings of the same picture must compose identically at every sample size.
TEST(GifReferenceWuffs, InterlacedAndProgressiveEncodingsAgree) {
    KOVRA_REQUIRE_CORPUS();
    Gif regular = load_gif(wuffs_dir() / "hippopotamus.regular.gif");
    Gif interlaced = load_gif(wuffs_dir() / "hippopotamus.interlaced.gif");
    ASSERT_TRUE(regular.ok && interlaced.ok);
    ASSERT_FALSE(regular.frames.at(0).interlaced);
    ASSERT_TRUE(interlaced.frames.at(0).interlaced);
    EXPECT_EQ(regular.frames[0].indexes, interlaced.frames[0].indexes);
    for (int sample = 1; sample <= 4; ++sample) {
        EXPECT_EQ(compose_frames(regular, sample), compose_frames(interlaced, sample)) << sample;
        EXPECT_EQ(frame_indexes(regular, 0, sample), frame_indexes(interlaced, 0, sample)) << sample;
    }
}

namespace {

struct PygifCase {
    std::string input;
    int width = 0, height = 0;
    bool force_animation = false;     // the suite shows every image as a frame
    std::vector<std::string> pixels;  // one .rgba file per expected frame
};

PygifCase read_conf(const fs::path &path) {
    PygifCase c;
    std::ifstream in(path);
    std::string line, section;
    std::map<std::string, std::string> frame_pixels;
    std::vector<std::string> frame_names;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '[') {
            section = line.substr(1, line.find(']') - 1);
            continue;
        }
        size_t eq = line.find(" = ");
        if (eq == std::string::npos) continue;
        std::string key = line.substr(0, eq), value = line.substr(eq + 3);
        if (section == "config" && key == "input") c.input = value;
        if (section == "config" && key == "width") c.width = std::stoi(value);
        if (section == "config" && key == "height") c.height = std::stoi(value);
        if (section == "config" && key == "force-animation") c.force_animation = value == "yes";
        if (section == "config" && key == "frames") {
            std::stringstream list(value);
            for (std::string name; std::getline(list, name, ',');)
                if (!name.empty()) frame_names.push_back(name);
        }
        if (section != "config" && key == "pixels") frame_pixels[section] = value;
    }
    for (const std::string &name : frame_names) c.pixels.push_back(frame_pixels[name]);
    return c;
}

}  // namespace

// The suite's file names whose expectations cannot be compared, each with the rule that explains it.
const std::map<std::string, std::string> &pygif_explained() {
    static const std::map<std::string, std::string> explained = {
        {"no-data", "giflib refuses a file without an image; the suite shows a transparent dot"},
        {"image-zero-width", "giflib refuses an image of width 0"},
        {"image-zero-height", "giflib refuses an image of height 0"},
        {"image-zero-size", "giflib refuses an image of size 0 x 0"},
        {"max-codes", "giflib refuses this code stream"},
        {"max-width", "a descriptor field above 10000: the library skips the image"},
        {"max-height", "a descriptor field above 10000: the library skips the image"},
        {"unknown-extension", "the library's scanner consumes only an unknown extension's label"},
        {"invalid-colors", "the suite rejects indexes beyond the palette; here they draw transparent"},
        {"plain-text", "the suite renders no frame for a plain-text extension; here the image is drawn"},
    };
    return explained;
}

// The suite shows an image without a control block, or with a zero delay in a file that has
// non-zero delays, together with the images after it (one displayed frame); this library outputs
// every image (unless the suite forces every image to be a frame). Returns the image that ends each
// displayed frame.
std::vector<size_t> displayed_frame_ends(const Gif &gif, bool force_animation) {
    bool any_delay = false;
    for (const Frame &f : gif.frames) any_delay |= f.has_own_control && f.control.delay_ms > 0;
    std::vector<size_t> ends;
    for (size_t i = 0; i < gif.frames.size(); ++i) {
        const Frame &f = gif.frames[i];
        bool shown = force_animation || (f.has_own_control && (f.control.delay_ms > 0 || !any_delay));
        if (shown || i + 1 == gif.frames.size()) ends.push_back(i);
    }
    return ends;
}

TEST(GifReferencePygif, FramesMatchSuiteExpectations) {
    KOVRA_REQUIRE_CORPUS();
    const fs::path dir = corpus_dir() / "gif-suite" / "pygif-test-suite";
    std::ifstream tests(dir / "TESTS");
    ASSERT_TRUE(tests.good());
    size_t compared = 0;
    for (std::string name; std::getline(tests, name);) {
        if (name.empty()) continue;
        SCOPED_TRACE(name);
        if (pygif_explained().count(name) != 0) continue;
        PygifCase c = read_conf(dir / (name + ".conf"));
        Gif gif = load_gif(dir / c.input);
        std::vector<Image> ours = compose_frames(gif, 1);
        if (c.pixels.empty() && ours.empty()) continue;  // both refuse the file
        ASSERT_TRUE(gif.ok) << gif.error;
        ASSERT_TRUE(unmodelled(gif).empty()) << unmodelled(gif)[0].reason;
        EXPECT_EQ(gif.screen_width, c.width);
        EXPECT_EQ(gif.screen_height, c.height);
        std::vector<size_t> ends = displayed_frame_ends(gif, c.force_animation);
        ASSERT_EQ(ends.size(), c.pixels.size());
        for (size_t i = 0; i < ends.size(); ++i) {
            Image theirs = read_file(dir / c.pixels[i]);
            Comparison r = compare_images(ours.at(ends[i]), theirs, gif.screen_width);
            EXPECT_EQ(r.other, 0u) << "frame " << i << ": " << r.first_other;
            if (r.white_canvas > 0) {
                EXPECT_TRUE(canvas_can_be_white(gif)) << "frame " << i;
            }
            ++compared;
        }
    }
    EXPECT_GE(compared, 80u);
}

// The benchmark's fast giflib path must produce exactly what the reference composes.
TEST(GifReferenceBaseline, GiflibRgbaEqualsReferenceComposition) {
    KOVRA_REQUIRE_CORPUS();
    size_t files = 0;
    for (const char *dir : {"gif", "gif-suite"}) {
        for (const fs::path &path : corpus_files(dir, {".gif"})) {
            SCOPED_TRACE(path.string());
            std::vector<uint8_t> bytes = read_file(path);
            Gif gif = load_gif_memory(bytes.data(), bytes.size());
            if (!gif.ok || !unmodelled(gif).empty()) continue;
            std::vector<Image> expected = compose_frames(gif, 1);
            size_t seen = 0;
            int count = giflib_decode_rgba(bytes.data(), bytes.size(), [&](const uint8_t *rgba, size_t n) {
                ASSERT_LT(n, expected.size());
                EXPECT_EQ(0, memcmp(rgba, expected[n].data(), expected[n].size())) << "frame " << n;
                ++seen;
            });
            EXPECT_EQ(count, static_cast<int>(expected.size()));
            EXPECT_EQ(seen, expected.size());
            ++files;
        }
    }
    EXPECT_GT(files, 40u);
}

// Damaged files: giflib fails somewhere, the reader keeps what came before, and every reference
// function copes with the partial result.
TEST(GifReferenceRobustness, BrokenFilesGivePartialResults) {
    KOVRA_REQUIRE_CORPUS();
    size_t partial = 0;
    for (const fs::path &path : corpus_files("gif-broken")) {
        SCOPED_TRACE(path.string());
        Gif gif = load_gif(path);
        // Screens of many megapixels only cost time here; the reader's part is still exercised.
        if (int64_t{gif.screen_width} * gif.screen_height > (int64_t{1} << 22)) continue;
        if (!gif.ok) {
            EXPECT_FALSE(gif.error.empty());
            partial += gif.frames.empty() ? 0 : 1;
        }
        for (int sample = 1; sample <= 2; ++sample) {
            std::vector<Image> frames = compose_frames(gif, sample);
            OutSize out = output_size(gif, sample);
            for (const Image &f : frames) EXPECT_EQ(f.size(), size_t(out.width) * out.height * 4);
            if (!gif.frames.empty() && gif.screen_width > 0 && gif.screen_height > 0) {
                EXPECT_EQ(frame_indexes(gif, 0, sample).size(), size_t(out.width) * out.height);
            }
        }
        std::vector<uint8_t> bytes = read_file(path);
        giflib_decode_rgba(bytes.data(), bytes.size());
    }
    EXPECT_GT(partial, 0u);
}

// Every JPEG and TIFF of the shared corpus read by this library and by libexif, field by field.
// A field is expected to hold the peer's entry when the entry has the record's type and count,
// and to be empty otherwise. The ledger lists the files where the two readers differ in
// structure; an unlisted difference fails, and so does a listed one that is gone.

#include <gtest/gtest.h>
#include <libexif/exif-data.h>

#include <algorithm>
#include <map>
#include <set>

#include "exif_support.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

const std::map<std::string, std::string> kLedger = {
    {"jpeg-exif/exif-samples/exif-org/kodak-dc210.jpg", "rights_notice"},  // an empty ASCII value: libexif drops it
    {"jpeg-exif/pillow/exif_gps.jpg", "exposure_time date_time_original exposure_bias"},  // libexif stops IFD0 at a bad 514
    {"jpeg-exif/pillow/hopper_bad_exif.jpg", "orientation x_resolution y_resolution resolution_unit pixel_x_dimension pixel_y_dimension"},  // an IFD past the data: refused whole here, libexif reads what fits
    {"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail.width thumbnail.height thumbnail.compression thumbnail.data"},  // libexif takes IFD0's JPEG as the thumbnail
    // An EXIF pointer of count above 1 is an offset whose size runs past the data here; libexif follows it.
    {"tiff/broken-imagetestsuite/m1-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension"},
    {"tiff/broken-imagetestsuite/m11-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension"},
    {"tiff/broken-imagetestsuite/m16-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension"},
    {"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension"},
    {"tiff/broken-imagetestsuite/m8-42c19f8e79e582bef107f372f18a074b.tif", "pixel_x_dimension"},
};

// libexif's reading of TIFF data (none for a null pointer).
struct Peer {
    ExifData *data = nullptr;
    ExifByteOrder order = EXIF_BYTE_ORDER_MOTOROLA;
    Peer(const uint8_t *tiff, uint32_t length) {
        if (tiff == nullptr) return;
        Bytes block{'E', 'x', 'i', 'f', 0, 0};
        block.insert(block.end(), tiff, tiff + length);
        data = exif_data_new();
        exif_data_unset_option(data, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
        exif_data_unset_option(data, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_load_data(data, block.data(), static_cast<unsigned>(block.size()));
        order = exif_data_get_byte_order(data);
    }
    ~Peer() { data != nullptr ? exif_data_unref(data) : void(); }
    // The entry when this reader takes it: its type (SHORT or LONG for type 0) and count match.
    const ExifEntry *taken(int ifd, uint16_t tag, uint16_t type, int count) const {
        const ExifEntry *e = data != nullptr ? exif_content_get_entry(data->ifd[ifd], static_cast<ExifTag>(tag)) : nullptr;
        const int format = e != nullptr ? e->format : -1;
        return (type == 0 ? format == kShort || format == kLong : format == type) && (count < 0 || e->components == unsigned(count)) ? e : nullptr;
    }
    uint32_t word(const ExifEntry *e, int k) const {  // a rational's numerator and denominator are words too
        const int format = e != nullptr ? e->format : 0;
        return e == nullptr ? 0 : format == kShort ? exif_get_short(e->data + 2 * k, order) : format == kByte ? e->data[k] : exif_get_long(e->data + 4 * k, order);
    }
};

// (ours, peer's) for one field of the table.
std::pair<std::string, std::string> field_values(const DALTJ_ExifInfo &info, const Field &f, const Peer &p) {
    const ExifEntry *e = p.taken(f.ifd, f.tag, f.type, f.count);
    const std::string peer = e != nullptr ? std::string(reinterpret_cast<const char *>(e->data), e->size) : "(none)";
    const char *mine = f.held == kText || f.held == kBlock ? pointer_in(info, f) : nullptr;
    switch (f.held) {
        case kWords: {
            uint32_t expected[9];
            for (int k = 0; k < f.n; ++k) expected[k] = p.word(e, k);
            return {words(field_in(info, f), f.n), words(reinterpret_cast<const uint8_t *>(expected), f.n)};
        }
        case kBytes: {
            std::string expected(static_cast<size_t>(f.n), '\0');
            if (e != nullptr) std::copy_n(e->data, std::min<size_t>(e->size, f.tag == 29 ? 10 : f.n), expected.begin());
            return {std::string(reinterpret_cast<const char *>(field_in(info, f)), static_cast<size_t>(f.n)), expected};
        }
        default:
            if (mine == nullptr) return {"(none)", peer};
            if (e == nullptr) return {f.held == kText ? std::string(mine) : "(a block)", peer};
            return {std::string(mine, e->size) + (f.held == kText && mine[e->size] != 0 ? " unterminated" : ""), peer};
    }
}

using Differences = std::map<std::string, std::pair<std::string, std::string>>;

void compare_thumbnail(const Peer &p, const DALTJ_ThumbnailInfo &t, const Bytes &file, uint32_t base, Differences *out) {
    const auto same = [&](const char *field, uint64_t ours, const std::string &peer) {
        if (std::to_string(ours) != peer) (*out)[field] = {std::to_string(ours), peer};
    };
    const bool peer_jpeg = p.data != nullptr && p.data->size > 0;  // the peer's JPEG thumbnail, whose own frame header gives its size
    uint32_t width = p.word(p.taken(1, 256, 0, 1), 0), height = p.word(p.taken(1, 257, 0, 1), 0);
    if (peer_jpeg) DALTJ_GetJPEGResolution(p.data->data, p.data->size, &width, &height);
    same("thumbnail.width", t.width, std::to_string(width)), same("thumbnail.height", t.height, std::to_string(height));
    const ExifEntry *counts = p.taken(1, 279, 0, -1), *offsets = p.taken(1, 273, 0, -1);
    same("thumbnail.compression", t.compression, std::to_string(peer_jpeg ? 6 : counts != nullptr ? 0 : p.word(p.taken(1, 259, kShort, 1), 0)));
    if (peer_jpeg || t.compression == 6) {  // the bytes the record locates in the file against the peer's copy
        const bool inside = uint64_t{t.data_offset} + t.byte_count <= file.size();
        const std::string ours = t.byte_count == 0 ? "" : inside ? std::string(file.begin() + t.data_offset, file.begin() + t.data_offset + t.byte_count) : "outside";
        if (ours != (peer_jpeg ? std::string(p.data->data, p.data->data + p.data->size) : "")) (*out)["thumbnail.data"] = {"", ""};
        return same("thumbnail.present", t.present, t.byte_count != 0 ? "1" : "0");
    }
    // Strips: one is located exactly (two SHORTs are not taken); given as tables, the record holds where the tables lie.
    if (counts == nullptr || counts->components == 1) same("thumbnail.byte_count", t.byte_count, std::to_string(p.word(counts, 0))), same("thumbnail.present", t.present, p.word(counts, 0) != 0 ? "1" : "0");
    if (offsets == nullptr || offsets->components == 1) same("thumbnail.data_offset", t.data_offset, std::to_string(offsets != nullptr ? p.word(offsets, 0) + base : 0));
}

// The fields where `info` and the peer's reading of the TIFF data at `base` in `file` differ.
Differences compare(const DALTJ_ExifInfo &info, const Peer &p, const Bytes &file, uint32_t base) {
    Differences out;
    for (const Field &f : kFields) {
        if (f.ifd < 0) continue;
        const ExifEntry *iso = f.tag == 34855 ? p.taken(f.ifd, f.tag, f.type, -1) : nullptr;
        if (iso != nullptr && iso->components != 1) continue;  // several ISO values: the record holds where they lie
        const auto [ours, peer] = field_values(info, f, p);
        if (ours != peer) out[f.name] = {ours, peer};
    }
    compare_thumbnail(p, info.thumbnail, file, base, &out);
    return out;
}

// Fails on a difference the ledger does not list for `name`; marks the ledger's line seen.
void check(const std::string &name, const Differences &differences, std::set<std::string> *seen) {
    const auto listed = kLedger.find(name);
    for (const auto &[field, values] : differences) {
        const bool known = listed != kLedger.end() && (" " + listed->second + " ").find(" " + field + " ") != std::string::npos;
        if (known) seen->insert(name);
        EXPECT_TRUE(known) << name << ": " << field << " differs: ours " << values.first << ", libexif " << values.second;
    }
}

void expect_ledger_seen(const std::string &folder, const std::set<std::string> &seen) {
    for (const auto &[name, fields] : kLedger) EXPECT_TRUE(name.rfind(folder, 0) != 0 || seen.count(name) != 0) << "no longer differs: " << name;
}

std::string name_of(const std::filesystem::path &path) { return std::filesystem::relative(path, corpus_dir()).generic_string(); }

// The TIFF data of the first APP1 "Exif" segment that fits in the file: its offset and length.
std::pair<size_t, uint32_t> locate_exif(const Bytes &file) {
    static const uint8_t kId[] = {'E', 'x', 'i', 'f', 0, 0};
    for (auto at = file.begin(); (at = std::search(at + 1, file.end(), kId, kId + 6)) != file.end();) {
        const size_t i = static_cast<size_t>(at - file.begin());
        const uint32_t length = i >= 4 ? uint32_t{file[i - 2]} << 8 | file[i - 1] : 0;
        if (i >= 4 && file[i - 4] == 0xFF && file[i - 3] == 0xE1 && length >= 8 && i - 2 + length <= file.size()) return {i + 6, length - 8};
    }
    return {0, 0};
}

TEST(LibexifComparison, EveryCorpusJpegFromMemoryAndStream) {
    KOVRA_REQUIRE_CORPUS();
    std::set<std::string> seen;
    int blocks = 0, makes = 0, with_gps = 0, thumbnails = 0;
    for (const auto &path : corpus_files("jpeg-exif", {".jpg", ".jpeg", ".mpo", ".jps"})) {
        const Bytes file = read_file(path);
        const auto [at, length] = locate_exif(file);
        const Peer peer(length > 0 ? file.data() + at : nullptr, length);
        for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream}) {
            ExifRecord ours;
            get_exif(kind, file, &ours);
            check(name_of(path), compare(ours, peer, file, static_cast<uint32_t>(at)), &seen);
            blocks += length > 0, makes += ours.make != nullptr, with_gps += ours.gps != nullptr, thumbnails += ours.thumbnail.present;
        }
    }
    expect_ledger_seen("jpeg-exif/", seen);
    EXPECT_TRUE(blocks > 300 && makes > 180 && with_gps > 40 && thumbnails > 180);  // real metadata was compared
}

// The TIFF-file reader's embedded JPEG where one is found, and the files it refuses. child_ifd_jpeg.tiff
// gives its SubIFDs entry as one LONG, which this reader takes as where the offsets lie: nothing found.
const std::map<std::string, uint32_t> kTiffJpegs = {{"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", 8},
                                                    {"tiff/pillow/old-style-jpeg-compression.tif", 768}, {"tiff/exiftool-t-images/Nikon.nef", 1120}};
const std::set<std::string> kTiffRefused = {"tiff/broken-imagetestsuite/m13-42c19f8e79e582bef107f372f18a074b.tif",  // magic 0
                                            "tiff/broken-imagetestsuite/m6-42c19f8e79e582bef107f372f18a074b.tif",   // IFD0 past the end
                                            "tiff/exiftool-t-images/BigTIFF.btf", "tiff/exiftool-t-images/Panasonic.rw2", "tiff/pillow/hopper_bigtiff.tif"};

// Each TIFF as EXIF data, and through the TIFF-file reader: where libexif found a thumbnail, the embedded
// JPEG's offset is where its copy starts.
TEST(LibexifComparison, EveryCorpusTiff) {
    KOVRA_REQUIRE_CORPUS();
    std::set<std::string> seen;
    for (const auto &path : corpus_files("tiff", {".tif", ".tiff", ".dng", ".cr2", ".nef", ".rw2", ".iiq", ".btf"})) {
        const std::string name = name_of(path);
        const Bytes file = read_file(path);
        const Peer peer(file.data(), static_cast<uint32_t>(std::min<size_t>(file.size(), 0xFFFE - 6)));  // libexif's limit
        ExifRecord ours;
        DALTJ_ReadExifInfo(file.data(), 0, static_cast<uint32_t>(std::min<size_t>(file.size(), 0xFFFE - 6)), &ours);
        check(name, compare(ours, peer, file, 0), &seen);
        uint32_t offset = 0;
        EXPECT_EQ(read_tiff(SourceKind::kPath, file, &offset), kTiffRefused.count(name) != 0 ? 0 : 1) << name;
        EXPECT_EQ(offset, kTiffJpegs.count(name) != 0 ? kTiffJpegs.at(name) : 0u) << name;
        const bool peer_thumbnail = offset != 0 && peer.data->size > 0;
        EXPECT_TRUE(!peer_thumbnail || Bytes(peer.data->data, peer.data->data + peer.data->size) == Bytes(file.begin() + offset, file.begin() + std::min<size_t>(file.size(), offset + peer.data->size))) << name;
    }
    expect_ledger_seen("tiff/", seen);
}

}  // namespace
}  // namespace kovra::test

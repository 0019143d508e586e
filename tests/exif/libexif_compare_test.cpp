// Every JPEG and TIFF of the shared corpus read by this library and by libexif, compared field by
// field. The expected value of each field is the peer's entry with this reader's type and count
// rules applied: where the peer holds an entry of another type or count, the record must be
// empty (the comparison names the rule). Differences of structure between the two readers are
// listed below per file; an unlisted difference fails, and so does a listed one that is gone.

#include <gtest/gtest.h>
#include <libexif/exif-data.h>
#include <malloc.h>

#include <cstring>
#include <functional>
#include <map>
#include <set>

#include "exif_support.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

// Files where the readers differ in structure, the rule, and the fields it touches.
const std::map<std::pair<std::string, std::string>, std::string> kLedger = {
    // A zero-length ASCII value is an empty string here; libexif drops an entry of size 0.
    {{"jpeg-exif/exif-samples/exif-org/kodak-dc210.jpg", "empty ASCII"}, "rights_notice"},
    // libexif stops IFD0 at a tag 514 whose value lies past the data; this reader reads on.
    {{"jpeg-exif/pillow/exif_gps.jpg", "peer stops at a bad 514"}, "exposure_time date_time_original exposure_bias"},
    // An IFD whose entries run past the data is refused whole here; libexif reads what fits.
    {{"jpeg-exif/pillow/hopper_bad_exif.jpg", "IFD past the data"},
     "orientation x_resolution y_resolution resolution_unit pixel_x_dimension pixel_y_dimension"},
    // libexif takes a JPEG named in IFD0 as the thumbnail; the record's comes from IFD1 only.
    {{"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", "thumbnail in IFD0"},
     "thumbnail.width thumbnail.height thumbnail.compression thumbnail.data"},
    // An EXIF pointer of count above 1 is an offset whose size runs past the data here; libexif
    // follows it whatever its count.
    {{"tiff/broken-imagetestsuite/m1-42c19f8e79e582bef107f372f18a074b.tif", "pointer count"}, "pixel_x_dimension"},
    {{"tiff/broken-imagetestsuite/m11-42c19f8e79e582bef107f372f18a074b.tif", "pointer count"}, "pixel_x_dimension"},
    {{"tiff/broken-imagetestsuite/m16-42c19f8e79e582bef107f372f18a074b.tif", "pointer count"}, "pixel_x_dimension"},
    {{"tiff/broken-imagetestsuite/m7-42c19f8e79e582bef107f372f18a074b.tif", "pointer count"}, "pixel_x_dimension"},
    {{"tiff/broken-imagetestsuite/m8-42c19f8e79e582bef107f372f18a074b.tif", "pointer count"}, "pixel_x_dimension"},
};

struct Peer {
    ExifData *data;
    ExifByteOrder order;
};

// The peer's entry for a field when this reader takes it (else null, with the rule that refuses it).
struct Lookup {
    ExifEntry *entry = nullptr;
    std::string rule;
};

Lookup lookup(const Peer &p, ExifIfd ifd, uint16_t tag, std::initializer_list<ExifFormat> formats, long count) {
    ExifEntry *e = p.data != nullptr ? exif_content_get_entry(p.data->ifd[ifd], static_cast<ExifTag>(tag)) : nullptr;
    if (e == nullptr) return {};
    const std::string what = std::to_string(e->format) + " x" + std::to_string(e->components);
    if (std::find(formats.begin(), formats.end(), e->format) == formats.end()) return {nullptr, "type " + what};
    if (e->format == EXIF_FORMAT_SHORT && e->components == 2) return {nullptr, "two inline shorts"};
    if (count >= 0 && e->components != static_cast<unsigned long>(count)) return {nullptr, "count " + what};
    return {e, ""};
}

std::string escaped(const uint8_t *bytes, size_t n) {
    std::string text = "\"";
    for (size_t i = 0; i < n; ++i) {
        char hex[8];
        std::snprintf(hex, sizeof hex, bytes[i] >= 0x20 && bytes[i] < 0x7F && bytes[i] != '\\' ? "%c" : "\\x%02X", bytes[i]);
        text += hex;
    }
    return text + "\"";
}

std::string rationals(const DALTJ_Rational *r, int n) {
    std::string text;
    for (int k = 0; k < n; ++k) text += std::to_string(r[k].numerator) + "/" + std::to_string(r[k].denominator) + " ";
    return text;
}

std::string peer_number(const Peer &p, const ExifEntry *e) {
    if (e == nullptr) return "0";
    return std::to_string(e->format == EXIF_FORMAT_LONG ? exif_get_long(e->data, p.order) : exif_get_short(e->data, p.order));
}

// Rationals as this reader keeps them: unsigned words, or signed ones for SRATIONAL.
std::string peer_rationals(const Peer &p, const ExifEntry *e, int n) {
    std::string text;
    for (int k = 0; k < n; ++k) {
        const ExifRational r = e == nullptr ? ExifRational{0, 0} : exif_get_rational(e->data + 8 * k, p.order);
        const bool is_signed = e != nullptr && e->format == EXIF_FORMAT_SRATIONAL;
        text += is_signed ? std::to_string(static_cast<int32_t>(r.numerator)) + "/" + std::to_string(static_cast<int32_t>(r.denominator)) + " "
                          : std::to_string(r.numerator) + "/" + std::to_string(r.denominator) + " ";
    }
    return text;
}

// An owned copy against the peer's bytes: the same bytes (and a terminator for strings) or not.
std::string owned(const void *mine, const ExifEntry *e, bool terminated) {
    const auto *ours = static_cast<const uint8_t *>(mine);
    if (ours == nullptr) return "(none)";
    if (e == nullptr) return terminated ? escaped(ours, std::strlen(static_cast<const char *>(mine))) : "(a block)";
    if (malloc_usable_size(const_cast<uint8_t *>(ours)) < e->size + terminated) return "(a shorter copy)";
    return escaped(ours, e->size) + (terminated && ours[e->size] != 0 ? " unterminated" : "");
}

const DALTJ_GpsInfo &gps(const DALTJ_ExifInfo &i) {
    static const DALTJ_GpsInfo none{};
    return i.gps != nullptr ? *i.gps : none;
}

enum class Show { kNumber, kRationals, kText, kBlock, kBytes };
using Formats = std::initializer_list<ExifFormat>;
constexpr ExifFormat kShort = EXIF_FORMAT_SHORT, kLong = EXIF_FORMAT_LONG, kAscii = EXIF_FORMAT_ASCII,
                     kRational = EXIF_FORMAT_RATIONAL, kSRational = EXIF_FORMAT_SRATIONAL, kByte = EXIF_FORMAT_BYTE,
                     kUndefined = EXIF_FORMAT_UNDEFINED;

struct Field {
    const char *name;
    ExifIfd ifd;
    uint16_t tag;
    Formats formats;
    long count;  // -1: any
    Show show;
    int n;  // rationals or bytes shown
    std::function<std::string(const DALTJ_ExifInfo &)> value;  // kNumber, kRationals, kBytes
    std::function<const void *(const DALTJ_ExifInfo &)> copy = nullptr;  // kText, kBlock
};

#define NUMBER(field) [](const DALTJ_ExifInfo &i) { return std::to_string(i.field); }
#define RATIONALS(field, n) [](const DALTJ_ExifInfo &i) { return rationals(reinterpret_cast<const DALTJ_Rational *>(&i.field), n); }
#define SRATIONAL(field) [](const DALTJ_ExifInfo &i) { return std::to_string(i.field.numerator) + "/" + std::to_string(i.field.denominator) + " "; }
#define GPS_RATIONALS(field, n) [](const DALTJ_ExifInfo &i) { return rationals(reinterpret_cast<const DALTJ_Rational *>(&gps(i).field), n); }
#define GPS_BYTES(field, n) [](const DALTJ_ExifInfo &i) { return escaped(reinterpret_cast<const uint8_t *>(gps(i).field), n); }
#define COPY(expr) nullptr, [](const DALTJ_ExifInfo &i) -> const void * { return expr; }

const ExifIfd k0 = EXIF_IFD_0, kE = EXIF_IFD_EXIF, kG = EXIF_IFD_GPS, k1 = EXIF_IFD_1;
const Field kFields[] = {
    {"bits_per_sample", k0, 258, {kShort}, 3, Show::kNumber, 3, [](const DALTJ_ExifInfo &i) {
         return std::to_string(i.bits_per_sample[0]) + "," + std::to_string(i.bits_per_sample[1]) + "," + std::to_string(i.bits_per_sample[2]); }},
    {"compression", k0, 259, {kShort}, 1, Show::kNumber, 1, NUMBER(compression)},
    {"make", k0, 271, {kAscii}, -1, Show::kText, 0, COPY(i.make)},
    {"model", k0, 272, {kAscii}, -1, Show::kText, 0, COPY(i.model)},
    {"orientation", k0, 274, {kShort}, 1, Show::kNumber, 1, NUMBER(orientation)},
    {"x_resolution", k0, 282, {kRational}, 1, Show::kRationals, 1, RATIONALS(x_resolution, 1)},
    {"y_resolution", k0, 283, {kRational}, 1, Show::kRationals, 1, RATIONALS(y_resolution, 1)},
    {"resolution_unit", k0, 296, {kShort}, 1, Show::kNumber, 1, NUMBER(resolution_unit)},
    {"software", k0, 305, {kAscii}, -1, Show::kText, 0, COPY(i.software)},
    {"ycbcr_positioning", k0, 531, {kShort}, 1, Show::kNumber, 1, NUMBER(ycbcr_positioning)},
    {"rights_notice", k0, 33432, {kAscii}, -1, Show::kText, 0, COPY(i.rights_notice)},
    {"exposure_time", kE, 33434, {kRational}, 1, Show::kRationals, 1, RATIONALS(exposure_time, 1)},
    {"exif_version", kE, 36864, {kUndefined}, 4, Show::kBlock, 0, COPY(i.exif_version)},
    {"date_time_original", kE, 36867, {kAscii}, 20, Show::kText, 0, COPY(i.date_time_original)},
    {"date_time_digitized", kE, 36868, {kAscii}, 20, Show::kText, 0, COPY(i.date_time_digitized)},
    {"flash", kE, 37385, {kShort}, 1, Show::kNumber, 1, NUMBER(flash)},
    {"color_space", kE, 40961, {kShort}, 1, Show::kNumber, 1, NUMBER(color_space)},
    {"pixel_x_dimension", kE, 40962, {kShort, kLong}, 1, Show::kNumber, 1, NUMBER(pixel_x_dimension)},
    {"pixel_y_dimension", kE, 40963, {kShort, kLong}, 1, Show::kNumber, 1, NUMBER(pixel_y_dimension)},
    {"exposure_mode", kE, 41986, {kShort}, 1, Show::kNumber, 1, NUMBER(exposure_mode)},
    {"white_balance", kE, 41987, {kShort}, 1, Show::kNumber, 1, NUMBER(white_balance)},
    {"digital_zoom_ratio", kE, 41988, {kRational}, 1, Show::kRationals, 1, RATIONALS(digital_zoom_ratio, 1)},
    {"focal_length", kE, 37386, {kRational}, 1, Show::kRationals, 1, RATIONALS(focal_length, 1)},
    {"iso_speed", kE, 34855, {kShort}, 1, Show::kNumber, 1, NUMBER(iso_speed)},
    {"exposure_bias", kE, 37380, {kSRational}, 1, Show::kRationals, 1, SRATIONAL(exposure_bias)},
    {"f_number", kE, 33437, {kRational}, 1, Show::kRationals, 1, RATIONALS(f_number, 1)},
    {"shutter_speed", kE, 37377, {kSRational}, 1, Show::kRationals, 1, SRATIONAL(shutter_speed)},
    {"gps.version_id", kG, 0, {kByte}, 4, Show::kBytes, 4, GPS_BYTES(version_id, 4)},
    {"gps.latitude_ref", kG, 1, {kAscii}, 2, Show::kBytes, 4, GPS_BYTES(latitude_ref, 4)},
    {"gps.latitude", kG, 2, {kRational}, 3, Show::kRationals, 3, GPS_RATIONALS(latitude, 3)},
    {"gps.longitude_ref", kG, 3, {kAscii}, 2, Show::kBytes, 4, GPS_BYTES(longitude_ref, 4)},
    {"gps.longitude", kG, 4, {kRational}, 3, Show::kRationals, 3, GPS_RATIONALS(longitude, 3)},
    {"gps.altitude_ref", kG, 5, {kByte}, 1, Show::kBytes, 1, [](const DALTJ_ExifInfo &i) { uint8_t b = static_cast<uint8_t>(gps(i).altitude_ref); return escaped(&b, 1); }},
    {"gps.altitude", kG, 6, {kRational}, 1, Show::kRationals, 1, GPS_RATIONALS(altitude, 1)},
    {"gps.time_stamp", kG, 7, {kRational}, 3, Show::kRationals, 3, GPS_RATIONALS(time_stamp, 3)},
    {"gps.map_datum", kG, 18, {kAscii}, -1, Show::kText, 0, COPY(gps(i).map_datum)},
    {"gps.processing_method", kG, 27, {kUndefined}, -1, Show::kBlock, 0, COPY(gps(i).processing_method)},
    {"gps.date_stamp", kG, 29, {kAscii}, 11, Show::kBytes, 12, GPS_BYTES(date_stamp, 12)},  // byte 10 forced to 0
    {"thumbnail.photometric", k1, 262, {kShort}, 1, Show::kNumber, 1, NUMBER(thumbnail.photometric)},
    {"thumbnail.planar_configuration", k1, 284, {kShort}, 1, Show::kNumber, 1, NUMBER(thumbnail.planar_configuration)},
    {"thumbnail.tag_4173", k1, 4173, {kShort}, 1, Show::kNumber, 1, NUMBER(thumbnail.tag_4173)},
};

std::string expected(const Peer &p, const Field &f, const ExifEntry *e) {
    switch (f.show) {
        case Show::kNumber:
            if (f.n == 1) return peer_number(p, e);
            return e == nullptr ? "0,0,0" : std::to_string(exif_get_short(e->data, p.order)) + "," +
                                                std::to_string(exif_get_short(e->data + 2, p.order)) + "," +
                                                std::to_string(exif_get_short(e->data + 4, p.order));
        case Show::kRationals: return peer_rationals(p, e, f.n);
        case Show::kBytes: {
            uint8_t bytes[12] = {};
            if (e != nullptr) std::memcpy(bytes, e->data, std::min<size_t>(e->size, f.tag == 29 ? 10 : f.n));
            return escaped(bytes, static_cast<size_t>(f.n));
        }
        default: return e == nullptr ? "(none)" : escaped(e->data, e->size) + "";
    }
}

// A differing field: what it is, ours, the peer's; `rule` when a rule of this reader explains it.
struct Difference {
    std::string field, ours, peer, rule;
};

void compare_thumbnail(const Peer &p, const DALTJ_ExifInfo &o, const Bytes &file, uint32_t base, std::vector<Difference> *out) {
    const DALTJ_ThumbnailInfo &t = o.thumbnail;
    const bool peer_jpeg = p.data != nullptr && p.data->size > 0;
    const auto same = [&](const char *field, const std::string &ours, const std::string &peer) {
        if (ours != peer) out->push_back({field, ours, peer, ""});
    };
    uint32_t width = std::stoul(peer_number(p, lookup(p, k1, 256, {kShort, kLong}, 1).entry));
    uint32_t height = std::stoul(peer_number(p, lookup(p, k1, 257, {kShort, kLong}, 1).entry));
    if (peer_jpeg) DALTJ_GetJPEGResolution(p.data->data, p.data->size, &width, &height);  // its own frame header wins
    same("thumbnail.width", std::to_string(t.width), std::to_string(width));
    same("thumbnail.height", std::to_string(t.height), std::to_string(height));
    const Lookup counts = lookup(p, k1, 279, {kShort, kLong}, -1), offsets = lookup(p, k1, 273, {kShort, kLong}, -1);
    const std::string compression = peer_jpeg ? "6" : counts.entry != nullptr ? "0" : peer_number(p, lookup(p, k1, 259, {kShort}, 1).entry);
    same("thumbnail.compression", std::to_string(t.compression), compression);
    if (peer_jpeg || t.compression == 6) {
        // A JPEG thumbnail: the bytes the record locates in the file against the peer's copy.
        const uint64_t end = static_cast<uint64_t>(t.data_offset) + t.byte_count;
        const std::string ours = t.byte_count == 0 ? "(none)" : end > file.size() ? "outside" : escaped(file.data() + t.data_offset, t.byte_count);
        same("thumbnail.data", ours, peer_jpeg ? escaped(p.data->data, p.data->size) : "(none)");
        same("thumbnail.present", std::to_string(t.present), t.byte_count != 0 ? "1" : "0");
        return;
    }
    // Strips: one is located exactly; given as tables, the record holds where the tables lie.
    if (counts.entry == nullptr || counts.entry->components == 1) {
        same("thumbnail.byte_count", std::to_string(t.byte_count), peer_number(p, counts.entry));
        same("thumbnail.present", std::to_string(t.present), peer_number(p, counts.entry) != "0" ? "1" : "0");
    }
    if (offsets.entry == nullptr || offsets.entry->components == 1) {
        const uint32_t at = offsets.entry != nullptr ? std::stoul(peer_number(p, offsets.entry)) + base : 0;
        same("thumbnail.data_offset", std::to_string(t.data_offset), std::to_string(at));
    }
}

std::vector<Difference> compare(const DALTJ_ExifInfo &ours, const Bytes &file, const uint8_t *tiff, uint32_t length) {
    Peer p{nullptr, EXIF_BYTE_ORDER_MOTOROLA};
    if (tiff != nullptr) {
        const Bytes block = concat({{'E', 'x', 'i', 'f', 0, 0}, Bytes(tiff, tiff + length)});
        p.data = exif_data_new();
        exif_data_unset_option(p.data, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
        exif_data_unset_option(p.data, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_load_data(p.data, block.data(), static_cast<unsigned>(block.size()));
        p.order = exif_data_get_byte_order(p.data);
    }
    std::vector<Difference> out;
    for (const Field &f : kFields) {
        const Lookup l = lookup(p, f.ifd, f.tag, f.formats, f.count);
        const bool copy = f.show == Show::kText || f.show == Show::kBlock;
        const std::string mine = copy ? owned(f.copy(ours), l.entry, f.show == Show::kText) : f.value(ours);
        const std::string peer = expected(p, f, l.entry);
        if (mine != peer) out.push_back({f.name, mine, peer, ""});
        // ISOSpeedRatings of several values: the record holds where they lie, which the peer does not keep.
        if (mine != peer && f.tag == 34855 && l.entry == nullptr && !l.rule.empty()) out.back().rule = l.rule;
    }
    compare_thumbnail(p, ours, file, tiff != nullptr ? static_cast<uint32_t>(tiff - file.data()) : 0, &out);
    if (p.data != nullptr) exif_data_unref(p.data);
    return out;
}

// The first APP1 "Exif" segment of a plain segment walk (stopping at the scan), as libexif finds
// it: the TIFF data's offset and length, or {0, 0}.
std::pair<size_t, uint32_t> locate_exif(const Bytes &jpeg) {
    if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return {0, 0};
    for (size_t i = 2; i + 4 <= jpeg.size() && jpeg[i] == 0xFF;) {
        const uint8_t marker = jpeg[i + 1];
        if (marker == 0xDA || marker == 0xD9) break;
        if (marker == 0xFF || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            i += marker == 0xFF ? 1 : 2;
            continue;
        }
        const uint32_t length = static_cast<uint32_t>(jpeg[i + 2]) << 8 | jpeg[i + 3];
        if (marker == 0xE1 && length >= 8 && i + 2 + length <= jpeg.size() && std::memcmp(&jpeg[i + 4], "Exif\0\0", 6) == 0) {
            return {i + 10, length - 8};
        }
        i += 2 + length;
    }
    return {0, 0};
}

std::vector<std::filesystem::path> jpeg_files() { return corpus_files("jpeg-exif", {".jpg", ".jpeg", ".mpo", ".jps"}); }
std::vector<std::filesystem::path> tiff_files() {
    return corpus_files("tiff", {".tif", ".tiff", ".dng", ".cr2", ".nef", ".rw2", ".iiq", ".btf"});
}
std::string name_of(const std::filesystem::path &path) { return std::filesystem::relative(path, corpus_dir()).generic_string(); }

// Checks one file's differences against the ledger; `seen` collects the ledger lines met.
void check(const std::string &file, const std::vector<Difference> &differences, std::set<std::string> *seen) {
    for (const Difference &d : differences) {
        if (!d.rule.empty()) continue;
        bool listed = false;
        for (const auto &[key, fields] : kLedger) {
            if (key.first == file && (" " + fields + " ").find(" " + d.field + " ") != std::string::npos) {
                listed = true;
                seen->insert(file);
            }
        }
        EXPECT_TRUE(listed) << file << ": " << d.field << " differs: ours " << d.ours << ", libexif " << d.peer;
    }
}

void expect_ledger_seen(const std::string &prefix, const std::set<std::string> &seen) {
    for (const auto &[key, fields] : kLedger) {
        EXPECT_TRUE(key.first.rfind(prefix, 0) != 0 || seen.count(key.first) != 0) << "no longer differs: " << key.first;
    }
}

TEST(LibexifComparison, EveryCorpusJpeg) {
    KOVRA_REQUIRE_CORPUS();
    std::set<std::string> seen;
    int blocks = 0, makes = 0, with_gps = 0, thumbnails = 0;
    for (const auto &path : jpeg_files()) {
        const Bytes file = read_file(path);
        ExifRecord ours;
        get_exif(SourceKind::kMemory, file, &ours.info);
        const auto [at, length] = locate_exif(file);
        check(name_of(path), compare(ours.info, file, length > 0 ? file.data() + at : nullptr, length), &seen);
        blocks += length > 0, makes += ours->make != nullptr, with_gps += ours->gps != nullptr, thumbnails += ours->thumbnail.present;
    }
    expect_ledger_seen("jpeg-exif/", seen);
    EXPECT_GT(blocks, 150);  // real metadata was compared, not a corpus of empty records
    EXPECT_GT(makes, 90);
    EXPECT_GT(with_gps, 20);
    EXPECT_GT(thumbnails, 90);
}

TEST(LibexifComparison, EveryCorpusTiff) {
    KOVRA_REQUIRE_CORPUS();
    std::set<std::string> seen;
    for (const auto &path : tiff_files()) {
        const Bytes file = read_file(path);
        const auto length = static_cast<uint32_t>(std::min<size_t>(file.size(), 0xFFFE - 6));  // libexif's limit
        ExifRecord ours;
        DALTJ_ReadExifInfo(file.data(), 0, length, &ours.info);
        check(name_of(path), compare(ours.info, file, file.data(), length), &seen);
    }
    expect_ledger_seen("tiff/", seen);
}

TEST(LibexifComparison, EverySourceKindReadsTheSameRecord) {
    KOVRA_REQUIRE_CORPUS();
    for (const auto &path : jpeg_files()) {
        const Bytes file = read_file(path);
        ExifRecord reference;
        const int32_t result = get_exif(SourceKind::kMemory, file, &reference.info);
        for (SourceKind kind : {SourceKind::kPath, SourceKind::kStream, SourceKind::kOwnedMemory}) {
            ExifRecord record;
            EXPECT_EQ(get_exif(kind, file, &record.info), result) << name_of(path) << " " << source_kind_name(kind);
            EXPECT_EQ(describe(record.info), describe(reference.info)) << name_of(path) << " " << source_kind_name(kind);
        }
    }
}

// The TIFF-file reader's jpeg_offset on every corpus TIFF; where libexif found a thumbnail through
// the same tag, its copy starts there. child_ifd_jpeg.tiff gives its SubIFDs entry as one LONG,
// which this reader takes as where the sub-IFD offsets lie, and so finds nothing.
TEST(TiffJpegOffset, EveryCorpusTiff) {
    KOVRA_REQUIRE_CORPUS();
    const std::map<std::string, uint32_t> named = {{"tiff/broken-imagetestsuite/1af8e95246f4cfa4e5e58f67d6428ea3.tif", 8},
                                                   {"tiff/pillow/old-style-jpeg-compression.tif", 768},
                                                   {"tiff/exiftool-t-images/Nikon.nef", 1120}};
    const std::set<std::string> refused = {"tiff/broken-imagetestsuite/m13-42c19f8e79e582bef107f372f18a074b.tif",  // magic 0
                                           "tiff/broken-imagetestsuite/m6-42c19f8e79e582bef107f372f18a074b.tif",   // IFD0 past the end
                                           "tiff/exiftool-t-images/BigTIFF.btf", "tiff/exiftool-t-images/Panasonic.rw2",
                                           "tiff/pillow/hopper_bigtiff.tif"};
    for (const auto &path : tiff_files()) {
        const std::string name = name_of(path);
        const Bytes file = read_file(path);
        uint32_t offset = 0;
        EXPECT_EQ(read_tiff(SourceKind::kPath, file, &offset), refused.count(name) != 0 ? 0 : 1) << name;
        EXPECT_EQ(offset, named.count(name) != 0 ? named.at(name) : 0u) << name;
        if (offset == 0) continue;
        const Bytes block = concat({{'E', 'x', 'i', 'f', 0, 0}, file});
        ExifData *peer = exif_data_new_from_data(block.data(), static_cast<unsigned>(block.size()));
        if (peer->size > 0) {
            ASSERT_LE(offset + peer->size, file.size()) << name;
            EXPECT_EQ(std::memcmp(file.data() + offset, peer->data, peer->size), 0) << name;
        }
        exif_data_unref(peer);
    }
}

}  // namespace
}  // namespace kovra::test

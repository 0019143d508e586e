#include "peer_compare.h"

#include <libexif/exif-data.h>
#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

namespace kovra::test {
namespace {

struct Peer {
    ExifData *data = nullptr;
    ExifByteOrder order = EXIF_BYTE_ORDER_MOTOROLA;

    ExifEntry *entry(ExifIfd ifd, uint16_t tag) const {
        return data != nullptr ? exif_content_get_entry(data->ifd[ifd], static_cast<ExifTag>(tag)) : nullptr;
    }
};

// What the peer holds for one field, with this reader's type and count rules applied: `entry` is
// the entry when the reader takes it, `rule` names the rule when the peer has an entry the reader
// leaves aside.
struct Lookup {
    ExifEntry *entry = nullptr;
    std::string rule;
};

std::string format_name(ExifFormat format) {
    const char *name = exif_format_get_name(format);
    return name != nullptr ? name : "type " + std::to_string(format);
}

// `count` -1 accepts any count. SHORT with count 2 is refused by this reader in every field.
Lookup lookup(const Peer &p, ExifIfd ifd, uint16_t tag, std::initializer_list<ExifFormat> formats, long count) {
    Lookup found;
    ExifEntry *e = p.entry(ifd, tag);
    if (e == nullptr) return found;
    bool format_ok = false;
    for (ExifFormat f : formats) format_ok = format_ok || e->format == f;
    const std::string what = format_name(e->format) + " x" + std::to_string(e->components);
    if (!format_ok) {
        found.rule = "type (" + what + ")";
    } else if (e->format == EXIF_FORMAT_SHORT && e->components == 2) {
        found.rule = "two inline shorts";
    } else if (count >= 0 && e->components != static_cast<unsigned long>(count)) {
        found.rule = "count (" + what + ", needs " + std::to_string(count) + ")";
    } else {
        found.entry = e;
    }
    return found;
}

uint32_t number_of(const Peer &p, const Lookup &l) {
    if (l.entry == nullptr) return 0;
    return l.entry->format == EXIF_FORMAT_LONG ? exif_get_long(l.entry->data, p.order)
                                               : exif_get_short(l.entry->data, p.order);
}

std::string rational_text(uint32_t n, uint32_t d) { return std::to_string(n) + "/" + std::to_string(d); }
std::string srational_text(int32_t n, int32_t d) { return std::to_string(n) + "/" + std::to_string(d); }

std::string rationals_of(const Peer &p, const Lookup &l, int n, bool is_signed) {
    std::string text;
    for (int i = 0; i < n; ++i) {
        if (i > 0) text += ' ';
        if (l.entry == nullptr) {
            text += "0/0";
        } else if (is_signed) {
            ExifSRational r = exif_get_srational(l.entry->data + 8 * i, p.order);
            text += srational_text(r.numerator, r.denominator);
        } else {
            ExifRational r = exif_get_rational(l.entry->data + 8 * i, p.order);
            text += rational_text(r.numerator, r.denominator);
        }
    }
    return text;
}

std::string escaped(const uint8_t *bytes, size_t n) {
    std::string text = "\"";
    for (size_t i = 0; i < n; ++i) {
        const uint8_t c = bytes[i];
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
            text += static_cast<char>(c);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            text += hex;
        }
    }
    return text + "\"";
}

uint32_t crc32(const uint8_t *bytes, size_t n) {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        crc ^= bytes[i];
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

std::string blob_text(const uint8_t *bytes, size_t n) {
    char text[48];
    std::snprintf(text, sizeof text, "%zu bytes, crc %08X", n, crc32(bytes, n));
    return text;
}

class Comparison {
public:
    explicit Comparison(const Peer &peer) : p(peer) {}
    const Peer &p;
    std::vector<FieldDifference> differences;

    // Records a difference; a field the reader left empty by rule (and so equal to the expected
    // empty value) is recorded with that rule.
    void value(const std::string &field, const std::string &ours, const std::string &expected, const Lookup &l) {
        if (ours != expected) {
            differences.push_back({field, ours, expected, ""});
        } else if (!l.rule.empty()) {
            differences.push_back({field, ours, "an entry of " + l.rule.substr(l.rule.find('(') + 1), l.rule});
        }
    }
    void number(const std::string &field, uint32_t ours, const Lookup &l) {
        value(field, std::to_string(ours), std::to_string(number_of(p, l)), l);
    }
    void rationals(const std::string &field, const DALTJ_Rational *ours, int n, const Lookup &l) {
        std::string text;
        for (int k = 0; k < n; ++k) {
            if (k > 0) text += ' ';
            text += rational_text(ours[k].numerator, ours[k].denominator);
        }
        value(field, text, rationals_of(p, l, n, false), l);
    }
    void srational(const std::string &field, const DALTJ_SRational &ours, const Lookup &l) {
        value(field, srational_text(ours.numerator, ours.denominator), rationals_of(p, l, 1, true), l);
    }
    // An owned copy (string: with its terminator) against the peer's raw bytes, compared exactly.
    void owned(const std::string &field, const void *ours, const Lookup &l, bool terminated) {
        const auto *mine = static_cast<const uint8_t *>(ours);
        const ExifEntry *peer = l.entry;
        const auto usable = [&] { return malloc_usable_size(const_cast<uint8_t *>(mine)); };
        std::string ours_text = "(none)", peer_text = "(none)";
        if (mine != nullptr) {
            const size_t shown = peer != nullptr ? std::min<size_t>(peer->size, usable())
                                                 : std::strlen(static_cast<const char *>(ours));
            ours_text = escaped(mine, shown);
        }
        if (peer != nullptr) peer_text = escaped(peer->data, peer->size);
        if (mine != nullptr && peer != nullptr) {
            const size_t need = peer->size + (terminated ? 1 : 0);
            const bool same = usable() >= need && std::memcmp(mine, peer->data, peer->size) == 0 &&
                              (!terminated || mine[peer->size] == 0);
            if (same) ours_text = peer_text;
        }
        value(field, ours_text, peer_text, l);
    }
};

constexpr std::initializer_list<ExifFormat> kShort = {EXIF_FORMAT_SHORT};
constexpr std::initializer_list<ExifFormat> kShortOrLong = {EXIF_FORMAT_SHORT, EXIF_FORMAT_LONG};
constexpr std::initializer_list<ExifFormat> kAscii = {EXIF_FORMAT_ASCII};
constexpr std::initializer_list<ExifFormat> kRational = {EXIF_FORMAT_RATIONAL};
constexpr std::initializer_list<ExifFormat> kSRational = {EXIF_FORMAT_SRATIONAL};
constexpr std::initializer_list<ExifFormat> kUndefined = {EXIF_FORMAT_UNDEFINED};
constexpr std::initializer_list<ExifFormat> kByte = {EXIF_FORMAT_BYTE};

void compare_ifd0(Comparison &c, const DALTJ_ExifInfo &o) {
    const Peer &p = c.p;
    const ExifIfd i = EXIF_IFD_0;
    const Lookup bits = lookup(p, i, 258, kShort, 3);
    std::string peer_bits = "0,0,0";
    if (bits.entry != nullptr) {
        peer_bits = std::to_string(exif_get_short(bits.entry->data, p.order)) + "," +
                    std::to_string(exif_get_short(bits.entry->data + 2, p.order)) + "," +
                    std::to_string(exif_get_short(bits.entry->data + 4, p.order));
    }
    c.value("bits_per_sample",
            std::to_string(o.bits_per_sample[0]) + "," + std::to_string(o.bits_per_sample[1]) + "," +
                std::to_string(o.bits_per_sample[2]),
            peer_bits, bits);
    c.number("compression", o.compression, lookup(p, i, 259, kShort, 1));
    c.owned("make", o.make, lookup(p, i, 271, kAscii, -1), true);
    c.owned("model", o.model, lookup(p, i, 272, kAscii, -1), true);
    c.number("orientation", o.orientation, lookup(p, i, 274, kShort, 1));
    c.rationals("x_resolution", &o.x_resolution, 1, lookup(p, i, 282, kRational, 1));
    c.rationals("y_resolution", &o.y_resolution, 1, lookup(p, i, 283, kRational, 1));
    c.number("resolution_unit", o.resolution_unit, lookup(p, i, 296, kShort, 1));
    c.owned("software", o.software, lookup(p, i, 305, kAscii, -1), true);
    c.number("ycbcr_positioning", o.ycbcr_positioning, lookup(p, i, 531, kShort, 1));
    c.owned("rights_notice", o.rights_notice, lookup(p, i, 33432, kAscii, -1), true);
}

void compare_exif_ifd(Comparison &c, const DALTJ_ExifInfo &o) {
    const Peer &p = c.p;
    const ExifIfd i = EXIF_IFD_EXIF;
    c.rationals("exposure_time", &o.exposure_time, 1, lookup(p, i, 33434, kRational, 1));
    c.owned("exif_version", o.exif_version, lookup(p, i, 36864, kUndefined, 4), false);
    c.owned("date_time_original", o.date_time_original, lookup(p, i, 36867, kAscii, 20), true);
    c.owned("date_time_digitized", o.date_time_digitized, lookup(p, i, 36868, kAscii, 20), true);
    c.number("flash", o.flash, lookup(p, i, 37385, kShort, 1));
    c.number("color_space", o.color_space, lookup(p, i, 40961, kShort, 1));
    c.number("pixel_x_dimension", o.pixel_x_dimension, lookup(p, i, 40962, kShortOrLong, 1));
    c.number("pixel_y_dimension", o.pixel_y_dimension, lookup(p, i, 40963, kShortOrLong, 1));
    c.number("exposure_mode", o.exposure_mode, lookup(p, i, 41986, kShort, 1));
    c.number("white_balance", o.white_balance, lookup(p, i, 41987, kShort, 1));
    c.rationals("digital_zoom_ratio", &o.digital_zoom_ratio, 1, lookup(p, i, 41988, kRational, 1));
    c.rationals("focal_length", &o.focal_length, 1, lookup(p, i, 37386, kRational, 1));
    // ISOSpeedRatings: any count of SHORTs, but only one is a value; past two the record holds
    // where they lie, which the peer does not keep.
    Lookup iso = lookup(p, i, 34855, kShort, -1);
    if (iso.entry != nullptr && iso.entry->components != 1) {
        c.differences.push_back({"iso_speed", std::to_string(o.iso_speed), "several values", "several values"});
    } else {
        c.number("iso_speed", o.iso_speed, iso);
    }
    c.srational("exposure_bias", o.exposure_bias, lookup(p, i, 37380, kSRational, 1));
    c.rationals("f_number", &o.f_number, 1, lookup(p, i, 33437, kRational, 1));
    c.srational("shutter_speed", o.shutter_speed, lookup(p, i, 37377, kSRational, 1));
}

void compare_gps(Comparison &c, const DALTJ_ExifInfo &o) {
    const Peer &p = c.p;
    const ExifIfd i = EXIF_IFD_GPS;
    const DALTJ_GpsInfo none{};
    const DALTJ_GpsInfo &g = o.gps != nullptr ? *o.gps : none;
    const auto fixed = [&](const std::string &field, const void *ours, size_t n, const Lookup &l) {
        uint8_t expected[12] = {};
        if (l.entry != nullptr) std::memcpy(expected, l.entry->data, std::min<size_t>(n, l.entry->size));
        c.value(field, escaped(static_cast<const uint8_t *>(ours), n), escaped(expected, n), l);
    };
    fixed("gps.version_id", g.version_id, 4, lookup(p, i, 0, kByte, 4));
    fixed("gps.latitude_ref", g.latitude_ref, 4, lookup(p, i, 1, kAscii, 2));
    fixed("gps.longitude_ref", g.longitude_ref, 4, lookup(p, i, 3, kAscii, 2));
    c.rationals("gps.latitude", g.latitude, 3, lookup(p, i, 2, kRational, 3));
    c.rationals("gps.longitude", g.longitude, 3, lookup(p, i, 4, kRational, 3));
    const Lookup altitude_ref = lookup(p, i, 5, kByte, 1);
    c.value("gps.altitude_ref", std::to_string(g.altitude_ref),
            std::to_string(altitude_ref.entry != nullptr ? altitude_ref.entry->data[0] : 0), altitude_ref);
    c.rationals("gps.altitude", &g.altitude, 1, lookup(p, i, 6, kRational, 1));
    c.rationals("gps.time_stamp", g.time_stamp, 3, lookup(p, i, 7, kRational, 3));
    c.owned("gps.map_datum", g.map_datum, lookup(p, i, 18, kAscii, -1), true);
    c.owned("gps.processing_method", g.processing_method, lookup(p, i, 27, kUndefined, -1), false);
    const Lookup date = lookup(p, i, 29, kAscii, 11);
    uint8_t expected_date[12] = {};
    if (date.entry != nullptr) std::memcpy(expected_date, date.entry->data, 10);
    c.value("gps.date_stamp", escaped(reinterpret_cast<const uint8_t *>(g.date_stamp), 12), escaped(expected_date, 12),
            date);
}

void compare_thumbnail(Comparison &c, const DALTJ_ExifInfo &o, const Bytes &file, uint32_t base_offset) {
    const Peer &p = c.p;
    const ExifIfd i = EXIF_IFD_1;
    const DALTJ_ThumbnailInfo &t = o.thumbnail;
    const bool peer_jpeg = p.data != nullptr && p.data->size > 0;
    const Lookup width = lookup(p, i, 256, kShortOrLong, 1), height = lookup(p, i, 257, kShortOrLong, 1);
    uint32_t expected_width = number_of(p, width), expected_height = number_of(p, height);
    // The embedded JPEG's own frame header overrides the IFD's size.
    if (peer_jpeg) DALTJ_GetJPEGResolution(p.data->data, p.data->size, &expected_width, &expected_height);
    c.value("thumbnail.width", std::to_string(t.width), std::to_string(expected_width), peer_jpeg ? Lookup{} : width);
    c.value("thumbnail.height", std::to_string(t.height), std::to_string(expected_height), peer_jpeg ? Lookup{} : height);
    const Lookup strip_counts = lookup(p, i, 279, kShortOrLong, -1);
    const Lookup compression = lookup(p, i, 259, kShort, 1);
    const uint32_t expected_compression = peer_jpeg ? 6 : strip_counts.entry != nullptr ? 0 : number_of(p, compression);
    c.value("thumbnail.compression", std::to_string(t.compression), std::to_string(expected_compression),
            peer_jpeg || strip_counts.entry != nullptr ? Lookup{} : compression);
    c.number("thumbnail.photometric", t.photometric, lookup(p, i, 262, kShort, 1));
    c.number("thumbnail.planar_configuration", t.planar_configuration, lookup(p, i, 284, kShort, 1));
    c.number("thumbnail.tag_4173", t.tag_4173, lookup(p, i, 4173, kShort, 1));
    if (peer_jpeg || t.compression == 6) {
        // A JPEG thumbnail is compared by its bytes: the record's absolute position and count in
        // the file against the copy the peer made.
        std::string ours = "(none)";
        if (t.byte_count != 0) {
            const uint64_t end = static_cast<uint64_t>(t.data_offset) + t.byte_count;
            ours = end <= file.size() ? blob_text(file.data() + t.data_offset, t.byte_count) : "outside the file";
        }
        c.value("thumbnail.data", ours, peer_jpeg ? blob_text(p.data->data, p.data->size) : "(none)", Lookup{});
        c.value("thumbnail.present", std::to_string(t.present), t.byte_count != 0 ? "1" : "0", Lookup{});
        return;
    }
    // Strips: one strip is located exactly; with several the record holds where the tables lie.
    const Lookup strip_offsets = lookup(p, i, 273, kShortOrLong, -1);
    for (const Lookup *l : {&strip_counts, &strip_offsets}) {
        if (l->entry != nullptr && l->entry->components > 1) {
            c.differences.push_back({l == &strip_counts ? "thumbnail.byte_count" : "thumbnail.data_offset", "-",
                                     "several strips", "several strips"});
        }
    }
    if (strip_counts.entry == nullptr || strip_counts.entry->components == 1) {
        c.number("thumbnail.byte_count", t.byte_count, strip_counts);
        c.value("thumbnail.present", std::to_string(t.present), number_of(p, strip_counts) != 0 ? "1" : "0", Lookup{});
    }
    if (strip_offsets.entry == nullptr || strip_offsets.entry->components == 1) {
        const uint32_t expected = strip_offsets.entry != nullptr ? number_of(p, strip_offsets) + base_offset : 0;
        c.value("thumbnail.data_offset", std::to_string(t.data_offset), std::to_string(expected), strip_offsets);
    }
}

}  // namespace

std::vector<FieldDifference> compare_with_libexif(const DALTJ_ExifInfo &ours, const Bytes &file,
                                                  const uint8_t *tiff, uint32_t tiff_length) {
    Peer peer;
    Bytes block{'E', 'x', 'i', 'f', 0, 0};
    if (tiff != nullptr) {
        block.insert(block.end(), tiff, tiff + tiff_length);
        peer.data = exif_data_new();
        exif_data_unset_option(peer.data, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
        exif_data_unset_option(peer.data, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_load_data(peer.data, block.data(), static_cast<unsigned>(block.size()));
        peer.order = exif_data_get_byte_order(peer.data);
    }
    const uint32_t base_offset = tiff != nullptr ? static_cast<uint32_t>(tiff - file.data()) : 0;
    Comparison c(peer);
    compare_ifd0(c, ours);
    compare_exif_ifd(c, ours);
    compare_gps(c, ours);
    compare_thumbnail(c, ours, file, base_offset);
    if (peer.data != nullptr) exif_data_unref(peer.data);
    return c.differences;
}

int filled_fields(const DALTJ_ExifInfo &info) {
    int n = 0;
    for (const void *p : {static_cast<const void *>(info.make), static_cast<const void *>(info.model),
                          static_cast<const void *>(info.date_time_original), static_cast<const void *>(info.gps)}) {
        n += p != nullptr ? 1 : 0;
    }
    n += info.exposure_time.denominator != 0;
    n += info.thumbnail.present != 0;
    n += info.orientation != 0;
    return n;
}

}  // namespace kovra::test

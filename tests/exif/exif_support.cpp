#include "exif_support.h"

#include <algorithm>

#include "io/window_bytes.h"
#include "kovra_os.h"

namespace kovra::test {

std::string describe_record(const DALTJ_ExifInfo &info) {
    std::string text;
    const auto word = [&](uint32_t v) { text += std::to_string(v) + ' '; };
    const auto str = [&](const char *s) {
        if (s == nullptr) {
            text += "null ";
            return;
        }
        text += '"';
        text.append(s);
        text += "\" ";
    };
    const auto hex = [&](const uint8_t *b, size_t n) {
        static const char digits[] = "0123456789abcdef";
        if (b == nullptr) {
            text += "null ";
            return;
        }
        for (size_t i = 0; i < n; ++i) {
            text += digits[b[i] >> 4];
            text += digits[b[i] & 15];
        }
        text += ' ';
    };
    for (uint32_t v : info.bits_per_sample) word(v);
    word(info.compression);
    str(info.make);
    str(info.model);
    word(info.orientation);
    for (const DALTJ_Rational &r : {info.x_resolution, info.y_resolution, info.exposure_time, info.digital_zoom_ratio,
                                    info.focal_length, info.f_number}) {
        word(r.numerator);
        word(r.denominator);
    }
    word(info.resolution_unit);
    str(info.software);
    word(info.ycbcr_positioning);
    str(info.rights_notice);
    hex(info.exif_version, 4);
    str(info.date_time_original);
    str(info.date_time_digitized);
    for (uint32_t v : {info.flash, info.color_space, info.pixel_x_dimension, info.pixel_y_dimension,
                       info.exposure_mode, info.white_balance, info.iso_speed}) {
        word(v);
    }
    for (const DALTJ_SRational &r : {info.exposure_bias, info.shutter_speed}) {
        word(static_cast<uint32_t>(r.numerator));
        word(static_cast<uint32_t>(r.denominator));
    }
    hex(reinterpret_cast<const uint8_t *>(&info.thumbnail), sizeof info.thumbnail);
    if (info.gps == nullptr) {
        text += "no-gps";
        return text;
    }
    const DALTJ_GpsInfo &g = *info.gps;
    hex(g.version_id, 4);
    hex(reinterpret_cast<const uint8_t *>(g.latitude_ref), 4);
    hex(reinterpret_cast<const uint8_t *>(g.latitude), sizeof g.latitude);
    hex(reinterpret_cast<const uint8_t *>(g.longitude_ref), 4);
    hex(reinterpret_cast<const uint8_t *>(g.longitude), sizeof g.longitude);
    word(g.altitude_ref);
    hex(reinterpret_cast<const uint8_t *>(&g.altitude), sizeof g.altitude);
    hex(reinterpret_cast<const uint8_t *>(g.time_stamp), sizeof g.time_stamp);
    str(g.map_datum);
    text += g.processing_method != nullptr ? "method " : "no-method ";
    hex(reinterpret_cast<const uint8_t *>(g.date_stamp), 12);
    return text;
}

int32_t get_exif(KOVRADALT_DecInfo *dec, DALTJ_ExifInfo *info) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer == nullptr) return -1;
    DALTJ_ByteWindow window = io::make_window(dec->io, buffer);
    int32_t result = KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) < 0 ? -1 : DALTJ_GetExifInfo(&window, info);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    return result;
}

int32_t get_exif(SourceKind kind, const Bytes &file, DALTJ_ExifInfo *info) {
    SourceRecord source(kind, file);
    if (source.record() == nullptr) return -1;
    return get_exif(source.record(), info);
}

int32_t read_tiff(KOVRADALT_DecInfo *dec, DALTJ_TiffInfo *info) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer == nullptr) return -1;
    DALTJ_ByteWindow window = io::make_window(dec->io, buffer);
    int32_t result = KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) < 0
                         ? -1
                         : DALTJ_ReadTiffInfo(info, &window, 0, static_cast<uint32_t>(dec->io->size), 0);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    return result;
}

TiffBuilder::TiffBuilder(bool little_endian, uint32_t ifd0) : little_(little_endian) {
    bytes_ = little_endian ? Bytes{'I', 'I'} : Bytes{'M', 'M'};
    append16(42);
    append32(ifd0);
}

void TiffBuilder::put16(uint32_t at, uint32_t value) {
    if (bytes_.size() < at + 2) bytes_.resize(at + 2);
    bytes_[at] = static_cast<uint8_t>(little_ ? value : value >> 8);
    bytes_[at + 1] = static_cast<uint8_t>(little_ ? value >> 8 : value);
}

void TiffBuilder::put32(uint32_t at, uint32_t value) {
    if (bytes_.size() < at + 4) bytes_.resize(at + 4);
    for (int i = 0; i < 4; ++i) {
        const int shift = little_ ? 8 * i : 8 * (3 - i);
        bytes_[at + i] = static_cast<uint8_t>(value >> shift);
    }
}

void TiffBuilder::append16(uint32_t value) { put16(size(), value); }
void TiffBuilder::append32(uint32_t value) { put32(size(), value); }
void TiffBuilder::pad_to(uint32_t n) {
    if (bytes_.size() < n) bytes_.resize(n);
}

uint32_t TiffBuilder::add_bytes(const Bytes &data) {
    if (bytes_.size() % 2 != 0) bytes_.push_back(0);
    const uint32_t at = size();
    bytes_.insert(bytes_.end(), data.begin(), data.end());
    return at;
}

uint32_t TiffBuilder::add_string(const std::string &text) {
    Bytes data(text.begin(), text.end());
    data.push_back(0);
    return add_bytes(data);
}

uint32_t TiffBuilder::add_shorts(std::initializer_list<uint32_t> values) {
    const uint32_t at = add_bytes({});
    for (uint32_t v : values) append16(v);
    return at;
}

uint32_t TiffBuilder::add_rationals(std::initializer_list<std::pair<uint32_t, uint32_t>> values) {
    const uint32_t at = add_bytes({});
    for (const auto &[numerator, denominator] : values) {
        append32(numerator);
        append32(denominator);
    }
    return at;
}

uint32_t TiffBuilder::add_ifd(const std::vector<Entry> &entries, uint32_t next) {
    const uint32_t at = add_bytes({});
    append16(static_cast<uint32_t>(entries.size()));
    for (const Entry &e : entries) {
        append16(e.tag);
        append16(e.type);
        append32(e.count);
        bytes_.insert(bytes_.end(), e.value, e.value + 4);
    }
    append32(next);
    return at;
}

void TiffBuilder::set_next(uint32_t ifd, uint32_t next) {
    const uint32_t count = little_ ? (bytes_[ifd] | bytes_[ifd + 1] << 8) : (bytes_[ifd] << 8 | bytes_[ifd + 1]);
    put32(ifd + 2 + 12 * count, next);
}

TiffBuilder::Entry TiffBuilder::short_entry(uint16_t tag, uint32_t value) const {
    Entry e{tag, DALTJ_TIFF_SHORT, 1, {}};
    e.value[little_ ? 0 : 1] = static_cast<uint8_t>(value);
    e.value[little_ ? 1 : 0] = static_cast<uint8_t>(value >> 8);
    return e;
}

TiffBuilder::Entry TiffBuilder::long_entry(uint16_t tag, uint32_t value) const {
    return offset_entry(tag, DALTJ_TIFF_LONG, 1, value);
}

TiffBuilder::Entry TiffBuilder::offset_entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t offset) const {
    Entry e{tag, type, count, {}};
    for (int i = 0; i < 4; ++i) e.value[i] = static_cast<uint8_t>(offset >> (little_ ? 8 * i : 8 * (3 - i)));
    return e;
}

TiffBuilder::Entry TiffBuilder::inline_entry(uint16_t tag, uint16_t type, uint32_t count, const Bytes &value) const {
    Entry e{tag, type, count, {}};
    for (size_t i = 0; i < value.size() && i < 4; ++i) e.value[i] = value[i];
    return e;
}

Bytes segment(uint8_t marker, const Bytes &payload) {
    const size_t length = payload.size() + 2;
    Bytes out(4 + payload.size());
    out[0] = 0xFF;
    out[1] = marker;
    out[2] = static_cast<uint8_t>(length >> 8);
    out[3] = static_cast<uint8_t>(length);
    std::copy(payload.begin(), payload.end(), out.begin() + 4);
    return out;
}

Bytes exif_segment(const Bytes &tiff) {
    Bytes payload{'E', 'x', 'i', 'f', 0, 0};
    payload.insert(payload.end(), tiff.begin(), tiff.end());
    return segment(0xE1, payload);
}

Bytes frame_header(uint32_t width, uint32_t height, uint8_t marker) {
    return segment(marker, {8, static_cast<uint8_t>(height >> 8), static_cast<uint8_t>(height),
                            static_cast<uint8_t>(width >> 8), static_cast<uint8_t>(width), 3, 1, 0x22, 0, 2, 0x11,
                            1, 3, 0x11, 1});
}

Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes scan_and_end() {
    return concat({segment(0xDA, {3, 1, 0, 2, 0x11, 3, 0x11, 0, 63, 0}),
                   Bytes{0x12, 0x34, 0xFF, 0x00, 0x56, 0xFF, 0xD0, 0x78, 0xFF, 0xD9}});
}

Bytes jpeg_file(std::initializer_list<Bytes> segments) {
    Bytes out{0xFF, 0xD8};
    for (const Bytes &s : segments) out.insert(out.end(), s.begin(), s.end());
    const Bytes tail = concat({frame_header(16, 8), scan_and_end()});
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

Bytes small_jpeg(uint32_t width, uint32_t height) {
    return concat({Bytes{0xFF, 0xD8}, frame_header(width, height), scan_and_end()});
}

}  // namespace kovra::test

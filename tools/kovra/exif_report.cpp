// Reading and printing a file's EXIF record for `kovra info --exif` and `kovra exif-thumb`.
// GPS positions are shown as degrees, minutes and seconds with their reference letter, and as a
// signed decimal (south and west negative); a rational with a zero denominator counts as 0. A GPS
// directory without a latitude or longitude gives no position (no text line, null in JSON).
// Text output shows strings through printable_text (trailing blanks trimmed, control bytes
// escaped); JSON keeps them whole.

#include "exif_report.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "json_writer.h"
#include "text_escape.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "tools/common/exif_info_release.h"

namespace kovra::tool {
namespace {

double ratio(const DALTJ_Rational &r) {
    return r.denominator != 0 ? static_cast<double>(r.numerator) / r.denominator : 0.0;
}

// Degrees + minutes / 60 + seconds / 3600, negative for the "S" and "W" references.
double decimal_degrees(const DALTJ_Rational dms[3], const char *ref) {
    const double value = ratio(dms[0]) + ratio(dms[1]) / 60.0 + ratio(dms[2]) / 3600.0;
    return ref[0] == 'S' || ref[0] == 'W' ? -value : value;
}

std::string rational(const DALTJ_Rational &r) { return std::to_string(r.numerator) + "/" + std::to_string(r.denominator); }
std::string srational(const DALTJ_SRational &r) {
    return std::to_string(r.numerator) + "/" + std::to_string(r.denominator);
}

std::string short_text(const char *text, size_t max) {
    size_t n = 0;
    while (n < max && text[n] != '\0') ++n;
    return std::string(text, n);
}

std::string version_text(const uint8_t *version) {
    return version != nullptr ? std::string(reinterpret_cast<const char *>(version), 4) : std::string();
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", value);
    return text;
}

std::string dms_text(const DALTJ_Rational dms[3], const char *ref) {
    char text[96];
    std::snprintf(text, sizeof text, "%g deg %g' %g\" %s (%s)", ratio(dms[0]), ratio(dms[1]), ratio(dms[2]),
                  short_text(ref, 2).c_str(), number(decimal_degrees(dms, ref)).c_str());
    return text;
}

// A coordinate the GPS directory really holds: its reference letter or one of its rationals.
bool has_coordinate(const DALTJ_Rational dms[3], const char *ref) {
    return ref[0] != '\0' || dms[0].denominator != 0 || dms[1].denominator != 0 || dms[2].denominator != 0;
}

bool has_position(const DALTJ_GpsInfo &g) {
    return has_coordinate(g.latitude, g.latitude_ref) && has_coordinate(g.longitude, g.longitude_ref);
}

// Exposure time as a fraction of a second ("1/250 s", or "2.5 s" from one second up) beside the
// raw rational.
std::string exposure_text(const DALTJ_Rational &r) {
    if (r.denominator == 0) return {};
    char text[96];
    const double seconds = ratio(r);
    if (seconds > 0 && seconds < 1) {
        std::snprintf(text, sizeof text, "1/%g s (%s)", 1 / seconds, rational(r).c_str());
    } else {
        std::snprintf(text, sizeof text, "%g s (%s)", seconds, rational(r).c_str());
    }
    return text;
}

std::string f_number_text(const DALTJ_Rational &r) {
    if (r.denominator == 0) return {};
    char text[64];
    std::snprintf(text, sizeof text, "f/%.1f (%s)", ratio(r), rational(r).c_str());
    return text;
}

// Whether the EXIF sub-directory was read at all: then a zero flash, exposure mode or white
// balance is a value of the file (no flash, auto), not an absent field.
bool has_exif_directory(const DALTJ_ExifInfo &e) {
    return e.exif_version != nullptr || e.date_time_original != nullptr || e.date_time_digitized != nullptr ||
           e.exposure_time.denominator != 0 || e.f_number.denominator != 0 || e.focal_length.denominator != 0 ||
           e.iso_speed != 0 || e.flash != 0 || e.color_space != 0 || e.pixel_x_dimension != 0 ||
           e.exposure_mode != 0 || e.white_balance != 0;
}

constexpr int kDecimalDigits = 6;  // of the signed decimal degrees, as in the text output

// One JSON value per EXIF type; field() names it inside an object.
void put(JsonWriter &json, uint32_t number) { json.value(number); }
void put(JsonWriter &json, bool flag) { json.value(flag); }

// Bytes of no known encoding, already cut to the field's length.
void put(JsonWriter &json, const std::string &bytes) { json.byte_string(bytes); }

// A string field: its bytes up to the terminator, or null when the file did not have it.
void put(JsonWriter &json, const char *text) {
    if (text != nullptr) {
        json.byte_string(text);
    } else {
        json.null();
    }
}

void put(JsonWriter &json, const DALTJ_Rational &r) {
    json.begin_array();
    json.value(r.numerator);
    json.value(r.denominator);
    json.end_array();
}

void put(JsonWriter &json, const DALTJ_SRational &r) {
    json.begin_array();
    json.value(r.numerator);
    json.value(r.denominator);
    json.end_array();
}

template <typename T, size_t kCount>
void put(JsonWriter &json, const T (&items)[kCount]) {
    json.begin_array();
    for (const T &item : items) put(json, item);
    json.end_array();
}

void put(JsonWriter &json, const DALTJ_GpsInfo &g);
void put(JsonWriter &json, const DALTJ_ThumbnailInfo &t);

template <typename T>
void field(JsonWriter &json, const char *name, const T &value) {
    json.key(name);
    put(json, value);
}

// NAME_ref, NAME (d/m/s rationals) and NAME_decimal; the last two null without a position.
void coordinate(JsonWriter &json, const std::string &name, const DALTJ_Rational (&dms)[3], const char *ref,
                bool present) {
    field(json, (name + "_ref").c_str(), short_text(ref, 2));
    json.key(name);
    if (present) {
        put(json, dms);
    } else {
        json.null();
    }
    json.key(name + "_decimal");
    if (present) {
        json.fixed(decimal_degrees(dms, ref), kDecimalDigits);
    } else {
        json.null();
    }
}

void put(JsonWriter &json, const DALTJ_GpsInfo &g) {
    json.begin_object();
    json.key("version_id");
    json.begin_array();
    for (const uint8_t part : g.version_id) json.value(static_cast<uint32_t>(part));
    json.end_array();
    coordinate(json, "latitude", g.latitude, g.latitude_ref, has_position(g));
    coordinate(json, "longitude", g.longitude, g.longitude_ref, has_position(g));
    field(json, "altitude_ref", g.altitude_ref);
    field(json, "altitude", g.altitude);
    field(json, "time_stamp", g.time_stamp);
    field(json, "map_datum", g.map_datum);
    field(json, "processing_method_present", g.processing_method != nullptr);
    field(json, "date_stamp", short_text(g.date_stamp, 11));
    json.end_object();
}

void put(JsonWriter &json, const DALTJ_ThumbnailInfo &t) {
    json.begin_object();
    field(json, "present", t.present);
    field(json, "width", t.width);
    field(json, "height", t.height);
    field(json, "compression", t.compression);
    field(json, "photometric", t.photometric);
    field(json, "byte_count", t.byte_count);
    field(json, "data_offset", t.data_offset);
    field(json, "planar_configuration", t.planar_configuration);
    field(json, "tag_4173", t.tag_4173);
    json.end_object();
}

}  // namespace

ExifReport::ExifReport(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return;
    // TIFF files are recognised by their header; everything else is searched as a JPEG.
    char head[2] = {};
    in.read(head, 2);
    tiff_ = (head[0] == 'I' && head[1] == 'I') || (head[0] == 'M' && head[1] == 'M');
    in.close();
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_PATH, const_cast<char *>(path.c_str()), 0, 0, 0);
    if (dec == nullptr) return;
    opened_ = true;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer != nullptr && KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) >= 0) {
        DALTJ_ByteWindow window{dec->io, 0, dec->io->size, 0, 0, buffer};
        if (tiff_) {
            DALTJ_TiffInfo tiff_info{};
            DALTJ_ReadTiffInfo(&tiff_info, &window, 0, static_cast<uint32_t>(dec->io->size), 0);
            tiff_jpeg_offset_ = tiff_info.jpeg_offset;
        } else {
            found_ = DALTJ_GetExifInfo(&window, &info_) == 1;
        }
    }
    if (buffer != nullptr) DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    KOVRADALT_DestroyDecInfo(dec);
    if (tiff_) {
        // A TIFF file is its own TIFF data: read its IFDs from memory.
        std::ifstream whole(path, std::ios::binary);
        const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
        found_ = DALTJ_ReadExifInfo(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), &info_) == 1;
    }
}

ExifReport::~ExifReport() { kovra::exif::release_exif_fields(&info_); }

void ExifReport::print_text(FILE *out, const char *indent) const {
    if (tiff_) std::fprintf(out, "%sembedded JPEG offset: %u\n", indent, tiff_jpeg_offset_);
    if (!found_) {
        std::fprintf(out, "%sno EXIF\n", indent);
        return;
    }
    const DALTJ_ExifInfo &e = info_;
    const auto line = [&](const char *name, const std::string &value) {
        if (!value.empty()) std::fprintf(out, "%s%s: %s\n", indent, name, value.c_str());
    };
    const auto count = [](uint32_t v) { return v != 0 ? std::to_string(v) : std::string(); };
    const auto text = [](const char *s) {
        std::string quoted;
        if (s != nullptr) quoted.append(1, '"').append(printable_text(s)).append(1, '"');
        return quoted;
    };
    const auto ratio_text = [](const DALTJ_Rational &r) { return r.denominator != 0 ? rational(r) : std::string(); };
    const auto sratio_text = [](const DALTJ_SRational &r) { return r.denominator != 0 ? srational(r) : std::string(); };
    if (e.bits_per_sample[0] != 0) {
        line("bits per sample", std::to_string(e.bits_per_sample[0]) + " " + std::to_string(e.bits_per_sample[1]) +
                                    " " + std::to_string(e.bits_per_sample[2]));
    }
    line("compression", count(e.compression));
    line("make", text(e.make));
    line("model", text(e.model));
    line("orientation", count(e.orientation));
    line("x resolution", ratio_text(e.x_resolution));
    line("y resolution", ratio_text(e.y_resolution));
    line("resolution unit", count(e.resolution_unit));
    line("software", text(e.software));
    line("YCbCr positioning", count(e.ycbcr_positioning));
    line("rights notice", text(e.rights_notice));
    line("exposure time", exposure_text(e.exposure_time));
    line("EXIF version", printable_text(version_text(e.exif_version)));
    line("date/time original", text(e.date_time_original));
    line("date/time digitized", text(e.date_time_digitized));
    const bool exif_directory = has_exif_directory(e);
    const auto setting = [&](uint32_t v) { return exif_directory ? std::to_string(v) : std::string(); };
    line("flash", setting(e.flash));
    line("colour space", count(e.color_space));
    line("pixel x dimension", count(e.pixel_x_dimension));
    line("pixel y dimension", count(e.pixel_y_dimension));
    line("exposure mode", setting(e.exposure_mode));
    line("white balance", setting(e.white_balance));
    line("digital zoom ratio", ratio_text(e.digital_zoom_ratio));
    line("focal length", ratio_text(e.focal_length));
    line("ISO speed", count(e.iso_speed));
    line("exposure bias", sratio_text(e.exposure_bias));
    line("f-number", f_number_text(e.f_number));
    line("shutter speed", sratio_text(e.shutter_speed));
    const DALTJ_ThumbnailInfo &t = e.thumbnail;
    if (t.present != 0) {
        std::fprintf(out, "%sthumbnail: %s, %u x %u, %u bytes at offset %u\n", indent,
                     t.compression == 6 ? "JPEG" : "strips", t.width, t.height, t.byte_count, t.data_offset);
    }
    if (e.gps != nullptr) {
        const DALTJ_GpsInfo &g = *e.gps;
        if (has_position(g)) {
            line("GPS latitude", dms_text(g.latitude, g.latitude_ref));
            line("GPS longitude", dms_text(g.longitude, g.longitude_ref));
        }
        if (g.altitude.denominator != 0) {
            line("GPS altitude", number(ratio(g.altitude)) + " m " + (g.altitude_ref == 1 ? "below" : "above") +
                                     " sea level");
        }
        if (g.time_stamp[0].denominator != 0) {
            char time[48];
            std::snprintf(time, sizeof time, "%02g:%02g:%02g UTC", ratio(g.time_stamp[0]), ratio(g.time_stamp[1]),
                          ratio(g.time_stamp[2]));
            line("GPS time", time);
        }
        line("GPS date", printable_text(short_text(g.date_stamp, 11)));
        line("GPS map datum", text(g.map_datum));
    }
}

void ExifReport::write_json(JsonWriter &json) const {
    const DALTJ_ExifInfo &e = info_;
    json.begin_object();
    field(json, "found", found_);
    if (tiff_) field(json, "tiff_jpeg_offset", tiff_jpeg_offset_);
    field(json, "bits_per_sample", e.bits_per_sample);
    field(json, "compression", e.compression);
    field(json, "make", e.make);
    field(json, "model", e.model);
    field(json, "orientation", e.orientation);
    field(json, "x_resolution", e.x_resolution);
    field(json, "y_resolution", e.y_resolution);
    field(json, "resolution_unit", e.resolution_unit);
    field(json, "software", e.software);
    field(json, "ycbcr_positioning", e.ycbcr_positioning);
    field(json, "rights_notice", e.rights_notice);
    field(json, "exposure_time", e.exposure_time);
    // Four bytes, not a terminated string: a zero byte among them is written as \u0000.
    json.key("exif_version");
    if (e.exif_version != nullptr) {
        json.byte_string(std::string_view(reinterpret_cast<const char *>(e.exif_version), 4));
    } else {
        json.null();
    }
    field(json, "date_time_original", e.date_time_original);
    field(json, "date_time_digitized", e.date_time_digitized);
    field(json, "flash", e.flash);
    field(json, "color_space", e.color_space);
    field(json, "pixel_x_dimension", e.pixel_x_dimension);
    field(json, "pixel_y_dimension", e.pixel_y_dimension);
    field(json, "exposure_mode", e.exposure_mode);
    field(json, "white_balance", e.white_balance);
    field(json, "digital_zoom_ratio", e.digital_zoom_ratio);
    field(json, "focal_length", e.focal_length);
    field(json, "iso_speed", e.iso_speed);
    field(json, "exposure_bias", e.exposure_bias);
    field(json, "f_number", e.f_number);
    field(json, "shutter_speed", e.shutter_speed);
    field(json, "thumbnail", e.thumbnail);
    json.key("gps");
    if (e.gps != nullptr) {
        put(json, *e.gps);
    } else {
        json.null();
    }
    json.end_object();
}

}  // namespace kovra::tool

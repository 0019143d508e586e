// Reading and printing a file's EXIF record for `kovra info --exif` and `kovra exif-thumb`.
// GPS positions are shown as degrees, minutes and seconds with their reference letter, and as a
// signed decimal (south and west negative); a rational with a zero denominator counts as 0.

#include "exif_report.h"

#include "exif/info_release.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <vector>

#include "kovra_decinfo.h"
#include "kovra_os.h"

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

std::string json_string(const char *text, size_t n) {
    std::string out = "\"";
    for (size_t i = 0; i < n; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            out += escape;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string json_string(const char *text) { return text != nullptr ? json_string(text, std::strlen(text)) : "null"; }

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

// One "name": value pair of a JSON object under construction.
struct JsonObject {
    std::string text = "{";
    void add(const char *name, const std::string &json_value) {
        if (text.size() > 1) text += ",";
        text += "\"";
        text += name;
        text += "\":";
        text += json_value;
    }
    void add(const char *name, uint32_t value) { add(name, std::to_string(value)); }
    std::string done() { return text + "}"; }
};

// A JSON array of already formatted values.
std::string json_array(std::initializer_list<std::string> items) {
    std::string out(1, '[');
    for (const std::string &item : items) {
        if (out.size() > 1) out.append(",");
        out.append(item);
    }
    out.push_back(']');
    return out;
}

std::string json_rational(const DALTJ_Rational &r) {
    return json_array({std::to_string(r.numerator), std::to_string(r.denominator)});
}
std::string json_srational(const DALTJ_SRational &r) {
    return json_array({std::to_string(r.numerator), std::to_string(r.denominator)});
}
std::string json_rationals(const DALTJ_Rational *r) {
    return json_array({json_rational(r[0]), json_rational(r[1]), json_rational(r[2])});
}

std::string gps_json(const DALTJ_GpsInfo &g) {
    JsonObject o;
    o.add("version_id", json_array({std::to_string(g.version_id[0]), std::to_string(g.version_id[1]),
                                    std::to_string(g.version_id[2]), std::to_string(g.version_id[3])}));
    o.add("latitude_ref", json_string(short_text(g.latitude_ref, 2).c_str()));
    o.add("latitude", json_rationals(g.latitude));
    o.add("latitude_decimal", number(decimal_degrees(g.latitude, g.latitude_ref)));
    o.add("longitude_ref", json_string(short_text(g.longitude_ref, 2).c_str()));
    o.add("longitude", json_rationals(g.longitude));
    o.add("longitude_decimal", number(decimal_degrees(g.longitude, g.longitude_ref)));
    o.add("altitude_ref", g.altitude_ref);
    o.add("altitude", json_rational(g.altitude));
    o.add("time_stamp", json_rationals(g.time_stamp));
    o.add("map_datum", json_string(g.map_datum));
    o.add("processing_method_present", g.processing_method != nullptr ? "true" : "false");
    o.add("date_stamp", json_string(short_text(g.date_stamp, 11).c_str()));
    return o.done();
}

std::string thumbnail_json(const DALTJ_ThumbnailInfo &t) {
    JsonObject o;
    o.add("present", t.present);
    o.add("width", t.width);
    o.add("height", t.height);
    o.add("compression", t.compression);
    o.add("photometric", t.photometric);
    o.add("byte_count", t.byte_count);
    o.add("data_offset", t.data_offset);
    o.add("planar_configuration", t.planar_configuration);
    o.add("tag_4173", t.tag_4173);
    return o.done();
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
        if (s != nullptr) quoted.append(1, '"').append(s).append(1, '"');
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
    line("exposure time", ratio_text(e.exposure_time));
    line("EXIF version", version_text(e.exif_version));
    line("date/time original", text(e.date_time_original));
    line("date/time digitized", text(e.date_time_digitized));
    line("flash", count(e.flash));
    line("colour space", count(e.color_space));
    line("pixel x dimension", count(e.pixel_x_dimension));
    line("pixel y dimension", count(e.pixel_y_dimension));
    line("exposure mode", count(e.exposure_mode));
    line("white balance", count(e.white_balance));
    line("digital zoom ratio", ratio_text(e.digital_zoom_ratio));
    line("focal length", ratio_text(e.focal_length));
    line("ISO speed", count(e.iso_speed));
    line("exposure bias", sratio_text(e.exposure_bias));
    line("f-number", ratio_text(e.f_number));
    line("shutter speed", sratio_text(e.shutter_speed));
    const DALTJ_ThumbnailInfo &t = e.thumbnail;
    if (t.present != 0) {
        std::fprintf(out, "%sthumbnail: %s, %u x %u, %u bytes at offset %u\n", indent,
                     t.compression == 6 ? "JPEG" : "strips", t.width, t.height, t.byte_count, t.data_offset);
    }
    if (e.gps != nullptr) {
        const DALTJ_GpsInfo &g = *e.gps;
        line("GPS latitude", dms_text(g.latitude, g.latitude_ref));
        line("GPS longitude", dms_text(g.longitude, g.longitude_ref));
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
        line("GPS date", short_text(g.date_stamp, 11));
        line("GPS map datum", text(g.map_datum));
    }
}

std::string ExifReport::json() const {
    const DALTJ_ExifInfo &e = info_;
    JsonObject o;
    o.add("found", found_ ? "true" : "false");
    if (tiff_) o.add("tiff_jpeg_offset", tiff_jpeg_offset_);
    o.add("bits_per_sample", json_array({std::to_string(e.bits_per_sample[0]), std::to_string(e.bits_per_sample[1]),
                                         std::to_string(e.bits_per_sample[2])}));
    o.add("compression", e.compression);
    o.add("make", json_string(e.make));
    o.add("model", json_string(e.model));
    o.add("orientation", e.orientation);
    o.add("x_resolution", json_rational(e.x_resolution));
    o.add("y_resolution", json_rational(e.y_resolution));
    o.add("resolution_unit", e.resolution_unit);
    o.add("software", json_string(e.software));
    o.add("ycbcr_positioning", e.ycbcr_positioning);
    o.add("rights_notice", json_string(e.rights_notice));
    o.add("exposure_time", json_rational(e.exposure_time));
    o.add("exif_version",
          e.exif_version != nullptr ? json_string(reinterpret_cast<const char *>(e.exif_version), 4) : "null");
    o.add("date_time_original", json_string(e.date_time_original));
    o.add("date_time_digitized", json_string(e.date_time_digitized));
    o.add("flash", e.flash);
    o.add("color_space", e.color_space);
    o.add("pixel_x_dimension", e.pixel_x_dimension);
    o.add("pixel_y_dimension", e.pixel_y_dimension);
    o.add("exposure_mode", e.exposure_mode);
    o.add("white_balance", e.white_balance);
    o.add("digital_zoom_ratio", json_rational(e.digital_zoom_ratio));
    o.add("focal_length", json_rational(e.focal_length));
    o.add("iso_speed", e.iso_speed);
    o.add("exposure_bias", json_srational(e.exposure_bias));
    o.add("f_number", json_rational(e.f_number));
    o.add("shutter_speed", json_srational(e.shutter_speed));
    o.add("thumbnail", thumbnail_json(e.thumbnail));
    o.add("gps", e.gps != nullptr ? gps_json(*e.gps) : "null");
    return o.done();
}

}  // namespace kovra::tool

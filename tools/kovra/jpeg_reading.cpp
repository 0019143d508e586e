#include "jpeg_reading.h"

#include "json_writer.h"

namespace kovra::tool {

using jpeg_host::ColourSpace;
using jpeg_host::Description;
using jpeg_host::Error;

namespace {

// Why a file that libjpeg-turbo read cannot be decoded faithfully; empty when it can.
std::string refusal(const Description &d) {
    if (d.truncated) return "the file is truncated (its data ends before the image does)";
    if (d.warnings != 0) {
        return "the JPEG data is corrupt (" + std::to_string(d.warnings) + " warning" +
               (d.warnings == 1 ? "" : "s") + " from the reader)";
    }
    if (d.colour == ColourSpace::cmyk || d.colour == ColourSpace::ycck) {
        return std::string(colour_name(d.colour)) + " JPEG files are not decoded (only greyscale and YCbCr are written)";
    }
    return {};
}

}  // namespace

JpegReading read_jpeg(const std::string &path, uint64_t max_pixels) {
    JpegReading reading;
    jpeg_host::Limits limits;
    limits.maxPixels = max_pixels;
    const Error error = reading.jpeg.open_file(path, limits);
    reading.opened = error == Error::none;
    reading.failure = reading.opened ? refusal(reading.jpeg.description()) : jpeg_host::message(error);
    return reading;
}

const char *colour_name(ColourSpace colour) {
    switch (colour) {
    case ColourSpace::grey: return "grey";
    case ColourSpace::ycbcr: return "YCbCr";
    case ColourSpace::rgb: return "RGB";
    case ColourSpace::cmyk: return "CMYK";
    case ColourSpace::ycck: return "YCCK";
    case ColourSpace::other: break;
    }
    return "other";
}

std::string sampling_text(const Description &d) {
    std::string text;
    for (int c = 0; c < d.components && c < 4; ++c) {
        if (!text.empty()) text += ' ';
        text += std::to_string(d.hSampling[c]) + "x" + std::to_string(d.vSampling[c]);
    }
    return text;
}

std::string describe(const Description &d) {
    return std::to_string(d.width) + " x " + std::to_string(d.height) + ", " + std::to_string(d.components) +
           " component" + (d.components == 1 ? "" : "s") + " (" + colour_name(d.colour) + "), sampling " +
           sampling_text(d) + (d.progressive ? ", progressive" : "");
}

void write_json(JsonWriter &json, const JpegReading &reading) {
    const Description &d = reading.jpeg.description();
    json.begin_object();
    json.key("read");
    json.value(reading.opened);
    if (reading.opened) {
        json.key("width");
        json.value(d.width);
        json.key("height");
        json.value(d.height);
        json.key("components");
        json.value(static_cast<uint32_t>(d.components));
        json.key("colour_space");
        json.value(std::string(colour_name(d.colour)));
        json.key("sampling");
        json.value(sampling_text(d));
        json.key("progressive");
        json.value(d.progressive);
    }
    json.key("failure");
    if (reading.failure.empty()) {
        json.null();
    } else {
        json.value(reading.failure);
    }
    json.end_object();
}

}  // namespace kovra::tool

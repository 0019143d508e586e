// EXIF and TIFF metadata of one file, as the tool shows it: read through the library (a JPEG's
// APP1 block by DALTJ_GetExifInfo over the file; a TIFF file's own IFDs by DALTJ_ReadExifInfo,
// and its embedded JPEG by DALTJ_ReadTiffInfo), then printed as text or written as a JSON object.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "kovra_exif.h"

namespace kovra::tool {

class JsonWriter;

class ExifReport {
public:
    explicit ExifReport(const std::string &path);
    ~ExifReport();
    ExifReport(const ExifReport &) = delete;
    ExifReport &operator=(const ExifReport &) = delete;

    bool opened() const { return opened_; }
    // True when the library read a record (the EXIF block's TIFF header was valid).
    bool found() const { return found_; }
    bool is_tiff() const { return tiff_; }
    const DALTJ_ExifInfo &info() const { return info_; }

    // Every field the record holds, one per line, each line starting with `indent`.
    void print_text(FILE *out, const char *indent) const;
    // The whole record as one JSON object (every field, empty ones as 0 or null), written as the
    // writer's next value.
    void write_json(JsonWriter &json) const;

private:
    bool opened_ = false;
    bool found_ = false;
    bool tiff_ = false;
    uint32_t tiff_jpeg_offset_ = 0;
    DALTJ_ExifInfo info_{};
};

}  // namespace kovra::tool

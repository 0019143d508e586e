// An image file opened through the library: a decoder record over the path, destroyed with
// the object.
#pragma once

#include <string>

#include "kovra_decinfo.h"

namespace kovra::tool {

class ImageFile {
public:
    explicit ImageFile(const std::string &path, int32_t output_format = 0);
    ~ImageFile();
    ImageFile(const ImageFile &) = delete;
    ImageFile &operator=(const ImageFile &) = delete;

    KOVRADALT_DecInfo *record() const { return record_; }
    explicit operator bool() const { return record_ != nullptr; }
    // The library's error word right after the record was created.
    int32_t open_error() const { return open_error_; }

private:
    std::string path_;
    KOVRADALT_DecInfo *record_ = nullptr;
    int32_t open_error_ = 0;
};

const char *type_name(int32_t type);

}  // namespace kovra::tool

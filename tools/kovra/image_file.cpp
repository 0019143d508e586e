#include "image_file.h"

namespace kovra::tool {

ImageFile::ImageFile(const std::string &path, int32_t output_format) : path_(path) {
    record_ = KOVRADALT_CreateDecInfo(IO_KIND_PATH, path_.data(), 0, output_format, 0);
    open_error_ = gKOVRADALT_Error;
}

ImageFile::~ImageFile() {
    if (record_ != nullptr) KOVRADALT_DestroyDecInfo(record_);
}

const char *type_name(int32_t type) {
    switch (type) {
        case KOVRADALT_TYPE_JPEG: return "JPEG";
        case KOVRADALT_TYPE_BMP: return "BMP";
        case KOVRADALT_TYPE_PNG: return "PNG";
        case KOVRADALT_TYPE_GIF: return "GIF";
        case KOVRADALT_TYPE_WBMP: return "WBMP";
        case KOVRADALT_TYPE_ANIMATED_GIF: return "animated GIF";
        default: return "unknown";
    }
}

}  // namespace kovra::tool

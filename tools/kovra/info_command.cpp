// kovra info FILE...: the detected type of each file and, for WBMP, the header's width and height.

#include <cstdio>
#include <cstring>

#include "commands.h"
#include "image_file.h"
#include "kovra_io.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace kovra::tool {
namespace {

// Reads a WBMP header through a byte window, as the library's parse drivers set one up.
bool read_wbmp_size(KOVRADALT_DecInfo *dec) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer == nullptr) return false;
    DALTJ_ByteWindow window{dec->io, 0, dec->io->size, 0, 0, buffer};
    bool ok = KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) >= 0 && DALTJ_CheckBuffer(&window, 8) != 0 &&
              __DALT_ParserWBMP(dec, &window) == KOVRADALT_TYPE_WBMP;
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    return ok;
}

int print_info(const std::string &path) {
    ImageFile image(path);
    if (!image) {
        std::printf("%s: cannot open (error %d)\n", path.c_str(), image.open_error());
        return 1;
    }
    KOVRADALT_DecInfo *dec = image.record();
    int32_t type = KOVRADALT_GetImageType(dec);
    std::printf("%s: %s", path.c_str(), type_name(type));
    if (type == KOVRADALT_TYPE_WBMP) {
        if (read_wbmp_size(dec)) {
            std::printf(", %u x %u", dec->width, dec->height);
        } else {
            std::printf(", header not readable");
        }
    }
    std::printf("\n");
    return 0;
}

}  // namespace

int run_info(const Arguments &args) {
    if (args.empty()) {
        std::fprintf(stderr, "usage: kovra info FILE...\n");
        return 2;
    }
    int status = 0;
    for (const std::string &path : args) status |= print_info(path);
    return status;
}

}  // namespace kovra::tool

// A C++ program built against the installed library through its CMake package: the frame count
// and delays of each GIF.
#include <cstdio>

#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "kovra_parse.h"

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_PATH, argv[i], 0, 0, 0);
        if (dec == nullptr) return 1;
        KOVRADALT_ImageInfo info{};
        const int32_t type = KOVRADALT_Parser(dec, &info);
        std::printf("%s: type %d, %u frames\n", argv[i], static_cast<int>(type), static_cast<unsigned>(info.frame_count));
        KOVRADALT_OsFree(info.frame_delays);
        KOVRADALT_DestroyDecInfo(dec);
    }
    return 0;
}

/* A program built against the installed library (as C11 through pkg-config, as C++ through the
 * CMake package): what the header parse finds in each file. */
#include <stdio.h>

#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "kovra_parse.h"

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_PATH, argv[i], 0, 0, 0);
        if (dec == NULL) return 1;
        KOVRADALT_ImageInfo info = {0};
        const int32_t type = KOVRADALT_Parser(dec, &info);
        printf("%s: type %d, %u x %u, %u frames\n", argv[i], (int)type, (unsigned)info.width, (unsigned)info.height,
               (unsigned)info.frame_count);
        KOVRADALT_OsFree(info.frame_delays);
        KOVRADALT_DestroyDecInfo(dec);
    }
    return 0;
}

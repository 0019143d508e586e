/* A host of the library, built as C11 and as C++: includes every public header and runs a small
 * road through the shared object (detect a memory image's type): the C interface links and works. */
#include "all_public_headers.h"

#include <stdio.h>

int main(void) {
    static unsigned char gif[] = {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0, 0, 0};
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, gif, (int32_t)sizeof gif,
                                                     KOVRADALT_FORMAT_RGBA32, 0);
    if (dec == NULL) return 1;
    int32_t type = KOVRADALT_GetImageType(dec);
    int32_t destroyed = KOVRADALT_DestroyDecInfo(dec);
    if (type != KOVRADALT_TYPE_GIF || destroyed != 1 || gKOVRADALT_Error != 0) {
        fprintf(stderr, "type %d destroyed %d error %d\n", (int)type, (int)destroyed, (int)gKOVRADALT_Error);
        return 1;
    }
    return DALTJ_GetVersion() == 0x9099 ? 0 : 1;
}

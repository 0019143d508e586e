// Storage of the process-wide error word (unsynchronised by design: the last failure wins).

#include "kovra_decinfo.h"

extern "C" {
KOVRA_API int32_t gKOVRADALT_Error = 0;
}

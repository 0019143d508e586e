// Processor clock, sleeping, and the external status hook that the progress check consults.

#include <unistd.h>

#include <ctime>

#include "kovra_os.h"

extern "C" {

KOVRA_API int32_t KOVRADALT_OsClock(void) { return static_cast<int32_t>(std::clock()); }

KOVRA_API int32_t KOVRADALT_OsSleep(uint32_t microseconds) { return usleep(microseconds); }

// A platform build may report a real status here; this one never stops and never sleeps.
KOVRA_API void KOVRADALT_CheckExStatus(int32_t *status) { *status = 0; }

}  // extern "C"

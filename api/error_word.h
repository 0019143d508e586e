// The process-wide error word. Public entry points clear it on entry and set the reason for a
// failure; the platform, source and window layers never touch it.
#pragma once

#include <cstdint>

#include "kovra_decinfo.h"

namespace kovra {
inline void set_error(int32_t code) { gKOVRADALT_Error = code; }
inline void clear_error() { gKOVRADALT_Error = KOVRADALT_ERR_NONE; }
}  // namespace kovra

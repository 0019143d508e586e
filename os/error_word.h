// The process-wide error word. Public entry points clear it on entry and set the reason for a
// failure; opening a source sets it when memory runs out. It lives here, below every layer that
// sets it (io/, parse/, api/).
#pragma once

#include <cstdint>

#include "kovra_decinfo.h"

namespace kovra {
inline void set_error(int32_t code) { gKOVRADALT_Error = code; }
inline void clear_error() { gKOVRADALT_Error = KOVRADALT_ERR_NONE; }
}  // namespace kovra

// Classification of source kinds shared by the reading, seeking and window code.
#pragma once

#include "kovra_io.h"

namespace kovra::io {

inline bool is_memory_kind(int32_t kind) { return kind == IO_KIND_MEMORY || kind == IO_KIND_OWNED_MEMORY; }
inline bool is_file_kind(int32_t kind) { return kind == IO_KIND_PATH || kind == IO_KIND_FILE; }

// 32-bit two's-complement addition, as positions and offsets combine on the target.
inline int32_t wrapping_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

}  // namespace kovra::io

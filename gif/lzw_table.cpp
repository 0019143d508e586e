// The LZW decoder's translation table (lzw_table.h): emptying entries and setting the roots up.

#include "gif/lzw_table.h"

#include <algorithm>
#include <cstring>

namespace kovra::gif {

void clear_entries(DALTI_LZWTable &t, uint32_t from, uint32_t end) {
    if (end <= from) return;
    const size_t count = end - from;
    std::memset(t.chunk + from, 0, count * sizeof t.chunk[0]);
    std::memset(t.link + from, 0, count * sizeof t.link[0]);
    std::memset(t.prefix + from, 0, count * sizeof t.prefix[0]);
}

uint32_t reset_table(DALTI_GIFDecoderInfo *rec) {
    DALTI_LZWTable &t = *rec->lzw_table;
    const int32_t size = rec->lzw_min_code_size;
    const uint32_t clear = 1u << size;
    uint32_t stale_end = std::min<uint32_t>(rec->lzw_table_used, DALTI_LZW_TABLE_SIZE);
    if (rec->lzw_roots_ready != size + 1) {
        // Nothing is known of a table whose roots were never set; a larger earlier code size
        // leaves old roots above the new end code.
        stale_end = rec->lzw_roots_ready > 0 ? std::max(stale_end, (1u << (rec->lzw_roots_ready - 1)) + 2)
                                              : uint32_t{DALTI_LZW_TABLE_SIZE};
        clear_entries(t, 0, clear + 2);
        for (uint32_t code = 0; code < clear; ++code) {
            t.chunk[code] = code & 0xFFu;
            t.link[code] = 1;
        }
        rec->lzw_roots_ready = size + 1;
    }
    rec->lzw_table_used = stale_end;
    return stale_end;
}

}  // namespace kovra::gif

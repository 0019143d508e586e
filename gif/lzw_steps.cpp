// The LZW decoder's steps as separate functions, for hosts that drive them one by one: table
// initialisation, writing a code's string, adding a table entry, storing one index, and making
// bytes available in a 4096-byte input buffer. The frame decoder (lzw_decoder.cpp) does the same
// work in line and does not call these.

#include <cstring>

#include "gif/gif_input.h"
#include "kovra_gif.h"

extern "C" {

KOVRA_API int32_t DALTI_InitializeTransTBL(int32_t min_code_size, DALTI_LZWTables *tables) {
    if (min_code_size > 11 || min_code_size < 0 || tables == nullptr) return 0;
    const uint32_t end_code = (1u << min_code_size) + 1;
    for (uint32_t code = 0; code <= end_code; ++code) {
        tables->prefix[code] = 0;
        tables->suffix[code] = static_cast<uint8_t>(code);
        tables->length[code] = 1;
    }
    const size_t rest = DALTI_LZW_TABLE_SIZE - (end_code + 1);
    std::memset(tables->prefix + end_code + 1, 0, rest * sizeof(uint32_t));
    std::memset(tables->suffix + end_code + 1, 0, rest);
    std::memset(tables->length + end_code + 1, 0, rest * sizeof(uint32_t));
    return 1;
}

KOVRA_API uint8_t DALTI_TranslateCode(uint32_t code, DALTI_LZWTables *tables, int32_t pos, uint8_t *line,
                                      int32_t *status_out, int32_t limit) {
    auto fail = [status_out]() -> uint8_t {
        if (status_out != nullptr) *status_out = -1;
        return 0;
    };
    if (code >= DALTI_LZW_TABLE_SIZE) return fail();
    const uint32_t len = tables->length[code];
    const int64_t end = static_cast<int64_t>(pos) + len;
    if (end < 1 || end > limit || pos < 0) return fail();
    int64_t at = end;
    while (at > pos) {
        if (code >= DALTI_LZW_TABLE_SIZE) return fail();
        line[--at] = tables->suffix[code];
        code = tables->prefix[code];
    }
    return len == 0 ? 0 : line[pos];
}

KOVRA_API uint32_t DALTI_AddToTranslationTable(uint32_t prefix_code, uint8_t suffix_byte, uint32_t new_code,
                                               DALTI_LZWTables *tables) {
    if (new_code >= DALTI_LZW_TABLE_SIZE || prefix_code >= DALTI_LZW_TABLE_SIZE) return 0;
    tables->prefix[new_code] = prefix_code;
    tables->suffix[new_code] = suffix_byte;
    tables->length[new_code] = tables->length[prefix_code] + 1;
    return tables->length[new_code];
}

KOVRA_API void DALTI_WriteCharacter(uint32_t value, int32_t index, uint8_t *buffer) {
    buffer[index] = static_cast<uint8_t>(value);
}

KOVRA_API int32_t DALTI_CheckBuffer(int32_t needed, KOVRADALT_IO *source, uint8_t *buffer, int32_t *avail_ptr,
                                    uint8_t **next_ptr) {
    if (*avail_ptr >= needed) return 1;
    int32_t avail = *avail_ptr < 0 ? 0 : (*avail_ptr > DALTI_GIF_INPUT_CAPACITY ? DALTI_GIF_INPUT_CAPACITY : *avail_ptr);
    uint8_t *next = *next_ptr;
    kovra::gif::refill_input(buffer, source, &avail, &next);
    if (avail < needed) return 0;
    *avail_ptr = avail;
    *next_ptr = next;
    return 1;
}

}  // extern "C"

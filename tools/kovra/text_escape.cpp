#include "text_escape.h"

#include <cstdio>

namespace kovra::tool {
namespace {

// Length of the UTF-8 sequence that starts at bytes[at], or 0 when it is not well formed.
size_t utf8_sequence_length(std::string_view bytes, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) return 1;
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // allowed range of the first continuation byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (at + length > bytes.size()) return 0;
    if (byte(at + 1) < low || byte(at + 1) > high) return 0;
    for (size_t i = 2; i < length; ++i) {
        if (byte(at + i) < 0x80 || byte(at + i) > 0xBF) return 0;
    }
    return length;
}

}  // namespace

bool is_valid_utf8(std::string_view bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const size_t length = utf8_sequence_length(bytes, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::string printable_text(std::string_view bytes) {
    while (!bytes.empty() && (bytes.back() == ' ' || bytes.back() == '\t')) bytes.remove_suffix(1);
    const bool keep_high_bytes = is_valid_utf8(bytes);
    std::string text;
    for (const char byte : bytes) {
        const auto c = static_cast<unsigned char>(byte);
        if (c == '\\' || c == '"') {
            text.append(1, '\\').append(1, byte);
        } else if (c == '\t') {
            text += "\\t";
        } else if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else if (c < 0x20 || c == 0x7F || (c >= 0x80 && !keep_high_bytes)) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
            text += escaped;
        } else {
            text.append(1, byte);
        }
    }
    return text;
}

}  // namespace kovra::tool

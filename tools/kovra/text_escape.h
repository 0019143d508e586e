// Showing strings read from files: checking whether bytes are UTF-8, and making them safe for a
// terminal.
#pragma once

#include <string>
#include <string_view>

namespace kovra::tool {

// True when `bytes` is well-formed UTF-8 (no overlong forms, surrogates or values above U+10FFFF).
bool is_valid_utf8(std::string_view bytes);

// `bytes` for a line of text output: trailing blanks dropped; control characters, DEL, backslash
// and double quote escaped (\t, \n, \r, \\, \", \xNN); bytes from 0x80 up kept when the whole
// string is valid UTF-8, escaped as \xNN otherwise.
std::string printable_text(std::string_view bytes);

}  // namespace kovra::tool

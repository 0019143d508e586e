// A very small JSON writer for the tool's --json output: objects, arrays, strings, integers,
// fixed-point decimals and null, written straight to a FILE with commas and escaping taken care of.
//
// Strings come in two kinds. value(text) is text the tool already holds as UTF-8 (file names,
// type names): bytes from 0x80 up pass through. byte_string(bytes) is a run of bytes of no known
// encoding, such as an EXIF ASCII field read from a file: when it is valid UTF-8 it is written as
// such; otherwise every byte outside printable ASCII is written as \u00XX (the byte read as
// Latin-1), so the document stays valid UTF-8 JSON whatever the file held. Control characters and
// DEL are escaped in both kinds.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace kovra::tool {

class JsonWriter {
public:
    explicit JsonWriter(FILE *out) : out_(out) {}

    void begin_object();
    void end_object();
    void begin_array();
    void end_array();
    // Names the next value inside an object.
    void key(const std::string &name);
    void value(const std::string &text);
    void value(int64_t number);
    void value(uint32_t number) { value(static_cast<int64_t>(number)); }
    void value(int32_t number) { value(static_cast<int64_t>(number)); }
    void value(bool flag);
    // A string literal would silently become the bool overload: pass a std::string instead.
    void value(const char *) = delete;
    // `number` with exactly `decimals` digits after the point; null when it is not finite.
    void fixed(double number, int decimals);
    void null();
    void byte_string(std::string_view bytes);
    // Ends the document with a newline.
    void finish();

private:
    enum class Escape { kControlOnly, kAllButPrintableAscii };

    void before_value();
    void write_string(std::string_view text, Escape escape);

    FILE *out_;
    std::vector<bool> first_in_level_;  // one entry per open object or array
    bool after_key_ = false;
};

}  // namespace kovra::tool

// A very small JSON writer for the tool's --json output: objects, arrays, strings and unsigned or
// signed integers, written straight to a FILE with commas and escaping taken care of.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
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
    // A value already written as JSON text (an object or array built elsewhere).
    void raw(const std::string &json);
    // Ends the document with a newline.
    void finish();

private:
    void before_value();
    void write_string(const std::string &text);

    FILE *out_;
    std::vector<bool> first_in_level_;  // one entry per open object or array
    bool after_key_ = false;
};

}  // namespace kovra::tool

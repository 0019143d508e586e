#include "json_writer.h"

#include <cmath>

#include "text_escape.h"

namespace kovra::tool {

void JsonWriter::before_value() {
    if (after_key_) {
        after_key_ = false;
        return;
    }
    if (!first_in_level_.empty()) {
        if (!first_in_level_.back()) std::fputc(',', out_);
        first_in_level_.back() = false;
    }
}

void JsonWriter::write_string(std::string_view text, Escape escape) {
    std::fputc('"', out_);
    for (const char byte : text) {
        const auto c = static_cast<unsigned char>(byte);
        if (c == '"' || c == '\\') {
            std::fprintf(out_, "\\%c", c);
        } else if (c < 0x20 || c == 0x7F || (escape == Escape::kAllButPrintableAscii && c >= 0x80)) {
            std::fprintf(out_, "\\u%04x", c);
        } else {
            std::fputc(c, out_);
        }
    }
    std::fputc('"', out_);
}

void JsonWriter::begin_object() {
    before_value();
    std::fputc('{', out_);
    first_in_level_.push_back(true);
}

void JsonWriter::end_object() {
    first_in_level_.pop_back();
    std::fputc('}', out_);
}

void JsonWriter::begin_array() {
    before_value();
    std::fputc('[', out_);
    first_in_level_.push_back(true);
}

void JsonWriter::end_array() {
    first_in_level_.pop_back();
    std::fputc(']', out_);
}

void JsonWriter::key(const std::string &name) {
    before_value();
    write_string(name, Escape::kControlOnly);
    std::fputc(':', out_);
    after_key_ = true;
}

void JsonWriter::value(const std::string &text) {
    before_value();
    write_string(text, Escape::kControlOnly);
}

void JsonWriter::byte_string(std::string_view bytes) {
    before_value();
    write_string(bytes, is_valid_utf8(bytes) ? Escape::kControlOnly : Escape::kAllButPrintableAscii);
}

void JsonWriter::value(int64_t number) {
    before_value();
    std::fprintf(out_, "%lld", static_cast<long long>(number));
}

void JsonWriter::value(bool flag) {
    before_value();
    std::fputs(flag ? "true" : "false", out_);
}

void JsonWriter::fixed(double number, int decimals) {
    if (!std::isfinite(number)) {
        null();
        return;
    }
    before_value();
    std::fprintf(out_, "%.*f", decimals, number);
}

void JsonWriter::null() {
    before_value();
    std::fputs("null", out_);
}

void JsonWriter::finish() { std::fputc('\n', out_); }

}  // namespace kovra::tool

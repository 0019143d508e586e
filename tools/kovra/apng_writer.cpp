#include "apng_writer.h"

#include <algorithm>

#include "png_chunks.h"

namespace kovra::tool {
namespace {

constexpr long kAnimationControlAt = 8 + 25;  // the acTL chunk, right after the signature and IHDR

Bytes animation_control(uint32_t frames) {
    Bytes data;
    append_u32be(data, frames);
    append_u32be(data, 0);  // plays: 0 loops forever
    Bytes chunk;
    append_chunk(chunk, "acTL", data);
    return chunk;
}

// Delay as a fraction of a second whose parts fit 16 bits: ms/1000, or hundredths above 65535 ms.
Bytes frame_control(uint32_t sequence, const PngImage &image, uint32_t delay_ms) {
    Bytes data;
    append_u32be(data, sequence);
    append_u32be(data, static_cast<uint32_t>(image.width));
    append_u32be(data, static_cast<uint32_t>(image.height));
    append_u32be(data, 0);  // x offset
    append_u32be(data, 0);  // y offset
    const bool in_ms = delay_ms <= 0xFFFF;
    append_u16be(data, static_cast<uint16_t>(in_ms ? delay_ms : std::min<uint32_t>(delay_ms / 10, 0xFFFF)));
    append_u16be(data, in_ms ? 1000 : 100);
    data.push_back(0);  // dispose: none (the next frame replaces the whole image)
    data.push_back(0);  // blend: source
    Bytes chunk;
    append_chunk(chunk, "fcTL", data);
    return chunk;
}

}  // namespace

// An animation that was never finished is incomplete: it is removed.
ApngWriter::~ApngWriter() {
    if (file_ == nullptr) return;
    std::fclose(file_);
    std::remove(path_.c_str());
}

bool ApngWriter::put(const Bytes &bytes) {
    failed_ = failed_ || std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size();
    return !failed_;
}

bool ApngWriter::open(const std::string &path, std::string *error) {
    path_ = path;
    file_ = std::fopen(path.c_str(), "wb");
    if (file_ == nullptr) *error = "cannot create " + path;
    return file_ != nullptr;
}

bool ApngWriter::add_frame(const PngImage &image, uint32_t delay_ms, std::string *error) {
    Bytes png;
    if (!encode_png(image, &png, error)) return false;
    Bytes out;
    const bool first = frames_ == 0;
    if (first) out.assign(kPngSignature, kPngSignature + sizeof kPngSignature);
    bool control_written = false;
    const bool walked = for_each_chunk(png, [&](std::string_view type, const Bytes &data) {
        if (type == "IEND") return;
        if (type != "IDAT") {
            if (first) append_chunk(out, std::string(type).c_str(), data);  // IHDR, PLTE, tRNS
            if (first && type == "IHDR") {
                const Bytes control = animation_control(0);  // the count is filled in by finish()
                out.insert(out.end(), control.begin(), control.end());
            }
            return;
        }
        if (!control_written) {
            const Bytes control = frame_control(sequence_++, image, delay_ms);
            out.insert(out.end(), control.begin(), control.end());
            control_written = true;
        }
        if (first) {
            append_chunk(out, "IDAT", data);
        } else {
            Bytes frame_data;
            append_u32be(frame_data, sequence_++);
            frame_data.insert(frame_data.end(), data.begin(), data.end());
            append_chunk(out, "fdAT", frame_data);
        }
    });
    if (!walked || !control_written) {
        *error = "the PNG encoder gave no image data";
        return false;
    }
    ++frames_;
    if (!put(out)) *error = "write error on " + path_;
    return !failed_;
}

bool ApngWriter::finish(std::string *error) {
    if (frames_ == 0) {
        *error = "no frame for " + path_;
        return false;
    }
    Bytes end;
    append_chunk(end, "IEND", {});
    put(end);
    failed_ = failed_ || std::fseek(file_, kAnimationControlAt, SEEK_SET) != 0;
    if (!failed_) put(animation_control(frames_));
    failed_ = std::fclose(file_) != 0 || failed_;
    file_ = nullptr;
    if (failed_) *error = "write error on " + path_;
    return !failed_;
}

}  // namespace kovra::tool

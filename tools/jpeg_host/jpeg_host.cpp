#include "jpeg_host.h"

#include <fstream>
#include <iterator>

#include "coefficient_image.h"
#include "road.h"

namespace kovra::jpeg_host {

const char *message(Error error) {
    switch (error) {
    case Error::none: return "no error";
    case Error::unreadable: return "the file could not be read";
    case Error::corrupt: return "not a JPEG, or its data is corrupt or truncated";
    case Error::unsupported: return "a colour space, sampling or scale this decoder does not reconstruct";
    case Error::too_large: return "the image has more pixels than allowed";
    case Error::not_open: return "no image is open";
    case Error::cancelled: return "the decode was cancelled";
    case Error::failed: return "the row driver failed";
    }
    return "unknown error";
}

uint32_t scaled_size(uint32_t size, int denominator) {
    const auto d = static_cast<uint32_t>(denominator);
    return (size + d - 1) / d;
}

Jpeg::Jpeg() = default;
Jpeg::~Jpeg() = default;
Jpeg::Jpeg(Jpeg &&) noexcept = default;
Jpeg &Jpeg::operator=(Jpeg &&) noexcept = default;

Error Jpeg::open_file(const std::string &path, const Limits &limits) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return Error::unreadable;
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) return Error::unreadable;
    return open_memory(std::move(bytes), limits);
}

Error Jpeg::open_memory(std::vector<uint8_t> bytes, const Limits &limits) {
    image_.reset();
    return CoefficientImage::read(std::move(bytes), limits, image_);
}

const Description &Jpeg::description() const {
    static const Description kNone;
    return image_ ? image_->description() : kNone;
}

Error Jpeg::decode(const DecodeOptions &options, Picture &out) const {
    if (!image_) return Error::not_open;
    // Beyond 1/8 the decode is one pass over a fraction of the blocks: one thread.
    if (options.threads == 2 && options.scaleDenominator <= 8) return decode_two_threads(*image_, options, out);
    if (options.threads != 1 && options.threads != 2) return Error::unsupported;
    Road road(*image_, options);
    return road.run(out);
}

}  // namespace kovra::jpeg_host

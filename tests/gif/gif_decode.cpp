#include "gif_decode.h"

namespace kovra::test {

namespace {
int marker;  // a non-null `animated` argument
}

GifSession::GifSession(const std::vector<uint8_t> &bytes, int32_t format, int32_t sample_size, bool animated,
                       SourceKind kind)
    : source_(kind, bytes, format) {
    if (source_.record() == nullptr) return;
    parsed_ = KOVRADALTI_ParseGIFHeader_SKIA(source_.record()->io, source_.record(), sample_size,
                                             animated ? &marker : nullptr) == 1;
}

GifSession::~GifSession() {
    if (source_.record() != nullptr && source_.record()->gif_info != nullptr) {
        KOVRADALTI_DeleteGIFInfo(source_.record());
        source_.record()->gif_info = nullptr;
    }
}

size_t GifSession::frame_bytes() const {
    const DALTI_GIFDecoderInfo *rec = gif();
    return rec == nullptr ? 0 : static_cast<size_t>(rec->out_height) * rec->out_stride;
}

Animation decode_animation(const std::vector<uint8_t> &bytes, int32_t format, int32_t sample_size, SourceKind kind,
                           int max_frames) {
    Animation animation;
    GifSession session(bytes, format, sample_size, true, kind);
    animation.parsed = session.parsed();
    if (!session.parsed()) return animation;
    animation.width = session.gif()->out_width;
    animation.height = session.gif()->out_height;
    for (int i = 0; i < max_frames; ++i) {
        std::vector<uint8_t> out(session.frame_bytes(), 0xEE);
        const int32_t result = KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, animation.height);
        animation.results.push_back(result);
        animation.delays.push_back(session.dec()->gif_total_delay);
        animation.frames.push_back(std::move(out));
        if (result != 1 || session.gif() == nullptr) break;
    }
    return animation;
}

IndexImage decode_indexes(const std::vector<uint8_t> &bytes, int32_t sample_size, SourceKind kind, uint8_t prefill) {
    IndexImage image;
    GifSession session(bytes, KOVRADALT_FORMAT_INDEX8, sample_size, false, kind);
    image.parsed = session.parsed();
    if (!session.parsed()) return image;
    image.width = session.gif()->out_width;
    image.height = session.gif()->out_height;
    image.indexes.assign(session.frame_bytes(), prefill);
    image.result = KOVRADALTI_DecodeGIF(session.dec(), image.indexes.data(), image.width, image.height);
    return image;
}

}  // namespace kovra::test

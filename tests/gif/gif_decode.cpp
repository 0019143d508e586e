#include "gif_decode.h"

namespace kovra::test {

GifSession::GifSession(const Bytes &bytes, int32_t format, int32_t sample_size, bool animated, SourceKind kind)
    : source_(kind, bytes, format) {
    static int marker;  // a non-null `animated` argument
    parsed_ = source_.record() != nullptr &&
              KOVRADALTI_ParseGIFHeader_SKIA(source_.record()->io, source_.record(), sample_size,
                                             animated ? &marker : nullptr) == 1;
}

GifSession::~GifSession() {
    if (gif() == nullptr) return;
    KOVRADALTI_DeleteGIFInfo(source_.record());
    source_.record()->gif_info = nullptr;
}

Animation decode_animation(const Bytes &bytes, int32_t format, int32_t sample_size, SourceKind kind) {
    Animation animation;
    GifSession session(bytes, format, sample_size, true, kind);
    for (int32_t result = session.parsed(); result == 1 && session.gif() != nullptr;) {
        Bytes out(session.frame_bytes(), kU);
        result = KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, session.gif()->out_height);
        animation.results.push_back(result);
        animation.delays.push_back(session.dec()->gif_total_delay);
        animation.frames.push_back(std::move(out));
    }
    return animation;
}

IndexImage decode_indexes(const Bytes &bytes, int32_t sample_size, SourceKind kind, uint8_t prefill) {
    IndexImage image;
    GifSession session(bytes, KOVRADALT_FORMAT_INDEX8, sample_size, false, kind);
    image.parsed = session.parsed();
    if (!session.parsed()) return image;
    image.indexes.assign(session.frame_bytes(), prefill);
    image.result = KOVRADALTI_DecodeGIF(session.dec(), image.indexes.data(), session.gif()->out_width,
                                        session.gif()->out_height);
    return image;
}

}  // namespace kovra::test

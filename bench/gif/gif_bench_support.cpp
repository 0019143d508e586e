#include "gif_bench_support.h"

#include <memory>

#include "kovra_gif.h"

namespace kovra::bench {

DecodeCount decode_gif_rgba(const std::vector<uint8_t> &bytes, int32_t sample_size) {
    DecodeCount count;
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, const_cast<uint8_t *>(bytes.data()),
                                                     static_cast<int32_t>(bytes.size()), KOVRADALT_FORMAT_RGBA32, 0);
    if (dec == nullptr) return count;
    int animated = 1;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, sample_size, &animated) == 1) {
        const DALTI_GIFDecoderInfo *rec = dec->gif_info;
        const int32_t height = rec->out_height;
        const int64_t frame_pixels = static_cast<int64_t>(rec->out_width) * height;
        // Like a host's frame buffer: allocated, not cleared (every byte is written per frame).
        const size_t bytes = static_cast<size_t>(height) * rec->out_stride;
        std::unique_ptr<uint8_t[]> out(new uint8_t[bytes]);
        for (int32_t result = 1; result == 1;) {
            result = KOVRADALTI_DecodeAGIF(dec, out.get(), 0, height);
            if (result == 0) break;
            ++count.frames;
            count.pixels += frame_pixels;
            count.checksum = count.checksum * 31u + out[bytes / 2];
        }
    }
    if (dec->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(dec);
    KOVRADALT_DestroyDecInfo(dec);
    return count;
}

std::vector<Decoder> available_decoders() {
    std::vector<Decoder> list{Decoder::kKovra};
#ifdef KOVRA_BENCH_GIFLIB
    list.push_back(Decoder::kGiflib);
#endif
#ifdef KOVRA_BENCH_STB
    list.push_back(Decoder::kStb);
#endif
    return list;
}

const char *decoder_name(Decoder decoder) {
    switch (decoder) {
        case Decoder::kKovra: return "kovra";
        case Decoder::kGiflib: return "giflib";
        default: return "stb";
    }
}

bool decoder_named(const std::string &name, Decoder *decoder) {
    for (const Decoder each : available_decoders()) {
        if (name == decoder_name(each)) {
            *decoder = each;
            return true;
        }
    }
    return false;
}

namespace {

int decode_any(Decoder decoder, const std::vector<uint8_t> &bytes) {
    switch (decoder) {
        case Decoder::kKovra: return decode_gif_rgba(bytes).frames;
#ifdef KOVRA_BENCH_GIFLIB
        case Decoder::kGiflib: return giflib_decode_rgba(bytes.data(), bytes.size());
#endif
#ifdef KOVRA_BENCH_STB
        case Decoder::kStb: return stb_decode_rgba(bytes.data(), bytes.size());
#endif
        default: return 0;
    }
}

}  // namespace

// Kept apart (no folding of the two into one) so that callgrind can tell them by name.
__attribute__((noipa)) int decode_with(Decoder decoder, const std::vector<uint8_t> &bytes) {
    return decode_any(decoder, bytes);
}

__attribute__((noipa)) int decode_uncounted(Decoder decoder, const std::vector<uint8_t> &bytes) {
    return decode_any(decoder, bytes);
}

}  // namespace kovra::bench

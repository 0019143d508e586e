#include "coefficient_image.h"

#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE and size_t first

extern "C" {
#include <jpeglib.h>
#include <jerror.h>
}

namespace kovra::jpeg_host {

// A decompressor whose errors jump back to the reader instead of leaving the process, whose
// messages stay quiet, and whose progress monitor refuses files with too many scans.
struct CoefficientImage::Decompressor {
    jpeg_decompress_struct cinfo{};
    jpeg_error_mgr err{};
    jpeg_progress_mgr progress{};
    jmp_buf jump{};
    int maxScans = 0;
    bool truncated = false;  // libjpeg-turbo warned that the data ended early

    Decompressor() {
        cinfo.err = jpeg_std_error(&err);
        err.error_exit = [](j_common_ptr c) { longjmp(static_cast<Decompressor *>(c->client_data)->jump, 1); };
        err.output_message = [](j_common_ptr) {};
        err.emit_message = [](j_common_ptr c, int level) {
            if (level >= 0) return;  // trace messages
            ++c->err->num_warnings;
            if (c->err->msg_code == JWRN_JPEG_EOF) static_cast<Decompressor *>(c->client_data)->truncated = true;
        };
        cinfo.client_data = this;
        jpeg_create_decompress(&cinfo);
        progress.progress_monitor = [](j_common_ptr c) {
            auto *self = static_cast<Decompressor *>(c->client_data);
            if (self->cinfo.input_scan_number > self->maxScans) longjmp(self->jump, 1);
        };
        cinfo.progress = &progress;
    }
    ~Decompressor() { jpeg_destroy_decompress(&cinfo); }
    Decompressor(const Decompressor &) = delete;
    Decompressor &operator=(const Decompressor &) = delete;
};

namespace {

ColourSpace colour_of(J_COLOR_SPACE space) {
    switch (space) {
    case JCS_GRAYSCALE: return ColourSpace::grey;
    case JCS_YCbCr: return ColourSpace::ycbcr;
    case JCS_RGB: return ColourSpace::rgb;
    case JCS_CMYK: return ColourSpace::cmyk;
    case JCS_YCCK: return ColourSpace::ycck;
    default: return ColourSpace::other;
    }
}

Description describe(const jpeg_decompress_struct &cinfo) {
    Description d;
    d.width = cinfo.image_width;
    d.height = cinfo.image_height;
    d.components = cinfo.num_components;
    d.colour = colour_of(cinfo.jpeg_color_space);
    d.progressive = cinfo.progressive_mode != FALSE;
    d.restartInterval = cinfo.restart_interval;
    for (int c = 0; c < cinfo.num_components && c < 4; ++c) {
        d.hSampling[c] = static_cast<uint8_t>(cinfo.comp_info[c].h_samp_factor);
        d.vSampling[c] = static_cast<uint8_t>(cinfo.comp_info[c].v_samp_factor);
    }
    return d;
}

}  // namespace

CoefficientImage::CoefficientImage() : decompressor_(std::make_unique<Decompressor>()) {}
CoefficientImage::~CoefficientImage() = default;

Error CoefficientImage::read(std::vector<uint8_t> bytes, const Limits &limits, std::unique_ptr<CoefficientImage> &out) {
    std::unique_ptr<CoefficientImage> image(new CoefficientImage());
    image->bytes_ = std::move(bytes);
    Decompressor &d = *image->decompressor_;
    d.maxScans = limits.maxScans;
    jpeg_decompress_struct &cinfo = d.cinfo;
    image->components_.reserve(MAX_COMPONENTS);
    if (setjmp(d.jump)) return Error::corrupt;
    jpeg_mem_src(&cinfo, image->bytes_.data(), static_cast<unsigned long>(image->bytes_.size()));
    if (jpeg_read_header(&cinfo, TRUE) != JPEG_HEADER_OK) return Error::corrupt;
    image->description_ = describe(cinfo);
    if (uint64_t{cinfo.image_width} * cinfo.image_height > limits.maxPixels) return Error::too_large;
    jvirt_barray_ptr *arrays = jpeg_read_coefficients(&cinfo);
    for (int ci = 0; ci < cinfo.num_components; ++ci) {
        const jpeg_component_info &info = cinfo.comp_info[ci];
        // Filled in place: a jump back from libjpeg-turbo must leave no local object behind.
        ComponentCoefficients &c = image->components_.emplace_back();
        c.h = info.h_samp_factor;
        c.v = info.v_samp_factor;
        c.widthInBlocks = info.width_in_blocks;
        c.heightInBlocks = info.height_in_blocks;
        if (info.quant_table == nullptr) return Error::corrupt;
        for (int i = 0; i < 64; ++i) c.quant[i] = info.quant_table->quantval[i];
        auto *common = reinterpret_cast<j_common_ptr>(&cinfo);
        for (JDIMENSION row = 0; row < info.height_in_blocks; ++row) {
            JBLOCKARRAY line = cinfo.mem->access_virt_barray(common, arrays[ci], row, 1, FALSE);
            c.blockRows.push_back(line[0]);
        }
    }
    image->description_.warnings = d.err.num_warnings;
    image->description_.truncated = d.truncated;
    out = std::move(image);
    return Error::none;
}

}  // namespace kovra::jpeg_host

// libjpeg-turbo decoding a JPEG in memory the way the JPEG road does, for the road's peer test and
// its benchmark: errors jump back to the caller (setjmp on `jump` before any call), messages are
// dropped and warnings counted in err.num_warnings.
#pragma once

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

namespace kovra::jpeg_road {

struct Peer {
    jpeg_decompress_struct cinfo{};
    jpeg_error_mgr err{};
    jmp_buf jump{};
    explicit Peer(const std::vector<uint8_t> &bytes) {
        cinfo.err = jpeg_std_error(&err);
        err.error_exit = [](j_common_ptr c) { longjmp(static_cast<Peer *>(c->client_data)->jump, 1); };
        err.output_message = [](j_common_ptr) {};
        cinfo.client_data = this;
        jpeg_create_decompress(&cinfo);
        jpeg_mem_src(&cinfo, bytes.data(), static_cast<unsigned long>(bytes.size()));
    }
    ~Peer() { jpeg_destroy_decompress(&cinfo); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
};

// Reads the header and starts a decode at 1/denominator into `space` with the fast integer
// inverse DCT, plain replication of subsampled chroma and no block smoothing.
inline void start_like_the_road(Peer &p, int denominator, J_COLOR_SPACE space) {
    jpeg_read_header(&p.cinfo, TRUE);
    p.cinfo.dct_method = JDCT_IFAST;
    p.cinfo.do_fancy_upsampling = FALSE;
    p.cinfo.do_block_smoothing = FALSE;
    p.cinfo.out_color_space = space;
    p.cinfo.scale_num = 1;
    p.cinfo.scale_denom = static_cast<unsigned>(denominator);
    jpeg_start_decompress(&p.cinfo);
}

}  // namespace kovra::jpeg_road

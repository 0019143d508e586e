#include "jpeg_blocks.h"

#include <algorithm>
#include <cstdlib>

namespace kovra::test::idct {

bool start_ifast(Decompressor &d) {
    if (setjmp(d.jump)) return false;
    jpeg_read_header(&d.cinfo, TRUE);
    d.cinfo.dct_method = JDCT_IFAST;
    jpeg_start_decompress(&d.cinfo);
    return d.err.num_warnings == 0;
}

std::vector<uint8_t> encode_grey(int size, const std::vector<uint8_t> &samples, const Quant *quant, int quality) {
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    unsigned char *data = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&c, &data, &length);
    c.image_width = c.image_height = static_cast<JDIMENSION>(size);
    c.input_components = 1;
    c.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&c);
    if (quant != nullptr) {
        unsigned int table[64];
        std::copy(quant->begin(), quant->end(), table);
        jpeg_add_quant_table(&c, 0, table, 100, TRUE);
    } else {
        jpeg_set_quality(&c, quality, TRUE);
    }
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(&samples[c.next_scanline * static_cast<size_t>(size)]);
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    std::vector<uint8_t> jpeg(data, data + length);
    std::free(data);
    return jpeg;
}

bool read_components(const std::vector<uint8_t> &jpeg, size_t max_blocks, std::vector<Component> &out) {
    Decompressor coefficients(jpeg), ifast(jpeg);
    if (!start_ifast(ifast) || setjmp(coefficients.jump)) return false;
    jpeg_read_header(&coefficients.cinfo, TRUE);
    jvirt_barray_ptr *arrays = jpeg_read_coefficients(&coefficients.cinfo);
    if (coefficients.err.num_warnings != 0) return false;
    for (int ci = 0; ci < coefficients.cinfo.num_components; ++ci) {
        const jpeg_component_info &comp = coefficients.cinfo.comp_info[ci];
        if (comp.quant_table == nullptr) return false;
        Component c;
        for (int i = 0; i < 64; ++i) c.quant[i] = comp.quant_table->quantval[i];
        const auto *ifast_table = static_cast<const int16_t *>(ifast.cinfo.comp_info[ci].dct_table);
        std::copy(ifast_table, ifast_table + 64, c.ifast.begin());
        for (JDIMENSION row = 0; row < comp.height_in_blocks && c.blocks.size() < max_blocks; ++row) {
            auto *common = reinterpret_cast<j_common_ptr>(&coefficients.cinfo);
            JBLOCKARRAY line = coefficients.cinfo.mem->access_virt_barray(common, arrays[ci], row, 1, FALSE);
            for (JDIMENSION col = 0; col < comp.width_in_blocks && c.blocks.size() < max_blocks; ++col) {
                Block b;
                std::copy(line[0][col], line[0][col] + 64, b.begin());
                c.blocks.push_back(b);
            }
        }
        out.push_back(std::move(c));
    }
    return true;
}

}  // namespace kovra::test::idct

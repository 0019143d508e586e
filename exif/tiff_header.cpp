// TIFF header check shared by the EXIF reader and the TIFF-file reader.

#include "exif/tiff_header.h"

namespace kovra::exif {

TiffHeader check_tiff_header(const TiffBytes &data) {
    constexpr uint32_t kMagic = 42;
    TiffHeader header{false, false, 0};
    if (data.length < kTiffHeaderBytes) return header;
    const uint8_t b0 = data.byte(0), b1 = data.byte(1);
    if (b0 == 'I' && b1 == 'I') {
        header.little_endian = true;
    } else if (!(b0 == 'M' && b1 == 'M')) {
        return header;
    }
    TiffBytes ordered = data;
    ordered.little_endian = header.little_endian;
    if (ordered.u16(2) != kMagic) return header;
    header.ifd0_offset = ordered.u32(4);
    header.valid = header.ifd0_offset < data.length;
    return header;
}

}  // namespace kovra::exif

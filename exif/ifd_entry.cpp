// IFD entry decoding. An entry is tag (16 bits), type (16), count (32) and a value-or-offset word
// (32), in the data's byte order. Values of up to four bytes normally sit in the entry itself;
// this reader's rules for where the value is:
//   one-byte types    count below 5: inline (value = position of the entry's value bytes);
//                     otherwise the stored offset
//   two-byte types    count 1: the short itself; count 2: refused (two inline shorts are not
//                     read, by design); otherwise the stored offset
//   four-byte types   count 1: the word itself; otherwise the stored offset
//   eight-byte types  always the stored offset
// An offset is accepted only when size + offset stays within the length. The sum and the size
// (count times unit) are computed without wrapping: a value that would need more than 32 bits of
// address cannot lie within the data, so it is refused.

#include "exif/ifd_entry.h"

namespace kovra::exif {

uint32_t type_unit(uint32_t type) {
    static constexpr uint8_t kUnits[13] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < 13 ? kUnits[type] : 0;
}

namespace {
constexpr uint32_t kValueBytes = 8;  // position of the value word inside an entry
constexpr int kEntrySize = 12;

bool stored_offset_fits(const TiffBytes &data, const uint8_t *entry, uint64_t size, DALTJ_ExifField *field) {
    field->value = data.u32_of(entry + kValueBytes);
    return data.fits(field->value, size);
}
}  // namespace

bool decode_entry(const TiffBytes &data, uint32_t entry_offset, DALTJ_ExifField *field) {
    // The whole entry is fetched at once: one bounds test instead of one per word.
    uint8_t entry[kEntrySize];
    data.fetch(entry_offset, entry, kEntrySize);
    field->tag = static_cast<uint16_t>(data.u16_of(entry));
    field->type = static_cast<uint16_t>(data.u16_of(entry + 2));
    field->count = data.u32_of(entry + 4);
    field->size = 0;
    field->value = 0;
    const uint32_t unit = type_unit(field->type);
    if (unit == 0) return false;
    const uint64_t size = static_cast<uint64_t>(field->count) * unit;
    field->size = static_cast<uint32_t>(size);
    switch (unit) {
        case 1:
            if (field->count < 5) {
                field->value = entry_offset + kValueBytes;
                return true;
            }
            return stored_offset_fits(data, entry, size, field);
        case 2:
            if (field->count == 2) return false;
            if (field->count == 1) {
                field->value = data.u16_of(entry + kValueBytes);
                return true;
            }
            return stored_offset_fits(data, entry, size, field);
        case 4:
            if (field->count == 1) {
                field->value = data.u32_of(entry + kValueBytes);
                return true;
            }
            return stored_offset_fits(data, entry, size, field);
        default:
            return stored_offset_fits(data, entry, size, field);
    }
}

}  // namespace kovra::exif

extern "C" KOVRA_API int32_t DALTJ_ReadExifField(const uint8_t *base, uint32_t entry_offset, uint32_t length,
                                                 int32_t little_endian, DALTJ_ExifField *field) {
    if (base == nullptr || field == nullptr) return 0;
    return kovra::exif::decode_entry(kovra::exif::trusted_bytes(base, length, little_endian != 0), entry_offset, field)
               ? 1
               : 0;
}

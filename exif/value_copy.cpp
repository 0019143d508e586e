// Owned copies of string and block values, handed to the record's owner. The readers copy each
// field once per read (latest_entries.h), so a copy never replaces one the same read made.

#include "exif/value_copy.h"

#include "kovra_os.h"

namespace kovra::exif {
namespace {
template <class T>
bool store_copy(T **slot, const TiffBytes &data, uint32_t value, uint32_t copy_bytes, uint32_t allocation) {
    auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(allocation));
    if (copy == nullptr) return false;
    data.copy(value, copy, copy_bytes);
    for (uint32_t i = copy_bytes; i < allocation; ++i) copy[i] = 0;
    *slot = reinterpret_cast<T *>(copy);
    return true;
}
}  // namespace

bool store_string(const TiffBytes &data, const DALTJ_ExifField &field, char **slot) {
    // The value lies within the length (checked when the entry was decoded); only a caller's
    // 4 GiB length could leave no room for the terminator.
    if (field.size == UINT32_MAX) return false;
    return store_copy(slot, data, field.value, field.size, field.size + 1);
}

bool store_block(const TiffBytes &data, const DALTJ_ExifField &field, uint8_t **slot) {
    return store_copy(slot, data, field.value, field.size, field.size > 0 ? field.size : 1);
}

}  // namespace kovra::exif

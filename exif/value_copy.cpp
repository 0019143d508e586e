// Owned copies of string and block values. A tag met twice replaces the earlier copy, which is
// freed then, so a repeated tag never leaks.

#include "exif/value_copy.h"

#include "kovra_os.h"

namespace kovra::exif {
namespace {
template <class T>
bool replace(T **slot, const TiffBytes &data, uint32_t value, uint32_t copy_bytes, uint32_t allocation) {
    auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(allocation));
    if (copy == nullptr) return false;
    data.copy(value, copy, copy_bytes);
    for (uint32_t i = copy_bytes; i < allocation; ++i) copy[i] = 0;
    KOVRADALT_OsFree(*slot);
    *slot = reinterpret_cast<T *>(copy);
    return true;
}
}  // namespace

bool store_string(const TiffBytes &data, const DALTJ_ExifField &field, char **slot) {
    // The value lies within the length (checked when the entry was decoded); only a caller's
    // 4 GiB length could leave no room for the terminator.
    if (field.size == UINT32_MAX) return false;
    return replace(slot, data, field.value, field.size, field.size + 1);
}

bool store_block(const TiffBytes &data, const DALTJ_ExifField &field, uint8_t **slot) {
    return replace(slot, data, field.value, field.size, field.size > 0 ? field.size : 1);
}

void release_gps(DALTJ_GpsInfo *gps) {
    if (gps == nullptr) return;
    KOVRADALT_OsFree(gps->map_datum);
    KOVRADALT_OsFree(gps->processing_method);
    KOVRADALT_OsFree(gps);
}

}  // namespace kovra::exif

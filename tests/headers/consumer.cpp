// A C++ host of the library: every public header, the records usable as aggregates, and one call.
#include "all_public_headers.h"

#include <type_traits>

static_assert(std::is_standard_layout_v<KOVRADALT_DecInfo>);
static_assert(std::is_trivially_copyable_v<KOVRADALT_ImageInfo>);
static_assert(std::is_standard_layout_v<DALTJ_ByteWindow>);

int main() {
    KOVRADALT_ImageInfo info{};
    DALTJ_ByteWindow window{};
    return info.width == 0 && window.data == nullptr && DALTJ_GetDctMethodIndex(9) == 6 ? 0 : 1;
}

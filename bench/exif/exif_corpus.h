// The corpus JPEGs in memory, and this library's read of one file's EXIF block, for the EXIF
// benchmark and the instruction-count driver.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_exif.h"
#include "kovra_os.h"
#include "tools/common/exif_info_release.h"

namespace kovra::bench {

using Files = std::vector<std::vector<uint8_t>>;

inline Files load_corpus(const std::filesystem::path &dir) {
    Files files;
    std::error_code ec;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(dir / "jpeg-exif", ec)) {
        if (!entry.is_regular_file()) continue;
        std::string ext = entry.path().extension().string();
        for (char &c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (ext != ".jpg" && ext != ".jpeg" && ext != ".mpo" && ext != ".jps") continue;
        // Read whole (a byte-by-byte copy would swamp an emulator's instruction count).
        std::ifstream in(entry.path(), std::ios::binary | std::ios::ate);
        std::vector<uint8_t> &file = files.emplace_back(static_cast<size_t>(std::max<std::streamoff>(in.tellg(), 0)));
        in.seekg(0);
        in.read(reinterpret_cast<char *>(file.data()), static_cast<std::streamsize>(file.size()));
    }
    return files;
}

// A caller-memory source, a byte window over it, DALTJ_GetExifInfo, and the record's release: 1
// when EXIF was found.
inline int library_read(std::vector<uint8_t> &file) {
    KOVRADALT_DecInfo *dec =
        KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, file.data(), static_cast<int32_t>(file.size()), 0, 0);
    if (dec == nullptr) return 0;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
    DALTJ_ExifInfo info{};
    const int32_t result = DALTJ_GetExifInfo(&window, &info);
    kovra::exif::release_exif_fields(&info);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    KOVRADALT_DestroyDecInfo(dec);
    return result == 1 ? 1 : 0;
}

}  // namespace kovra::bench

// File services over C stdio. Opening refuses directories (checked with lstat, so a symbolic
// link to a directory is left to fopen).

#include <sys/stat.h>

#include <cstdio>

#include "kovra_os.h"

namespace {
bool is_directory(const char *path) {
    struct stat info {};
    if (lstat(path, &info) != 0) return false;
    return (info.st_mode & 0xF000) == 0x4000;
}
}  // namespace

extern "C" {

KOVRA_API FILE *KOVRADALT_OpenFile(const char *path) {
    if (path == nullptr || is_directory(path)) return KOVRADALT_FILE_FAILED;
    FILE *file = std::fopen(path, "rb");
    return file != nullptr ? file : KOVRADALT_FILE_FAILED;
}

KOVRA_API FILE *KOVRADALT_OsFopen(const char *path, const char *mode) {
    if (path == nullptr || mode == nullptr || is_directory(path)) return nullptr;
    return std::fopen(path, mode);
}

KOVRA_API int32_t KOVRADALT_CloseFile(FILE *file) {
    if (file == nullptr) return -1;
    return std::fclose(file);
}

KOVRA_API int32_t KOVRADALT_OsFclose(FILE *file) { return KOVRADALT_CloseFile(file); }

KOVRA_API uint32_t KOVRADALT_ReadFile(FILE *file, void *buffer, uint32_t count) {
    return static_cast<uint32_t>(std::fread(buffer, 1, count, file));
}

KOVRA_API uint32_t KOVRADALT_OsFread(void *buffer, uint32_t element_size, uint32_t element_count,
                                     FILE *file) {
    return static_cast<uint32_t>(std::fread(buffer, element_size, element_count, file));
}

KOVRA_API int32_t KOVRADALT_SeekFile(FILE *file, int32_t offset, int32_t whence) {
    (void)std::fseek(file, offset, whence);
    return static_cast<int32_t>(std::ftell(file));
}

KOVRA_API int32_t KOVRADALT_OsFseek(FILE *file, int32_t offset, int32_t whence) {
    return std::fseek(file, offset, whence);
}

KOVRA_API int32_t KOVRADALT_OsFtell(FILE *file) { return static_cast<int32_t>(std::ftell(file)); }

KOVRA_API int32_t KOVRADALT_OsFwrite(const void *buffer, uint32_t element_size, uint32_t element_count,
                                     FILE *file) {
    if (buffer == nullptr || element_size == 0 || element_count == 0 || file == nullptr) return -1;
    return static_cast<int32_t>(std::fwrite(buffer, element_size, element_count, file));
}

}  // extern "C"

#include "support/temp_dir.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace kovra::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kovra-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDir::write(const std::string &name, const std::vector<uint8_t> &bytes) const {
    std::filesystem::path file = path_ / name;
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file;
}

}  // namespace kovra::test

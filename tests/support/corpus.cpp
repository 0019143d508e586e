#include "support/corpus.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kovra::test {
namespace fs = std::filesystem;

static fs::path env_dir(const char *name, const char *fallback) {
    const char *value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}
fs::path corpus_dir() { return env_dir("KOVRA_CORPUS_DIR", "../shared/corpus"); }
fs::path samples_dir() { return env_dir("KOVRA_SAMPLES", "samples"); }
bool corpus_available() { return fs::is_directory(corpus_dir()); }

std::vector<fs::path> corpus_files(const std::string &subdir, const std::vector<std::string> &extensions) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto &entry : fs::recursive_directory_iterator(corpus_dir() / subdir, ec)) {
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (entry.is_regular_file() && (extensions.empty() || std::count(extensions.begin(), extensions.end(), ext) > 0))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<uint8_t> read_file(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kovra::test

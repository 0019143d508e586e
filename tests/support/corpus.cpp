#include "support/corpus.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kovra::test {
namespace fs = std::filesystem;

namespace {
fs::path env_path(const char *name, const char *fallback) {
    const char *value = std::getenv(name);
    return fs::path(value != nullptr && *value != '\0' ? value : fallback);
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}
}  // namespace

fs::path corpus_dir() { return env_path("KOVRA_CORPUS_DIR", "../shared/corpus"); }
fs::path samples_dir() { return env_path("KOVRA_SAMPLES", "samples"); }

bool corpus_available() {
    std::error_code ignored;
    return fs::is_directory(corpus_dir(), ignored);
}

std::vector<fs::path> corpus_files(const std::string &subdir, const std::vector<std::string> &extensions) {
    std::vector<fs::path> files;
    const fs::path root = corpus_dir() / subdir;
    std::error_code ec;
    if (!fs::is_directory(root, ec)) return files;
    for (const auto &entry : fs::recursive_directory_iterator(root, ec)) {
        if (!entry.is_regular_file()) continue;
        const std::string ext = lower(entry.path().extension().string());
        if (extensions.empty() || std::find(extensions.begin(), extensions.end(), ext) != extensions.end()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<uint8_t> read_file(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace kovra::test

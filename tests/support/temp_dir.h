// A private temporary directory removed with everything in it when the object goes away.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kovra::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::filesystem::path write(const std::string &name, const std::vector<uint8_t> &bytes) const;

private:
    std::filesystem::path path_;
};

}  // namespace kovra::test

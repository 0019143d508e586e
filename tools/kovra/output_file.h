// An output file written whole or not at all: the bytes go to a temporary name beside the
// target, which is renamed over it only on commit, so a failed or interrupted run leaves no
// partial file behind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kovra::tool {

class PendingFile {
public:
    explicit PendingFile(std::string path);
    ~PendingFile();  // removes the temporary file unless committed
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;

    // Writes `bytes` under the temporary name; false with a reason in *problem.
    bool write(const std::vector<uint8_t> &bytes, std::string *problem);
    // Renames the written temporary file to the target path; false with a reason in *problem.
    bool commit(std::string *problem);
    const std::string &path() const { return path_; }

private:
    std::string path_;
    std::string temporary_;
    bool written_ = false;
};

}  // namespace kovra::tool

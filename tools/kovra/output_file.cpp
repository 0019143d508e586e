#include "output_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "png_writer.h"

namespace kovra::tool {

PendingFile::PendingFile(std::string path)
    : path_(std::move(path)), temporary_(path_ + ".partial-" + std::to_string(getpid())) {}

PendingFile::~PendingFile() {
    if (written_) std::remove(temporary_.c_str());
}

bool PendingFile::write(const std::vector<uint8_t> &bytes, std::string *problem) {
    written_ = true;  // a failed write may still have left a file
    return write_file(temporary_, bytes, problem);
}

bool PendingFile::commit(std::string *problem) {
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        *problem = "cannot rename " + temporary_ + " to " + path_ + ": " + std::strerror(errno);
        return false;
    }
    written_ = false;
    return true;
}

}  // namespace kovra::tool

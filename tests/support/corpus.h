// Locating test inputs: the shared corpus of real images (tests skip when it is absent), the
// project's samples/, and whole-file reads.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kovra::test {

std::filesystem::path corpus_dir();
std::filesystem::path samples_dir();
bool corpus_available();

// Regular files under corpus_dir()/subdir (recursively) whose extension (lower-cased, with the
// dot) is one of `extensions`; all files when `extensions` is empty. Sorted by path.
std::vector<std::filesystem::path> corpus_files(const std::string &subdir,
                                                const std::vector<std::string> &extensions = {});

std::vector<uint8_t> read_file(const std::filesystem::path &path);

}  // namespace kovra::test

#define KOVRA_REQUIRE_CORPUS()                                                     \
    do {                                                                           \
        if (!::kovra::test::corpus_available()) GTEST_SKIP() << "shared corpus absent"; \
    } while (0)

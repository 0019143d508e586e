// Test inputs: the shared corpus of real images (tests skip when it is absent), samples/, and
// whole-file reads.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kovra::test {

std::filesystem::path corpus_dir();
std::filesystem::path samples_dir();
bool corpus_available();
// Files under corpus_dir()/subdir whose lower-cased extension is one of `extensions` (any when
// empty), sorted.
std::vector<std::filesystem::path> corpus_files(const std::string &subdir, const std::vector<std::string> &extensions = {});
std::vector<uint8_t> read_file(const std::filesystem::path &path);

}  // namespace kovra::test

#define KOVRA_REQUIRE_CORPUS() \
    if (!::kovra::test::corpus_available()) GTEST_SKIP() << "shared corpus absent"

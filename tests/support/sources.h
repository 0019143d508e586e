// Decoder records over the same bytes through every source kind, so a test can run one
// expectation across paths, caller memory, open files, caller streams and library-owned memory.
// Also an in-test stream that serves a byte vector through the read/skip/rewind callbacks, and an
// RAII guard that makes allocations fail.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kovra_decinfo.h"
#include "support/temp_dir.h"

namespace kovra::test {

// A caller stream over a byte vector. skip and rewind move a cursor; reads and rewinds are counted.
struct MemoryStream {
    std::vector<uint8_t> bytes;
    size_t cursor = 0;
    int reads = 0, rewinds = 0;

    static uint32_t read(void *handle, void *buffer, uint32_t count);
    static uint32_t skip(void *handle, void *buffer, uint32_t count);
    static uint32_t rewind(void *handle, void *buffer, uint32_t count);
};

enum class SourceKind { kPath, kMemory, kFile, kStream, kOwnedMemory };
const char *source_kind_name(SourceKind kind);
inline constexpr SourceKind kAllSourceKinds[] = {SourceKind::kPath, SourceKind::kMemory, SourceKind::kFile,
                                                 SourceKind::kStream, SourceKind::kOwnedMemory};

// Fixture of tests that run once per source kind: TEST_P over an alias of it, then
// KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(alias); each instance is named after its kind.
class SourceKindTest : public ::testing::TestWithParam<SourceKind> {};
#define KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(suite)                                                   \
    INSTANTIATE_TEST_SUITE_P(EverySource, suite, ::testing::ValuesIn(::kovra::test::kAllSourceKinds), \
                             [](const auto &info) { return std::string(::kovra::test::source_kind_name(info.param)); })

// Owns a KOVRADALT_DecInfo over `bytes` through one source kind and whatever the kind needs
// (a temporary file, an open FILE, the memory, the stream). record() is null if creation failed.
class SourceRecord {
public:
    SourceRecord(SourceKind kind, const std::vector<uint8_t> &bytes, int32_t output_format = 0);
    ~SourceRecord();
    SourceRecord(const SourceRecord &) = delete;
    SourceRecord &operator=(const SourceRecord &) = delete;

    KOVRADALT_DecInfo *record() const { return record_; }
    KOVRADALT_DecInfo *operator->() const { return record_; }

private:
    TempDir dir_;
    std::string path_;
    std::vector<uint8_t> memory_;
    FILE *file_ = nullptr;
    std::unique_ptr<MemoryStream> stream_;
    KOVRADALT_DecInfo *record_ = nullptr;
};

// Lets `successes` more allocations through KOVRADALT_OsMalloc/Realloc succeed, then fails them
// all until the guard goes away.
class AllocationFailure {
public:
    explicit AllocationFailure(long successes);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure &) = delete;
    AllocationFailure &operator=(const AllocationFailure &) = delete;
};

}  // namespace kovra::test

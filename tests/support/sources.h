// The fuzz targets' sources for the tests: a decoder record over a copy of some bytes through one
// source kind, a fixture that runs a test once per kind, and a guard that makes allocations fail.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fuzz/input_source.h"
#include "os/alloc_failure.h"

namespace kovra::test {

using fuzz::MemoryStream;
using SourceKind = fuzz::InputKind;
inline constexpr SourceKind kAllSourceKinds[] = {SourceKind::kMemory, SourceKind::kStream, SourceKind::kFile,
                                                 SourceKind::kPath, SourceKind::kOwnedMemory};
inline const char *source_kind_name(SourceKind kind) {
    static constexpr const char *names[] = {"memory", "stream", "file", "path", "owned_memory"};
    return names[static_cast<int>(kind)];
}

// TEST_P over an alias of this fixture, then KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(alias).
class SourceKindTest : public ::testing::TestWithParam<SourceKind> {};
#define KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(suite)                                                   \
    INSTANTIATE_TEST_SUITE_P(EverySource, suite, ::testing::ValuesIn(::kovra::test::kAllSourceKinds), \
                             [](const auto &info) { return std::string(::kovra::test::source_kind_name(info.param)); })

class SourceRecord {
public:
    SourceRecord(SourceKind kind, std::vector<uint8_t> bytes, int32_t format = 0)
        : bytes_(std::move(bytes)), source_(bytes_.data(), bytes_.size(), kind, format) {}
    KOVRADALT_DecInfo *record() const { return source_.dec(); }
    KOVRADALT_DecInfo *operator->() const { return source_.dec(); }

private:
    std::vector<uint8_t> bytes_;
    fuzz::InputSource source_;
};

// Lets `successes` more allocations succeed, then fails them all until the guard goes away.
struct AllocationFailure {
    explicit AllocationFailure(long successes) { os::fail_allocations_after(successes); }
    ~AllocationFailure() { os::stop_failing_allocations(); }
};

}  // namespace kovra::test

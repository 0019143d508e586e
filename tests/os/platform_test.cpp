// Platform services: the checks they add on top of the C library, the aligned allocator, thread
// hand-back, and the integer helpers' sign rules.

#include <gtest/gtest.h>

#include <cstring>

#include "support/sources.h"

namespace kovra::test {
namespace {

TEST(Os, FilesRefuseDirectoriesNullsAndEmptyWrites) {
    EXPECT_EQ(KOVRADALT_OpenFile("/"), KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_OsFopen("/", "rb"), nullptr);
    EXPECT_EQ(KOVRADALT_CloseFile(nullptr), -1);
    FILE *file = KOVRADALT_OsFopen("/dev/null", "wb");
    const char byte = 'x';
    for (auto [data, size, count, out] : {std::tuple{&byte, 0u, 1u, file}, {&byte, 1u, 0u, file}, {nullptr, 1u, 1u, file}, {&byte, 1u, 1u, nullptr}})
        EXPECT_EQ(KOVRADALT_OsFwrite(data, size, count, out), -1) << size << count;
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, file), 1);
    EXPECT_EQ(KOVRADALT_OsFclose(file), 0);
}

TEST(Os, AllocatorThreadsAndIntegerHelpers) {
    for (uint32_t size : {0u, 1u, 17u, 1000u}) {
        void *block = DALT_FakeMalloc(0, size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u) << size;
        std::memset(block, 0xCD, size);  // ASan checks the block holds `size` bytes
        DALT_FakeFree(block);
    }
    EXPECT_EQ(DALT_FakeMalloc(0, UINT32_MAX - 10), nullptr);
    int value = 0;
    pthread_t thread{};
    ASSERT_EQ(KOVRADALT_OsThreadCreate([](void *v) -> void * { return *static_cast<int *>(v) = 42, v; }, &value, &thread), 1);
    EXPECT_EQ(KOVRADALT_OsThreadWait(thread, nullptr), 0);
    EXPECT_EQ(value, 42);
    // GCD keeps the operands' signs, DALTJ_GetGCD is its magnitude; INT32_MIN % -1 does not trap.
    for (auto [a, b, gcd, magnitude, lcm] : {std::array{-12, 0, -12, 12, 0}, {-12, 18, 6, 6, -36}, {12, -18, -6, 6, 36},
                                            {4, 6, 2, 2, 12}, {0, 0, 0, 0, 0}, {INT32_MIN, -1, -1, 1, INT32_MIN}}) {
        EXPECT_EQ(GCD(a, b), gcd) << a << " " << b;
        EXPECT_EQ(DALTJ_GetGCD(a, b), magnitude) << a << " " << b;
        EXPECT_EQ(LCM(a, b), lcm) << a << " " << b;
    }
    EXPECT_EQ(round_up_pow2(17, 16) + round_up_pow2(32, 16), 64u);
}

}  // namespace
}  // namespace kovra::test

// Platform services: the checks they add on top of the C library, the aligned allocator, thread
// hand-back, and the integer helpers' sign rules.

#include <gtest/gtest.h>

#include <cstring>

#include "kovra_os.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

TEST(Os, FilesRefuseDirectoriesNullsAndEmptyWrites) {
    TempDir dir;
    EXPECT_EQ(KOVRADALT_OpenFile(dir.path().c_str()), KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_OsFopen(dir.path().c_str(), "rb"), nullptr);
    EXPECT_EQ(KOVRADALT_CloseFile(nullptr), -1);
    FILE *file = KOVRADALT_OsFopen((dir.path() / "out").c_str(), "wb");
    const char byte = 'x';
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 0, 1, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 0, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(nullptr, 1, 1, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, nullptr), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, file), 1);
    EXPECT_EQ(KOVRADALT_OsFclose(file), 0);
}

TEST(Os, FakeMallocIsAlignedFreeableAndRefusesWrappingSizes) {
    for (uint32_t size : {0u, 1u, 15u, 16u, 17u, 1000u}) {
        void *block = DALT_FakeMalloc(0, size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u) << size;
        std::memset(block, 0xCD, size);  // ASan checks the block holds `size` bytes
        DALT_FakeFree(block);
    }
    EXPECT_EQ(DALT_FakeMalloc(0, UINT32_MAX - 10), nullptr);
    AllocationFailure fail(0);
    EXPECT_EQ(DALT_FakeMalloc(0, 16), nullptr);
}

TEST(Os, ThreadRunsAndIsJoined) {
    int value = 0;
    pthread_t thread{};
    ASSERT_EQ(KOVRADALT_OsThreadCreate([](void *v) -> void * { return *static_cast<int *>(v) = 42, v; }, &value,
                                       &thread), 1);
    EXPECT_EQ(KOVRADALT_OsThreadWait(thread, nullptr), 0);
    EXPECT_EQ(value, 42);
}

TEST(Os, IntegerHelpersFollowTheOperandsSigns) {
    EXPECT_EQ(GCD(-12, 0), -12);
    EXPECT_EQ(DALTJ_GetGCD(-12, 0), 12);
    EXPECT_EQ(GCD(-12, 18), 6);
    EXPECT_EQ(GCD(12, -18), -6);
    EXPECT_EQ(DALTJ_GetGCD(12, -18), 6);
    EXPECT_EQ(LCM(4, 6), 12);
    EXPECT_EQ(LCM(0, 0), 0);
    EXPECT_EQ(GCD(INT32_MIN, -1), -1);  // no trap on the one overflowing remainder
    EXPECT_EQ(round_up_pow2(17, 16), 32u);
    EXPECT_EQ(round_up_pow2(32, 16), 32u);
}

}  // namespace
}  // namespace kovra::test

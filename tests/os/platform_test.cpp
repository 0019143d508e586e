// Platform services: the checks they add on top of the C library, the aligned allocator's
// header word, thread hand-back, and the integer helpers' sign rules.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>

#include "kovra_os.h"
#include "support/sources.h"
#include "support/temp_dir.h"

namespace {
using kovra::test::TempDir;

TEST(Files, DirectoriesAreRefusedByBothOpeners) {
    TempDir dir;
    EXPECT_EQ(KOVRADALT_OpenFile(dir.path().c_str()), KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_OsFopen(dir.path().c_str(), "rb"), nullptr);
}

TEST(Files, SymlinkToDirectoryIsLeftToFopen) {
    TempDir dir;
    std::filesystem::create_directory(dir.path() / "real");
    std::filesystem::create_directory_symlink(dir.path() / "real", dir.path() / "link");
    // lstat sees a link, not a directory; fopen("rb") on a directory still succeeds on Linux.
    FILE *file = KOVRADALT_OpenFile((dir.path() / "link").c_str());
    ASSERT_NE(file, KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_CloseFile(file), 0);
}

TEST(Files, MissingPathGivesEachOpenersFailureValue) {
    EXPECT_EQ(KOVRADALT_OpenFile("/nonexistent/kovra"), KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_OsFopen("/nonexistent/kovra", "rb"), nullptr);
}

TEST(Files, NullHandlesAndEmptyWritesAreRefused) {
    EXPECT_EQ(KOVRADALT_CloseFile(nullptr), -1);
    EXPECT_EQ(KOVRADALT_OsFclose(nullptr), -1);
    TempDir dir;
    FILE *file = KOVRADALT_OsFopen((dir.path() / "out").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    const char byte = 'x';
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 0, 1, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 0, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(nullptr, 1, 1, file), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, nullptr), -1);
    EXPECT_EQ(KOVRADALT_OsFwrite(&byte, 1, 1, file), 1);
    EXPECT_EQ(KOVRADALT_OsFclose(file), 0);
    EXPECT_EQ(std::filesystem::file_size(dir.path() / "out"), 1u);
}

TEST(Files, SeekReportsAbsolutePositionEvenPastTheEnd) {
    TempDir dir;
    FILE *file = KOVRADALT_OpenFile(dir.write("ten", std::vector<uint8_t>(10, 7)).c_str());
    ASSERT_NE(file, KOVRADALT_FILE_FAILED);
    EXPECT_EQ(KOVRADALT_SeekFile(file, 4, SEEK_SET), 4);
    EXPECT_EQ(KOVRADALT_SeekFile(file, 3, SEEK_CUR), 7);
    EXPECT_EQ(KOVRADALT_SeekFile(file, 100, SEEK_SET), 100);
    EXPECT_EQ(KOVRADALT_SeekFile(file, -2, SEEK_END), 8);
    EXPECT_EQ(KOVRADALT_OsFseek(file, -20, SEEK_SET), -1);
    EXPECT_EQ(KOVRADALT_OsFtell(file), 8);
    uint8_t bytes[4] = {};
    EXPECT_EQ(KOVRADALT_ReadFile(file, bytes, 4), 2u);
    EXPECT_EQ(KOVRADALT_CloseFile(file), 0);
}

TEST(Memory, MemcpyIsSafeForOverlappingMoves) {
    uint8_t bytes[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    KOVRADALT_OsMemcpy(bytes, bytes + 2, 6);
    EXPECT_EQ(bytes[0], 2);
    EXPECT_EQ(bytes[5], 7);
    KOVRADALT_OsMemset(bytes, 0x1AB, 3);  // only the low 8 bits are used
    EXPECT_EQ(bytes[2], 0xAB);
}

TEST(Memory, FakeMallocIsAlignedAndFreeable) {
    for (uint32_t size : {0u, 1u, 15u, 16u, 17u, 1000u}) {
        void *block = DALT_FakeMalloc(0, size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u) << size;
        std::memset(block, 0xCD, size);  // ASan checks the block really holds `size` bytes
        DALT_FakeFree(block);
    }
    DALT_FakeFree(nullptr);
    EXPECT_EQ(DALT_FakeMalloc(0, UINT32_MAX - 10), nullptr);
}

TEST(Memory, AllocationFailuresReachTheCaller) {
    kovra::test::AllocationFailure fail(0);
    EXPECT_EQ(KOVRADALT_OsMalloc(16), nullptr);
    EXPECT_EQ(DALT_FakeMalloc(0, 16), nullptr);
}

TEST(Threads, CreateRunsTheRoutineAndWaitJoinsIt) {
    int value = 0;
    pthread_t thread{};
    auto routine = [](void *argument) -> void * {
        *static_cast<int *>(argument) = 42;
        return argument;
    };
    ASSERT_EQ(KOVRADALT_OsThreadCreate(routine, &value, &thread), 1);
    EXPECT_EQ(KOVRADALT_OsThreadWait(thread, nullptr), 0);
    EXPECT_EQ(value, 42);

    pthread_mutex_t mutex;
    EXPECT_EQ(KOVRADALT_OsThreadMutex_Init(&mutex, nullptr), 0);
    EXPECT_EQ(KOVRADALT_OsThreadMutex_Lock(&mutex), 0);
    EXPECT_EQ(KOVRADALT_OsThreadMutex_Unlock(&mutex), 0);
    pthread_mutex_destroy(&mutex);
}

TEST(Time, StatusHookNeverStopsOrSleeps) {
    int32_t status = 77;
    KOVRADALT_CheckExStatus(&status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(KOVRADALT_OsSleep(0), 0);
    EXPECT_GE(KOVRADALT_OsClock(), 0);
}

TEST(IntegerHelpers, SignsFollowTheOperands) {
    EXPECT_EQ(GCD(-12, 0), -12);
    EXPECT_EQ(DALTJ_GetGCD(-12, 0), 12);
    EXPECT_EQ(GCD(12, 18), 6);
    EXPECT_EQ(GCD(-12, 18), 6);  // -12 % 18 = -12, 18 % -12 = 6, -12 % 6 = 0
    EXPECT_EQ(GCD(12, -18), -6);
    EXPECT_EQ(DALTJ_GetGCD(12, -18), 6);
    EXPECT_EQ(LCM(4, 6), 12);
    EXPECT_EQ(LCM(4, 0), 0);
    EXPECT_EQ(LCM(0, 0), 0);
    EXPECT_EQ(GCD(INT32_MIN, -1), -1);  // no trap on the one overflowing remainder
    EXPECT_EQ(round_up_pow2(17, 16), 32u);
    EXPECT_EQ(round_up_pow2(32, 16), 32u);
    EXPECT_EQ(round_up_pow2(0, 8), 0u);
}

TEST(Globals, HostWordsStayZero) {
    EXPECT_EQ(gTestCount, 0);
    EXPECT_EQ(total_mem_size, 0);
}

}  // namespace

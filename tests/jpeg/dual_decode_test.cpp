// Two threads through dualdecode_jpeg against one, with a toy entropy stage given to the stage
// doubles. The toy keeps its whole state where the hand-over carries it: each MCU row consumes a
// number of input bytes that depends on the running hash of everything read so far (kept in the
// Huffman state's bit buffer), through the byte window over the thread's own source; rows are
// written from the hash, the row group and entropyCounter. A lost piece of state shows in the pixels.

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "stage_doubles.h"

namespace {

constexpr uint32_t kMcuRows = 40, kRowBytes = 16;
// One component one row short of kMcuRows MCU rows: the last MCU row hands on 7 row groups; the
// full-size processor hands on 8 rows an MCU row, the reduced-size one 7.
constexpr int32_t output_height(bool resize) { return (resize ? 7 : 8) * (kMcuRows - 1) + 7; }

struct ThreadWork {
    uint32_t delayUs = 0;  // slows this thread's entropy decoding against the other's
    uint32_t decoded = 0, adoptions = 0, lastEntropyCounter = 0;
};
thread_local ThreadWork *threadWork = nullptr;

// An adoption shows as an entropy counter that moved between this thread's own calls.
bool consume_mcu(DALTJ_DecoderInfo *ctx) {
    DALTJ_ByteWindow *window = ctx->byteWindow;
    if (ctx->entropyCounter != threadWork->lastEntropyCounter) ++threadWork->adoptions;
    usleep(threadWork->delayUs);
    uint32_t hash = ctx->huffState->bitBuffer;
    const int32_t need = 300 + static_cast<int32_t>((hash >> 7) % 1200);
    if (DALTJ_CheckBuffer(window, need) == 0 || window->avail < need) return false;
    for (int32_t k = 0; k < need; ++k) hash = (hash ^ window->data[window->pos + k]) * 0x01000193u;
    window->pos += need;
    window->avail -= need;
    ctx->huffState->bitBuffer = hash;
    threadWork->lastEntropyCounter = ++ctx->entropyCounter;
    return true;
}

uint32_t decode_mcu_row(DALTJ_DecoderInfo *ctx) {
    if (!consume_mcu(ctx)) return DALTJ_STATUS_INPUT_DRY;
    ++threadWork->decoded;
    ctx->resizeMcuRow = ctx->mainController->mcuRowCounter + 1;
    return ctx->resizeMcuRow >= ctx->totalMcuRows ? DALTJ_STATUS_END : DALTJ_STATUS_ROW_DONE;
}

void upsample(DALTJ_DecoderInfo *ctx, uint32_t *rowsOut, uint32_t rowsAvail) {
    DALTJ_MainController *main = ctx->mainController;
    for (; main->rowgroupCounter < main->rowgroupsAvail && *rowsOut < rowsAvail; ++main->rowgroupCounter, ++*rowsOut) {
        const uint32_t seed = ctx->huffState->bitBuffer ^ (main->rowgroupCounter * 0x9E3779B9u) ^ ctx->entropyCounter;
        for (uint32_t x = 0; x < kRowBytes && ctx->skipMode == 0; ++x) ctx->outY[x] = static_cast<uint8_t>((seed >> (x % 4 * 8)) + x);
        ctx->outY += kRowBytes;
    }
}

// One thread's decoder: the MCU row scene over one component with its own source (caller
// memory, or an open file), window, read buffer and entropy state.
struct ThreadDecoder : McuScene {
    FILE *file = nullptr;
    KOVRADALT_IO *io = nullptr;
    std::vector<uint8_t> readBuffer = std::vector<uint8_t>(KOVRADALT_WINDOW_CAPACITY);
    DALTJ_ByteWindow window{};
    DALTJ_HuffState huff{};
    DALTJ_BitReader bits{};

    ThreadDecoder(int32_t kind, std::vector<uint8_t> &bytes, uint8_t *image, int32_t outputHeight)
        : McuScene({1}, static_cast<uint16_t>(outputHeight), kMcuRows) {
        const auto size = static_cast<int32_t>(bytes.size());
        if (kind == IO_KIND_FILE) file = fmemopen(bytes.data(), bytes.size(), "rb");
        io = KOVRADALT_Open_IO(kind, kind == IO_KIND_FILE ? static_cast<void *>(file) : bytes.data(), size);
        window = {io, 0, size, 0, 0, kind == IO_KIND_MEMORY ? bytes.data() : readBuffer.data()};
        comps[0].downsampledHeight = 8 * kMcuRows - 1;
        ctx.byteWindow = &window;
        ctx.bitReader = &bits;
        ctx.huffState = &huff;
        ctx.io = io;
        ctx.readBuffer = readBuffer.data();
        ctx.outY = image;
    }
    ~ThreadDecoder() {
        KOVRADALT_Close_IO(io);
        if (file != nullptr) fclose(file);
    }
};

struct DualRun {
    int32_t height;
    std::vector<uint8_t> bytes = std::vector<uint8_t>(kMcuRows * 1500 + 100);
    std::vector<uint8_t> image = std::vector<uint8_t>((height + 1) * kRowBytes, 0xEE);
    std::vector<uint32_t> claims = std::vector<uint32_t>(height, 0);
    DALTJ_DualDecodeShared shared{};
    std::vector<std::unique_ptr<ThreadDecoder>> decoders;
    std::vector<DALTJ_DualDecodeArgs> args;
    ThreadWork work[2];

    DualRun(int32_t kind, int threads, bool resize) : height(output_height(resize)) {
        uint32_t state = 12345;
        for (uint8_t &b : bytes) b = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
        KOVRADALT_OsThreadMutex_Init(&shared.mutex, nullptr);
        for (int t = 0; t < threads; ++t) {
            decoders.push_back(std::make_unique<ThreadDecoder>(kind, bytes, image.data(), height));
            args.push_back({&decoders.back()->ctx, &shared, claims.data(), 0, resize ? 1 : 0});
        }
        stages().decodeRow = decode_mcu_row;  // after the scenes, which reset the doubles
        stages().skipMcu = [](DALTJ_DecoderInfo *ctx) { return consume_mcu(ctx) ? 1 : 0; };
        stages().upsample = upsample;
        threadWork = &work[0];
    }

    void run() {
        std::vector<pthread_t> threads(args.size());
        std::pair<DALTJ_DualDecodeArgs *, ThreadWork *> starts[2];
        for (size_t t = 0; t < args.size(); ++t) {
            starts[t] = {&args[t], &work[t]};
            ASSERT_EQ(KOVRADALT_OsThreadCreate(
                          [](void *start) -> void * {
                              auto *s = static_cast<std::pair<DALTJ_DualDecodeArgs *, ThreadWork *> *>(start);
                              threadWork = s->second;
                              dualdecode_jpeg(s->first);
                              return nullptr;
                          },
                          &starts[t], &threads[t]),
                      1);
        }
        for (pthread_t thread : threads) ASSERT_EQ(pthread_join(thread, nullptr), 0);
    }
};

class DualDecode : public testing::TestWithParam<std::tuple<int32_t, bool>> {};

// Even speeds make the threads take turns; uneven ones make the faster run ahead and the slower
// adopt its state.
TEST_P(DualDecode, TwoThreadsGiveTheOneThreadPixels) {
    auto [kind, resize] = GetParam();
    DualRun single(kind, 1, resize);
    single.run();
    ASSERT_EQ(single.work[0].decoded, kMcuRows);
    ASSERT_EQ(single.decoders[0]->ctx.outputRow, single.height);
    EXPECT_EQ(single.shared.callCount, kMcuRows);  // what the other thread compares its calls with
    for (int32_t row = 0; row <= single.height; ++row)
        EXPECT_EQ(std::count(&single.image[row * kRowBytes], &single.image[row * kRowBytes] + kRowBytes, 0xEE) == kRowBytes, row == single.height) << row;
    bool bothDecoded = false;
    uint32_t adoptions = 0;
    const uint32_t delays[][2] = {{100, 100}, {50, 300}, {300, 50}, {100, 100}, {50, 300}, {300, 50}};
    for (const auto &[first, second] : delays) {
        DualRun dual(kind, 2, resize);
        dual.work[0].delayUs = first, dual.work[1].delayUs = second;
        dual.run();
        ASSERT_TRUE(dual.image == single.image) << "threads decoded " << dual.work[0].decoded << " and " << dual.work[1].decoded;
        EXPECT_EQ(dual.work[0].decoded + dual.work[1].decoded, kMcuRows);
        bothDecoded |= dual.work[0].decoded != 0 && dual.work[1].decoded != 0;
        adoptions += dual.work[0].adoptions + dual.work[1].adoptions;
    }
    EXPECT_TRUE(bothDecoded) << "one thread did all the work in every attempt";
    EXPECT_NE(adoptions, 0u) << "no thread ever adopted the other's state";
}

INSTANTIATE_TEST_SUITE_P(SourcesAndProcessors, DualDecode,
                         testing::Combine(testing::Values(IO_KIND_MEMORY, IO_KIND_FILE), testing::Bool()));

// A claim other than 0 or 1 stops the thread with the mutex held; refused contexts decode nothing.
// The other thread holds the first two rows and published its state at MCU row 12: this one skips
// the first row, then refuses a window that does not fit inside what it can hold, or rereads one
// that does from its file and decodes the rest.
TEST(DualDecodeStops, BadClaimsRefusedContextsAndWindowsOutsideTheReadSpan) {
    DualRun claim(IO_KIND_MEMORY, 1, false);
    claim.claims[15] = 2;  // the third call starts at output row 15
    EXPECT_EQ(dualdecode_jpeg(&claim.args[0]), 0u);
    EXPECT_EQ(claim.decoders[0]->ctx.outputRow, 15);
    EXPECT_EQ(pthread_mutex_trylock(&claim.shared.mutex), EBUSY);
    KOVRADALT_OsThreadMutex_Unlock(&claim.shared.mutex);

    DualRun refused(IO_KIND_FILE, 1, false);
    DALTJ_DualDecodeArgs noClaims = refused.args[0];
    noClaims.claims = nullptr;
    EXPECT_EQ(dualdecode_jpeg(&noClaims), 0u);
    refused.decoders[0]->ctx.readBuffer = nullptr;
    EXPECT_EQ(dualdecode_jpeg(&refused.args[0]), 0u);
    EXPECT_EQ(refused.decoders[0]->ctx.outputRow, 0);

    const struct {
        int32_t kind;
        uint32_t end, left, decoded;
    } windows[] = {{IO_KIND_MEMORY, kMcuRows * 1500 + 101, 5, 0},  // beyond the source
                   {IO_KIND_MEMORY, 100, 101, 0},                  // more unread than the source holds there
                   {IO_KIND_FILE, 30000, KOVRADALT_WINDOW_CAPACITY + 1, 0},
                   {IO_KIND_FILE, 100, 50, 0},  // no full window ends there
                   {IO_KIND_FILE, 30000, 50, kMcuRows - 12}};
    for (const auto &window : windows) {
        DualRun run(window.kind, 1, false);
        run.claims[0] = run.claims[7] = 1;
        run.shared.callCount = 3;
        run.shared.outputRow = 96;
        run.shared.resizeMcuRow = 12;
        run.shared.outY = run.image.data() + 96 * kRowBytes;
        run.shared.windowFilePosition = window.end;
        run.shared.windowBytesLeft = window.left;
        EXPECT_EQ(dualdecode_jpeg(&run.args[0]), 0u);
        EXPECT_EQ(run.work[0].decoded, window.decoded);
        EXPECT_EQ(run.work[0].adoptions, window.decoded == 0 ? 0u : 1u);
        if (window.decoded == 0) {
            EXPECT_EQ(run.decoders[0]->ctx.outputRow, 7);
        }
        ASSERT_EQ(pthread_mutex_trylock(&run.shared.mutex), 0);
        KOVRADALT_OsThreadMutex_Unlock(&run.shared.mutex);
    }
}

}  // namespace

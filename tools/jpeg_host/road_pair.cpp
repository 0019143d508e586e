// The two-thread decode: two roads over one picture, one thread each, sharing the hand-over
// record and the claim array of dualdecode_jpeg. A thread decodes the MCU rows it claims and
// passes over (skip mode) or jumps past (adopting the other's published state) the rest. The
// hand-over needs each context's own source, byte window and read buffer; the stages read
// nothing through them (the coefficients are at hand), so they only ever stand at the start.

#include <pthread.h>

#include <climits>
#include <thread>

#include "road.h"

namespace kovra::jpeg_host {

namespace {
constexpr int32_t kMemorySource = 1;  // caller memory, which stays the caller's
}  // namespace

bool Road::open_source() {
    const std::vector<uint8_t> &bytes = image_.bytes();
    if (bytes.size() > INT32_MAX) return false;
    const auto size = static_cast<int32_t>(bytes.size());
    io_ = KOVRADALT_Open_IO(kMemorySource, const_cast<uint8_t *>(bytes.data()), size);
    if (io_ == nullptr) return false;
    readBuffer_.assign(KOVRADALT_WINDOW_CAPACITY, 0);
    window_ = DALTJ_ByteWindow{io_, 0, size, 0, 0, readBuffer_.data()};
    ctx_.io = io_;
    ctx_.byteWindow = &window_;
    ctx_.readBuffer = readBuffer_.data();
    return true;
}

void Road::run_half(DALTJ_DualDecodeShared *shared, uint32_t *claims) {
    DALTJ_DualDecodeArgs args{&ctx_, shared, claims, 0, scale_ == 1 ? 0 : 1};
    dualdecode_jpeg(&args);
}

Error decode_two_threads(const CoefficientImage &image, const DecodeOptions &options, Picture &out) {
    Road first(image, options), second(image, options);
    if (Error e = first.prepare(out, true); e != Error::none) return e;
    if (Error e = second.prepare(out, false); e != Error::none) return e;
    if (!first.open_source() || !second.open_source()) return Error::failed;
    DALTJ_DualDecodeShared shared{};
    KOVRADALT_OsThreadMutex_Init(&shared.mutex, nullptr);
    std::vector<uint32_t> claims(out.height, 0);
    std::thread other([&] { second.run_half(&shared, claims.data()); });
    first.run_half(&shared, claims.data());
    other.join();
    pthread_mutex_destroy(&shared.mutex);
    if (first.cancelled() || second.cancelled()) return Error::cancelled;
    return first.finished() || second.finished() ? Error::none : Error::failed;
}

}  // namespace kovra::jpeg_host

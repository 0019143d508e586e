#include "jpeg_decode.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <mutex>

#include "exif_report.h"
#include "interrupt_flag.h"
#include "jpeg_reading.h"
#include "output_file.h"
#include "progress_line.h"

namespace kovra::tool {
namespace {

// Images from this size on show a progress line (when stderr is a terminal).
constexpr uint64_t kProgressPixels = uint64_t{4} << 20;

int fail(const JpegDecodeRequest &request, const std::string &problem) {
    std::fprintf(stderr, "kovra decode: %s: %s\n", request.input.c_str(), problem.c_str());
    return 1;
}

int interrupted(const JpegDecodeRequest &request) {
    std::fprintf(stderr, "kovra decode: %s: interrupted; nothing written\n", request.input.c_str());
    return InterruptFlag::kExitStatus;
}

// The EXIF orientation, which the output does not apply.
void print_orientation(const std::string &path) {
    const ExifReport exif(path);
    if (exif.found() && exif.info().orientation != 0) {
        std::printf("  EXIF orientation %u (reported, not applied)\n", static_cast<unsigned>(exif.info().orientation));
    }
}

// Decodes through the host, polling Ctrl-C and drawing progress from its keepGoing callback
// (called from both threads when there are two).
jpeg_host::Error decode_picture(const JpegDecodeRequest &request, const jpeg_host::Jpeg &jpeg, jpeg_host::Picture *picture) {
    const jpeg_host::Description &d = jpeg.description();
    const uint32_t output_rows = jpeg_host::scaled_size(d.height, request.scale_denominator);
    ProgressLine progress("kovra decode " + request.input, "row");
    const bool show_progress = uint64_t{d.width} * d.height >= kProgressPixels;
    std::mutex progress_lock;
    std::atomic<uint32_t> rows_done{0};
    jpeg_host::DecodeOptions options;
    options.scaleDenominator = request.scale_denominator;
    options.format = host_format(request.output);
    options.threads = request.threads;
    options.keepGoing = [&](uint32_t rows) {
        if (show_progress) {
            const std::lock_guard<std::mutex> hold(progress_lock);
            rows_done = std::max(rows_done.load(), rows);
            progress.update(rows_done, output_rows);
        }
        return !InterruptFlag::raised();
    };
    const jpeg_host::Error error = jpeg.decode(options, *picture);
    progress.finish();
    return error;
}

}  // namespace

int decode_jpeg(const JpegDecodeRequest &request) {
    const InterruptFlag interrupt;
    const JpegReading reading = read_jpeg(request.input, request.max_pixels);
    if (!reading.failure.empty()) return fail(request, reading.failure);
    const jpeg_host::Description &d = reading.jpeg.description();
    const uint32_t width = jpeg_host::scaled_size(d.width, request.scale_denominator);
    const uint32_t height = jpeg_host::scaled_size(d.height, request.scale_denominator);
    std::printf("%s: JPEG %s; output 1/%d: %u x %u %s\n", request.input.c_str(), describe(d).c_str(),
                request.scale_denominator, width, height, output_name(request.output));
    print_orientation(request.input);

    jpeg_host::Picture picture;
    const jpeg_host::Error error = decode_picture(request, reading.jpeg, &picture);
    if (InterruptFlag::raised()) return interrupted(request);
    if (error != jpeg_host::Error::none) return fail(request, jpeg_host::message(error));

    std::string problem;
    std::vector<uint8_t> bytes;
    if (!encode_output(picture, request.output, &bytes, &problem)) return fail(request, problem);
    std::error_code ignored;
    std::filesystem::create_directories(request.output_dir, ignored);
    const std::string stem = std::filesystem::path(request.input).stem().string();
    PendingFile file((std::filesystem::path(request.output_dir) / (stem + file_suffix(request.output))).string());
    if (!file.write(bytes, &problem)) return fail(request, problem);
    if (InterruptFlag::raised()) return interrupted(request);
    if (!file.commit(&problem)) return fail(request, problem);
    std::printf("  -> %s\n", file.path().c_str());
    return 0;
}

}  // namespace kovra::tool

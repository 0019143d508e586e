// GIF decoding speed, this library against giflib, on the shared corpus's valid GIFs.
//
// Both sides decode each file from memory to RGBA (format 7) at full size, every frame into one
// reused buffer: this library through its framework entry points (frame mode), giflib through
// DGifSlurp followed by palette expansion and the same composition rules (the GIF reference's
// baseline). Rates are output megapixels per second (frames x screen pixels). After the runs a
// table gives both rates per file, their ratio, and the geometric mean of the ratios for
// single-frame and for animated files. Each benchmark runs five times and the table takes the
// median, since the speed of a shared machine varies from one moment to the next.
//
// The C library's allocator is told to keep freed memory (no heap trimming, no mmap for large
// blocks), as in a long-running host: otherwise every decode of either library pays the kernel to
// map and zero its buffers afresh, and the comparison measures page faults.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <map>
#include <string>
#include <vector>

#include "gif_bench_support.h"
#ifdef KOVRA_BENCH_GIFLIB
#include "gif_reference.h"
#endif

namespace {

constexpr int kRepetitions = 5;

struct File {
    std::string name;
    std::vector<uint8_t> bytes;
    int frames = 0;
    int64_t pixels = 0;
};

std::vector<File> &files() {
    static std::vector<File> list;
    return list;
}

std::vector<File> load_corpus(const std::filesystem::path &dir) {
    std::vector<File> out;
    if (!std::filesystem::is_directory(dir)) return out;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(dir)) {
        if (!entry.is_regular_file() || entry.path().extension() != ".gif") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        File file;
        file.name = std::filesystem::relative(entry.path(), dir).string();
        file.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        const kovra::bench::DecodeCount count = kovra::bench::decode_gif_rgba(file.bytes);
        file.frames = count.frames;
        file.pixels = count.pixels;
        // Tiny images measure call overhead, not decoding.
        if (file.frames > 0 && file.pixels >= 4096) out.push_back(std::move(file));
    }
    std::sort(out.begin(), out.end(), [](const File &a, const File &b) { return a.name < b.name; });
    return out;
}

void bm_kovra(benchmark::State &state, const File *file) {
    for (auto _ : state) benchmark::DoNotOptimize(kovra::bench::decode_gif_rgba(file->bytes));
    state.counters["MP/s"] = benchmark::Counter(static_cast<double>(file->pixels) / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

#ifdef KOVRA_BENCH_GIFLIB
void bm_giflib(benchmark::State &state, const File *file) {
    for (auto _ : state) benchmark::DoNotOptimize(kovra::gifref::giflib_decode_rgba(file->bytes.data(), file->bytes.size()));
    state.counters["MP/s"] = benchmark::Counter(static_cast<double>(file->pixels) / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}
#endif

// Keeps each run's rate for the closing table.
class Collector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            // With repetitions, the median stands for the file (the machine's speed may vary).
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            const auto found = run.counters.find("MP/s");
            if (found != run.counters.end()) rates[run.run_name.function_name] = found->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> rates;
};

void print_table(const Collector &collector) {
#ifdef KOVRA_BENCH_GIFLIB
    std::printf("\n%-48s %6s %10s %10s %7s\n", "file", "frames", "kovra MP/s", "giflib MP/s", "ratio");
    double log_sum[2] = {0, 0};
    int counted[2] = {0, 0};
    for (const File &file : files()) {
        const auto k = collector.rates.find("kovra/" + file.name);
        const auto g = collector.rates.find("giflib/" + file.name);
        if (k == collector.rates.end() || g == collector.rates.end() || g->second <= 0) continue;
        const double ratio = k->second / g->second;
        std::printf("%-48s %6d %10.1f %10.1f %6.2fx\n", file.name.c_str(), file.frames, k->second, g->second, ratio);
        const int group = file.frames > 1 ? 1 : 0;
        log_sum[group] += std::log(ratio);
        ++counted[group];
    }
    for (int group = 0; group < 2; ++group) {
        if (counted[group] == 0) continue;
        std::printf("geometric mean ratio, %s files (%d): %.2fx\n", group ? "animated" : "single-frame", counted[group],
                    std::exp(log_sum[group] / counted[group]));
    }
#else
    (void)collector;
    std::printf("\n(built without giflib: no comparison table)\n");
#endif
}

}  // namespace

int main(int argc, char **argv) {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    const char *corpus = std::getenv("KOVRA_CORPUS_DIR");
    files() = load_corpus(std::filesystem::path(corpus != nullptr ? corpus : KOVRA_DEFAULT_CORPUS_DIR) / "gif");
    if (files().empty()) {
        std::fprintf(stderr, "no GIFs found: set KOVRA_CORPUS_DIR to the shared corpus\n");
        return 1;
    }
    for (const File &file : files()) {
        benchmark::RegisterBenchmark(("kovra/" + file.name).c_str(), bm_kovra, &file)
            ->Repetitions(kRepetitions)
            ->ReportAggregatesOnly(true);
#ifdef KOVRA_BENCH_GIFLIB
        benchmark::RegisterBenchmark(("giflib/" + file.name).c_str(), bm_giflib, &file)
            ->Repetitions(kRepetitions)
            ->ReportAggregatesOnly(true);
#endif
    }
    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    print_table(collector);
    benchmark::Shutdown();
    return 0;
}

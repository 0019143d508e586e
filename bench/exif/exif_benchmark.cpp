// Reads the EXIF block of every JPEG in the corpus's jpeg-exif folder, held in memory, with this
// library (a caller-memory source, a byte window over it, DALTJ_GetExifInfo, and the record's
// release) and with libexif (exif_data_new_from_data with its default options, then unref).
// Prints files per second for each and the ratio.
//
//   exif_benchmark [--benchmark_min_time=2] [corpus dir]   (default: KOVRA_CORPUS_DIR, or the build's)

#include <benchmark/benchmark.h>
#include <libexif/exif-data.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "exif/info_release.h"
#include "kovra_exif.h"
#include "kovra_os.h"

namespace {

std::vector<std::vector<uint8_t>> g_files;

struct Rate {
    double files = 0;
    double seconds = 0;
    double per_second() const { return seconds > 0 ? files / seconds : 0; }
};
Rate g_library, g_libexif;

void load_corpus(const std::filesystem::path &dir) {
    std::error_code ec;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(dir / "jpeg-exif", ec)) {
        if (!entry.is_regular_file()) continue;
        std::string ext = entry.path().extension().string();
        for (char &c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (ext != ".jpg" && ext != ".jpeg" && ext != ".mpo" && ext != ".jps") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        g_files.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
}

int32_t library_read(std::vector<uint8_t> &file) {
    KOVRADALT_DecInfo *dec =
        KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, file.data(), static_cast<int32_t>(file.size()), 0, 0);
    if (dec == nullptr) return 0;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
    DALTJ_ExifInfo info{};
    const int32_t result = DALTJ_GetExifInfo(&window, &info);
    benchmark::DoNotOptimize(info);
    kovra::exif::release_exif_fields(&info);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    KOVRADALT_DestroyDecInfo(dec);
    return result;
}

void run(benchmark::State &state, Rate *rate, int (*read_one)(std::vector<uint8_t> &)) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        int found = 0;
        for (auto &file : g_files) found += read_one(file);
        benchmark::DoNotOptimize(found);
        rate->seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        rate->files += static_cast<double>(g_files.size());
    }
    state.counters["files/s"] =
        benchmark::Counter(static_cast<double>(g_files.size()) * state.iterations(), benchmark::Counter::kIsRate);
}

void BM_Library(benchmark::State &state) {
    run(state, &g_library, [](std::vector<uint8_t> &file) { return library_read(file) == 1 ? 1 : 0; });
}

void BM_Libexif(benchmark::State &state) {
    run(state, &g_libexif, [](std::vector<uint8_t> &file) {
        ExifData *data = exif_data_new_from_data(file.data(), static_cast<unsigned>(file.size()));
        const int found = data != nullptr && data->ifd[EXIF_IFD_0]->count > 0 ? 1 : 0;
        exif_data_unref(data);
        return found;
    });
}

BENCHMARK(BM_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Libexif)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const char *env = std::getenv("KOVRA_CORPUS_DIR");
    std::filesystem::path dir = argc > 1 ? argv[1] : env != nullptr ? env : KOVRA_DEFAULT_CORPUS_DIR;
    load_corpus(dir);
    if (g_files.empty()) {
        std::fprintf(stderr, "no JPEGs under %s/jpeg-exif\n", dir.string().c_str());
        return 1;
    }
    std::printf("%zu JPEGs from %s\n", g_files.size(), dir.string().c_str());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::printf("this library: %.0f files/s, libexif: %.0f files/s, ratio %.1f\n", g_library.per_second(),
                g_libexif.per_second(), g_libexif.per_second() > 0 ? g_library.per_second() / g_libexif.per_second() : 0);
    return 0;
}

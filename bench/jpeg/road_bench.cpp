// End-to-end JPEG decoding speed: the library's road (its drivers, inverse DCTs and colour
// converters, through the JPEG host) beside libjpeg-turbo's own decode, on the corpus JPEGs the
// road decodes and libjpeg-turbo reads without a warning.
//
// Both sides use the same entropy stage: libjpeg-turbo's. The host reads a file's quantised
// coefficients once, when it is opened, outside the timed part, so a timed road decode is
// reconstruction and colour alone. libjpeg-turbo cannot hand its scanline decode coefficients
// read beforehand, so its share is derived: its whole decode (jpeg_read_scanlines to RGBA,
// JDCT_IFAST, no fancy upsampling, no block smoothing, its SIMD as the machine offers) minus the
// same decode with the rows skipped (its header and entropy work). The last two columns are those
// two at 1/1, as rates: "ljt ent" and "ljt all". Files are in memory; each time is the fastest of repeated runs (at least
// three, and at least KOVRA_BENCH_SECONDS, default 0.1 s, in all), since a shared machine only
// ever slows a run down. Rates are megapixels of the source image per second, at either scale;
// a ratio above 1 means the road is the faster. Under the per-file geometric means, the totals:
// all the files' megapixels over the sum of their times.
//
// A second table times the road on two threads against one on the large photos (2 megapixels
// and more), at full size, with the cores the two-thread decode had (process CPU time over wall
// time across ten more runs): on a loaded machine a speedup means little without it.
//
//     road_bench [corpus folder]     (default: the build's corpus; KOVRA_CORPUS_DIR overrides)
//     road_bench --profile FILE THREADS DENOMINATOR REPEATS
//                                    (the road alone on one file, REPEATS times, for perf)

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <malloc.h>
#include <string>
#include <vector>

#include "jpeg_host.h"
#include "libjpeg_peer.h"

namespace {

using namespace kovra::jpeg_host;
using kovra::jpeg_road::Peer;
using kovra::jpeg_road::start_like_the_road;

constexpr double kLargePhoto = 2e6;  // source pixels from which a file counts as a large photo
constexpr double kSmallest = 16384;  // smaller images time call overhead, not decoding

double seconds_per_measurement() {
    const char *text = std::getenv("KOVRA_BENCH_SECONDS");
    const double s = text != nullptr ? std::atof(text) : 0.0;
    return s > 0.0 ? s : 0.1;
}

// The fastest of repeated runs of `work`, in seconds.
double fastest(const std::function<void()> &work) {
    using clock = std::chrono::steady_clock;
    const double budget = seconds_per_measurement();
    double best = INFINITY, total = 0.0;
    for (int runs = 0; runs < 3 || total < budget; ++runs) {
        const auto start = clock::now();
        work();
        const double elapsed = std::chrono::duration<double>(clock::now() - start).count();
        best = std::min(best, elapsed);
        total += elapsed;
    }
    return best;
}

// libjpeg-turbo's whole decode into `pixels`; false on an error or a warning.
bool peer_decode(const std::vector<uint8_t> &bytes, int denominator, std::vector<uint8_t> &pixels) {
    Peer p(bytes);
    if (setjmp(p.jump)) return false;
    start_like_the_road(p, denominator, JCS_EXT_RGBA);
    const size_t stride = size_t{p.cinfo.output_width} * 4;
    pixels.resize(stride * p.cinfo.output_height);
    while (p.cinfo.output_scanline < p.cinfo.output_height) {
        JSAMPROW row = pixels.data() + stride * p.cinfo.output_scanline;
        jpeg_read_scanlines(&p.cinfo, &row, 1);
    }
    jpeg_finish_decompress(&p.cinfo);
    return p.err.num_warnings == 0;
}

// The same decode with every row but the last skipped: jpeg_skip_scanlines runs the entropy
// decoder over whole skipped MCU rows without storing or reconstructing a block (a progressive
// file's scans are all read by jpeg_start_decompress), so this is libjpeg-turbo's header and
// entropy work, plus the reconstruction of the last MCU row (skipping to the very end would skip
// the entropy decoding too).
bool peer_entropy_only(const std::vector<uint8_t> &bytes, int denominator, std::vector<uint8_t> &pixels) {
    Peer p(bytes);
    if (setjmp(p.jump)) return false;
    start_like_the_road(p, denominator, JCS_EXT_RGBA);
    pixels.resize(size_t{p.cinfo.output_width} * 4);
    jpeg_skip_scanlines(&p.cinfo, p.cinfo.output_height - 1);
    JSAMPROW row = pixels.data();
    jpeg_read_scanlines(&p.cinfo, &row, 1);
    jpeg_finish_decompress(&p.cinfo);
    return p.err.num_warnings == 0;
}

struct File {
    std::string name;
    std::vector<uint8_t> bytes;
    Jpeg jpeg;
    double pixels = 0;  // of the source image
};

bool road_decodes(const Jpeg &jpeg, int threads, int denominator, Picture &out) {
    DecodeOptions options;
    options.threads = threads;
    options.scaleDenominator = denominator;
    return jpeg.decode(options, out) == Error::none;
}

// The corpus JPEGs of 128 x 128 pixels or more that both sides decode at 1/1 and 1/8 without an
// error or a warning.
std::vector<File> load_corpus(const std::filesystem::path &dir) {
    std::vector<File> out;
    if (!std::filesystem::is_directory(dir)) return out;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(dir)) {
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (!entry.is_regular_file() || (ext != ".jpg" && ext != ".jpeg")) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        File file;
        file.name = std::filesystem::relative(entry.path(), dir).string();
        file.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (file.jpeg.open_memory(file.bytes) != Error::none || file.jpeg.description().warnings != 0) continue;
        Picture picture;
        std::vector<uint8_t> pixels;
        bool usable = true;
        for (int d : {1, 8})
            usable = usable && road_decodes(file.jpeg, 1, d, picture) && peer_decode(file.bytes, d, pixels) &&
                     peer_entropy_only(file.bytes, d, pixels);
        if (!usable) continue;
        file.pixels = double(file.jpeg.description().width) * file.jpeg.description().height;
        if (file.pixels >= kSmallest) out.push_back(std::move(file));
    }
    std::sort(out.begin(), out.end(), [](const File &a, const File &b) { return a.name < b.name; });
    return out;
}

std::string sampling(const Description &d) {
    if (d.components == 1) return "grey";
    std::string s = std::to_string(d.hSampling[0]) + "x" + std::to_string(d.vSampling[0]);
    return d.progressive ? s + " prog" : s;
}

// Geometric mean of the values pushed.
struct GeoMean {
    double logSum = 0;
    int count = 0;
    void add(double v) { logSum += std::log(v), ++count; }
    double value() const { return count ? std::exp(logSum / count) : 0.0; }
};

void compare_with_peer(std::vector<File> &files) {
    std::printf("Reconstruction and colour, megapixels of source per second (fastest run)\n");
    std::printf("%-44s %6s %-9s | %8s %8s %6s | %8s %8s %6s | %8s %8s\n", "file", "MP", "sampling", "road 1/1",
                "ljt 1/1", "ratio", "road 1/8", "ljt 1/8", "ratio", "ljt ent", "ljt all");
    GeoMean road[2], peer[2], ratio[2];
    double totalPixels = 0, roadTime[2] = {0, 0}, peerTime[2] = {0, 0};
    Picture picture;
    std::vector<uint8_t> pixels;
    for (File &f : files) {
        const double mp = f.pixels / 1e6;
        double rates[2][2], whole[2], entropy[2];
        int i = 0;
        for (int d : {1, 8}) {
            const double ours = fastest([&] { road_decodes(f.jpeg, 1, d, picture); });
            whole[i] = fastest([&] { peer_decode(f.bytes, d, pixels); });
            entropy[i] = fastest([&] { peer_entropy_only(f.bytes, d, pixels); });
            const double theirs = whole[i] - entropy[i];
            roadTime[i] += ours, peerTime[i] += theirs;
            rates[i][0] = mp / ours;
            rates[i][1] = theirs > 0 ? mp / theirs : INFINITY;
            road[i].add(rates[i][0]);
            if (std::isfinite(rates[i][1])) peer[i].add(rates[i][1]), ratio[i].add(rates[i][0] / rates[i][1]);
            ++i;
        }
        totalPixels += mp;
        std::printf("%-44s %6.2f %-9s | %8.1f %8.1f %6.2f | %8.1f %8.1f %6.2f | %8.1f %8.1f\n", f.name.c_str(), mp,
                    sampling(f.jpeg.description()).c_str(), rates[0][0], rates[0][1], rates[0][0] / rates[0][1],
                    rates[1][0], rates[1][1], rates[1][0] / rates[1][1], mp / entropy[0], mp / whole[0]);
    }
    std::printf("%-44s %6s %-9s | %8.1f %8.1f %6.2f | %8.1f %8.1f %6.2f |   (geometric means over %d files)\n",
                "geometric mean", "", "", road[0].value(), peer[0].value(), ratio[0].value(), road[1].value(),
                peer[1].value(), ratio[1].value(), road[0].count);
    // A small file's derived share is the difference of two close times and so noisy ("inf" where
    // the difference vanished); the totals weigh files by their time and are steadier.
    std::printf("%-44s %6.1f %-9s | %8.1f %8.1f %6.2f | %8.1f %8.1f %6.2f |   (all pixels over all time)\n\n",
                "total", totalPixels, "", totalPixels / roadTime[0], totalPixels / peerTime[0], peerTime[0] / roadTime[0],
                totalPixels / roadTime[1], totalPixels / peerTime[1], peerTime[1] / roadTime[1]);
}

// Process CPU time over wall time while `work` runs `runs` times: about 2 when both threads of a
// two-thread decode had a core to themselves, about 1 when they had to take turns on one.
double cores_used(const std::function<void()> &work, int runs) {
    const auto cpu = [] {
        timespec t{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
        return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
    };
    const auto wallStart = std::chrono::steady_clock::now();
    const double cpuStart = cpu();
    for (int i = 0; i < runs; ++i) work();
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    return (cpu() - cpuStart) / wall;
}

void compare_threads(std::vector<File> &files) {
    std::printf("The road on two threads against one, full size, files of %.0f megapixels and more\n", kLargePhoto / 1e6);
    std::printf("%-44s %6s %-9s | %9s %9s %7s %6s\n", "file", "MP", "sampling", "1 thread", "2 threads", "speedup",
                "cores");
    GeoMean one, two, speedup;
    Picture picture;
    for (File &f : files) {
        if (f.pixels < kLargePhoto) continue;
        const double mp = f.pixels / 1e6;
        const double single = fastest([&] { road_decodes(f.jpeg, 1, 1, picture); });
        const double dual = fastest([&] { road_decodes(f.jpeg, 2, 1, picture); });
        const double cores = cores_used([&] { road_decodes(f.jpeg, 2, 1, picture); }, 10);
        one.add(mp / single), two.add(mp / dual), speedup.add(single / dual);
        std::printf("%-44s %6.2f %-9s | %9.1f %9.1f %7.2f %6.2f\n", f.name.c_str(), mp, sampling(f.jpeg.description()).c_str(),
                    mp / single, mp / dual, single / dual, cores);
    }
    std::printf("%-44s %6s %-9s | %9.1f %9.1f %7.2f   (geometric means over %d files)\n", "geometric mean", "", "",
                one.value(), two.value(), speedup.value(), one.count);
}

// The road alone on one file, for a profiler: the coefficients are read before the decodes.
int profile(const char *path, int threads, int denominator, int repeats) {
    Jpeg jpeg;
    if (Error e = jpeg.open_file(path); e != Error::none) {
        std::fprintf(stderr, "%s: %s\n", path, message(e));
        return 1;
    }
    Picture picture;
    for (int i = 0; i < repeats; ++i) {
        if (!road_decodes(jpeg, threads, denominator, picture)) {
            std::fprintf(stderr, "%s: the road failed\n", path);
            return 1;
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc == 6 && std::string(argv[1]) == "--profile")
        return profile(argv[2], std::atoi(argv[3]), std::atoi(argv[4]), std::atoi(argv[5]));
    // Freed memory stays with the process, as in a long-running host: otherwise every decode on
    // either side pays the kernel to map and zero its buffers afresh.
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_MMAP_MAX, 0);
    const char *env = std::getenv("KOVRA_CORPUS_DIR");
    const std::string dir = argc > 1 ? argv[1] : env != nullptr ? env : KOVRA_DEFAULT_CORPUS_DIR;
    std::vector<File> files = load_corpus(dir);
    if (files.empty()) {
        std::printf("no JPEGs both decoders read in %s: nothing to time\n", dir.c_str());
        return 0;
    }
    compare_with_peer(files);
    compare_threads(files);
    return 0;
}

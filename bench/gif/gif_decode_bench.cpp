// GIF decoding speed, this library against the peers a user would pick instead (giflib, stb_image),
// on every GIF of the shared corpus's gif/ and gif-suite/ folders, the large animations included.
//
// Each decoder decodes each file from memory to RGBA at full size, every frame composed onto the
// whole screen and delivered into one reused buffer (gif_bench_support.h). Every measurement runs
// in a child process forked from a parent that never decoded anything. The child decodes the file
// once (so that code and data pages of the decoder are mapped), hands every free heap page back to
// the system (malloc_trim), and times the next decode: the cold-heap figure, where every buffer of
// a page or more is new memory the kernel maps and zero-fills. The child then repeats the decode for at least --min-ms on the heap the C library
// now keeps: the warm-heap figure. The allocator is left at its defaults (it hands large blocks
// back to the system when they are freed, so large images stay partly cold even warm: that is
// what a host sees unless it tunes its allocator; see the README). Times are the child thread's
// CPU time (user and system, page faults included); files, decoders and repetitions are
// interleaved and each figure is the median of the repetitions. The table gives, per file, this
// library's rates and each peer's speed relative to it ("frm!=" where the peer delivers another
// number of frames, left out of the means), then geometric means of the ratios.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gif_bench_support.h"

namespace {

using kovra::bench::Decoder;

struct Options {
    int repetitions = 7;
    double min_ms = 5;
    std::string corpus;
};

// One child's figures for one file and decoder.
struct Sample {
    int frames = 0;
    double cold_ns = 0;
    long cold_faults = 0;
    double warm_ns = 0;   // per decode
    double warm_faults = 0;  // per decode
};

struct Figures {
    int frames = 0;
    double cold_ns = 0, warm_ns = 0, cold_faults = 0, warm_faults = 0;
};

struct File {
    std::string name;
    std::vector<uint8_t> bytes;
    int64_t screen_pixels = 0;
    std::vector<std::vector<Sample>> samples;  // per decoder, per repetition
    std::vector<Figures> figures;             // per decoder
};

double thread_ns() {
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e9 + ts.tv_nsec;
}

long minor_faults() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

Sample measure(Decoder decoder, const std::vector<uint8_t> &bytes, double min_ms) {
    Sample sample;
    if (kovra::bench::decode_with(decoder, bytes) == 0) return sample;
    malloc_trim(0);
    long faults = minor_faults();
    double started = thread_ns();
    sample.frames = kovra::bench::decode_with(decoder, bytes);
    sample.cold_ns = thread_ns() - started;
    sample.cold_faults = minor_faults() - faults;
    if (sample.frames == 0) return sample;
    const double wanted = min_ms * 1e6;
    const long runs = std::max(3L, static_cast<long>(std::ceil(wanted / std::max(sample.cold_ns, 1.0))));
    faults = minor_faults();
    started = thread_ns();
    for (long i = 0; i < runs; ++i) kovra::bench::decode_with(decoder, bytes);
    sample.warm_ns = (thread_ns() - started) / runs;
    sample.warm_faults = static_cast<double>(minor_faults() - faults) / runs;
    return sample;
}

// The sample from a child process, so that its first decode meets a fresh heap.
Sample measure_in_child(Decoder decoder, const std::vector<uint8_t> &bytes, double min_ms) {
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) std::abort();
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        close(pipe_ends[0]);
        const Sample sample = measure(decoder, bytes, min_ms);
        const bool sent = write(pipe_ends[1], &sample, sizeof sample) == static_cast<ssize_t>(sizeof sample);
        _exit(sent ? 0 : 1);
    }
    close(pipe_ends[1]);
    Sample sample;
    const bool received = read(pipe_ends[0], &sample, sizeof sample) == static_cast<ssize_t>(sizeof sample);
    close(pipe_ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return received ? sample : Sample{};
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n == 0 ? 0 : (n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

Figures summarise(const std::vector<Sample> &samples) {
    Figures figures;
    std::vector<double> cold, warm, cold_faults, warm_faults;
    for (const Sample &s : samples) {
        if (s.frames == 0) return figures;  // refused (or crashed) at least once
        figures.frames = s.frames;
        cold.push_back(s.cold_ns);
        warm.push_back(s.warm_ns);
        cold_faults.push_back(static_cast<double>(s.cold_faults));
        warm_faults.push_back(s.warm_faults);
    }
    figures.cold_ns = median(cold);
    figures.warm_ns = median(warm);
    figures.cold_faults = median(cold_faults);
    figures.warm_faults = median(warm_faults);
    return figures;
}

std::vector<File> load_corpus(const std::filesystem::path &root) {
    std::vector<File> out;
    for (const char *folder : {"gif", "gif-suite"}) {
        const std::filesystem::path dir = root / folder;
        if (!std::filesystem::is_directory(dir)) continue;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(dir)) {
            if (!entry.is_regular_file() || entry.path().extension() != ".gif") continue;
            std::ifstream in(entry.path(), std::ios::binary);
            File file;
            file.name = std::filesystem::relative(entry.path(), root).string();
            file.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
            if (file.bytes.size() < 10) continue;
            const auto &b = file.bytes;
            file.screen_pixels = static_cast<int64_t>(b[6] | b[7] << 8) * (b[8] | b[9] << 8);
            out.push_back(std::move(file));
        }
    }
    std::sort(out.begin(), out.end(), [](const File &a, const File &b) { return a.name < b.name; });
    return out;
}

// Speeds relative to this library, collected by group for geometric means.
struct Means {
    double log_sum = 0;
    int count = 0;
    void add(double ratio) {
        log_sum += std::log(ratio);
        ++count;
    }
    double value() const { return count ? std::exp(log_sum / count) : 0; }
};

const char *group_of(const File &file, const Figures &kovra) {
    if (file.screen_pixels < 10000) return "icon-sized (< 10,000 px)";
    return kovra.frames > 1 ? "animated" : "single-frame";
}

void print_machine(const char *when) {
    double load[3] = {0, 0, 0};
    getloadavg(load, 3);
    const time_t now = time(nullptr);
    char stamp[32];
    strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M UTC", gmtime(&now));
    std::printf("%s: %s, load average %.2f %.2f %.2f on %ld cores\n", when, stamp, load[0], load[1], load[2],
                sysconf(_SC_NPROCESSORS_ONLN));
}

void print_table(const std::vector<File> &files, const std::vector<Decoder> &decoders) {
    std::printf("\n%-58s %6s %9s | %7s %7s %6s %6s | ", "file (kovra: ns per output pixel, page faults)", "frames",
                "px/frame", "warm", "cold", "warm", "cold");
    for (size_t d = 1; d < decoders.size(); ++d) {
        std::printf("%-6s warm  cold | ", kovra::bench::decoder_name(decoders[d]));
    }
    std::printf("\n");
    const char *groups[] = {"icon-sized (< 10,000 px)", "single-frame", "animated"};
    // [decoder][group or 3 = all][cold?]
    std::vector<std::vector<std::vector<Means>>> means(decoders.size(), std::vector<std::vector<Means>>(4, std::vector<Means>(2)));
    for (const File &file : files) {
        const Figures &k = file.figures[0];
        if (k.frames == 0) continue;
        const double pixels = static_cast<double>(file.screen_pixels) * k.frames;
        std::printf("%-58s %6d %9lld | %7.2f %7.2f %6.0f %6.0f | ", file.name.c_str(), k.frames,
                    static_cast<long long>(file.screen_pixels), k.warm_ns / pixels, k.cold_ns / pixels, k.warm_faults,
                    k.cold_faults);
        const char *group = group_of(file, k);
        const int g = static_cast<int>(std::find_if(std::begin(groups), std::end(groups),
                                                    [&](const char *name) { return std::strcmp(name, group) == 0; }) -
                                       std::begin(groups));
        for (size_t d = 1; d < decoders.size(); ++d) {
            const Figures &p = file.figures[d];
            if (p.frames == 0) {
                std::printf("%-6s  refused  | ", "");
                continue;
            }
            const double warm = p.warm_ns / k.warm_ns;
            const double cold = p.cold_ns / k.cold_ns;
            std::printf("%-6s %5.2f %5.2f | ", p.frames == k.frames ? "" : "frm!=", warm, cold);
            if (p.frames != k.frames) continue;  // different work: shown, not averaged
            for (int which : {g, 3}) {
                means[d][which][0].add(warm);
                means[d][which][1].add(cold);
            }
        }
        std::printf("\n");
    }
    std::printf("\nkovra's speed over each peer's (peer time / kovra time; above 1: kovra is faster), geometric mean per file:\n");
    for (size_t d = 1; d < decoders.size(); ++d) {
        for (int g = 0; g < 4; ++g) {
            const Means &warm = means[d][g][0];
            if (warm.count == 0) continue;
            std::printf("  against %-6s %-26s (%3d files): warm heap %.2fx, cold heap %.2fx\n",
                        kovra::bench::decoder_name(decoders[d]), g < 3 ? groups[g] : "all files", warm.count,
                        warm.value(), means[d][g][1].value());
        }
    }
}

Options parse_options(int argc, char **argv) {
    Options options;
    const char *corpus = std::getenv("KOVRA_CORPUS_DIR");
    options.corpus = corpus != nullptr ? corpus : KOVRA_DEFAULT_CORPUS_DIR;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--reps" && i + 1 < argc) {
            options.repetitions = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--min-ms" && i + 1 < argc) {
            options.min_ms = std::atof(argv[++i]);
        } else if (arg == "--help" || arg[0] == '-') {
            std::printf("usage: gif_decode_bench [--reps N (7)] [--min-ms MS (5)] [corpus root]\n");
            std::exit(arg == "--help" ? 0 : 2);
        } else {
            options.corpus = arg;
        }
    }
    return options;
}

}  // namespace

int main(int argc, char **argv) {
    const Options options = parse_options(argc, argv);
    std::vector<File> files = load_corpus(options.corpus);
    if (files.empty()) {
        std::fprintf(stderr, "no GIFs under %s/gif or /gif-suite: set KOVRA_CORPUS_DIR to the shared corpus\n",
                     options.corpus.c_str());
        return 1;
    }
    const std::vector<Decoder> decoders = kovra::bench::available_decoders();
    print_machine("started");
    std::printf("%zu files, %d repetitions, warm runs of at least %.1f ms\n", files.size(), options.repetitions,
                options.min_ms);
    std::fflush(stdout);
    for (File &file : files) file.samples.assign(decoders.size(), {});
    for (int rep = 0; rep < options.repetitions; ++rep) {
        for (File &file : files) {
            for (size_t d = 0; d < decoders.size(); ++d) {
                file.samples[d].push_back(measure_in_child(decoders[d], file.bytes, options.min_ms));
            }
        }
    }
    for (File &file : files) {
        for (const auto &samples : file.samples) file.figures.push_back(summarise(samples));
    }
    print_table(files, decoders);
    print_machine("finished");
    return 0;
}

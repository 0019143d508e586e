// Reads the EXIF block of every JPEG in the corpus's jpeg-exif folder, held in memory, with this
// library (a caller-memory source, a byte window over it, DALTJ_GetExifInfo, and the record's
// release) and with libexif (exif_data_new_from_data with its default options, then unref).
//
// Both readers pass over the whole corpus in turn, round after round, the order swapped every
// round so that neither always runs on a cache the other warmed; each pass is timed with the
// thread's CPU time, which another process's load does not inflate as it does wall time. Files
// per second and the ratio come from the median pass of each reader. The closing lines give the
// machine's load and how many files each reader found EXIF in.
//
//   exif_benchmark [--rounds N (201)] [corpus dir]   (default: KOVRA_CORPUS_DIR, or the build's)

#include <libexif/exif-data.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "exif_corpus.h"

namespace {

using kovra::bench::Files;
using kovra::bench::library_read;
using kovra::bench::load_corpus;

int libexif_read(std::vector<uint8_t> &file) {
    ExifData *data = exif_data_new_from_data(file.data(), static_cast<unsigned>(file.size()));
    const int found = data != nullptr && data->ifd[EXIF_IFD_0]->count > 0 ? 1 : 0;
    exif_data_unref(data);
    return found;
}

struct Reader {
    const char *name;
    int (*read_one)(std::vector<uint8_t> &);
    std::vector<double> pass_seconds;
    int found = 0;
};

double thread_seconds() {
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void pass(Reader &reader, Files &files) {
    const double started = thread_seconds();
    int found = 0;
    for (auto &file : files) found += reader.read_one(file);
    reader.pass_seconds.push_back(thread_seconds() - started);
    reader.found = found;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void print_load(const char *when) {
    double load[3] = {0, 0, 0};
    getloadavg(load, 3);
    std::printf("%s: load average %.2f %.2f %.2f on %ld cores\n", when, load[0], load[1], load[2],
                sysconf(_SC_NPROCESSORS_ONLN));
}

}  // namespace

int main(int argc, char **argv) {
    int rounds = 201;
    const char *env = std::getenv("KOVRA_CORPUS_DIR");
    std::filesystem::path dir = env != nullptr ? env : KOVRA_DEFAULT_CORPUS_DIR;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--rounds" && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else {
            dir = arg;
        }
    }
    Files files = load_corpus(dir);
    if (files.empty()) {
        std::fprintf(stderr, "no JPEGs under %s/jpeg-exif\n", dir.string().c_str());
        return 1;
    }
    std::printf("%zu JPEGs from %s, %d rounds\n", files.size(), dir.string().c_str(), rounds);
    print_load("started");
    Reader readers[2] = {{"this library", library_read, {}, 0}, {"libexif", libexif_read, {}, 0}};
    for (Reader &reader : readers) pass(reader, files);  // warm-up, not counted
    for (Reader &reader : readers) reader.pass_seconds.clear();
    for (int round = 0; round < rounds; ++round) {
        const int first = round % 2;
        pass(readers[first], files);
        pass(readers[1 - first], files);
    }
    print_load("finished");
    double rate[2];
    for (int r = 0; r < 2; ++r) {
        rate[r] = static_cast<double>(files.size()) / median(readers[r].pass_seconds);
        std::printf("%-13s %9.0f files/s (CPU time, median pass), EXIF found in %d files\n", readers[r].name, rate[r],
                    readers[r].found);
    }
    std::printf("ratio: %.2fx\n", rate[0] / rate[1]);
    return 0;
}

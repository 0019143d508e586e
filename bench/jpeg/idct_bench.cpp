// Inverse DCT speed, nanoseconds per 8 x 8 block: DALTJ_DoIdct (its vector version and its scalar
// core), DALTJ_DoIdct8By8 and DALTJ_DoIdct_2to1, beside libjpeg-turbo's jpeg_idct_ifast (C) and
// jsimd_idct_ifast (SIMD) from its static library, all on the same blocks in one process.
//
// Blocks: the quantised coefficients of the corpus JPEGs as libjpeg-turbo reads them (at most
// 4096 per component of each file), or, without the corpus, of a synthetic photograph-like image
// that libjpeg-turbo codes at quality 85. This library's routines get libjpeg-turbo's ifast
// multipliers times 1024, with which DALTJ_DoIdct writes the samples of jpeg_idct_ifast; the
// program counts the blocks where it does not.
//
// Timing: the blocks are taken in runs of 1024; each run goes through every routine in turn, five
// times, and a routine's time for the run is its fastest of the five. On a shared machine that
// discards the runs another process interrupted, and every routine sees the same conditions.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "jpeg/idct_scalar.h"
#include "jpeg/range_limit.h"
#include "jpeg_blocks.h"
#include "kovra_jpeg.h"

extern "C" {
void jpeg_idct_ifast(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jsimd_idct_ifast(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
int jsimd_can_idct_ifast(void);
}

namespace {

using namespace kovra::test::idct;

constexpr size_t kRun = 1024;
constexpr int kRepetitions = 5;

// libjpeg-turbo's SIMD reads blocks and tables with aligned loads.
struct alignas(16) AlignedBlock {
    Block coefficients;
    uint32_t table;  // index into Tables
};
struct alignas(16) Tables {
    Table16 ifast;
    std::array<int32_t, 64> multipliers;  // ifast * 1024
};

struct Blocks {
    std::vector<AlignedBlock> blocks;
    std::vector<Tables> tables;

    void add(const std::vector<Component> &components) {
        for (const Component &c : components) {
            Tables t;
            t.ifast = c.ifast;
            for (int i = 0; i < 64; ++i) t.multipliers[i] = c.ifast[i] * 1024;
            tables.push_back(t);
            for (const Block &b : c.blocks) blocks.push_back({b, static_cast<uint32_t>(tables.size() - 1)});
        }
    }
};

std::vector<uint8_t> read_bytes(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A 512 x 512 grey image of smooth gradients, edges and some noise, coded at quality 85.
std::vector<uint8_t> synthetic_jpeg() {
    constexpr int kSize = 512;
    std::vector<uint8_t> pixels(kSize * kSize);
    uint32_t noise = 1;
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            noise = noise * 1664525u + 1013904223u;
            const double smooth = 128 + 90 * std::sin(x / 37.0) * std::cos(y / 23.0);
            const double edge = ((x / 64 + y / 48) % 3 == 0) ? 40 : 0;
            pixels[y * kSize + x] = static_cast<uint8_t>(std::clamp(smooth + edge + (noise >> 28), 0.0, 255.0));
        }
    }
    return encode_grey(kSize, pixels, nullptr, 85);
}

Blocks load_blocks(const std::filesystem::path &corpus, const char *&source) {
    Blocks all;
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(corpus)) {
        for (const auto &entry : std::filesystem::recursive_directory_iterator(corpus)) {
            std::string ext = entry.path().extension().string();
            std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char ch) { return std::tolower(ch); });
            if (entry.is_regular_file() && (ext == ".jpg" || ext == ".jpeg")) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto &path : files) {
        std::vector<Component> components;
        if (read_components(read_bytes(path), 4096, components)) all.add(components);
    }
    source = "corpus JPEGs";
    if (all.blocks.empty()) {
        std::vector<Component> components;
        read_components(synthetic_jpeg(), SIZE_MAX, components);
        all.add(components);
        source = "a synthetic image (no corpus found)";
    }
    return all;
}

// libjpeg-turbo's side: a started decompressor, whose component record carries the table.
struct Peer {
    std::vector<uint8_t> jpeg = synthetic_jpeg();
    Decompressor decoder{jpeg};
    jpeg_component_info component{};

    Peer() {
        start_ifast(decoder);
        component = decoder.cinfo.comp_info[0];
    }
};

struct Routine {
    const char *name;
    void (*run)(Peer &, const Tables &, AlignedBlock &, uint8_t **);
};

const Routine kRoutines[] = {
    {"libjpeg-turbo jpeg_idct_ifast (C)",
     [](Peer &p, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         p.component.dct_table = const_cast<int16_t *>(t.ifast.data());
         jpeg_idct_ifast(&p.decoder.cinfo, &p.component, b.coefficients.data(), rows, 0);
     }},
    {"libjpeg-turbo jsimd_idct_ifast (SIMD)",
     [](Peer &p, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         p.component.dct_table = const_cast<int16_t *>(t.ifast.data());
         jsimd_idct_ifast(&p.decoder.cinfo, &p.component, b.coefficients.data(), rows, 0);
     }},
    {"DALTJ_DoIdct, scalar core",
     [](Peer &, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         kovra::jpeg::idct_full_scalar(kovra::jpeg::sample_range_limit() + 128, t.multipliers.data(),
                                       b.coefficients.data(), rows, 0);
     }},
    {"DALTJ_DoIdct",
     [](Peer &, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         DALTJ_DoIdct(kovra::jpeg::sample_range_limit() + 128, t.multipliers.data(), b.coefficients.data(), rows, 0);
     }},
    {"DALTJ_DoIdct8By8",
     [](Peer &, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         DALTJ_DoIdct8By8(kovra::jpeg::sample_range_limit() + 128, t.multipliers.data(), b.coefficients.data(), rows,
                          0);
     }},
    {"DALTJ_DoIdct_2to1 (4 x 4 out)",
     [](Peer &, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         DALTJ_DoIdct_2to1(kovra::jpeg::sample_range_limit() + 128, t.multipliers.data(), b.coefficients.data(), rows,
                           0);
     }},
    {"DALTJ_DoIdct_2to1, scalar core",
     [](Peer &, const Tables &t, AlignedBlock &b, uint8_t **rows) {
         kovra::jpeg::idct_2to1_scalar(kovra::jpeg::sample_range_limit() + 128, t.multipliers.data(),
                                       b.coefficients.data(), rows, 0);
     }},
};
constexpr size_t kRoutineCount = std::size(kRoutines);

// Eight output rows per block slot, a few slots in turn, as a decoder fills an MCU row.
struct Output {
    std::vector<uint8_t> samples = std::vector<uint8_t>(8 * 8 * 64);
    uint8_t *rows[8][8];
    Output() {
        for (int slot = 0; slot < 8; ++slot)
            for (int r = 0; r < 8; ++r) rows[slot][r] = &samples[(slot * 8 + r) * 64];
    }
};

size_t blocks_unlike_libjpeg_turbo(Peer &peer, Blocks &all) {
    size_t differ = 0;
    for (AlignedBlock &b : all.blocks) {
        uint8_t ours[8][8], theirs[8][8];
        uint8_t *our_rows[8], *their_rows[8];
        for (int r = 0; r < 8; ++r) our_rows[r] = ours[r], their_rows[r] = theirs[r];
        kRoutines[0].run(peer, all.tables[b.table], b, their_rows);
        kRoutines[3].run(peer, all.tables[b.table], b, our_rows);
        differ += std::memcmp(ours, theirs, sizeof ours) != 0;
    }
    return differ;
}

}  // namespace

int main() {
    const char *corpus = std::getenv("KOVRA_CORPUS_DIR");
    const char *source = nullptr;
    Blocks all = load_blocks(corpus != nullptr ? corpus : KOVRA_DEFAULT_CORPUS_DIR, source);
    Peer peer;
    jsimd_can_idct_ifast();  // lets libjpeg-turbo look at the processor
    Output out;

    double total[kRoutineCount] = {};
    size_t timed = 0;
    for (size_t base = 0; base + kRun <= all.blocks.size(); base += kRun, timed += kRun) {
        for (size_t r = 0; r < kRoutineCount; ++r) {
            double best = 1e30;
            for (int rep = 0; rep < kRepetitions; ++rep) {
                const auto start = std::chrono::steady_clock::now();
                for (size_t i = base; i < base + kRun; ++i) {
                    AlignedBlock &b = all.blocks[i];
                    kRoutines[r].run(peer, all.tables[b.table], b, out.rows[i % 8]);
                }
                best = std::min(best, std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
            }
            total[r] += best;
        }
    }
    if (timed == 0) return 1;
    std::printf("%zu blocks from %s; DALTJ_DoIdct differs from jpeg_idct_ifast on %zu\n\n", timed, source,
                blocks_unlike_libjpeg_turbo(peer, all));
    std::printf("| routine | ns per block | against libjpeg-turbo C | against libjpeg-turbo SIMD |\n");
    std::printf("| --- | ---: | ---: | ---: |\n");
    for (size_t r = 0; r < kRoutineCount; ++r) {
        std::printf("| %s | %.1f | %.2f | %.2f |\n", kRoutines[r].name, total[r] / timed, total[r] / total[0],
                    total[r] / total[1]);
    }
    return 0;
}

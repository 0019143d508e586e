// How the EXIF reader's cost grows with the size of the TIFF data it is given (DALTJ_ReadExifInfo,
// as `kovra info --exif` calls it on a TIFF file). Each shape is a crafted little-endian TIFF that
// repeats what a reader could be tempted to redo for every entry:
//   exif_pointers      IFD0: n EXIF IFD pointers, all to one EXIF IFD of n entries
//   gps_pointers       IFD0: n GPS IFD pointers, all to one GPS IFD of n entries
//   overlapping_ifds   IFD0: n EXIF IFD pointers to n different IFDs that share their entries
//                      (each starts one entry after the previous one)
//   repeated_make      IFD0: n Make entries, all naming one string of 12n bytes
//   thumbnail_lookups  IFD1: n JPEGInterchangeFormat entries, all naming one JPEG start followed
//                      by 12n bytes without a marker
// n grows with the file; Google Benchmark fits the times to a complexity (BigO, RMS lines).
//
//   exif_growth_benchmark [--benchmark_filter=exif_pointers]

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "kovra_exif.h"
#include "tools/common/exif_info_release.h"

namespace {

constexpr uint16_t kShort = 3, kLong = 4, kAscii = 2, kRational = 5;

class Tiff {
public:
    explicit Tiff(uint32_t ifd0) : bytes_{'I', 'I', 42, 0} { u32(ifd0); }
    uint32_t here() const { return static_cast<uint32_t>(bytes_.size()); }
    void u16(uint32_t v) {
        bytes_.push_back(static_cast<uint8_t>(v));
        bytes_.push_back(static_cast<uint8_t>(v >> 8));
    }
    void u32(uint32_t v) {
        u16(v & 0xFFFF);
        u16(v >> 16);
    }
    void entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
        u16(tag);
        u16(type);
        u32(count);
        u32(value);
    }
    void fill(uint32_t n, uint8_t byte) { bytes_.insert(bytes_.end(), n, byte); }
    const std::vector<uint8_t> &bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
};

constexpr uint32_t kHeader = 8, kEntry = 12;

struct EntryKind {
    uint16_t tag, type;
    uint32_t count;
};

// IFD0 at 8 with n copies of one pointer entry; the sub-IFD follows, n entries alternating between
// two kinds, all naming the same 32 bytes as their value.
std::vector<uint8_t> pointers_to_one_ifd(uint32_t n, uint16_t pointer_tag, EntryKind even, EntryKind odd) {
    Tiff t(kHeader);
    const uint32_t sub = kHeader + 2 + kEntry * n + 4;
    t.u16(n);
    for (uint32_t i = 0; i < n; ++i) t.entry(pointer_tag, kLong, 1, sub);
    t.u32(0);
    t.u16(n);
    const uint32_t values = sub + 2 + kEntry * n + 4;
    for (uint32_t i = 0; i < n; ++i) {
        const EntryKind &kind = i % 2 == 0 ? even : odd;
        t.entry(kind.tag, kind.type, kind.count, values);
    }
    t.u32(0);
    t.fill(32, '7');
    return t.bytes();
}

std::vector<uint8_t> exif_pointers(uint32_t n) {
    return pointers_to_one_ifd(n, 34665, {37385, kShort, 1}, {36867, kAscii, 20});  // flash, date
}

std::vector<uint8_t> gps_pointers(uint32_t n) {
    return pointers_to_one_ifd(n, 34853, {2, kRational, 3}, {18, kAscii, 20});  // latitude, datum
}

// IFD k starts at the count word `region + 12k`; every entry's last two bytes are the count of the
// IFD that starts there, so that all the IFDs end together, before four zero bytes.
std::vector<uint8_t> overlapping_ifds(uint32_t n) {
    Tiff t(kHeader);
    const uint32_t region = kHeader + 2 + kEntry * n + 4;
    const uint32_t slots = 2 * n;
    t.u16(n);
    for (uint32_t k = 0; k < n; ++k) t.entry(34665, kLong, 1, region + kEntry * k);
    t.u32(0);
    t.u16(slots);
    for (uint32_t j = 0; j < slots; ++j) {
        t.u16(37385);
        t.u16(kShort);
        t.u32(1);
        t.u16(j);
        t.u16(slots - (j + 1));
    }
    t.u32(0);
    return t.bytes();
}

std::vector<uint8_t> repeated_make(uint32_t n) {
    Tiff t(kHeader);
    const uint32_t text = kHeader + 2 + kEntry * n + 4;
    t.u16(n);
    for (uint32_t i = 0; i < n; ++i) t.entry(271, kAscii, kEntry * n, text);
    t.u32(0);
    t.fill(kEntry * n, 'm');
    return t.bytes();
}

std::vector<uint8_t> thumbnail_lookups(uint32_t n) {
    const uint32_t ifd1 = kHeader + 2 + kEntry + 4;
    Tiff t(kHeader);
    t.u16(1);
    t.entry(274, kShort, 1, 1);
    t.u32(ifd1);
    const uint32_t jpeg = ifd1 + 2 + kEntry * n + 4;
    t.u16(n);
    for (uint32_t i = 0; i < n; ++i) t.entry(513, kLong, 1, jpeg);
    t.u32(0);
    t.u16(0xD8FF);
    t.fill(kEntry * n, 0);
    return t.bytes();
}

template <std::vector<uint8_t> (*Make)(uint32_t), uint32_t kBytesPerN>
void read_crafted(benchmark::State &state) {
    const std::vector<uint8_t> file = Make(static_cast<uint32_t>(state.range(0)) / kBytesPerN);
    for (auto _ : state) {
        DALTJ_ExifInfo info{};
        benchmark::DoNotOptimize(DALTJ_ReadExifInfo(file.data(), 0, static_cast<uint32_t>(file.size()), &info));
        kovra::exif::release_exif_fields(&info);
    }
    state.SetComplexityN(static_cast<int64_t>(file.size()));
    state.counters["bytes"] = static_cast<double>(file.size());
}

// 57.5 KB to 920 KB, doubling.
void sizes(benchmark::internal::Benchmark *b) {
    for (int64_t bytes = 57500; bytes <= 920000; bytes *= 2) b->Arg(bytes);
    b->Complexity()->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(read_crafted, exif_pointers, 24)->Name("exif_pointers")->Apply(sizes);
BENCHMARK_TEMPLATE(read_crafted, gps_pointers, 24)->Name("gps_pointers")->Apply(sizes);
BENCHMARK_TEMPLATE(read_crafted, overlapping_ifds, 36)->Name("overlapping_ifds")->Apply(sizes);
BENCHMARK_TEMPLATE(read_crafted, repeated_make, 24)->Name("repeated_make")->Apply(sizes);
BENCHMARK_TEMPLATE(read_crafted, thumbnail_lookups, 24)->Name("thumbnail_lookups")->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();

// A host for the library's JPEG reconstruction stages. libjpeg-turbo reads the header and the
// quantised coefficients (sequential and progressive files alike); everything after that is the
// library's: its MCU row driver calls the stages defined here (stages.cpp), which run the
// library's inverse DCTs into the sample rows and hand row groups on to its colour converters.
//
// Linking this library interposes DALTJ_DecodeSingleiMcu, DALTJ_DecodeSingleiMcu_resize,
// DALTJ_SetupUpsample and DALTJ_DecodeMcu_8to1 for the whole program, so a program that links it
// links the shared object, never the static archive. Errors come back as values; nothing exits
// or jumps out of a call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kovra::jpeg_host {

enum class Error {
    none,
    unreadable,        // the file could not be opened or read
    corrupt,           // libjpeg-turbo refused the data (not a JPEG, truncated, bad tables)
    unsupported,       // a colour space, precision or sampling the library's stages do not reconstruct
    too_large,         // more pixels than the caller allows
    not_open,          // decode() before a successful open
    cancelled,         // the caller's progress callback said stop
    failed,            // the row driver reported a failure
};
const char *message(Error error);

enum class ColourSpace { grey, ycbcr, rgb, cmyk, ycck, other };

struct Description {
    uint32_t width = 0, height = 0;
    int components = 0;
    ColourSpace colour = ColourSpace::other;
    bool progressive = false;
    uint32_t restartInterval = 0;            // MCUs between restart markers, 0 for none
    std::array<uint8_t, 4> hSampling{}, vSampling{};  // per component (the first `components`)
    // libjpeg-turbo's warnings while reading the coefficients (corrupt entropy data, bytes before
    // a marker); it goes on past them, filling what it cannot read. `truncated`: the data ended
    // before the image did (the missing part is filled).
    long warnings = 0;
    bool truncated = false;
};

// Output layouts: rgba 4 bytes a pixel; grey 1 byte a pixel (luma); planar three full planes
// Y, Cb, Cr one after the other (chroma replicated to full size; 128 for a grey image).
enum class Format { rgba, grey, planar };

// Bytes that a vector grows by are left as they come: the decode writes every byte of a picture,
// so filling them first would be a wasted pass over it.
template <class T>
struct UnfilledAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = UnfilledAllocator<U>;
    };
    UnfilledAllocator() = default;
    template <class U>
    UnfilledAllocator(const UnfilledAllocator<U> &) noexcept {}
    template <class U>
    void construct(U *p) noexcept {
        ::new (static_cast<void *>(p)) U;
    }
    template <class U, class... Args>
    void construct(U *p, Args &&...args) {
        ::new (static_cast<void *>(p)) U(std::forward<Args>(args)...);
    }
};

struct Picture {
    uint32_t width = 0, height = 0;
    Format format = Format::rgba;
    std::vector<uint8_t, UnfilledAllocator<uint8_t>> pixels;
};

struct DecodeOptions {
    // 1, 2, 4 or 8; or 16, 32, 64, where each component's samples are the DC levels of some of
    // its blocks (DALTJ_DecodeSingleiMcuResizeMore16), on one thread whatever `threads` says.
    int scaleDenominator = 1;
    Format format = Format::rgba;
    // At 1/8, YCbCr 4:4:4, 4:2:2 or 4:2:0: the library's DC-only decoders make each block's
    // sample from its DC term alone (chroma then replicated), in place of the 1 x 1 transform.
    bool dcOnly = false;
    // 2: two threads share the image through the library's two-thread decode (dualdecode_jpeg),
    // each with a context of its own; keepGoing is then called from both.
    int threads = 1;
    // Called before each MCU row with the output rows written so far; false stops the decode.
    std::function<bool(uint32_t rowsWritten)> keepGoing;
};

struct Limits {
    uint64_t maxPixels = 1ull << 28;         // width x height of the source image
    int maxScans = 1000;                     // progressive files with more scans are refused
};

// Output size of one dimension at 1/denominator, as libjpeg-turbo rounds it.
uint32_t scaled_size(uint32_t size, int denominator);

class CoefficientImage;

class Jpeg {
public:
    Jpeg();
    ~Jpeg();
    Jpeg(Jpeg &&) noexcept;
    Jpeg &operator=(Jpeg &&) noexcept;

    Error open_file(const std::string &path, const Limits &limits = {});
    Error open_memory(std::vector<uint8_t> bytes, const Limits &limits = {});
    const Description &description() const;
    Error decode(const DecodeOptions &options, Picture &out) const;

private:
    std::unique_ptr<CoefficientImage> image_;
};

}  // namespace kovra::jpeg_host

// The frame-header look-up behind DALTJ_GetJPEGResolution, and a search that runs it at many
// places of the same TIFF data (the thumbnail's JPEGInterchangeFormat entries) in linear time.
#pragma once

#include <cstdint>

#include "exif/tiff_bytes.h"

namespace kovra::exif {

struct FrameSize {
    bool found;  // a frame header was taken; width and height are the last one's
    uint32_t width;
    uint32_t height;
};

// The look-up on a JPEG whose SOI is at `start` among `length` bytes from `bytes`, of which only
// `readable` exist in memory (the rest read as 0). Returns 200 or 201 as DALTJ_GetJPEGResolution.
int32_t jpeg_frame_size(const uint8_t *bytes, uint64_t length, uint64_t readable, uint64_t start, FrameSize *size);

// Look-ups at several starts in one TIFF data, until one finds a frame header. Marker walks from
// different starts soon run into each other's steps, and from any position the rest of a walk is
// always the same; so every position a fruitless walk went through is marked, and a later walk that
// reaches a marked one stops there, finding nothing more. The first walk marks nothing (a single
// look-up needs no memory); each position is then walked at most twice in all. Without memory for
// the marks every walk simply goes to its end.
class FrameSearch {
public:
    explicit FrameSearch(const TiffBytes &data) : data_(data) {}
    FrameSearch(const FrameSearch &) = delete;
    FrameSearch &operator=(const FrameSearch &) = delete;
    ~FrameSearch();

    // The look-up at `start`; false when it found no frame header. Once one was found the marks
    // no longer hold: the search is over.
    bool find(uint32_t start, FrameSize *size);

private:
    const TiffBytes &data_;
    bool first_ = true;
    uint8_t *marks_ = nullptr;  // one bit per byte of the data
};

}  // namespace kovra::exif

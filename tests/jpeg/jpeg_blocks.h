// The quantised coefficient blocks of a JPEG as libjpeg-turbo reads them, with each component's
// quantisation steps and the ifast multipliers libjpeg-turbo derives from them: for the tests and
// the benchmark that compare the inverse DCTs with libjpeg-turbo's (never part of the library).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "libjpeg_peer.h"

namespace kovra::test::idct {

using Block = std::array<int16_t, 64>;
using Quant = std::array<uint16_t, 64>;
using Table16 = std::array<int16_t, 64>;
using Decompressor = kovra::jpeg_road::Peer;

struct Component {
    Quant quant{};
    Table16 ifast{};  // libjpeg-turbo's ifast multipliers (2 fraction bits)
    std::vector<Block> blocks;
};

// Starts an ifast decode: libjpeg-turbo derives the ifast multipliers and its range-limit table.
// False on an error or a warning.
bool start_ifast(Decompressor &d);

// A square grey image of size x size samples (row by row) coded as a baseline JPEG, with the
// quantisation table `quant`, or libjpeg-turbo's own scaled to `quality` where quant is null.
std::vector<uint8_t> encode_grey(int size, const std::vector<uint8_t> &samples, const Quant *quant, int quality = 75);

// Up to max_blocks blocks per component, with the component's tables; false when the file reads
// with an error or a warning (its blocks need not be legal).
bool read_components(const std::vector<uint8_t> &jpeg, size_t max_blocks, std::vector<Component> &out);

}  // namespace kovra::test::idct

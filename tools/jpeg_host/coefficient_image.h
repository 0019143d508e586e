// One JPEG's header and quantised coefficients, read by libjpeg-turbo (jpeg_read_coefficients, so
// a progressive file arrives complete). Block rows are looked up once at open, so the stages that
// read them later call nothing of libjpeg-turbo and so can never meet its error exit.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "jpeg_host.h"

namespace kovra::jpeg_host {

using CoefficientBlock = int16_t[64];  // natural order

struct ComponentCoefficients {
    int h = 1, v = 1;                     // sampling factors
    uint32_t widthInBlocks = 0, heightInBlocks = 0;
    std::array<uint16_t, 64> quant{};     // quantisation steps, natural order
    std::vector<const CoefficientBlock *> blockRows;  // heightInBlocks rows of widthInBlocks blocks
};

class CoefficientImage {
public:
    static Error read(std::vector<uint8_t> bytes, const Limits &limits, std::unique_ptr<CoefficientImage> &out);
    ~CoefficientImage();
    CoefficientImage(const CoefficientImage &) = delete;
    CoefficientImage &operator=(const CoefficientImage &) = delete;

    const Description &description() const { return description_; }
    const std::vector<uint8_t> &bytes() const { return bytes_; }
    const std::vector<ComponentCoefficients> &components() const { return components_; }

private:
    struct Decompressor;
    CoefficientImage();

    std::vector<uint8_t> bytes_;
    std::unique_ptr<Decompressor> decompressor_;  // owns the coefficient arrays
    Description description_;
    std::vector<ComponentCoefficients> components_;
};

}  // namespace kovra::jpeg_host

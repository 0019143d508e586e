#include "road.h"

#include <algorithm>
#include <bit>
#include <mutex>

#include "jpeg/range_limit.h"
#include "multipliers.h"

namespace kovra::jpeg_host {
namespace {

constexpr uint32_t kRowGroups = 8;        // row groups in one MCU row, as the row driver counts them
constexpr uint32_t kListGroups = 12;      // row groups a pointer list covers: one before, two after
constexpr uint32_t kSampleGroups = 10;    // row groups of real sample rows behind the two lists

// The live roads, so that a stage can tell a context of ours from any other.
std::mutex gRoadsMutex;
std::vector<Road *> gRoads;

uint32_t ceil_div(uint64_t a, uint64_t b) { return static_cast<uint32_t>((a + b - 1) / b); }

// A subsampled component's blocks decode larger at a reduced scale, as long as the component then
// still fits whole numbers of times into the largest one (libjpeg-turbo's choice, which makes
// 4:2:0 chroma at 1/2 a full 8 x 8 transform instead of 4 x 4 samples replicated).
uint32_t component_block(uint32_t minBlock, uint32_t maxH, uint32_t maxV, uint32_t h, uint32_t v) {
    uint32_t block = minBlock;
    while (block < 8 && (maxH * minBlock) % (h * block * 2) == 0 && (maxV * minBlock) % (v * block * 2) == 0) block *= 2;
    return block;
}

DALTJ_IdctFn idct_for(uint32_t block, DALTJ_DecoderInfo *ctx) {
    switch (block) {
    case 8: return DALTJ_DoIdct;
    case 4: return DALTJ_GetDctMethod2to1(ctx);
    case 2: return DALTJ_GetDctMethod4to1(ctx);
    default: return DALTJ_GetDctMethod8to1(ctx);
    }
}

}  // namespace

Road *road_of(DALTJ_DecoderInfo *ctx) {
    std::lock_guard<std::mutex> lock(gRoadsMutex);
    for (Road *road : gRoads)
        if (road->context() == ctx) return road;
    return nullptr;
}

Road *road_of_region(void *checkContext) {
    std::lock_guard<std::mutex> lock(gRoadsMutex);
    for (Road *road : gRoads)
        if (road->region() == checkContext) return road;
    return nullptr;
}

Road::Road(const CoefficientImage &image, const DecodeOptions &options) : image_(image), options_(options) {
    std::lock_guard<std::mutex> lock(gRoadsMutex);
    gRoads.push_back(this);
}

Road::~Road() {
    {
        std::lock_guard<std::mutex> lock(gRoadsMutex);
        gRoads.erase(std::remove(gRoads.begin(), gRoads.end(), this), gRoads.end());
    }
    if (io_ != nullptr) KOVRADALT_Close_IO(io_);
}

Error Road::build() {
    const Description &d = image_.description();
    const bool grey = d.colour == ColourSpace::grey && d.components == 1;
    const bool ycc = d.colour == ColourSpace::ycbcr && d.components == 3;
    if (!grey && !ycc) return Error::unsupported;
    scale_ = options_.scaleDenominator;
    if (scale_ < 1 || scale_ > 64 || !std::has_single_bit(static_cast<uint32_t>(scale_))) return Error::unsupported;
    // Beyond 1/8 each block still gives one sample (road_more16.cpp thins the blocks out).
    blockSize_ = scale_ > 8 ? 1 : 8 / static_cast<uint32_t>(scale_);
    uint32_t blocksInMcu = 0;
    for (const ComponentCoefficients &c : image_.components()) {
        maxH_ = std::max<uint32_t>(maxH_, c.h);
        maxV_ = std::max<uint32_t>(maxV_, c.v);
        blocksInMcu += static_cast<uint32_t>(c.h * c.v);
    }
    // Replication needs whole ratios; the MCU must fit the context's ten block slots.
    for (const ComponentCoefficients &c : image_.components())
        if (maxH_ % c.h != 0 || maxV_ % c.v != 0) return Error::unsupported;
    if (grey) blocksInMcu = 1;
    if (blocksInMcu > 10) return Error::unsupported;
    dc_ = options_.dcOnly;
    if (Error e = check_dc_road(); e != Error::none) return e;
    width_ = scaled_size(d.width, scale_);
    height_ = scaled_size(d.height, scale_);

    ctx_.numComponents = static_cast<uint8_t>(d.components);
    ctx_.compsInScan = ctx_.numComponents;
    ctx_.blocksInMcu = static_cast<uint8_t>(blocksInMcu);
    ctx_.regionRowAlign = 1;
    ctx_.precision = 8;
    ctx_.frameMarker = d.progressive ? 0xC2 : 0xC0;
    ctx_.mcusPerRow = ceil_div(d.width, 8 * maxH_);
    ctx_.totalMcuRows = ceil_div(d.height, 8 * maxV_);
    ctx_.mcuRowsInScan = ctx_.totalMcuRows;
    ctx_.imageWidth = d.width;
    ctx_.imageHeight = d.height;
    ctx_.maxHSampFactor = static_cast<uint8_t>(maxH_);
    ctx_.maxVSampFactor = static_cast<uint8_t>(maxV_);
    ctx_.colorSpace = grey ? 1 : 3;
    ctx_.restartInterval = d.restartInterval;
    ctx_.rangeLimit = jpeg::sample_range_limit();
    ctx_.chromaRangeLimit = ctx_.rangeLimit;
    ctx_.bitReader = &bitReader_;
    ctx_.components = info_.data();
    ctx_.huffState = &huff_;
    ctx_.coefController = &coef_;
    coef_.mcuRowsPerRow = 1;
    for (size_t i = 0; i < mcuBlocks_.size(); ++i) coef_.blocks[i] = mcuBlocks_[i].data();
    ctx_.mainController = &main_;
    ctx_.sampleRows = &sampleRows_;
    ctx_.scaledWidth = static_cast<int32_t>(width_);
    ctx_.scaledHeight = static_cast<int32_t>(height_);
    ctx_.writeEnabled = 1;
    ctx_.outputHeight = static_cast<int32_t>(height_);
    ctx_.imageHeightRows = d.height;
    ctx_.sourceSize = width_ | height_ << 16;
    ctx_.outputStride = static_cast<int32_t>(width_);
    ctx_.outputPitch = static_cast<int32_t>(width_ * 4);
    ctx_.scaleCode = scale_;
    ctx_.resizeScaleShift = static_cast<uint32_t>(std::countr_zero(static_cast<uint32_t>(scale_)));
    ctx_.checkContext = &region_;
    ctx_.checkFn = [](void *checkContext, uint32_t rowsWritten) -> uint32_t {
        Road *road = road_of_region(checkContext);
        return road == nullptr ? 0 : road->keep_going(rowsWritten);
    };
    region_.region_scale = scale_;
    region_.region_width = static_cast<int32_t>(width_);  // the grey writer's row stride
    region_.region_height = static_cast<int32_t>(d.height);

    components_.resize(image_.components().size());
    for (int c = 0; c < d.components; ++c) build_component(c);
    int block = 0;
    for (int c = 0; c < d.components && !grey; ++c)
        for (int b = 0; b < components_[c].h * components_[c].v; ++b) ctx_.mcuMembership[block++] = c;
    for (int i = 0; i < 256; ++i) identity_[i] = static_cast<uint8_t>(i);
    return Error::none;
}

// The DC-only decoders write planar YCbCr at 1/8 for three samplings with 1 x 1 chroma.
Error Road::check_dc_road() const {
    if (!dc_) return Error::none;
    const auto &c = image_.components();
    if (scale_ != 8 || c.size() != 3 || image_.description().colour != ColourSpace::ycbcr) return Error::unsupported;
    if (c[1].h != 1 || c[1].v != 1 || c[2].h != 1 || c[2].v != 1) return Error::unsupported;
    const bool known = (c[0].h == 1 && c[0].v == 1) || (c[0].h == 2 && (c[0].v == 1 || c[0].v == 2));
    return known ? Error::none : Error::unsupported;
}

void Road::build_component(int c) {
    const ComponentCoefficients &source = image_.components()[c];
    Component &k = components_[c];
    k.h = source.h;
    k.v = source.v;
    const auto h = static_cast<uint32_t>(k.h), v = static_cast<uint32_t>(k.v);
    const bool dcSamples = dc_ || scale_ > 8;
    k.block = dcSamples ? 1 : component_block(blockSize_, maxH_, maxV_, h, v);
    k.rgroup = v * k.block / blockSize_;
    k.hRatio = maxH_ * blockSize_ / (h * k.block);
    k.vRatio = maxV_ * blockSize_ / (v * k.block);
    k.rowWidth = ctx_.mcusPerRow * h * k.block;
    // The DC road reads the full-size multipliers: (dc * m) >> 15 is then the block's level.
    k.multipliers = k.block == 8 || dcSamples ? aan_multipliers(source.quant) : plain_multipliers(source.quant);
    std::copy(source.quant.begin(), source.quant.end(), k.quant.steps);

    const Description &d = image_.description();
    DALTJ_ComponentInfo &info = info_[c];
    info.componentId = static_cast<uint8_t>(c + 1);
    info.componentIndex = static_cast<uint8_t>(c);
    info.hSampFactor = static_cast<uint8_t>(k.h);
    // The row drivers keep one row group of pointers per unit of this factor: the component's
    // rows in a row group, its sampling factor unless its blocks decode larger than the largest's.
    info.vSampFactor = static_cast<uint8_t>(k.rgroup);
    info.quantTableNo = static_cast<uint8_t>(c);
    info.componentNeeded = 1;
    info.downsampledWidth = static_cast<uint16_t>(ceil_div(uint64_t{d.width} * h * k.block, maxH_ * 8));
    info.downsampledHeight = static_cast<uint16_t>(ceil_div(uint64_t{d.height} * v * k.block, maxV_ * 8));
    info.widthInBlocks = source.widthInBlocks;
    info.heightInBlocks = source.heightInBlocks;
    info.mcuWidth = static_cast<uint32_t>(k.h);
    info.mcuHeight = static_cast<uint32_t>(k.v);
    info.mcuBlocks = info.mcuWidth * info.mcuHeight;
    info.mcuSampleWidth = info.mcuWidth * 8;
    info.lastColWidth = source.widthInBlocks % info.mcuWidth == 0 ? info.mcuWidth : source.widthInBlocks % info.mcuWidth;
    info.lastRowHeight = source.heightInBlocks % info.mcuHeight == 0 ? info.mcuHeight : source.heightInBlocks % info.mcuHeight;
    info.multipliers = k.multipliers.data();
    info.quantTable = &k.quant;
    info.idct = idct_for(k.block, &ctx_);
    info.blockOutputSize = k.block;
    ctx_.quantTables[c] = &k.quant;
    ctx_.scanComponents[c] = &info;

    k.samples.assign(size_t{kSampleGroups} * k.rgroup * k.rowWidth, 0);
    build_lists(k);
    const size_t upWidth = size_t{ctx_.mcusPerRow} * maxH_ * blockSize_;
    if (k.hRatio > 1) k.upsampled.assign(upWidth * maxV_, 0);
    k.upsampledRows.assign(maxV_, nullptr);
}

// Two lists over the same sample rows, as a context-row controller expects them: the first in
// order; the second with row groups 6-7 and 8-9 swapped, so that the MCU row decoded into it
// leaves the previous row's last two groups in place. Index 0 of each list is entry v of its array
// (v: the component's rows in a row group).
void Road::build_lists(Component &k) {
    const uint32_t v = k.rgroup;
    auto row = [&](uint32_t i) { return k.samples.data() + size_t{i} * k.rowWidth; };
    for (auto &list : k.lists) {
        list.assign(size_t{kListGroups} * v, row(0));
        for (uint32_t i = 0; i < kSampleGroups * v; ++i) list[v + i] = row(i);
    }
    for (uint32_t i = 0; i < 2 * v; ++i) {
        k.lists[1][v + 6 * v + i] = row(8 * v + i);
        k.lists[1][v + 8 * v + i] = row(6 * v + i);
    }
}

// Sizes the picture for the decode (`allocate`: the first or only road over it). Every sample is
// written by the decode, so the buffer is neither filled when it grows nor cleared when it already
// has the size; only a grey image's planar chroma is set, to 128.
void Road::set_output(Picture &out, bool allocate) {
    const size_t plane = size_t{width_} * height_;
    out.width = width_;
    out.height = height_;
    out.format = options_.format;
    const bool greyChroma = options_.format == Format::planar && ctx_.colorSpace == 1;
    if (allocate) {
        const size_t bytes = options_.format == Format::rgba ? plane * 4 : options_.format == Format::grey ? plane : plane * 3;
        out.pixels.resize(bytes);
        if (greyChroma) std::fill(out.pixels.begin() + static_cast<std::ptrdiff_t>(plane), out.pixels.end(), uint8_t{128});
    }
    if (options_.format == Format::planar) {
        ctx_.outCb = out.pixels.data() + plane;
        ctx_.outCr = out.pixels.data() + 2 * plane;
    }
    ctx_.outY = out.pixels.data();
    out_ = &out;
}

Error Road::prepare(Picture &out, bool allocate) {
    if (Error e = build(); e != Error::none) return e;
    set_output(out, allocate);
    for (size_t c = 0; c < components_.size(); ++c)
        for (int w = 0; w < 2; ++w) listHeads_[w][c] = components_[c].lists[w].data() + components_[c].rgroup;
    main_.rowPointers[0] = listHeads_[0].data();
    main_.rowPointers[1] = listHeads_[1].data();
    return Error::none;
}

Error Road::run(Picture &out) {
    if (Error e = prepare(out, true); e != Error::none) return e;
    if (scale_ > 8) return run_more16();
    const uint32_t rowsAvail = kRowGroups * maxV_;
    uint32_t rowsOut = 0;
    // Each call of the row driver takes one MCU row; a driver that takes more calls is stuck.
    for (uint32_t call = 0; call <= ctx_.totalMcuRows && ctx_.outputRow < height_; ++call) {
        lastStatus_ = scale_ == 1 ? static_cast<uint32_t>(DALTJ_ProcessMCU(&ctx_, nullptr, &rowsOut, rowsAvail, 0))
                                  : DALTJ_ProcessDataMCU_resize(&ctx_, nullptr, &rowsOut, rowsAvail, 0);
        if (lastStatus_ != DALTJ_STATUS_ROW_DONE) break;
    }
    return outcome();
}

Error Road::outcome() const {
    if (cancelled_) return Error::cancelled;
    return lastStatus_ == DALTJ_STATUS_FAILED || ctx_.outputRow < height_ ? Error::failed : Error::none;
}

uint32_t Road::keep_going(uint32_t rowsWritten) {
    if (options_.keepGoing && !options_.keepGoing(rowsWritten)) cancelled_ = true;
    return cancelled_ ? 0 : 1;
}

}  // namespace kovra::jpeg_host

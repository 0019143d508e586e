// One decode of a CoefficientImage through the library's stages: the decoding context, its
// controllers and sample rows, the output description, and the loop over the library's MCU row
// driver. The stages of stages.cpp find the road from the context they are handed.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "coefficient_image.h"
#include "jpeg_host.h"
#include "kovra_decinfo.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg_host {

class Road;

// The road behind a context or region record of a live road; null for anything else (the
// stages are the whole program's, so they may be handed a context that no road made).
Road *road_of(DALTJ_DecoderInfo *ctx);
Road *road_of_region(void *checkContext);

// Two threads through dualdecode_jpeg, each with a road of its own over the same picture.
Error decode_two_threads(const CoefficientImage &image, const DecodeOptions &options, Picture &out);

class Road {
public:
    Road(const CoefficientImage &image, const DecodeOptions &options);
    ~Road();
    Road(const Road &) = delete;
    Road &operator=(const Road &) = delete;

    // One thread: builds the context, writes `out`, runs the row driver to the end.
    Error run(Picture &out);
    // The two-thread decode's halves: build over `out` (sized by the first half only) with a
    // source and byte window of the road's own over the JPEG's bytes, then run dualdecode_jpeg.
    Error prepare(Picture &out, bool allocate);
    bool open_source();
    void run_half(DALTJ_DualDecodeShared *shared, uint32_t *claims);
    Error outcome() const;
    bool cancelled() const { return cancelled_; }
    bool finished() const { return ctx_.outputRow >= height_; }

    // Stages (stages.cpp): one MCU row through the inverse DCT into the list's sample rows, and
    // the row groups of the current list handed on to colour conversion.
    uint32_t decode_mcu_row(uint8_t ***componentRows);
    uint32_t decode_reduced_row(uint8_t ***componentRows);
    int32_t next_mcu(int16_t **blocks);
    void hand_on(uint32_t *rowsOut, uint32_t rowsAvail);
    uint32_t keep_going(uint32_t rowsWritten);

    const DALTJ_DecoderInfo *context() const { return &ctx_; }
    const KOVRADALT_DecInfo *region() const { return &region_; }

private:
    struct Component {
        int h = 1, v = 1;
        uint32_t block = 8;                           // samples across one of its blocks at the output scale
        uint32_t rgroup = 1;                          // its sample rows in one row group
        uint32_t hRatio = 1, vRatio = 1;              // replication up to the output size
        uint32_t rowWidth = 0;                        // samples in one sample row
        std::array<int32_t, 64> multipliers{};
        DALTJ_QuantTable quant{};
        std::vector<uint8_t> samples;                 // 10 row groups of v rows
        std::array<std::vector<uint8_t *>, 2> lists;  // 12 row groups of pointers, one before the start
        std::vector<uint8_t> upsampled;               // maxV rows at output width (replicated chroma)
        std::vector<uint8_t *> upsampledRows;         // maxV pointers handed to the converter
    };

    // A component's samples beyond 1/8, as DALTJ_DecodeSingleiMcuResizeMore16 writes them.
    struct SamplePlane {
        uint32_t width = 0;
        std::vector<uint8_t> samples;
        std::vector<uint8_t *> rows;
    };

    Error build();
    Error check_dc_road() const;
    void skip_rows(uint32_t count);
    void build_component(int c);
    void build_lists(Component &k);
    void set_output(Picture &out, bool allocate);
    void upsample_group(uint32_t group);
    void convert_rows(uint32_t first, uint32_t count);
    bool hand_on_group(uint32_t group, uint32_t *rowsOut, uint32_t rowsAvail);
    Error run_more16();
    void convert_more16_row(uint32_t row, const std::vector<SamplePlane> &planes);

    const CoefficientImage &image_;
    DecodeOptions options_;
    int scale_ = 1;
    bool dc_ = false;             // the DC-only road at 1/8
    uint32_t blockSize_ = 8;      // samples across one block of the largest component at the output scale
    uint32_t maxH_ = 1, maxV_ = 1;
    uint32_t width_ = 0, height_ = 0;
    bool cancelled_ = false;
    uint32_t lastStatus_ = DALTJ_STATUS_ROW_DONE;

    DALTJ_DecoderInfo ctx_{};
    KOVRADALT_DecInfo region_{};
    DALTJ_MainController main_{};
    DALTJ_SampleRows sampleRows_{};
    DALTJ_CoefController coef_{};
    DALTJ_HuffState huff_{};
    DALTJ_BitReader bitReader_{};
    std::array<DALTJ_ComponentInfo, 4> info_{};
    std::vector<Component> components_;
    std::array<std::array<uint8_t **, 4>, 2> listHeads_{};

    // The two-thread decode's hand-over reads where each thread's input stands.
    KOVRADALT_IO *io_ = nullptr;
    DALTJ_ByteWindow window_{};
    std::vector<uint8_t> readBuffer_;

    std::array<std::array<int16_t, 64>, 10> mcuBlocks_{};  // the DC road's current MCU
    uint64_t nextMcu_ = 0;        // the DC road's next MCU, in raster order
    uint32_t groupRowsDone_ = 0;  // output rows of the current row group already converted
    uint32_t resizeGroup_ = 0;    // reduced-size road: next row group of the MCU row
    Picture *out_ = nullptr;
    std::array<uint8_t, 256> identity_{};
};

}  // namespace kovra::jpeg_host

/* The JPEG decoding context and the JPEG decoder's call surface. In this library the entropy
 * decoder, header and marker parser, progressive, region and iterative decoders and the upsamplers
 * are entry points with fixed results; the reconstruction stages around them act on those results.
 * Status values: 100 MCU row done, 101 end reached, 102 input ran dry, 200 stage completed,
 * 201 cancelled, not found or failed. */
#ifndef KOVRA_JPEG_H
#define KOVRA_JPEG_H

#include <stddef.h>
#include <stdint.h>

#include "kovra_decinfo.h"
#include "kovra_export.h"
#include "kovra_io.h"
#include "kovra_os.h"

KOVRA_BEGIN_C

enum {
    DALTJ_STATUS_ROW_DONE = 100,
    DALTJ_STATUS_END = 101,
    DALTJ_STATUS_INPUT_DRY = 102,
    DALTJ_STATUS_COMPLETED = 200,
    DALTJ_STATUS_FAILED = 201
};

/* Every inverse DCT: a range-limit table (index 0 = mid-grey; the context's rangeLimit + 128),
 * 64 multipliers and 64 coefficients in natural (row-major) order, 8 output row pointers and the
 * output column. Row r of the output goes to outputRows[r] + outputColumn onwards. */
typedef void (*DALTJ_IdctFn)(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                             uint8_t **outputRows, uint32_t outputColumn);

/* A quantisation table as the header parser reads it from DQT: 64 steps in natural order. */
typedef struct DALTJ_QuantTable {
    uint16_t steps[64];
} DALTJ_QuantTable;

/* A Huffman table as the header parser reads it from DHT: the number of codes of each length
 * 1..16, then the symbols in code order. */
typedef struct DALTJ_HuffmanTable {
    uint8_t codeCounts[16];
    uint8_t symbols[256];
} DALTJ_HuffmanTable;

/* One frame component (17 words). The header parser fills the identity, sampling, table slots
 * and sizes; the set-up for a scale fills the MCU shape, the multipliers and the inverse DCT. */
typedef struct DALTJ_ComponentInfo {
    uint8_t componentId;
    uint8_t componentIndex;    /* position in the context's components */
    uint8_t hSampFactor;       /* 1..4 */
    uint8_t vSampFactor;       /* 1..4 */
    uint8_t quantTableNo;      /* 0..3 */
    uint8_t dcTableNo;         /* 0..3; may change from scan to scan */
    uint8_t acTableNo;         /* 0..3; may change from scan to scan */
    uint8_t componentNeeded;   /* 0 when the output does not use this component */
    uint16_t downsampledHeight; /* rows of this component after downsampling */
    uint16_t downsampledWidth;  /* samples across after downsampling */
    uint32_t widthInBlocks;
    uint32_t heightInBlocks;
    uint32_t mcuWidth;         /* blocks across one MCU */
    uint32_t mcuHeight;        /* blocks down one MCU */
    uint32_t mcuBlocks;
    uint32_t mcuSampleWidth;   /* samples across one MCU */
    uint32_t lastColWidth;     /* blocks across the last MCU column */
    uint32_t lastRowHeight;    /* blocks down the last MCU row */
    int32_t *multipliers;      /* 64 dequantisation multipliers, natural order */
    const DALTJ_QuantTable *quantTable; /* the table the multipliers were made from */
    const void *dcDerivedTable; /* the entropy decoder's lookup tables for this component */
    const void *acDerivedTable;
    DALTJ_IdctFn idct;         /* the inverse DCT for the output scale */
    uint32_t blockOutputSize;  /* samples across (and down) one block at the output scale: 8, 4, 2 or 1 */
} DALTJ_ComponentInfo;

KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, quantTableNo, 1);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, downsampledHeight, 2);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, widthInBlocks, 3);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, mcuWidth, 5);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, lastRowHeight, 10);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, multipliers, 11);
KOVRA_ASSERT_WORD(DALTJ_ComponentInfo, idct, 15);
KOVRA_ASSERT_WORDS(DALTJ_ComponentInfo, 17);

/* The context-row controller of the MCU row driver (one per context). */
typedef struct DALTJ_MainController {
    uint32_t bufferFull;       /* 1 while the current MCU row's samples are not all handed on */
    uint8_t whichPtr;          /* 0 or 1: the current row-pointer list */
    uint8_t contextState;      /* 0 prepare a new MCU row, 1 process it, 2 postponed last row group */
    uint32_t rowgroupsAvail;
    uint32_t mcuRowCounter;    /* MCU rows received so far */
    uint32_t rowgroupCounter;  /* row groups handed on from the current list */
    /* Two lists over the same sample rows, each one row-pointer array per component; each array
     * has room for one row group before its start and two after its end. */
    uint8_t ***rowPointers[2];
} DALTJ_MainController;

KOVRA_ASSERT_WORD(DALTJ_MainController, whichPtr, 1);
KOVRA_ASSERT_WORD(DALTJ_MainController, rowgroupsAvail, 2);
KOVRA_ASSERT_WORD(DALTJ_MainController, rowPointers, 5);
KOVRA_ASSERT_WORDS(DALTJ_MainController, 7);

/* The sample rows that colour conversion reads: the index of the current row and, per component,
 * a table of row pointers (0 = Y, 1 = Cb, 2 = Cr, 3 = K; or 0..2 = R, G, B). */
typedef struct DALTJ_SampleRows {
    int32_t sampleRowIndex;
    uint8_t **componentRows[4];
} DALTJ_SampleRows;

KOVRA_ASSERT_WORD(DALTJ_SampleRows, componentRows, 1);
KOVRA_ASSERT_WORDS(DALTJ_SampleRows, 5);

/* The entropy decoder's bit-reader and Huffman state (the context's huffState). */
typedef struct DALTJ_HuffState {
    uint32_t bitBuffer;
    int32_t bitsLeft;
    uint32_t bitReaderWord;    /* a third bit-reader word, carried as is */
    int32_t lastDc[4];         /* last DC value of each scan component */
    uint32_t eobRun;           /* end-of-band run of a progressive scan */
} DALTJ_HuffState;
KOVRA_ASSERT_WORD(DALTJ_HuffState, lastDc, 3);
KOVRA_ASSERT_WORDS(DALTJ_HuffState, 8);

/* The bit reader's flags (the context's bitReader). */
typedef struct DALTJ_BitReader {
    uint8_t pendingMarker;     /* a marker met inside the entropy-coded data; 0 for none */
    uint8_t scanReady;         /* 1 when the two-thread loops may process the scan */
} DALTJ_BitReader;

/* The MCU coefficient controller (the context's coefController). */
typedef struct DALTJ_CoefController {
    uint32_t mcuColumn;        /* resumption column after an MCU row ran dry (102) */
    uint32_t mcuRowOffset;     /* resumption MCU row within the MCU row */
    uint32_t mcuRowsPerRow;    /* MCU rows in one MCU row: 1 for an interleaved scan */
    int16_t *blocks[10];       /* the current MCU's blocks, 64 coefficients each */
} DALTJ_CoefController;
KOVRA_ASSERT_WORD(DALTJ_CoefController, blocks, 3);
KOVRA_ASSERT_WORDS(DALTJ_CoefController, 13);

/* Cancel callback: (checkContext, outputRowsWritten) -> 0 stop, non-zero go on. */
typedef uint32_t (*DALTJ_CheckFunc)(void *checkContext, uint32_t outputRowsWritten);

/* One JPEG decode's state, shared by the reconstruction, conversion and output stages. The
 * header side (frame, table and restart fields) is filled by the header parser. */
typedef struct DALTJ_DecoderInfo {
    uint8_t numComponents;     /* 1..4 */
    uint8_t regionRowAlign;
    uint8_t compsInScan;       /* 1..4 */
    uint8_t blocksInMcu;       /* 1..10 */
    uint16_t outputRow;
    uint8_t precision;         /* header: bits per sample, 8 */
    uint8_t frameMarker;       /* header: the SOFn marker's low byte (0xC0 baseline) */
    uint32_t mcusPerRow;       /* never 0 */
    uint32_t mcuRowsInScan;
    int32_t mcuMembership[10];
    uint32_t totalMcuRows;
    uint32_t entropyCounter;
    uint32_t mcuRowsDone;
    uint32_t mcuRowsSkipped;
    /* Header side: the frame, the tables and the restart interval. */
    uint32_t imageWidth;
    uint32_t imageHeight;
    uint8_t maxHSampFactor;
    uint8_t maxVSampFactor;
    uint8_t colorSpace;        /* 1 grey, 3 YCbCr, 4 CMYK or YCCK */
    uint8_t adobeTransform;    /* the Adobe APP14 transform flag: 0 none (CMYK), 1 YCbCr, 2 YCCK */
    uint32_t restartInterval;  /* MCUs between restart markers; 0 for none */
    uint32_t nextRestartNumber; /* 0..7: the RSTn the entropy decoder expects next */
    const DALTJ_QuantTable *quantTables[4];
    const DALTJ_HuffmanTable *dcHuffmanTables[4];
    const DALTJ_HuffmanTable *acHuffmanTables[4];
    /* The reconstruction and output side. */
    const uint8_t *rangeLimit;       /* first component's clamping table (index 0 = sample 0) */
    const uint8_t *chromaRangeLimit; /* the other components' */
    DALTJ_ByteWindow *byteWindow;
    DALTJ_BitReader *bitReader;
    DALTJ_ComponentInfo *components;
    DALTJ_ComponentInfo *scanComponents[4];
    DALTJ_HuffState *huffState;
    DALTJ_CoefController *coefController;
    struct DALTJ_MainController *mainController;
    DALTJ_SampleRows *sampleRows;
    uint32_t scanParams[4];
    uint32_t currentComponent;
    uint32_t scanWord;
    uint32_t scanFlags;
    int32_t inputRow;
    int32_t scaledWidth;
    int32_t scaledHeight;
    int32_t writeEnabled;
    uint32_t resizeScaleShift; /* 4, 5 or 6 */
    uint32_t *accumRows[2];    /* packed resampler sums, scaledWidth words each */
    int32_t accumUpper;
    int32_t accumLower;
    int32_t outputHeight;
    uint32_t imageHeightRows;
    uint32_t sourceSize;       /* width in the low 16 bits, height in the high 16 */
    int32_t outputStride;
    int32_t outputFormat;
    uint32_t outputRowsWritten;
    uint8_t *outY;
    uint8_t *outCr;
    uint8_t *outCb;
    KOVRADALT_IO *io;
    uint8_t *readBuffer;
    KOVRADALT_DecInfo *checkContext;
    DALTJ_CheckFunc checkFn;   /* may be NULL */
    int32_t rowGroupPending;
    int32_t sampleRowOrigin;
    int32_t upperSamplePos;
    int32_t lowerSamplePos;
    int32_t outputPitch;
    int32_t regionMode;
    uint32_t resizeMcuRow;
    uint32_t scanOffsets[2];
    int32_t scaleCode;         /* 1, 2, 4 or 8 */
    uint32_t scanTargetPosition;
    uint8_t scanState;         /* 0 running, 3 finished waiting, 4 abandon */
    uint8_t skipMode;
    int32_t perScanTables;
    /* The per-call resampler of the greyscale, RGB, CMYK and YCCK drivers. */
    int32_t sourceColumnOffset; /* added to every source row pointer */
    int32_t sourceColumns;     /* source columns sampled per row (RGB, CMYK, YCCK) */
    int32_t targetWidth;       /* output width */
    int32_t regionGate;        /* with the record's region_ready 0, the greyscale driver waits */
} DALTJ_DecoderInfo;

KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, outputRow, 1);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, mcusPerRow, 2);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, mcuMembership, 4);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, totalMcuRows, 14);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, mcuRowsSkipped, 17);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, imageWidth, 18);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, maxHSampFactor, 20);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, restartInterval, 21);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, quantTables, 23);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, dcHuffmanTables, 27);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, acHuffmanTables, 31);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, rangeLimit, 35);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, components, 39);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, scanComponents, 40);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, huffState, 44);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, mainController, 46);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, scanParams, 48);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, currentComponent, 52);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, inputRow, 55);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, resizeScaleShift, 59);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, accumRows, 60);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, outputHeight, 64);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, outputRowsWritten, 69);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, outY, 70);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, io, 73);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, checkFn, 76);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, rowGroupPending, 77);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, resizeMcuRow, 83);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, scanOffsets, 84);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, scaleCode, 86);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, scanState, 88);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, perScanTables, 89);
KOVRA_ASSERT_WORD(DALTJ_DecoderInfo, sourceColumnOffset, 90);
KOVRA_ASSERT_WORDS(DALTJ_DecoderInfo, 94);

/* Exported tables of the entropy decoder and the region path. */
typedef uint32_t (*DALTJ_RegionMcuFn)(DALTJ_DecoderInfo *ctx);
KOVRA_API extern DALTJ_RegionMcuFn pRegionDecodingResize[7];
KOVRA_API extern const int32_t DALTJ_HUFF_EXTEND_TEST[16];
KOVRA_API extern const uint8_t DALTJ_NATURAL_ORDER[80];

/* ---- Fixed result 0 ---- */
KOVRA_API int32_t KOVRADALT_ScanHuffmanInfo(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_ScanHuffmanInfoWithDec(KOVRADALT_DecInfo *dec, DALTJ_DecoderInfo *ctx);
KOVRA_API void *KOVRADALT_CreateRegionDecoderInstance(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DecodeRegionBase(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DecodeRegion(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DecodeJPEG(KOVRADALT_DecInfo *dec);
KOVRA_API void *DALTJ_CreatExifInfo(KOVRADALT_IO *io);
KOVRA_API int32_t DALTJ_GetEOIOffset(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessDataRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessDataSkipRow(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgProcessDataScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgProcessData(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgProcessData_resize(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessDataScan(DALTJ_DecoderInfo *ctx);
KOVRA_API void *DALTJ_GetDctMethod8to3(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_GetDctMethodIndexFirst(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_GetMcuSampleWidth(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_GetSnapshotNumber(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_GetCurrentSnapshotNumber(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_PreInitialize(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_RegionPreInitialize(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_Initialize(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_RegionInitialize(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_AllocSampleArry(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_SkipMcuUsingRST(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_1to1_dual(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcuDualDecodeDC(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcuScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcuScanWithDec(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcuRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_8to1Region(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_AC(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_ACScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_ACRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeHuffMan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t KOVRADALT_GetCurOutputRow(KOVRADALT_DecInfo *dec);

/* ---- Fixed result 1 ---- */
/* Fills nothing of the info record; a JPEG therefore parses with width and height 0. */
KOVRA_API int32_t DALTJ_GetHInfo(KOVRADALT_IO *io, void *info);
KOVRA_API int32_t DALTJ_DestroyJpegInfo(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t DALTJ_DestroyExifInfo(void *exif_info);
KOVRA_API int32_t DALTJ_DecodeUncompressThumbnail(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeFrame(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_RotateImage270(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_SkipMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_FastDecodeMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_2to1(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_2to1Region(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_8to3(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_4to1(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_4to1Region(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_skip_dual(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_8to1_dual(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DC(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_AC(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DCRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DCScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_ACRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcu_ACScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DC(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DCScan(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DCRegion(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessRestartMarker(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ReadBits(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t KOVRADALT_AbortJPEGIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t DALTJ_JPEGDecIterInit(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t KOVRADALT_InitJPEGIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_PrepareJPEGIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DecodeJPEGIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DecodeJPEGIter4LTN(KOVRADALT_DecInfo *dec);
KOVRA_API uint32_t KOVRADALT_ZoomCheckFn(void *dec, uint32_t units_done);

/* ---- Fixed result 100: MCU row done ---- */
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize2to1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize4to1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecompressOnepass(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecompressOnepass(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecompressOnepass(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize4to1(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *ctx);
/* Counts one more reduced-size MCU row (resizeMcuRow + 1), then reports 100. */
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize2to1(DALTJ_DecoderInfo *ctx);

/* ---- Fixed result 101: end reached ---- */
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ProgDecodeSingleiMcuScan(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuScan(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuScanWithDec(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ProgIDct(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ProgIDctPartial(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionProgIDct(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionProgIDctMore16(DALTJ_DecoderInfo *ctx);

/* ---- Fixed result 200: stage completed ---- */
KOVRA_API uint32_t DALTJ_DecodeImage(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_StartDecompression(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_InitDecBeforeScan(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_SetupScan(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_SimpleParser(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_EOIParser(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ParseFileHeader(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ParseHeader(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_ParseNextMarker(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PrepareDerivedTbl(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_P_PrepareDerivedTbl(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecodeImageIterInit(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_JPEGDecIterInitProg(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_InitUpsampler(DALTJ_DecoderInfo *ctx);

/* ---- Fixed result 201 ---- */
KOVRA_API uint32_t DALTJ_LookUpOtherThread(DALTJ_DecoderInfo *ctx);

/* ---- No effect ---- */
KOVRA_API void SetMidPoint(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DeleteDecoderInfo(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_RegionDeleteDecoderInfo(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoYcbcrToRgb(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_SetupUpsampleSkipWithDec(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_SkipRowUpsample(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoIntegralUpsample(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoFullsizeUpsample(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoH2V1Upsample(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoH2V2Upsample(DALTJ_DecoderInfo *ctx);

/* ---- Others ---- */
/* Return their third argument unchanged. */
KOVRA_API int32_t DALTJ_PostInitialize(DALTJ_DecoderInfo *ctx, int32_t b, int32_t c);
KOVRA_API int32_t DALTJ_RegionPostInitialize(DALTJ_DecoderInfo *ctx, int32_t b, int32_t c);
/* The library's version word, 0x9099. */
KOVRA_API int32_t DALTJ_GetVersion(void);
/* n clamped above at 6 (signed). */
KOVRA_API int32_t DALTJ_GetDctMethodIndex(int32_t n);

/* Row writers that only count a row (outputRowsWritten + 1). */
KOVRA_API void DALTJ_FastYcbcrWriteOutput(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_FastYcbcrUpscaleWriteOutput(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_RGBWriteOutput1to1(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_RGBWriteOutput(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_CMYKWriteOutput1to1(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_YCCKWriteOutput1to1(DALTJ_DecoderInfo *ctx);

/* ---- Stages a host may supply ----
 * The MCU row drivers, the reduced-size decoders and the two-thread loops below call these entry
 * points through the library's exported symbols, never directly (README: "Supplying the JPEG
 * stages"). The library's own definitions
 * have fixed results: the two MCU-row decoders report 101, DALTJ_SkipMcuDual and
 * DALTJ_DecodeMcu_8to1 report 1, the three row-group processors report 0 and produce no rows, and
 * DALTJ_SetupUpsample and DALTJ_SetupiMcu do nothing. A program that links libkovraimagecodec.so
 * and defines any of them, with these signatures and C linkage, has its own definition called by
 * the library's drivers (ordinary ELF symbol interposition). Such a stage must keep the status
 * values: 100 MCU row done, 101 end of image or region, 102 input ran dry inside an MCU row, 201
 * failed; and fill the context fields the drivers read (see each driver). */

/* Decodes one MCU row into the sample rows: componentRows[c] is the row-pointer array of
 * component c in the driver's current list (room for one row group above and two below). */
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows);
/* The same for reduced-size output. */
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows);
/* Entropy-decodes the next MCU into mcuBlocks[0 .. blocksInMcu - 1] (at least the DC terms);
 * non-zero on success, 0 when the input is exhausted. */
KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *ctx, int16_t **mcuBlocks);
/* Skips one MCU's entropy-coded data; non-zero on success. */
KOVRA_API int32_t DALTJ_SkipMcuDual(DALTJ_DecoderInfo *ctx, int16_t **mcuBlocks);
/* Resets the per-MCU-row entropy state. */
KOVRA_API void DALTJ_SetupiMcu(DALTJ_DecoderInfo *ctx);
/* Hands row groups rowgroupCounter .. rowgroupsAvail - 1 of the main controller on to upsampling
 * and colour conversion, advancing rowgroupCounter and *rowsOut (at most rowsAvail rows). */
KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                   uint32_t rowsAvail);
/* Row-group processors of the two-thread loops: produce up to rowsAvail output rows, add them to
 * *rowsOut, and report 100 (go on), 101 (end) or 201 (failed). */
KOVRA_API int32_t DALTJ_ProcessData(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                    uint32_t rowsAvail);
KOVRA_API int32_t DALTJ_ProcessData_resize(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                           uint32_t rowsAvail);
KOVRA_API int32_t DALTJ_ProcessDataPartial(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                           uint32_t rowsAvail);

/* ---- Reduced-size MCU decoding (DC only) ----
 * Decode one MCU row at 1/8 straight into planar Y, Cb, Cr rows (planes[0..2], each the row list
 * of its plane), or beyond 1/8 (resizeScaleShift 4, 5, 6) into componentRows[c]. Report 100 (MCU
 * row done), 101 (beyond the region, or the input ended with under 16 output rows to go) or 102
 * (input ran dry; mcuColumn saved for resumption). Each MCU comes from DALTJ_DecodeMcu_8to1 into
 * coefController->blocks. Refused with 101, before anything changes: null ctx, checkContext or
 * coefController; outputHeight 0 or below; mcusPerRow 0; blocksInMcu above 10. The 1/8 routines
 * also refuse a null scanComponents[0..2] and fewer blocks than their MCU holds (4:2:2 4, 4:2:0
 * 6, 4:4:4 3); DALTJ_DecodeSingleiMcuResizeMore16 numComponents or compsInScan above 4,
 * resizeScaleShift below 4, and a null scan component, one whose componentIndex is not below
 * numComponents, whose lastColWidth exceeds its mcuWidth, or whose blocks reach past
 * blocksInMcu. The output rows are the host's, sized for the image at the reduced scale. */
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(DALTJ_DecoderInfo *ctx, uint8_t ***planes);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV420(DALTJ_DecoderInfo *ctx, uint8_t ***planes);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV444(DALTJ_DecoderInfo *ctx, uint8_t ***planes);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows);

/* ---- MCU row driver ----
 * One call decodes an MCU row and hands its row groups on until the whole MCU row is handed on:
 * ctx->outputRow grows by the rows produced and *rowsOut is back at 0 on return. Reports the MCU
 * decoder's last status (100 or 101), or 201 when the cancel callback refused or the input ran
 * dry (102). skip non-zero consumes MCU rows with DALTJ_SkipSingleiMcu instead of decoding them.
 * Before each new MCU row: checkFn(checkContext, outputRowsWritten), if set; 0 stops with 201.
 * Reads numComponents, components[].vSampFactor and .downsampledHeight, totalMcuRows, the main
 * controller; writes the main controller, outputRow, skipMode (and resizeMcuRow in the resize
 * variant). The row-pointer lists of the main controller are the host's: for each component
 * with vertical sampling factor v, entries -v .. 11 * v - 1 must exist. DALTJ_ProcessMCU keeps
 * the last row group of each MCU row until the next one is decoded (context rows); with the
 * library's own DALTJ_SetupUpsample it never finishes an MCU row and does not return.
 * Refused with 201, before anything changes: null ctx, rowsOut or mainController; mcusPerRow 0;
 * whichPtr above 1; contextState above 2; numComponents above 4; a null component array; a
 * vSampFactor of 0 or above 4. */
KOVRA_API int32_t DALTJ_ProcessMCU(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                   uint32_t rowsAvail, int32_t skip);
KOVRA_API uint32_t DALTJ_ProcessDataMCU_resize(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                               uint32_t rowsAvail, int32_t skip);
/* Consumes one MCU row without reconstructing it, MCU by MCU through DALTJ_SkipMcuDual (each
 * MCU's blocksInMcu blocks cleared first), then DALTJ_SetupiMcu: 100; 101 past the region of
 * checkContext (region_top, region_height), after the last MCU row, or when the input ran dry
 * with under 16 output rows to go; 102 when it ran dry (mcuColumn and mcuRowOffset saved).
 * Refused with 101: null ctx, checkContext or coefController; outputHeight 0 or below;
 * mcusPerRow 0; blocksInMcu above 10. */
KOVRA_API int32_t DALTJ_SkipSingleiMcu(DALTJ_DecoderInfo *ctx);

/* Thread bodies that wait on another decoder's progress; both return 0. */
typedef struct DALTJ_ScanArgs {
    DALTJ_DecoderInfo *context;
    uint32_t enable;           /* 0: return at once */
} DALTJ_ScanArgs;
KOVRA_API uint32_t scan_jpeg(DALTJ_ScanArgs *args);
KOVRA_API uint32_t scan_jpeg_mid_point(DALTJ_DecoderInfo **args);

/* ---- Two-thread decoding ----
 * Two threads run dualdecode_jpeg over one image, each with its own context, and each context with
 * its own source over the same bytes, byte window and read buffer (16384 bytes); the window reads
 * the context's io. They share one hand-over record and a claim array of one flag per output row,
 * which must hold outputHeight entries: 0 free, 1 claimed, any other value stops the thread that
 * reads it at once, leaving the record's mutex held (the host then unlocks it). */
typedef struct DALTJ_DualDecodeShared {
    pthread_mutex_t mutex;     /* initialised by the host (KOVRADALT_OsThreadMutex_Init) */
    uint32_t callCount;        /* processor calls made by the publishing thread */
    uint32_t outputRow;
    uint32_t resizeMcuRow;
    uint8_t *outY;
    uint32_t mcuRowsDone;
    uint32_t windowFilePosition; /* the input position where the byte window's data ends */
    uint32_t windowBytesLeft;  /* the byte window's avail */
    DALTJ_HuffState huffState;  /* the publisher's bit-reader and Huffman state */
    uint32_t entropyCounter;
    uint16_t markerByte;
} DALTJ_DualDecodeShared;
/* The mutex takes six words on the 32-bit target. */
KOVRA_ASSERT_WORD(DALTJ_DualDecodeShared, callCount, 6);
KOVRA_ASSERT_WORD(DALTJ_DualDecodeShared, outY, 9);
KOVRA_ASSERT_WORD(DALTJ_DualDecodeShared, huffState, 13);
KOVRA_ASSERT_WORD(DALTJ_DualDecodeShared, markerByte, 22);

typedef struct DALTJ_DualDecodeArgs {
    DALTJ_DecoderInfo *context;       /* this thread's context */
    DALTJ_DualDecodeShared *shared;
    uint32_t *claims;                 /* one flag per output row */
    uint32_t reserved;
    int32_t resize;                   /* non-zero: DALTJ_ProcessDataMCU_resize; 0: DALTJ_ProcessMCU */
} DALTJ_DualDecodeArgs;
KOVRA_ASSERT_WORD(DALTJ_DualDecodeArgs, resize, 4);
KOVRA_ASSERT_WORDS(DALTJ_DualDecodeArgs, 5);

/* Decodes the rows the other thread has not claimed, adopting its published state to jump over the
 * rows it decoded (a thread's first call, and the call after one that decoded, skip instead);
 * processors get a null row list and a limit of one row group. Returns 0. Refused before any work:
 * a null argument record, context, shared record or claim array, or a context without io,
 * byteWindow, readBuffer, huffState, bitReader or mainController. A published window that does
 * not fit inside min(io size, 16384) bytes re-read before the published position (for memory
 * sources, inside the source) ends the thread. */
KOVRA_API uint32_t dualdecode_jpeg(DALTJ_DualDecodeArgs *args);
/* One-thread loops driving a row-group processor (one row group per call, null row list) until
 * outputRow (16 bits, wrapping) reaches stopRow (and for _1to1 and _Nowait outputHeight), or the
 * processor reports 101 (returned) or 201 (returned at once, that call's rows not counted). Their
 * first two arguments are not read. Refused: a null context (201); for _Nowait and _8to1 a bit
 * reader whose scanReady is not 1 (0); for _8to1 and _Nto1 more than three components (201), and
 * for _Nto1 a scan not ready (201). */
KOVRA_API int32_t DALTJ_Decode_Dualcore_1to1(void *unused0, void *unused1, DALTJ_DecoderInfo *ctx, uint32_t stopRow);
KOVRA_API int32_t DALTJ_Decode_Dualcore_Nowait(void *unused0, void *unused1, DALTJ_DecoderInfo *ctx,
                                               uint32_t stopRow, int32_t resize);
KOVRA_API int32_t DALTJ_Decode_Dualcore_8to1(void *unused0, void *unused1, DALTJ_DecoderInfo *ctx, uint32_t stopRow);
KOVRA_API int32_t DALTJ_Decode_Dualcore_Nto1(void *unused0, void *unused1, DALTJ_DecoderInfo *ctx,
                                             uint32_t stopRow, int32_t resize);

/* ---- Scan snapshots ---- */
typedef struct DALTJ_ScanInfo {
    uint32_t compsInScan;
    uint32_t scanWord;
    uint32_t scanParams[4];
    DALTJ_HuffState huffState;
    uint32_t inputOffset;      /* input position of the next unread byte */
    uint32_t scanFlags;
    uint32_t entropyCounter;
    DALTJ_ComponentInfo components[4]; /* a null scan component is saved as zeros */
    int32_t mcuMembership[10];
    uint8_t blocksInMcu;
    uint32_t mcuRowsInScan;
    uint32_t mcusPerRow;
} DALTJ_ScanInfo;
KOVRA_ASSERT_WORD(DALTJ_ScanInfo, huffState, 6);
KOVRA_ASSERT_WORD(DALTJ_ScanInfo, inputOffset, 14);
KOVRA_ASSERT_WORD(DALTJ_ScanInfo, components, 17);
KOVRA_ASSERT_WORD(DALTJ_ScanInfo, mcuMembership, 85);
KOVRA_ASSERT_WORDS(DALTJ_ScanInfo, 98);

/* Allocates a snapshot of the current scan into *out (the caller frees it with KOVRADALT_OsFree);
 * returns non-null on success. *out is NULL and the result NULL when the allocation fails, and for
 * a context it refuses: more than four components, or no huffState, io or byteWindow. The input
 * offset is the context's io position less the window's avail. */
KOVRA_API void *DALTJ_SetupScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo **out);
/* Refreshes the moving parts (scanFlags, entropyCounter, Huffman state, input offset); returns the
 * input offset, or -1 (nothing refreshed) for a null snapshot or a refused context. */
KOVRA_API int32_t DALTJ_SaveScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo *info);
/* Restores the scan and re-reads the input from the saved offset: the window then holds up to
 * 16384 bytes from there (in readBuffer, or for a memory source viewed in place) with pos 0. A
 * failed seek leaves the byte window and the component pointers as they were. Does nothing for a
 * null snapshot, a refused context or a null readBuffer. */
KOVRA_API void DALTJ_LoadScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo *info);
/* Moves no pixels: 1 for codes 0, 1 and 9, else 0. */
KOVRA_API uint32_t DALTJ_RotateImage90(uint32_t unused0, uint32_t unused1, uint32_t unused2, uint32_t code);

/* ---- Colour conversion and output writers ----
 * Output formats (outputFormat): 4 grey bytes; 5 32-bit pixels, bytes 255, R, G, B; 14 Y every
 * row with Cb and Cr on even rows; 15 three full planes Y, Cb, Cr. A writer given a format it does
 * not write only counts the row. Pointers, strides and sizes are trusted; sample values are not:
 * any bytes read through the context's rangeLimit (valid over -227..481) stay inside the table.
 * The converters' second argument is not read. */

/* Region column offset mask by scale code (1 -> 14, 2 -> 6, 4 -> 2, others 0): a region starting at
 * column x starts at (x AND mask) + (x AND 1) in the decoded row. */
KOVRA_API extern const int32_t DALTJ_RegionColumnMask[16];

/* YCbCr, one to one: a row of each component becomes one output row (formats 5, 14, 15). */
KOVRA_API void DALTJ_YcbcrWriteOutput1to1(DALTJ_DecoderInfo *ctx, const uint8_t *yRow, const uint8_t *cbRow,
                                          const uint8_t *crRow, int32_t width);
KOVRA_API int32_t DALTJ_DoFastYcbcrToRgb(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
/* YCbCr resampled: each output pixel the truncated mean of four point samples at the quarter
 * points of its footprint; rowCount below 1 resets the resampler. Writes format 15. */
KOVRA_API void DALTJ_DoYcbcrToUpscaleRgb(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
KOVRA_API void DALTJ_YcbcrWriteOutput(DALTJ_DecoderInfo *ctx, const uint32_t *accumRow, int32_t width);
/* Counts the output rows of an upscaled decode whose pixels are written elsewhere. */
KOVRA_API int32_t DALTJ_DoFastYcbcrToUpscaleRgb(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);

/* Greyscale (format 4) and RGB sources (counted, not written). */
KOVRA_API void DALTJ_GrayWriteOutput1to1(DALTJ_DecoderInfo *ctx, const uint8_t *row, int32_t width);
KOVRA_API void DALTJ_GrayWriteOutput(DALTJ_DecoderInfo *ctx, const uint32_t *accumRow, int32_t width);
KOVRA_API void DALTJ_DoGrayUpscaleConvert(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
KOVRA_API int32_t DALTJ_DoGrayConvert(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
KOVRA_API int32_t DALTJ_DoRgbConvert(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
KOVRA_API int32_t DALTJ_DoRgbUpscaleConvert(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
/* Grey rows through a 256-entry table into 4-byte pixels (t, t, t, 255): source row startRow + i of
 * *rowSet goes to outRows[i]. */
KOVRA_API void ycc_rgb_convert_internal(uint32_t width, const uint8_t *table, uint8_t *const *const *rowSet,
                                        uint32_t startRow, uint8_t *const *outRows, int32_t rowCount);

/* Four-component sources, converted and accumulated, counted, not written. */
KOVRA_API int32_t DALTJ_DoCMYKToRgb(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);
KOVRA_API int32_t DALTJ_DoYCCKToRgb(DALTJ_DecoderInfo *ctx, void *ignored, int32_t rowCount);

/* Planar YUV (format 15) cropped to the record's region; region_width is the planes' stride and
 * outputPitch an extra advance of outY after every call. */
KOVRA_API int32_t DALTJ_YcbcrWriteOutput1to1_YUV420(DALTJ_DecoderInfo *ctx, const uint8_t *yRowA,
                                                    const uint8_t *yRowB, const uint8_t *cbRow,
                                                    const uint8_t *crRow, int32_t width);
KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV444(DALTJ_DecoderInfo *ctx, const uint8_t *yRow, const uint8_t *ignored,
                                                 const uint8_t *cbRow, const uint8_t *crRow, int32_t width);
KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV422_H2V1(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV422_H1V2(DALTJ_DecoderInfo *ctx);

/* ---- Inverse DCTs (DALTJ_IdctFn) ----
 * They trust their arguments; for any coefficients and multipliers, a table built as the library
 * builds it is never read outside its bounds. Where the build has a vector unit (SSE2, NEON),
 * DALTJ_DoIdct, DALTJ_DoIdct8By8 and DALTJ_DoIdct_2to1 mostly compute the clamp such a table
 * holds instead of reading it. */
/* Full size, AAN transform: multipliers carry the AAN scale factors and 10 more bits. */
KOVRA_API void DALTJ_DoIdct(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                            uint8_t **outputRows, uint32_t outputColumn);
/* The same with an ordered 16 x 16 dither whose phase moves on with every call (process-wide). */
KOVRA_API void DALTJ_DoIdctDither(const uint8_t *rangeLimit, const int32_t *multipliers,
                                  const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
/* The same samples as DALTJ_DoIdct, without its DC-only column shortcut. */
KOVRA_API void DALTJ_DoIdct8By8(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);

/* Full size from a top-left corner of the block (8 x 8 output); 1By2, 2By1 and 2By2(All) spread
 * the first harmonics with truncated cosine ratios. */
KOVRA_API void DALTJ_DoIdct1By1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct1By2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2By1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2By2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2By2All(const uint8_t *rangeLimit, const int32_t *multipliers,
                                   const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct3By3(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct4By4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct5By5(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct6By6(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct7By7(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
/* One DC sample at outputRows[0] + outputColumn. */
KOVRA_API void DALTJ_DoIdct1x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                               uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_8to1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn);

/* Reduced size, AAN transform: 4 x 4 from the whole block or from a top-left corner, 3 x 3, and
 * 2 x 2 (or its first row) from the first harmonics. */
KOVRA_API void DALTJ_DoIdct_2to1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct1x1For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct1x2For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2x1For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2x2For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct2x2AllFor4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                        const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct3x3For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct4x4For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_8to3(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_4to1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_4to1_CBCR(const uint8_t *rangeLimit, const int32_t *multipliers,
                                      const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoProgIdct_4to1(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn);

/* Reduced size, accurate integer transform: multipliers are the plain quantisation steps. Output
 * width x height. */
KOVRA_API void DALTJ_DoIdct_8x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_4x8(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_4x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_4x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_2x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_2x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_2x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_1x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);
KOVRA_API void DALTJ_DoIdct_1x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn);

/* The inverse DCT for 1/2, 1/4 and 1/8 output: DALTJ_DoIdct_4x4, _2x2 and _1x1. */
KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod2to1(DALTJ_DecoderInfo *ctx);
KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod4to1(DALTJ_DecoderInfo *ctx);
KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod8to1(DALTJ_DecoderInfo *ctx);
/* floor(log2 |n|) by halving towards zero; -1 for 0. */
KOVRA_API int32_t DALTJ_LOGN(int32_t n);

KOVRA_END_C

#endif

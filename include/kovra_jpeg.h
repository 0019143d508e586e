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

KOVRA_BEGIN_C

enum {
    DALTJ_STATUS_ROW_DONE = 100,
    DALTJ_STATUS_END = 101,
    DALTJ_STATUS_INPUT_DRY = 102,
    DALTJ_STATUS_COMPLETED = 200,
    DALTJ_STATUS_FAILED = 201
};

typedef struct DALTJ_ComponentInfo {
    uint8_t componentId;
    uint8_t componentIndex;    /* position in the context's components */
    uint8_t hSampFactor;
    uint8_t vSampFactor;
    uint8_t quantTableNo;
    uint8_t dcTableNo;
    uint8_t acTableNo;
    uint16_t downsampledHeight;
    uint32_t mcuWidth;         /* blocks across one MCU */
    uint32_t mcuHeight;        /* blocks down one MCU */
    uint32_t mcuBlocks;
    uint32_t mcuSampleWidth;   /* samples across one MCU */
    uint32_t lastColWidth;
    uint32_t lastRowHeight;
    int32_t *multipliers;      /* 64 dequantisation multipliers, natural order */
} DALTJ_ComponentInfo;

struct DALTJ_MainController;

/* Cancel callback: (checkContext, outputRowsWritten) -> 0 stop, non-zero go on. */
typedef uint32_t (*DALTJ_CheckFunc)(void *checkContext, uint32_t outputRowsWritten);

/* One JPEG decode's state, shared by the reconstruction, conversion and output stages. */
typedef struct DALTJ_DecoderInfo {
    uint8_t numComponents;
    uint8_t regionRowAlign;
    uint8_t compsInScan;
    uint8_t blocksInMcu;
    uint16_t outputRow;
    uint32_t mcusPerRow;       /* never 0 */
    uint32_t mcuRowsInScan;
    int32_t mcuMembership[10];
    uint32_t totalMcuRows;
    uint32_t entropyCounter;
    uint32_t mcuRowsDone;
    uint32_t mcuRowsSkipped;
    uint8_t *rangeLimit;
    uint8_t *chromaRangeLimit;
    DALTJ_ByteWindow *byteWindow;
    void *bitReader;
    DALTJ_ComponentInfo *components;
    DALTJ_ComponentInfo *scanComponents[4];
    void *huffState;
    void *coefController;
    struct DALTJ_MainController *mainController;
    void *sampleRows;
    uint32_t scanParams[4];
    uint32_t currentComponent;
    uint32_t scanWord;
    uint32_t scanFlags;
    int32_t inputRow;
    int32_t scaledWidth;
    int32_t scaledHeight;
    int32_t writeEnabled;
    uint32_t resizeScaleShift; /* 4, 5 or 6 */
    int32_t *accumRows[2];
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
} DALTJ_DecoderInfo;

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
KOVRA_API int32_t DALTJ_ProcessDataPartial(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessData(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_ProcessData_resize(DALTJ_DecoderInfo *ctx);
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
KOVRA_API int32_t DALTJ_SkipMcuDual(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_FastDecodeMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_2to1(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_2to1Region(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_8to3(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_4to1(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_4to1Region(DALTJ_DecoderInfo *ctx);
KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *ctx);
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
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx);
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
KOVRA_API void DALTJ_SetupiMcu(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DeleteDecoderInfo(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_RegionDeleteDecoderInfo(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_DoYcbcrToRgb(DALTJ_DecoderInfo *ctx);
KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *ctx);
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

KOVRA_END_C

#endif

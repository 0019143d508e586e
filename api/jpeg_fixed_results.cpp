// The JPEG decoder's call surface whose stages this library does not carry out: each entry
// point ignores its arguments and reports one fixed status, which the real reconstruction stages
// act upon. Grouped by the status they report.

#include "kovra_jpeg.h"

extern "C" {


// ---- always 0 ----
KOVRA_API int32_t KOVRADALT_ScanHuffmanInfo(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALT_DecodeRegionBase(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALT_DecodeRegion(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALT_DecodeJPEG(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALT_GetCurOutputRow(KOVRADALT_DecInfo *) { return 0; }

// ---- always 0 ----
KOVRA_API int32_t DALTJ_GetEOIOffset(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProcessDataRegion(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProcessDataPartial(DALTJ_DecoderInfo *, uint8_t **, uint32_t *, uint32_t) { return 0; }
KOVRA_API int32_t DALTJ_ProcessData(DALTJ_DecoderInfo *, uint8_t **, uint32_t *, uint32_t) { return 0; }
KOVRA_API int32_t DALTJ_ProcessData_resize(DALTJ_DecoderInfo *, uint8_t **, uint32_t *, uint32_t) { return 0; }
KOVRA_API int32_t DALTJ_ProcessDataSkipRow(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgProcessDataScan(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgProcessData(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgProcessData_resize(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProcessDataScan(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_GetDctMethodIndexFirst(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_GetMcuSampleWidth(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_GetSnapshotNumber(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_GetCurrentSnapshotNumber(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgDecodeSingleiMcu(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_PreInitialize(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_RegionPreInitialize(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_Initialize(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_RegionInitialize(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_AllocSampleArry(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_SkipMcuUsingRST(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcu(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcu_1to1_dual(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcuDualDecodeDC(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcuScan(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcuScanWithDec(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcuRegion(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeMcu_8to1Region(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_AC(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_ACScan(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_ACRegion(DALTJ_DecoderInfo *) { return 0; }
KOVRA_API int32_t DALTJ_DecodeHuffMan(DALTJ_DecoderInfo *) { return 0; }

// ---- always 1 ----
KOVRA_API int32_t DALTJ_DecodeUncompressThumbnail(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeFrame(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_RotateImage270(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_SkipMcu(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_SkipMcuDual(DALTJ_DecoderInfo *, int16_t **) { return 1; }
KOVRA_API int32_t DALTJ_FastDecodeMcu(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_2to1(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_2to1Region(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_8to3(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_4to1(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_4to1Region(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *, int16_t **) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_skip_dual(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DecodeMcu_8to1_dual(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DC(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_AC(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DCRegion(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_DCScan(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_ACRegion(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcu_ACScan(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DC(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DCScan(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProgDecodeMcuRefine_DCRegion(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ProcessRestartMarker(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_ReadBits(DALTJ_DecoderInfo *) { return 1; }
KOVRA_API int32_t DALTJ_JPEGDecIterInit(DALTJ_DecoderInfo *) { return 1; }

// ---- always 1 ----
KOVRA_API int32_t KOVRADALT_AbortJPEGIter(KOVRADALT_DecInfo *) { return 1; }
KOVRA_API int32_t KOVRADALT_InitJPEGIter(KOVRADALT_DecInfo *) { return 1; }
KOVRA_API int32_t KOVRADALT_PrepareJPEGIter(KOVRADALT_DecInfo *) { return 1; }
KOVRA_API int32_t KOVRADALT_DecodeJPEGIter(KOVRADALT_DecInfo *) { return 1; }
KOVRA_API int32_t KOVRADALT_DecodeJPEGIter4LTN(KOVRADALT_DecInfo *) { return 1; }

// ---- always DALTJ_STATUS_ROW_DONE ----
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize2to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize4to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_PartialDecompressOnepass(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_RegionDecompressOnepass(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResizeNto1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_DecompressOnepass(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize4to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }
KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1(DALTJ_DecoderInfo *) { return DALTJ_STATUS_ROW_DONE; }

// ---- always DALTJ_STATUS_END ----
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *, uint8_t ***) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcu(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcu(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *, uint8_t ***) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_PartialDecodeSingleiMcu_resize(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcu_resize(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_ProgDecodeSingleiMcuScan(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuScan(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionDecodeSingleiMcuScanWithDec(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_ProgIDct(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_ProgIDctPartial(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionProgIDct(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }
KOVRA_API uint32_t DALTJ_RegionProgIDctMore16(DALTJ_DecoderInfo *) { return DALTJ_STATUS_END; }

// ---- always DALTJ_STATUS_COMPLETED ----
KOVRA_API uint32_t DALTJ_DecodeImage(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_StartDecompression(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_InitDecBeforeScan(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_SetupScan(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_SimpleParser(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_EOIParser(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_ParseFileHeader(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_ParseHeader(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_ParseNextMarker(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_PrepareDerivedTbl(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_P_PrepareDerivedTbl(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_DecodeImageIterInit(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_JPEGDecIterInitProg(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }
KOVRA_API uint32_t DALTJ_InitUpsampler(DALTJ_DecoderInfo *) { return DALTJ_STATUS_COMPLETED; }

// ---- always DALTJ_STATUS_FAILED ----
KOVRA_API uint32_t DALTJ_LookUpOtherThread(DALTJ_DecoderInfo *) { return DALTJ_STATUS_FAILED; }

// ---- no effect ----
KOVRA_API void DALTJ_SetupiMcu(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DeleteDecoderInfo(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_RegionDeleteDecoderInfo(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DoYcbcrToRgb(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *, uint8_t **, uint32_t *, uint32_t) {}
KOVRA_API void DALTJ_SetupUpsampleSkipWithDec(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_SkipRowUpsample(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DoIntegralUpsample(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DoFullsizeUpsample(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DoH2V1Upsample(DALTJ_DecoderInfo *) {}
KOVRA_API void DALTJ_DoH2V2Upsample(DALTJ_DecoderInfo *) {}

// ---- entry points with a small fixed behaviour ----
KOVRA_API int32_t KOVRADALT_ScanHuffmanInfoWithDec(KOVRADALT_DecInfo *, DALTJ_DecoderInfo *) { return 0; }
KOVRA_API void *KOVRADALT_CreateRegionDecoderInstance(KOVRADALT_DecInfo *) { return nullptr; }
KOVRA_API void *DALTJ_CreatExifInfo(KOVRADALT_IO *) { return nullptr; }
KOVRA_API void *DALTJ_GetDctMethod8to3(DALTJ_DecoderInfo *) { return nullptr; }
KOVRA_API int32_t DALTJ_GetHInfo(KOVRADALT_IO *, void *) { return 1; }
KOVRA_API int32_t DALTJ_DestroyJpegInfo(KOVRADALT_DecInfo *) { return 1; }
KOVRA_API int32_t DALTJ_DestroyExifInfo(void *) { return 1; }
KOVRA_API uint32_t KOVRADALT_ZoomCheckFn(void *, uint32_t) { return 1; }
KOVRA_API void SetMidPoint(DALTJ_DecoderInfo *) {}

KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize2to1(DALTJ_DecoderInfo *ctx) {
    ++ctx->resizeMcuRow;
    return DALTJ_STATUS_ROW_DONE;
}

KOVRA_API int32_t DALTJ_PostInitialize(DALTJ_DecoderInfo *, int32_t, int32_t c) { return c; }
KOVRA_API int32_t DALTJ_RegionPostInitialize(DALTJ_DecoderInfo *, int32_t, int32_t c) { return c; }
KOVRA_API int32_t DALTJ_GetVersion(void) { return 0x9099; }
KOVRA_API int32_t DALTJ_GetDctMethodIndex(int32_t n) { return n > 6 ? 6 : n; }

}  // extern "C"
